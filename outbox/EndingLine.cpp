#include "EndingLine.h"

#include "Crc32c.h"
#include "Line.h"

namespace outbox
{

namespace
{

constexpr std::string_view MARK = "A1 ";

std::uint32_t Checksum(std::string_view strRun, std::string_view strRest)
{
    return Crc32c().Add(strRun).Add("\n").Add(strRest).Value();
}

} // namespace

const char* WordOf(Ending eEnding)
{
    switch (eEnding) {
    case Ending::Acknowledged:
        return "acknowledged";
    case Ending::Dead:
        return "dead";
    case Ending::Dropped:
        return "dropped";
    case Ending::Parked:
        break;
    }
    return "parked";
}

std::string WriteEnding(std::string_view strRun, std::uint64_t nSequence, Ending eEnding)
{
    const std::string strRest = std::to_string(nSequence) + " " + WordOf(eEnding);
    return std::string(MARK) + Hex8(Checksum(strRun, strRest)) + " " + strRest + "\n";
}

std::optional<std::uint64_t> ReadEnding(std::string_view strRun, std::string_view strLine)
{
    LineReader line(strLine);
    std::uint32_t nCrc = 0;
    std::uint64_t nSequence = 0;
    if (line.Skip(MARK) != Reading::Whole || line.ReadNumber(nCrc, 16, 8, 8) != Reading::Whole) {
        return std::nullopt;
    }
    const std::string_view strRest = strLine.substr(line.At());
    if (line.ReadNumber(nSequence, 10, 1, 19) != Reading::Whole || Checksum(strRun, strRest) != nCrc) {
        return std::nullopt;
    }
    return nSequence;
}

} // namespace outbox
