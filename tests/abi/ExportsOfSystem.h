#pragma once

#include <set>
#include <string>

// The libraries' exports, as this system names them.

/// The names that a library of this tree exports; C++ names are written as in the source.
std::set<std::string> ExportsOf(const std::string& strLibrary);

/// The exported names on this system for a name in a list of exports.
std::set<std::string> ExportsFor(const std::string& strListed);
