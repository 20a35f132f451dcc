#include "OutboxStatus.h"

#include "Outbox.h"

namespace outbox
{

SKtsOutboxStatus Status()
{
    const OutboxState state = State();
    const ShelfStatus& shelf = state.figures.shelf;
    SKtsOutboxStatus status;
    status.bOpen = state.bOpen;
    status.strFolder = state.strFolder;
    status.strWhyNotOpen = state.strWhyNot;
    status.nWaiting = shelf.nWaiting;
    status.nBytes = shelf.nBytes;
    status.oldest = shelf.oldest;
    status.nDead = shelf.nDead;
    status.nBad = shelf.nBad;
    status.nUnprotected = state.figures.nUnprotected;
    status.strLastError =
        state.figures.strLastError.empty() ? shelf.strLastError : state.figures.strLastError;
    status.bInAlarm = state.figures.bInAlarm;
    return status;
}

} // namespace outbox
