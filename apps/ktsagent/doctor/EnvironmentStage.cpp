#include "Stages.h"

namespace
{

Finding Unknown(const SKtsUnknownName& unknown)
{
    if (unknown.strNearest.empty()) {
        return {Mark::Warning, "The variable " + unknown.strName + " is read by nobody.",
                "Unset it, unless a transport or a log of the site's own reads it."};
    }
    return {Mark::Failed,
            "The variable " + unknown.strName + " is read by nobody; it is probably a misspelt " +
                unknown.strNearest + ".",
            "Set " + unknown.strNearest + " instead."};
}

/// Whether the URL of the command line has set a variable for this process.
bool IsOfTheUrl(const SKtsSetting& setting, const Context& context)
{
    return setting.strName == "KTSHTTPAGENT_TLS" && context.server.optTls;
}

Finding Unusable(const SKtsSetting& setting, const Context& context)
{
    const bool bOnlyTls = setting.strName == "CHTTPCLIENT_CA_FILE"; // read for encrypted connections only
    return {bOnlyTls && !context.UsesTls() ? Mark::Warning : Mark::Failed, setting.strComplaint + ".",
            "Correct the value of " + setting.strName + ", or unset it."};
}

} // namespace

Findings CheckEnvironment(Context& context)
{
    Findings vecFindings;
    for (const SKtsUnknownName& unknown : KtsUnknownVariables()) {
        vecFindings.push_back(Unknown(unknown));
    }
    std::string strSet;
    for (const SKtsSetting& setting : context.vecSettings) {
        const bool bOfAProfile = setting.strOrigin != "built in" && setting.strOrigin != "environment";
        if (!setting.strComplaint.empty() && !bOfAProfile) {
            vecFindings.push_back(Unusable(setting, context));
        } else if (setting.strOrigin == "environment" && !IsOfTheUrl(setting, context)) {
            strSet += (strSet.empty() ? "" : ", ") + setting.strName + "=" + setting.strValue;
        }
    }
    vecFindings.push_back({Mark::Ok, strSet.empty()
                                         ? "No variable of the library is set; all defaults are in force."
                                         : "Set and in force: " + strSet + "."});
    return vecFindings;
}
