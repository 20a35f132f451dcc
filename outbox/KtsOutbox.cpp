#include <ktshttpagent/KtsOutbox.h>

#include "OpenOutbox.h"
#include "Outbox.h"
#include "OutboxStatus.h"

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
    return outbox::Status();
}

void KtsSetReportStream(const std::string& strStream)
{
    outbox::SetThreadStream(strStream);
}

void KtsSetOutboxObserver(KtsOutboxObserver fnObserver)
{
    outbox::SetObserver(std::move(fnObserver));
}
