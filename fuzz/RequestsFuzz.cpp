// Sends a request with texts that no host would choose, and checks what the transport gets.
//
// The input is a byte that selects one of OPERATIONS ('0' is the first) and the operation's arguments, each
// up to the next byte 0x1F; those that are missing are empty.

#include "RecordingLog.h"
#include "RecordingTransport.h"
#include "Require.h"

#include "sdk/RequestCatalogue.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/RequestType.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace
{

using namespace VelCSDK;

/// Returns the arguments of an operation one by one.
class Arguments
{
public:
    explicit Arguments(std::string_view strInput) : m_strLeft(strInput) {}

    std::string Text()
    {
        constexpr char END = '\x1F';
        const std::size_t nLength = std::min(m_strLeft.find(END), m_strLeft.size());
        std::string strText(m_strLeft.substr(0, nLength));
        m_strLeft.remove_prefix(std::min(nLength + 1, m_strLeft.size()));
        return strText;
    }

    int Number() { return static_cast<int>(std::strtol(Text().c_str(), nullptr, 10)); }

private:
    std::string_view m_strLeft;
};

void SendChlStatus(IVelClientSDk& client, Arguments& arguments)
{
    const std::string strTick = arguments.Text();
    KTSStartPlugin::tagRepoChlStatusInfo info;
    for (std::string* pText :
         {&info.box, &info.chl, &info.action, &info.dxtm, &info.reason_desc, &info.stopTime}) {
        *pText = arguments.Text();
    }
    client.ReportChlStatus(strTick, info);
}

void SendIncubatorStatus(IVelClientSDk& client, Arguments& arguments)
{
    KTSStartPlugin::tagRepoIncubatorStatus status{arguments.Text(), true, 21.5F};
    client.ReportIncubatorStatus(status);
}

// The functions below use braces, because initialisers in braces are evaluated in order; arguments of a call
// are not.

void SendProjects(IVelClientSDk& client, Arguments& arguments)
{
    const std::array texts{arguments.Text(), arguments.Text()};
    client.GetProjects(texts[0], texts[1]);
}

void SendAutoExport(IVelClientSDk& client, Arguments& arguments)
{
    const std::array texts{arguments.Text(), arguments.Text(), arguments.Text()};
    client.GetAutoExport(texts[0], texts[1], texts[2]);
}

void SendFtpFilePath(IVelClientSDk& client, Arguments& arguments)
{
    const std::array texts{arguments.Text(), arguments.Text(), arguments.Text(), arguments.Text()};
    client.GetFtpFilePath(texts[0], texts[1], texts[2], texts[3]);
}

void SendUploadData(IVelClientSDk& client, Arguments& arguments)
{
    tagBatteryTestData data{arguments.Text(), arguments.Text(), arguments.Text(), arguments.Text(),
                            arguments.Text(), arguments.Text(), arguments.Text()};
    client.PostUploadData(data);
}

void SendChannelCheck(IVelClientSDk& client, Arguments& arguments)
{
    const tagSRequestGetChannelCheckData request{arguments.Number(), arguments.Number(), arguments.Text(),
                                                 arguments.Text(),   arguments.Text(),   arguments.Text()};
    client.GetChannelCheckData(request.wtNumId, request.xmNameId, request.dxtm, request.deviceId, request.chl,
                               request.purpose);
}

struct Operation {
    int nType;
    void (*fnSend)(IVelClientSDk& client, Arguments& arguments);
};

constexpr std::array OPERATIONS{
    Operation{3100,
              [](IVelClientSDk& client, Arguments& arguments) { client.GetUserInfo(arguments.Number()); }},
    Operation{3101, SendChlStatus},
    Operation{3102, SendIncubatorStatus},
    Operation{3103, SendProjects},
    Operation{3104,
              [](IVelClientSDk& client, Arguments& arguments) { client.GetSupportVer(arguments.Text()); }},
    Operation{3105,
              [](IVelClientSDk& client, Arguments& arguments) { client.GetBattStatus(arguments.Text()); }},
    Operation{3106, SendAutoExport},
    Operation{3107, SendFtpFilePath},
    Operation{3109, SendChannelCheck},
    Operation{3110, [](IVelClientSDk& client,
                       Arguments& arguments) { client.GetWhetherInCommon(arguments.Text()); }},
    Operation{3112, SendUploadData},
    Operation{3113,
              [](IVelClientSDk& client, Arguments& arguments) { client.ReportCycleData(arguments.Text()); }},
};

IVelClientSDk& Client()
{
    static IVelClientSDk& client = []() -> IVelClientSDk& {
        IVelClientSDk& fresh = *SDKFactory::GetInstance();
        fresh.Init();
        fresh.SetServerAddr("10.1.1.5", 80);
        fresh.SetResponseCallBack([](int, const void*, const void*, int) {});
        return fresh;
    }();
    return client;
}

/// @return whether the operation accepted its arguments
bool Send(const Operation& operation, std::string_view strArguments)
{
    Arguments arguments(strArguments);
    try {
        operation.fnSend(Client(), arguments);
        return true;
    } catch (const std::logic_error&) { // a box or channel that is not a number or does not fit an int
        Require(operation.nType == RequestType::ReportChlStatus, "only a channel status report is picky");
        return false;
    }
}

void CheckUrl(const RecordedRequest& request)
{
    const std::string strBase = "http://10.1.1.5:80/" + DefaultEndpointPath(request.nType);
    Require(request.strUrl.compare(0, strBase.size(), strBase) == 0, "a URL begins with server and path");
    const std::string strRest = request.strUrl.substr(strBase.size());
    Require(strRest.empty() || strRest[0] == '?' || strRest[0] == '/',
            "after the path comes a query or a number");
}

void CheckBody(const RecordedRequest& request)
{
    const bool bAsGiven = request.nType == RequestType::ReportCycleData;
    const bool bNone = request.nType == RequestType::GetUserInfo;
    if (bAsGiven || bNone) {
        Require(bAsGiven || request.strBody.empty(), "asking for a user needs no body");
        return;
    }
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(request.strBody.data(), request.strBody.size());
    Require(!document.HasParseError() && document.IsObject(), "a body is a JSON object in valid UTF-8");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    if (nSize == 0) {
        return 0;
    }
    RecordingTransport& transport = RecordingTransport::Instance();
    const Operation& operation = OPERATIONS.at(static_cast<std::size_t>(pData[0] - '0') % OPERATIONS.size());
    const bool bSent = Send(operation, {reinterpret_cast<const char*>(pData) + 1, nSize - 1});
    Require(transport.vecRequests.size() == (bSent ? 1U : 0U), "what is taken is sent, once");
    for (const RecordedRequest& request : transport.vecRequests) {
        Require(request.nType == operation.nType, "a request has its operation's type");
        CheckUrl(request);
        CheckBody(request);
        transport.fnResponse("{}", request.nType, request.pUserData, 0);
    }
    transport.vecRequests.clear();
    transport.vecCalls.clear();
    ClearRecordedLog();
    return 0;
}
