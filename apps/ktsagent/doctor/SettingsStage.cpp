#include "Stages.h"

namespace
{

Finding UnknownIn(const SKtsProfile& profile, const SKtsUnknownName& unknown)
{
    const std::string strPlace = "\"" + unknown.strName + "\" in " + profile.strLocation;
    if (unknown.strNearest.empty()) {
        return {Mark::Warning, strPlace + " is read by nobody.", "Remove it if nothing else needs it."};
    }
    const bool bSection =
        unknown.strName.size() > unknown.strNearest.size() && unknown.strName.find('/') != std::string::npos;
    if (bSection) {
        return {Mark::Failed, strPlace + " stands in a section, so nobody reads it.",
                "Move \"" + unknown.strNearest + "\" before the first section."};
    }
    return {Mark::Failed,
            strPlace + " is read by nobody; it is probably a misspelt \"" + unknown.strNearest + "\".",
            "Rename it to \"" + unknown.strNearest + "\"."};
}

Finding StateOf(const SKtsProfile& profile)
{
    if (!profile.bExists) {
        return {Mark::Ok, profile.strLocation + " does not exist; the built-in values are in force."};
    }
    if (profile.strProblem.empty()) {
        return {Mark::Ok, profile.strLocation + " is read."};
    }
    if (profile.nLine > 0) {
        const std::string strLine = std::to_string(profile.nLine);
        return {Mark::Failed,
                profile.strLocation + ", line " + strLine + ", " + profile.strProblem +
                    "; its endpoint paths are not in force.",
                "Write line " + strLine +
                    " as NAME=VALUE, as [SECTION], or as a comment that begins with \";\"."};
    }
    return {Mark::Failed, profile.strLocation + " " + profile.strProblem + "; nothing in it is in force.",
            "Make it a file that the user of this process may read."};
}

/// The values that are not built in; variables of the environment have a stage of their own.
Findings ValuesInForce(const Context& context)
{
    Findings vecFindings;
    for (const SKtsSetting& setting : context.vecSettings) {
        if (setting.strOrigin == "built in" || setting.strOrigin == "environment") {
            continue;
        }
        if (!setting.strComplaint.empty()) {
            vecFindings.push_back({Mark::Failed, setting.strComplaint + ".", "Correct the value."});
        } else {
            vecFindings.push_back({Mark::Ok, setting.strName + " is \"" + setting.strValue + "\", from " +
                                                 setting.strOrigin + "."});
        }
    }
    return vecFindings;
}

} // namespace

Findings CheckSettings(Context& context)
{
    Findings vecFindings;
    for (const SKtsProfile& profile : context.vecProfiles) {
        vecFindings.push_back(StateOf(profile));
        for (const SKtsUnknownName& unknown : profile.vecUnknown) {
            vecFindings.push_back(UnknownIn(profile, unknown));
        }
    }
    for (Finding& finding : ValuesInForce(context)) {
        vecFindings.push_back(std::move(finding));
    }
    return vecFindings;
}
