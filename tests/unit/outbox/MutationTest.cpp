// Somebody changes a file of the outbox: only what was touched is lost, and no start fails.
// KTS_OUTBOX_MUTATIONS sets their number, KTS_OUTBOX_SEED the first seed.

#include "LongRun.h"
#include "StoreHelp.h"

#include "outbox/RecordScan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

using namespace outbox;

namespace
{

/// A folder with reports of three processes, some of which have ended.
std::shared_ptr<Machine> Prepared()
{
    auto pMachine = std::make_shared<Machine>();
    for (int nProcess = 0; nProcess < 3; ++nProcess) {
        const auto pStore = OpenStore(pMachine);
        std::vector<ReportId> vecIds;
        for (int i = 0; i < 12; ++i) {
            Report report = MakeReport("{\"text\":\"R1 " + std::to_string(i) + "\"}");
            vecIds.push_back(pStore->Add(report).value());
        }
        for (const std::size_t nEnded : {2U, 3U, 9U}) {
            pStore->End(vecIds[nEnded], Ending::Acknowledged);
        }
        pStore->Bury(vecIds[5], Ending::Dead, "no", 400);
    }
    return pMachine;
}

std::set<std::string> KeysOf(const std::vector<Waiting>& vecWaiting)
{
    std::set<std::string> setKeys;
    for (const Waiting& waiting : vecWaiting) {
        EXPECT_TRUE(setKeys.insert(waiting.report.strKey).second) << "twice: " << waiting.report.strKey;
    }
    return setKeys;
}

/// The keys of the records of a file that have a byte in the range, or around an empty range.
std::set<std::string> KeysIn(const std::string& strFile, const std::string& strContent, std::size_t nFrom,
                             std::size_t nTo)
{
    std::set<std::string> setKeys;
    const auto pMachine = std::make_shared<Machine>();
    pMachine->Put("file", strContent);
    std::error_code error;
    const auto pFile = MemoryDisk(pMachine).OpenToRead("file", error);
    RecordScan scan(*pFile, strFile.substr(5, 32)); // runs/RUN/...
    Record record;
    for (auto piece = scan.Next(record); piece.eKind == RecordScan::Kind::Record; piece = scan.Next(record)) {
        if (piece.nOffset < std::max(nTo, nFrom) && nFrom < piece.nOffset + piece.nBytes) {
            setKeys.insert(record.report.strKey);
        }
    }
    return setKeys;
}

class Mutation
{
public:
    Mutation(Machine& machine, std::uint64_t nSeed) : m_machine(machine), m_random(nSeed) {}

    /// @return the keys of the reports that may be lost
    std::set<std::string> Apply()
    {
        const std::map<std::string, std::string> mapFiles = m_machine.Files();
        const auto it = std::next(mapFiles.begin(), static_cast<std::ptrdiff_t>(Below(mapFiles.size())));
        const std::string& strFile = it->first;
        const std::string& strContent = it->second;
        const std::size_t nFrom = Below(strContent.size() + 1);
        const std::size_t nTo = nFrom + Below(std::min<std::size_t>(strContent.size() - nFrom, 400) + 1);
        std::string strChanged = strContent;
        std::size_t nTouchedTo = nTo;
        switch (Below(8)) {
        case 0:
            strChanged.replace(nFrom, nTo - nFrom, nTo - nFrom, '\0');
            break;
        case 1:
            strChanged.erase(nFrom, nTo - nFrom);
            break;
        case 2: // doubles a piece
            strChanged.insert(nFrom, strContent.substr(nFrom, nTo - nFrom));
            nTouchedTo = nFrom;
            break;
        case 3: // inserts a piece of the same file
            strChanged.insert(nFrom, strContent.substr(Below(strContent.size() + 1), 200));
            nTouchedTo = nFrom;
            break;
        case 4:
            strChanged.resize(nFrom);
            nTouchedTo = strContent.size();
            break;
        case 5:
            for (std::size_t i = nFrom; i < nTo; ++i) {
                strChanged[i] = static_cast<char>(m_random());
            }
            break;
        case 6: // a file goes
            m_machine.Take(strFile);
            return Touched(strFile, strContent, 0, strContent.size());
        default: // the file of another run
            strChanged =
                std::next(mapFiles.begin(), static_cast<std::ptrdiff_t>(Below(mapFiles.size())))->second;
            nTouchedTo = strContent.size();
            m_machine.Put(strFile, strChanged);
            return Touched(strFile, strContent, 0, nTouchedTo);
        }
        m_machine.Put(strFile, strChanged);
        return Touched(strFile, strContent, nFrom, nTouchedTo);
    }

private:
    static std::set<std::string> Touched(const std::string& strFile, const std::string& strContent,
                                         std::size_t nFrom, std::size_t nTo)
    {
        const bool bRecords = strFile.find(".seg") != std::string::npos;
        return bRecords ? KeysIn(strFile, strContent, nFrom, nTo) : std::set<std::string>();
    }

    std::size_t Below(std::size_t nBound)
    {
        return std::uniform_int_distribution<std::size_t>(0, nBound - 1)(m_random);
    }

    Machine& m_machine;
    Machine::Random m_random;
};

} // namespace

TEST(Mutation, LosesOnlyWhatItTouches)
{
    const std::shared_ptr<Machine> pPrepared = Prepared();
    const std::set<std::string> setBefore = KeysOf(FoundBy(pPrepared->Copy()));
    ASSERT_EQ(setBefore.size(), 3U * 8U);
    const std::uint64_t nFirst = Seed();
    std::uint64_t nLost = 0;
    Cases cases("KTS_OUTBOX_MUTATIONS", 300);
    for (; cases.HasNext() && !HasFailure(); cases.Next()) {
        const std::uint64_t n = cases.Done();
        SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nFirst + n));
        const std::shared_ptr<Machine> pMachine = pPrepared->Copy();
        const std::set<std::string> setTouched = Mutation(*pMachine, nFirst + n).Apply();
        const auto pStore = OpenStore(pMachine);
        pStore->Adopt();
        const std::set<std::string> setFound = KeysOf(AllWaiting(*pStore));
        for (const std::string& strKey : setBefore) {
            EXPECT_EQ(setFound.count(strKey) + setTouched.count(strKey) > 0, true) << "lost: " << strKey;
            nLost += 1 - setFound.count(strKey);
        }
        Report report = MakeReport("after");
        EXPECT_TRUE(pStore->Add(report)) << pStore->WhyNot();
    }
    NoteFigure("changes of the folder",
               cases.Reached() + " mutations, " + std::to_string(nLost) + " reports lost that were touched");
    EXPECT_GT(nLost, cases.Done() / 10) << "the mutations touched nothing";
}
