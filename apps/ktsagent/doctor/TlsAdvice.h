#pragma once

#include <string>

/// What to do about a failed TLS handshake, found by the words of libcurl's or Qt's message.
std::string TlsAdvice(const std::string& strMessage);
