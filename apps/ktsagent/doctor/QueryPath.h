#pragma once

#include <string>
#include <vector>

/// A query that asks the server something and changes nothing there.
struct QueryPath {
    int nType;             ///< the request type id, which has the endpoint path
    std::string strName;   ///< the operation of this program that sends such a query
    std::string strSuffix; ///< what follows the endpoint path
};

/// All queries of the library. Reports are never sent.
const std::vector<QueryPath>& QueryPaths();

/// The queries with some names.
/// @throws std::invalid_argument for an unknown name
std::vector<QueryPath> ChosenPaths(const std::vector<std::string>& vecNames);
