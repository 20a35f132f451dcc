#include "AgentProbe.h"
#include "RecordingTransport.h"
#include "VelClientSDk.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/ResultVariants.h>

#include <QSignalSpy>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

/// Watches all signals of a response object, by their index in its meta-object.
class SignalWatch
{
public:
    explicit SignalWatch(const QObject& object)
    {
        const QMetaObject& meta = *object.metaObject();
        for (int nMethod = CUIAgentRsp::staticMetaObject.methodOffset(); nMethod < meta.methodCount();
             ++nMethod) {
            m_vecSpy.push_back(std::make_unique<QSignalSpy>(&object, meta.method(nMethod)));
        }
    }

    /// The arguments of the only emission.
    /// @return empty, with a failure recorded, when another signal was emitted, or not exactly one
    QList<QVariant> Only(std::size_t nSignal) const
    {
        EXPECT_EQ(Count(), 1);
        if (m_vecSpy.at(nSignal)->count() != 1) {
            ADD_FAILURE() << "signal " << nSignal << " was emitted " << m_vecSpy.at(nSignal)->count()
                          << " times";
            return {};
        }
        return m_vecSpy.at(nSignal)->front();
    }

    int Count() const
    {
        int nCount = 0;
        for (const auto& pSpy : m_vecSpy) {
            nCount += pSpy->count();
        }
        return nCount;
    }

private:
    std::vector<std::unique_ptr<QSignalSpy>> m_vecSpy;
};

enum Signal : std::size_t {
    UserInfo,
    ChlStat,
    IncubatorStatus,
    Projects,
    SupportVer,
    BattStatus,
    AutoExport,
    FtpFilePath,
    UpDownPlatform,
    ChannelCheck,
    InCommon,
    FileList
};

class AgentResponse : public ::testing::Test
{
protected:
    template <class Record>
    const SResponseHeader* Holding(const Record& record)
    {
        m_header.pData = &record;
        return &m_header;
    }

    AgentResponseProbe m_response;
    SignalWatch m_watch{m_response};
    SResponseHeader m_header;
};

constexpr int SOME_ERROR = 7;

TEST_F(AgentResponse, TypesWithoutASignalEmitNothing)
{
    for (const int nType : {-1, 0, 3099, 3112, 3113, 3114, 3115, 3116}) {
        m_response.OnResponse(nType, nullptr, &m_header, 0);
        m_response.OnResponse(nType, nullptr, nullptr, SOME_ERROR);
    }
    EXPECT_EQ(m_watch.Count(), 0);
}

struct AcknowledgementCase {
    int nType;
    Signal eSignal;
};

class AgentAcknowledgement : public AgentResponse, public ::testing::WithParamInterface<AcknowledgementCase>
{
};

TEST_P(AgentAcknowledgement, IsTheErrorAlone)
{
    m_response.OnResponse(GetParam().nType, nullptr, nullptr, 0);
    EXPECT_EQ(m_watch.Only(GetParam().eSignal), QList<QVariant>{true});
}

TEST_P(AgentAcknowledgement, IsFalseForEveryError)
{
    const int nAnything = 0;
    m_response.OnResponse(GetParam().nType, &nAnything, &m_header, -1);
    EXPECT_EQ(m_watch.Only(GetParam().eSignal), QList<QVariant>{false});
}

INSTANTIATE_TEST_SUITE_P(Reports, AgentAcknowledgement,
                         ::testing::Values(AcknowledgementCase{3101, ChlStat},
                                           AcknowledgementCase{3102, IncubatorStatus}));

TEST_F(AgentResponse, TheHandlersOfTheReportsDoWhatTheDispatcherDoes)
{
    m_response.ProcPostReportChlStat(nullptr, nullptr, 0);
    EXPECT_EQ(m_watch.Only(ChlStat), QList<QVariant>{true});
    m_response.ProcPostReportIncubatorStatus(nullptr, nullptr, 1);
    EXPECT_EQ(m_watch.Count(), 2);
}

TEST_F(AgentResponse, UserInformationIsASuccessWhateverTheRecordSays)
{
    const USER_INFO info{12, "engineer", "李雷"};
    m_response.OnResponse(3100, nullptr, Holding(info), 0);
    const QList<QVariant> arguments = m_watch.Only(UserInfo);
    EXPECT_TRUE(arguments.at(0).toBool());
    const auto received = arguments.at(1).value<QVariant>().value<USER_INFO>();
    EXPECT_EQ(received.id, 12);
    EXPECT_EQ(received.title, "engineer");
    EXPECT_EQ(received.author, "李雷");
}

