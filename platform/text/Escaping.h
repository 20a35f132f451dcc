#pragma once

#include <string>
#include <string_view>

// Texts of others, of a server or a command line, on their way to a terminal or a log. Unsafe in them is what
// a terminal obeys or a reader is deceived by:
//   - control characters, U+0000 to U+001F and U+007F to U+009F, line ends among them;
//   - line and paragraph separators, U+2028 and U+2029;
//   - what turns the direction of the text around it, U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to
//     U+2069;
//   - what nobody sees and no script needs: the soft hyphen U+00AD, U+200B, U+2060 to U+206F, U+FEFF, the
//     marks of annotations U+FFF9 to U+FFFB, the tags U+E0000 to U+E007F. Two texts that look alike could
//     differ by them, or one could hold another. What joins letters or emoji, or chooses their form (U+200C,
//     U+200D, variation selectors), is left: texts in daily use need it;
//   - bytes that are not valid UTF-8.

/// @return the text with all that is unsafe as escapes: \n, \r, \t, and \xNN for each byte of the rest.
///         Backslashes stay as they are, so paths and JSON remain readable; a text that holds the two
///         characters \n therefore looks like one that held a line feed. An escaped text is left alone.
std::string EscapeUnsafe(std::string_view text);

/// @param json  valid JSON but for bytes that are not valid UTF-8
/// @return the same value as JSON, with all that is unsafe as JSON's own escapes, \uNNNN, but for blanks
///         between the values; a byte that is not valid UTF-8 becomes a replacement character
std::string EscapeUnsafeInJson(std::string_view json);
