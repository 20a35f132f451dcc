#pragma once

#include <string>
#include <vector>

/// One call of Log_Write, its text already formatted.
struct RecordedLine {
    int nLevel = 0;
    std::string strWhere;
    int nLine = 0;
    std::string strText;

    bool operator==(const RecordedLine& other) const
    {
        return nLevel == other.nLevel && strWhere == other.strWhere && nLine == other.nLine &&
               strText == other.strText;
    }
};

/// Replaces libclog: keeps the lines of the process, in order. May be called from any thread.
/// @param nMostLevel  lines above this level are left out; those of level 1 are the fixed ones
std::vector<RecordedLine> RecordedLog(int nMostLevel = 1);
void ClearRecordedLog();

/// Sets whether each call throws something that is not a std::exception, as a site's own log may.
void LetLogThrow(bool bThrows);
