#pragma once

#include <ktshttpagent/KtsMetrics.h>

#include <string>

namespace metrics
{

/// The figures in the text format that Prometheus' node exporter collects. Durations are in seconds, and each
/// of their classes includes the shorter ones, as that format demands.
std::string PrometheusText(const SKtsMetrics& figures);

} // namespace metrics
