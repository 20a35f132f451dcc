#pragma once

#include <ktshttpagent/testing/KtsScript.h>

#include <condition_variable>
#include <mutex>

/// The reply to a request.
struct ChosenReply {
    KtsReply reply;
    std::string strWhy; ///< why it fails if there is no rule for it; empty if there is one
};

/// What a script and its requests share. Every function may be called from any thread.
class KtsScript::State
{
public:
    explicit State(const char* szName) : m_szName(szName) {}

    /// @param nType  0 for a rule without a type; then the path holds, or if that is empty too, every request
    void Add(int nType, std::string strPath, KtsReply reply);
    void ForgetRules();

    /// Notes a request, and chooses its reply. If there is no rule for it, says so on standard error.
    ChosenReply ReplyFor(SKtsSent sent);

    std::vector<SKtsSent> Sent() const;
    bool WaitForSent(std::size_t nCount, std::chrono::milliseconds patience) const;

private:
    struct Rule {
        int nType;
        std::string strPath;
        KtsReply reply;
        int nUsed = 0;

        bool IsForAny() const { return nType == 0 && strPath.empty(); }
        bool Fits(const SKtsSent& sent) const;
        bool IsUsedUp() const { return reply.MostTimes() > 0 && nUsed >= reply.MostTimes(); }
    };

    Rule* Find(const SKtsSent& sent, bool bForAny);

    const char* const m_szName;
    mutable std::mutex m_mutex; ///< guards what follows
    mutable std::condition_variable m_changed;
    std::vector<Rule> m_vecRules;
    std::vector<SKtsSent> m_vecSent;
};
