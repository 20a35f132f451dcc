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

/// The implementation of `IVelClientSDk`. It builds a request from its arguments and passes it to the
/// transport; the reply comes back through `CDataResponse`.
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

    /// A copy of the response callback; empty if none is set. The key is ignored; it is kept because callers
    /// pass "source".
    ResponseCallBack GetResponseCallBack(const std::string& key) const;

private:
    friend struct SDKFactory;
    VelClientSDk();

    /// Sends a request, whose user data is a copy of its arguments. If the transport throws, the user data is
    /// freed, unless the transport has broken its contract and delivered an answer all the same, which took
    /// it over.
    /// @param more  what the request is built from in addition to the arguments that it keeps
    template <class Request, class... More>
    void Send(typename Request::Arguments arguments, const More&... more);

    std::unique_ptr<CSource> m_pSource; ///< null until `Init`
    std::unique_ptr<SDKFactory> m_pAux; ///< null until `Init`; unused, a fixed member of the class
    std::string m_strBaseUrl;
    HostCallBack m_host;
    const std::shared_ptr<EndpointPaths> m_pPaths = std::make_shared<EndpointPaths>();
};

} // namespace VelCSDK
