#pragma once

#include "labserver/LabHandler.h"

#include <string>
#include <vector>

/// What answers a request.
struct LabRoute {
    std::string strMethod;
    std::string strPath; ///< one that ends in "/" stands for every path with one more segment
    const char* szWhat;  ///< what is at the path, for people
    LabHandler fnAnswer;
    std::string strReports{}; ///< the kind of reports that the requests bring; empty if they bring none
};

/// Whether a route serves a path. @param strTail gets the rest of the path after the route's
bool Serves(const LabRoute& route, const std::string& strPath, std::string& strTail);

/// What hosts may ask and report.
const std::vector<LabRoute>& HostRoutes();

/// Whether a request to a path brings a report, which is stored.
bool TakesReports(const std::string& strMethod, const std::string& strPath);

/// Checks that a fault's path is one that hosts use, or a parent of one.
/// @throws LabError (400) if it could never have an effect
void RequireHostPath(const std::string& strFaultPath);
