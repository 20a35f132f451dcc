#pragma once

#include <list>
#include <string>

namespace chttpclient
{

/// A request as it was handed in, and the one outcome that it comes to.
struct SHttpExchange {
    int nType = 0;
    std::string strUrl; ///< not encoded yet
    std::string strBody;
    void* pUserData = nullptr;
    bool bPost = false;
    std::string strHeader; ///< empty for none

    std::string strReply;
    int nHttpError = 0; ///< as chttpclient.h lists them
};

/// Exchanges on their way. One is made when its request is handed in, and moves from list to list until its
/// callback has returned: nothing on that way needs memory that may not be there.
using ExchangeList = std::list<SHttpExchange>;

} // namespace chttpclient
