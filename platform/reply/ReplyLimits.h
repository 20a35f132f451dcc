#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// How much memory one reply may make its host use. The reply's size says little about that: a parser turns
// the two bytes "0," into a value of 16 to 100 bytes, and a decoder turns a list element into a record of up
// to 288 bytes. So the numbers of values and of list elements are limited, and a reply that holds more is
// treated as one that can't be parsed.
//
// Settings, read from the environment once: when the SDK's client is created or, if earlier, when a limit is
// first needed:
//
// | variable                       | meaning                                                    | default |
// |--------------------------------|------------------------------------------------------------|---------|
// | KTSHTTPAGENT_MAX_REPLY_VALUES  | values in a reply: each text, number, true, false, null,   | 2000000 |
// |                                | object and array, at any depth. A reply to a query for     |         |
// |                                | user information may hold an eighth of that, since its     |         |
// |                                | parser takes eight times the memory per value              |         |
// | KTSHTTPAGENT_MAX_LIST_ELEMENTS | elements of a list of projects, batteries or their states  | 250000  |
//
// A value that is not a decimal number from 1 to 2147483647 is logged, and the default stays in force.
//
// With these defaults, a reply of S bytes takes at most 200 MB plus 8 S of memory, on either interface. The
// most that one value takes, apart from its text, was measured: 64 bytes with RapidJSON, 100 with Qt, 272
// with jsoncpp.

struct ReplyLimits {
    std::size_t nValues = 2'000'000;
    std::size_t nListElements = 250'000;
};

inline constexpr const char* REPLY_VALUES_VARIABLE = "KTSHTTPAGENT_MAX_REPLY_VALUES";
inline constexpr const char* LIST_ELEMENTS_VARIABLE = "KTSHTTPAGENT_MAX_LIST_ELEMENTS";

/// The limits in force.
const ReplyLimits& ReplyLimitsInForce();

/// Reads the limits from the environment.
/// @param vecComplaints  gets a sentence for each variable whose value can't be used
ReplyLimits ReadReplyLimits(std::vector<std::string>& vecComplaints);

/// Whether a JSON text holds more than `nMost` values. The text is not parsed; if it is not valid JSON, the
/// part that a parser would read before it fails is counted in the same way. Comments are skipped, as jsoncpp
/// does.
bool HoldsMoreValues(std::string_view body, std::size_t nMost) noexcept;
