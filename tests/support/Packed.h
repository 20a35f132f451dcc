#pragma once

#include <string>

/// Bodies as servers pack them.

/// A gzip member, checksum and length at its end.
std::string Gzipped(const std::string& strText);
/// In zlib's frame, as "deflate" stands for.
std::string Deflated(const std::string& strText);
/// Without a frame, as some servers send "deflate".
std::string RawDeflated(const std::string& strText);
