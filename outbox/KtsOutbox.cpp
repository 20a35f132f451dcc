#include <ktshttpagent/KtsOutbox.h>

#include "OpenOutbox.h"
#include "Outbox.h"

#include <utility>

bool KtsOpenOutbox(const std::string& strFolder)
{
    return outbox::OpenIn(strFolder);
}

void KtsCloseOutbox()
{
    constexpr outbox::Milliseconds PATIENCE{3'000};
    outbox::Close(PATIENCE);
}

SKtsOutboxStatus KtsOutboxStatus()
{
    const outbox::OutboxState state = outbox::State();
    const outbox::ShelfStatus& shelf = state.figures.shelf;
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

void KtsSetReportStream(const std::string& strStream)
{
    outbox::SetThreadStream(strStream);
}

void KtsSetOutboxObserver(KtsOutboxObserver fnObserver)
{
    outbox::SetObserver(std::move(fnObserver));
}
