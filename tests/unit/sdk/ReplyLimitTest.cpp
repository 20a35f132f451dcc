#include "SdkFixture.h"

#include "platform/reply/ReplyLimits.h"

#include <cstdlib>

namespace
{

/// Sets limits, which the client reads when it is created.
struct Limits {
    Limits()
    {
        ::setenv(LIST_ELEMENTS_VARIABLE, "3", 1);
        ::setenv(REPLY_VALUES_VARIABLE, "100", 1);
    }
};

class ReplyLimit : public Limits, public SdkTest
{
protected:
    static std::string Zeros(int nCount)
    {
        std::string strZeros = "0";
        for (int nZero = 1; nZero < nCount; ++nZero) {
            strZeros += ",0";
        }
        return "[" + strZeros + "]";
    }

    /// Expects no success in the record that is handed over with a reply of too many values.
    template <class Record>
    void ExpectNoSuccess(const Operation& operation)
    {
        Ask(operation, R"({"success":true,"more":)" + Zeros(1000) + "}",
            [&](int, const void*, const SResponseHeader& header, int nResult) {
                EXPECT_EQ(nResult, -1) << operation.szName;
                EXPECT_FALSE(Payload<Record>(header).bSuccess) << operation.szName;
            });
    }
};

TEST_F(ReplyLimit, OfAListIsWhatItMayHold)
{
    for (const int nProjects : {3, 4}) {
        Ask(OP_PROJECTS, R"({"success":true,"实验项目":)" + Zeros(nProjects) + "}",
            [&](int, const void*, const SResponseHeader& header, int nResult) {
                EXPECT_EQ(nResult, nProjects == 3 ? 0 : -1);
                EXPECT_EQ(Payload<SResponseGetProject>(header).lstProject.size(), nProjects == 3 ? 3U : 0U);
            });
    }
}

TEST_F(ReplyLimit, OfValuesMakesNoRecordOfAReplyBeyondItASuccess)
{
    ExpectNoSuccess<SResponseGetProject>(OP_PROJECTS);
    ExpectNoSuccess<SResponseGetBatteryStatus>(OP_BATT_STATUS);
    ExpectNoSuccess<SResponseGetAutoExport>(OP_AUTO_EXPORT);
    ExpectNoSuccess<SResponseGetFtpFilePath>(OP_FTP_PATH);
    ExpectNoSuccess<SResponseGetChannelCheckData>(OP_CHANNEL_CHECK);
    ExpectNoSuccess<SResponseGetWhetherInCommon>(OP_IN_COMMON);
}

} // namespace
