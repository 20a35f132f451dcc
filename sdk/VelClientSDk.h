#pragma once

#include "CSource.h"
#include "EndpointPaths.h"
#include "HostCallBack.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <map>
#include <memory>
#include <string>

namespace VelCSDK
{

/// The client behind `IVelClientSDk`. A request is built from its arguments and handed to the transport; its
/// reply comes back through `CDataResponse`.
class VelClientSDk final : public IVelClientSDk
{
public:
    ~VelClientSDk() override;

    void Init() override;
    void SetServerAddr(std::string host, int port) override;
    void SetServerUrl(std::string url) override;
    void SetResponseCallBack(ResponseCallBack fn) override;
    void Reserved() override;
    void SetUrlMap(std::map<int, std::string> map) override;
    std::string GetUrl(int id) override;
    void GetSupportVer(std::string t) override;
    void GetUserInfo(int userId) override;
    void ReportChlStatus(std::string t, KTSStartPlugin::tagRepoChlStatusInfo& info) override;
    void ReportIncubatorStatus(KTSStartPlugin::tagRepoIncubatorStatus& status) override;
    void GetProjects(std::string dxtm, std::string t) override;
    void GetBattStatus(std::string t) override;
    void GetAutoExport(std::string bjtzser, std::string csxmser, std::string dxtm) override;
    void GetFtpFilePath(std::string bjtzser, std::string csxmser, std::string supplier,
                        std::string batteryStatus) override;
    void GetChannelUpDownPlatform(int, int, std::string, std::string, std::string, std::string, int,
                                  std::string) override;
    void GetChannelCheckData(int wtNumId, int xmNameId, std::string dxtm, std::string deviceId,
                             std::string chl, std::string purpose) override;
    void GetWhetherInCommon(std::string dxtm) override;
    void GetCdlxFileListByDxtmList(std::string dxtmList) override;
    void PostUploadData(tagBatteryTestData& data) override;
    void ReportCycleData(std::string json) override;
    void ReportStepData(std::string json) override;

    /// A copy of the response callback; empty when none is set. The key is not looked at; it is kept since
    /// callers are described as passing "source".
    ResponseCallBack GetResponseCallBack(const std::string& key) const;

private:
    friend struct SDKFactory;
    VelClientSDk();

    /// Sends a request, whose user data is a copy of its arguments. Where the transport throws, that is
    /// freed, unless an answer took it over against the transport's contract.
    /// @param more  what the request is made of beside the arguments that it keeps
    template <class Request, class... More>
    void Send(typename Request::Arguments arguments, const More&... more);

    std::unique_ptr<CSource> m_pSource; ///< null until `Init`
    std::unique_ptr<SDKFactory> m_pAux; ///< null until `Init`; used by nobody, kept since it is described
    std::string m_strBaseUrl;
    HostCallBack m_host;
    const std::shared_ptr<EndpointPaths> m_pPaths = std::make_shared<EndpointPaths>();
};

} // namespace VelCSDK
