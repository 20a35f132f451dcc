#pragma once

#include <string_view>

namespace outbox
{

/// Whether a reply's JSON body says that the server did not accept the report: its member `success` is false,
/// or its member `code` is neither 0 nor 200 nor "success" ("0" and "200" as texts count as the numbers).
/// They are members of the root object; of an array, of its first element. If a member occurs twice, the
/// first one counts. A body that is no JSON says nothing.
///
/// Reads without recursion and keeps no values, so a deep or large body costs little.
/// @throws std::bad_alloc
bool BodySaysNo(std::string_view strBody);

} // namespace outbox
