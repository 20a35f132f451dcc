#pragma once

#include <boost/crc.hpp>

#include <cstdint>
#include <string_view>

namespace outbox
{

/// The checksum CRC-32C (Castagnoli) of one text, or of several as if they were one.
class Crc32c
{
public:
    Crc32c& Add(std::string_view bytes)
    {
        m_crc.process_bytes(bytes.data(), bytes.size());
        return *this;
    }

    std::uint32_t Value() const { return m_crc.checksum(); }

private:
    boost::crc_optimal<32, 0x1edc6f41, 0xffffffff, 0xffffffff, true, true> m_crc;
};

} // namespace outbox
