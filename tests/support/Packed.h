#pragma once

#include <string>

/// Bodies as servers compress them.

/// A gzip member, with checksum and length at its end.
std::string Gzipped(const std::string& strText);
/// In zlib's frame, which is what "deflate" means.
std::string Deflated(const std::string& strText);
/// Without a frame, as some servers send "deflate".
std::string RawDeflated(const std::string& strText);
