#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct z_stream_s;

/// The result of unpacking some bytes.
enum class Unpacked {
    Well,
    Damaged, ///< they can't be unpacked, don't match their checksum, or follow the end
    NoMemory,
    Refused, ///< the sink took no more
};

/// Unpacks gzip or deflate data piece by piece, and knows whether it has reached the end.
class Inflater
{
public:
    /// Takes unpacked bytes; false ends the unpacking.
    using Sink = std::function<bool(std::string_view)>;
    enum class Format {
        Gzip,    ///< one member, or several in a row
        Deflate, ///< in a zlib frame, as it should be, or without a frame, as some servers send it
    };

    explicit Inflater(Format format);
    ~Inflater();
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    Unpacked Write(std::string_view strPacked, const Sink& fnSink);

    /// Whether what was written is complete. No bytes at all count as complete too, since servers also label
    /// empty bodies as packed.
    bool IsComplete() const { return m_bEnded || m_nPacked == 0; }

    /// Whether the end of the data, or of one member, was reached at least once.
    bool HasSeenEnd() const { return m_bSeenEnd; }

    /// Whether more was written than the packed form of a body of that many bytes may take. A packed body is
    /// hardly ever larger than the unpacked one. Without this limit, a body that unpacks to little or nothing
    /// could go on for ever.
    bool HasTakenTooMuch(std::size_t nMostUnpacked) const;

private:
    Unpacked Begin();
    bool BeginNextMember();
    Unpacked Inflate(std::string_view& strPacked, const Sink& fnSink);

    const Format m_format;
    std::string m_strBegin;                ///< the first bytes, until the frame can be detected
    std::unique_ptr<z_stream_s> m_pStream; ///< created then
    std::uint64_t m_nPacked = 0;
    bool m_bEnded = false;
    bool m_bSeenEnd = false;
};
