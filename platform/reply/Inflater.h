#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct z_stream_s;

/// What became of unpacking some bytes.
enum class EUnpacked {
    Well,
    Damaged, ///< they can't be unpacked, don't match their checksum, or follow after the end
    NoMemory,
    Refused, ///< the sink took no more
};

/// Unpacks gzip or deflate, piece by piece, and knows whether it has seen the end.
class CInflater
{
public:
    /// Takes unpacked bytes; false ends the unpacking.
    using Sink = std::function<bool(std::string_view)>;
    enum class Format {
        Gzip,    ///< one member, or several in a row
        Deflate, ///< in the frame of zlib, as it should be, or without a frame, as some servers send it
    };

    explicit CInflater(Format format);
    ~CInflater();
    CInflater(const CInflater&) = delete;
    CInflater& operator=(const CInflater&) = delete;

    EUnpacked Write(std::string_view strPacked, const Sink& fnSink);

    /// Whether what was written is complete. Nothing at all is, too: servers also label empty bodies.
    bool IsComplete() const { return m_bEnded || m_nPacked == 0; }

    /// Whether a member, or all, was unpacked to its end.
    bool HasSeenEnd() const { return m_bSeenEnd; }

    /// Whether more was written than a body of that many bytes, unpacked, may take. A packed body is hardly
    /// ever larger than the body itself; one that unpacks to little or nothing would not end otherwise.
    bool HasTakenTooMuch(std::size_t nMostUnpacked) const;

private:
    EUnpacked Begin();
    bool BeginNextMember();
    EUnpacked Inflate(std::string_view& strPacked, const Sink& fnSink);

    const Format m_format;
    std::string m_strBegin;                ///< until there is enough of it to tell the frame
    std::unique_ptr<z_stream_s> m_pStream; ///< from then on
    std::uint64_t m_nPacked = 0;
    bool m_bEnded = false;
    bool m_bSeenEnd = false;
};
