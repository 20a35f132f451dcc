#include "ReplyReader.h"

namespace VelCSDK
{

// The parse is iterative: it accepts the same texts as the recursive one, but no depth of nesting can exhaust
// the stack. It leaves the texts where they are in the copy of the body, which is cheaper than a copy each.
CReplyReader::CReplyReader(const std::string& strBody, EArrayRoot eArrayRoot) : m_strBody(strBody)
{
    m_document.ParseInsitu<rapidjson::kParseIterativeFlag>(m_strBody.data());
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
