#pragma once

#include <string>
#include <string_view>
#include <vector>

/// How many letters must be inserted, removed or replaced to make one text of the other; upper and lower case
/// are the same.
std::size_t EditDistance(std::string_view first, std::string_view second);

/// The name of a list that a text resembles most.
/// @param nMost  the largest distance that still counts
/// @return empty if no name is so near
std::string NearestName(std::string_view text, const std::vector<std::string>& vecNames, std::size_t nMost);
