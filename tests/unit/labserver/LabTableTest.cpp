// The tables' own checks and the database below them, without the server, which rarely passes anything wrong
// to them.

#include "LabFixture.h"

#include "labserver/LabHead.h"
#include "labserver/LabJson.h"
#include "labserver/LabTable.h"
#include "labserver/Sqlite.h"

#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;

/// What a server says about a member that must be of a type; empty when it accepts it.
std::string ComplaintOf(const char* szMember, LabType eType)
{
    Json::Value object(Json::objectValue);
    object["member"] = JsonFrom(std::string("[") + szMember + "]")[0];
    try {
        RequireField(object, {"member", eType});
    } catch (const LabError& error) {
        EXPECT_EQ(error.Status(), 400);
        return error.what();
    }
    return "";
}

TEST(LabTables, ATreeIsAnObjectOrAnArray)
{
    EXPECT_EQ(ComplaintOf("{}", LabType::Tree), "");
    EXPECT_EQ(ComplaintOf("[]", LabType::Tree), "");
    for (const char* szMember : {"\"text\"", "1", "true", "null"}) {
        EXPECT_EQ(ComplaintOf(szMember, LabType::Tree),
                  "The member \"member\" is not an object or an array.");
    }
}

TEST(LabDatabase, AStatementThatMeansNothingSaysWhy)
{
    Sqlite db(":memory:");
    try {
        const SqliteStatement statement(db, "SELECT * FROM nowhere");
        ADD_FAILURE();
    } catch (const SqliteError& error) {
        EXPECT_STREQ(error.what(), "no such table: nowhere");
    }
}

TEST(LabDatabase, NoTextIsAnEmptyOne)
{
    Sqlite db(":memory:");
    SqliteStatement statement(db, "SELECT NULL");
    ASSERT_TRUE(statement.Step());
    EXPECT_EQ(statement.Column(0, LabType::Text), Json::Value(""));
}

TEST(LabDatabase, OfAnotherVersionIsRefusedAndLeftAsItIs)
{
    const TemporaryFolder folder;
    Sqlite db(folder.File("lab.db"));
    db.Execute("PRAGMA user_version = 3");
    LabServer server({"127.0.0.1", 0, folder.File("lab.db")});
    try {
        server.Start();
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr(": it is of another version of this server"));
    }
    SqliteStatement tables(db, "SELECT count(*) FROM sqlite_master");
    ASSERT_TRUE(tables.Step());
    EXPECT_EQ(tables.Column(0, LabType::Integer), Json::Value(0));
}

TEST(LabDatabase, WithoutARuleForAChannelAllowsNothing)
{
    const TemporaryFolder folder;
    LabServer server({"127.0.0.1", 0, folder.File("lab.db")});
    LabClient client(server.Start());
    Sqlite(folder.File("lab.db")).Execute("DELETE FROM channel_rule");
    const LabReply reply = client.Get("/vomd/system/channelCheckData.action?dxtm=X&purpose=p&wtNumId=1"
                                      "&xmNameId=1&deviceId=D1&chl=3");
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.json, JsonFrom(R"({"success": false, "message": "No rule covers this channel."})"));
}

TEST(LabHeads, OfNoBytesTakeNothing)
{
    LabHead head;
    EXPECT_EQ(head.Take("", 0), 0U);
    const std::string strLine = "GET / HTTP/1.1\r\n";
    EXPECT_EQ(head.Take(strLine.data(), strLine.size()), strLine.size());
}

} // namespace
