#pragma once

#include <ktshttpagent/KtsOutbox.h>

#include <string>

/// The figures of the outbox in the format of `metrics::PrometheusText`; empty if it is not open.
std::string OutboxFigures(const SKtsOutboxStatus& status);
