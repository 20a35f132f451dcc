#pragma once

#include <ktshttpagent/KtsTrace.h>

#include <functional>
#include <list>
#include <map>
#include <string>
#include <string_view>

/// Writes exchanges as lines for a terminal, like `curl -v`: "> " before what is sent, "< " before what comes
/// back, "* " before remarks. Passwords in URLs and in the header lines that carry them are left out, and
/// everything unsafe is escaped.
///
/// The exchange that began first is printed as it goes; the lines of others wait until it has ended, so that
/// they don't mix.
///
/// Not for several threads at a time.
class WirePrinter
{
public:
    /// @param fnPrint  is called with whole lines
    explicit WirePrinter(std::function<void(const std::string& strLines)> fnPrint);

    /// Takes the next part of an exchange. After its end its address may name another one.
    void Take(EKtsTrace ePart, std::string_view strBytes, const void* pExchange);

private:
    struct Shown {
        const void* pExchange;
        std::map<EKtsTrace, std::string> mapBegun = {}; ///< the line that each kind of part has begun
        std::string strLines = {};                      ///< not printed yet
        bool bEnded = false;
    };

    Shown& Find(const void* pExchange);
    static void EndLines(Shown& shown, bool bHeadersToo);
    static void AddLine(Shown& shown, EKtsTrace ePart, std::string_view strLine);

    const std::function<void(const std::string& strLines)> m_fnPrint;
    std::list<Shown> m_lstShown; ///< in the order of their beginnings
};
