#pragma once

#include <ostream>
#include <string>
#include <vector>

/// A reply that curl's own test suite has a server send: right, wrong, or of another protocol altogether.
struct CurlTestReply {
    std::string strName; ///< "test1 data"
    std::string strBytes;
};

/// Every reply of curl's test data, which packaging/curl_test_data.sh fetches.
/// @throws std::runtime_error where the data is missing
std::vector<CurlTestReply> CurlTestReplies();

/// What a test makes of each reply before it plays it.
struct CurlTestVariant {
    const char* szName;
    std::string (*fnApply)(std::string strBytes);

    friend void PrintTo(const CurlTestVariant& variant, std::ostream* pOut) { *pOut << variant.szName; }
};

/// The reply as it is, with its first or with every header line folded, and cut in the middle.
std::vector<CurlTestVariant> CurlTestVariants();
