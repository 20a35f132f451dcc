#pragma once

#include <string>

namespace VelCSDK
{

/// The request type ids. An id is the one key that ties a request to its endpoint path, its decoder and the
/// signal of its answer.
namespace RequestType
{
constexpr int GetUserInfo = 3100;
constexpr int ReportChlStatus = 3101;
constexpr int ReportIncubatorStatus = 3102;
constexpr int GetProjects = 3103;
constexpr int GetSupportVer = 3104;
constexpr int GetBattStatus = 3105;
constexpr int GetAutoExport = 3106;
constexpr int GetFtpFilePath = 3107;
constexpr int GetChannelUpDownPlatform = 3108;
constexpr int GetChannelCheckData = 3109;
constexpr int GetWhetherInCommon = 3110;
constexpr int GetCdlxFileListByDxtmList = 3111;
constexpr int PostUploadData = 3112;
constexpr int ReportCycleData = 3113;
constexpr int ReportStepData = 3114;    ///< never sent by the SDK client; its path serves the blocking sender
constexpr int ReportStepDataOrn = 3115; ///< as 3114
} // namespace RequestType

/// How the SDK client sends a request.
struct SRequestForm {
    int nType;
    const char* szPath;   ///< built-in endpoint path
    bool bPost;           ///< POST, or else GET
    const char* szHeader; ///< header line to send; empty for none
};

/// The form of a request; null for an id outside the catalogue.
const SRequestForm* FindRequestForm(int nType) noexcept;

/// The built-in endpoint path, relative, without a query; empty for an id outside the catalogue.
std::string DefaultEndpointPath(int nType);

} // namespace VelCSDK
