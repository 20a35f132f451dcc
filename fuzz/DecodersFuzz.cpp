// Passes a reply to the decoder of its request type as the transport would, and checks everything that
// reaches the receiver.
//
// The input is three bytes and the reply's body:
//   request type  below 128: 3100 plus its lower four bits ('3' is 3103, ':' is 3110)
//                 from 128 on: the byte itself, an id without a decoder
//   error         selects one of ERRORS; '0' is none
//   user data     an odd byte means none, so '0' is with user data, '1' is without

#include "RecordingLog.h"
#include "Require.h"

#include "sdk/CDataResponse.h"
#include "sdk/UserData.h"
#include "sdk/requests/AllRequests.h"
#include "tests/unit/sdk/PayloadText.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <array>
#include <cstdint>
#include <limits>
#include <map>

namespace
{

using namespace VelCSDK;

constexpr std::array ERRORS{
    0, 404, 502, -28, 7, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
constexpr std::size_t HEAD_SIZE = 3;

struct Reply {
    int nType;
    int nHttpError;
    bool bUserData;
    std::string strBody;

    bool IsGatewayFailure() const { return strBody.find("Bad Gateway") != std::string::npos; }
    bool IsFailedExchange() const { return nHttpError != 0 || IsGatewayFailure(); }
};

/// How the SDK decodes the replies to a request type.
struct Decoding {
    void* (*fnNewUserData)(); ///< null if the request has no user data
    void (*fnCheckPayload)(const SResponseHeader& header,
                           int nResult); ///< null if the receiver isn't called
};

template <class Request>
void* NewEmptyUserData()
{
    return NewUserData<Request>({});
}

bool Succeeded(const SSupportVer& record)
{
    return record.bSupport;
}

template <class Record>
bool Succeeded(const Record& record)
{
    return record.bSuccess;
}

void RequireNoNul(const std::string& strText)
{
    Require(strText.find('\0') == std::string::npos, "a text ends at its first NUL");
}

template <class Record>
void CheckPayload(const SResponseHeader& header, int nResult)
{
    Require(header.pData != nullptr, "there is a payload");
    const Record& record = *static_cast<const Record*>(header.pData);
    Require(nResult == 0 || nResult == -1, "the result is 0 or -1");
    Require(nResult == 0 || !Succeeded(record), "no failure holds a success");
    RequireNoNul(Describe(record));
}

void CheckUserInfo(const SResponseHeader& header, int nResult)
{
    Require(header.pData != nullptr, "there is a payload");
    const std::string strInfo = Describe(*static_cast<const USER_INFO*>(header.pData));
    Require(nResult == 0 || strInfo == Describe(USER_INFO()), "a failure has an empty record");
    RequireNoNul(strInfo);
}

void CheckAcknowledgement(const SResponseHeader& header, int nResult)
{
    Require(header.pData == nullptr, "an acknowledgement has no payload");
    Require(nResult == 0 || nResult == -1, "the result is 0 or -1");
}

Decoding DecodingOf(int nType)
{
    static const std::map<int, Decoding> DECODINGS{
        {3100, {NewEmptyUserData<requests::GetUserInfo>, CheckUserInfo}},
        {3101, {NewEmptyUserData<requests::ReportChlStatus>, CheckAcknowledgement}},
        {3102, {nullptr, CheckAcknowledgement}},
        {3103, {NewEmptyUserData<requests::GetProjects>, CheckPayload<SResponseGetProject>}},
        {3104, {NewEmptyUserData<requests::GetSupportVer>, CheckPayload<SSupportVer>}},
        {3105, {NewEmptyUserData<requests::GetBattStatus>, CheckPayload<SResponseGetBatteryStatus>}},
        {3106, {NewEmptyUserData<requests::GetAutoExport>, CheckPayload<SResponseGetAutoExport>}},
        {3107, {NewEmptyUserData<requests::GetFtpFilePath>, CheckPayload<SResponseGetFtpFilePath>}},
        {3109, {NewEmptyUserData<requests::GetChannelCheckData>, CheckPayload<SResponseGetChannelCheckData>}},
        {3110, {NewEmptyUserData<requests::GetWhetherInCommon>, CheckPayload<SResponseGetWhetherInCommon>}},
        {3112, {NewEmptyUserData<requests::PostUploadData>, nullptr}},
        {3113, {NewEmptyUserData<requests::ReportCycleData>, nullptr}},
    };
    const auto found = DECODINGS.find(nType);
    return found == DECODINGS.end() ? Decoding{nullptr, nullptr} : found->second;
}

Reply ReadReply(const std::uint8_t* pData, std::size_t nSize)
{
    return {pData[0] < 128 ? 3100 + (pData[0] & 0x0F) : pData[0], ERRORS.at(pData[1] % ERRORS.size()),
            pData[2] % 2 == 0,
            std::string(reinterpret_cast<const char*>(pData) + HEAD_SIZE, nSize - HEAD_SIZE)};
}

/// User information passes on the code of the failure; the other decoders find no "success" in the failure's
/// envelope.
int ResultOfFailedExchange(const Reply& reply)
{
    constexpr int GATEWAY_FAILURE = 7;
    if (reply.nType != 3100) {
        return -1;
    }
    return reply.IsGatewayFailure() ? GATEWAY_FAILURE : reply.nHttpError;
}

void CheckHeader(const Reply& reply, const SResponseHeader& header, int nResult)
{
    Require(header.nCode == nResult, "the header holds the result");
    Require(header.strExtra1.empty() && header.strExtra2.empty(), "the spare texts stay empty");
    Require(reply.nType == 3100 || header.strMessage.empty(), "only user information has a message");
    Require(!reply.IsFailedExchange() || nResult == ResultOfFailedExchange(reply), "a failed exchange fails");
    RequireNoNul(header.strMessage);
    const auto fnCheckPayload = DecodingOf(reply.nType).fnCheckPayload;
    Require(fnCheckPayload != nullptr, "only a type that has an answer reaches the receiver");
    fnCheckPayload(header, nResult);
}

void CheckLog(const Reply& reply)
{
    const std::size_t nFailures = (reply.nHttpError != 0 ? 1U : 0U) + (reply.IsGatewayFailure() ? 1U : 0U);
    const std::size_t nUnread = RecordedLog().size() - nFailures;
    Require(nUnread == 0 || (nUnread == 1 && reply.nType == 3100),
            "failed exchanges are logged, and what the envelope reader can't read");
}

IVelClientSDk& Client()
{
    static IVelClientSDk& client = [&]() -> IVelClientSDk& {
        SDKFactory::GetInstance()->Init();
        return *SDKFactory::GetInstance();
    }();
    return client;
}

/// @return the number of calls of the receiver
int Deliver(const Reply& reply, void* pUserData)
{
    int nCalls = 0;
    Client().SetResponseCallBack([&](int nType, const void* pUser, const void* pHeader, int nResult) {
        ++nCalls;
        Require(nType == reply.nType, "the receiver gets the request type");
        Require(pUser == pUserData, "the receiver gets the request's own user data");
        Require(pHeader != nullptr, "the receiver gets a header");
        CheckHeader(reply, *static_cast<const SResponseHeader*>(pHeader), nResult);
    });
    CDataResponse::Instance()->CHttpCallBack(reply.strBody, reply.nType, pUserData, reply.nHttpError);
    return nCalls;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize < HEAD_SIZE) {
        return 0;
    }
    ClearRecordedLog();
    const Reply reply = ReadReply(pData, nSize);
    const Decoding decoding = DecodingOf(reply.nType);
    const bool bUserData = reply.bUserData && decoding.fnNewUserData != nullptr;
    const int nCalls = Deliver(reply, bUserData ? decoding.fnNewUserData() : nullptr);
    Require(nCalls == (decoding.fnCheckPayload != nullptr ? 1 : 0),
            "one answer for what is answered, none else");
    CheckLog(reply);
    return 0;
}
