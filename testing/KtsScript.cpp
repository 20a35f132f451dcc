#include "ScriptState.h"

#include <QtGlobal>

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

/// The path of a URL, without the slash at its beginning.
std::string PathOf(const std::string& strUrl)
{
    const std::size_t nScheme = strUrl.find("://");
    const std::size_t nHost = nScheme == std::string::npos ? 0 : nScheme + 3;
    const std::size_t nPath = strUrl.find_first_of("/?#", nHost);
    if (nPath == std::string::npos || strUrl[nPath] != '/') {
        return {};
    }
    const std::size_t nEnd = std::min(strUrl.find_first_of("?#", nPath), strUrl.size());
    return strUrl.substr(nPath + 1, nEnd - nPath - 1);
}

/// Whether a path is another one, or its end from a "/" on.
bool IsEndOf(const std::string& strEnd, const std::string& strPath)
{
    if (strEnd.size() > strPath.size() ||
        strPath.compare(strPath.size() - strEnd.size(), strEnd.size(), strEnd) != 0) {
        return false;
    }
    return strEnd.size() == strPath.size() || strPath[strPath.size() - strEnd.size() - 1] == '/';
}

std::vector<SKtsSent> Filtered(std::vector<SKtsSent> vecSent, bool (*fnKeep)(const SKtsSent&, int), int nType)
{
    vecSent.erase(std::remove_if(vecSent.begin(), vecSent.end(),
                                 [&](const SKtsSent& sent) { return !fnKeep(sent, nType); }),
                  vecSent.end());
    return vecSent;
}

} // namespace

bool KtsScript::State::Rule::Fits(const SKtsSent& sent) const
{
    return nType != 0 ? nType == sent.nType : strPath.empty() || IsEndOf(strPath, PathOf(sent.strUrl));
}

void KtsScript::State::Add(int nType, std::string strPath, KtsReply reply)
{
    strPath.erase(0, strPath.find_first_not_of('/'));
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_vecRules.push_back({nType, std::move(strPath), std::move(reply)});
}

void KtsScript::State::ForgetRules()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_vecRules.clear();
}

/// The rule for a request among those for any request, or among the others; null if there is none.
KtsScript::State::Rule* KtsScript::State::Find(const SKtsSent& sent, bool bForAny)
{
    Rule* pNewest = nullptr;
    for (Rule& rule : m_vecRules) {
        if (rule.IsForAny() != bForAny || rule.IsUsedUp() || !rule.Fits(sent)) {
            continue;
        }
        if (rule.reply.MostTimes() > 0) {
            return &rule;
        }
        pNewest = &rule;
    }
    return pNewest;
}

ChosenReply KtsScript::State::ReplyFor(SKtsSent sent)
{
    const std::string strRequest = std::string(sent.bPost ? "POST " : "GET ") + sent.strUrl + " (type " +
                                   std::to_string(sent.nType) + ')';
    ChosenReply chosen{KtsReply::Failure(EKtsFault::ConnectionRefused), {}};
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Rule* pRule = Find(sent, false);
        pRule = pRule != nullptr ? pRule : Find(sent, true);
        if (pRule != nullptr) {
            ++pRule->nUsed;
            chosen.reply = pRule->reply;
        } else {
            chosen.strWhy = std::string("no reply is scripted for it in the test's ") + m_szName;
        }
        sent.bScripted = pRule != nullptr;
        m_vecSent.push_back(std::move(sent));
        m_changed.notify_all();
    }
    if (!chosen.strWhy.empty()) {
        qWarning("%s: no reply is scripted for %s, so it fails; script one with On, OnPath or OnAny",
                 m_szName, strRequest.c_str());
    }
    return chosen;
}

std::vector<SKtsSent> KtsScript::State::Sent() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecSent;
}

bool KtsScript::State::WaitForSent(std::size_t nCount, std::chrono::milliseconds patience) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] { return m_vecSent.size() >= nCount; });
}

KtsScript::KtsScript(const char* szName) : m_pState(std::make_shared<State>(szName)) {}

KtsScript::~KtsScript() = default;

void KtsScript::On(int nType, KtsReply reply)
{
    m_pState->Add(nType, {}, std::move(reply));
}

void KtsScript::OnPath(std::string strPath, KtsReply reply)
{
    m_pState->Add(0, std::move(strPath), std::move(reply));
}

void KtsScript::OnAny(KtsReply reply)
{
    m_pState->Add(0, {}, std::move(reply));
}

void KtsScript::ForgetRules()
{
    m_pState->ForgetRules();
}

std::vector<SKtsSent> KtsScript::Sent() const
{
    return m_pState->Sent();
}

std::vector<SKtsSent> KtsScript::Sent(int nType) const
{
    return Filtered(
        Sent(), [](const SKtsSent& sent, int nWanted) { return sent.nType == nWanted; }, nType);
}

std::vector<SKtsSent> KtsScript::Unscripted() const
{
    return Filtered(
        Sent(), [](const SKtsSent& sent, int /*nType*/) { return !sent.bScripted; }, 0);
}

bool KtsScript::WaitForSent(std::size_t nCount, std::chrono::milliseconds patience) const
{
    return m_pState->WaitForSent(nCount, patience);
}
