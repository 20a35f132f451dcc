#pragma once

#include "labserver/LabHandler.h"

#include <httplib.h>
#include <string>

/// Whether a request to a path brings a report, which is stored.
bool TakesReports(const std::string& strMethod, const std::string& strPath);

/// Answers a request according to the table of routes; a failure of any kind is answered too.
void AnswerRequest(LabContext& context, const std::string& strPath, const httplib::Request& request,
                   httplib::Response& response);
