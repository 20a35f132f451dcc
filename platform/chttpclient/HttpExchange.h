#pragma once

#include "ExchangeFacts.h"

#include <chrono>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace chttpclient
{

/// A request as it was handed in, and its outcome.
struct HttpExchange {
    int nType = 0;
    std::string strUrl; ///< not encoded yet
    std::string strBody;
    void* pUserData = nullptr;
    bool bPost = false;
    std::vector<std::string> vecHeaders;            ///< header lines
    std::chrono::steady_clock::time_point tpSent{}; ///< when it was handed in
    bool bHandedBack = false;                       ///< never for the network: its reply came with it

    std::string strReply;
    int nHttpError = 0;                    ///< as chttpclient.h lists them
    std::shared_ptr<ExchangeFacts> pFacts; ///< null if it was not begun, or if there is no memory for them
};

/// Exchanges in progress. Each is allocated when its request is handed in, and then moves from list to list
/// until its callback has returned, so that no later step can fail for lack of memory.
using ExchangeList = std::list<HttpExchange>;

/// Takes the first exchange off a list that is not empty, as a list of its own.
inline ExchangeList TakeFirst(ExchangeList& exchanges)
{
    ExchangeList first;
    first.splice(first.end(), exchanges, exchanges.begin());
    return first;
}

} // namespace chttpclient