TEST_F(AgentResponse, FailedUserInformationCarriesADefaultRecord)
{
    const USER_INFO info{12, "engineer", "李雷"};
    m_response.OnResponse(3100, nullptr, Holding(info), SOME_ERROR);
    const QList<QVariant> arguments = m_watch.Only(UserInfo);
    EXPECT_FALSE(arguments.at(0).toBool());
    const QVariant data = arguments.at(1).value<QVariant>();
    ASSERT_TRUE(data.isValid());
    ASSERT_TRUE(data.canConvert<USER_INFO>());
    EXPECT_EQ(data.value<USER_INFO>().id, 0);
    EXPECT_EQ(data.value<USER_INFO>().title, "");
    EXPECT_EQ(data.value<USER_INFO>().author, "");
}

/// The handlers that hand over a record: they differ in the type, the signal and how to recognise a record.
template <class Record, int nRequestType, Signal eSignal>
struct RecordCase {
    using RecordType = Record;
    static constexpr int TYPE = nRequestType;
    static constexpr Signal OWN_SIGNAL = eSignal;
};

template <class Case>
class AgentRecord : public AgentResponse
{
};

using RecordCases = ::testing::Types<RecordCase<SResponseGetProject, 3103, Projects>,
                                     RecordCase<SResponseGetBatteryStatus, 3105, BattStatus>,
                                     RecordCase<SResponseGetAutoExport, 3106, AutoExport>,
                                     RecordCase<SResponseGetFtpFilePath, 3107, FtpFilePath>>;
TYPED_TEST_SUITE(AgentRecord, RecordCases, ); // C++17 requires an argument for "...", even an empty one

TYPED_TEST(AgentRecord, TravelsInAVariantWithItsOwnSuccess)
{
    for (const bool bSuccess : {true, false}) {
        typename TypeParam::RecordType record;
        record.bSuccess = bSuccess;
        const SignalWatch watch(this->m_response);
        this->m_response.OnResponse(TypeParam::TYPE, nullptr, this->Holding(record), 0);
        const QList<QVariant> arguments = watch.Only(TypeParam::OWN_SIGNAL);
        ASSERT_EQ(arguments.size(), 2);
        EXPECT_EQ(arguments.at(0).toBool(), bSuccess);
        const QVariant data = arguments.at(1).template value<QVariant>();
        ASSERT_TRUE(data.canConvert<typename TypeParam::RecordType>());
        EXPECT_EQ(data.value<typename TypeParam::RecordType>().bSuccess, bSuccess);
    }
}

/// The projects that a signal's variant owns.
const std::vector<SProjectItem>& ProjectsIn(const QVariant& data)
{
    return static_cast<const SResponseGetProject*>(data.constData())->lstProject;
}

TEST_F(AgentResponse, ADecodersRecordIsMovedIntoItsVariant)
{
    SResponseGetProject record;
    record.bSuccess = true;
    record.lstProject.resize(3);
    record.lstProject[1].xh = "a text that needs memory of its own";
    const SProjectItem* const pItems = record.lstProject.data();
    const auto* const pClient = static_cast<const VelCSDK::VelClientSDk*>(VelCSDK::SDKFactory::GetInstance());
    pClient->GetResponseCallBack("source")(3103, nullptr, Holding(record), 0);
    const QList<QVariant> arguments = m_watch.Only(Projects);
    ASSERT_EQ(arguments.size(), 2);
    EXPECT_EQ(arguments.at(0), QVariant(true));
    const QVariant data = arguments.at(1).value<QVariant>();
    EXPECT_FALSE(data.isNull());
    ASSERT_EQ(ProjectsIn(data).size(), 3U);
    EXPECT_EQ(ProjectsIn(data).data(), pItems); // not one element was copied
    EXPECT_EQ(ProjectsIn(data)[1].xh, "a text that needs memory of its own");
    EXPECT_TRUE(record.lstProject.empty());
}

TEST_F(AgentResponse, ARecordThatASubclassHandsInStaysAsItIs)
{
    SResponseGetProject record;
    record.bSuccess = true;
    record.lstProject.resize(3);
    m_response.OnResponse(3103, nullptr, Holding(record), 0);
    EXPECT_EQ(record.lstProject.size(), 3U);
    const QVariant data = m_watch.Only(Projects).at(1).value<QVariant>();
    EXPECT_EQ(ProjectsIn(data).size(), 3U);
    EXPECT_NE(ProjectsIn(data).data(), record.lstProject.data());
}

