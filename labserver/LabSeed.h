#pragma once

#include <functional>
#include <json/json.h>

struct LabTable;

/// Hands out the rows of a small laboratory, which a new store begins with, one after the other.
void ForEachSeedRow(const std::function<void(const LabTable&, const Json::Value& row)>& fnTake);
