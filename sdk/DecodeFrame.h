#pragma once

#include "CSource.h"
#include "ReplyReader.h"
#include "UserData.h"

#include <exception>
#include <optional>
#include <utility>

namespace VelCSDK
{

/// Says in the log why a reply was not decoded. Fails no caller, not even where memory has run out.
void LogUndecoded(int nType, const std::exception& error) noexcept;

/// Does a step of decoding.
/// @return false where it threw, with a line in the log unless it was the log that threw
template <class Step>
bool Attempt(int nType, Step&& fnStep) noexcept
{
    try {
        std::forward<Step>(fnStep)();
        return true;
    } catch (const std::exception& error) {
        LogUndecoded(nType, error);
    } catch (...) { // only a site's own log throws what is no std::exception
    }
    return false;
}

/// Puts into a payload record what it repeats of its request; into most of them nothing.
template <class Payload>
void RepeatRequest(Payload& /*payload*/, const CUserData& /*user*/)
{
}
void RepeatRequest(SSupportVer& payload, const CUserData& user);
void RepeatRequest(SResponseGetProject& payload, const CUserData& user);

/// Decodes and hands over: `fnRead` makes the payload record of the parsed reply. A reply that is too large,
/// or for which there is no memory, is handed over as one that can't be parsed.
template <class Read>
void CSource::Decode(const std::string& body, int nType, void* pUserData, EArrayRoot eArrayRoot, Read fnRead)
{
    const CUserData user(nType, pUserData);
    std::optional<CReplyReader> reply;
    decltype(fnRead(*reply)) payload;
    int nResult = -1;
    Attempt(nType, [&] {
        reply.emplace(body, eArrayRoot);
        payload = fnRead(*reply);
        nResult = reply->Result();
    });
    if (!Attempt(nType, [&] { RepeatRequest(payload, user); })) {
        payload = {};
        nResult = -1;
    }
    HandOver(nType, user.Context(), &payload, nResult);
}

} // namespace VelCSDK
