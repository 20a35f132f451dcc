#include "labserver/OpenSsl.h"

#include <openssl/err.h>

namespace
{

std::string TakeReason()
{
    const char* const szReason = ERR_reason_error_string(ERR_peek_last_error());
    std::string strReason = szReason != nullptr ? szReason : "OpenSSL gives no reason";
    ERR_clear_error();
    return strReason;
}

} // namespace

OpenSslError::OpenSslError(const std::string& strWhat) : std::runtime_error(strWhat + ": " + TakeReason()) {}
