#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// What one reply may make its host remember. Its size says little about that: of two bytes, "0,", a parser
// makes a value of 16 to 100 bytes, and a decoder, of an element of a list, a record of up to 288. So values
// and elements are bounded, and a reply that holds more counts as one that can't be parsed.
//
// Settings, read from the environment once, when the SDK's client is made or a limit is asked for before:
//
// | variable                       | meaning                                                    | default |
// |--------------------------------|------------------------------------------------------------|---------|
// | KTSHTTPAGENT_MAX_REPLY_VALUES  | values in a reply: each text, number, true, false, null,   | 2000000 |
// |                                | object and array, however deep it lies. A reply to a query |         |
// |                                | for user information, whose parser takes eight times the   |         |
// |                                | memory for a value, may hold an eighth                     |         |
// | KTSHTTPAGENT_MAX_LIST_ELEMENTS | elements of a list of projects, batteries or their states  | 250000  |
//
// A value that is no decimal number from 1 to 2147483647 leaves the default in force and is logged.
//
// With these defaults no reply of S bytes costs more than 200 MB and 8 S, on either interface. What a value
// costs at most, its text aside, was measured: 64 bytes as a RapidJSON value, 100 as one of Qt, 272 as one of
// jsoncpp.

struct SReplyLimits {
    std::size_t nValues = 2'000'000;
    std::size_t nListElements = 250'000;
};

inline constexpr const char* REPLY_VALUES_VARIABLE = "KTSHTTPAGENT_MAX_REPLY_VALUES";
inline constexpr const char* LIST_ELEMENTS_VARIABLE = "KTSHTTPAGENT_MAX_LIST_ELEMENTS";

/// The limits in force.
const SReplyLimits& ReplyLimits();

/// The limits that the environment gives.
/// @param vecComplaints  gets a sentence for each variable that can't be used
SReplyLimits ReadReplyLimits(std::vector<std::string>& vecComplaints);

/// Whether a JSON text holds more than `nMost` values. It is not parsed: of a text that is no JSON, the part
/// that a parser would read before it fails is counted alike. Comments, which jsoncpp skips, are skipped.
bool HoldsMoreValues(std::string_view body, std::size_t nMost) noexcept;
