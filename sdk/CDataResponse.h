#pragma once

#include <json/value.h>

#include <atomic>
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

    /// The transport's callback. A failure (`nHttpError` other than 0) reaches the handler as the envelope
    /// {"code":N}, a gateway's error page as {"code":7}. A reply without a handler is dropped, its user data
    /// freed. What the handler throws goes through.
    void CHttpCallBack(const std::string& body, int nType, void* pUserData, int nHttpError);

    /// Parses a reply's body into `root` and reads its envelope: `nCode` from an integer "code",
    /// `strDescription` from a text "description". What is missing or of another kind leaves the caller's
    /// value alone; a body that doesn't parse, or holds too many values (see ReplyLimits.h), is logged and
    /// sets `nCode` to -1.
    void JsonHeader(const std::string& body, Json::Value& root, int& nCode, std::string& strDescription);

private:
    CDataResponse() = default;

    static std::shared_ptr<CDataResponse>& Holder();
    std::string EndpointPath(int nType) const;
    void LogExchangeFailure(int nLine, int nType, int nHttpError) const noexcept;
    std::optional<ResponseHandler> FindHandler(int nType);

    std::map<int, ResponseHandler> m_mapHandler;
    std::string m_strBaseUrl;
    std::atomic<bool> m_bReleased = false;
    std::mutex m_mutexHandler; ///< a reply may still be on its way while the handlers are emptied
};

} // namespace VelCSDK
