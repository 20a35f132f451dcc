#include "FailingCalls.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

namespace
{

// Plain data: allocations use it before anything else of the program may exist.
std::atomic<const char*> g_szCall{nullptr};
std::atomic<long> g_nUntilFailure{0}; ///< 1: the next call fails
std::atomic<long> g_nToFail{0};
std::atomic<std::size_t> g_nFailed{0};
std::atomic<bool> g_bWatchThreads{false};
thread_local bool t_bWatched = false;

/// Counts a call. Returns whether it must fail.
bool Fails(const char* szCall)
{
    const char* const szArmed = g_szCall.load();
    if (szArmed == nullptr || std::strcmp(szArmed, szCall) != 0) {
        return false;
    }
    const long nUntil = g_nUntilFailure.fetch_sub(1);
    if (nUntil > 1 || nUntil <= 1 - g_nToFail.load()) {
        return false;
    }
    ++g_nFailed;
    return true;
}

/// An option that sets trusted authorities. It uses arrays, since recording it must not allocate: an
/// allocation could be made to fail.
struct Trust {
    int nOption;
    std::array<char, 256> text;
};

std::mutex g_mutexTrust;
std::array<Trust, 4> g_trust{{{CURLOPT_CAINFO, {"default"}},
                              {CURLOPT_CAPATH, {"default"}},
                              {CURLOPT_PROXY_CAINFO, {"default"}},
                              {CURLOPT_PROXY_CAPATH, {"default"}}}};

Trust* FindTrust(int nOption)
{
    Trust* const pFound = std::find_if(g_trust.begin(), g_trust.end(),
                                       [&](const Trust& trust) { return trust.nOption == nOption; });
    return pFound == g_trust.end() ? nullptr : pFound;
}

void NoteTrust(int nOption, const void* pValue)
{
    if (Trust* const pTrust = FindTrust(nOption)) {
        const std::lock_guard<std::mutex> lock(g_mutexTrust);
        const char* const szValue = pValue == nullptr ? "null" : static_cast<const char*>(pValue);
        pTrust->text.fill('\0');
        std::strncpy(pTrust->text.data(), szValue, pTrust->text.size() - 1);
    }
}

bool OnMainThread()
{
    return ::gettid() == ::getpid();
}

struct ThreadStart {
    void* (*pfnRun)(void*);
    void* pArgument;
};

void* RunWatched(void* pStart)
{
    const ThreadStart start = *static_cast<ThreadStart*>(pStart);
    std::free(pStart);
    t_bWatched = true;
    return start.pfnRun(start.pArgument);
}

void* Allocate(std::size_t nBytes)
{
    return Fails("malloc") ? nullptr : std::malloc(nBytes);
}

void* Reallocate(void* pBytes, std::size_t nBytes)
{
    return Fails("malloc") ? nullptr : std::realloc(pBytes, nBytes);
}

void* AllocateZeros(std::size_t nCount, std::size_t nBytes)
{
    return Fails("malloc") ? nullptr : std::calloc(nCount, nBytes);
}

char* Duplicate(const char* szText)
{
    return Fails("malloc") ? nullptr : ::strdup(szText);
}

} // namespace

void ArmFailure(const char* szCall, std::size_t nNth, std::size_t nFailures)
{
    g_szCall = nullptr;
    g_nFailed = 0;
    g_nToFail = static_cast<long>(nFailures);
    g_nUntilFailure = static_cast<long>(nNth);
    g_szCall = szCall;
}

std::size_t DisarmFailure()
{
    g_szCall = nullptr;
    return g_nFailed;
}

void WatchThreads(bool bOn)
{
    g_bWatchThreads = bOn;
}

std::string LastTrust(int nOption)
{
    const std::lock_guard<std::mutex> lock(g_mutexTrust);
    return FindTrust(nOption)->text.data();
}

bool WatchLibcurlAllocations()
{
    return curl_global_init_mem(CURL_GLOBAL_DEFAULT, Allocate, std::free, Reallocate, Duplicate,
                                AllocateZeros) == CURLE_OK;
}

// Replaces the library's; its variants for sizes and alignments lead here.
void* operator new(std::size_t nBytes)
{
    void* const pBytes =
        t_bWatched && Fails("operator new") ? nullptr : std::malloc(nBytes == 0 ? 1 : nBytes);
    if (pBytes == nullptr) {
        throw std::bad_alloc();
    }
    return pBytes;
}

void operator delete(void* pBytes) noexcept
{
    std::free(pBytes);
}

void operator delete(void* pBytes, std::size_t /*nBytes*/) noexcept
{
    std::free(pBytes);
}

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's --wrap names them so

