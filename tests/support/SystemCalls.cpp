#include "SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <map>
#include <string>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace
{

struct CallFailure {
    int nError;
    int nAfter;
    int nTimes;
    std::function<void()> fnMeanwhile;
};

std::map<std::string, CallFailure>& Failures()
{
    static std::map<std::string, CallFailure> failures;
    return failures;
}

bool g_bOtherUser = false;
bool g_bOtherDevice = false;
bool g_bLongMachineName = false;

/// Counts a call. Returns whether it must fail; `errno` is then set.
bool Fails(const char* szCall)
{
    const auto it = Failures().find(szCall);
    if (it == Failures().end() || it->second.nAfter-- > 0 || it->second.nTimes-- <= 0) {
        return false;
    }
    it->second.fnMeanwhile();
    if (it->second.nError != 0) {
        errno = it->second.nError;
    }
    return true;
}

} // namespace

FailingCall::FailingCall(const char* szCall, int nError, int nAfter, int nTimes,
                         std::function<void()> fnMeanwhile)
    : m_szCall(szCall)
{
    Failures()[szCall] = {nError, nAfter, nTimes, std::move(fnMeanwhile)};
}

FailingCall::~FailingCall()
{
    Failures().erase(m_szCall);
}

OtherUser::OtherUser()
{
    g_bOtherUser = true;
}

OtherUser::~OtherUser()
{
    g_bOtherUser = false;
}

OtherDevice::OtherDevice()
{
    g_bOtherDevice = true;
}

OtherDevice::~OtherDevice()
{
    g_bOtherDevice = false;
}

LongMachineName::LongMachineName()
{
    g_bLongMachineName = true;
}

LongMachineName::~LongMachineName()
{
    g_bLongMachineName = false;
}

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's --wrap names them so

