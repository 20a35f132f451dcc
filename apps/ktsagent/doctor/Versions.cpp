#include "Versions.h"

#include <QSslSocket>

#include <curl/curl.h>
#include <sqlite3.h>

namespace
{

std::string OrNone(const std::string& strVersion)
{
    return strVersion.empty() ? "none" : strVersion;
}

} // namespace

std::vector<SKtsVersion> AllVersions()
{
    std::vector<SKtsVersion> vecVersions = KtsVersions();
    const curl_version_info_data& curl = *::curl_version_info(CURLVERSION_NOW);
    vecVersions.push_back({"libcurl", curl.version});
    vecVersions.push_back({"its TLS library", OrNone(curl.ssl_version == nullptr ? "" : curl.ssl_version)});
    vecVersions.push_back({"Qt's TLS library", OrNone(QSslSocket::sslLibraryVersionString().toStdString())});
    vecVersions.push_back({"SQLite", ::sqlite3_libversion()});
#if defined(KTSAGENT_SPDLOG_VERSION)
    vecVersions.push_back(
        {"spdlog", KTSAGENT_SPDLOG_VERSION}); // only headers: the version that it was built with
#endif
    return vecVersions;
}

std::string VersionLine()
{
    std::string strLine;
    for (const SKtsVersion& version : AllVersions()) {
        strLine += (strLine.empty() ? "" : ", ") + version.strLibrary + ' ' + version.strVersion;
    }
    return strLine;
}
