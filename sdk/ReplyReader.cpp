#include "ReplyReader.h"

namespace VelCSDK
{

const rapidjson::Value* CJsonObject::Find(const char* szName) const
{
    if (m_pObject == nullptr) {
        return nullptr;
    }
    const auto found = m_pObject->FindMember(szName);
    return found == m_pObject->MemberEnd() ? nullptr : &found->value;
}

std::string CJsonObject::Text(const char* szName) const
{
    const rapidjson::Value* const pValue = Find(szName);
    return pValue != nullptr && pValue->IsString() ? std::string(pValue->GetString()) : std::string();
}

std::optional<int> CJsonObject::Int(const char* szName) const
{
    const rapidjson::Value* const pValue = Find(szName);
    return pValue != nullptr && pValue->IsInt() ? std::make_optional(pValue->GetInt()) : std::nullopt;
}

std::string CJsonObject::IntText(const char* szName) const
{
    const std::optional<int> nValue = Int(szName);
    return nValue ? std::to_string(*nValue) : std::string();
}

std::optional<bool> CJsonObject::Bool(const char* szName) const
{
    const rapidjson::Value* const pValue = Find(szName);
    return pValue != nullptr && pValue->IsBool() ? std::make_optional(pValue->GetBool()) : std::nullopt;
}

CJsonObject CJsonObject::Object(const char* szName) const
{
    return CJsonObject(Find(szName));
}

SJsonElements CJsonObject::Array(const char* szName) const
{
    const rapidjson::Value* const pValue = Find(szName);
    return pValue != nullptr && pValue->IsArray() ? SJsonElements{pValue->Begin(), pValue->End()}
                                                  : SJsonElements{};
}

// The parse is iterative: it accepts the same texts as the recursive one, but no depth of nesting can exhaust
// the stack.
CReplyReader::CReplyReader(const std::string& strBody, EArrayRoot eArrayRoot)
{
    m_document.Parse<rapidjson::kParseIterativeFlag>(strBody.c_str());
    if (m_document.HasParseError()) {
        m_nResult = -1;
    } else if (!m_document.IsArray()) {
        Judge(m_document);
    } else if (eArrayRoot == EArrayRoot::FirstElement && !m_document.Empty()) {
        Judge(m_document[0]);
    }
}

void CReplyReader::Judge(const rapidjson::Value& root)
{
    m_members = CJsonObject(&root);
    m_bSuccess = m_members.Bool("success").value_or(false);
    m_nResult = m_bSuccess ? 0 : -1;
}

} // namespace VelCSDK
