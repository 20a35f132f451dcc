// What the server reads from texts that a host passes for a query: the lab server knows one barcode, and
// whether it finds that shows how the text arrived.

#include "AnswerSpy.h"
#include "SyncInterface.h"

#include "labserver/LabServer.h"

#include <ktshttpagent/CUIAgentRsp.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSignalSpy>
#include <QUrl>

namespace
{

QString Encoded(const QString& strText)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(strText));
}

class QueryTexts : public SyncInterface
{
protected:
    QueryTexts() { m_server.Start(); }

    /// Adds a barcode to the server.
    void Share(const QString& strBarcode)
    {
        Add("shared-barcodes", {{"dxtm", strBarcode}, {"common", true}});
    }

    /// Adds a row to a table of the server.
    void Add(const QString& strTable, const QJsonObject& row)
    {
        QNetworkRequest request(
            QUrl(QString("http://127.0.0.1:%1/lab/%2").arg(m_server.Port()).arg(strTable)));
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        QNetworkAccessManager manager;
        QNetworkReply* const pReply = manager.post(request, QJsonDocument(row).toJson());
        QSignalSpy spy(pReply, &QNetworkReply::finished);
        ASSERT_TRUE(pReply->isFinished() || spy.wait(ENOUGH_MS));
        ASSERT_EQ(pReply->error(), QNetworkReply::NoError) << pReply->errorString().toStdString();
    }

    /// Expects whether the server finds the barcode that it reads from a text, through the asynchronous and
    /// through the blocking sender.
    void ExpectFound(const QString& strText, bool bFound)
    {
        const AnswerSpy spy(&CUIAgentRsp::SigGetWhetherInCommonRet);
        m_request.SendGetWhetherInCommon(m_strHost, m_server.Port(), strText);
        ASSERT_TRUE(spy.Wait(1));
        EXPECT_EQ(spy[0][0], true) << strText.toStdString();
        EXPECT_EQ(spy[0][1], bFound) << strText.toStdString();

        EXPECT_TRUE(
            m_request.SendGetWhetherInCommonEx(m_strHost, m_server.Port(), ENOUGH_MS, strText, m_bCommon));
        EXPECT_EQ(m_bCommon, bFound) << strText.toStdString();
    }

    LabServer m_server;
};

struct QueryText {
    const char* szName;
    QString strText;
    QString strArrives; ///< when it is sent unchanged
};

class QueryTextsEach : public QueryTexts, public ::testing::WithParamInterface<QueryText>
{
};

TEST_P(QueryTextsEach, GoOutAsTheyStand)
{
    Share(GetParam().strArrives);
    ExpectFound(GetParam().strText, true);
}

TEST_P(QueryTextsEach, ArriveWholeWhenTheHostEncodesThem)
{
    Share(GetParam().strText);
    ExpectFound(Encoded(GetParam().strText), true);
    ExpectFound(GetParam().strText, GetParam().strArrives == GetParam().strText);
}

TEST_P(QueryTextsEach, ArriveWholeWhenTheLibraryEscapesThem)
{
    Share(GetParam().strText);
    m_request.SetQueryEscaping(true);
    ExpectFound(GetParam().strText, true);
    EXPECT_EQ(m_server.Exchanges().size(), 3U); // each sender sent one request
}

TEST_P(QueryTextsEach, GoOutAsTheyStandOnceEscapingIsSwitchedOff)
{
    Share(GetParam().strArrives);
    m_request.SetQueryEscaping(true);
    m_request.SetQueryEscaping(false);
    ExpectFound(GetParam().strText, true);
}

INSTANTIATE_TEST_SUITE_P(
    Each, QueryTextsEach,
    ::testing::Values(QueryText{"Hash", "NO#1", "NO"}, QueryText{"Ampersand", "A&B=1", "A"},
                      QueryText{"Plus", "A+B", "A B"}, QueryText{"Escape", "A%41", "AA"},
                      QueryText{"Percent", "50% off", "50% off"}, QueryText{"Equals", "A=B", "B"},
                      QueryText{"Forbidden", "a \"<>\\^`{|}", "a \"<>\\^`{|}"},
                      QueryText{"Control", "a\r\n\x01", "a\r\n\x01"},
                      QueryText{"Letters", QStringLiteral("电芯 é"), QStringLiteral("电芯 é")},
                      QueryText{"Delimiters", "/:@;,!$'()*[]", "/:@;,!$'()*[]"}),
    [](const auto& text) { return text.param.szName; });

