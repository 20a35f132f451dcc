#include "OutboxFigures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::HasSubstr;

TEST(OutboxFigures, AreNoneWhileItIsClosed)
{
    SKtsOutboxStatus status;
    status.nWaiting = 7;
    EXPECT_EQ(OutboxFigures(status), "");
}

TEST(OutboxFigures, TellWhatAnOperatorWatches)
{
    SKtsOutboxStatus status;
    status.bOpen = true;
    status.nWaiting = 7;
    status.oldest = std::chrono::milliseconds(61'999);
    status.nBytes = 4096;
    status.nDead = 2;
    status.nBad = 1;
    status.nUnprotected = 3;
    const std::string strText = OutboxFigures(status);
    EXPECT_THAT(strText, HasSubstr("# TYPE ktshttpagent_outbox_waiting gauge\n"
                                   "ktshttpagent_outbox_waiting 7\n"));
    EXPECT_THAT(strText, HasSubstr("\nktshttpagent_outbox_oldest_seconds 61\n"));
    EXPECT_THAT(strText, HasSubstr("\nktshttpagent_outbox_bytes 4096\n"));
    EXPECT_THAT(strText, HasSubstr("\nktshttpagent_outbox_dead_letters 2\n"));
    EXPECT_THAT(strText, HasSubstr("\nktshttpagent_outbox_bad_pieces 1\n"));
    EXPECT_THAT(strText, HasSubstr("# TYPE ktshttpagent_outbox_unprotected_total counter\n"
                                   "ktshttpagent_outbox_unprotected_total 3\n"));
    EXPECT_THAT(strText, HasSubstr("\nktshttpagent_outbox_alarm 0\n"));
    status.bInAlarm = true;
    EXPECT_THAT(OutboxFigures(status), HasSubstr("\nktshttpagent_outbox_alarm 1\n"));
}

} // namespace