__attribute__((visibility("default"))) int
pthread_create(pthread_t* pThread, const pthread_attr_t* pAttributes, void* (*pfnRun)(void*), void* pArgument)
{
    static const auto pfnReal =
        reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
    if ((t_bWatched || OnMainThread()) && Fails("pthread_create")) {
        return EAGAIN;
    }
    if (!g_bWatchThreads) {
        return pfnReal(pThread, pAttributes, pfnRun, pArgument);
    }
    auto* const pStart = static_cast<ThreadStart*>(std::malloc(sizeof(ThreadStart)));
    *pStart = {pfnRun, pArgument};
    return pfnReal(pThread, pAttributes, RunWatched, pStart);
}

#if !defined(__SANITIZE_THREAD__) // that sanitizer already replaces it
int __real_atexit(void (*pfnCall)());
int __wrap_atexit(void (*pfnCall)());
int __wrap_atexit(void (*pfnCall)())
{
    return Fails("atexit") ? -1 : __real_atexit(pfnCall);
}
#endif

CURL* __real_curl_easy_init();
CURL* __wrap_curl_easy_init();
CURL* __wrap_curl_easy_init()
{
    return Fails("curl_easy_init") ? nullptr : __real_curl_easy_init();
}

CURLcode __real_curl_easy_setopt(CURL* pEasy, int nOption, ...);
CURLcode __wrap_curl_easy_setopt(CURL* pEasy, int nOption, ...);
CURLcode __wrap_curl_easy_setopt(CURL* pEasy, int nOption, ...)
{
    if (Fails("curl_easy_setopt")) {
        return CURLE_OUT_OF_MEMORY;
    }
    va_list arguments;
    va_start(arguments, nOption);
    // Numbers, offsets and pointers are passed in the same way.
    static_assert(sizeof(long) == sizeof(void*) && sizeof(curl_off_t) == sizeof(void*));
    void* const pValue = va_arg(arguments, void*);
    va_end(arguments);
    NoteTrust(nOption, pValue);
    return __real_curl_easy_setopt(pEasy, nOption, pValue);
}

curl_slist* __real_curl_slist_append(curl_slist* pList, const char* szText);
curl_slist* __wrap_curl_slist_append(curl_slist* pList, const char* szText);
curl_slist* __wrap_curl_slist_append(curl_slist* pList, const char* szText)
{
    return Fails("curl_slist_append") ? nullptr : __real_curl_slist_append(pList, szText);
}

CURLSHcode __real_curl_share_setopt(CURLSH* pShare, int nOption, ...);
CURLSHcode __wrap_curl_share_setopt(CURLSH* pShare, int nOption, ...);
CURLSHcode __wrap_curl_share_setopt(CURLSH* pShare, int nOption, ...)
{
    if (Fails("curl_share_setopt")) {
        return CURLSHE_NOMEM;
    }
    va_list arguments;
    va_start(arguments, nOption);
    const int nShared = va_arg(arguments, int);
    va_end(arguments);
    return __real_curl_share_setopt(pShare, nOption, nShared);
}

CURLM* __real_curl_multi_init();
CURLM* __wrap_curl_multi_init();
CURLM* __wrap_curl_multi_init()
{
    return Fails("curl_multi_init") ? nullptr : __real_curl_multi_init();
}

CURLMcode __real_curl_multi_add_handle(CURLM* pMulti, CURL* pEasy);
CURLMcode __wrap_curl_multi_add_handle(CURLM* pMulti, CURL* pEasy);
CURLMcode __wrap_curl_multi_add_handle(CURLM* pMulti, CURL* pEasy)
{
    return Fails("curl_multi_add_handle") ? CURLM_OUT_OF_MEMORY : __real_curl_multi_add_handle(pMulti, pEasy);
}

CURLMcode __real_curl_multi_perform(CURLM* pMulti, int* pRunning);
CURLMcode __wrap_curl_multi_perform(CURLM* pMulti, int* pRunning);
CURLMcode __wrap_curl_multi_perform(CURLM* pMulti, int* pRunning)
{
    return Fails("curl_multi_perform") ? CURLM_OUT_OF_MEMORY : __real_curl_multi_perform(pMulti, pRunning);
}

CURLMcode __real_curl_multi_poll(CURLM* pMulti, curl_waitfd* pWaits, unsigned nWaits, int nMilliseconds,
                                 int* pReady);
CURLMcode __wrap_curl_multi_poll(CURLM* pMulti, curl_waitfd* pWaits, unsigned nWaits, int nMilliseconds,
                                 int* pReady);
CURLMcode __wrap_curl_multi_poll(CURLM* pMulti, curl_waitfd* pWaits, unsigned nWaits, int nMilliseconds,
                                 int* pReady)
{
    return Fails("curl_multi_poll") ? CURLM_OUT_OF_MEMORY
                                    : __real_curl_multi_poll(pMulti, pWaits, nWaits, nMilliseconds, pReady);
}

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

} // extern "C"
