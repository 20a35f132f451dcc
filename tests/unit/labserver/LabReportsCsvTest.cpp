#include "LabFixture.h"

#include "labserver/LabReportsCsv.h"

#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;
using LabReportsCsv = LabTest;

const char* const INCUBATORS = "/vomd/system/incubatorStatus.action";

std::string Incubator(const std::string& strName)
{
    Json::Value report;
    report["name"] = strName;
    report["status"] = "running";
    report["temperature"] = -25.5;
    return Json::FastWriter().write(report);
}

/// The file without what every one begins with, and without its times.
std::string Lines(const std::string& strReports)
{
    const std::string strFile = CsvOf(JsonFrom(strReports));
    EXPECT_EQ(strFile.substr(0, 3), "\xEF\xBB\xBF");
    return strFile.substr(3);
}

TEST_F(LabReportsCsv, ReportsComeAsAFile)
{
    Post(INCUBATORS, Incubator("INC-1"));
    PostWithKey(INCUBATORS, Incubator("INC-2"), "\"k\"");
    httplib::Client client("127.0.0.1", m_server.Port());
    const auto result = client.Get("/lab/reports/incubator-status.csv");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(result->get_header_value("Content-Type"), "text/csv; charset=utf-8");
    EXPECT_EQ(result->get_header_value("Content-Disposition"),
              "attachment; filename=\"incubator-status.csv\"");
    EXPECT_THAT(result->body, HasSubstr("id,receivedAt,key,repeats,name,status,temperature\r\n1,"));
    EXPECT_THAT(result->body, HasSubstr("Z,,,INC-1,running,-25.5\r\n2,"));
    EXPECT_THAT(result->body, HasSubstr("Z,k,0,INC-2,running,-25.5\r\n"));
}

TEST_F(LabReportsCsv, TheSearchChoosesReportsInBothForms)
{
    for (const char* szName : {"INC-1", "inc-2", "OTHER"}) {
        Post(INCUBATORS, Incubator(szName));
    }
    const Json::Value found = Get("/lab/reports/incubator-status?search=InC").json;
    EXPECT_EQ(found["count"], 3);
    EXPECT_EQ(found["reports"].size(), 2U);
    EXPECT_EQ(Get("/lab/reports/incubator-status?search=inc&after=1&limit=5").json["reports"][0]["id"], 2);
    EXPECT_EQ(Get("/lab/reports/incubator-status?search=inc&limit=1").json["reports"].size(), 1U);
    const std::string strFile = Get("/lab/reports/incubator-status.csv?search=other").strBody;
    EXPECT_THAT(strFile, HasSubstr("OTHER"));
    EXPECT_THAT(strFile, testing::Not(HasSubstr("INC-1")));
}

TEST_F(LabReportsCsv, ALongSearchFindsTheLastOne)
{
    for (int nReport = 0; nReport < 501; ++nReport) {
        Post(CYCLES, nReport == 500 ? R"([{"x": "needle"}])" : "[0]");
    }
    EXPECT_EQ(Get("/lab/reports/cycle-data?search=needle").json["reports"][0]["id"], 501);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["reports"].size(), 501U);
}

TEST_F(LabReportsCsv, OtherNamesAndMethodsAreRefused)
{
    EXPECT_EQ(Get("/lab/reports/none.csv").nStatus, 404);
    EXPECT_EQ(Get("/lab/reports/.csv").nStatus, 404);
    EXPECT_EQ(Get("/lab/reports/cycle-data.csv?limit=x").nStatus, 400);
    EXPECT_EQ(m_client.Send("DELETE", "/lab/reports/cycle-data.csv").nStatus, 405);
    EXPECT_EQ(m_client.Send("HEAD", "/lab/reports/cycle-data.csv").nStatus, 200);
}

TEST(LabReportsCsvAlone, AListHasALineForEachElement)
{
    EXPECT_EQ(Lines(R"([{"id": 1, "receivedAt": "T", "report": [{"b": 1, "a": "x"}, {"c": [1, {"d": 2}]}, 7]},
                        {"id": 2, "receivedAt": "U", "report": []}, {"id": 3, "receivedAt": "V", "report": null}])"),
              "id,receivedAt,key,repeats,a,b,c,value\r\n"
              "1,T,,,x,1,,\r\n"
              "1,T,,,,,\"[1,{\"\"d\"\":2}]\",\r\n"
              "1,T,,,,,,7\r\n"
              "3,V,,,,,,\r\n");
}

TEST(LabReportsCsvAlone, NothingIsComputedAndEverythingIsQuotedThatMustBe)
{
    const std::pair<const char*, const char*> aCells[] = {
        {R"("=1+1")", "'=1+1"},
        {R"("+1")", "'+1"},
        {R"("-1")", "'-1"},
        {R"("@x")", "'@x"},
        {R"("\tx")", "'\tx"},
        {R"("\rx")", "\"'\rx\""},
        {"-1", "-1"},
        {R"("a=1")", "a=1"},
        {R"("a,b")", "\"a,b\""},
        {R"("\"")", "\"\"\"\""},
        {R"("a\nb")", "\"a\nb\""},
        {"true", "true"},
        {R"("电池")", "电池"},
    };
    for (const auto& [szValue, szCell] : aCells) {
        EXPECT_EQ(Lines(R"([{"id": 1, "receivedAt": "T", "report": {"v": )" + std::string(szValue) + "}}]"),
                  "id,receivedAt,key,repeats,v\r\n1,T,,," + std::string(szCell) + "\r\n");
    }
    EXPECT_EQ(Lines("[]"), "id,receivedAt,key,repeats\r\n");
}

} // namespace
