#pragma once

#include "labserver/LabServerOptions.h"

#include <string>
#include <vector>

namespace CLI
{
class App;
}

/// What the program's command line asks for.
struct LabCommandLine {
    LabServerOptions options;
    std::vector<std::string> vecScenarios; ///< names, or files that contain one each
    std::string strRecordFile;             ///< where each exchange is written to; empty for nowhere
    bool bLog = false;                     ///< a line for each exchange is printed
    bool bEndsWithInput = false;           ///< the server ends when the standard input does
};

/// Describes the program's command line, and thereby how it is parsed.
/// @param line  where the values are put; must outlive the parse
void DescribeLabCommandLine(CLI::App& app, LabCommandLine& line);
