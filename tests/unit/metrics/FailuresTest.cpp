#include "platform/metrics/Recorder.h"

#include <ktshttpagent/chttpclient.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

using metrics::FailureOf;

struct Classed {
    int nHttpError;
    EKtsFailure eFailure;
};

class FailureClass : public testing::TestWithParam<Classed>
{
};

TEST_P(FailureClass, IsThatOfItsOutcome)
{
    EXPECT_EQ(FailureOf(GetParam().nHttpError), GetParam().eFailure);
}

INSTANTIATE_TEST_SUITE_P(Each, FailureClass,
                         testing::Values(Classed{CHttpOutcome::UnsupportedProtocol, EKtsFailure::Unreadable},
                                         Classed{CHttpOutcome::NotRunning, EKtsFailure::NotSent},
                                         Classed{CHttpOutcome::InvalidUrl, EKtsFailure::NotSent},
                                         Classed{CHttpOutcome::NameNotFound, EKtsFailure::NameNotFound},
                                         Classed{CHttpOutcome::ConnectionRefused, EKtsFailure::NotConnected},
                                         Classed{CHttpOutcome::InvalidReplyHeader, EKtsFailure::Unreadable},
                                         Classed{CHttpOutcome::EndedEarly, EKtsFailure::ConnectionLost},
                                         Classed{CHttpOutcome::OutOfMemory, EKtsFailure::Other},
                                         Classed{CHttpOutcome::TimedOut, EKtsFailure::TimedOut},
                                         Classed{CHttpOutcome::TlsFailed, EKtsFailure::TlsFailed},
                                         Classed{CHttpOutcome::Cancelled, EKtsFailure::Cancelled},
                                         Classed{CHttpOutcome::InvalidHeaderLine, EKtsFailure::NotSent},
                                         Classed{CHttpOutcome::NoReply, EKtsFailure::ConnectionLost},
                                         Classed{CHttpOutcome::SendFailed, EKtsFailure::ConnectionLost},
                                         Classed{CHttpOutcome::ConnectionReset, EKtsFailure::ConnectionLost},
                                         Classed{CHttpOutcome::UntrustedCertificate, EKtsFailure::TlsFailed},
                                         Classed{CHttpOutcome::UnpackingFailed, EKtsFailure::Unreadable},
                                         Classed{CHttpOutcome::ReplyTooLarge, EKtsFailure::Unreadable},
                                         Classed{CHttpOutcome::DiedBeforeReply, EKtsFailure::ConnectionLost},
                                         Classed{CHttpOutcome::CaFileUnreadable, EKtsFailure::TlsFailed},
                                         Classed{CHttpOutcome::TooManyOutstanding, EKtsFailure::NotSent},
                                         Classed{0, EKtsFailure::Other},
                                         Classed{302, EKtsFailure::HttpStatus},
                                         Classed{500, EKtsFailure::HttpStatus},
                                         Classed{-999, EKtsFailure::Other}));

TEST(Failures, ShowThatTheServerCanNotBeReachedIfItGaveNoAnswer)
{
    std::set<EKtsFailure> setUnreached;
    for (std::size_t nFailure = 0; nFailure < KTS_FAILURES; ++nFailure) {
        if (metrics::IsUnreached(static_cast<EKtsFailure>(nFailure))) {
            setUnreached.insert(static_cast<EKtsFailure>(nFailure));
        }
    }
    EXPECT_THAT(setUnreached,
                testing::UnorderedElementsAre(EKtsFailure::NameNotFound, EKtsFailure::NotConnected,
                                              EKtsFailure::TlsFailed, EKtsFailure::TimedOut,
                                              EKtsFailure::ConnectionLost));
}

TEST(FailureNames, AreAllDifferent)
{
    std::set<std::string> setNames;
    for (std::size_t nFailure = 0; nFailure < KTS_FAILURES; ++nFailure) {
        setNames.insert(KtsFailureName(static_cast<EKtsFailure>(nFailure)));
    }
    EXPECT_EQ(setNames.size(), KTS_FAILURES);
    EXPECT_STREQ(KtsFailureName(EKtsFailure::TimedOut), "timed_out");
    EXPECT_STREQ(KtsFailureName(static_cast<EKtsFailure>(KTS_FAILURES)), "other");
    EXPECT_STREQ(KtsFailureName(static_cast<EKtsFailure>(-1)), "other");
}

} // namespace
