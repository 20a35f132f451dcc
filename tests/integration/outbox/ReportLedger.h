#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

/// Counts the reports of `TorturedHost` that arrived at a server, and their keys. Threads: any.
class ReportLedger
{
public:
    /// @param strName  what the report is called; the text behind its first space is left out
    /// @param strKey   empty if it came without a key
    void Note(std::string strName, const std::string& strKey);

    bool Has(const std::string& strName) const;
    /// How many of the reports MARK-0 to MARK-(nTold - 1) have not arrived.
    std::uint64_t Missing(const std::string& strMark, std::uint64_t nTold) const;

    /// How many different reports arrived.
    std::uint64_t Reports() const;
    std::uint64_t Repeats() const;    ///< how often a report came again with its key
    std::uint64_t Twice() const;      ///< how often a report came with another key than before
    std::uint64_t Mixed() const;      ///< how often a key came with another report than before
    std::uint64_t WithoutKey() const; ///< how many came without a key

private:
    mutable std::mutex m_mutex; ///< guards everything below
    std::unordered_map<std::string, std::string> m_mapKeyOf;
    std::unordered_map<std::string, std::string> m_mapReportOf;
    std::uint64_t m_nRepeats = 0;
    std::uint64_t m_nTwice = 0;
    std::uint64_t m_nMixed = 0;
    std::uint64_t m_nWithoutKey = 0;
};

/// The name of a report in its body.
std::string NameInBody(const std::string& strBody);