TYPED_TEST(AgentRecord, IsAnInvalidVariantAfterAnError)
{
    typename TypeParam::RecordType record;
    record.bSuccess = true;
    this->m_response.OnResponse(TypeParam::TYPE, nullptr, this->Holding(record), SOME_ERROR);
    const QList<QVariant> arguments = this->m_watch.Only(TypeParam::OWN_SIGNAL);
    ASSERT_EQ(arguments.size(), 2);
    EXPECT_FALSE(arguments.at(0).toBool());
    EXPECT_FALSE(arguments.at(1).template value<QVariant>().isValid());
}

TYPED_TEST(AgentRecord, IsAnInvalidVariantWithoutAResponse)
{
    this->m_response.OnResponse(TypeParam::TYPE, nullptr, nullptr, 0);
    const QList<QVariant> arguments = this->m_watch.Only(TypeParam::OWN_SIGNAL);
    ASSERT_EQ(arguments.size(), 2);
    EXPECT_FALSE(arguments.at(0).toBool());
    EXPECT_FALSE(arguments.at(1).template value<QVariant>().isValid());
}

TEST_F(AgentResponse, SupportedVersionCarriesFlagAndText)
{
    SSupportVer version;
    version.bSupport = true;
    version.strVersion = "1.2.3 试验";
    m_response.OnResponse(3104, nullptr, Holding(version), 0);
    EXPECT_EQ(m_watch.Only(SupportVer), (QList<QVariant>{true, QStringLiteral("1.2.3 试验")}));
}

TEST_F(AgentResponse, FailedSupportedVersionCarriesAnEmptyText)
{
    SSupportVer version;
    version.bSupport = true;
    version.strVersion = "1.2.3";
    m_response.OnResponse(3104, nullptr, Holding(version), -1);
    EXPECT_EQ(m_watch.Only(SupportVer), (QList<QVariant>{false, QString()}));
}

TEST_F(AgentResponse, UpDownPlatformTellsFailureOnly)
{
    m_response.OnResponse(3108, nullptr, &m_header, 0);
    EXPECT_EQ(m_watch.Count(), 0);
    m_response.OnResponse(3108, nullptr, nullptr, 0);
    EXPECT_EQ(m_watch.Only(UpDownPlatform), (QList<QVariant>{false, QString()}));
}

TEST_F(AgentResponse, UpDownPlatformTellsAnError)
{
    m_response.OnResponse(3108, nullptr, &m_header, SOME_ERROR);
    EXPECT_EQ(m_watch.Only(UpDownPlatform), (QList<QVariant>{false, QString()}));
}

TEST_F(AgentResponse, FileListTellsFailureByTheFtpSignal)
{
    m_response.OnResponse(3111, nullptr, &m_header, 0);
    m_response.OnResponse(3111, nullptr, nullptr, 0);
    EXPECT_EQ(m_watch.Count(), 0);
    m_response.OnResponse(3111, nullptr, &m_header, 5);
    const QList<QVariant> arguments = m_watch.Only(FtpFilePath);
    EXPECT_FALSE(arguments.at(0).toBool());
    EXPECT_FALSE(arguments.at(1).value<QVariant>().isValid());
}

class AgentChannelCheck : public AgentResponse
{
protected:
    void ExpectOnly(bool bSucc, const QString& strMessage, const QString& strAllowBoot,
                    const QString& strReason, bool bWithRequest)
    {
        const QList<QVariant> arguments = m_watch.Only(ChannelCheck);
        ASSERT_EQ(arguments.size(), 5);
        EXPECT_EQ(arguments.at(0).toBool(), bSucc);
        EXPECT_EQ(arguments.at(1).toString(), strMessage);
        EXPECT_EQ(arguments.at(2).toString(), strAllowBoot);
        EXPECT_EQ(arguments.at(3).toString(), strReason);
        const QVariant request = arguments.at(4).value<QVariant>();
        ASSERT_EQ(request.isValid(), bWithRequest);
        if (bWithRequest) {
            EXPECT_EQ(request.value<SRequestGetChannelCheckData>().wtNumId, m_request.wtNumId);
            EXPECT_EQ(request.value<SRequestGetChannelCheckData>().purpose, m_request.purpose);
        }
    }

    tagSRequestGetChannelCheckData m_request{12, 7, "X", "D1", "3", "p"};
    SResponseGetChannelCheckData m_record{true, "m", "yes", "r"};
};

TEST_F(AgentChannelCheck, CarriesTheRecordAndTheRequest)
{
    m_response.OnResponse(3109, &m_request, Holding(m_record), 0);
    ExpectOnly(true, "m", "yes", "r", true);
}