TEST_F(QueryTexts, ASecondQuestionMarkIsRefusedUnlessItIsEncoded)
{
    EXPECT_FALSE(m_request.SendGetWhetherInCommonEx(m_strHost, m_server.Port(), ENOUGH_MS, "A?B", m_bCommon));
    Share("A?B");
    ExpectFound(Encoded("A?B"), true);
    m_request.SetQueryEscaping(true);
    ExpectFound("A?B", true);
}

TEST_F(QueryTexts, ABarcodeThatRewritesTheQueryDoesNotWhenItIsEscaped)
{
    const tagSRequestGetChannelCheckData req{1201, 107, "X&deviceId=OTHER&chl=9#", "KTS-0007", "8", "p"};
    const std::string strBefore = "/vomd/system/channelCheckData.action?chl=8&deviceId=KTS-0007&dxtm=";
    const auto SendByBoth = [&] {
        const AnswerSpy spy(&CUIAgentRsp::SigGetChannelCheckDataRet);
        m_request.SendGetChannelCheckData(m_strHost, m_server.Port(), req);
        ASSERT_TRUE(spy.Wait(1));
        m_request.SendGetChannelCheckDataEx(m_strHost, m_server.Port(), ENOUGH_MS, req, m_bAllow,
                                            m_strReason);
    };
    SendByBoth();
    m_request.SetQueryEscaping(true);
    SendByBoth();
    ASSERT_EQ(m_server.Exchanges().size(), 4U);
    for (const std::size_t nPlain : {0U, 1U}) {
        EXPECT_EQ(m_server.Exchanges()[nPlain].strTarget, strBefore + "X&deviceId=OTHER&chl=9");
        EXPECT_EQ(m_server.Exchanges()[nPlain].nStatus, 400); // what followed the barcode is cut off
    }
    for (const std::size_t nEscaped : {2U, 3U}) {
        EXPECT_EQ(m_server.Exchanges()[nEscaped].strTarget,
                  strBefore + "X%26deviceId%3DOTHER%26chl%3D9%23&purpose=p&wtNumId=1201&xmNameId=107");
        EXPECT_EQ(m_server.Exchanges()[nEscaped].nStatus, 200);
    }
    EXPECT_FALSE(m_bAllow);
    EXPECT_EQ(m_strReason, "Channel 8 waits for calibration");
}

TEST_F(QueryTexts, BytesThatAreNoUtf8ArriveWhenTheyAreEscaped)
{
    const tagSRequestGetChannelCheckData req{1201, 107, "\xff\xc3(#\xe7\x94", "KTS-0001", "3", "p"};
    m_request.SetQueryEscaping(true);
    const AnswerSpy spy(&CUIAgentRsp::SigGetChannelCheckDataRet);
    m_request.SendGetChannelCheckData(m_strHost, m_server.Port(), req);
    ASSERT_TRUE(spy.Wait(1));
    m_request.SendGetChannelCheckDataEx(m_strHost, m_server.Port(), ENOUGH_MS, req, m_bAllow, m_strReason);
    ASSERT_EQ(m_server.Exchanges().size(), 2U);
    for (const LabExchange& seen : m_server.Exchanges()) {
        EXPECT_EQ(seen.strTarget, "/vomd/system/channelCheckData.action?chl=3&deviceId=KTS-0001"
                                  "&dxtm=%FF%C3(%23%E7%94&purpose=p&wtNumId=1201&xmNameId=107");
    }
}

