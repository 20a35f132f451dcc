#pragma once

#include "Desk.h"

#include <functional>
#include <string>

/// The outbox of this process, as the layers above use it: between them and the transport. While it is not
/// open, `Send` and `OnReply` read one atomic variable and return false.
///
/// Every function may be called from any thread, also from within a callback or the observer. In the child of
/// a fork the parent's outbox does not exist; if it was open, the child's first report opens another one in
/// the same way.
namespace outbox
{

/// Makes what an outbox needs. Called again in the child of a fork.
/// @throws std::exception whose text says why there can be no outbox
using MakeMeans = std::function<Desk::Means()>;

/// Opens the outbox and starts its thread. Does nothing if it is open.
/// @return whether it is open; if not, `State().strWhyNot` says why
bool Open(const OutboxSettings& settings, MakeMeans fnMake) noexcept;

/// Sends a report through the outbox; `Desk::Send` says what that means.
bool Send(Report report, void* pUserData) noexcept;

/// Whether `Send` might take a report, so that none has to be made in vain.
bool MaySend() noexcept;

/// Takes a reply of the transport if it is for the outbox; `Desk::OnReply` says what that means.
bool OnReply(const std::string& strBody, void* pToken, int nError, const Answer& fnAnswer);

/// The first half of `Close`, to be called before the transport is ended: nothing is begun any more, and the
/// senders of stored reports are called back.
void BeginStop() noexcept;

/// Closes the outbox. Waits for replies for as long as `patience`, and for its thread for at most a second;
/// what waits is left for the next run.
void Close(Milliseconds patience) noexcept;

/// Whether the outbox is open, where, and why not.
struct OutboxState {
    bool bOpen = false;
    std::string strFolder;
    std::string strWhyNot; ///< empty if nobody tried to open it
    Desk::Figures figures; ///< if it is open
};
OutboxState State();

/// The observer of later endings; null for none.
void SetObserver(std::function<void(const SKtsReportEnding&)> fnObserver);

/// The stream of the reports that the calling thread sends from now on; empty for none.
void SetThreadStream(std::string strStream);
const std::string& ThreadStream();

} // namespace outbox
