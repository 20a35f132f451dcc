#include "KnownVariables.h"

#include "MetricsFile.h"
#include "ServerUrl.h"
#include "SettingsProfile.h"

#include "net/BlockingSettings.h"
#include "outbox/OutboxSettings.h"
#include "platform/reply/ExchangeLimits.h"
#include "platform/reply/ReplyLimits.h"

#include <QFile>
#include <QSslCertificate>
#include <QString>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

constexpr const char* CA_FILE_VARIABLE = "CHTTPCLIENT_CA_FILE";
constexpr NumberRange TIME{1, MAX_MILLISECONDS};
constexpr NumberRange TIME_OR_NONE{0, MAX_MILLISECONDS};
constexpr NumberRange SIZE{1, std::numeric_limits<std::int64_t>::max()};
constexpr NumberRange COUNT{1, std::numeric_limits<std::int32_t>::max()};

/// What is wrong with a file of certificate authorities; empty if nothing is.
std::string AuthoritiesComplaint(const std::string& strFile)
{
    const QString strPath = QString::fromStdString(strFile);
    QFile file(strPath);
    if (!file.open(QIODevice::ReadOnly)) {
        return "can't be read: " + file.errorString().toStdString();
    }
    return QSslCertificate::fromDevice(&file).isEmpty() ? "holds no certificate (PEM)" : "";
}

std::string NumberComplaintOf(const KnownVariable& variable)
{
    std::vector<std::string> vecComplaints;
    EnvironmentNumber(variable.szName, std::strtoll(variable.szDefault, nullptr, 10), *variable.range,
                      vecComplaints);
    return vecComplaints.empty() ? "" : vecComplaints.front();
}

std::string OutboxComplaint(std::string_view strName)
{
    std::vector<std::string> vecComplaints;
    outbox::ReadOutboxSettings(vecComplaints);
    for (std::string& strComplaint : vecComplaints) {
        if (strComplaint.compare(0, strName.size() + 1, std::string(strName) + ' ') == 0) {
            return std::move(strComplaint);
        }
    }
    return "";
}

std::string ComplaintOf(const KnownVariable& variable, const std::string& strValue)
{
    const std::string_view name = variable.szName;
    if (variable.range) {
        return NumberComplaintOf(variable);
    }
    if (name == VelCSDK::TLS_VARIABLE && !VelCSDK::ReadSwitchWord(strValue)) {
        return VelCSDK::TlsComplaint(variable.szName, strValue);
    }
    if (name == CA_FILE_VARIABLE && !strValue.empty()) {
        const std::string strWrong = AuthoritiesComplaint(strValue);
        return strWrong.empty() ? "" : variable.szName + (" is \"" + strValue) + "\", which " + strWrong;
    }
    if (name == SYNC_SETTINGS_VARIABLE) {
        return BlockingSettingsComplaint();
    }
    return OutboxComplaint(name);
}

bool IsOfTheLog(const KnownVariable& variable)
{
    return std::string_view(variable.szName).substr(0, 5) == "CLOG_";
}

} // namespace

const std::array<KnownVariable, KNOWN_VARIABLE_COUNT>& KnownVariables()
{
    static constexpr std::array<KnownVariable, KNOWN_VARIABLE_COUNT> VARIABLES{{
        {"CHTTPCLIENT_CONNECT_TIMEOUT_MS", "10000", TIME},
        {EXCHANGE_TIMEOUT_VARIABLE, "60000", TIME},
        {"CHTTPCLIENT_HOST_CONNECTIONS", "8", NumberRange{1, 1'000}},
        {REPLY_BYTES_VARIABLE, "67108864", SIZE},
        {"CHTTPCLIENT_MAX_OUTSTANDING", "100000", COUNT},
        {"CHTTPCLIENT_POST_IDLE_MS", "500", TIME_OR_NONE},
        {"CHTTPCLIENT_DRAIN_MS", "3000", TIME_OR_NONE},
        {CA_FILE_VARIABLE, "system's"},
        {"CLOG_DIR", "the user's state folder"},
        {"CLOG_LEVEL", "3", NumberRange{0, 4}},
        {"CLOG_FILE_BYTES", "5242880", NumberRange{1, 1'000'000'000'000}},
        {"CLOG_FILES", "5", NumberRange{0, 1000}},
        {REPLY_VALUES_VARIABLE, "2000000", COUNT},
        {LIST_ELEMENTS_VARIABLE, "250000", COUNT},
        {SETTINGS_ROOT_VARIABLE, DEFAULT_SETTINGS_ROOT},
        {VelCSDK::TLS_VARIABLE, ""},
        {SYNC_SETTINGS_VARIABLE, "qt"},
        {METRICS_FILE_VARIABLE, ""},
        {outbox::FOLDER_VARIABLE, ""},
        {outbox::SYNC_VARIABLE, "50"},
        {outbox::REPEAT_VARIABLE, "any"},
    }};
    return VARIABLES;
}

VariableState StateOf(const KnownVariable& variable)
{
    const std::optional<std::string> strValue = EnvironmentVariable(variable.szName);
    if (!strValue || (strValue->empty() && IsOfTheLog(variable))) { // there an empty value is none
        return {variable.szDefault, false, {}};
    }
    std::string strComplaint = ComplaintOf(variable, *strValue);
    if (variable.range && !strComplaint.empty()) {
        return {variable.szDefault, false, std::move(strComplaint)};
    }
    return {*strValue, true, std::move(strComplaint)};
}
