#pragma once

#include "Disk.h"
#include "Record.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace outbox
{

/// Goes through a file of records from one to the next, whatever else is in it. Needs the memory of one
/// record, however large the file is.
class RecordScan
{
public:
    enum class Kind {
        Record,
        Bad,  ///< bytes that are no record, between records or at the end
        Torn, ///< a record that the end of the file cuts off, or zeros at the end: the rest of a write
        End,
        Error ///< the file could not be read
    };

    struct Piece {
        Kind eKind = Kind::End;
        std::uint64_t nOffset = 0;
        std::uint64_t nBytes = 0;
        std::error_code error;
    };

    /// @param strRun  the run whose records are accepted
    RecordScan(const DiskFile& file, std::string strRun) : m_file(file), m_strRun(std::move(strRun)) {}

    /// @param record  set if the piece is a record
    Piece Next(Record& record);

private:
    bool Fill(std::uint64_t nOffset, std::size_t nBytes);
    std::string_view Window(std::uint64_t nOffset) const;
    Reading ReadAt(std::uint64_t nOffset, Record& record, std::size_t& nBytes);
    std::uint64_t FindMark(std::uint64_t nBehind);

    const DiskFile& m_file;
    const std::string m_strRun;
    std::uint64_t m_nAt = 0;     ///< where the next piece begins
    std::string m_strWindow;     ///< a part of the file
    std::uint64_t m_nWindow = 0; ///< where it begins
    bool m_bOnlyZeros = true;    ///< what `FindMark` went over
    std::error_code m_error;
};

/// Reads a record whose place is known.
/// @param nOffset  where a record begins
/// @param nSteps   how many records behind that one the wanted one is
/// @param strBytes gets the record as it stands in the file
/// @return `None` if there is no such record; the file is damaged then, unless there is an error
Reading FetchRecord(const DiskFile& file, std::string_view strRun, std::uint64_t nOffset,
                    std::uint64_t nSteps, Record& record, std::string& strBytes, std::error_code& error);

} // namespace outbox
