#pragma once

#include "labserver/LabRefusal.h"

#include <cstddef>
#include <string>

/// Passes the header of one request from the connection to httplib, line by line and within limits; httplib
/// itself would accept a header of any size. Lines that ask for ranges are dropped: no range is served, and
/// httplib would copy the reply for each of many ranges.
class LabHead
{
public:
    /// The largest header, from the request line to the blank line; a larger one is answered 431.
    static constexpr std::size_t MAX_SIZE = std::size_t{64} * 1024;
    /// The longest line with its end, which is also httplib's limit; a longer one is answered 414 when it is
    /// the request line, else 431.
    static constexpr std::size_t MAX_LINE = 8192;
    /// The most lines between the request line and the blank line; a header with more of them is answered
    /// 431.
    static constexpr int MAX_LINES = 100;

    /// Takes received bytes, up to the end of a line. Call it when there is nothing left to give, and the
    /// header is neither over nor refused.
    /// @return how many it took
    std::size_t Take(const char* pBytes, std::size_t nSize);

    /// Gives the next bytes of the line taken last. @return how many, 0 when more must be taken first
    std::size_t Give(char* pBytes, std::size_t nSize);

    /// Whether the blank line was given: what follows is the body.
    bool IsOver() const { return m_bBlankTaken && m_nGiven == m_strLine.size(); }

    /// What is wrong with the bytes taken so far.
    const LabRefusal& Refusal() const { return m_refusal; }

private:
    void EndLine();
    void EndRequestLine();
    void EndHeaderLine();

    std::string m_strTaking; ///< of a line whose end has not arrived yet
    std::string m_strLine;   ///< the line to give
    std::size_t m_nGiven = 0;
    std::size_t m_nSize = 0;
    int m_nLines = -1; ///< taken so far, not counting the request line
    bool m_bBlankTaken = false;
    LabRefusal m_refusal;
};
