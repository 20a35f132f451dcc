#include "Packed.h"

#include <zlib.h>

#include <new>

namespace
{

constexpr int WITH_GZIP_FRAME = MAX_WBITS + 16;
constexpr int WITH_ZLIB_FRAME = MAX_WBITS;
constexpr int WITHOUT_FRAME = -MAX_WBITS;
constexpr int USUAL_MEMORY = 8;

std::string Pack(const std::string& strText, int nFrame)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, nFrame, USUAL_MEMORY, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        throw std::bad_alloc();
    }
    std::string strPacked(deflateBound(&stream, static_cast<uLong>(strText.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(strText.data()));
    stream.avail_in = static_cast<uInt>(strText.size());
    stream.next_out = reinterpret_cast<Bytef*>(strPacked.data());
    stream.avail_out = static_cast<uInt>(strPacked.size());
    deflate(&stream, Z_FINISH);
    strPacked.resize(stream.total_out);
    deflateEnd(&stream);
    return strPacked;
}

} // namespace

std::string Gzipped(const std::string& strText)
{
    return Pack(strText, WITH_GZIP_FRAME);
}

std::string Deflated(const std::string& strText)
{
    return Pack(strText, WITH_ZLIB_FRAME);
}

std::string RawDeflated(const std::string& strText)
{
    return Pack(strText, WITHOUT_FRAME);
}
