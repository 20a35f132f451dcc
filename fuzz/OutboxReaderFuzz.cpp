// The first byte of the input selects what the rest is: 'S' the content of a segment, 'H' the head of a
// record, whose frame and checksum are then right, 'A' the content of a file of endings, 'D' a dead letter.
// Checks that each is read to its end, and that what is accepted means the same when it is written again.

#include "Require.h"

#include "outbox/Crc32c.h"
#include "outbox/DeadLetter.h"
#include "outbox/EndingLine.h"
#include "outbox/RecordScan.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

using namespace outbox;

namespace
{

const std::string RUN = "0123456789abcdef0123456789abcdef";

class TextFile : public DiskFile
{
public:
    explicit TextFile(std::string_view content) : m_content(content) {}

    std::error_code Append(std::string_view /*bytes*/) override { return {}; }
    std::error_code Sync() override { return {}; }
    std::error_code KeepReserved(std::uint64_t /*nBytes*/) override { return {}; }

    std::error_code Read(std::uint64_t nOffset, std::size_t nBytes, std::string& strBytes) const override
    {
        strBytes = m_content.substr(std::min<std::size_t>(nOffset, m_content.size()), nBytes);
        return {};
    }

private:
    const std::string_view m_content;
};

bool IsSame(const Record& a, const Record& b)
{
    return a.nSequence == b.nSequence && a.report.nType == b.report.nType &&
           a.report.strUrl == b.report.strUrl && a.report.strHeader == b.report.strHeader &&
           a.report.strBody == b.report.strBody && a.report.strStream == b.report.strStream &&
           a.report.strKey == b.report.strKey && a.report.nStoredMs == b.report.nStoredMs;
}

void CheckRecord(const Record& record)
{
    const std::string strBytes = WriteRecord(RUN, record.nSequence, record.report);
    Record again;
    std::size_t nBytes = 0;
    Require(ReadRecord(RUN, strBytes, again, nBytes) == Reading::Whole && nBytes == strBytes.size(),
            "what was read can be written and read");
    Require(IsSame(record, again), "it means the same then");
}

void CheckSegment(std::string_view content)
{
    const TextFile file(content);
    RecordScan scan(file, RUN);
    std::uint64_t nAt = 0;
    for (;;) {
        Record record;
        const RecordScan::Piece piece = scan.Next(record);
        Require(piece.nOffset == nAt, "each piece begins where the one before it ends");
        if (piece.eKind == RecordScan::Kind::End) {
            break;
        }
        Require(piece.eKind != RecordScan::Kind::Error && piece.nBytes > 0, "each piece has bytes");
        nAt += piece.nBytes;
        Require(piece.eKind != RecordScan::Kind::Torn || nAt == content.size(), "only the end is torn");
        if (piece.eKind == RecordScan::Kind::Record) {
            Record fetched;
            std::string strBytes;
            std::error_code error;
            Require(FetchRecord(file, RUN, piece.nOffset, 0, fetched, strBytes, error) == Reading::Whole &&
                        IsSame(record, fetched),
                    "it can be read from its place");
            CheckRecord(record);
        }
    }
    Require(nAt == content.size(), "the pieces are the whole file");
}

void CheckHead(std::string_view head)
{
    const std::uint32_t nCrc = Crc32c().Add(RUN).Add("\n").Add(head).Add("\nbody").Value();
    const std::string strBytes =
        "R1 " + Hex8(nCrc) + " " + std::to_string(head.size()) + " 4 " + std::string(head) + "\nbody\n";
    Record record;
    std::size_t nBytes = 0;
    if (ReadRecord(RUN, strBytes, record, nBytes) == Reading::Whole) {
        Require(nBytes == strBytes.size() && record.report.strBody == "body", "the body is what is there");
        CheckRecord(record);
    }
}

void CheckEndings(std::string_view content)
{
    while (!content.empty()) {
        const std::size_t nEnd = std::min(content.find('\n'), content.size());
        const auto optSequence = ReadEnding(RUN, content.substr(0, nEnd));
        Require(!optSequence || content.find(std::to_string(*optSequence)) < nEnd, "it stands there");
        content.remove_prefix(std::min(nEnd + 1, content.size()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::string_view input(reinterpret_cast<const char*>(pData), nSize);
    if (input.empty()) {
        return 0;
    }
    const std::string_view rest = input.substr(1);
    switch (input.front()) {
    case 'S':
        CheckSegment(rest);
        break;
    case 'H':
        CheckHead(rest);
        break;
    case 'A':
        CheckEndings(rest);
        break;
    case 'D':
        if (const auto optLetter = ParseDeadLetter(RUN + "-1.rec", rest)) {
            CheckRecord(optLetter->record);
        }
        break;
    default:
        break;
    }
    return 0;
}
