#pragma once

#include <json/value.h>

#include <string>

namespace VelCSDK
{

/// Parses a reply's body into `root` and reads its envelope: `nCode` from an integer "code", `strDescription`
/// from a text "description". A member that is missing or of another type leaves the caller's value alone; a
/// body that doesn't parse, or holds too many values (see ReplyLimits.h), is logged and sets `nCode` to -1.
void ReadEnvelope(const std::string& body, Json::Value& root, int& nCode, std::string& strDescription);

/// A reply that is judged by its member "code": without one, it is a success.
class CodeReply
{
public:
    /// A reply that failed: it has no members.
    CodeReply() = default;

    explicit CodeReply(const std::string& strBody);

    /// The member "code"; 0 where it is missing, -1 where the body doesn't parse.
    int Result() const { return m_nResult; }

    /// The member "description".
    const std::string& Message() const { return m_strMessage; }

    /// The object that the members are read from.
    const Json::Value& Members() const { return m_members; }

private:
    Json::Value m_members{Json::objectValue};
    int m_nResult = -1;
    std::string m_strMessage;
};

} // namespace VelCSDK
