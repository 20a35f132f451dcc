// Every operation of the disk fails once: nothing that was kept is lost, nothing refuses to go on.

#include "LongRun.h"
#include "StoreHelp.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using namespace outbox;

namespace
{

struct Life {
    std::set<std::string> setWaiting; ///< bodies that were kept and have not ended
    std::set<std::string> setEnded;
    std::chrono::steady_clock::time_point tpNow;
};

StoreSettings SettingsOf(Life& life)
{
    StoreSettings settings = SmallSegments(1200);
    settings.fnNow = [&life] { return life.tpNow += std::chrono::seconds(2); };
    return settings;
}

/// Two processes, one after the other, do everything that there is to do.
void Live(const std::shared_ptr<Machine>& pMachine, Life& life)
{
    int nBody = 0;
    for (int nProcess = 0; nProcess < 2; ++nProcess) {
        const auto pStore = OpenStore(pMachine, SettingsOf(life));
        pStore->Adopt();
        for (int i = 0; i < 12; ++i) {
            Report report = MakeReport(std::to_string(nBody++) + std::string(200, '.'));
            if (pStore->Add(report)) {
                life.setWaiting.insert(report.strBody);
            }
            if (i % 4 == 1) {
                pStore->Sync();
            }
            if (i % 3 == 2) {
                if (const auto optNext = pStore->Next({})) {
                    const bool bEnded = i == 5 ? pStore->Bury(optNext->id, Ending::Dead, "no", 400)
                                               : (pStore->End(optNext->id, Ending::Acknowledged), true);
                    if (bEnded) {
                        life.setWaiting.erase(optNext->report.strBody);
                        life.setEnded.insert(optNext->report.strBody);
                    }
                }
            }
        }
        static_cast<void>(pStore->Status());
    }
}

/// @param bEndedMayReturn  whether an ending could not be written before the process ended
void CheckWhatIsLeft(const std::shared_ptr<Machine>& pMachine, const Life& life, bool bEndedMayReturn)
{
    std::multiset<std::string> setFound;
    for (const std::string& strBody : BodiesOf(FoundBy(pMachine))) {
        setFound.insert(strBody);
    }
    for (const std::string& strBody : life.setWaiting) {
        EXPECT_EQ(setFound.count(strBody), 1U) << strBody;
    }
    for (const std::string& strBody : life.setEnded) {
        EXPECT_LE(setFound.count(strBody), bEndedMayReturn ? 1U : 0U) << strBody;
    }
}

} // namespace

TEST(Failure, OfAnyOperationLosesNothing)
{
    const auto eErrors = {std::errc::no_space_on_device, std::errc::io_error, std::errc::too_many_files_open};
    for (const std::errc eError : eErrors) {
        std::uint64_t nCount = 0;
        for (std::uint64_t nFailing = 0; nFailing <= nCount; ++nFailing) {
            SCOPED_TRACE(std::to_string(nFailing) + ": " + std::make_error_code(eError).message());
            const auto pMachine = std::make_shared<Machine>();
            std::string strFailed;
            nCount = 0;
            pMachine->fnBefore = [&](const std::string& strOperation, const std::string& strPath) {
                if (nCount++ != nFailing) {
                    return std::error_code();
                }
                strFailed = strOperation + " " + strPath;
                return std::make_error_code(eError);
            };
            Life life;
            Live(pMachine, life);
            SCOPED_TRACE(strFailed);
            pMachine->fnBefore = nullptr;
            CheckWhatIsLeft(pMachine, life, false);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
        EXPECT_GT(nCount, 200U);
    }
}

TEST(Failure, OfEverythingLosesNothing)
{
    const std::uint64_t nFirst = Seed();
    for (std::uint64_t n = 0; n < 200 && !testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nFirst + n));
        Machine::Random random(nFirst + n);
        const auto pMachine = std::make_shared<Machine>();
        pMachine->fnBefore = [&random](const std::string&, const std::string&) {
            return random() % 5 == 0 ? std::make_error_code(std::errc::io_error) : std::error_code();
        };
        Life life;
        Live(pMachine, life);
        pMachine->fnBefore = nullptr;
        CheckWhatIsLeft(pMachine, life, true);
    }
}
