// A host that logs while it ends, in the way that its argument names.

#include <ktshttpagent/clog.h>

#include <cstdlib>
#include <string>

namespace
{

struct SpeaksWhenDestroyed {
    ~SpeaksWhenDestroyed() { Log_Write(1, "Static", 1, "destroyed"); }
};

} // namespace

int main(int /*nArguments*/, char** ppArguments)
{
    const std::string strWay = ppArguments[1];
    if (strWay == "breaking-off") {
        Log_Write(1, "Main", 1, "last words");
        std::_Exit(0);
    }
    // Created before the log, and so destroyed after everything that the log could have registered for the
    // end.
    static const SpeaksWhenDestroyed speaker;
    if (strWay == "leaving") {
        std::atexit([] { Log_Write(1, "AtExit", 1, "called"); });
        Log_Write(1, "Main", 1, "leaving");
    }
    std::exit(0);
}
