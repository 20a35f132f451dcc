// A home folder for this process and those that it starts, so that no test writes into its user's home: their
// logs go there unless the test names another folder. It is created before anything else runs.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

namespace
{

int ProcessId()
{
#if defined(_WIN32)
    return ::_getpid();
#else
    return ::getpid();
#endif
}

class OwnHome
{
public:
    OwnHome() : m_strPath((std::filesystem::temp_directory_path() / "kts-home-XXXXXX").string())
    {
        if (::mkdtemp(m_strPath.data()) == nullptr) {
            std::perror(m_strPath.c_str());
            std::abort();
        }
        for (const char* szName : {"HOME", "LOCALAPPDATA"}) { // of Linux and of Windows
            ::setenv(szName, m_strPath.c_str(), 1);
        }
        for (const char* szName :
             {"CLOG_DIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
            ::unsetenv(szName);
        }
    }

    ~OwnHome()
    {
        if (m_nProcess == ProcessId()) { // and not one that was forked
            std::error_code error;
            std::filesystem::remove_all(m_strPath, error);
        }
    }

    OwnHome(const OwnHome&) = delete;
    OwnHome& operator=(const OwnHome&) = delete;

private:
    std::string m_strPath;
    const int m_nProcess = ProcessId();
};

const OwnHome g_home;

} // namespace
