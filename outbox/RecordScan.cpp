#include "RecordScan.h"

#include <algorithm>

namespace outbox
{

namespace
{

constexpr std::size_t BLOCK = 256U << 10U;

} // namespace

/// Makes the window begin at most there and have at least that many bytes from there, if the file has them.
/// @return false if the file can't be read
bool RecordScan::Fill(std::uint64_t nOffset, std::size_t nBytes)
{
    if (nOffset >= m_nWindow && nOffset + nBytes <= m_nWindow + m_strWindow.size()) {
        return true;
    }
    m_nWindow = nOffset;
    m_error = m_file.Read(nOffset, std::max(nBytes, BLOCK), m_strWindow);
    return !m_error;
}

std::string_view RecordScan::Window(std::uint64_t nOffset) const
{
    const std::string_view strWindow = m_strWindow;
    return strWindow.substr(std::min<std::size_t>(nOffset - m_nWindow, strWindow.size()));
}

/// After an error, `m_error` is set.
Reading RecordScan::ReadAt(std::uint64_t nOffset, Record& record, std::size_t& nBytes)
{
    RecordFrame frame;
    if (!Fill(nOffset, MOST_FRAME_BYTES)) {
        return Reading::None;
    }
    const Reading eReading = ReadFrame(Window(nOffset), frame);
    if (eReading != Reading::Whole) {
        return eReading;
    }
    return Fill(nOffset, frame.Bytes()) ? ReadRecord(m_strRun, Window(nOffset), record, nBytes)
                                        : Reading::None;
}

/// Where the next mark of a record begins, behind that place; the end of the file if there is none.
std::uint64_t RecordScan::FindMark(std::uint64_t nBehind)
{
    std::size_t nSkipped = 1;
    for (std::uint64_t nAt = nBehind;; nSkipped = 0) {
        if (!Fill(nAt, BLOCK)) {
            return nAt;
        }
        const std::string_view strHere = Window(nAt);
        const std::size_t nFound = strHere.find(RECORD_MARK, nSkipped);
        const std::string_view strPassed = strHere.substr(0, nFound);
        m_bOnlyZeros = m_bOnlyZeros && strPassed.find_first_not_of('\0') == std::string_view::npos;
        if (nFound != std::string_view::npos) {
            return nAt + nFound;
        }
        if (strHere.size() < RECORD_MARK.size()) {
            return nAt + strHere.size();
        }
        nAt += strHere.size() - RECORD_MARK.size() + 1; // a mark may begin in this block and end in the next
    }
}

RecordScan::Piece RecordScan::Next(Record& record)
{
    Piece piece;
    piece.nOffset = m_nAt;
    std::size_t nBytes = 0;
    m_error.clear();
    m_bOnlyZeros = true;
    const Reading eFirst = ReadAt(m_nAt, record, nBytes);
    Reading eReading = eFirst;
    std::uint64_t nAt = m_nAt;
    bool bAtEnd = !m_error && Window(nAt).empty();
    while (eReading != Reading::Whole && !m_error && !bAtEnd) {
        nAt = FindMark(nAt);
        eReading = m_error ? Reading::None : ReadAt(nAt, record, nBytes);
        bAtEnd = !m_error && Window(nAt).empty();
    }
    if (m_error) {
        piece.eKind = Kind::Error;
        piece.error = m_error;
    } else if (nAt == m_nAt) {
        piece.eKind = bAtEnd ? Kind::End : Kind::Record;
        piece.nBytes = bAtEnd ? 0 : nBytes;
    } else { // the record behind it, if there is one, is read again as the next piece
        piece.eKind = bAtEnd && (eFirst == Reading::Cut || m_bOnlyZeros) ? Kind::Torn : Kind::Bad;
        piece.nBytes = nAt - m_nAt;
    }
    m_nAt += piece.nBytes;
    return piece;
}

Reading FetchRecord(const DiskFile& file, std::string_view strRun, std::uint64_t nOffset,
                    std::uint64_t nSteps, Record& record, std::string& strBytes, std::error_code& error)
{
    for (;; --nSteps) {
        RecordFrame frame;
        error = file.Read(nOffset, MOST_FRAME_BYTES, strBytes);
        if (error || ReadFrame(strBytes, frame) != Reading::Whole) {
            return Reading::None;
        }
        if (nSteps == 0) {
            error = file.Read(nOffset, frame.Bytes(), strBytes);
            std::size_t nBytes = 0;
            return error ? Reading::None : ReadRecord(strRun, strBytes, record, nBytes);
        }
        nOffset += frame.Bytes();
    }
}

} // namespace outbox
