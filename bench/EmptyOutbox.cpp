// Takes the place of outbox/Outbox.cpp and outbox/OpenOutbox.cpp in a library that only the benchmark has, to
// measure what the outbox costs while it is not open. It is never open there, and asking whether it is reads
// nothing.

#include "outbox/OpenOutbox.h"
#include "outbox/Outbox.h"

namespace outbox
{

bool Open(const OutboxSettings& /*settings*/, MakeMeans /*fnMake*/) noexcept
{
    return false;
}

bool Send(Report /*report*/, void* /*pUserData*/) noexcept
{
    return false;
}

bool MaySend() noexcept
{
    return false;
}

bool OnReply(const std::string& /*strBody*/, void* /*pToken*/, int /*nError*/, const Answer& /*fnAnswer*/)
{
    return false;
}

void BeginStop() noexcept {}

void Close(Milliseconds /*patience*/) noexcept {}

OutboxState State()
{
    return {};
}

void SetObserver(std::function<void(const SKtsReportEnding&)> /*fnObserver*/) {}

void SetReceiver(TransportPost::Receiver /*fnReceiver*/) {}

bool OpenIn(const std::string& /*strFolder*/) noexcept
{
    return false;
}

void SetDefaultFolder(const std::string& /*strFolder*/) {}

bool OpenConfigured() noexcept
{
    return false;
}

} // namespace outbox
