#include "RaisedCopy.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// A group that this process may give to its files but does not run as. Root may give any group.
std::optional<gid_t> AnotherGroup()
{
    constexpr gid_t NO_GROUP = 65534;
    if (::geteuid() == 0) {
        return NO_GROUP;
    }
    std::vector<gid_t> vecGroups(static_cast<std::size_t>(std::max(::getgroups(0, nullptr), 0)));
    if (::getgroups(static_cast<int>(vecGroups.size()), vecGroups.data()) < 0) {
        return std::nullopt;
    }
    const auto found =
        std::find_if(vecGroups.begin(), vecGroups.end(), [](gid_t nGroup) { return nGroup != ::getegid(); });
    return found == vecGroups.end() ? std::nullopt : std::optional<gid_t>(*found);
}

} // namespace

RaisedCopy::RaisedCopy(const std::string& strProgram)
    : m_strCopy((m_folder.Path() / std::filesystem::path(strProgram).filename()).string())
{
    std::filesystem::copy_file(strProgram, m_strCopy);
    const std::optional<gid_t> nGroup = AnotherGroup();
    if (!nGroup) {
        m_strWhyNot = "this user is in one group only, and can raise no program's rights";
    } else if (::chown(m_strCopy.c_str(), static_cast<uid_t>(-1), *nGroup) != 0 ||
               ::chmod(m_strCopy.c_str(), S_ISGID | S_IRWXU | S_IXGRP) != 0) {
        m_strWhyNot = "a file can't be given a group: " + std::generic_category().message(errno);
    }
}
