#pragma once

#include <rapidjson/document.h>

#include <optional>
#include <string>

namespace VelCSDK
{

/// The elements of a JSON array, in order.
struct SJsonElements {
    const rapidjson::Value* pBegin = nullptr;
    const rapidjson::Value* pEnd = nullptr;

    const rapidjson::Value* begin() const { return pBegin; }
    const rapidjson::Value* end() const { return pEnd; }
    std::size_t size() const { return static_cast<std::size_t>(pEnd - pBegin); }
};

/// Looks members up in a JSON object, exactly and case-sensitively; of members of the same name the first
/// counts. A value that is no object has no members. Lives no longer than the document that it looks into.
class CJsonObject
{
public:
    explicit CJsonObject(const rapidjson::Value* pValue = nullptr)
        : m_pObject(pValue != nullptr && pValue->IsObject() ? pValue : nullptr)
    {
    }

    /// A text member up to its first NUL; empty for anything else.
    std::string Text(const char* szName) const;
    /// An integer member that fits 32 bits, sign included; nothing for anything else, 12.0 included.
    std::optional<int> Int(const char* szName) const;
    /// An integer member as decimal text; empty where `Int` gives nothing.
    std::string IntText(const char* szName) const;
    /// A member that is true or false; nothing for anything else.
    std::optional<bool> Bool(const char* szName) const;
    /// An object member; an object without members for anything else.
    CJsonObject Object(const char* szName) const;
    /// The elements of an array member; none for anything else.
    SJsonElements Array(const char* szName) const;

private:
    const rapidjson::Value* Find(const char* szName) const;

    const rapidjson::Value* m_pObject;
};

/// What an array at a reply's root means.
enum class EArrayRoot {
    FirstElement, ///< its first element is read as if it stood alone; an empty array is a success
    Success,      ///< any array is a success without content
};

/// A parsed reply: whether it is a success, and the object that its members are read from.
class CReplyReader
{
public:
    explicit CReplyReader(const std::string& strBody, EArrayRoot eArrayRoot = EArrayRoot::FirstElement);

    /// 0 when the member "success" is true, or when there was nothing to judge (see `EArrayRoot`); -1 when it
    /// is anything else or missing, or when the body doesn't parse.
    int Result() const { return m_nResult; }

    /// Whether "success" was the literal true.
    bool Success() const { return m_bSuccess; }

    /// The object that the members are read from.
    const CJsonObject& Members() const { return m_members; }

private:
    void Judge(const rapidjson::Value& root);

    rapidjson::Document m_document;
    CJsonObject m_members;
    int m_nResult = 0;
    bool m_bSuccess = false;
};

} // namespace VelCSDK
