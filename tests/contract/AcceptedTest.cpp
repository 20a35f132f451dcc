// What hosts make of answers that are against docs/api/openapi.yaml: the rows of docs/api/accepted.yaml.

#include "AgentSession.h"
#include "Enough.h"
#include "Exchange.h"
#include "Operations.h"
#include "ScriptedServer.h"
#include "ValueWriter.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <QJsonDocument>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

struct Row {
    std::string strName;
    std::string strCall;
    bool bSync;
    int nStatus;
    std::string strBody;
    std::string strHost; ///< what the host gets, as JSON
};

void PrintTo(const Row& row, std::ostream* pStream)
{
    *pStream << row.strName;
}

std::vector<Row> Rows()
{
    std::vector<Row> vecRows;
    for (const YAML::Node& row : YAML::LoadFile(KTS_ACCEPTED)["replies"]) {
        vecRows.push_back({row["name"].as<std::string>(), row["call"].as<std::string>(),
                           row["sync"].as<bool>(false), row["status"].as<int>(200),
                           row["body"].as<std::string>(), row["host"].as<std::string>()});
    }
    if (vecRows.empty()) {
        throw std::runtime_error(std::string(KTS_ACCEPTED) + " has no rows");
    }
    return vecRows;
}

/// What all rows are asked with; see the head of the file.
Arguments ArgumentsFor(const ScriptedServer& server)
{
    Arguments arguments;
    arguments.server.strIp = "127.0.0.1";
    arguments.server.nPort = server.Port();
    arguments.strUrl = QString::fromStdString(server.Url("/"));
    arguments.userId = 7;
    arguments.t = "1.1.0";
    arguments.dxtm = "CELL-0001";
    arguments.dxtmList = QStringList{"CELL-0001"};
    arguments.channelCheck = {1201, 107, "CELL-0001", "KTS-0007", "8", "release"};
    arguments.chlStatus.box = "1";
    arguments.chlStatus.chl = "2";
    arguments.strData = "{}";
    return arguments;
}

QJsonDocument Parsed(const std::string& strJson)
{
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(strJson));
    EXPECT_FALSE(document.isNull()) << strJson;
    return document;
}

class Accepted : public testing::TestWithParam<Row>
{
protected:
    static void SetUpTestSuite()
    {
        qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
        s_pSession = std::make_unique<AgentSession>();
    }

    static void TearDownTestSuite() { s_pSession.reset(); }

    static inline std::unique_ptr<AgentSession> s_pSession;
};

} // namespace

TEST_P(Accepted, IsReadAsTheRowSays)
{
    const Row& row = GetParam();
    const std::string strType = "Content-Type: application/json; charset=utf-8\r\n";
    const ScriptedServer server(ServerStep{HttpReply(row.nStatus, row.strBody, strType)});
    const Operation& operation = FindOperation(row.strCall);
    ASSERT_TRUE(row.bSync || operation.answer.signal) << "this call has no answer";
    Arguments arguments = ArgumentsFor(server);
    const Exchange exchange = row.bSync ? RunSync(*s_pSession, operation, arguments, ENOUGH_MS)
                                        : RunAsync(*s_pSession, operation, arguments, ENOUGH_MS);
    EXPECT_EQ(server.Requests().size(), 1U);
    JsonWriter writer;
    WriteAnswer(writer, exchange.optAnswer);
    EXPECT_EQ(Parsed(writer.Result()), Parsed(row.strHost)) << writer.Result();
}

INSTANTIATE_TEST_SUITE_P(Each, Accepted, testing::ValuesIn(Rows()),
                         [](const auto& row) { return row.param.strName; });
