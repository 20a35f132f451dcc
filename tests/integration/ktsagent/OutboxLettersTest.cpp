// What "ktsagent outbox" does with dead letters.

#include "OutboxProcess.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>

#include <string>

using outbox::Ending;
using testing::AllOf;
using testing::HasSubstr;

namespace
{

class OutboxLetters : public OutboxProcess
{
protected:
    QString Key(const std::string& strKey) const { return QString::fromStdString(strKey); }
};

} // namespace

TEST_F(OutboxLetters, WaitAgainUnderTheirKey)
{
    const auto pHost = Open();
    const std::string strKey = Bury(*pHost, "1");
    const std::string strOther = Bury(*pHost, "2");
    const KtsagentRun run = Outbox("requeue", {Key(strKey)});
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.strOut, "requeued: 1\n");
    const Json::Value waiting = JsonOf("list");
    ASSERT_EQ(waiting.size(), 1U);
    EXPECT_EQ(waiting[0]["key"].asString(), strKey);
    EXPECT_EQ(JsonOf("show", {Key(strKey)})["body"].asString(), "1");
    EXPECT_EQ(JsonOf("list", {"--dead"})[0]["key"].asString(), strOther);
    EXPECT_TRUE(pHost->Adopt()) << "a running host takes it over";
    EXPECT_EQ(pHost->Status().nWaiting, 1U);
}

TEST_F(OutboxLetters, WaitAgainAllAtOnce)
{
    const auto pHost = Open();
    Bury(*pHost, "1");
    Bury(*pHost, "2", Ending::Parked);
    EXPECT_EQ(Outbox("requeue", {"--all"}).strOut, "requeued: 2\n");
    EXPECT_EQ(JsonOf("status")["dead"].asInt(), 0);
    EXPECT_EQ(JsonOf("status")["waiting"].asInt(), 2);
    const KtsagentRun again = Outbox("requeue", {"--all"});
    EXPECT_EQ(again.nExit, 0) << "there is nothing to do";
    EXPECT_EQ(again.strOut, "requeued: 0\n");
}

TEST_F(OutboxLetters, AreDroppedForGood)
{
    const auto pHost = Open();
    const std::string strKey = Bury(*pHost, "1");
    const std::string strOther = Bury(*pHost, "2");
    EXPECT_EQ(Outbox("drop", {Key(strKey)}).strOut, "dropped: 1\n");
    EXPECT_EQ(JsonOf("list", {"--dead"})[0]["key"].asString(), strOther);
    const KtsagentRun unsure = Outbox("drop", {"--all"});
    EXPECT_EQ(unsure.nExit, 2);
    EXPECT_THAT(unsure.strErr, HasSubstr("add --yes"));
    EXPECT_EQ(JsonOf("status")["dead"].asInt(), 1);
    EXPECT_EQ(Outbox("drop", {"--all", "--yes"}).strOut, "dropped: 1\n");
    EXPECT_EQ(JsonOf("status")["dead"].asInt(), 0);
    EXPECT_EQ(Outbox("drop", {"--all", "--yes"}).nExit, 0) << "there is nothing to do";
}

TEST_F(OutboxLetters, AreNotWhatWaits)
{
    const auto pHost = Open();
    const std::string strKey = Add(*pHost, "1");
    for (const char* szCommand : {"drop", "requeue"}) {
        const KtsagentRun run = Outbox(szCommand, {Key(strKey)});
        EXPECT_EQ(run.nExit, 1);
        EXPECT_THAT(run.strErr, HasSubstr("no dead letter has the key " + strKey));
    }
    EXPECT_EQ(Outbox("drop", {"--all", "--yes"}).nExit, 0);
    EXPECT_EQ(JsonOf("status")["waiting"].asInt(), 1);
    EXPECT_THAT(Run({"outbox", "drop", "--help"}).strOut, HasSubstr("What waits is never dropped."));
}

TEST_F(OutboxLetters, MustBeNamedByAKeyOrAll)
{
    Open();
    for (const char* szCommand : {"drop", "requeue"}) {
        for (const QStringList& lstMore : {QStringList{}, QStringList{"KEY", "--all"}}) {
            const KtsagentRun run = Outbox(szCommand, lstMore);
            EXPECT_EQ(run.nExit, 2);
            EXPECT_THAT(run.strErr, HasSubstr("name either a key or --all"));
        }
    }
}

TEST_F(OutboxLetters, ThatAreDamagedAreOnlyDroppedByTheirFileName)
{
    Open();
    WriteFile("outbox/dead/junk", "junk");
    const KtsagentRun all = Outbox("drop", {"--all", "--yes"});
    EXPECT_EQ(all.strOut, "dropped: 0\n");
    EXPECT_THAT(all.strErr, AllOf(HasSubstr("left out, because it can't be read"), HasSubstr(": junk\n")));
    const KtsagentRun requeue = Outbox("requeue", {"junk"});
    EXPECT_EQ(requeue.nExit, 1);
    EXPECT_THAT(requeue.strErr, HasSubstr("junk: there is no such dead letter, or it is damaged"));
    EXPECT_EQ(Outbox("drop", {"junk"}).strOut, "dropped: 1\n");
    EXPECT_EQ(JsonOf("status")["dead"].asInt(), 0);
}

TEST_F(OutboxLetters, ThatAreDamagedDoNotHinderTheOthers)
{
    const auto pHost = Open();
    const std::string strKey = Bury(*pHost, "1");
    WriteFile("outbox/dead/junk", "junk");
    EXPECT_THAT(Outbox("show", {"unknown"}).strErr, HasSubstr("no report has the key unknown"));
    const KtsagentRun drop = Outbox("drop", {Key(strKey)});
    EXPECT_EQ(drop.strOut, "dropped: 1\n");
    EXPECT_EQ(drop.strErr, "") << "nobody has asked for the damaged one";
}

TEST_F(OutboxLetters, ThatDoNotSayWhyAreShownAllTheSame)
{
    const std::string strKey = Bury(*Open(), "1");
    const QDir dead(m_strFolder + "/dead");
    const QString strFile = dead.filePath(dead.entryList(QDir::Files).value(0));
    QFile file(strFile);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const int nCause = file.readAll().lastIndexOf("{\"ended\"");
    ASSERT_GT(nCause, 0);
    ASSERT_TRUE(file.resize(nCause));
    file.close();
    EXPECT_THAT(Outbox("list", {"--dead"}).strOut,
                AllOf(HasSubstr(strKey), HasSubstr("  dead, nobody knows why\n")));
    const Json::Value letter = JsonOf("show", {Key(strKey)});
    EXPECT_EQ(letter["why"].asString(), "");
    EXPECT_TRUE(letter.isMember("endedAt") && letter["endedAt"].isNull());
    EXPECT_EQ(letter["body"].asString(), "1");
}
