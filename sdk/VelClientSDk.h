#pragma once

#include "CSource.h"
#include "UserData.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <json/value.h>

#include <map>
#include <memory>
#include <mutex>
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

    /// A copy of the response callback; empty when none is set. The key is not looked at.
    ResponseCallBack GetResponseCallBack(const std::string& key) const;

    /// The response callback itself, for whom there is no memory for a copy; null when none was ever set.
    std::shared_ptr<const ResponseCallBack> HeldResponseCallBack() const noexcept;

private:
    friend struct SDKFactory;
    VelClientSDk();

    /// Base URL and endpoint path of a request.
    std::string RequestUrl(int nType);

    /// Sends a query: the members of `object` as query string and, for a transport that wants it, as body.
    template <int nType>
    void SendQuery(typename UserDataOf<nType>::Type userData, const Json::Value& object);

    /// Sends a request whose user data is a new copy of `userData`. Where the transport throws, that is
    /// freed, unless an answer took it over against the transport's contract.
    template <int nType>
    void Send(typename UserDataOf<nType>::Type userData, const std::string& strUrl,
              const std::string& strBody);

    /// Hands a request to the transport in the form that the catalogue gives its type.
    static void HandToTransport(int nType, const std::string& strUrl, const std::string& strBody,
                                void* pUserData);

    std::unique_ptr<CSource> m_pSource; ///< null until `Init`
    std::unique_ptr<SDKFactory> m_pAux; ///< null until `Init`
    mutable std::mutex m_mutexResponse; ///< guards the callback, which a delivery may be asking for
    std::shared_ptr<const ResponseCallBack> m_pResponse; ///< null until one is set
    std::string m_strBaseUrl;
    std::mutex m_mutexUrl; ///< guards the paths, one of which a delivery that failed may be asking for
    std::map<int, std::string> m_mapUrl;
};

/// The compact text of a JSON value, with a line feed at its end.
std::string WriteJson(const Json::Value& value);

template <int nType>
void VelClientSDk::Send(typename UserDataOf<nType>::Type userData, const std::string& strUrl,
                        const std::string& strBody)
{
    void* const pUserData = NewUserData<nType>(std::move(userData));
    try {
        HandToTransport(nType, strUrl, strBody, pUserData);
    } catch (...) {
        const CUserData takenBack(nType, pUserData);
        throw;
    }
}

} // namespace VelCSDK
