#include "CSource.h"

#include "CDataResponse.h"
#include "ReplyCause.h"
#include "UserData.h"
#include "requests/AllRequests.h"

#include <ktshttpagent/clog.h>

#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace VelCSDK
{
namespace
{

/// Logs why a reply was not decoded. Never throws, not even if memory has run out.
void LogUndecoded(int nType, const std::exception& error) noexcept
{
    try {
        Log_Write(1, "VelCSDK::CSource::Decode", 1, "reply to a request of type %d counts as a failure: %s",
                  nType, error.what());
    } catch (...) { // not enough memory for the line either, or the log threw: the reply is still answered
    }
}

/// Runs one step of decoding.
/// @return false if it threw; that is logged, unless it was the log that threw
template <class Step>
bool Attempt(int nType, Step&& fnStep) noexcept
{
    try {
        std::forward<Step>(fnStep)();
        return true;
    } catch (const std::exception& error) {
        LogUndecoded(nType, error);
    } catch (...) { // only a site's own log throws anything but a std::exception
    }
    return false;
}

/// Fills the record, and the result and the message of the header.
template <class Request>
void Read(const typename Request::Reply& reply, const typename Request::Arguments* pAsked,
          SResponseHeader& header, typename Request::Record& record)
{
    if constexpr (!std::is_same_v<typename Request::Record, NoRecord>) {
        Request::Read(reply, pAsked, record);
    }
    header.strMessage = reply.Message();
    header.nCode = reply.Result();
}

/// Whether the answer that the host gets is a no.
template <class Request>
bool IsNo(const typename Request::Reply& reply)
{
    constexpr bool HAS_FLAG = std::is_base_of_v<ReplyReader, typename Request::Reply> &&
                              !std::is_same_v<typename Request::Record, NoRecord>;
    if constexpr (HAS_FLAG) {
        return !reply.Success();
    } else {
        return reply.Result() != 0;
    }
}

/// Logs why the reply counts as a failure.
/// @param pReply  null if it could not be read
template <class Reply>
void LogCause(int nType, const UserData& user, const Reply* pReply) noexcept
{
    try {
        if (pReply != nullptr) {
            const ReplyFault fault = pReply->SaysNo() ? ReplyFault() : ReplyFault(EKtsFailure::Unreadable);
            LogReplyCause(nType, user.Url(), fault, pReply->Why(), pReply->Said());
        } else {
            LogReplyCause(nType, user.Url(), EKtsFailure::Unreadable,
                          "the reply can't be read, as the previous line says");
        }
    } catch (...) { // not enough memory for the words
    }
}

/// Fills the record of a reply that could not be read. Only fields that repeat the request's arguments get a
/// value.
template <class Request>
void ReadNothing(int nType, const typename Request::Arguments* pAsked, typename Request::Record& record)
{
    record = {};
    if constexpr (!std::is_same_v<typename Request::Record, NoRecord>) {
        const bool bRead = Attempt(nType, [&] { Request::Read(typename Request::Reply(), pAsked, record); });
        if (!bRead) {
            record = {};
        }
    }
}

/// Decodes a reply, passes the record to the response callback and frees the user data. If the reply is an
/// `IgnoredReply`, only frees the user data.
template <class Request>
void Decode(const HostCallBack& host, const std::string& body, int nType, void* pUserData)
{
    const UserData user(nType, pUserData);
    if constexpr (!std::is_same_v<typename Request::Reply, IgnoredReply>) {
        const auto* const pAsked = user.Get<Request>();
        SResponseHeader header;
        header.nCode = -1;
        // Freed after the record: in the other order the heap returns memory to the system with each reply.
        std::optional<typename Request::Reply> reply;
        typename Request::Record record;
        const bool bRead = Attempt(nType, [&] {
            reply.emplace(body);
            Read<Request>(*reply, pAsked, header, record);
        });
        if (!bRead) {
            ReadNothing<Request>(nType, pAsked, record);
        }
        if (!bRead || IsNo<Request>(*reply)) {
            LogCause(nType, user, bRead ? &*reply : nullptr);
        } else {
            CountSuccess(nType, user.Url());
        }
        if constexpr (!std::is_same_v<typename Request::Record, NoRecord>) {
            header.pData = &record;
        }
        CSource::Notify(host, nType, user.Context(), header, header.nCode);
    } else {
        CountSuccess(nType, user.Url());
    }
}

template <class Request>
void Register(const HostCallBack& host)
{
    if constexpr (!std::is_same_v<typename Request::Reply, UnregisteredReply>) {
        CDataResponse::Instance()->RegisterHandler(
            Request::FORM.nType,
            // Captures a reference, so that the handler is small enough to be copied for every reply without
            // an allocation.
            [&host](const std::string& body, int nType, void* pUserData) {
                Decode<Request>(host, body, nType, pUserData);
            });
    }
}

template <class... Request>
void RegisterAll(RequestList<Request...> /*all*/, const HostCallBack& host)
{
    (Register<Request>(host), ...);
}

} // namespace

CSource::CSource(const HostCallBack& host)
{
    RegisterAll(AllRequests(), host);
}

void CSource::Notify(const HostCallBack& host, int nType, const void* pUser, const SResponseHeader& header,
                     int nResult)
{
    host.Call(nType, pUser, &header, nResult);
}

} // namespace VelCSDK
