#include "labserver/LabReplay.h"

#include "labserver/LabJson.h"
#include "labserver/LabLatin1.h"
#include "labserver/LabSeen.h"
#include "labserver/LabTable.h"
#include "labserver/LabText.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>

namespace
{

using Key = std::vector<std::string>;

bool IsTime(const std::string& strParameter)
{
    return strParameter.size() > 2 && strParameter.rfind("t=", 0) == 0 &&
           strParameter.find_first_not_of("0123456789", 2) == std::string::npos;
}

/// A request target without the time in its query.
std::string WithoutTime(const std::string& strTarget)
{
    const std::size_t nQuery = strTarget.find('?');
    std::string strKept = strTarget.substr(0, nQuery);
    std::size_t nBegin = nQuery;
    while (nBegin != std::string::npos) {
        const std::size_t nEnd = strTarget.find('&', nBegin + 1);
        const std::string strParameter = strTarget.substr(nBegin + 1, nEnd - nBegin - 1);
        if (!IsTime(strParameter)) {
            strKept += "?" + strParameter; // whichever sign it had: this is only compared
        }
        nBegin = nEnd;
    }
    return strKept;
}

/// What tells a request apart, more and then less strictly.
std::array<Key, 2> KeysOf(const std::string& strMethod, const std::string& strTarget,
                          const std::string& strBody)
{
    const std::string strKept = WithoutTime(strTarget);
    return {{{strMethod, strKept, strBody}, {strMethod, strKept}}};
}

std::string BodyFrom(const Json::Value& exchange, const std::string& strName)
{
    if (exchange.isMember(strName + "Latin1")) {
        RequireField(exchange, {(strName + "Latin1").c_str(), LabType::Text});
        return ToLatin1(exchange[strName + "Latin1"].asString());
    }
    RequireField(exchange, {strName.c_str(), LabType::Text});
    return exchange[strName].asString();
}

std::optional<LabFaultKind> FaultFrom(const std::string& strOutcome)
{
    static const std::map<std::string, LabFaultKind> mapFaults = {
        {NameOf(LabOutcome::Truncated), LabFaultKind::Truncate},
        {NameOf(LabOutcome::Reset), LabFaultKind::Reset},
        {NameOf(LabOutcome::Silence), LabFaultKind::Silence},
    };
    const auto it = mapFaults.find(strOutcome);
    return it == mapFaults.end() ? std::nullopt : std::optional(it->second);
}

/// Whether a header tells about the connection or the length, which the server says itself.
bool IsOfConnection(const std::string& strLowerName)
{
    return strLowerName == "connection" || strLowerName == "keep-alive" || strLowerName == "content-length";
}

void ReadHeaders(const Json::Value& headers, LabRecorded& recorded)
{
    if (!headers.isArray()) {
        throw LabError(400, "The member \"replyHeaders\" is not an array.");
    }
    for (const Json::Value& header : headers) {
        if (!header.isArray() || header.size() != 2 || !header[0].isString() || !header[1].isString()) {
            throw LabError(400, "An item of \"replyHeaders\" is not a name and a value.");
        }
        const std::string strLowerName = LowerCase(header[0].asString());
        if (strLowerName == "content-type") {
            recorded.strContentType = header[1].asString();
        } else if (!IsOfConnection(strLowerName)) {
            recorded.vecHeaders.emplace_back(header[0].asString(), header[1].asString());
        }
    }
}

} // namespace

LabReplay::LabReplay(const std::string& strFile)
{
    std::ifstream file(strFile, std::ios::binary);
    std::string strLine;
    for (int nLine = 1; std::getline(file, strLine); ++nLine) {
        try {
            AddLine(strLine);
        } catch (const std::exception& error) {
            throw std::runtime_error("line " + std::to_string(nLine) + " of the recording " + strFile +
                                     " is not one of an exchange: " + error.what());
        }
    }
    if (m_vecRecorded.empty()) {
        throw std::runtime_error(
            "can't read a recording from " + strFile +
            (file.is_open() ? ": it is empty" : ": there is none, or it can't be opened"));
    }
}

void LabReplay::AddLine(const std::string& strLine)
{
    const Json::Value exchange = ParseJson(strLine);
    for (const char* const szText : {"method", "target", "outcome"}) {
        RequireField(exchange, {szText, LabType::Text});
    }
    RequireField(exchange, {"status", LabType::Integer});
    LabRecorded recorded;
    recorded.nStatus = exchange["status"].asInt();
    recorded.strBody = BodyFrom(exchange, "replyBody");
    recorded.optFault = FaultFrom(exchange["outcome"].asString());
    ReadHeaders(exchange["replyHeaders"], recorded);
    for (const Key& key : KeysOf(exchange["method"].asString(), exchange["target"].asString(),
                                 BodyFrom(exchange, "requestBody"))) {
        m_mapReplies[key].vecRecorded.push_back(m_vecRecorded.size());
    }
    m_vecRecorded.push_back(std::move(recorded));
}

const LabRecorded* LabReplay::Next(const std::string& strMethod, const std::string& strTarget,
                                   const std::string& strBody)
{
    const std::lock_guard lock(m_mutex);
    for (const Key& key : KeysOf(strMethod, strTarget, strBody)) {
        const auto it = m_mapReplies.find(key);
        if (it != m_mapReplies.end()) {
            Replies& replies = it->second;
            const std::size_t nPlace = replies.vecRecorded[replies.nNext];
            replies.nNext = std::min(replies.nNext + 1, replies.vecRecorded.size() - 1);
            return &m_vecRecorded[nPlace];
        }
    }
    return nullptr;
}
