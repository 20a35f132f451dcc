#include "labserver/LabJson.h"

#include <cwchar>
#include <locale>
#include <memory>

namespace
{

/// Deeper than any report, and far below the depth at which reading would overflow a thread's stack.
constexpr int MAX_DEPTH = 256;

std::unique_ptr<Json::CharReader> MakeReader()
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["stackLimit"] = MAX_DEPTH;
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

Json::StreamWriterBuilder MakeWriterBuilder()
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return builder;
}

} // namespace

bool IsUtf8(const std::string& strText)
{
    using Utf8 = std::codecvt<char32_t, char, std::mbstate_t>;
    std::mbstate_t state{};
    const char* const pBegin = strText.data();
    const int nValid = std::use_facet<Utf8>(std::locale::classic())
                           .length(state, pBegin, pBegin + strText.size(), strText.size());
    return static_cast<size_t>(nValid) == strText.size();
}

Json::Value ParseJson(const std::string& strText)
{
    if (!IsUtf8(strText)) {
        throw LabError(400, "The body is not UTF-8.");
    }
    Json::Value root;
    bool bParsed = false;
    try {
        bParsed = MakeReader()->parse(strText.data(), strText.data() + strText.size(), &root, nullptr);
    } catch (const Json::Exception&) {
        throw LabError(400, "The body's JSON is nested too deep.");
    }
    if (!bParsed) {
        throw LabError(400, "The body is not JSON.");
    }
    return root;
}

std::string WriteJson(const Json::Value& value)
{
    static const Json::StreamWriterBuilder builder = MakeWriterBuilder();
    return Json::writeString(builder, value);
}

Json::Value ErrorEnvelope(int nStatus, const std::string& strWhy)
{
    Json::Value envelope(Json::objectValue);
    envelope["success"] = false;
    envelope["code"] = nStatus;
    // Clients read the "message" of some replies, and the "description" of the others.
    envelope["message"] = strWhy;
    envelope["description"] = strWhy;
    return envelope;
}
