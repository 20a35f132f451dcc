#pragma once

#include <cstddef>
#include <filesystem>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

/// Reads the source tree, for tests that check its text.

/// A file below the root of the source tree, or a folder of it.
std::filesystem::path InSourceTree(const std::string& strPath);

bool IsSource(const std::filesystem::path& path);

/// The .h and .cpp files in folders of the tree and below, sorted, as paths from its root. A folder that does
/// not exist has none.
std::vector<std::string> SourcesIn(const std::vector<std::string>& vecFolders);

/// The sources of the libraries, the command-line program and the lab server.
std::vector<std::string> ProductionSources();

/// The text of a file. @param strFile its path from the root @throws std::runtime_error if it can't be read
std::string TextOf(const std::string& strFile);

std::vector<std::string> LinesOf(const std::string& strText);

bool BeginsWith(const std::string& strText, const std::string& strBegin);
bool EndsWith(const std::string& strText, const std::string& strEnd);

/// Whether a character may be part of a name.
bool IsOfAName(char c);

/// A C++ text in which blanks replace comments and literals, so that every line and column keeps its place.
std::string CodeOf(std::string strText);

/// The names that a C++ file includes, without quotes or brackets.
std::vector<std::string> IncludesOf(std::istream& file);
