#include "Segment.h"

#include "EndingLine.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace outbox
{

namespace
{

constexpr std::uint64_t RECORDS_PER_MARK = 64;
constexpr std::uint64_t MOST_GAP = 1U << 20U;    ///< between the sequence numbers of one segment
constexpr std::size_t MOST_ENDINGS = 16U << 20U; ///< bytes of an `.ack` file that are read

} // namespace

Segment::Segment(Disk& disk, std::string strFolder, std::string strRun, std::uint32_t nNumber)
    : m_disk(disk), m_strFolder(std::move(strFolder)), m_strRun(std::move(strRun)), m_nNumber(nNumber)
{
    static_assert(RESERVED_FOR_ENDINGS == MOST_RECORDS * MOST_ENDING_BYTES);
}

std::string Segment::FileName(std::uint32_t nNumber, const char* szSuffix)
{
    char szName[24];
    static_cast<void>(
        std::snprintf(szName, sizeof szName, "%08u%s", static_cast<unsigned>(nNumber), szSuffix));
    return szName;
}

std::string Segment::Path(const char* szSuffix) const
{
    return m_strFolder + "/" + FileName(m_nNumber, szSuffix);
}

std::error_code Segment::Create(std::uint64_t nBytes)
{
    // Memory must not run out between the writing of a record and the noting of it.
    m_vecEnded.reserve(MOST_RECORDS);
    m_vecMarks.reserve(MOST_RECORDS / RECORDS_PER_MARK + 1);
    std::error_code error;
    m_pFile = m_disk.Create(Path(".seg"), nBytes, error);
    if (m_pFile != nullptr) {
        m_pEndings = m_disk.Create(Path(".ack"), RESERVED_FOR_ENDINGS, error);
        if (m_pEndings == nullptr) {
            m_pFile.reset();
            m_disk.RemoveFile(Path(".seg"));
        }
    }
    m_bSealed = m_pFile == nullptr;
    m_nRoom = nBytes;
    return error;
}

std::error_code Segment::Load(SegmentDamage& damage)
{
    std::error_code error;
    const std::shared_ptr<DiskFile> pFile = File(error);
    if (pFile == nullptr) {
        return error;
    }
    Segment loaded(m_disk, m_strFolder, m_strRun, m_nNumber);
    SegmentDamage found;
    RecordScan scan(*pFile, m_strRun);
    for (;;) {
        Record record;
        RecordScan::Piece piece = scan.Next(record);
        if (piece.eKind == RecordScan::Kind::Error) {
            return piece.error;
        }
        if (piece.eKind == RecordScan::Kind::End) {
            break;
        }
        const bool bOrderly =
            loaded.m_vecEnded.empty() ||
            (record.nSequence > loaded.LastSequence() && record.nSequence < loaded.LastSequence() + MOST_GAP);
        if (piece.eKind == RecordScan::Kind::Record && bOrderly) {
            loaded.Note(record.nSequence, piece.nOffset, piece.nBytes);
            // What has ended before stays so, on the disk or not.
            if (!m_vecEnded.empty() && !IsWaiting(record.nSequence)) {
                loaded.MarkEnded(record.nSequence);
            }
        } else if (piece.eKind == RecordScan::Kind::Torn) {
            ++found.nTorn;
        } else {
            found.vecBad.push_back(piece);
        }
    }
    std::vector<std::uint64_t> vecEnded;
    if (const std::error_code unread = loaded.ReadEndings(vecEnded)) {
        return unread;
    }
    std::for_each(vecEnded.begin(), vecEnded.end(), [&loaded](auto n) { loaded.MarkEnded(n); });
    m_nFirst = loaded.m_nFirst;
    m_vecEnded = std::move(loaded.m_vecEnded);
    m_nWaiting = loaded.m_nWaiting;
    m_vecMarks = std::move(loaded.m_vecMarks);
    m_nEnd = std::max(loaded.m_nEnd, m_nBytes); // where the next one would begin
    damage = std::move(found);
    return {};
}

bool Segment::HasRoomFor(std::size_t nBytes) const
{
    return !m_bSealed && nBytes <= m_nRoom && m_vecEnded.size() < MOST_RECORDS;
}

void Segment::Seal()
{
    m_bSealed = true;
    NoteSynced(0);
    if (!m_bEndingsUnsynced) {
        m_pEndings.reset();
    }
}

std::error_code Segment::Append(std::uint64_t nSequence, std::string_view strRecord)
{
    const std::error_code error = m_pFile->Append(strRecord);
    if (error) {
        Seal(); // a part of the record may be there
        return error;
    }
    Note(nSequence, m_nBytes, strRecord.size());
    m_nBytes += strRecord.size();
    m_nRoom -= strRecord.size();
    return {};
}

void Segment::Note(std::uint64_t nSequence, std::uint64_t nOffset, std::uint64_t nBytes)
{
    if (m_vecEnded.empty()) {
        m_nFirst = nSequence;
    }
    const std::uint64_t nNext = m_nFirst + m_vecEnded.size();
    if (m_vecMarks.empty() || nSequence != nNext || nOffset != m_nEnd ||
        nSequence - m_vecMarks.back().nSequence >= RECORDS_PER_MARK) {
        m_vecMarks.push_back({nSequence, nOffset});
    }
    m_vecEnded.resize(m_vecEnded.size() + static_cast<std::size_t>(nSequence - nNext), true);
    m_vecEnded.push_back(false);
    ++m_nWaiting;
    m_nEnd = nOffset + nBytes;
}

bool Segment::IsWaiting(std::uint64_t nSequence) const
{
    return nSequence >= m_nFirst && nSequence - m_nFirst < m_vecEnded.size() &&
           !m_vecEnded[nSequence - m_nFirst];
}

std::optional<std::uint64_t> Segment::WaitingAfter(std::uint64_t nSequence) const
{
    const std::uint64_t nFrom = nSequence < m_nFirst ? 0 : nSequence + 1 - m_nFirst;
    if (m_nWaiting == 0 || nFrom >= m_vecEnded.size()) {
        return std::nullopt;
    }
    const auto it =
        std::find(m_vecEnded.begin() + static_cast<std::ptrdiff_t>(nFrom), m_vecEnded.end(), false);
    return it == m_vecEnded.end()
               ? std::nullopt
               : std::optional<std::uint64_t>(m_nFirst + static_cast<std::uint64_t>(it - m_vecEnded.begin()));
}

RecordPlace Segment::PlaceOf(std::uint64_t nSequence) const
{
    const auto it = std::upper_bound(m_vecMarks.begin(), m_vecMarks.end(), nSequence,
                                     [](std::uint64_t n, const Mark& mark) { return n < mark.nSequence; });
    const Mark& mark = *std::prev(it);
    return {mark.nOffset, nSequence - mark.nSequence};
}

void Segment::MarkEnded(std::uint64_t nSequence)
{
    if (IsWaiting(nSequence)) {
        m_vecEnded[nSequence - m_nFirst] = true;
        --m_nWaiting;
    }
}

void Segment::End(std::uint64_t nSequence, Ending eEnding)
{
    MarkEnded(nSequence);
    m_strOwed += WriteEnding(m_strRun, nSequence, eEnding);
    static_cast<void>(WriteEndings());
}

std::error_code Segment::WriteEndings()
{
    if (m_strOwed.empty()) {
        return {};
    }
    std::error_code error;
    if (m_pEndings == nullptr) {
        m_pEndings = m_disk.OpenToAppend(Path(".ack"), error);
        if (error == std::errc::no_such_file_or_directory) {
            m_pEndings = m_disk.Create(Path(".ack"), 0, error);
        }
        if (m_pEndings == nullptr) {
            return error;
        }
        if (m_strOwed.front() != '\n') { // what stands there may lack its line end
            m_strOwed.insert(0, 1, '\n');
        }
    }
    error = m_pEndings->Append(m_strOwed);
    if (error) {
        m_pEndings.reset();
        return error;
    }
    m_strOwed.clear();
    m_bEndingsUnsynced = true;
    return {};
}

std::error_code Segment::ReadEndings(std::vector<std::uint64_t>& vecEnded) const
{
    std::error_code error;
    const std::unique_ptr<DiskFile> pFile = m_disk.OpenToRead(Path(".ack"), error);
    if (pFile == nullptr) {
        return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
    }
    std::string strLines;
    if ((error = pFile->Read(0, MOST_ENDINGS, strLines))) {
        return error;
    }
    for (std::size_t nBegin = 0; nBegin < strLines.size();) {
        const std::size_t nEnd = std::min(strLines.find('\n', nBegin), strLines.size());
        const std::string_view strLine = std::string_view(strLines).substr(nBegin, nEnd - nBegin);
        if (const auto optSequence = ReadEnding(m_strRun, strLine)) {
            vecEnded.push_back(*optSequence);
        }
        nBegin = nEnd + 1;
    }
    return {};
}

std::shared_ptr<DiskFile> Segment::File(std::error_code& error) const
{
    error.clear();
    return m_pFile != nullptr ? m_pFile : m_disk.OpenToRead(Path(".seg"), error);
}

std::error_code Segment::SyncFound()
{
    std::error_code error;
    const std::unique_ptr<DiskFile> pFile = m_disk.OpenToAppend(Path(".seg"), error);
    return pFile == nullptr ? error : pFile->Sync();
}

void Segment::GiveBackRoom()
{
    const auto Keep = [this](const char* szSuffix, std::uint64_t nBytes) {
        std::error_code error;
        if (const std::unique_ptr<DiskFile> pFile = m_disk.OpenToAppend(Path(szSuffix), error)) {
            static_cast<void>(pFile->KeepReserved(nBytes)); // then it takes room, and nothing else is wrong
        }
    };
    Keep(".seg", 0);
    Keep(".ack", m_nWaiting * MOST_ENDING_BYTES);
}

void Segment::NoteSynced(std::uint64_t nBytes)
{
    m_nSynced = std::max(m_nSynced, nBytes);
    if (IsSealed() && m_nSynced == m_nBytes) {
        m_pFile.reset();
    }
}

std::shared_ptr<DiskFile> Segment::TakeUnsyncedEndings()
{
    if (!std::exchange(m_bEndingsUnsynced, false)) {
        return nullptr;
    }
    std::shared_ptr<DiskFile> pEndings = m_pEndings;
    if (m_bSealed) {
        m_pEndings.reset(); // so that not every segment keeps a file open
    }
    return pEndings;
}

std::error_code Segment::Remove()
{
    // In this order: without its endings, all of the segment would wait again.
    m_pFile.reset();
    m_pEndings.reset();
    std::error_code error = m_disk.RemoveFile(Path(".seg"));
    if (!error || error == std::errc::no_such_file_or_directory) {
        error = m_disk.RemoveFile(Path(".ack"));
    }
    return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
}

} // namespace outbox
