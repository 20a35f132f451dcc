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

/// Allocates memory for RapidJSON, which does not check for a failed allocation. So this throws instead of
/// returning null.
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

/// A reply exceeds a limit (see ReplyLimits.h).
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

/// Looks up members of a JSON object, case-sensitively; if several members have the same name, the first one
/// is used. A value that is not an object has no members. It must not outlive the document that it reads.
class JsonObject
{
public:
    explicit JsonObject(const JsonValue* pValue = nullptr)
        : m_pObject(pValue != nullptr && pValue->IsObject() ? pValue : nullptr)
    {
    }

    /// A text member up to its first NUL; empty for anything else.
    std::string Text(std::string_view strName) const;
    /// An integer member that fits a signed 32-bit number; nothing for anything else, such as 12.0.
    std::optional<int> Int(std::string_view strName) const;
    /// An integer member as decimal text; empty if `Int` returns nothing.
    std::string IntText(std::string_view strName) const;
    /// A member that is true or false; nothing for anything else.
    std::optional<bool> Bool(std::string_view strName) const;
    /// An object member; an object without members for anything else.
    JsonObject Object(std::string_view strName) const;
    /// The elements of an array member; no elements for anything else.
    /// @throws ReplyTooLarge
    JsonElements Array(std::string_view strName) const;

private:
    const JsonValue* Find(std::string_view strName) const;

    const JsonValue* m_pObject;
};

// Inline, so that the comparison with a literal name compiles to a few instructions.
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

/// What an array as the root of a reply means.
enum class ArrayRoot {
    FirstElement, ///< its first element is read as if it were the whole reply; an empty array is a success
    Success,      ///< any array is a success without content
};

/// A parsed reply: whether it is a success, and the object whose members are read.
class ReplyReader
{
public:
    /// A failed reply, without members.
    ReplyReader() = default;

    /// @throws ReplyTooLarge, std::bad_alloc
    ReplyReader(const std::string& strBody, ArrayRoot eArrayRoot);

    /// 0 if the member "success" is true, or if the reply is an array that counts as a success (see
    /// `ArrayRoot`); -1 if the member is anything else or missing, or if the body can't be parsed.
    int Result() const { return m_nResult; }

    /// Whether the member "success" is the literal true.
    bool Success() const { return m_bSuccess; }

    /// The object whose members are read.
    const JsonObject& Members() const { return m_members; }

    /// Why the reply is no success, in words for the log.
    std::string Why() const;

    /// Of a reply that is no success: whether it is an answer, which says no, and not something unreadable.
    bool SaysNo() const;

    /// The server's own words for it; empty if there are none.
    std::string Said() const;

private:
    void Judge(const JsonValue& root);

    // Enough for the values of a reply of usual size; a larger reply allocates more.
    static constexpr std::size_t VALUE_BYTES = 2048;

    std::string m_strBody; ///< contains the document's texts
    alignas(std::max_align_t) std::array<char, VALUE_BYTES> m_arValues;
    JsonPool m_allocator{m_arValues.data(), m_arValues.size()};
    JsonDocument m_document{&m_allocator};
    JsonObject m_members;
    int m_nResult = -1;
    bool m_bSuccess = false;
};

/// A reply whose member "success" says whether it is a success.
template <ArrayRoot eArrayRoot>
struct SuccessReply : ReplyReader {
    SuccessReply() = default;
    explicit SuccessReply(const std::string& strBody) : ReplyReader(strBody, eArrayRoot) {}

    /// Empty: such a reply has no description of a failure.
    static std::string Message() { return {}; }
};

} // namespace VelCSDK
