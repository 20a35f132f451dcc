#include "ReplyReader.h"

#include "platform/reply/ReplyLimits.h"

#include <cstdlib>
#include <new>

namespace VelCSDK
{
namespace
{

const std::string& CheckedBody(const std::string& strBody)
{
    const std::size_t nMost = ReplyLimitsInForce().nValues;
    if (HoldsMoreValues(strBody, nMost)) {
        throw ReplyTooLarge("more than " + std::to_string(nMost) + " values (" + REPLY_VALUES_VARIABLE +
                            ") in " + std::to_string(strBody.size()) + " bytes");
    }
    return strBody;
}

} // namespace

void* JsonMemory::Realloc(void* pMemory, std::size_t /*nOldBytes*/, std::size_t nBytes)
{
    if (nBytes == 0) {
        Free(pMemory);
        return nullptr;
    }
    void* const pNew = std::realloc(pMemory, nBytes);
    if (pNew == nullptr) {
        throw std::bad_alloc();
    }
    return pNew;
}

void JsonMemory::Free(void* pMemory)
{
    std::free(pMemory);
}

JsonElements JsonObject::Array(std::string_view strName) const
{
    const JsonValue* const pValue = Find(strName);
    if (pValue == nullptr || !pValue->IsArray()) {
        return {};
    }
    const std::size_t nMost = ReplyLimitsInForce().nListElements;
    if (pValue->Size() > nMost) {
        throw ReplyTooLarge(std::to_string(pValue->Size()) + " elements in the list \"" +
                            std::string(strName) + "\", more than " + std::to_string(nMost) + " (" +
                            LIST_ELEMENTS_VARIABLE + ")");
    }
    return {pValue->Begin(), pValue->End()};
}

// Parses iteratively: this accepts the same texts as the recursive parse, but deep nesting can't exhaust the
// stack. Texts stay in the copy of the body, because copying each one would cost more.
ReplyReader::ReplyReader(const std::string& strBody, ArrayRoot eArrayRoot) : m_strBody(CheckedBody(strBody))
{
    m_document.ParseInsitu<rapidjson::kParseIterativeFlag>(m_strBody.data());
    if (m_document.HasParseError()) {
        return;
    }
    if (!m_document.IsArray()) {
        Judge(m_document);
    } else if (eArrayRoot == ArrayRoot::FirstElement && !m_document.Empty()) {
        Judge(m_document[0]);
    } else {
        m_nResult = 0;
    }
}

std::string ReplyReader::Why() const
{
    if (m_strBody.empty()) {
        return "the reply has no body";
    }
    if (m_document.HasParseError()) {
        const std::size_t nBegin = m_strBody.find_first_not_of(" \t\r\n");
        const bool bHtml = nBegin != std::string::npos && m_strBody[nBegin] == '<';
        return bHtml ? "the reply is HTML or XML, not JSON" : "the reply is not JSON";
    }
    return m_members.Bool("success") ? "the server refused it" : "the reply has no member \"success\"";
}

bool ReplyReader::SaysNo() const
{
    return m_members.Bool("success").has_value();
}

std::string ReplyReader::Said() const
{
    for (const char* const szName : {"message", "msg", "description", "reason", "error"}) {
        if (std::string strText = m_members.Text(szName); !strText.empty()) {
            return strText;
        }
    }
    return {};
}

void ReplyReader::Judge(const JsonValue& root)
{
    m_members = JsonObject(&root);
    m_bSuccess = m_members.Bool("success").value_or(false);
    m_nResult = m_bSuccess ? 0 : -1;
}

} // namespace VelCSDK
