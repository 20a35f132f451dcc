#pragma once

/// @file
/// The ids of the request types: the numbers by which the library and its hosts distinguish requests. They
/// appear in `SBlockingOutcome::nType`, `CUIAgentReq::EndpointOrigin`, `VelCSDK::ResponseCallBack` and
/// `VelCSDK::IVelClientSDk::SetUrlMap`. Constants only, for use on any thread.
///
/// CUIAgentReq.h and CUIAgentRsp.h, or without Qt IVelClientSDk.h, describe what a request takes and returns.

namespace VelCSDK
{

/// The request type ids. The id of a request determines its endpoint path, its decoder and the signal of its
/// answer.
namespace RequestType
{
constexpr int GetUserInfo = 3100;               ///< GET: who is this user?
constexpr int ReportChlStatus = 3101;           ///< POST: one line of a channel's status log
constexpr int ReportIncubatorStatus = 3102;     ///< POST: the state of an incubator
constexpr int GetProjects = 3103;               ///< GET: the test projects of cells
constexpr int GetSupportVer = 3104;             ///< GET: is this version supported?
constexpr int GetBattStatus = 3105;             ///< GET: the states that a battery can have
constexpr int GetAutoExport = 3106;             ///< GET: the data of a cell's export file
constexpr int GetFtpFilePath = 3107;            ///< GET: where test files are kept
constexpr int GetChannelUpDownPlatform = 3108;  ///< declared, but never sent
constexpr int GetChannelCheckData = 3109;       ///< GET: may this channel start?
constexpr int GetWhetherInCommon = 3110;        ///< GET: is this cell barcode in common?
constexpr int GetCdlxFileListByDxtmList = 3111; ///< declared, but never sent
constexpr int PostUploadData = 3112;            ///< POST: one battery test result
constexpr int ReportCycleData = 3113;           ///< POST: cycle data, and asynchronous step data
constexpr int ReportStepData = 3114;            ///< POST: step data, by the blocking sender only
constexpr int ReportStepDataOrn = 3115;         ///< POST: step data to the ORN endpoint, blocking only
} // namespace RequestType

} // namespace VelCSDK
