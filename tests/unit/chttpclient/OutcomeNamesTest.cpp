// The names that hosts know the transport's outcomes by, beside libcurl's own.

#include <ktshttpagent/chttpclient.h>

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <ostream>

namespace
{

struct OutcomeName {
    const char* szName;
    int nOutcome;
    CURLcode eError;

    friend void PrintTo(const OutcomeName& row, std::ostream* pOut) { *pOut << row.szName; }
};

class Outcome : public ::testing::TestWithParam<OutcomeName>
{
};

TEST_P(Outcome, IsTheErrorOfLibcurlMadeNegative)
{
    EXPECT_EQ(GetParam().nOutcome, -static_cast<int>(GetParam().eError));
}

INSTANTIATE_TEST_SUITE_P(
    Names, Outcome,
    ::testing::Values(
        OutcomeName{"UnsupportedProtocol", CHttpOutcome::UnsupportedProtocol, CURLE_UNSUPPORTED_PROTOCOL},
        OutcomeName{"NotRunning", CHttpOutcome::NotRunning, CURLE_FAILED_INIT},
        OutcomeName{"InvalidUrl", CHttpOutcome::InvalidUrl, CURLE_URL_MALFORMAT},
        OutcomeName{"NameNotFound", CHttpOutcome::NameNotFound, CURLE_COULDNT_RESOLVE_HOST},
        OutcomeName{"ConnectionRefused", CHttpOutcome::ConnectionRefused, CURLE_COULDNT_CONNECT},
        OutcomeName{"InvalidReplyHeader", CHttpOutcome::InvalidReplyHeader, CURLE_WEIRD_SERVER_REPLY},
        OutcomeName{"EndedEarly", CHttpOutcome::EndedEarly, CURLE_PARTIAL_FILE},
        OutcomeName{"OutOfMemory", CHttpOutcome::OutOfMemory, CURLE_OUT_OF_MEMORY},
        OutcomeName{"TimedOut", CHttpOutcome::TimedOut, CURLE_OPERATION_TIMEDOUT},
        OutcomeName{"TlsFailed", CHttpOutcome::TlsFailed, CURLE_SSL_CONNECT_ERROR},
        OutcomeName{"Cancelled", CHttpOutcome::Cancelled, CURLE_ABORTED_BY_CALLBACK},
        OutcomeName{"InvalidHeaderLine", CHttpOutcome::InvalidHeaderLine, CURLE_BAD_FUNCTION_ARGUMENT},
        OutcomeName{"NoReply", CHttpOutcome::NoReply, CURLE_GOT_NOTHING},
        OutcomeName{"SendFailed", CHttpOutcome::SendFailed, CURLE_SEND_ERROR},
        OutcomeName{"ConnectionReset", CHttpOutcome::ConnectionReset, CURLE_RECV_ERROR},
        OutcomeName{"UntrustedCertificate", CHttpOutcome::UntrustedCertificate,
                    CURLE_PEER_FAILED_VERIFICATION},
        OutcomeName{"UnpackingFailed", CHttpOutcome::UnpackingFailed, CURLE_BAD_CONTENT_ENCODING},
        OutcomeName{"ReplyTooLarge", CHttpOutcome::ReplyTooLarge, CURLE_FILESIZE_EXCEEDED},
        OutcomeName{"DiedBeforeReply", CHttpOutcome::DiedBeforeReply, CURLE_SEND_FAIL_REWIND},
        OutcomeName{"CaFileUnreadable", CHttpOutcome::CaFileUnreadable, CURLE_SSL_CACERT_BADFILE}),
    [](const auto& test) { return test.param.szName; });

TEST(OutcomeName, OfARequestThatIsOneTooManyIsNoErrorOfLibcurl)
{
    EXPECT_EQ(CHttpOutcome::TooManyOutstanding, -1000);
    EXPECT_GT(-CHttpOutcome::TooManyOutstanding, static_cast<int>(CURL_LAST));
}

} // namespace
