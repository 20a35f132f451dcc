// Whatever happens to a request, of whatever type, its user data is freed completely and only once: all
// memory of the process is counted.

#include "SdkFixture.h"

#include "sdk/CDataResponse.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<long> g_nAllocations = 0; ///< made and not freed yet

} // namespace

void* operator new(std::size_t nSize)
{
    if (void* const pMemory = std::malloc(nSize)) {
        ++g_nAllocations;
        return pMemory;
    }
    throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept
{
    g_nAllocations -= pMemory == nullptr ? 0 : 1;
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t /*nSize*/) noexcept
{
    operator delete(pMemory);
}

namespace
{

using VelCSDK::CDataResponse;

/// A text too long for a string's internal buffer: if user data is freed as a wrong type, this memory leaks.
std::string Long()
{
    return std::string(100, 'x');
}

const Operation OPERATIONS[] = {
    OP_USER_INFO,
    {"ChlStatus", 3101,
     [](IVelClientSDk& c) {
         KTSStartPlugin::tagRepoChlStatusInfo info;
         info.box = "1";
         info.chl = "2";
         c.ReportChlStatus(Long(), info);
     }},
    OP_INCUBATOR,
    {"Projects", 3103, [](IVelClientSDk& c) { c.GetProjects(Long(), Long()); }},
    {"SupportVer", 3104, [](IVelClientSDk& c) { c.GetSupportVer(Long()); }},
    {"BattStatus", 3105, [](IVelClientSDk& c) { c.GetBattStatus(Long()); }},
    {"AutoExport", 3106, [](IVelClientSDk& c) { c.GetAutoExport(Long(), Long(), Long()); }},
    {"FtpFilePath", 3107, [](IVelClientSDk& c) { c.GetFtpFilePath(Long(), Long(), Long(), Long()); }},
    {"ChannelCheckData", 3109,
     [](IVelClientSDk& c) { c.GetChannelCheckData(12, 7, Long(), Long(), Long(), Long()); }},
    {"WhetherInCommon", 3110, [](IVelClientSDk& c) { c.GetWhetherInCommon(Long()); }},
    {"UploadData", 3112,
     [](IVelClientSDk& c) {
         tagBatteryTestData data{Long(), Long(), Long(), Long(), Long(), Long(), Long()};
         c.PostUploadData(data);
     }},
    {"CycleData", 3113, [](IVelClientSDk& c) { c.ReportCycleData(Long()); }},
    {"StepData", 3113, [](IVelClientSDk& c) { c.ReportStepData(Long()); }},
};

constexpr const char* YES = "{\"success\":true,\"code\":0}";
constexpr int REFUSED = -7;
constexpr int CANCELLED = -42;

struct NotTaken : std::exception {
};

/// A request of each kind, made repeatedly, and ended each time in the test's way.
class UserDataCount : public SdkTest, public testing::WithParamInterface<Operation>
{
protected:
    void TearDown() override
    {
        m_transport.fnOnSend = nullptr;
        m_transport.vecRequests.clear(); // each was answered as its test requires
        SdkTest::TearDown();
    }

    RecordedRequest Send()
    {
        GetParam().fnSend(m_client);
        return m_transport.vecRequests.back();
    }

    static void Answer(const CHttpClientResponse& fnResponse, const RecordedRequest& request, int nHttpError)
    {
        try {
            fnResponse(YES, request.nType, request.pUserData, nHttpError);
        } catch (const std::exception&) { // a transport swallows it
        }
    }
    void Answer(const RecordedRequest& request, int nHttpError = 0)
    {
        Answer(m_transport.fnResponse, request, nHttpError);
    }

    template <class Way>
    long AllocationsAfter(Way fnWay)
    {
        fnWay();
        m_transport.vecRequests.clear();
        m_transport.vecCalls.clear();
        ClearRecordedLog();
        return g_nAllocations;
    }

    template <class Way>
    void ExpectNothingStaysOf(Way fnWay)
    {
        AllocationsAfter(fnWay); // objects created once stay
        const long nBefore = AllocationsAfter(fnWay);
        for (int nTime = 0; nTime < 10; ++nTime) {
            EXPECT_EQ(AllocationsAfter(fnWay) - nBefore, 0) << "allocations stay, time " << nTime;
        }
    }
};

TEST_P(UserDataCount, SeesWhatIsUnderWay)
{
    std::vector<void*> vecUnderWay;
    vecUnderWay.reserve(100);
    const auto fnSend = [&] { vecUnderWay.push_back(Send().pUserData); };
    AllocationsAfter(fnSend);
    const long nBefore = AllocationsAfter(fnSend);
    const bool bHasUserData = vecUnderWay.back() != nullptr;
    EXPECT_EQ(AllocationsAfter(fnSend) > nBefore, bHasUserData);
    for (void* const pUserData : vecUnderWay) {
        RecordedRequest request;
        request.nType = GetParam().nType;
        request.pUserData = pUserData;
        Answer(request);
    }
}

TEST_P(UserDataCount, IsEvenAfterAnAnswer)
{
    ExpectNothingStaysOf([this] { Answer(Send()); });
}

TEST_P(UserDataCount, IsEvenAfterAFailure)
{
    ExpectNothingStaysOf([this] { Answer(Send(), REFUSED); });
}

TEST_P(UserDataCount, IsEvenAfterATransportThatThrows)
{
    m_transport.fnOnSend = [](const RecordedRequest&) { throw NotTaken(); };
    ExpectNothingStaysOf([this] { EXPECT_THROW(Send(), NotTaken); });
}

TEST_P(UserDataCount, IsEvenAfterATransportThatRefusesWithinTheCall)
{
    m_transport.fnOnSend = [this](const RecordedRequest& request) { Answer(request, REFUSED); };
    ExpectNothingStaysOf([this] { Send(); });
}

TEST_P(UserDataCount, IsEvenAfterATransportThatRefusesWithinTheCallAndThrows)
{
    m_transport.fnOnSend = [this](const RecordedRequest& request) {
        Answer(request, REFUSED);
        throw NotTaken();
    };
    ExpectNothingStaysOf([this] { EXPECT_THROW(Send(), NotTaken); });
}

TEST_P(UserDataCount, IsEvenAfterAnAnswerThatComesTwice)
{
    ExpectNothingStaysOf([this] {
        const RecordedRequest request = Send();
        Answer(request);
        Answer(request);
    });
}

TEST_P(UserDataCount, IsEvenAfterAReceiverThatThrows)
{
    SetReceiver([](int, const void*, const SResponseHeader&, int) { throw NotTaken(); });
    ExpectNothingStaysOf([this] { Answer(Send()); });
}

TEST_P(UserDataCount, IsEvenWhereTheHandlerIsEmpty)
{
    CDataResponse::Instance()->RegisterHandler(GetParam().nType, nullptr);
    ExpectNothingStaysOf([this] { Answer(Send()); });
}

TEST_P(UserDataCount, IsEvenWhereTheAnswerComesAfterTheEndOfTheReplyPathWhichThenBeginsAgain)
{
    ExpectNothingStaysOf([this] {
        const RecordedRequest request = Send();
        const CHttpClientResponse fnOld = m_transport.fnResponse;
        CDataResponse::ReleaseInstance();
        Answer(fnOld, request, CANCELLED);
        m_client.Init();
        Answer(Send());
    });
}

INSTANTIATE_TEST_SUITE_P(Each, UserDataCount, testing::ValuesIn(OPERATIONS),
                         testing::PrintToStringParamName());

} // namespace
