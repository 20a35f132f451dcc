#pragma once

#include "labserver/LabHandler.h"

#include <httplib.h>
#include <string>

/// Answers a request according to the tables of routes; a failure of any kind is answered too.
void AnswerRequest(LabContext& context, const std::string& strPath, const httplib::Request& request,
                   httplib::Response& response);
