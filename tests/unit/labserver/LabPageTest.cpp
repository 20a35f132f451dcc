#include "LabFixture.h"

#include "labserver/LabPage.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>

namespace
{

using testing::HasSubstr;
using testing::StartsWith;

const char* const AS_BROWSERS_ASK = "text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8";

class LabPageTest : public LabTest
{
protected:
    httplib::Result Page(const std::string& strTarget) const
    {
        return httplib::Client("127.0.0.1", m_server.Port()).Get(strTarget, {{"Accept", AS_BROWSERS_ASK}});
    }
};

std::string Source(const std::string& strName)
{
    std::ifstream file(std::string(KTS_PAGE_SOURCES) + '/' + strName);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(LabPageTest, ABrowserGetsThePage)
{
    const auto result = Page("/lab/");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(result->get_header_value("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(result->body, Source("index.html"));
    EXPECT_THAT(result->body, StartsWith("<!doctype html>"));
}

TEST_F(LabPageTest, OthersDoNotGetIt)
{
    EXPECT_THAT(Get("/lab/").strContentType, StartsWith("application/json"));
    EXPECT_THAT(httplib::Client("127.0.0.1", m_server.Port())
                    .Get("/lab/", {{"Accept", "application/json"}})
                    ->get_header_value("Content-Type"),
                StartsWith("application/json"));
}

TEST_F(LabPageTest, EachOfItsFilesHasItsType)
{
    const std::pair<const char*, const char*> aTypes[] = {
        {"page.js", "text/javascript; charset=utf-8"},
        {"page.css", "text/css; charset=utf-8"},
        {"icon.svg", "image/svg+xml"},
    };
    for (const auto& [szName, szType] : aTypes) {
        const auto result = Page(std::string("/lab/page/") + szName);
        ASSERT_TRUE(result) << szName;
        EXPECT_EQ(result->status, 200) << szName;
        EXPECT_EQ(result->get_header_value("Content-Type"), szType);
        EXPECT_EQ(result->body, Source(szName)) << szName;
        EXPECT_FALSE(result->body.empty()) << szName;
    }
}

TEST_F(LabPageTest, ItMayLoadOnlyWhatComesFromItsServer)
{
    for (const char* szTarget : {"/lab/", "/lab/page/page.js"}) {
        const auto result = Page(szTarget);
        ASSERT_TRUE(result) << szTarget;
        EXPECT_EQ(result->get_header_value_count("Content-Security-Policy"), 1) << szTarget;
        const std::string strPolicy = result->get_header_value("Content-Security-Policy");
        EXPECT_THAT(strPolicy, StartsWith("default-src 'none'; script-src 'self'; style-src 'self'; "));
        EXPECT_THAT(strPolicy, HasSubstr("frame-ancestors 'none'"));
        EXPECT_THAT(strPolicy, HasSubstr("require-trusted-types-for 'script'"));
        EXPECT_EQ(result->get_header_value("Cache-Control"), "no-store") << szTarget;
        EXPECT_EQ(result->get_header_value("X-Content-Type-Options"), "nosniff") << szTarget;
    }
}

TEST_F(LabPageTest, APageOfAnotherSiteDoesNotGetIt)
{
    const auto result = httplib::Client("127.0.0.1", m_server.Port())
                            .Get("/lab/", {{"Accept", AS_BROWSERS_ASK}, {"Sec-Fetch-Site", "cross-site"}});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 403);
}

TEST_F(LabPageTest, OtherNamesAndMethodsAreNoFilesOfIt)
{
    for (const char* szTarget : {"/lab/page/", "/lab/page/none.js", "/lab/page/../LabPage.cpp",
                                 "/lab/page.js", "/lab/page/PAGE.js", "/page.js"}) {
        const auto result = Page(szTarget);
        ASSERT_TRUE(result) << szTarget;
        EXPECT_EQ(result->status, 404) << szTarget;
    }
    EXPECT_NE(m_client.Send("DELETE", "/lab/page/page.js").nStatus, 200);
    EXPECT_EQ(m_client.Send("HEAD", "/lab/page/page.js").nStatus, 200);
    EXPECT_EQ(Get("/lab/page/page.js").nStatus, 200);
}

TEST(LabPageAlone, HtmlIsPreferredByThoseWhoSaySo)
{
    for (const char* szAccept :
         {AS_BROWSERS_ASK, "text/html", "text/*", "TEXT/HTML; q=0.9, application/json;q=0.8",
          "text/html;\tq=0.9, application/json;q=0.8", "text/html, */*;q=0.1", "application/json;q=0, */*"}) {
        EXPECT_TRUE(PrefersHtml(szAccept)) << szAccept;
    }
    for (const char* szAccept :
         {"", "*/*", "application/json", "application/json, text/html;q=0.9", "text/html, application/json",
          "text/html;q=0", "text/htm", "image/*, */*;q=0.5", "text/html;q=x"}) {
        EXPECT_FALSE(PrefersHtml(szAccept)) << szAccept;
    }
}

} // namespace
