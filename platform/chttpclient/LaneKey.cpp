#include "LaneKey.h"

#include "platform/text/UrlParts.h"

namespace chttpclient
{
namespace
{

bool EndsWith(std::string_view strText, std::string_view strEnd)
{
    return strText.size() >= strEnd.size() && strText.substr(strText.size() - strEnd.size()) == strEnd;
}

} // namespace

std::string LaneKey(std::string_view strUrl)
{
    const std::optional<UrlParts> parts = SplitUrl(strUrl);
    if (!parts) {
        return {};
    }
    const std::string strScheme = LowerCase(parts->strScheme);
    std::string strHost = LowerCase(parts->strHost);
    const std::string_view strImplied = strScheme == "https" ? ":443" : ":80";
    if (EndsWith(strHost, strImplied)) {
        strHost.resize(strHost.size() - strImplied.size());
    } else if (EndsWith(strHost, ":")) {
        strHost.pop_back();
    }
    return strScheme + "://" + strHost;
}

} // namespace chttpclient
