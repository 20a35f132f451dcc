#include "BodySaysNo.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <optional>

namespace outbox
{
namespace
{

/// Gets the parts of a body one by one, and keeps the two members.
class Members : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Members>
{
public:
    bool SaysNo() const { return m_bNoSuccess.value_or(false) || m_bBadCode.value_or(false); }

    bool StartObject() { return Open(Member::Other, false); }
    bool EndObject(rapidjson::SizeType /*nMembers*/) { return Close(); }
    bool StartArray() { return Open(Member::Other, m_nDepth == 0); }
    bool EndArray(rapidjson::SizeType /*nElements*/) { return Close(); }

    bool Key(const char* pText, rapidjson::SizeType nLength, bool /*bCopy*/)
    {
        const std::string_view strName(pText, nLength);
        m_eMember = strName == "success" ? Member::Success : strName == "code" ? Member::Code : Member::Other;
        return true;
    }
    bool Null() { return Continues(); }
    bool Bool(bool bValue)
    {
        if (IsMember(Member::Success) && !m_bNoSuccess) {
            m_bNoSuccess = !bValue;
        }
        return Code(false);
    }
    bool Int(int nValue) { return Code(nValue == 0 || nValue == 200); }
    bool Uint(unsigned nValue) { return Code(nValue == 0 || nValue == 200); }
    bool Int64(std::int64_t /*nValue*/) { return Code(false); }
    bool Uint64(std::uint64_t /*nValue*/) { return Code(false); }
    bool Double(double dValue) { return Code(!(dValue < 0 || dValue > 0) || IsTwoHundred(dValue)); }
    bool String(const char* pText, rapidjson::SizeType nLength, bool /*bCopy*/)
    {
        const std::string_view strText(pText, nLength);
        return Code(strText == "success" || strText == "0" || strText == "200");
    }

private:
    enum class Member { Success, Code, Other };

    static bool IsTwoHundred(double dValue) { return !(dValue < 200 || dValue > 200); }

    /// Whether the value that is read belongs to this member of the object that counts.
    bool IsMember(Member eMember) const { return m_nDepth == m_nCounts && m_eMember == eMember; }

    bool Code(bool bGood)
    {
        if (IsMember(Member::Code) && !m_bBadCode) {
            m_bBadCode = !bGood;
        }
        return Continues();
    }
    bool Open(Member eNext, bool bArrayRoot)
    {
        static_cast<void>(Code(false));
        m_eMember = eNext;
        ++m_nDepth;
        m_nCounts += bArrayRoot ? 1U : 0U;
        return true;
    }
    bool Close()
    {
        --m_nDepth;
        return Continues();
    }
    /// Reading ends after the value that counts.
    bool Continues() const { return m_nDepth >= m_nCounts; }

    std::size_t m_nDepth = 0;
    std::size_t m_nCounts = 1; ///< the depth of the members that count
    Member m_eMember = Member::Other;
    std::optional<bool> m_bNoSuccess;
    std::optional<bool> m_bBadCode;
};

} // namespace

bool BodySaysNo(std::string_view strBody)
{
    rapidjson::MemoryStream stream(strBody.data(), strBody.size());
    rapidjson::Reader reader;
    Members members;
    reader.Parse<rapidjson::kParseIterativeFlag>(stream, members);
    return members.SaysNo();
}

} // namespace outbox
