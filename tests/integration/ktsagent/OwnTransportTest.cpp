// ktsagent with a transport of the site's own, which lacks what only tools use.

#include "KtsagentProcess.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

class OwnTransport : public KtsagentProcess
{
protected:
    OwnTransport() { qputenv("LD_LIBRARY_PATH", OWN_TRANSPORT_FOLDER); }
};

} // namespace

TEST_F(OwnTransport, IsNamedByTheDoctor)
{
    const KtsagentRun run = Run({"doctor", "--server", "127.0.0.1:9", "--timeout", "500"});
    EXPECT_THAT(run.strOut,
                HasSubstr("chttpclient, the transport, is a site's own: " OWN_TRANSPORT_FOLDER "/lib"));
    EXPECT_THAT(run.strOut, HasSubstr("its settings may differ from those that are named here"));
}

TEST_F(OwnTransport, CantShowItsExchanges)
{
    const KtsagentRun run =
        Run({"support-ver", "--server", "127.0.0.1:9", "--t", "1", "--timeout", "500", "--verbose"});
    EXPECT_EQ(run.nExit, 1) << run.strErr;
    EXPECT_THAT(run.strErr,
                HasSubstr("* the transport is a site's own, which does not show its exchanges\n"));
}
