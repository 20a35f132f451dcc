// Decodes a list of projects repeatedly and prints the megabytes per second.

#include "CDataResponse.h"

#include "platform/reply/ReplyLimits.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/ResultRecords.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <rapidjson/document.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace
{

std::string IdName(const char* szKey, std::size_t nId, const std::string& strName)
{
    return std::string("\"") + szKey + "\":{\"id\":" + std::to_string(nId) + ",\"name\":\"" + strName + "\"}";
}

std::string Project(std::size_t nProject)
{
    const std::string strNumber = std::to_string(nProject);
    return "{\"xh\":\"" + strNumber + "\"," + IdName("委托单号", 240000 + nProject, "WT-2024-" + strNumber) +
           ',' + IdName("测试类型", 11, "常规测试") + ',' + IdName("项目分类", 204, "循环寿命") + ',' +
           IdName("项目名称", 30000 + nProject, "25℃ 1C/1C 循环") + '}';
}

/// A reply with `nProjects` projects.
std::string Reply(std::size_t nProjects)
{
    std::string strReply = "{\"success\":true,\"实验项目\":[";
    for (std::size_t nProject = 0; nProject < nProjects; ++nProject) {
        strReply += (nProject == 0 ? "" : ",") + Project(nProject);
    }
    return strReply + "]}";
}

/// Decodes a reply and returns how many projects were in it.
using Decoder = std::function<std::size_t(const std::string& strReply)>;

/// Our decoder: from the transport's callback to the response callback with the records.
Decoder OurDecoder()
{
    auto* const pClient = VelCSDK::SDKFactory::GetInstance();
    pClient->Init();
    static std::size_t nProjects = 0;
    pClient->SetResponseCallBack([](int, const void*, const void* pResponse, int) {
        const auto* const pHeader = static_cast<const SResponseHeader*>(pResponse);
        nProjects = static_cast<const SResponseGetProject*>(pHeader->pData)->lstProject.size();
    });
    return [](const std::string& strReply) {
        VelCSDK::CDataResponse::Instance()->CHttpCallBack(strReply, VelCSDK::RequestType::GetProjects,
                                                          nullptr, 0);
        return nProjects;
    };
}

/// Only RapidJSON's parse.
std::size_t ParseBare(const std::string& strReply)
{
    rapidjson::Document document;
    document.Parse(strReply.c_str());
    return document["实验项目"].Size();
}

SIdName ReadIdName(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    return {std::to_string(object.value(QStringLiteral("id")).toInt()),
            object.value(QStringLiteral("name")).toString().toStdString()};
}

/// Makes the same records with Qt.
std::size_t DecodeByQt(const std::string& strReply)
{
    const QJsonObject root = QJsonDocument::fromJson(QByteArray::fromStdString(strReply)).object();
    SResponseGetProject payload;
    payload.bSuccess = root.value(QStringLiteral("success")).toBool();
    for (const QJsonValue value : root.value(QStringLiteral("实验项目")).toArray()) {
        const QJsonObject project = value.toObject();
        payload.lstProject.push_back({project.value(QStringLiteral("xh")).toString().toStdString(),
                                      ReadIdName(project.value(QStringLiteral("委托单号"))),
                                      ReadIdName(project.value(QStringLiteral("测试类型"))),
                                      ReadIdName(project.value(QStringLiteral("项目分类"))),
                                      ReadIdName(project.value(QStringLiteral("项目名称")))});
    }
    return payload.lstProject.size();
}

Decoder DecoderOf(const std::string& strDecoder)
{
    const std::map<std::string, std::function<Decoder()>> mapMake{
        {"ours", OurDecoder},
        {"rapidjson", [] { return Decoder(ParseBare); }},
        {"qt", [] { return Decoder(DecodeByQt); }},
    };
    return mapMake.at(strDecoder)();
}

/// Processor time, which other processes do not affect.
double ProcessorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double MegabytesPerSecond(const Decoder& fnDecode, std::size_t nProjects)
{
    constexpr double LEAST_SECONDS = 0.3;
    constexpr double MEGABYTE = 1e6;
    const std::string strReply = Reply(nProjects);
    const auto decode = [&] {
        if (fnDecode(strReply) != nProjects) {
            throw std::runtime_error("projects were lost in decoding");
        }
    };
    decode(); // not measured: allocates memory for the first time
    std::size_t nDecoded = 0;
    double fSeconds = 0;
    for (const double fStart = ProcessorSeconds(); fSeconds < LEAST_SECONDS; ++nDecoded) {
        decode();
        fSeconds = ProcessorSeconds() - fStart;
    }
    return static_cast<double>(nDecoded * strReply.size()) / MEGABYTE / fSeconds;
}

} // namespace

int main(int nArguments, char** arArguments)
{
    if (nArguments != 3) {
        std::fputs("ktsdecodebench ours|rapidjson|qt PROJECTS\n", stderr);
        return EXIT_FAILURE + 1;
    }
    // The largest replies here exceed the default limits.
    setenv(LIST_ELEMENTS_VARIABLE, "1000000", 1);
    setenv(REPLY_VALUES_VARIABLE, "50000000", 1);
    try {
        std::printf("%.3f\n", MegabytesPerSecond(DecoderOf(arArguments[1]), std::stoul(arArguments[2])));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktsdecodebench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
