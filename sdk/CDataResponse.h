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

/// Handles the replies to one type of request. Its arguments are the reply's body, the request type id and
/// the request's user data, which the handler then owns.
using ResponseHandler = std::function<void(const std::string& body, int nType, void* pUserData)>;

/// Receives every reply of the transport and routes it by its request type id.
///
/// Threads: `CHttpCallBack` runs on the transport's delivering thread. `JsonHeader` may be called on any
/// thread. Everything else runs on the host's threads.
class CDataResponse
{
public:
    /// The one instance. The first call makes it and registers it with the transport.
    static CDataResponse* Instance();

    /// Removes all handlers and releases the instance. A reply that the transport delivers afterwards finds
    /// no handler.
    static void ReleaseInstance();

    /// Sets the handler of a request type; it replaces an earlier one.
    void RegisterHandler(int nType, ResponseHandler fn);

    void SetBaseUrl(std::string url);

    /// Sets the paths from which log lines about failed exchanges take the endpoint path, until the instance
    /// is released. Without them, they name the built-in path.
    void SetEndpointPaths(std::shared_ptr<const EndpointPaths> pPaths);

    /// The transport's callback. A failure (`nHttpError` other than 0) reaches the handler as the envelope
    /// {"code":N}, a gateway's error page as {"code":7}. A reply without a handler is dropped, and its user
    /// data is freed. An exception of the handler reaches the caller. Replies to the outbox's own tries are
    /// taken by that, see outbox/Outbox.h.
    void CHttpCallBack(const std::string& body, int nType, void* pUserData, int nHttpError);

    /// Does the same as `ReadEnvelope`, which the decoders call; a fixed member of the class.
    void JsonHeader(const std::string& body, Json::Value& root, int& nCode, std::string& strDescription);

private:
    CDataResponse() = default;

    static std::shared_ptr<CDataResponse>& Holder();
    /// The answer to a request, from the transport or from the outbox.
    /// @param bStored  there was no reply: the outbox keeps the report
    void Answer(const std::string& body, int nType, void* pUserData, int nHttpError, bool bStored);
    void PassOn(const std::string& body, int nType, void* pUserData);
    std::string EndpointPath(int nType);
    void LogExchangeFailure(int nLine, int nType, int nHttpError) noexcept;
    std::optional<ResponseHandler> FindHandler(int nType);

    std::map<int, ResponseHandler> m_mapHandler;
    std::string m_strBaseUrl; ///< never read; a fixed member of the class
    std::shared_ptr<const EndpointPaths> m_pPaths;
    std::mutex m_mutex; ///< needed because a reply may be delivered while handlers and paths are removed
};

} // namespace VelCSDK
