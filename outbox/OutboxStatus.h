#pragma once

#include <ktshttpagent/KtsOutbox.h>

namespace outbox
{

/// What `KtsOutboxStatus` returns.
/// @throws std::bad_alloc
SKtsOutboxStatus Status();

} // namespace outbox
