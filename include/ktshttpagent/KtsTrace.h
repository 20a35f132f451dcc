#pragma once

/// @file
/// Shows each exchange of both interfaces as it goes, for a tool whose user wants to see what is sent and
/// what comes back. `ktsagent --verbose` is made of this. Downloads (`NAMDownload`) are not shown.
///
/// The texts are unchanged: they may hold passwords, reports, and characters that harm a terminal. Whoever
/// shows them must take care of that.

#include "KtsExport.h"

#include <functional>
#include <string>

/// A part of an exchange.
enum class EKtsTrace {
    Remark,        ///< words about the connection: addresses, proxy, TLS, certificate; one line or more
    ReplyHeader,   ///< lines of the reply's header, with their line ends; the status line comes first
    RequestHeader, ///< the request line, and header lines, with their line ends
    ReplyBody,     ///< what came of the reply's body, in one piece and decompressed
    RequestBody,   ///< a piece of the request's body
    End,           ///< how the exchange went, as the log tells it; always the last part
};

/// A part of an exchange, and what it says.
///
/// Of the asynchronous interface these are the bytes on the wire, except for the reply's body. Qt does not
/// tell its bytes, so of the blocking interface they are the request as it was handed to Qt, which adds some
/// header lines itself, and the reply as Qt reports it.
struct SKtsTrace {
    EKtsTrace ePart;       ///< what it is; a site's own transport may use further numbers
    std::string strBytes;  ///< what it says
    const void* pExchange; ///< the same for all parts of one exchange, and for no other at the same time
};

/// Receives the parts of all exchanges. It is called on whatever thread a part arises, also on the host's,
/// and on several threads at a time; the parts of one exchange come one after the other. It delays the
/// exchange, so it should return soon. If it throws, the exchange goes on. The requests that it sends are
/// shown too.
using KtsTraceReceiver = std::function<void(const SKtsTrace&)>;

/// Sets the receiver for each exchange that begins from now on; an empty function for none, as at the
/// beginning. May be called from any thread, also by a receiver.
///
/// A call of the previous receiver that has begun on another thread may go on after this has returned. The
/// previous receiver is destroyed when its last call has ended, so what it uses should belong to it, for
/// instance by a `std::shared_ptr`.
/// @return whether the asynchronous interface is shown too; a site's own transport may not be able to
/// @throws std::bad_alloc
KTSHTTPAGENT_API bool KtsSetTrace(KtsTraceReceiver fnReceive);
