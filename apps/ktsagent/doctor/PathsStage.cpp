#include "CurlAsker.h"
#include "QtAsker.h"
#include "ReplyKind.h"
#include "Stages.h"
#include "Target.h"

#include <algorithm>

namespace
{

/// What an interface got for each query.
struct Asked {
    const Interface* pInterface;
    std::vector<HttpAnswer> vecAnswers;
};

std::vector<Asked> AskAll(const Context& context)
{
    std::vector<std::string> vecUrls;
    for (const QueryPath& path : context.vecPaths) {
        vecUrls.push_back(UrlOf(context, path));
    }
    std::vector<Asked> vecAsked;
    if (context.asynchronous.bReachesServer) {
        vecAsked.push_back(
            {&context.asynchronous, CurlAsker(context.CaFile()).Ask(vecUrls, context.timeout / 2)});
    }
    if (context.blocking.bReachesServer) {
        vecAsked.push_back({&context.blocking, QtAsker(context).Ask(vecUrls, context.timeout / 2)});
    }
    return vecAsked;
}

ReplyKind Judge(const HttpAnswer& answer)
{
    if (!answer.strError.empty()) {
        return {ReplyKind::Kind::Other, "no reply: " + answer.strError, "Look into the server's log."};
    }
    return KindOf(answer);
}

/// The findings about one query; one if both interfaces got the same.
Findings Describe(const Context& context, const std::vector<Asked>& vecAsked, std::size_t nPath, bool bAllNo)
{
    const QueryPath& path = context.vecPaths[nPath];
    Findings vecFindings;
    std::vector<std::string> vecNames;
    for (const Asked& asked : vecAsked) {
        const ReplyKind kind = Judge(asked.vecAnswers[nPath]);
        const bool bFine =
            kind.eKind == ReplyKind::Kind::Yes || (kind.eKind == ReplyKind::Kind::No && !bAllNo);
        Finding finding{bFine ? Mark::Ok : Mark::Failed,
                        path.strName + ": GET " + asked.vecAnswers[nPath].strUrl + " brought " + kind.strSays,
                        bFine ? "" : kind.strToDo};
        if (!vecFindings.empty() && vecFindings.front().strSays == finding.strSays) {
            vecNames.front() = "both interfaces";
            continue;
        }
        vecFindings.push_back(std::move(finding));
        vecNames.push_back(std::string("the ") + asked.pInterface->szName);
    }
    for (std::size_t i = 0; i < vecFindings.size(); ++i) {
        vecFindings[i].strSays += ", on " + vecNames[i] + ".";
    }
    return vecFindings;
}

/// Whether the server says no to every query. A single no is to be expected, because the arguments are
/// invented.
bool SaysNoToAll(const std::vector<Asked>& vecAsked)
{
    return std::all_of(vecAsked.begin(), vecAsked.end(), [](const Asked& asked) {
        return std::all_of(asked.vecAnswers.begin(), asked.vecAnswers.end(), [](const HttpAnswer& answer) {
            return Judge(answer).eKind == ReplyKind::Kind::No;
        });
    });
}

} // namespace

Findings CheckPaths(Context& context)
{
    const std::vector<Asked> vecAsked = AskAll(context);
    if (vecAsked.empty()) {
        return {{Mark::Skipped, "The server can't be reached."}};
    }
    const bool bAllNo = SaysNoToAll(vecAsked);
    Findings vecFindings;
    for (std::size_t nPath = 0; nPath < context.vecPaths.size(); ++nPath) {
        for (Finding& finding : Describe(context, vecAsked, nPath, bAllNo)) {
            vecFindings.push_back(std::move(finding));
        }
    }
    return vecFindings;
}
