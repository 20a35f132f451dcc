#include "Inflater.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>

namespace
{

// Arguments of inflateInit2: a frame of zlib or gzip, detected by its first bytes, or no frame.
constexpr int ANY_FRAME = MAX_WBITS + 32;
constexpr int NO_FRAME = -MAX_WBITS;

constexpr std::size_t FRAME_BEGIN = 2; // bytes that tell whether there is a frame
constexpr std::size_t PIECE = std::size_t{16} * 1024;

// There may be twice as many packed bytes as the sum of the limit for unpacked bytes and this margin.
constexpr std::size_t PACKED_MARGIN = 1024;

/// A zlib frame begins with two bytes that name the method and a window of at most 32 KiB, and that form a
/// multiple of 31.
bool BeginsZlibFrame(std::string_view strBytes)
{
    const auto nFirst = static_cast<unsigned char>(strBytes[0]);
    const auto nSecond = static_cast<unsigned char>(strBytes[1]);
    return (nFirst & 0x0FU) == Z_DEFLATED && (nFirst >> 4U) <= 7 && (nFirst * 256U + nSecond) % 31 == 0;
}

Unpacked ErrorOf(int nZlib)
{
    switch (nZlib) {
    case Z_OK:
    case Z_STREAM_END:
    case Z_BUF_ERROR: // no further progress without more bytes
        return Unpacked::Well;
    case Z_MEM_ERROR:
        return Unpacked::NoMemory;
    default:
        return Unpacked::Damaged;
    }
}

} // namespace

Inflater::Inflater(Format format) : m_format(format) {}

Inflater::~Inflater()
{
    if (m_pStream != nullptr) {
        inflateEnd(m_pStream.get());
    }
}

Unpacked Inflater::Write(std::string_view strPacked, const Sink& fnSink)
{
    m_nPacked += strPacked.size();
    if (m_pStream == nullptr) {
        m_strBegin += strPacked;
        if (m_strBegin.size() < FRAME_BEGIN) {
            return Unpacked::Well;
        }
        if (const Unpacked eBegin = Begin(); eBegin != Unpacked::Well) {
            return eBegin;
        }
        strPacked = m_strBegin;
    }
    Unpacked eResult = Unpacked::Well;
    while (eResult == Unpacked::Well && !strPacked.empty()) {
        eResult = m_bEnded && !BeginNextMember() ? Unpacked::Damaged : Inflate(strPacked, fnSink);
    }
    return eResult;
}

bool Inflater::HasTakenTooMuch(std::size_t nMostUnpacked) const
{
    return m_nPacked / 2 > nMostUnpacked + PACKED_MARGIN;
}

Unpacked Inflater::Begin()
{
    const bool bFrame = m_format == Format::Gzip || BeginsZlibFrame(m_strBegin);
    auto pStream = std::make_unique<z_stream>();
    const int nResult = inflateInit2(pStream.get(), bFrame ? ANY_FRAME : NO_FRAME);
    if (nResult == Z_OK) {
        m_pStream = std::move(pStream);
    }
    return ErrorOf(nResult);
}

bool Inflater::BeginNextMember()
{
    m_bEnded = m_format != Format::Gzip || inflateReset(m_pStream.get()) != Z_OK;
    return !m_bEnded;
}

/// Unpacks up to the end of the bytes or of the member, and removes the bytes read from the front.
Unpacked Inflater::Inflate(std::string_view& strPacked, const Sink& fnSink)
{
    constexpr std::size_t MOST = std::numeric_limits<uInt>::max();
    z_stream& stream = *m_pStream;
    const auto nOffered = static_cast<uInt>(std::min(strPacked.size(), MOST));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(strPacked.data())); // which zlib only reads
    stream.avail_in = nOffered;
    std::array<char, PIECE> piece;
    int nResult = Z_OK;
    do {
        stream.next_out = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_out = static_cast<uInt>(piece.size());
        nResult = inflate(&stream, Z_NO_FLUSH);
        const std::string_view strUnpacked(piece.data(), piece.size() - stream.avail_out);
        if (!strUnpacked.empty() && !fnSink(strUnpacked)) {
            return Unpacked::Refused;
        }
    } while (nResult == Z_OK && stream.avail_out == 0);
    strPacked.remove_prefix(nOffered - stream.avail_in);
    m_bEnded = nResult == Z_STREAM_END;
    m_bSeenEnd = m_bSeenEnd || m_bEnded;
    return ErrorOf(nResult);
}
