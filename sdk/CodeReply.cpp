#include "CodeReply.h"

#include "platform/reply/ReplyLimits.h"

#include <ktshttpagent/clog.h>

#include <json/reader.h>

namespace VelCSDK
{
namespace
{

// A value of jsoncpp takes eight times as much memory as one of RapidJSON.
constexpr std::size_t VALUE_WEIGHT = 8;

/// If values are nested too deep, jsoncpp throws; that counts as a failed parse like any other.
bool Parse(const std::string& body, Json::Value& root)
{
    try {
        return Json::Reader().parse(body, root, true);
    } catch (const Json::Exception&) {
        return false;
    }
}

} // namespace

// The function name and the line number in the log are fixed: sites search for them.
void ReadEnvelope(const std::string& body, Json::Value& root, int& nCode, std::string& strDescription)
{
    const std::size_t nMost = ReplyLimitsInForce().nValues / VALUE_WEIGHT;
    if (HoldsMoreValues(body, nMost)) {
        Log_Write(1, "VelCSDK::CDataResponse::JsonHeader", 91,
                  "Json::Reader error: more than %zu values (an eighth of %s) in %zu bytes", nMost,
                  REPLY_VALUES_VARIABLE, body.size());
        nCode = -1;
        return;
    }
    if (body.empty() || !Parse(body, root)) {
        Log_Write(1, "VelCSDK::CDataResponse::JsonHeader", 91, "%s", "Json::Reader error");
        nCode = -1;
        return;
    }
    if (!root.isObject()) {
        return;
    }
    const Json::Value& members = root; // looking up a member of a constant object adds none
    if (const Json::Value& code = members["code"]; code.isInt()) {
        nCode = code.asInt();
    }
    if (const Json::Value& description = members["description"]; description.isString()) {
        strDescription = description.asCString();
    }
}

CodeReply::CodeReply(const std::string& strBody) : m_nResult(0)
{
    Json::Value root;
    ReadEnvelope(strBody, root, m_nResult, m_strMessage);
    m_bJson = !root.isNull();
    if (root.isObject()) {
        m_members.swap(root);
    }
}

bool CodeReply::SaysNo() const
{
    return m_bJson;
}

std::string CodeReply::Why() const
{
    if (!m_bJson) {
        return "the reply is not JSON";
    }
    return "the server refused it with code " + std::to_string(m_nResult);
}

} // namespace VelCSDK
