#pragma once

#include "labserver/LabRefusal.h"

#include <httplib.h>
#include <string>
#include <vector>

/// Whether a decoded path is an operator path: "/lab" or one below it.
bool IsOperatorPath(const std::string& strPath);

/// Tells requests of the operator from those of a web page that a browser on the operator's machine happens
/// to show. Such a page can send requests here, and it could even read the answers under a host name of its
/// own that resolves to this machine; but it can't keep the browser from saying where it comes from.
class LabGate
{
public:
    /// @param strAddress the address or name that the server listens on, as configured
    /// @param nPort the port that it listens on
    LabGate(const std::string& strAddress, int nPort);

    /// Why a request to an operator path is refused: it names another host than this server, or none, or
    /// comes from a page of another site (403), or it has a body whose content type is not JSON (415).
    /// Browsers let a page send such a body to any site.
    /// @param bTls  whether the request came over TLS, and so the server's own page would too
    LabRefusal RefusalOf(const httplib::Request& request, bool bTls) const;

private:
    bool IsOwn(const std::string& strHost) const;
    bool IsOwnOrigin(const std::string& strOrigin, bool bTls) const;

    std::vector<std::string> m_vecOwn; ///< as in the header Host, in lower case
};

/// Adds headers to the reply for an operator path that keep a browser from showing it in pages of other
/// sites, from giving it to them, and from caching it.
void ProtectReply(httplib::Response& response);
