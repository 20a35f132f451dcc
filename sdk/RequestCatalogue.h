#pragma once

#include <ktshttpagent/RequestType.h>

#include <string>

namespace VelCSDK
{

/// How the SDK client sends a request.
struct SRequestForm {
    int nType;
    const char* szPath;   ///< built-in endpoint path
    bool bPost;           ///< POST, or else GET
    const char* szHeader; ///< header line to send; empty for none
};

/// The form of a request; null for an id outside the catalogue.
const SRequestForm* FindRequestForm(int nType) noexcept;

/// The built-in endpoint path, relative, without a query; empty for an id outside the catalogue.
std::string DefaultEndpointPath(int nType);

} // namespace VelCSDK
