// A host that stores reports until it is killed.
//
//     storing_host FOLDER        tells the key of each report after it was kept, one a line
//     storing_host FOLDER adopt  takes over what it can, tells the keys, then waits for the end of its input
//     storing_host FOLDER limit  may write files of 100,000 bytes only; tells how many reports were kept

#include "outbox/Store.h"

#include <cstdio>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

using namespace outbox;

namespace
{

bool Tell(const std::string& strLine)
{
    const std::string strWhole = strLine + "\n";
    return ::write(STDOUT_FILENO, strWhole.data(), strWhole.size()) == static_cast<ssize_t>(strWhole.size());
}

Report MakeReport(int nNumber)
{
    Report report;
    report.nType = 3112;
    report.strUrl = "http://127.0.0.1/";
    report.strBody = std::string(static_cast<std::size_t>(nNumber % 700), 'b');
    return report;
}

void StoreUntilKilled(Store& store)
{
    for (int i = 0;; ++i) {
        Report report = MakeReport(i);
        if (!store.Add(report) || !Tell(report.strKey)) {
            return;
        }
        if (i % 50 == 49) {
            store.Sync();
        }
    }
}

void TellAll(Store& store)
{
    store.Adopt();
    ReportId after;
    while (const auto optNext = store.Next(after)) {
        after = optNext->id;
        Tell(optNext->report.strKey);
    }
    Tell("end");
    char c = 0;
    while (::read(STDIN_FILENO, &c, 1) > 0) {
    }
}

void StoreWithinLimit(Store& store)
{
    struct rlimit limit {
        100'000, 100'000
    };
    ::setrlimit(RLIMIT_FSIZE, &limit);
    int nKept = 0;
    for (int i = 0; i < 1000; ++i) {
        Report report = MakeReport(699);
        nKept += store.Add(report) ? 1 : 0;
    }
    Report large = MakeReport(0);
    large.strBody.assign(200'000, 'x');
    const bool bLarge = store.Add(large).has_value();
    Tell(std::to_string(nKept) + (bLarge ? " and a large one" : " and no large one"));
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    const std::string strWhat = nArguments > 2 ? ppArguments[2] : "";
    std::string strWhyNot;
    std::unique_ptr<Disk> pDisk = nArguments > 1 ? OpenDisk(ppArguments[1], strWhyNot) : nullptr;
    if (pDisk == nullptr) {
        std::fprintf(stderr, "%s\n", strWhyNot.c_str());
        return 2;
    }
    StoreSettings settings;
    settings.limits.nSegmentBytes = strWhat == "limit" ? 4U << 20U : 64U << 10U;
    Store store(std::move(pDisk), settings);
    strWhat == "adopt"   ? TellAll(store)
    : strWhat == "limit" ? StoreWithinLimit(store)
                         : StoreUntilKilled(store);
    return 0;
}
