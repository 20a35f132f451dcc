#pragma once

#include "platform/reply/Inflater.h"

#include <curl/curl.h>

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <utility>

namespace chttpclient
{

/// Collects the body of a reply, and unpacks it if the header says that it is packed (compressed). libcurl
/// could do that too, but version 7.88 takes a truncated packed body for a complete one.
class BodyDecoder
{
public:
    /// @param nMaxBytes  the largest allowed size of the unpacked body
    explicit BodyDecoder(std::size_t nMaxBytes) : m_nMaxBytes(nMaxBytes) {}

    /// Adds the codings named in the header of the reply that the handle is receiving. Call it before the
    /// body's first byte.
    /// @return as `AddCodings`
    CURLcode AddCodingsOf(CURL* pEasy);

    /// Adds the codings named in the value of a Content-Encoding header, in the order in which they were
    /// applied. Add the value of a Transfer-Encoding header after it. Call it before the body's first byte.
    /// @return CURLE_OK, or CURLE_BAD_CONTENT_ENCODING for an unknown coding or too many codings
    CURLcode AddCodings(std::string_view strNames);

    /// @return CURLE_BAD_CONTENT_ENCODING for bytes that can't be unpacked, don't match their checksum, or
    ///         follow the end; CURLE_FILESIZE_EXCEEDED above the limit; CURLE_OUT_OF_MEMORY
    CURLcode Write(std::string_view strBytes) { return Pass(m_lstStages.begin(), strBytes); }

    /// Whether no coding expects more bytes.
    bool IsComplete() const;

    std::string TakeBody() { return std::move(m_strBody); }

private:
    using Stages = std::list<Inflater>;

    CURLcode AddCoding(std::string_view strName);
    CURLcode Pass(Stages::iterator stage, std::string_view strBytes);

    const std::size_t m_nMaxBytes;
    Stages m_lstStages; ///< the coding applied last is undone first
    std::string m_strBody;
};

} // namespace chttpclient
