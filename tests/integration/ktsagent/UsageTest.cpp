#include "KtsagentProcess.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

class Usage : public KtsagentProcess
{
};

struct WrongUsage {
    const char* szName;
    QStringList lstArguments;
    const char* szSaid; ///< in the message
};

class WrongUsages : public KtsagentProcess, public testing::WithParamInterface<WrongUsage>
{
};

} // namespace

TEST_P(WrongUsages, ExitWithTwoAndSayWhatIsWrong)
{
    const KtsagentRun run = Run(GetParam().lstArguments);

    EXPECT_EQ(run.nExit, 2);
    EXPECT_THAT(run.strErr, HasSubstr(GetParam().szSaid));
    EXPECT_EQ(run.strOut, "");
}

INSTANTIATE_TEST_SUITE_P(
    Usage, WrongUsages,
    testing::Values(
        WrongUsage{"NoSubcommand", {}, "subcommand"},
        WrongUsage{"UnknownSubcommand", {"no-such-operation"}, "no-such-operation"},
        WrongUsage{"UnknownOption", {"endpoints", "--colour"}, "--colour"},
        WrongUsage{"OptionWithoutValueThatBeginsWithThreeDashes",
                   {"support-ver", "--server", "h:1", "--t", "1", "---u="},
                   " ---u\n"},
        WrongUsage{"MissingServer", {"support-ver", "--t", "1"}, "--server is required"},
        WrongUsage{"MissingArgument", {"support-ver", "--server", "h:1"}, "--t is required"},
        WrongUsage{
            "ServerWithoutPort", {"batt-status", "--server", "host", "--t", "1"}, "'host' is not HOST:PORT"},
        WrongUsage{
            "ServerWithoutHost", {"batt-status", "--server", ":80", "--t", "1"}, "':80' is not HOST:PORT"},
        WrongUsage{"PortZero", {"batt-status", "--server", "host:0", "--t", "1"}, "'0' is no port"},
        WrongUsage{
            "PortTooLarge", {"batt-status", "--server", "host:65536", "--t", "1"}, "'65536' is no port"},
        WrongUsage{"PortWithTail", {"batt-status", "--server", "host:80/", "--t", "1"}, "'80/' is no port"},
        WrongUsage{"IPv6WithoutPort",
                   {"batt-status", "--server", "2001:db8::1", "--t", "1"},
                   "'2001:db8::1' is an IPv6 address without a port"},
        WrongUsage{"IPv6WithoutPortThatEndsLikeAPort",
                   {"batt-status", "--server", "2001:db8::1:8080", "--t", "1"},
                   "'2001:db8::1:8080' is an IPv6 address without a port; if its end is the port, put the "
                   "address in brackets: [2001:db8::1]:8080"},
        WrongUsage{"AlmostIPv6", {"batt-status", "--server", ":::1:99999", "--t", "1"}, "':::1' is no host"},
        WrongUsage{"UrlOfAnotherKind",
                   {"batt-status", "--server", "ftp://h:80", "--t", "1"},
                   "is no URL of a server"},
        WrongUsage{
            "UrlWithoutHost", {"batt-status", "--server", "http://", "--t", "1"}, "is no URL of a server"},
        WrongUsage{
            "UrlWithUserName", {"batt-status", "--server", "http://u:p@h", "--t", "1"}, "no user name"},
        WrongUsage{"UrlWithQuery", {"batt-status", "--server", "http://h/?a", "--t", "1"}, "no query"},
        WrongUsage{"UrlWithFragment", {"batt-status", "--server", "http://h/#a", "--t", "1"}, "no fragment"},
        WrongUsage{"UrlWithPortTooLarge",
                   {"batt-status", "--server", "http://h:65536", "--t", "1"},
                   "is no URL of a server"},
        WrongUsage{"UrlWithPath", {"batt-status", "--server", "http://h/lab", "--t", "1"}, "has a path"},
        WrongUsage{"UnknownQuery",
                   {"doctor", "--server", "h:1", "--paths", "report-cycle"},
                   "'report-cycle' is no query"},
        WrongUsage{"BracketsAlone", {"batt-status", "--server", "[]:80", "--t", "1"}, "'[]' is no host"},
        WrongUsage{"MoreBehindTheBracket",
                   {"batt-status", "--server", "[::1]x]:80", "--t", "1"},
                   "'[::1]x]' is no host"},
        WrongUsage{"UserIdThatIsNoNumber", {"user-info", "--server", "h:1", "--user-id", "7x"}, "7x"},
        WrongUsage{"UserIdOfNothing",
                   {"user-info", "--server", "h:1", "--userId", ""},
                   "--userId: '': must be an integer from -2147483648 to 2147483647"},
        WrongUsage{"UserIdTooLarge",
                   {"user-info", "--server", "h:1", "--userId", "2147483648"},
                   "--userId: '2147483648': must be an integer from"},
        WrongUsage{"TimeoutOfNothing",
                   {"batt-status", "--server", "h:1", "--t", "1", "--timeout", "0"},
                   "--timeout: '0': must be an integer from 1 to 2147483647\n"},
        WrongUsage{"TimeoutWithoutText",
                   {"batt-status", "--server", "h:1", "--t", "1", "--timeout", ""},
                   "--timeout: '': must be an integer from 1 to 2147483647\n"},
        WrongUsage{"TimeoutTooLong",
                   {"batt-status", "--server", "h:1", "--t", "1", "--timeout", "2147483648"},
                   "--timeout: '2147483648': must be an integer from 1 to 2147483647\n"},
        WrongUsage{
            "SyncWhereNoSenderBlocks", {"batt-status", "--server", "h:1", "--t", "1", "--sync"}, "--sync"},
        WrongUsage{"UnknownIncubatorState",
                   {"report-incubator", "--server", "h:1", "--status", "resting"},
                   "--status: 'resting': must be \"idle\" or \"busy\""},
        WrongUsage{"NegativeCycle",
                   {"report-chl-status", "--server", "h:1", "--t", "1", "--cycle=-1"},
                   "--cycle: '-1': must be an integer from 0 to 4294967295"},
        WrongUsage{"CurrentThatIsNotFinite",
                   {"report-chl-status", "--server", "h:1", "--t", "1", "--current", "inf"},
                   "--current: 'inf': must be a number"},
        WrongUsage{"FleetWithoutServer", {"fleet"}, "--server is required"},
        WrongUsage{"FleetWithoutHosts",
                   {"fleet", "--server", "h:1", "--hosts", "0"},
                   "--hosts: '0': must be an integer from 1 to 2147483647\n"},
        WrongUsage{"FleetWithoutChannels",
                   {"fleet", "--server", "h:1", "--channels", "x"},
                   "--channels: 'x': must be an integer from 1 to 2147483647\n"},
        WrongUsage{"FleetWithTooManyChannels",
                   {"fleet", "--server", "h:1", "--hosts", "1000000", "--channels", "11"},
                   "--hosts and --channels: more than 10000000 channels in all\n"},
        WrongUsage{"FleetWithoutTime",
                   {"fleet", "--server", "h:1", "--seconds", "0"},
                   "--seconds: '0': must be an integer from 1 to 2147483647\n"},
        WrongUsage{"FleetWithNegativeSeed",
                   {"fleet", "--server", "h:1", "--seed=-1"},
                   "--seed: '-1': must be an integer from 0 to 2147483647\n"},
        WrongUsage{"FleetWithNegativePatience",
                   {"fleet", "--server", "h:1", "--wait=-1"},
                   "--wait: '-1': must be an integer from 0 to 2147483647\n"},
        WrongUsage{"FleetWithoutRate",
                   {"fleet", "--server", "h:1", "--rate", "0"},
                   "--rate: '0': must be a number from 0.000001 to 1000000\n"},
        WrongUsage{"FleetWithTooHighRate",
                   {"fleet", "--server", "h:1", "--rate", "1000001"},
                   "--rate: '1000001': must be a number from 0.000001 to 1000000\n"},
        WrongUsage{"FleetWithRateThatIsNoNumber",
                   {"fleet", "--server", "h:1", "--rate", "nan"},
                   "--rate: 'nan': must be a number from 0.000001 to 1000000\n"},
        WrongUsage{"ArgumentGivenTwice", {"support-ver", "--server", "h:1", "--t", "1", "--t", "2"}, "--t"}),
    [](const auto& param) { return std::string(param.param.szName); });

TEST_F(Usage, HelpIsNoError)
{
    const KtsagentRun run = Run({"report-incubator", "--help"});

    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(run.strOut, HasSubstr("--temperature"));
    EXPECT_EQ(run.strErr, "");
}

TEST_F(Usage, HelpTellsHowLongAnAnswerIsWaitedFor)
{
    EXPECT_THAT(Run({"in-common", "--help"}).strOut,
                HasSubstr("by default 70000; with --sync by default 10000\n  --json "));
}

TEST_F(Usage, AsksForTheVersion)
{
    const KtsagentRun run = Run({"--version"});

    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(run.strOut, testing::StartsWith("ktshttpagent 0."));
    EXPECT_THAT(run.strOut, testing::HasSubstr(", Qt 5."));
    EXPECT_THAT(run.strOut, testing::HasSubstr(", libcurl "));
    EXPECT_EQ(run.strErr, "");
}
