#pragma once

#include <ostream>
#include <string>
#include <vector>

/// A reply that a server sends in curl's own test suite: right, wrong, or of another protocol altogether.
struct CurlTestReply {
    std::string strName; ///< "test1 data"
    std::string strBytes;
};

/// Every reply of curl's test data, which packaging/curl_test_data.sh fetches.
/// @throws std::runtime_error when the data is missing
std::vector<CurlTestReply> CurlTestReplies();

/// How a test changes each reply before a server sends it.
struct CurlTestVariant {
    const char* szName;
    std::string (*fnApply)(std::string strBytes);

    friend void PrintTo(const CurlTestVariant& variant, std::ostream* pOut) { *pOut << variant.szName; }
};

/// The reply as it is, with its first or with every header line folded, and cut in the middle.
std::vector<CurlTestVariant> CurlTestVariants();
