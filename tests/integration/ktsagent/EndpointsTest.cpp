#include "KtsagentProcess.h"
#include "UnsafeTexts.h"

#if defined(Q_OS_WIN)
#include "Registry.h"
#endif

#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;

namespace
{

class Endpoints : public KtsagentProcess
{
#if defined(Q_OS_WIN)
protected:
    // Removes the settings, so that the next test, another process on this machine, does not find them.
    ~Endpoints() override
    {
        EXPECT_TRUE(DeleteRegistry("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL"));
    }
#endif
};

} // namespace

TEST_F(Endpoints, AreBuiltInWhereTheSiteSaysNothing)
{
    const KtsagentRun run = Run({"endpoints", "--json"});

    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const QJsonArray arrEndpoints = run.List();
    ASSERT_EQ(arrEndpoints.size(), 16);
    for (int i = 0; i < arrEndpoints.size(); ++i) {
        EXPECT_EQ(arrEndpoints[i].toObject()["id"], 3100 + i);
        EXPECT_EQ(arrEndpoints[i].toObject()["origin"], "built in");
        EXPECT_FALSE(arrEndpoints[i].toObject()["path"].toString().isEmpty());
    }
    EXPECT_EQ(arrEndpoints[0].toObject()["path"], "posts");
    EXPECT_EQ(arrEndpoints[15].toObject()["path"], "core/api/public/orn/qm/autoWriteInspection");
}

TEST_F(Endpoints, OfTheSiteAreShownWithTheProfileAndTheValueThatGaveThem)
{
    SetEndpoint("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin", "HttpUrlGetSupportVer", "api/ver");

    const KtsagentRun run = Run({"endpoints", "--json"});

    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const QJsonObject supportVer = run.List()[4].toObject();
    EXPECT_EQ(supportVer["id"], 3104);
    EXPECT_EQ(supportVer["path"], "api/ver");
    EXPECT_THAT(supportVer["origin"].toString().toStdString(),
                AllOf(HasSubstr("KTSStartPlugin"), HasSubstr("HttpUrlGetSupportVer")));
    EXPECT_EQ(run.List()[5].toObject()["origin"], "built in");
}

TEST_F(Endpoints, FormATableWithALineForEachId)
{
    const KtsagentRun run = Run({"endpoints"});

    ASSERT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(QString::fromStdString(run.strOut).count('\n'), 16);
    EXPECT_THAT(run.strOut, HasSubstr("3113  open/test-cabinet/add/kostrel/cycle "));
}

TEST_F(Endpoints, OfTheSiteDoNotLeadTheDemoAstray)
{
    SetEndpoint("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin", "HttpUrlGetSupportVer", "api/ver");

    const KtsagentRun run = Run({"demo"});

    EXPECT_EQ(run.nExit, 0) << run.strOut;
}

TEST_F(Endpoints, NeitherDoesTlsOfTheSiteOrTheEnvironmentLeadTheDemoAstray)
{
    SetEndpoint("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin", "UseTls", "1");
    qputenv("KTSHTTPAGENT_TLS", "1");

    const KtsagentRun run = Run({"demo"});

    EXPECT_EQ(run.nExit, 0) << run.strOut;
}

#if !defined(Q_OS_WIN)
TEST_F(Endpoints, OfAHostileSiteDoATerminalNoHarm)
{
    // In QSettings' notation: \x1b is ESC, \x202e changes the direction of text.
    SetEndpoint("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin", "HttpUrlGetSupportVer",
                "\"api\\x1b[2J\\x202e/ver\"");

    const KtsagentRun text = Run({"endpoints"});
    EXPECT_THAT(text.strOut, HasSubstr("3104  api\\x1b[2J\\xe2\\x80\\xae/ver  "));
    EXPECT_FALSE(HoldsUnsafe(text.strOut));

    const KtsagentRun json = Run({"endpoints", "--json"});
    EXPECT_EQ(json.List()[4].toObject()["path"].toString(), QStringLiteral("api\x1b[2J\u202e/ver"));
    EXPECT_FALSE(HoldsUnsafe(json.strOut));
}
#endif
