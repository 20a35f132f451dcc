#pragma once

#include "SyncInterface.h"
#include "WaitUntil.h"

#include <gmock/gmock.h>

#include <atomic>
#include <ostream>
#include <string>

inline void PrintTo(EBlockingEnd eEnd, std::ostream* pStream)
{
    *pStream << "EBlockingEnd " << static_cast<int>(eEnd);
}

constexpr int SHORT_MS = 200;
constexpr int CHECK = 3109;
constexpr int IN_COMMON = 3110;
constexpr int CYCLE = 3113;

inline const std::string YES =
    HttpReply(200, R"({"success":true,"result":{"allowBoot":"yes","reason":"fine"}})");
inline const std::string NO = HttpReply(200, R"({"success":false})");
inline const std::string SAVED = HttpReply(200, R"({"code":"success","message":"saved"})");
inline const std::string COMMON = HttpReply(200, R"({"success":true,"common":true})");

/// Steps that wait until the test opens the gate, but not for ever. Destroy it after the server that uses it.
class Gate
{
public:
    void Open() { m_bOpen = true; }
    ServerStep Then(const ServerStep& step) const
    {
        WaitUntil([this] { return m_bOpen.load(); });
        return step;
    }

private:
    std::atomic<bool> m_bOpen = false;
};

/// A host that checks how its blocking calls ended.
class SyncOutcome : public SyncInterface
{
protected:
    SBlockingOutcome Last() const { return m_request.LastOutcome(); }

    /// The URL of a channel check made by `SyncInterface`.
    static std::string CheckUrl(int nPort)
    {
        return "http://127.0.0.1:" + std::to_string(nPort) +
               "/vomd/system/"
               "channelCheckData.action?chl=3&deviceId=D1&dxtm=X&purpose=p&wtNumId=12&xmNameId=7";
    }

    void ExpectEnd(EBlockingEnd eEnd, int nType, const char* szError)
    {
        EXPECT_EQ(Last().eEnd, eEnd);
        EXPECT_EQ(Last().nType, nType);
        EXPECT_THAT(Last().strError.toStdString(), ::testing::HasSubstr(szError));
        EXPECT_EQ(Last().strError.isEmpty(), eEnd == EBlockingEnd::Answered);
    }
};
