#pragma once

/// @file
/// The outbox: keeps reports on the disk until the server has acknowledged them. It is off unless the
/// environment variable `KTSHTTPAGENT_OUTBOX` or a profile names a folder for it, or the host calls
/// `KtsOpenOutbox`. docs/outbox.md says what it promises, and what the signals mean while it is open.
///
/// The outbox takes the reports of the asynchronous interface. Queries and blocking senders pass it by.
///
/// | variable                   | meaning                                                     | default |
/// |----------------------------|-------------------------------------------------------------|---------|
/// | KTSHTTPAGENT_OUTBOX        | the folder; it is made if it is missing                     | none    |
/// | KTSHTTPAGENT_OUTBOX_SYNC   | when stored reports are made safe from a power cut          | 50      |
/// | KTSHTTPAGENT_OUTBOX_REPEAT | which reports without an answer are sent again              | any     |
///
/// SYNC is `each` (at once), `50` (those of 50 ms together) or `none` (when the system does so). REPEAT is
/// `any`, or for servers that know no keys `unseen`: only reports that the server can't have seen.
///
/// If a value is none of these, the log says so, and the default is used. The variables are read when the
/// outbox is opened.
///
/// Threads: every function may be called from any thread. Ownership: texts and figures are copies. The
/// layout of the structs stays the same as long as the library keeps its major version.

#include "KtsExport.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

/// How a stored report ended after its sender had been called back.
enum class EKtsReportEnding {
    Acknowledged = 0, ///< the server has it
    Dead = 1,         ///< the server does not accept it: it lies among the dead letters
    Parked = 2, ///< the server may have it and knows no keys: it lies among the dead letters for a person
};

/// The ending of one report.
struct SKtsReportEnding {
    std::string strKey; ///< the report's key, by which the server recognises it; empty for a first attempt
    int nType = 0;      ///< the request type id (`VelCSDK::RequestType`)
    EKtsReportEnding eEnding = EKtsReportEnding::Acknowledged; ///< how it ended
    std::string strReason; ///< why, in words, with the HTTP status or the transport's number
};

/// A snapshot of the outbox.
struct SKtsOutboxStatus {
    bool bOpen = false;                  ///< whether it is open
    std::string strFolder;               ///< its folder, in UTF-8; empty if nobody tried to open it
    std::string strWhyNotOpen;           ///< why the last attempt to open it failed, in words; empty for none
    std::uint64_t nWaiting = 0;          ///< reports that the server has not acknowledged
    std::uint64_t nBytes = 0;            ///< of the folder's files, those of other processes included
    std::chrono::milliseconds oldest{0}; ///< the age of the oldest report that waits; 0 for none
    std::uint64_t nDead = 0;             ///< dead letters, parked reports included
    std::uint64_t nBad = 0;              ///< damaged pieces of files that were set aside
    std::uint64_t nUnprotected = 0;      ///< reports that were sent without being stored, since it was opened
    std::string strLastError;            ///< what last went wrong with storing, in words; empty for none
    bool bInAlarm = false; ///< whether an address does not take reports, so that a person has to help: it
                           ///< answers with a redirection, with 401, 403, 404 or the like, or with another
                           ///< certificate
};

/// Hears of endings, see `KtsSetOutboxObserver`.
using KtsOutboxObserver = std::function<void(const SKtsReportEnding&)>;

/// Opens the outbox in a folder, which must be on a local disk. Does nothing if the outbox is open already,
/// in whatever folder. Call it before the first report; reports that were sent before are not stored.
/// @param strFolder  in UTF-8
/// @return whether it is open; if not, `KtsOutboxStatus` and the log say why
KTSHTTPAGENT_API bool KtsOpenOutbox(const std::string& strFolder);

/// Closes the outbox. Reports that are on their way get up to three seconds; what waits then is sent by the
/// next process that opens the folder. Later reports are sent as without an outbox.
KTSHTTPAGENT_API void KtsCloseOutbox();

/// Takes a snapshot of the outbox.
/// @throws std::bad_alloc
KTSHTTPAGENT_API SKtsOutboxStatus KtsOutboxStatus();

/// Sets the stream of the reports that the calling thread sends from now on, until it calls this again. The
/// reports of one stream to one server are sent in order: each after the one before has ended. Status reports
/// of a channel have a stream of their own if none is set.
/// @param strStream  any text; empty for none
/// @throws std::bad_alloc
KTSHTTPAGENT_API void KtsSetReportStream(const std::string& strStream);

/// Sets who hears how reports ended after their senders were called back; replaces an earlier observer. It is
/// called on the thread on which replies are delivered, or on the outbox's own, and should return soon:
/// replies wait meanwhile. It may call every function of this library. If it throws, the log says so. A
/// call of it may still be running when this function, or `KtsCloseOutbox`, returns: let the observer own or
/// share what it uses.
/// @param fnObserver  null for none
/// @throws std::bad_alloc
KTSHTTPAGENT_API void KtsSetOutboxObserver(KtsOutboxObserver fnObserver);
