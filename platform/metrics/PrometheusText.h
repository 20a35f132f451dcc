#pragma once

#include <ktshttpagent/KtsMetrics.h>

#include <string>

namespace metrics
{

/// The figures in the text format that Prometheus' node exporter collects. Durations are in seconds, and each
/// of their classes includes the shorter ones, as that format demands.
std::string PrometheusText(const SKtsMetrics& figures);

/// Adds a figure without labels to a text in that format.
/// @param szType  "gauge" or "counter"
void AddSingle(std::string& strText, const std::string& strName, const char* szType, const char* szHelp,
               const std::string& strValue);

} // namespace metrics
