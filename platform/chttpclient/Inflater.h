#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct z_stream_s;

namespace chttpclient
{

/// Unpacks gzip or deflate, piece by piece, and knows whether it has seen the end.
class CInflater
{
public:
    /// Takes unpacked bytes; anything but CURLE_OK ends the unpacking.
    using Sink = std::function<CURLcode(std::string_view)>;
    enum class Format {
        Gzip,    ///< one member, or several in a row
        Deflate, ///< in the frame of zlib, as it should be, or without a frame, as some servers send it
    };

    explicit CInflater(Format format);
    ~CInflater();
    CInflater(const CInflater&) = delete;
    CInflater& operator=(const CInflater&) = delete;

    /// @return what the sink said; CURLE_BAD_CONTENT_ENCODING for bytes that can't be unpacked, don't match
    ///         their checksum, or follow after the end; CURLE_OUT_OF_MEMORY
    CURLcode Write(std::string_view strPacked, const Sink& fnSink);

    /// Whether what was written is complete. Nothing at all is, too: servers also label empty bodies.
    bool IsComplete() const { return m_bEnded || m_nPacked == 0; }

    /// How many bytes were written.
    std::uint64_t PackedBytes() const { return m_nPacked; }

private:
    CURLcode Begin();
    bool BeginNextMember();
    CURLcode Inflate(std::string_view& strPacked, const Sink& fnSink);

    const Format m_format;
    std::string m_strBegin;                ///< until there is enough of it to tell the frame
    std::unique_ptr<z_stream_s> m_pStream; ///< from then on
    std::uint64_t m_nPacked = 0;
    bool m_bEnded = false;
};

} // namespace chttpclient
