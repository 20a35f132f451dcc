// The input is a reply's body, which is passed to the envelope reader.

#include "RecordingLog.h"
#include "Require.h"

#include "sdk/CDataResponse.h"

#include <cstdint>

namespace
{

constexpr int CODE_BEFORE = 77;
constexpr const char* DESCRIPTION_BEFORE = "before";

void CheckUnread(int nCode, const std::string& strDescription)
{
    Require(nCode == -1, "a body that can't be read gives -1");
    Require(strDescription == DESCRIPTION_BEFORE, "a body that can't be read leaves the description alone");
}

void CheckRead(const Json::Value& root, int nCode, const std::string& strDescription)
{
    const Json::Value members = root.isObject() ? root : Json::Value(Json::objectValue);
    const Json::Value code = members.get("code", Json::Value());
    const Json::Value description = members.get("description", Json::Value());
    Require(nCode == (code.isInt() ? code.asInt() : CODE_BEFORE), "an integer code is read, nothing else");
    Require(strDescription == (description.isString() ? description.asCString() : DESCRIPTION_BEFORE),
            "a text is read as description, up to its first NUL, nothing else");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    ClearRecordedLog();
    const std::string strBody(reinterpret_cast<const char*>(pData), nSize);
    Json::Value root;
    int nCode = CODE_BEFORE;
    std::string strDescription = DESCRIPTION_BEFORE;
    VelCSDK::CDataResponse::Instance()->JsonHeader(strBody, root, nCode, strDescription);
    if (RecordedLog().empty()) {
        CheckRead(root, nCode, strDescription);
    } else {
        CheckUnread(nCode, strDescription);
    }
    return 0;
}
