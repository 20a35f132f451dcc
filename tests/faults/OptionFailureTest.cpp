// What happens to the closing of idle connections, and to the authorities for TLS, when libcurl refuses one
// of the options that they need.

#include "platform/chttpclient/Authorities.h"
#include "platform/chttpclient/IdleConnections.h"

#include "FailingCalls.h"
#include "LogFolder.h"

#include <ktshttpagent/chttpclient.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::Contains;
using testing::EndsWith;

namespace
{

bool g_bLibcurlStarts = true;

using Multi = std::unique_ptr<CURLM, CURLMcode (*)(CURLM*)>;
using Easy = std::unique_ptr<CURL, void (*)(CURL*)>;

class RefusedOption : public testing::Test
{
protected:
    RefusedOption()
    {
        // libcurl calls this for each request that begins.
        curl_multi_setopt(m_pMulti.get(), CURLMOPT_TIMERFUNCTION, &CountBeginning);
        curl_multi_setopt(m_pMulti.get(), CURLMOPT_TIMERDATA, &m_nBegun);
    }

    void CloseIdle() { chttpclient::CloseIdleConnections(m_pMulti.get(), 3); }

    const Multi m_pMulti{curl_multi_init(), &curl_multi_cleanup};
    int m_nBegun = 0;

private:
    static int CountBeginning(CURLM* /*pMulti*/, long /*nMilliseconds*/, void* pBegun)
    {
        ++*static_cast<int*>(pBegun);
        return 0;
    }
};

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's --wrap names them so
extern "C" CURLcode __real_curl_global_init(long nFlags);
extern "C" CURLcode __wrap_curl_global_init(long nFlags);
extern "C" CURLcode __wrap_curl_global_init(long nFlags)
{
    return g_bLibcurlStarts ? __real_curl_global_init(nFlags) : CURLE_FAILED_INIT;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

// Without one of these options, the request that triggers libcurl's check might be sent on the network.
TEST_F(RefusedOption, LeavesIdleConnectionsAlone)
{
    constexpr std::size_t OPTIONS = 6;
    for (std::size_t nOption = 1; nOption <= OPTIONS; ++nOption) {
        ArmFailure("curl_easy_setopt", nOption);
        CloseIdle();
        EXPECT_EQ(DisarmFailure(), 1U) << nOption;
    }
    for (const char* szCall : {"curl_easy_init", "curl_multi_add_handle"}) {
        ArmFailure(szCall, 1);
        CloseIdle();
        EXPECT_EQ(DisarmFailure(), 1U) << szCall;
    }
    EXPECT_EQ(m_nBegun, 0);
    CloseIdle();
    EXPECT_GT(m_nBegun, 0);
}

// No connection may trust other authorities than those that the site has set.
TEST_F(RefusedOption, OfAuthoritiesIsAFailure)
{
    const Easy pEasy(curl_easy_init(), &curl_easy_cleanup);
    constexpr std::size_t OPTIONS = 5;
    for (std::size_t nOption = 1; nOption <= OPTIONS; ++nOption) {
        ArmFailure("curl_easy_setopt", nOption);
        EXPECT_EQ(chttpclient::SetAuthorities(pEasy.get(), "ca.pem"), CURLE_OUT_OF_MEMORY) << nOption;
        EXPECT_EQ(DisarmFailure(), 1U) << nOption;
    }
    EXPECT_EQ(chttpclient::SetAuthorities(pEasy.get(), "ca.pem"), CURLE_OK);
}

TEST(RefusedStart, OfLibcurlIsOneOfTheTransportAndIsSaid)
{
    const LogFolder folder;
    g_bLibcurlStarts = false;
    EXPECT_FALSE(CHttpClientInit());
    EXPECT_THAT(folder.Lines(),
                Contains(EndsWith("the transport can't start: libcurl can't be initialised")));
}
