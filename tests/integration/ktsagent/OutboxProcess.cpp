#include "OutboxProcess.h"

#include "outbox/Disk.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace
{

Json::Value ParsedJson(const std::string& strText)
{
    Json::Value value;
    std::istringstream text(strText);
    std::string strErrors;
    EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), text, &value, &strErrors))
        << strErrors << strText;
    return value;
}

outbox::Report SomeReport(const std::string& strBody, const std::string& strUrl)
{
    outbox::Report report;
    report.nType = 3112;
    report.strUrl = strUrl;
    report.strBody = strBody;
    return report;
}

} // namespace

OutboxProcess::OutboxProcess() : m_strFolder(m_folder.filePath("outbox"))
{
    qunsetenv("KTSHTTPAGENT_OUTBOX");
}

std::unique_ptr<outbox::Store> OutboxProcess::Open(std::int64_t nStoredMs) const
{
    std::string strWhyNot;
    auto pDisk = outbox::OpenDisk(std::filesystem::u8path(m_strFolder.toStdString()), strWhyNot);
    EXPECT_NE(pDisk, nullptr) << strWhyNot;
    outbox::StoreSettings settings;
    if (nStoredMs != 0) {
        settings.fnWallMs = [nStoredMs] { return nStoredMs; };
    }
    return std::make_unique<outbox::Store>(std::move(pDisk), std::move(settings));
}

std::string OutboxProcess::Add(outbox::Store& store, const std::string& strBody, const std::string& strUrl)
{
    outbox::Report report = SomeReport(strBody, strUrl);
    EXPECT_TRUE(store.Add(report));
    return report.strKey;
}

std::string OutboxProcess::Bury(outbox::Store& store, const std::string& strBody, outbox::Ending eEnding,
                                const std::string& strWhy)
{
    outbox::Report report = SomeReport(strBody, "http://10.0.0.5:8080/saveData");
    EXPECT_TRUE(store.Bury(store.Add(report).value(), eEnding, strWhy, 400));
    return report.strKey;
}

KtsagentRun OutboxProcess::Outbox(const QString& strCommand, const QStringList& lstMore) const
{
    return Run(QStringList{"outbox", strCommand, "--folder", m_strFolder} + lstMore);
}

Json::Value OutboxProcess::JsonOf(const QString& strCommand, const QStringList& lstMore) const
{
    return ParsedJson(Outbox(strCommand, lstMore + QStringList{"--json"}).strOut);
}

std::string OutboxProcess::Damage(const std::string& strText) const
{
    const auto pathFolder = std::filesystem::u8path(m_strFolder.toStdString());
    for (const auto& entry : std::filesystem::recursive_directory_iterator(pathFolder)) {
        std::stringstream content;
        content << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        const std::size_t nAt = content.str().find(strText);
        if (nAt != std::string::npos && entry.path().extension() == ".seg") {
            std::fstream file(entry.path(), std::ios::in | std::ios::out | std::ios::binary);
            file.seekp(static_cast<std::streamoff>(nAt));
            file << '#';
            return std::filesystem::relative(entry.path(), pathFolder).generic_string();
        }
    }
    ADD_FAILURE() << "no segment contains " << strText;
    return {};
}
