// A host that lacks the resource named by its second argument. For each callback it prints a line: type,
// error.
//
//   short_host URL SHORTAGE

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

std::string g_strUrl;
std::mutex g_mutex;
std::condition_variable g_condition;
int g_nCallbacks = 0;

void Receive(const std::string& /*body*/, int nType, void* /*pUserData*/, int nHttpError)
{
    std::printf("%d %d\n", nType, nHttpError);
    std::fflush(stdout);
    const std::lock_guard<std::mutex> lock(g_mutex);
    ++g_nCallbacks;
    g_condition.notify_all();
}

/// Sends a request whose type is the number, and waits for its callback.
void Exchange(int nNumber)
{
    CHttpClientSendRequest(nNumber, g_strUrl, "{}", nullptr, true, false, "");
    std::unique_lock<std::mutex> lock(g_mutex);
    g_condition.wait(lock, [nNumber] { return g_nCallbacks == nNumber; });
}

void LimitSoftly(__rlimit_resource resource, rlim_t nLimit)
{
    rlimit limit{};
    ::getrlimit(resource, &limit);
    limit.rlim_cur = nLimit;
    if (::setrlimit(resource, &limit) != 0) {
        std::abort();
    }
}

/// Opens every descriptor that the process may have.
std::vector<int> TakeAllDescriptors()
{
    LimitSoftly(RLIMIT_NOFILE, 64);
    std::vector<int> vecTaken;
    for (int nFile = 0; (nFile = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) {
        vecTaken.push_back(nFile);
    }
    return vecTaken;
}

void GiveBack(const std::vector<int>& vecTaken)
{
    for (const int nFile : vecTaken) {
        ::close(nFile);
    }
}

void RunOutOfDescriptors()
{
    CHttpClientInit();
    const std::vector<int> vecTaken = TakeAllDescriptors();
    Exchange(1);
    GiveBack(vecTaken);
    Exchange(2);
}

void StartWithoutDescriptors()
{
    const std::vector<int> vecTaken = TakeAllDescriptors();
    CHttpClientInit();
    GiveBack(vecTaken);
    Exchange(1);
    CHttpClientInit();
    Exchange(2);
}

/// Simulates a disk that is full after the first kilobyte of the log, and later has room again. A receiver
/// that throws makes the transport log.
void FillTheDisk()
{
    std::signal(SIGXFSZ, SIG_IGN);
    LimitSoftly(RLIMIT_FSIZE, 1024);
    CHttpClientSetResponseCallBack(
        [](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            Receive(strBody, nType, pUserData, nHttpError);
            throw std::runtime_error(std::string(500, 'x'));
        });
    CHttpClientInit();
    for (int nNumber = 1; nNumber <= 20; ++nNumber) {
        Exchange(nNumber);
    }
    CHttpClientUnInit(); // by now the transport has logged everything
    LimitSoftly(RLIMIT_FSIZE, RLIM_INFINITY);
    std::this_thread::sleep_for(std::chrono::milliseconds(1500)); // the log is reopened at most once a second
    Log_Write(1, "short_host", 1, "room again");
}

} // namespace

int main(int /*nArguments*/, char** ppArguments)
{
    g_strUrl = ppArguments[1];
    const std::string strShortage = ppArguments[2];
    CHttpClientSetResponseCallBack(Receive);
    if (strShortage == "OfDescriptors") {
        RunOutOfDescriptors();
    } else if (strShortage == "OfDescriptorsAtTheStart") {
        StartWithoutDescriptors();
    } else if (strShortage == "OfDisk") {
        FillTheDisk();
    }
    CHttpClientUnInit();
    return 0;
}
