// The input is the settings file of the plug-in's profile; the other profiles have no file.

#include "RecordingLog.h"
#include "Require.h"

#include "agent/EndpointSettings.h"
#include "agent/TlsSetting.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace
{

namespace fs = std::filesystem;

/// A settings root for this process only, in memory if the system has such a folder. It is removed when the
/// process ends.
class SettingsRoot
{
public:
    SettingsRoot()
    {
        const fs::path parent =
            fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
        std::string strRoot = (parent / "kts-settings-XXXXXX").string();
        if (::mkdtemp(strRoot.data()) == nullptr) {
            throw std::runtime_error("no temporary folder: " + strRoot);
        }
        m_root = strRoot;
        ::setenv("KTSHTTPAGENT_SETTINGS_ROOT", strRoot.c_str(), 1);
        fs::create_directories(File().parent_path());
    }

    ~SettingsRoot()
    {
        std::error_code error;
        fs::remove_all(m_root, error);
    }

    SettingsRoot(const SettingsRoot&) = delete;
    SettingsRoot& operator=(const SettingsRoot&) = delete;

    /// Qt reads a file again only if its size or time has changed, so each text gets a different time.
    void Write(const std::uint8_t* pText, std::size_t nSize)
    {
        std::ofstream(File(), std::ios::binary)
            .write(reinterpret_cast<const char*>(pText), static_cast<std::streamsize>(nSize));
        fs::last_write_time(File(), m_time += std::chrono::seconds(1));
    }

private:
    fs::path File() const { return m_root / "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin.ini"; }

    fs::path m_root;
    fs::file_time_type m_time = fs::file_time_type::clock::now();
};

bool IsPluginSetting(const EndpointSetting& setting)
{
    constexpr std::string_view PLUGIN = "KTSStartPlugin";
    const std::string_view strProfile = setting.szProfile;
    return strProfile.substr(strProfile.size() - PLUGIN.size()) == PLUGIN;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    static SettingsRoot root;
    ClearRecordedLog();
    root.Write(pData, nSize);
    const std::array<std::string, ENDPOINT_SETTING_COUNT> paths = ReadEndpointSettings();
    const std::size_t nLogged = RecordedLog().size();
    Require(nLogged <= 1, "a broken profile is said once");
    for (std::size_t nSetting = 0; nSetting < paths.size(); ++nSetting) {
        const bool bMayBeSet = nLogged == 0 && IsPluginSetting(ENDPOINT_SETTINGS.at(nSetting));
        Require(bMayBeSet || paths.at(nSetting).empty(),
                "a broken profile sets nothing, nor does a missing one");
    }
    ClearRecordedLog();
    const bool bTls = ReadTlsSetting();
    Require(RecordedLog().size() <= (bTls ? 1U : 0U), "a doubt is said once, and puts TLS on");
    return 0;
}