extern "C" {

int __real_open(const char* szFile, int nFlags, ...);
int __wrap_open(const char* szFile, int nFlags, ...);
int __wrap_open(const char* szFile, int nFlags, ...)
{
    va_list arguments;
    va_start(arguments, nFlags);
    const mode_t nMode = (nFlags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return Fails("open") ? -1 : __real_open(szFile, nFlags, nMode);
}

int __real_renameat2(int nFolder, const char* szFrom, int nNewFolder, const char* szTo, unsigned nFlags);
int __wrap_renameat2(int nFolder, const char* szFrom, int nNewFolder, const char* szTo, unsigned nFlags);
int __wrap_renameat2(int nFolder, const char* szFrom, int nNewFolder, const char* szTo, unsigned nFlags)
{
    return Fails("renameat2") ? -1 : __real_renameat2(nFolder, szFrom, nNewFolder, szTo, nFlags);
}

int __real_link(const char* szFrom, const char* szTo);
int __wrap_link(const char* szFrom, const char* szTo);
int __wrap_link(const char* szFrom, const char* szTo)
{
    return Fails("link") ? -1 : __real_link(szFrom, szTo);
}

int __real_rename(const char* szFrom, const char* szTo);
int __wrap_rename(const char* szFrom, const char* szTo);
int __wrap_rename(const char* szFrom, const char* szTo)
{
    return Fails("rename") ? -1 : __real_rename(szFrom, szTo);
}

int __real_fcntl(int nDescriptor, int nCommand, ...);
int __wrap_fcntl(int nDescriptor, int nCommand, ...);
int __wrap_fcntl(int nDescriptor, int nCommand, ...)
{
    va_list arguments;
    va_start(arguments, nCommand);
    void* const pArgument = va_arg(arguments, void*); // a number or a pointer, both are passed on in this way
    va_end(arguments);
    return Fails("fcntl") ? -1 : __real_fcntl(nDescriptor, nCommand, pArgument);
}

int __real_fstat(int nDescriptor, struct stat* pStatus);
int __wrap_fstat(int nDescriptor, struct stat* pStatus);
int __wrap_fstat(int nDescriptor, struct stat* pStatus)
{
    const int nResult = Fails("fstat") ? -1 : __real_fstat(nDescriptor, pStatus);
    if (nResult == 0 && g_bOtherDevice) {
        ++pStatus->st_dev;
    }
    return nResult;
}

int __real_lstat(const char* szFile, struct stat* pStatus);
int __wrap_lstat(const char* szFile, struct stat* pStatus);
int __wrap_lstat(const char* szFile, struct stat* pStatus)
{
    const int nResult = Fails("lstat") ? -1 : __real_lstat(szFile, pStatus);
    if (nResult == 0 && g_bOtherDevice) {
        ++pStatus->st_dev;
    }
    return nResult;
}

int __real_ftruncate(int nDescriptor, off_t nBytes);
int __wrap_ftruncate(int nDescriptor, off_t nBytes);
int __wrap_ftruncate(int nDescriptor, off_t nBytes)
{
    return Fails("ftruncate") ? -1 : __real_ftruncate(nDescriptor, nBytes);
}

ssize_t __real_write(int nDescriptor, const void* pBytes, size_t nBytes);
ssize_t __wrap_write(int nDescriptor, const void* pBytes, size_t nBytes);
ssize_t __wrap_write(int nDescriptor, const void* pBytes, size_t nBytes)
{
    if (Fails("write")) {
        return Failures().at("write").nError == 0 ? 0 : -1;
    }
    return __real_write(nDescriptor, pBytes, nBytes);
}

int __real_fchmod(int nDescriptor, mode_t nMode);
int __wrap_fchmod(int nDescriptor, mode_t nMode);
int __wrap_fchmod(int nDescriptor, mode_t nMode)
{
    return Fails("fchmod") ? -1 : __real_fchmod(nDescriptor, nMode);
}

int __real_fchmodat(int nFolder, const char* szFile, mode_t nMode, int nFlags);
int __wrap_fchmodat(int nFolder, const char* szFile, mode_t nMode, int nFlags);
int __wrap_fchmodat(int nFolder, const char* szFile, mode_t nMode, int nFlags)
{
    return Fails("fchmodat") ? -1 : __real_fchmodat(nFolder, szFile, nMode, nFlags);
}

int __real_chmod(const char* szFile, mode_t nMode);
int __wrap_chmod(const char* szFile, mode_t nMode);
int __wrap_chmod(const char* szFile, mode_t nMode)
{
    return Fails("chmod") ? -1 : __real_chmod(szFile, nMode);
}

uid_t __real_geteuid();
uid_t __wrap_geteuid();
uid_t __wrap_geteuid()
{
    return __real_geteuid() + (g_bOtherUser ? 1 : 0);
}

int __real_gethostname(char* pName, size_t nBytes);
int __wrap_gethostname(char* pName, size_t nBytes);
int __wrap_gethostname(char* pName, size_t nBytes)
{
    if (g_bLongMachineName) {
        std::fill_n(pName, nBytes, 'x');
        return 0;
    }
    return Fails("gethostname") ? -1 : __real_gethostname(pName, nBytes);
}

int __real_eventfd(unsigned nCount, int nFlags);
int __wrap_eventfd(unsigned nCount, int nFlags);
int __wrap_eventfd(unsigned nCount, int nFlags)
{
    return Fails("eventfd") ? -1 : __real_eventfd(nCount, nFlags);
}

int __real_openat(int nFolder, const char* szFile, int nFlags, ...);
int __wrap_openat(int nFolder, const char* szFile, int nFlags, ...);
int __wrap_openat(int nFolder, const char* szFile, int nFlags, ...)
{
    va_list arguments;
    va_start(arguments, nFlags);
    const mode_t nMode = (nFlags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return Fails("openat") ? -1 : __real_openat(nFolder, szFile, nFlags, nMode);
}

ssize_t __real_pread(int nDescriptor, void* pBytes, size_t nBytes, off_t nOffset);
ssize_t __wrap_pread(int nDescriptor, void* pBytes, size_t nBytes, off_t nOffset);
ssize_t __wrap_pread(int nDescriptor, void* pBytes, size_t nBytes, off_t nOffset)
{
    return Fails("pread") ? -1 : __real_pread(nDescriptor, pBytes, nBytes, nOffset);
}

int __real_fallocate(int nDescriptor, int nMode, off_t nOffset, off_t nBytes);
int __wrap_fallocate(int nDescriptor, int nMode, off_t nOffset, off_t nBytes);
int __wrap_fallocate(int nDescriptor, int nMode, off_t nOffset, off_t nBytes)
{
    return Fails("fallocate") ? -1 : __real_fallocate(nDescriptor, nMode, nOffset, nBytes);
}

int __real_flock(int nDescriptor, int nOperation);
int __wrap_flock(int nDescriptor, int nOperation);
int __wrap_flock(int nDescriptor, int nOperation)
{
    if (Fails("flock")) {
        return Failures().at("flock").nError == 0 ? 0 : -1;
    }
    return __real_flock(nDescriptor, nOperation);
}

int __real_fstatat(int nFolder, const char* szFile, struct stat* pStatus, int nFlags);
int __wrap_fstatat(int nFolder, const char* szFile, struct stat* pStatus, int nFlags);
int __wrap_fstatat(int nFolder, const char* szFile, struct stat* pStatus, int nFlags)
{
    return Fails("fstatat") ? -1 : __real_fstatat(nFolder, szFile, pStatus, nFlags);
}

int __real_fstatfs(int nDescriptor, struct statfs* pStatus);
int __wrap_fstatfs(int nDescriptor, struct statfs* pStatus);
int __wrap_fstatfs(int nDescriptor, struct statfs* pStatus)
{
    return Fails("fstatfs") ? -1 : __real_fstatfs(nDescriptor, pStatus);
}

int __real_fstatvfs(int nDescriptor, struct statvfs* pStatus);
int __wrap_fstatvfs(int nDescriptor, struct statvfs* pStatus);
int __wrap_fstatvfs(int nDescriptor, struct statvfs* pStatus)
{
    return Fails("fstatvfs") ? -1 : __real_fstatvfs(nDescriptor, pStatus);
}

DIR* __real_fdopendir(int nDescriptor);
DIR* __wrap_fdopendir(int nDescriptor);
DIR* __wrap_fdopendir(int nDescriptor)
{
    return Fails("fdopendir") ? nullptr : __real_fdopendir(nDescriptor);
}

dirent* __real_readdir(DIR* pListing);
dirent* __wrap_readdir(DIR* pListing);
dirent* __wrap_readdir(DIR* pListing)
{
    return Fails("readdir") ? nullptr : __real_readdir(pListing);
}

int __real_getrlimit(__rlimit_resource_t eResource, rlimit* pLimit);
int __wrap_getrlimit(__rlimit_resource_t eResource, rlimit* pLimit);
int __wrap_getrlimit(__rlimit_resource_t eResource, rlimit* pLimit)
{
    return Fails("getrlimit") ? -1 : __real_getrlimit(eResource, pLimit);
}

} // extern "C"

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
