#pragma once

#include "labserver/LabRefusal.h"

#include <httplib.h>
#include <string>
#include <vector>

/// Whether a path, decoded, is one of the operator's: "/lab" or one below it.
bool IsOperatorPath(const std::string& strPath);

/// Tells the operator from a web page that a browser on his machine happens to show. Such a page can send
/// requests here, and by a name of its own that it lets point to this machine it could even read the answers;
/// but it can't keep the browser from saying where it comes from.
class LabGate
{
public:
    /// @param strAddress the address or name that the server listens on, as it was told
    /// @param nPort the port that it listens on
    LabGate(const std::string& strAddress, int nPort);

    /// Why a request may not have the operator's path that it asks for: one that names another host than this
    /// server, or none, or comes from a page of another site (403), or brings a body that is not called JSON
    /// (415). Such a body a page may send anywhere, unasked.
    LabRefusal RefusalOf(const httplib::Request& request) const;

private:
    bool IsOwn(const std::string& strHost) const;
    bool IsOwnOrigin(const std::string& strOrigin) const;

    std::vector<std::string> m_vecOwn; ///< as they stand in the header Host, in lower case
};

/// Adds to the reply for an operator's path what keeps a browser from showing it in, or giving it to, pages
/// of others, and from keeping it.
void ProtectReply(httplib::Response& response);
