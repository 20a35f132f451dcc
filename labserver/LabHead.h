#pragma once

#include "labserver/LabRefusal.h"

#include <cstddef>
#include <string>

/// The header of one request on its way from the connection to httplib, which would take one of any size. It
/// passes line by line and within bounds. Lines that ask for ranges stay behind: no range is served, and each
/// of many would be a copy of the reply.
class LabHead
{
public:
    /// The largest header, from the request line to the blank line; a larger one is answered 431.
    static constexpr std::size_t kMaxSize = std::size_t{64} * 1024;
    /// The longest line with its end, as httplib has it too; a longer one is answered 414 when it is the
    /// request line, else 431.
    static constexpr std::size_t kMaxLine = 8192;
    /// The most lines between the request line and the blank line; with more of them it is answered 431.
    static constexpr int kMaxLines = 100;

    /// Takes bytes as they came, up to the end of a line. To be called when there is nothing to give, and
    /// neither is the header over nor refused.
    /// @return how many it took
    std::size_t Take(const char* pBytes, std::size_t nSize);

    /// Gives the next bytes of the line taken last. @return how many, 0 when more must be taken first
    std::size_t Give(char* pBytes, std::size_t nSize);

    /// Whether the blank line was given: what comes then is the body.
    bool IsOver() const { return m_bBlankTaken && m_nGiven == m_strLine.size(); }

    /// What is wrong with what was taken so far.
    const LabRefusal& Refusal() const { return m_refusal; }

private:
    void EndLine();
    void EndRequestLine();
    void EndHeaderLine();

    std::string m_strTaking; ///< of a line whose end has not come yet
    std::string m_strLine;   ///< the line to give
    std::size_t m_nGiven = 0;
    std::size_t m_nSize = 0;
    int m_nLines = -1; ///< taken so far, not counting the request line
    bool m_bBlankTaken = false;
    LabRefusal m_refusal;
};
