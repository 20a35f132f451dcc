#pragma once

#include "labserver/LabHandler.h"

#include <httplib.h>
#include <string>

/// Whether a request to a path brings a report, which is stored.
bool TakesReports(const std::string& strMethod, const std::string& strPath);

/// Checks that a fault's path is one that hosts use, or a parent of one.
/// @throws LabError (400) if it could never have an effect
void RequireHostPath(const std::string& strFaultPath);

/// Answers a request according to the table of routes; a failure of any kind is answered too.
void AnswerRequest(LabContext& context, const std::string& strPath, const httplib::Request& request,
                   httplib::Response& response);
