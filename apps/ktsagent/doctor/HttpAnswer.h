#pragma once

#include <cstdint>
#include <map>
#include <string>

/// What came back for one request.
struct HttpAnswer {
    std::string strUrl;
    std::string strError;   ///< why there is no reply; empty if there is one
    bool bTimedOut = false; ///< whether that is because the time was over
    bool bNotHttp = false;  ///< whether something that is not HTTP came back
    int nStatus = 0;
    std::map<std::string, std::string> mapHeaders; ///< by their names in small letters
    std::string strBody;                           ///< its beginning, unpacked
    std::int64_t nMilliseconds = 0;
    bool bNewConnection = false; ///< known for libcurl only

    /// The value of a header line; empty if there is none.
    std::string Header(const std::string& strName) const
    {
        const auto it = mapHeaders.find(strName);
        return it == mapHeaders.end() ? "" : it->second;
    }
};

/// How many bytes of a body are kept.
constexpr std::size_t MOST_BODY_BYTES = std::size_t{256} * 1024;
