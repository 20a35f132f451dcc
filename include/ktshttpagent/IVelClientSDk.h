#pragma once

/// @file
/// The interface without Qt: the client of the laboratory server, and the factory that makes it. A host with
/// Qt uses CUIAgentReq.h and CUIAgentRsp.h instead, which are built on this. The records are in
/// RequestRecords.h and ResultRecords.h, the ids of the request types in RequestType.h.
///
/// Threads: only one thread at a time may set the server and send; replies come on the transport's delivering
/// thread. Ownership: the client belongs to the factory; arguments are copied, and what the callback gets is
/// valid only during that call.

#include "KtsExport.h"
#include "RequestRecords.h"

#include <functional>
#include <map>
#include <string>

namespace VelCSDK
{

/// Receives every decoded reply: the request type id (3100 to 3115), the request's own context (the record of
/// its arguments, see the request operations), the `SResponseHeader` and the result code (0 is success). It
/// is called on the transport's delivering thread, once for each decoded reply. Header and context are
/// released as soon as it returns. If it throws, the transport logs the exception and delivers the next
/// reply.
using ResponseCallBack = std::function<void(int, const void*, const void*, int)>;

/// The client of the laboratory server. Its operations send a request and return at once, without a result:
/// every outcome arrives through the response callback. There is one client in a process, see `SDKFactory`.
///
/// Threads: a request goes to the server that was set last, so only one thread at a time may set the server
/// and send.
///
/// Query texts: an argument that is described as a query text is put unchanged into the URL's query; the
/// transport encodes only characters that no URL may contain. So a barcode `NO#1` arrives as `NO`, without
/// the fields after it, and `A&B=1` arrives as two fields. With `SDKFactory::SetQueryEscaping(true)` each
/// text arrives as it is. See docs/texts-in-requests.md.
///
/// The order of the operations is part of the interface: compiled hosts call them by their position in the
/// virtual table.
struct KTSHTTPAGENT_API IVelClientSDk {
    IVelClientSDk() = default; ///< for classes that implement the interface
    /// A client is not copied, because a process has only one.
    /// @{
    IVelClientSDk(const IVelClientSDk&) = delete;
    IVelClientSDk& operator=(const IVelClientSDk&) = delete;
    /// @}

    /// Ends the transport, which gives unfinished requests the drain time first, and removes all decoders.
    /// See `SDKFactory::DestoryInstance`.
    virtual ~IVelClientSDk();

    /// Registers the decoders. Another call registers them again.
    virtual void Init() = 0;

    /// Sets the base URL "http://HOST:PORT/", or "https://HOST:PORT/" if TLS is on. The environment variable
    /// KTSHTTPAGENT_TLS turns TLS on, or the site's settings once `CUIAgentReq` has read them (see there).
    /// Neither argument is checked. An IPv6 address must be in brackets, "[::1]"; without them every request
    /// fails.
    virtual void SetServerAddr(std::string host, int port) = 0;

    /// Sets the base URL as given; no scheme and no "/" is added.
    virtual void SetServerUrl(std::string url) = 0;

    /// Sets the receiver of decoded replies; it replaces an earlier one. Set it before the first request.
    virtual void SetResponseCallBack(ResponseCallBack fn) = 0;

    /// Does nothing; keeps its place in the virtual table.
    virtual void Reserved() = 0;

    /// Replaces all endpoint paths of this site; the map gives the path for a request type id. For an id that
    /// is absent or has an empty path, the built-in path is used.
    virtual void SetUrlMap(std::map<int, std::string> map) = 0;

    /// The endpoint path for a request type id, without a leading "/"; empty for an unknown id.
    virtual std::string GetUrl(int id) = 0;

    /// 3104, GET: is the version `t`, a query text, supported? Context: a `std::string`, `t`. Payload:
    /// `SSupportVer`.
    virtual void GetSupportVer(std::string t) = 0;

    /// 3100, GET: who is this user? Context: an `int`, `userId`. Payload: `USER_INFO`.
    virtual void GetUserInfo(int userId) = 0;

