// How the header Idempotency-Key is read.

#include "LabFixture.h"
#include "RawClient.h"

#include <gmock/gmock.h>

namespace
{

using LabKeyHeader = LabTest;
using testing::HasSubstr;

TEST_F(LabKeyHeader, IsATextInQuotesOrTheSameTextWithoutThem)
{
    const LabReply first = PostWithKey(CYCLES, "[1]", "\"a1b2-7\"");
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", "a1b2-7").json["id"], first.json["id"]);
    const Json::Value stored = Get("/lab/reports/cycle-data").json;
    ASSERT_EQ(stored["count"], 1);
    EXPECT_EQ(stored["reports"][0]["key"], "a1b2-7");
}

TEST_F(LabKeyHeader, MayContainEscapesAndAnyPrintableCharacter)
{
    for (const auto& [strHeader, strKey] :
         std::vector<std::pair<std::string, std::string>>{{R"("a\"b\\c")", R"(a"b\c)"},
                                                          {R"(" a, b; c ")", " a, b; c "},
                                                          {R"("~!#")", "~!#"},
                                                          {"'single'", "'single'"}}) {
        EXPECT_EQ(PostWithKey(CYCLES, "[1]", strHeader).nStatus, 200) << strHeader;
        const Json::Value stored = Get("/lab/reports/cycle-data").json;
        EXPECT_EQ(stored["reports"][stored["reports"].size() - 1]["key"], strKey);
    }
}

TEST_F(LabKeyHeader, IsNotDecoded)
{
    for (const char* szKey :
         {"\"a%41\"", "\"aA\"", "\"a%2541\"", "\"a+b\"", "\"a b\"", "\"%\"", "\"%%41\"", "\"%A\""}) {
        EXPECT_EQ(PostWithKey(CYCLES, "[1]", szKey).nStatus, 200) << szKey;
        const Json::Value stored = Get("/lab/reports/cycle-data").json;
        EXPECT_EQ('"' + stored["reports"][stored["reports"].size() - 1]["key"].asString() + '"', szKey);
    }
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 8);
}

TEST_F(LabKeyHeader, IsRefusedIfItIsMalformed)
{
    for (const char* szHeader :
         {R"("open)", R"(")", R"("a"b)", R"("a";p=1)", R"("a", "b")", R"("a\n")", R"("a\)", "a b", "a,b",
          "a;b", R"(a"b)", R"(a\b)", "\"caf\xc3\xa9\"", "\xc3\xa9", "\"a\tb\"", "\"a\x7f\"", R"("a\")"}) {
        const LabReply reply = PostWithKey(CYCLES, "[1]", szHeader);
        EXPECT_EQ(reply.nStatus, 400) << szHeader;
        EXPECT_EQ(reply.json["success"], false);
        EXPECT_EQ(reply.json["code"], 400);
        EXPECT_EQ(reply.json["message"], "The header Idempotency-Key is not one text in double quotes.")
            << szHeader;
    }
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 0);
}

TEST_F(LabKeyHeader, IsRefusedIfItIsEmpty)
{
    const LabReply reply = PostWithKey(CYCLES, "[1]", "\"\"");
    EXPECT_EQ(reply.nStatus, 400);
    EXPECT_EQ(reply.json["message"], "The header Idempotency-Key is empty.");
    RawClient socket(m_server.Port());
    socket.Send(std::string("POST ") + CYCLES +
                " HTTP/1.1\r\nIdempotency-Key:\r\nContent-Length: 3\r\nConnection: close\r\n\r\n[1]");
    EXPECT_THAT(socket.ReadAll(), HasSubstr(" 400 "));
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 0);
}

TEST_F(LabKeyHeader, IsRefusedIfItOccursTwice)
{
    RawClient socket(m_server.Port());
    socket.Send(std::string("POST ") + CYCLES +
                " HTTP/1.1\r\nIdempotency-Key: \"a\"\r\nidempotency-key: \"a\"\r\n"
                "Content-Length: 3\r\nConnection: close\r\n\r\n[1]");
    const std::string strReply = socket.ReadAll();
    EXPECT_THAT(strReply, HasSubstr(" 400 "));
    EXPECT_THAT(strReply, HasSubstr("The header Idempotency-Key occurs twice."));
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 0);
}

TEST_F(LabKeyHeader, HasAtMost255BytesWithoutQuotesAndEscapes)
{
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", '"' + std::string(255, 'a') + '"').nStatus, 200);
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", std::string(255, 'b')).nStatus, 200);
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", "\"\\\"" + std::string(254, '%') + '"').nStatus, 200);
    for (const std::string& strHeader : {'"' + std::string(256, 'a') + '"', std::string(256, 'b')}) {
        const LabReply reply = PostWithKey(CYCLES, "[1]", strHeader);
        EXPECT_EQ(reply.nStatus, 400);
        EXPECT_EQ(reply.json["message"], "The key in the header Idempotency-Key is longer than 255 bytes.");
    }
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 3);
}

TEST_F(LabKeyHeader, MeansNothingWhereNoReportIsTaken)
{
    const std::string strRule = R"({"deviceId": "D1", "chl": "3", "allowBoot": "no", "reason": "a"})";
    for (const char* szHeader : {"\"k\"", "\"open"}) {
        EXPECT_EQ(PostWithKey("/lab/channel-rules", strRule, szHeader).nStatus, 200);
        EXPECT_EQ(PostWithKey("/posts/1", "[1]", szHeader).nStatus, 405);
        EXPECT_EQ(PostWithKey("/nothing", "[1]", szHeader).nStatus, 404);
    }
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", "\"k\"").nStatus, 200);
}

} // namespace
