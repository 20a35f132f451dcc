// A host with raised rights that logs.
//
//   raised_log_host whether|folder|write

#include "Whether.h"

#include <ktshttpagent/clog.h>

#include <string>

int main(int /*nArguments*/, char** ppArguments)
{
    const std::string strWhat = ppArguments[1];
    if (strWhat == "whether") {
        PrintWhether();
    } else if (strWhat == "folder") {
        std::puts(Log_Folder());
    } else if (strWhat == "write") {
        Log_Write(1, "Raised", 1, "text");
    }
    Leave();
}
