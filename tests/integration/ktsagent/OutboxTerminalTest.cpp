// What "ktsagent outbox" shows on a terminal.

#include "OnTerminal.h"
#include "OutboxProcess.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>

#include <string>

#include <unistd.h>

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

namespace
{

class OutboxTerminal : public OutboxProcess
{
};

} // namespace

TEST_F(OutboxTerminal, ShowsABodyEscaped)
{
    const std::string strKey = Add(*Open(), "{\x1b[2J\n\xff}");
    const std::string strShown = OnTerminal(
        {"outbox", "show", "--folder", m_strFolder, QString::fromStdString(strKey)}, STDOUT_FILENO);
    EXPECT_THAT(strShown, EndsWith("\r\n\r\n{\\x1b[2J\\n\\xff}\r\n"));
}

TEST_F(OutboxTerminal, ShowsHowFarADrainIs)
{
    const ScriptedServer server(Silent());
    qputenv("CHTTPCLIENT_DRAIN_MS", "0");
    Add(*Open(), "1", server.Url("/saveData"));
    EXPECT_THAT(OnTerminal({"outbox", "drain", "--folder", m_strFolder, "--timeout", "3"}, STDERR_FILENO),
                AllOf(HasSubstr("1 wait, 0 sent, 1 s of 3 s …"), EndsWith(" \r")));
}
