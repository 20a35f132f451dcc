#include "OutboxSettings.h"

#include "platform/system/Environment.h"
#include "platform/text/Escaping.h"

#include <array>
#include <utility>

namespace outbox
{
namespace
{

/// A word that a variable may contain, and what it means.
template <class Value>
using Word = std::pair<const char*, Value>;

/// The first word of the list is the default.
template <class Value, std::size_t COUNT>
Value ReadWord(const char* szName, const std::array<Word<Value>, COUNT>& words,
               std::vector<std::string>& vecComplaints)
{
    const std::optional<std::string> strValue = EnvironmentVariable(szName);
    std::string strAllowed;
    for (const auto& [szWord, eValue] : words) {
        if (strValue == szWord) {
            return eValue;
        }
        strAllowed += (strAllowed.empty() ? "" : ", ") + std::string(szWord);
    }
    if (strValue && !strValue->empty()) {
        vecComplaints.push_back(std::string(szName) + " is \"" + EscapeUnsafe(*strValue) + "\", not one of " +
                                strAllowed + "; " + words.front().first + " stays in force");
    }
    return words.front().second;
}

} // namespace

OutboxSettings ReadOutboxSettings(std::vector<std::string>& vecComplaints)
{
    static constexpr std::array<Word<SyncMode>, 3> SYNC_WORDS{
        {{"50", SyncMode::Within50Ms}, {"each", SyncMode::Each}, {"none", SyncMode::None}}};
    static constexpr std::array<Word<bool>, 2> REPEAT_WORDS{{{"any", true}, {"unseen", false}}};

    OutboxSettings settings;
    settings.strFolder = EnvironmentVariable(FOLDER_VARIABLE).value_or(std::string());
    settings.eSync = ReadWord(SYNC_VARIABLE, SYNC_WORDS, vecComplaints);
    settings.bRepeatSeen = ReadWord(REPEAT_VARIABLE, REPEAT_WORDS, vecComplaints);
    return settings;
}

} // namespace outbox