TEST_F(AgentChannelCheck, CarriesTheRecordsOwnSuccess)
{
    m_record.bSuccess = false;
    m_response.OnResponse(3109, nullptr, Holding(m_record), 0);
    ExpectOnly(false, "m", "yes", "r", false);
}

TEST_F(AgentChannelCheck, AfterAnErrorAllowsNothingButKeepsMessageAndReason)
{
    m_response.OnResponse(3109, &m_request, Holding(m_record), SOME_ERROR);
    ExpectOnly(false, "m", "no", "r", true);
}

TEST_F(AgentChannelCheck, AfterAnErrorWithoutARequestHasAnInvalidVariant)
{
    m_response.OnResponse(3109, nullptr, nullptr, SOME_ERROR);
    ExpectOnly(false, "", "no", "", false);
}

TEST_F(AgentChannelCheck, WithoutARecordIsANoWithTheRequest)
{
    m_response.OnResponse(3109, &m_request, &m_header, 0);
    ExpectOnly(false, "", "no", "", true);
}

TEST_F(AgentChannelCheck, WithoutAResponseIsAllEmpty)
{
    m_response.OnResponse(3109, &m_request, nullptr, 0);
    ExpectOnly(false, "", "", "", false);
}

TEST_F(AgentResponse, WhetherInCommonEchoesTheRequestsBarcode)
{
    const std::string strDxtm = "电芯-1";
    const SResponseGetWhetherInCommon record{true, "from the server", true};
    m_response.OnResponse(3110, &strDxtm, Holding(record), 0);
    EXPECT_EQ(m_watch.Only(InCommon), (QList<QVariant>{true, true, QStringLiteral("电芯-1")}));
}

TEST_F(AgentResponse, WhetherInCommonIsFalseWithoutAResponseARecordOrAfterAnError)
{
    const std::string strDxtm = "B1";
    const SResponseGetWhetherInCommon record{true, "", true};
    const QList<QVariant> no{false, false, QStringLiteral("B1")};
    for (int nCase = 0; nCase < 3; ++nCase) {
        const SignalWatch watch(m_response);
        m_header.pData = nullptr;
        const void* const pResponse = nCase == 0 ? nullptr : nCase == 1 ? &m_header : Holding(record);
        m_response.OnResponse(3110, &strDxtm, pResponse, nCase == 2 ? SOME_ERROR : 0);
        EXPECT_EQ(watch.Only(InCommon), no) << "case " << nCase;
    }
}

TEST_F(AgentResponse, WhetherInCommonWithoutARequestHasAnEmptyBarcode)
{
    const SResponseGetWhetherInCommon record{true, "", false};
    m_response.OnResponse(3110, nullptr, Holding(record), 0);
    EXPECT_EQ(m_watch.Only(InCommon), (QList<QVariant>{true, false, QString()}));
}

std::vector<std::string> g_vecWarnings;

void KeepWarning(QtMsgType eType, const QMessageLogContext& context, const QString& strText)
{
    if (eType == QtWarningMsg && std::string(context.category) == "ktshttpagent.response") {
        g_vecWarnings.push_back(strText.toStdString());
    }
}

TEST_F(AgentResponse, NoExceptionOfAReceiverLeavesItAndEachIsLogged)
{
    qInstallMessageHandler(&KeepWarning);
    QObject::connect(&m_response, &CUIAgentRsp::SigPostReportChlStatRet, [](bool bSucc) {
        if (bSucc) {
            throw std::runtime_error("a receiver's own failure");
        }
        throw 5;
    });
    EXPECT_NO_THROW(m_response.OnResponse(3101, nullptr, nullptr, 0));
    EXPECT_NO_THROW(m_response.OnResponse(3101, nullptr, nullptr, 1));
    qInstallMessageHandler(nullptr);
    EXPECT_EQ(m_watch.Count(), 2);
    EXPECT_THAT(g_vecWarnings,
                ::testing::ElementsAre(
                    "a receiver of the answer to a request of type 3101 threw: a receiver's own failure",
                    "a receiver of the answer to a request of type 3101 threw"));
}

TEST(AgentResponseLife, ADestroyedInstanceGetsNothingMore)
{
    auto pResponse = std::make_unique<AgentResponseProbe>();
    VelCSDK::SDKFactory::GetInstance()->Init();
    VelCSDK::SDKFactory::GetInstance()->SetServerAddr("h", 80);
    VelCSDK::SDKFactory::GetInstance()->GetSupportVer("1");
    const auto tpBegin = std::chrono::steady_clock::now();
    pResponse.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, std::chrono::seconds(4)) << "no receiver is busy";
    EXPECT_NO_THROW(RecordingTransport::Instance().Reply(R"({"success":true})"));
}

} // namespace
