// What is kept of the traffic, without a server.

#include "labserver/LabEventStream.h"
#include "labserver/LabJson.h"
#include "labserver/LabSeenJson.h"
#include "labserver/LabWatch.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace
{

LabSeen Seen(const std::string& strPath, int nStatus = 200)
{
    LabSeen seen;
    seen.strPath = strPath;
    seen.nStatus = nStatus;
    return seen;
}

LabSeen SeenWithFault(LabFaultKind eKind)
{
    LabSeen seen = Seen("/posts/1");
    seen.optFault = LabFault{};
    seen.optFault->eKind = eKind;
    return seen;
}

std::vector<std::uint64_t> IdsOf(const std::vector<LabTraffic::Entry>& vecEntries)
{
    std::vector<std::uint64_t> vecIds;
    for (const LabTraffic::Entry& pEntry : vecEntries) {
        vecIds.push_back(pEntry->nId);
    }
    return vecIds;
}

bool Any(const LabSeen&)
{
    return true;
}

std::size_t CountOf(const std::string& strText, const std::string& strPart)
{
    std::size_t nCount = 0;
    for (std::size_t nAt = 0; (nAt = strText.find(strPart, nAt)) != std::string::npos; ++nAt) {
        ++nCount;
    }
    return nCount;
}

} // namespace

TEST(LabOutcomes, AreNamedByWhatHappened)
{
    EXPECT_STREQ(NameOf(OutcomeOf(Seen("/", 200))), "answered");
    EXPECT_STREQ(NameOf(OutcomeOf(Seen("/", 399))), "answered");
    EXPECT_STREQ(NameOf(OutcomeOf(Seen("/", 400))), "refused");
    EXPECT_STREQ(NameOf(OutcomeOf(SeenWithFault(LabFaultKind::Delay))), "fault");
    EXPECT_STREQ(NameOf(OutcomeOf(SeenWithFault(LabFaultKind::Reply))), "fault");
    EXPECT_STREQ(NameOf(OutcomeOf(SeenWithFault(LabFaultKind::Truncate))), "truncated");
    EXPECT_STREQ(NameOf(OutcomeOf(SeenWithFault(LabFaultKind::Reset))), "reset");
    EXPECT_STREQ(NameOf(OutcomeOf(SeenWithFault(LabFaultKind::Silence))), "silence");
}

TEST(LabTrafficKept, IsFoundByIdAndListedFromBothEnds)
{
    LabTraffic traffic;
    EXPECT_EQ(traffic.LastId(), 0U);
    EXPECT_EQ(traffic.Find(0), nullptr);
    for (const char* szPath : {"/a", "/b", "/a", "/c"}) {
        traffic.Add(Seen(szPath));
    }
    EXPECT_EQ(traffic.LastId(), 4U);
    EXPECT_EQ(traffic.Find(2)->strPath, "/b");
    EXPECT_EQ(traffic.Find(5), nullptr);
    EXPECT_THAT(IdsOf(traffic.Before(100, 2, Any)), ElementsAre(4, 3));
    EXPECT_THAT(IdsOf(traffic.Before(3, 10, Any)), ElementsAre(2, 1));
    EXPECT_THAT(IdsOf(traffic.Before(100, 10, [](const LabSeen& seen) { return seen.strPath == "/a"; })),
                ElementsAre(3, 1));
    EXPECT_THAT(IdsOf(traffic.After(1, 2)), ElementsAre(2, 3));
    EXPECT_THAT(IdsOf(traffic.After(4, 2)), IsEmpty());
}

