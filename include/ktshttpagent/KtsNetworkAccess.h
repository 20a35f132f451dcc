#pragma once

/// @file
/// The network access of the blocking senders and of downloads, as Qt users know it: a host makes the
/// `QNetworkAccessManager`, for example one whose subclass overrides `createRequest`, to add a header, to log
/// in, or to answer by itself in a test. Asynchronous requests don't use Qt's network access, see
/// chttpclient.h.
///
/// The test kit (`ktshttpagent::testing`, KtsScriptedNetwork.h) is made of this.

#include "KtsExport.h"

#include <functional>

class QNetworkAccessManager;
class QObject;

/// Makes the manager for one exchange. It is called on the thread of the blocking sender, or of the download,
/// for each request, just before that is sent.
///
/// Ownership: the manager becomes a child of the object that is passed in, and is deleted with that, on the
/// same thread: when the exchange has ended, or is cancelled. So each call must return a new manager, which
/// belongs to the calling thread. If it returns null, the exchange uses Qt's own network access. If it
/// throws, the exception leaves the sender.
///
/// The library sets the parts of the request that it always sets, and with
/// KTSHTTPAGENT_SYNC_SETTINGS=transport the proxy of the manager; it reads the reply as it arrives, and may
/// abort it.
using KtsNetworkAccessFactory = std::function<QNetworkAccessManager*(QObject* pParent)>;

/// Sets what makes the managers of the exchanges that begin from now on; an empty function for Qt's own, as
/// at the beginning. May be called from any thread. A call of the previous function that has begun on another
/// thread may still run afterwards; that function is destroyed with its last call.
/// @throws std::bad_alloc
KTSHTTPAGENT_API void KtsSetNetworkAccess(KtsNetworkAccessFactory fnMake);
