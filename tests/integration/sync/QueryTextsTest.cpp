// What the server reads of texts that a host hands in for a query: the lab server knows one barcode, and
// whether it is found tells how the text arrived.

#include "SyncRoad.h"

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

class QueryTexts : public SyncRoad
{
protected:
    QueryTexts() { m_server.Start(); }

    /// Makes the server know a barcode.
    void Share(const QString& strBarcode)
    {
        QNetworkRequest request(
            QUrl(QString("http://127.0.0.1:%1/lab/shared-barcodes").arg(m_server.Port())));
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        const QJsonObject row{{"dxtm", strBarcode}, {"common", true}};
        QNetworkAccessManager manager;
        QNetworkReply* const pReply = manager.post(request, QJsonDocument(row).toJson());
        QSignalSpy spy(pReply, &QNetworkReply::finished);
        ASSERT_TRUE(pReply->isFinished() || spy.wait(ENOUGH_MS));
        ASSERT_EQ(pReply->error(), QNetworkReply::NoError) << pReply->errorString().toStdString();
    }

    /// Whether the server finds the barcode that it makes of a text, by the asynchronous and by the blocking
    /// sender.
    void ExpectFound(const QString& strText, bool bFound)
    {
        QSignalSpy spy(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetWhetherInCommonRet);
        m_request.SendGetWhetherInCommon(m_strHost, m_server.Port(), strText);
        ASSERT_TRUE(spy.count() == 1 || spy.wait(ENOUGH_MS));
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
    QString strArrives; ///< when it goes out as it stands
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
    QSignalSpy spy(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet);
    m_request.SendGetSupportVer(m_strHost, m_server.Port(), "1%2E1%2E0");
    ASSERT_TRUE(spy.count() == 1 || spy.wait(ENOUGH_MS));
    EXPECT_EQ(spy[0], (QList<QVariant>{true, "1%2E1%2E0"}));
}

TEST_F(QueryTexts, AnEncodedCommaSplitsTheListOfBarcodesAllTheSame)
{
    QSignalSpy spy(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetProjectsRet);
    for (const QString& strList : {QStringLiteral("CELL-0001,CELL-0002"), Encoded("CELL-0001,CELL-0002")}) {
        m_request.SendGetProjects(m_strHost, m_server.Port(), {strList}, "1");
        ASSERT_TRUE(spy.count() == 1 || spy.wait(ENOUGH_MS));
        spy.clear();
    }
    ASSERT_EQ(m_server.Exchanges().size(), 2U);
    EXPECT_EQ(m_server.Exchanges()[0].strReply, m_server.Exchanges()[1].strReply);
    EXPECT_NE(m_server.Exchanges()[1].strReply.find("\"xh\""), std::string::npos);
}

} // namespace