    /// 3101, POST: one line of a channel's status log. `t` is a query text. Context: a `std::string`, `t`. No
    /// payload. `info.box` and `info.chl` are read as `std::stoi` reads them. If that fails, nothing is sent,
    /// and `std::invalid_argument` ("invalid stoi argument") or `std::out_of_range` ("stoi argument out of
    /// range") is thrown.
    virtual void ReportChlStatus(std::string t, KTSStartPlugin::tagRepoChlStatusInfo& info) = 0;

    /// 3102, POST: the state of an incubator. Context: null. No payload.
    virtual void ReportIncubatorStatus(KTSStartPlugin::tagRepoIncubatorStatus& status) = 0;

    /// 3103, GET: the test projects of cells. Both are query texts; `dxtm` contains barcodes separated by
    /// commas, so no barcode may contain a comma, encoded or not. Context: two `std::string`. Payload:
    /// `SResponseGetProject`.
    virtual void GetProjects(std::string dxtm, std::string t) = 0;

    /// 3105, GET: battery states. `t` is a query text. Context: a `std::string`, `t`. Payload:
    /// `SResponseGetBatteryStatus`.
    virtual void GetBattStatus(std::string t) = 0;

    /// 3106, GET: the export data of a cell. All three are query texts. Context: three `std::string`.
    /// Payload: `SResponseGetAutoExport`.
    virtual void GetAutoExport(std::string bjtzser, std::string csxmser, std::string dxtm) = 0;

    /// 3107, GET: where test files are kept. All four are query texts. Context: four `std::string`. Payload:
    /// `SResponseGetFtpFilePath`.
    virtual void GetFtpFilePath(std::string bjtzser, std::string csxmser, std::string supplier,
                                std::string batteryStatus) = 0;

    /// 3108: declared, but not supported; sends nothing, and no answer comes.
    virtual void GetChannelUpDownPlatform(int, int, std::string, std::string, std::string, std::string, int,
                                          std::string) = 0;

    /// 3109, GET: may this channel start? The four texts are query texts. Context: a
    /// `tagSRequestGetChannelCheckData` of the six arguments. Payload: `SResponseGetChannelCheckData`.
    virtual void GetChannelCheckData(int wtNumId, int xmNameId, std::string dxtm, std::string deviceId,
                                     std::string chl, std::string purpose) = 0;

    /// 3110, GET: is this cell barcode in common? `dxtm` is a query text. Context: a `std::string`, `dxtm`.
    /// Payload: `SResponseGetWhetherInCommon`.
    virtual void GetWhetherInCommon(std::string dxtm) = 0;

    /// 3111: declared, but not supported; sends nothing, and no answer comes.
    virtual void GetCdlxFileListByDxtmList(std::string dxtmList) = 0;

    /// 3112, POST: one battery test result. No answer is decoded.
    virtual void PostUploadData(tagBatteryTestData& data) = 0;

    /// 3113, POST: cycle data, a JSON text that is sent exactly as given. No answer is decoded.
    virtual void ReportCycleData(std::string json) = 0;

    /// 3113, POST: step data. It is sent in the same way as cycle data, to the same endpoint.
    virtual void ReportStepData(std::string json) = 0;
};

/// Makes and ends the one client of the process.
struct KTSHTTPAGENT_API SDKFactory {
    /// The client; the first call makes it and starts the transport. Safe from several threads.
    static IVelClientSDk* GetInstance();

    /// Ends a client; null is allowed. Call it only at shut-down, because `GetInstance` still returns the
    /// ended client, which must not be used any more.
    static void DestoryInstance(IVelClientSDk* p);

    /// Sets whether the query texts of all later requests are percent-encoded, so that the server reads each
    /// text exactly as the host passed it. Off by default. The context and the JSON body that the transport
    /// gets keep the text as the host passed it. Call it from any thread. This is the setting of
    /// `CUIAgentReq::SetQueryEscaping`, which documents it in full.
    static void SetQueryEscaping(bool bEscape);
    static bool HasQueryEscaping(); ///< whether query texts are percent-encoded
};

} // namespace VelCSDK
