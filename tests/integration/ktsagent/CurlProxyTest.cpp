// The doctor finds libcurl's proxy by the same rules as libcurl itself: each case is tried with both.

#include "ScriptedServer.h"

#include "apps/ktsagent/doctor/CurlAsker.h"
#include "apps/ktsagent/doctor/CurlProxy.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <ostream>

namespace
{

constexpr const char* PROXIES_REPLY = "from the proxy";

/// Variables, a server, and whether a proxy is used for it.
struct ProxyCase {
    const char* szName;
    const char* szVariable; ///< that names the proxy
    const char* szScheme;
    const char* szHost;
    const char* szNoProxy; ///< null for none
    bool bProxy;
};

void PrintTo(const ProxyCase& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class CurlProxyIsFound : public testing::Test, public testing::WithParamInterface<ProxyCase>
{
protected:
    CurlProxyIsFound()
    {
        for (const char* szName :
             {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
            qunsetenv(szName);
        }
    }
};

} // namespace

TEST_P(CurlProxyIsFound, AsLibcurlFindsIt)
{
    const ProxyCase& row = GetParam();
    const ScriptedServer proxy(ServerStep{HttpReply(200, PROXIES_REPLY), ServerStep::Ending::Close});
    qputenv(row.szVariable, QByteArray::fromStdString("127.0.0.1:" + std::to_string(proxy.Port())));
    if (row.szNoProxy != nullptr) {
        qputenv("no_proxy", row.szNoProxy);
    }

    const auto optFound = CurlProxyFor(row.szScheme, row.szHost);
    EXPECT_EQ(optFound.has_value(), row.bProxy);
    if (optFound) {
        EXPECT_EQ(optFound->strVariable, row.szVariable);
        EXPECT_EQ(optFound->nPort, proxy.Port());
    }

    const std::string strUrl = std::string(row.szScheme) + "://" + row.szHost + ":9/";
    CurlAsker("").Ask({strUrl}, std::chrono::milliseconds(30'000));
    EXPECT_EQ(!proxy.Requests().empty(), row.bProxy) << "libcurl differs";
}

INSTANTIATE_TEST_SUITE_P(
    Of, CurlProxyIsFound,
    testing::Values(
        ProxyCase{"Http", "http_proxy", "http", "lab.invalid", nullptr, true},
        ProxyCase{"HttpsByHttpsVariable", "https_proxy", "https", "lab.invalid", nullptr, true},
        ProxyCase{"HttpByHttpsVariable", "https_proxy", "http", "lab.invalid", nullptr, false},
        ProxyCase{"All", "all_proxy", "http", "lab.invalid", nullptr, true},
        ProxyCase{"EverythingExcepted", "http_proxy", "http", "lab.invalid", "*", false},
        ProxyCase{"TheNameExcepted", "http_proxy", "http", "lab.invalid", "other,lab.invalid", false},
        ProxyCase{"TheNameExceptedAfterABlank", "http_proxy", "http", "lab.invalid", "other, LAB.invalid",
                  false},
        ProxyCase{"ItsDomainExcepted", "http_proxy", "http", "lab.invalid", "invalid", false},
        ProxyCase{"ItsDomainWithADotExcepted", "http_proxy", "http", "lab.invalid", ".invalid", false},
        ProxyCase{"OnlyTheEndAlike", "http_proxy", "http", "collab.invalid", "lab.invalid", true},
        ProxyCase{"AnEmptyList", "http_proxy", "http", "lab.invalid", "", true},
        ProxyCase{"TheAddressExcepted", "http_proxy", "http", "127.0.0.5", "127.0.0.5", false},
        ProxyCase{"TheSubnetExcepted", "http_proxy", "http", "127.0.0.5", "127.0.0.0/8", false},
        ProxyCase{"AnotherAddress", "http_proxy", "http", "127.0.0.5", "127.0.0.6", true}),
    testing::PrintToStringParamName());
