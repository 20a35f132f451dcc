#pragma once

#include <set>
#include <string>

// How the libraries' exports look on this system.

/// The names that a library of this tree defines for others, those of C++ as they stand in the source.
std::set<std::string> ExportsOf(const std::string& strLibrary);

/// The names that a name in a list of exports stands for.
std::set<std::string> ExportsFor(const std::string& strListed);
