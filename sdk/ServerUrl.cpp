#include "ServerUrl.h"

#include "platform/system/Environment.h"

#include <ktshttpagent/clog.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <string_view>

namespace VelCSDK
{
namespace
{

constexpr std::array<std::string_view, 4> ON{"1", "true", "on", "yes"};
constexpr std::array<std::string_view, 4> OFF{"0", "false", "off", "no"};

bool IsOneOf(const std::array<std::string_view, 4>& words, const std::string& strText)
{
    return std::find(words.begin(), words.end(), strText) != words.end();
}

/// Converts ASCII letters to lower case, independently of the locale.
std::string SmallLetters(std::string strText)
{
    std::transform(strText.begin(), strText.end(), strText.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return strText;
}

void SayUnreadable(const std::string& strName, const std::string& strValue)
{
    Log_Write(1, "VelCSDK::ReadTlsSwitch", 1, "%s", TlsComplaint(strName, strValue).c_str());
}

enum class TlsState { Unread, Unsaid, Off, On };

// No locks here, not even those of function-local statics: an unreadable value is logged, and the log may be
// the site's own.
std::atomic<TlsState> g_eOfEnvironment = TlsState::Unread;
std::atomic<TlsState> g_eInForce = TlsState::Unsaid; ///< the environment's setting until `SetTls`

TlsState OnOrOff(bool bTls)
{
    return bTls ? TlsState::On : TlsState::Off;
}

bool UsesTls()
{
    const TlsState eInForce = g_eInForce;
    return eInForce == TlsState::Unsaid ? TlsOfEnvironment().value_or(false) : eInForce == TlsState::On;
}

} // namespace

std::optional<bool> ReadSwitchWord(const std::string& strText)
{
    const std::string strWord = SmallLetters(strText);
    const bool bOn = IsOneOf(ON, strWord);
    return bOn || IsOneOf(OFF, strWord) ? std::make_optional(bOn) : std::nullopt;
}

std::string TlsComplaint(const std::string& strName, const std::string& strValue)
{
    return strName + " is \"" + strValue + "\", not one of 1, true, on, yes, 0, false, off, no; TLS is on";
}

bool ReadTlsSwitch(const std::string& strName, const std::string& strValue)
{
    const std::optional<bool> optTls = ReadSwitchWord(strValue);
    if (!optTls) {
        SayUnreadable(strName, strValue);
    }
    return optTls.value_or(true);
}

std::optional<bool> TlsOfEnvironment()
{
    if (g_eOfEnvironment == TlsState::Unread) {
        const std::optional<std::string> strValue = EnvironmentVariable(TLS_VARIABLE);
        const std::optional<bool> optTls = strValue ? ReadSwitchWord(*strValue) : std::nullopt;
        TlsState eUnread = TlsState::Unread;
        // Another thread may read the environment at the same time: the first result is used, and its thread
        // logs it.
        const bool bFirst = g_eOfEnvironment.compare_exchange_strong(
            eUnread, strValue ? OnOrOff(optTls.value_or(true)) : TlsState::Unsaid);
        if (bFirst && strValue && !optTls) {
            SayUnreadable(TLS_VARIABLE, *strValue);
        }
    }
    const TlsState eTls = g_eOfEnvironment;
    return eTls == TlsState::Unsaid ? std::nullopt : std::make_optional(eTls == TlsState::On);
}

void SetTls(bool bTls)
{
    g_eInForce = OnOrOff(bTls);
}

std::string ServerUrl(const std::string& strHost, int nPort)
{
    return (UsesTls() ? "https://" : "http://") + strHost + ":" + std::to_string(nPort) + "/";
}

} // namespace VelCSDK
