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

/// Collects the body of a reply, and unpacks it where its header says that it is packed. libcurl could do so
/// too, but 7.88 takes a packed body that ends early for a complete one.
class CBodyDecoder
{
public:
    /// @param nMaxBytes  the most that the body may have, unpacked
    explicit CBodyDecoder(std::size_t nMaxBytes) : m_nMaxBytes(nMaxBytes) {}

    /// Takes all codings from the header of the reply that the handle receives. Call it before the first
    /// byte.
    /// @return as `AddCodings`
    CURLcode AddCodingsOf(CURL* pEasy);

    /// Takes the value of a Content-Encoding header: names in the order in which the codings were applied.
    /// The value of a Transfer-Encoding header comes after it. Call it before the first byte.
    /// @return CURLE_OK, or CURLE_BAD_CONTENT_ENCODING for a coding that is unknown, or for too many
    CURLcode AddCodings(std::string_view strNames);

    /// @return CURLE_BAD_CONTENT_ENCODING for bytes that can't be unpacked, don't match their checksum, or
    ///         follow after the end; CURLE_FILESIZE_EXCEEDED above the limit; CURLE_OUT_OF_MEMORY
    CURLcode Write(std::string_view strBytes) { return Pass(m_lstStages.begin(), strBytes); }

    /// Whether no coding expects more bytes.
    bool IsComplete() const;

    std::string TakeBody() { return std::move(m_strBody); }

private:
    using Stages = std::list<CInflater>;

    CURLcode AddCoding(std::string_view strName);
    CURLcode Pass(Stages::iterator stage, std::string_view strBytes);

    const std::size_t m_nMaxBytes;
    Stages m_lstStages; ///< what was applied last is unpacked first
    std::string m_strBody;
};

} // namespace chttpclient
