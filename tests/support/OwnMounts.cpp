#include "OwnMounts.h"

#include <cerrno>
#include <fstream>
#include <system_error>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace
{

std::string Why(const char* szWhat)
{
    return std::string(szWhat) + ": " + std::generic_category().message(errno);
}

bool Write(const char* szFile, const std::string& strText)
{
    std::ofstream file(szFile);
    file << strText << std::flush;
    return file.good();
}

/// In a new user namespace a process has no identity until it maps one: here the same as before.
bool StayTheSameUser(uid_t nUser, gid_t nGroup)
{
    const auto Itself = [](unsigned nId) { return std::to_string(nId) + ' ' + std::to_string(nId) + " 1"; };
    return Write("/proc/self/setgroups", "deny") && Write("/proc/self/uid_map", Itself(nUser)) &&
           Write("/proc/self/gid_map", Itself(nGroup));
}

} // namespace

std::string OwnMounts()
{
    const uid_t nUser = ::geteuid();
    const gid_t nGroup = ::getegid();
    if (::unshare(CLONE_NEWNS) != 0) { // outside of a user namespace, only root may do this
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return Why("no namespaces for this user");
        }
        if (!StayTheSameUser(nUser, nGroup)) {
            return Why("no user in the new namespace");
        }
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 ? ""
                                                                             : Why("no mounts of its own");
}

std::string PutInPlaceOf(const std::filesystem::path& place, const std::filesystem::path& folder)
{
    return ::mount(folder.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0 ? "" : Why(place.c_str());
}

std::string PutDiskInPlaceOf(const std::filesystem::path& place, std::size_t nBytes)
{
    const std::string strSize = "size=" + std::to_string(nBytes);
    return ::mount("tmpfs", place.c_str(), "tmpfs", 0, strSize.c_str()) == 0 ? "" : Why(place.c_str());
}

std::string TakeFromPlaceOf(const std::filesystem::path& place)
{
    return ::umount(place.c_str()) == 0 ? "" : Why(place.c_str());
}
