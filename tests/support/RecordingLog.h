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

/// Stands in for libclog: keeps the lines of the process, in order. May be read from any thread.
std::vector<RecordedLine> RecordedLog();
void ClearRecordedLog();

/// Whether each call throws something that is no std::exception, as a site's own log may.
void LetLogThrow(bool bThrows);
