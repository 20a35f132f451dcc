#pragma once

#include <rapidjson/document.h>

#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace VelCSDK
{

/// Memory for RapidJSON, which takes it for granted that there is some.
/// @throws std::bad_alloc
struct JsonMemory {
    static const bool kNeedFree = true;

    void* Malloc(std::size_t nBytes) { return Realloc(nullptr, 0, nBytes); }
    void* Realloc(void* pMemory, std::size_t nOldBytes, std::size_t nBytes);
    static void Free(void* pMemory);
};

using JsonPool = rapidjson::MemoryPoolAllocator<JsonMemory>;
using JsonValue = rapidjson::GenericValue<rapidjson::UTF8<>, JsonPool>;
using JsonDocument = rapidjson::GenericDocument<rapidjson::UTF8<>, JsonPool, JsonMemory>;

/// What a reply holds exceeds a limit (see ReplyLimits.h).
struct ReplyTooLarge : std::length_error {
    using std::length_error::length_error;
};

/// The elements of a JSON array, in order.
struct JsonElements {
    const JsonValue* pBegin = nullptr;
    const JsonValue* pEnd = nullptr;

    const JsonValue* begin() const { return pBegin; }
    const JsonValue* end() const { return pEnd; }
    std::size_t size() const { return static_cast<std::size_t>(pEnd - pBegin); }
};

/// Looks members up in a JSON object, exactly and case-sensitively; of members of the same name the first
/// counts. A value that is no object has no members. Lives no longer than the document that it looks into.
class JsonObject
{
public:
    explicit JsonObject(const JsonValue* pValue = nullptr)
        : m_pObject(pValue != nullptr && pValue->IsObject() ? pValue : nullptr)
    {
    }

    /// A text member up to its first NUL; empty for anything else.
    std::string Text(std::string_view strName) const;
    /// An integer member that fits 32 bits, sign included; nothing for anything else, 12.0 included.
    std::optional<int> Int(std::string_view strName) const;
    /// An integer member as decimal text; empty where `Int` gives nothing.
    std::string IntText(std::string_view strName) const;
    /// A member that is true or false; nothing for anything else.
    std::optional<bool> Bool(std::string_view strName) const;
    /// An object member; an object without members for anything else.
    JsonObject Object(std::string_view strName) const;
    /// The elements of an array member; none for anything else.
    /// @throws ReplyTooLarge
    JsonElements Array(std::string_view strName) const;

private:
    const JsonValue* Find(std::string_view strName) const;

    const JsonValue* m_pObject;
};

// Inline, so that a comparison with a name that is written out becomes one of a few words.
inline const JsonValue* JsonObject::Find(std::string_view strName) const
{
    if (m_pObject == nullptr) {
        return nullptr;
    }
    for (const auto& member : m_pObject->GetObject()) {
        if (strName == std::string_view(member.name.GetString(), member.name.GetStringLength())) {
            return &member.value;
        }
    }
    return nullptr;
}

inline std::string JsonObject::Text(std::string_view strName) const
{
    const JsonValue* const pValue = Find(strName);
    return pValue != nullptr && pValue->IsString() ? std::string(pValue->GetString()) : std::string();
}

inline std::optional<int> JsonObject::Int(std::string_view strName) const
{
    const JsonValue* const pValue = Find(strName);
    return pValue != nullptr && pValue->IsInt() ? std::make_optional(pValue->GetInt()) : std::nullopt;
}

inline std::string JsonObject::IntText(std::string_view strName) const
{
    const std::optional<int> nValue = Int(strName);
    return nValue ? std::to_string(*nValue) : std::string();
}

inline std::optional<bool> JsonObject::Bool(std::string_view strName) const
{
    const JsonValue* const pValue = Find(strName);
    return pValue != nullptr && pValue->IsBool() ? std::make_optional(pValue->GetBool()) : std::nullopt;
}

inline JsonObject JsonObject::Object(std::string_view strName) const
{
    return JsonObject(Find(strName));
}

/// What an array at a reply's root means.
enum class ArrayRoot {
    FirstElement, ///< its first element is read as if it stood alone; an empty array is a success
    Success,      ///< any array is a success without content
};

/// A parsed reply: whether it is a success, and the object that its members are read from.
class ReplyReader
{
public:
    /// A reply that failed: it has no members.
    ReplyReader() = default;

    /// @throws ReplyTooLarge, std::bad_alloc
    ReplyReader(const std::string& strBody, ArrayRoot eArrayRoot);

    /// 0 when the member "success" is true, or when there was nothing to judge (see `ArrayRoot`); -1 when it
    /// is anything else or missing, or when the body doesn't parse.
    int Result() const { return m_nResult; }

    /// Whether "success" was the literal true.
    bool Success() const { return m_bSuccess; }

    /// The object that the members are read from.
    const JsonObject& Members() const { return m_members; }

private:
    void Judge(const JsonValue& root);

    // Room for the values of a reply of usual size; a larger one allocates.
    static constexpr std::size_t VALUE_BYTES = 2048;

    std::string m_strBody; ///< the document's texts lie in it
    alignas(std::max_align_t) std::array<char, VALUE_BYTES> m_arValues;
    JsonPool m_allocator{m_arValues.data(), m_arValues.size()};
    JsonDocument m_document{&m_allocator};
    JsonObject m_members;
    int m_nResult = -1;
    bool m_bSuccess = false;
};

/// A reply that is judged by its member "success".
template <ArrayRoot eArrayRoot>
struct SuccessReply : ReplyReader {
    SuccessReply() = default;
    explicit SuccessReply(const std::string& strBody) : ReplyReader(strBody, eArrayRoot) {}

    /// Such a reply brings no description of its failure.
    static std::string Message() { return {}; }
};

} // namespace VelCSDK
