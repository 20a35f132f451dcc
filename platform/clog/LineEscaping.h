#pragma once

#include <string>
#include <string_view>

/// @return the text with every control character as an escape: \n, \r, \t, and \xNN for each byte of the
///         others. Backslashes stay as they are, so paths and JSON remain readable; a text that holds the two
///         characters \n therefore looks like one that held a line feed.
std::string EscapeControls(std::string_view text);
