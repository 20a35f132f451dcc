#pragma once

#include <QByteArray>

#include <string_view>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

/// A part of a blocking call's exchange, for a user who wants to see it. Qt does not tell the bytes on the
/// wire, so the parts are made of what it was given and what it reports.
enum class CallPart { Remark, ReplyHeader, RequestHeader, ReplyBody, RequestBody, End };

/// Receives the parts.
/// @param pExchange  the manager of the exchange
using CallTrace = void (*)(CallPart ePart, std::string_view strBytes, const void* pExchange) noexcept;

/// Sets the receiver; null for none. From any thread.
void SetCallTrace(CallTrace fnTrace) noexcept;

/// The receiver; null for none.
CallTrace CallTraceInForce() noexcept;

/// Tells the receiver, if there is one, a request that is about to be sent.
/// @param pBody  of a POST; null for a GET
void TraceRequest(const QNetworkAccessManager& manager, const QNetworkRequest& request,
                  const QByteArray* pBody) noexcept;

/// Tells the receiver, if there is one, a reply that is complete or has failed.
/// @param baBody  what came of its body, unpacked
void TraceReply(const QNetworkAccessManager& manager, const QNetworkReply& reply,
                const QByteArray& baBody) noexcept;
