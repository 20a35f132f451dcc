#pragma once

#include <httplib.h>
#include <string>

/// Answers a request with a file of the operator's page: "/lab/page/NAME" with that file, "/lab/" with the
/// page itself if the client prefers HTML to JSON, as browsers do.
/// @return false if the request is for something else
bool AnswerPage(const std::string& strPath, const httplib::Request& request, httplib::Response& response);

/// Whether a header Accept gives HTML more weight than JSON.
bool PrefersHtml(const std::string& strAccept);
