#include "RecordingLog.h"

#include "platform/chttpclient/TransportSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

using chttpclient::ReadTransportSettings;
using chttpclient::TransportSettings;

struct SettingCase {
    const char* szName;
    std::int64_t (*fnValue)(const TransportSettings&);
    std::int64_t nDefault;
    std::vector<const char*> vecTaken; ///< the least and the most
    std::vector<const char*> vecRefused;
};

const SettingCase SETTINGS[] = {
    {"CHTTPCLIENT_CONNECT_TIMEOUT_MS",
     [](const auto& s) { return std::int64_t{s.connectTimeout.count()}; },
     10'000,
     {"1", "2147483647"},
     {"0", "-1", "2147483648"}},
    {"CHTTPCLIENT_TIMEOUT_MS",
     [](const auto& s) { return std::int64_t{s.timeout.count()}; },
     60'000,
     {"1", "2147483647"},
     {"0", "-1", "2147483648"}},
    {"CHTTPCLIENT_HOST_CONNECTIONS",
     [](const auto& s) { return static_cast<std::int64_t>(s.nHostConnections); },
     8,
     {"1", "1000"},
     {"0", "-1", "1001"}},
    {"CHTTPCLIENT_MAX_OUTSTANDING",
     [](const auto& s) { return static_cast<std::int64_t>(s.nMaxOutstanding); },
     100'000,
     {"1", "2147483647"},
     {"0", "-1", "2147483648"}},
    {"CHTTPCLIENT_MAX_REPLY_BYTES",
     [](const auto& s) { return static_cast<std::int64_t>(s.nMaxReplyBytes); },
     67'108'864,
     {"1"},
     {"0", "-1"}},
    {"CHTTPCLIENT_DRAIN_MS",
     [](const auto& s) { return std::int64_t{s.drain.count()}; },
     3'000,
     {"0", "2147483647"},
     {"-1", "2147483648"}},
    {"CHTTPCLIENT_POST_IDLE_MS",
     [](const auto& s) { return std::int64_t{s.postIdle.count()}; },
     500,
     {"0", "2147483647"},
     {"-1", "2147483648"}},
};

class TransportSetting : public ::testing::TestWithParam<SettingCase>
{
};

TEST_P(TransportSetting, HasItsDefaultWithoutTheVariable)
{
    unsetenv(GetParam().szName);
    EXPECT_EQ(GetParam().fnValue(ReadTransportSettings()), GetParam().nDefault);
    EXPECT_THAT(RecordedLog(), ::testing::IsEmpty());
}

TEST_P(TransportSetting, IsTakenFromTheVariable)
{
    std::vector<const char*> vecValues = GetParam().vecTaken;
    vecValues.insert(vecValues.end(), {"123", "124"});
    for (const std::string strValue : vecValues) {
        setenv(GetParam().szName, strValue.c_str(), 1);
        EXPECT_EQ(std::to_string(GetParam().fnValue(ReadTransportSettings())), strValue);
        EXPECT_THAT(RecordedLog(), ::testing::IsEmpty());
    }
}

TEST_P(TransportSetting, KeepsItsDefaultAndSaysSoWhenTheVariableIsNoUsableNumber)
{
    std::vector<const char*> vecValues = GetParam().vecRefused;
    vecValues.insert(vecValues.end(), {"", " ", "12x", "x", "1.5", "99999999999999999999"});
    for (const char* const szValue : vecValues) {
        ClearRecordedLog();
        setenv(GetParam().szName, szValue, 1);
        EXPECT_EQ(GetParam().fnValue(ReadTransportSettings()), GetParam().nDefault) << szValue;
        ASSERT_EQ(RecordedLog().size(), 1U) << szValue;
        EXPECT_THAT(RecordedLog().front().strText, ::testing::HasSubstr(GetParam().szName));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, TransportSetting, ::testing::ValuesIn(SETTINGS),
                         [](const auto& setting) { return setting.param.szName; });

} // namespace
