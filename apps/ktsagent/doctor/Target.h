#pragma once

#include "Context.h"

#include <string>

/// The URL of a query, with the endpoint path in force.
std::string UrlOf(const Context& context, const QueryPath& path);
