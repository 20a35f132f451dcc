#pragma once

#include "EndpointPaths.h"

#include <json/value.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace VelCSDK
{

/// Handles the reply to one type of request: its body, the request type id and the request's user data, which
/// the handler takes over.
using ResponseHandler = std::function<void(const std::string& body, int nType, void* pUserData)>;

/// Receives every reply of the transport and routes it by its request type id.
///
/// Threads: `CHttpCallBack` runs on the transport's delivering thread, and so does `JsonHeader`, which a
/// decoder calls within it. All else runs on the host's.
class CDataResponse
{
public:
    /// The one instance; the call that makes it registers it with the transport.
    static CDataResponse* Instance();

    /// Empties and forgets the instance. A reply that the transport delivers after that finds no handler.
    static void ReleaseInstance();

    /// Sets the handler of a request type in place of an earlier one.
    void RegisterHandler(int nType, ResponseHandler fn);

    void SetBaseUrl(std::string url);

    /// Sets where the log has the endpoint path of a failed exchange from, until the instance is released.
    /// With none, it has the built-in path.
    void SetEndpointPaths(std::shared_ptr<const EndpointPaths> pPaths);

    /// The transport's callback. A failure (`nHttpError` other than 0) reaches the handler as the envelope
    /// {"code":N}, a gateway's error page as {"code":7}. A reply without a handler is dropped, its user data
    /// freed. What the handler throws goes through.
    void CHttpCallBack(const std::string& body, int nType, void* pUserData, int nHttpError);

    /// As `ReadEnvelope`, see there.
    void JsonHeader(const std::string& body, Json::Value& root, int& nCode, std::string& strDescription);

private:
    CDataResponse() = default;

    static std::shared_ptr<CDataResponse>& Holder();
    std::string EndpointPath(int nType);
    void LogExchangeFailure(int nLine, int nType, int nHttpError) noexcept;
    std::optional<ResponseHandler> FindHandler(int nType);

    std::map<int, ResponseHandler> m_mapHandler;
    std::string m_strBaseUrl; ///< read by nobody; kept since the class is described with it
    std::shared_ptr<const EndpointPaths> m_pPaths;
    std::mutex m_mutex; ///< a reply may still be on its way while handlers and paths are emptied
};

} // namespace VelCSDK
