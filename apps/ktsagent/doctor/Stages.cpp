#include "Stages.h"

#include <exception>

// The exit statuses begin above those of the other commands.
const std::vector<Stage>& Stages()
{
    static const std::vector<Stage> STAGES{
        {"library", 11, "versions, and which transport and log are loaded", CheckLibrary},
        {"settings", 12, "the profiles of the site, and the values in force", CheckSettings},
        {"environment", 13, "the environment variables of the library", CheckEnvironment},
        {"log", 14, "whether the log can be written", CheckLog},
        {"outbox", 22, "whether the outbox can be used, and what waits in it", CheckOutbox},
        {"proxy", 15, "the proxy that each interface uses", CheckProxy},
        {"name", 16, "the addresses of the server's name", CheckName},
        {"connection", 17, "whether each address accepts connections", CheckConnection},
        {"tls", 18, "the server's certificate, for each interface", CheckTls},
        {"http", 19, "whether an HTTP server answers, and how fast", CheckHttp},
        {"paths", 20, "what the server answers to queries", CheckPaths},
        {"clock", 21, "this clock against the server's", CheckClock},
    };
    return STAGES;
}

Findings Run(const Stage& stage, Context& context)
{
    try {
        return stage.fnCheck(context);
    } catch (const std::exception& e) {
        return {{Mark::Failed, std::string("This could not be checked: ") + e.what() + ".",
                 "Try again, with more memory if that is what is missing."}};
    }
}
