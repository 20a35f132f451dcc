#pragma once

#include "platform/system/Environment.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

/// An environment variable that the library, its transport or its log reads.
struct KnownVariable {
    const char* szName;
    const char* szDefault;              ///< as its documentation writes it; empty for none
    std::optional<NumberRange> range{}; ///< which numbers it may hold; nothing for a text
};

constexpr std::size_t KNOWN_VARIABLE_COUNT = 21;

/// All variables. Those of the transport and the log are documented in chttpclient.h and clog.h, because a
/// site may replace these libraries; a test compares this list with the headers.
const std::array<KnownVariable, KNOWN_VARIABLE_COUNT>& KnownVariables();

/// The value in force of a variable.
struct VariableState {
    std::string strValue;
    bool bFromEnvironment = false; ///< otherwise it is the default
    std::string strComplaint;      ///< what is wrong with the value in the environment; empty if nothing is
};

VariableState StateOf(const KnownVariable& variable);
