#pragma once

#include <json/value.h>

#include <string>

namespace VelCSDK
{

/// Parses a reply's body into `root` and reads its envelope: `nCode` from an integer "code", `strDescription`
/// from a text "description". If a member is missing or of another type, the caller's value stays unchanged.
/// If the body can't be parsed, or contains too many values (see ReplyLimits.h), that is logged and `nCode`
/// is set to -1.
void ReadEnvelope(const std::string& body, Json::Value& root, int& nCode, std::string& strDescription);

/// A reply whose member "code" says whether it is a success; a reply without that member is a success.
class CodeReply
{
public:
    /// A failed reply, without members.
    CodeReply() = default;

    explicit CodeReply(const std::string& strBody);

    /// The member "code"; 0 if it is missing, -1 if the body can't be parsed.
    int Result() const { return m_nResult; }

    /// The member "description".
    const std::string& Message() const { return m_strMessage; }

    /// The object whose members are read.
    const Json::Value& Members() const { return m_members; }

    /// Why the reply is no success, in words for the log.
    std::string Why() const;

    /// Of a reply that is no success: whether it is an answer, which says no, and not something unreadable.
    bool SaysNo() const;

    /// The server's own words for it; empty if there are none.
    std::string Said() const { return m_strMessage; }

private:
    Json::Value m_members{Json::objectValue};
    bool m_bJson = false; ///< whether the body could be parsed
    int m_nResult = -1;
    std::string m_strMessage;
};

} // namespace VelCSDK