TEST_F(QueryTexts, TheTextOfAChannelStatusReportIsEscapedToo)
{
    KTSStartPlugin::tagRepoChlStatusInfo info;
    info.box = "1";
    info.chl = "2";
    m_request.SetQueryEscaping(true);
    const AnswerSpy spy(&CUIAgentRsp::SigPostReportChlStatRet);
    m_request.SendPostReportChlStatus(m_strHost, m_server.Port(), "a&b=1#é", info);
    ASSERT_TRUE(spy.Wait(1));
    ASSERT_EQ(m_server.Exchanges().size(), 1U);
    EXPECT_EQ(m_server.Exchanges().front().strTarget,
              "/vomd/system/addstatuslog.action?t=a%26b%3D1%23%C3%A9");
}

TEST_F(QueryTexts, AnAmpersandBeginsAFieldOfItsOwn)
{
    ExpectFound("CELL-0099&B=1", true);
    for (const LabExchange& seen : m_server.Exchanges()) {
        EXPECT_EQ(seen.strTarget, "/vomd/system/whetherInCommon.action?dxtm=CELL-0099&B=1");
    }
}

TEST_F(QueryTexts, AHashCutsOffTheFieldsAfterItToo)
{
    tagSRequestGetChannelCheckData req{1201, 107, "NO#1", "KTS-0001", "3", "p"};
    EXPECT_FALSE(m_request.SendGetChannelCheckDataEx(m_strHost, m_server.Port(), ENOUGH_MS, req, m_bAllow,
                                                     m_strReason));
    EXPECT_EQ(m_server.Exchanges().back().strTarget,
              "/vomd/system/channelCheckData.action?chl=3&deviceId=KTS-0001&dxtm=NO");
    req.dxtm = Encoded("NO#1").toStdString();
    EXPECT_TRUE(m_request.SendGetChannelCheckDataEx(m_strHost, m_server.Port(), ENOUGH_MS, req, m_bAllow,
                                                    m_strReason));
    EXPECT_TRUE(m_bAllow);
}

TEST_F(QueryTexts, TheArgumentThatASignalRepeatsIsTheOneHandedIn)
{
    const AnswerSpy spy(&CUIAgentRsp::SigGetSupportVerRet);
    m_request.SendGetSupportVer(m_strHost, m_server.Port(), "1%2E1%2E0");
    ASSERT_TRUE(spy.Wait(1));
    EXPECT_EQ(spy[0], (QList<QVariant>{true, "1%2E1%2E0"}));
    Add("supported-versions", {{"t", "2&x=#é"}, {"com", "2"}, {"ver", "2"}, {"supported", true}});
    m_request.SetQueryEscaping(true);
    m_request.SendGetSupportVer(m_strHost, m_server.Port(), "2&x=#é");
    ASSERT_TRUE(spy.Wait(2));
    EXPECT_EQ(spy[1], (QList<QVariant>{true, "2&x=#é"}));
}

TEST_F(QueryTexts, AnEncodedCommaSplitsTheListOfBarcodesAllTheSame)
{
    const AnswerSpy spy(&CUIAgentRsp::SigGetProjectsRet);
    m_request.SendGetProjects(m_strHost, m_server.Port(), {"CELL-0001,CELL-0002"}, "1");
    ASSERT_TRUE(spy.Wait(1));
    m_request.SendGetProjects(m_strHost, m_server.Port(), {Encoded("CELL-0001,CELL-0002")}, "1");
    ASSERT_TRUE(spy.Wait(2));
    m_request.SetQueryEscaping(true);
    m_request.SendGetProjects(m_strHost, m_server.Port(), {"CELL-0001", "CELL-0002"}, "1");
    ASSERT_TRUE(spy.Wait(3));
    ASSERT_EQ(m_server.Exchanges().size(), 3U);
    EXPECT_EQ(m_server.Exchanges()[2].strTarget, m_server.Exchanges()[0].strTarget);
    EXPECT_EQ(m_server.Exchanges()[0].strReply, m_server.Exchanges()[1].strReply);
    EXPECT_NE(m_server.Exchanges()[1].strReply.find("\"xh\""), std::string::npos);
}

} // namespace