TEST(LabTrafficKept, IsLimitedInNumberAndInBytes)
{
    LabTraffic traffic;
    for (int nTime = 0; nTime < 10'001; ++nTime) {
        traffic.Add(Seen("/a"));
    }
    EXPECT_EQ(traffic.Find(1), nullptr);
    EXPECT_NE(traffic.Find(2), nullptr);
    EXPECT_EQ(traffic.LastId(), 10'001U);
    for (int nTime = 0; nTime < 5; ++nTime) {
        LabSeen large = Seen("/b");
        large.strRequestBody.assign(std::size_t{15} * 1024 * 1024, 'x');
        traffic.Add(std::move(large));
    }
    EXPECT_THAT(IdsOf(traffic.Before(100'000, 10, Any)), ElementsAre(10'006, 10'005, 10'004, 10'003))
        << "64 MiB have room for four";
}

TEST(LabTrafficKept, HasItsBytesCountedWhereverTheyAre)
{
    const std::string strLarge(std::size_t{15} * 1024 * 1024, 'x');
    const std::vector<std::function<void(LabSeen&)>> vecPlaces = {
        [&](LabSeen& seen) { seen.strPath = strLarge; },
        [&](LabSeen& seen) { seen.strTarget = strLarge; },
        [&](LabSeen& seen) { seen.strRequestBody = strLarge; },
        [&](LabSeen& seen) { seen.strReplyHead = strLarge; },
        [&](LabSeen& seen) { seen.strReplyBody = strLarge; },
        [&](LabSeen& seen) { seen.vecRequestHeaders.emplace_back(strLarge, ""); },
        [&](LabSeen& seen) { seen.vecRequestHeaders.emplace_back("", strLarge); },
    };
    for (std::size_t nPlace = 0; nPlace < vecPlaces.size(); ++nPlace) {
        LabTraffic traffic;
        for (int nTime = 0; nTime < 5; ++nTime) {
            LabSeen large = Seen("/a");
            vecPlaces[nPlace](large);
            traffic.Add(std::move(large));
        }
        EXPECT_THAT(IdsOf(traffic.Before(100, 10, Any)), ElementsAre(5, 4, 3, 2)) << nPlace;
    }
}

TEST(LabRatesKept, TellCountsAndDurationsOfASecond)
{
    using std::chrono::milliseconds;
    LabRates rates;
    for (int nMs = 1; nMs <= 100; ++nMs) {
        rates.Add(1000, milliseconds(nMs), nMs > 90);
    }
    const LabSecond second = rates.Second(1000);
    EXPECT_EQ(second.nCount, 100U);
    EXPECT_EQ(second.nFailed, 10U);
    EXPECT_NEAR(second.fMedianMs, 50.5, 1);
    EXPECT_NEAR(second.f99Ms, 99.5, 1);
    EXPECT_EQ(second.fMostMs, 100);
    EXPECT_EQ(rates.Second(999).nCount, 0U);
    EXPECT_EQ(rates.Second(999).fMostMs, 0);
}

TEST(LabRatesKept, SpanFiveMinutesWithTheEmptySeconds)
{
    LabRates rates;
    rates.Add(1000, std::chrono::milliseconds(1), false);
    rates.Add(1299, std::chrono::milliseconds(1), false);
    std::vector<LabSecond> vecSeconds = rates.All(1300);
    ASSERT_EQ(vecSeconds.size(), 300U);
    EXPECT_EQ(vecSeconds.front().nSecond, 1000);
    EXPECT_EQ(vecSeconds.front().nCount, 1U);
    EXPECT_EQ(vecSeconds.back().nSecond, 1299);
    EXPECT_EQ(vecSeconds.back().nCount, 1U);
    EXPECT_EQ(vecSeconds[1].nCount, 0U);
    rates.Add(1301, std::chrono::milliseconds(1), false);
    EXPECT_EQ(rates.Second(1000).nCount, 0U) << "it is too old now";
}

TEST(LabRatesKept, EstimateManyDurationsFromASample)
{
    LabRates rates;
    for (int nTime = 0; nTime < 20'000; ++nTime) {
        rates.Add(1, std::chrono::milliseconds(nTime % 1000), false);
    }
    const LabSecond second = rates.Second(1);
    EXPECT_EQ(second.nCount, 20'000U);
    EXPECT_NEAR(second.fMedianMs, 500, 100);
    EXPECT_NEAR(second.f99Ms, 990, 20);
    EXPECT_EQ(second.fMostMs, 999);
}

TEST(LabSeenInJson, HasHeadersAndBodiesOnlyIfWhole)
{
    LabSeen seen = Seen("/posts/1");
    seen.nId = 17;
    seen.arrived = std::chrono::system_clock::time_point(std::chrono::milliseconds(1'000'000'000'123));
    seen.duration = std::chrono::microseconds(1500);
    seen.strHost = "10.0.0.5";
    seen.vecRequestHeaders = {{"Host", "a"}};
    seen.strRequestBody = "{}";
    seen.strReplyHead = "HTTP/1.1 200 OK\r\nA: b: c\r\nEmpty: \r\nlast: x";
    seen.strReplyBody = std::string(65'537, 'x');
    const Json::Value summary = SummaryToJson(seen);
    EXPECT_EQ(summary["id"].asInt(), 17);
    EXPECT_EQ(summary["time"], "2001-09-09T01:46:40.123Z");
    EXPECT_EQ(summary["durationMs"], 1.5);
    EXPECT_EQ(summary["requestBytes"].asInt(), 2);
    EXPECT_EQ(summary["replyBytes"].asInt(), 65'537);
    EXPECT_FALSE(summary.isMember("requestBody") || summary.isMember("requestHeaders"));
    const Json::Value whole = SeenToJson(seen);
    EXPECT_EQ(WriteJson(whole["requestHeaders"]), R"([["Host","a"]])");
    EXPECT_EQ(WriteJson(whole["replyHeaders"]), R"([["A","b: c"],["Empty",""],["last","x"]])");
    EXPECT_EQ(whole["requestBody"], "{}");
    EXPECT_FALSE(whole.isMember("requestBodyCut"));
    EXPECT_EQ(whole["replyBody"].asString().size(), 65'536U);
    EXPECT_EQ(whole["replyBodyCut"], true);
}

TEST(LabStream, SendsEachExchangeOnceAndASecondWhenItIsOver)
{
    LabWatch watch;
    watch.traffic.Add(Seen("/before"));
    LabEventStream stream(watch, watch.traffic.LastId(), 100);
    EXPECT_EQ(stream.Next(100), "");
    watch.traffic.Add(Seen("/now"));
    watch.rates.Add(100, std::chrono::milliseconds(1), false);
    const std::string strEvents = stream.Next(100);
    EXPECT_THAT(strEvents, testing::StartsWith("id: 2\nevent: exchange\ndata: {"));
    EXPECT_THAT(strEvents, HasSubstr("\"path\":\"/now\""));
    EXPECT_THAT(strEvents, testing::EndsWith("}\n\n"));
    EXPECT_EQ(stream.Next(100), "");
    const std::string strSecond = stream.Next(101);
    EXPECT_THAT(strSecond, testing::StartsWith("event: second\ndata: {\"count\":1,"));
    EXPECT_THAT(strSecond, HasSubstr("\"skipped\":0"));
    EXPECT_EQ(stream.Next(101), "");
}

TEST(LabStream, SendsWhatAClientHasMissed)
{
    LabWatch watch;
    for (int nTime = 0; nTime < 600; ++nTime) {
        watch.traffic.Add(Seen("/missed"));
    }
    EXPECT_EQ(CountOf(LabEventStream(watch, 597, 100).Next(100), "event: exchange"), 3U);
    EXPECT_EQ(CountOf(LabEventStream(watch, 700, 100).Next(100), "event: exchange"), 0U)
        << "the client has those of an earlier server";
    LabEventStream stream(watch, 0, 100);
    const std::string strEvents = stream.Next(100);
    EXPECT_EQ(CountOf(strEvents, "event: exchange"), LabEventStream::MOST_MISSED);
    EXPECT_THAT(strEvents, HasSubstr("id: 600\n")) << "the latest ones";
    EXPECT_THAT(stream.Next(101), HasSubstr("\"skipped\":100"));
}

TEST(LabStream, LimitsAFloodAndTellsHowMuchIsLeftOut)
{
    LabWatch watch;
    LabEventStream stream(watch, 0, 100);
    stream.Next(101); // from now on the usual limit holds
    const auto Add = [&watch](int nTimes) {
        for (int nTime = 0; nTime < nTimes; ++nTime) {
            watch.traffic.Add(Seen("/flood"));
        }
    };
    Add(60);
    EXPECT_EQ(CountOf(stream.Next(101), "event: exchange"), 60U);
    Add(60);
    EXPECT_EQ(CountOf(stream.Next(101), "event: exchange"), 40U);
    Add(60);
    const std::string strNext = stream.Next(102);
    EXPECT_EQ(CountOf(strNext, "event: exchange"), 0U);
    EXPECT_THAT(strNext, HasSubstr("\"skipped\":80"));
    Add(1);
    EXPECT_EQ(CountOf(stream.Next(102), "event: exchange"), 1U);
}

TEST(LabStream, TellsEachChangeOnce)
{
    LabWatch watch;
    watch.events.Tell("faults");
    LabEventStream stream(watch, 0, 100);
    EXPECT_EQ(stream.Next(100), "") << "that was before";
    watch.events.Tell("faults");
    watch.events.Tell("faults");
    watch.events.Tell("reports", "cycle-data");
    EXPECT_EQ(stream.Next(100), "event: change\ndata: {\"what\":\"faults\"}\n\n"
                                "event: change\ndata: {\"name\":\"cycle-data\",\"what\":\"reports\"}\n\n");
    EXPECT_EQ(stream.Next(100), "");
}

TEST(LabStream, LetsNothingThatAHostSendsEndAnEvent)
{
    LabWatch watch;
    LabEventStream stream(watch, 0, 100);
    watch.traffic.Add(Seen("/a\nevent: forged\r\n\xff\u2028"));
    const std::string strEvents = stream.Next(100);
    EXPECT_EQ(std::count(strEvents.begin(), strEvents.end(), '\n'), 4);
    EXPECT_THAT(strEvents, Not(HasSubstr("\r")));
    EXPECT_THAT(strEvents, HasSubstr(R"("/a\nevent: forged\r\n\ufffd\u2028")"));
}
