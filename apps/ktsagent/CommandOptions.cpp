#include "CommandOptions.h"

#include "NumberText.h"

#include <stdexcept>
#include <utility>

CLI::Option& AddInteger(CLI::App& command, const std::string& strName, const std::string& strHelp,
                        std::function<void(int)> fnTake, int nMin)
{
    const auto fnSet = [strName, fnTake = std::move(fnTake), nMin](const std::string& strText) {
        int nValue = 0;
        if (!ParseNumber(strText, nValue, nMin)) {
            throw CLI::ValidationError(strName.substr(0, strName.find(',')),
                                       "'" + strText + "': must be " + ExpectedNumber(nMin));
        }
        fnTake(nValue);
    };
    return *command.add_option_function<std::string>(strName, fnSet, strHelp)->type_name("INT");
}

void AddServerOption(CLI::App& command, const std::string& strName, const std::string& strHelp,
                     ServerAddress& server, ServerUrls eUrls)
{
    const auto fnSet = [strName, &server, eUrls](const std::string& strText) {
        try {
            server = ParseServerAddress(strText);
            if (eUrls == ServerUrls::WithoutPath && !server.strPath.isEmpty()) {
                throw std::invalid_argument("'" + strText +
                                            "' has a path; this operation takes only a server");
            }
        } catch (const std::invalid_argument& e) {
            throw CLI::ValidationError(strName, e.what());
        }
    };
    command.add_option_function<std::string>(strName, fnSet, strHelp)->required()->type_name("HOST:PORT|URL");
}
