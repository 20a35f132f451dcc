#pragma once

#include <string>
#include <string_view>

// For text from outside, such as a server's or a command line's, that is written to a terminal or a log.
// Unsafe in it is what a terminal would obey or what could deceive a reader:
//   - control characters, U+0000 to U+001F and U+007F to U+009F, including line ends;
//   - line and paragraph separators, U+2028 and U+2029;
//   - characters that change the direction of the text around them, U+061C, U+200E, U+200F, U+202A to U+202E,
//     U+2066 to U+2069;
//   - invisible characters that no script needs: the soft hyphen U+00AD, U+200B, U+2060 to U+206F, U+FEFF,
//     the annotation marks U+FFF9 to U+FFFB, the tags U+E0000 to U+E007F. With them, texts that look alike
//     could differ, and one text could hide another. Characters that join letters or emoji, or select their
//     form (U+200C, U+200D, variation selectors), are left unchanged, since everyday texts need them;
//   - bytes that are not valid UTF-8.

/// @return the text with everything unsafe replaced by escapes: \n, \r, \t, and \xNN for each byte of the
///         rest. Backslashes stay as they are, so paths and JSON remain readable; a text that holds the two
///         characters \n therefore looks like one that held a line feed. Escaping an escaped text changes
///         nothing.
std::string EscapeUnsafe(std::string_view text);

/// @param json  valid JSON, except that it may hold bytes that are not valid UTF-8
/// @return the same value as JSON, with everything unsafe replaced by JSON's own escapes, \uNNNN, except for
///         white space between the values; a byte that is not valid UTF-8 becomes a replacement character
std::string EscapeUnsafeInJson(std::string_view json);
