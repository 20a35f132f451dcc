// Each request object reads the site's settings when it is created; nothing of an earlier reading remains.

#include "AgentProbe.h"
#include "RecordingTransport.h"
#include "SettingRows.h"
#include "SettingsRoot.h"

namespace
{

constexpr int ROUNDS = 6;

class SettingsAgain : public SettingsRoot
{
protected:
    SettingsAgain() { qunsetenv("KTSHTTPAGENT_TLS"); }
    ~SettingsAgain() override { RecordingTransport::Instance().ReplyAll(); }

    /// The URL of a battery states query of a new request object, the same on both interfaces.
    static std::string UrlOfANewObject(std::string* pOrigin = nullptr)
    {
        AgentRequestProbe request;
        request.SendGetBattStatus("h", 80, "1");
        const std::string strUrl = RecordingTransport::Instance().vecRequests.back().strUrl;
        EXPECT_EQ(
            strUrl.compare(0, request.JointServerInfo("h", 80).size(), request.JointServerInfo("h", 80)), 0)
            << strUrl;
        if (pOrigin != nullptr) {
            *pOrigin = request.EndpointOrigin(3105).toStdString();
        }
        return strUrl;
    }
};

TEST_F(SettingsAgain, TlsIsOnForTheObjectsThatReadSoAndOffForThoseAfterIt)
{
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        const bool bTls = nRound % 3 == 0;
        const bool bSaid = nRound % 3 != 1; // otherwise the profile lacks the value
        Write(PLUGIN, bSaid ? (bTls ? "UseTls=on\n" : "UseTls=off\n") : "");
        EXPECT_EQ(UrlOfANewObject(),
                  std::string(bTls ? "https" : "http") + "://h:80/vomd/system/GetDxzt.action?t=1")
            << nRound;
    }
}

TEST_F(SettingsAgain, APathThatIsGoneFromTheSettingsIsTheBuiltInOneAgain)
{
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        const bool bSaid = nRound % 2 == 1;
        const std::string strPath = "site/" + std::to_string(nRound);
        Write(PLUGIN, bSaid ? QByteArray::fromStdString("HttpUrlGetDxzt=" + strPath + "\n") : QByteArray());
        std::string strOrigin;
        EXPECT_EQ(UrlOfANewObject(&strOrigin),
                  "http://h:80/" + (bSaid ? strPath : "vomd/system/GetDxzt.action") + "?t=1");
        EXPECT_EQ(strOrigin == "built in", !bSaid) << strOrigin;
    }
}

} // namespace
