#pragma once

#include <string>

/// Why a request is not served.
struct LabRefusal {
    int nStatus = 0;    ///< HTTP status; 0 when there is nothing to refuse
    std::string strWhy; ///< a sentence
};
