// A host that stores reports until it is killed, which another thread does after a random time:
//
//     killed_storing_host FOLDER MICROSECONDS
//
// It tells the key of each report after it was kept, one a line. The system ends the process in the midst of
// whatever it does, as if another one had killed it.

#include "outbox/Store.h"

#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include <windows.h>

namespace
{

bool Tell(const std::string& strLine)
{
    const std::string strWhole = strLine + "\n";
    DWORD nWritten = 0;
    return ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), strWhole.data(),
                       static_cast<DWORD>(strWhole.size()), &nWritten, nullptr) != FALSE &&
           nWritten == strWhole.size();
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    std::string strWhyNot;
    std::unique_ptr<outbox::Disk> pDisk =
        nArguments == 3 ? outbox::OpenDisk(ppArguments[1], strWhyNot) : nullptr;
    if (pDisk == nullptr) {
        std::cerr << strWhyNot << '\n';
        return 2;
    }
    outbox::StoreSettings settings;
    settings.limits.nSegmentBytes = 64U << 10U;
    settings.limits.nFree = 0;
    outbox::Store store(std::move(pDisk), settings);
    std::thread([time = std::chrono::microseconds(std::stoi(ppArguments[2]))] {
        std::this_thread::sleep_for(time);
        ::TerminateProcess(::GetCurrentProcess(), 9);
    }).detach();
    for (std::size_t nNumber = 0;; ++nNumber) {
        outbox::Report report;
        report.nType = 3112;
        report.strUrl = "http://127.0.0.1/";
        report.strBody = std::string(nNumber % 700, 'b');
        if (!store.Add(report) || !Tell(report.strKey)) {
            return 3;
        }
        if (nNumber % 50 == 49) {
            store.Sync();
        }
    }
}
