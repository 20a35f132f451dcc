#include <ktshttpagent/RequestRecords.h>
#include <ktshttpagent/ResultRecords.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

// Hosts share the memory layout of these records with the library: each field must directly follow the
// previous one, with nothing before the first and nothing after the last.

namespace
{
struct FieldPlace {
    const char* szName;
    std::size_t nOffset;
    std::size_t nSize;
    std::size_t nAlignment;
};

template <class Expected, class Actual>
constexpr FieldPlace PlaceOf(const char* szName, std::size_t nOffset)
{
    static_assert(std::is_same_v<Expected, Actual>);
    return {szName, nOffset, sizeof(Actual), alignof(Actual)};
}

#define FIELD(Record, Type, field) PlaceOf<Type, decltype(Record::field)>(#field, offsetof(Record, field))

std::size_t Aligned(std::size_t nOffset, std::size_t nAlignment)
{
    return (nOffset + nAlignment - 1) / nAlignment * nAlignment;
}

template <class Record>
void ExpectNothingElseIn(const std::vector<FieldPlace>& vecFields)
{
    static_assert(std::is_standard_layout_v<Record>);
    std::size_t nEnd = 0;
    for (const FieldPlace& field : vecFields) {
        EXPECT_EQ(field.nOffset, Aligned(nEnd, field.nAlignment)) << field.szName;
        nEnd = field.nOffset + field.nSize;
    }
    EXPECT_EQ(sizeof(Record), Aligned(nEnd, alignof(Record)));
}

using std::string;
} // namespace

TEST(RecordLayout, OfAChannelStatus)
{
    using Info = KTSStartPlugin::tagRepoChlStatusInfo;
    ExpectNothingElseIn<Info>({FIELD(Info, string, PEXAVer),
                               FIELD(Info, string, action),
                               FIELD(Info, string, action_desc),
                               FIELD(Info, string, backup_dir),
                               FIELD(Info, string, box),
                               FIELD(Info, string, cMax),
                               FIELD(Info, string, chl),
                               FIELD(Info, unsigned int, chlType),
                               FIELD(Info, string, com),
                               FIELD(Info, double, current),
                               FIELD(Info, unsigned int, cycle),
                               FIELD(Info, string, deviceId),
                               FIELD(Info, double, disch_capacity),
                               FIELD(Info, double, disch_retention),
                               FIELD(Info, string, dxtm),
                               FIELD(Info, string, errorParam),
                               FIELD(Info, string, errorTime),
                               FIELD(Info, string, spare),
                               FIELD(Info, unsigned int, reason),
                               FIELD(Info, string, reason_desc),
                               FIELD(Info, string, retentionUnder),
                               FIELD(Info, string, stepStatus),
                               FIELD(Info, string, step_state),
                               FIELD(Info, string, stopTime),
                               FIELD(Info, string, ver),
                               FIELD(Info, double, voltage),
                               FIELD(Info, unsigned int, wtNumId),
                               FIELD(Info, unsigned int, xmNameId),
                               FIELD(Info, string, dczt),
                               FIELD(Info, string, deviceModelType),
                               FIELD(Info, string, deviceRange)});
}

TEST(RecordLayout, OfAnIncubatorStatus)
{
    using Status = KTSStartPlugin::tagRepoIncubatorStatus;
    ExpectNothingElseIn<Status>(
        {FIELD(Status, string, name), FIELD(Status, bool, status), FIELD(Status, float, temperature)});
}

TEST(RecordLayout, OfTestData)
{
    using Data = tagBatteryTestData;
    ExpectNothingElseIn<Data>({FIELD(Data, string, siteNo), FIELD(Data, string, batchNo),
                               FIELD(Data, string, resourceNo), FIELD(Data, string, chargingCapacity),
                               FIELD(Data, string, dischargeCapacity), FIELD(Data, string, voltage),
                               FIELD(Data, string, uploadTime)});
    EXPECT_EQ(sizeof(Data), 7 * sizeof(string));
}

TEST(RecordLayout, OfAChannelCheckQuery)
{
    using Query = tagSRequestGetChannelCheckData;
    ExpectNothingElseIn<Query>({FIELD(Query, int, wtNumId), FIELD(Query, int, xmNameId),
                                FIELD(Query, string, dxtm), FIELD(Query, string, deviceId),
                                FIELD(Query, string, chl), FIELD(Query, string, purpose)});
}

TEST(RecordLayout, OfAReplyHeader)
{
    ExpectNothingElseIn<SResponseHeader>(
        {FIELD(SResponseHeader, string, strExtra1), FIELD(SResponseHeader, string, strExtra2),
         FIELD(SResponseHeader, int, nCode), FIELD(SResponseHeader, const void*, pData),
         FIELD(SResponseHeader, string, strMessage)});
}

TEST(RecordLayout, OfUserInformation)
{
    ExpectNothingElseIn<USER_INFO>(
        {FIELD(USER_INFO, int, id), FIELD(USER_INFO, string, title), FIELD(USER_INFO, string, author)});
}

TEST(RecordLayout, OfAProjectItem)
{
    ExpectNothingElseIn<SIdName>({FIELD(SIdName, string, id), FIELD(SIdName, string, name)});
    ExpectNothingElseIn<SProjectItem>({FIELD(SProjectItem, string, xh), FIELD(SProjectItem, SIdName, wtdh),
                                       FIELD(SProjectItem, SIdName, csType),
                                       FIELD(SProjectItem, SIdName, xmClassify),
                                       FIELD(SProjectItem, SIdName, xmName)});
    EXPECT_EQ(sizeof(SProjectItem), 9 * sizeof(string));
}

TEST(RecordLayout, OfABatteryItem)
{
    ExpectNothingElseIn<SBatteryItem>({FIELD(SBatteryItem, int, id), FIELD(SBatteryItem, string, name),
                                       FIELD(SBatteryItem, std::vector<int>, lstStatus)});
}

TEST(RecordLayout, OfAutoExportData)
{
    using Export = SResponseGetAutoExport;
    ExpectNothingElseIn<Export>({FIELD(Export, bool, bSuccess),
                                 FIELD(Export, string, strAnodeMaterial),
                                 FIELD(Export, string, strBatchNumber),
                                 FIELD(Export, string, strContainerNumber),
                                 FIELD(Export, string, strCustomer),
                                 FIELD(Export, string, strDiaphragm),
                                 FIELD(Export, string, strElectrolyte),
                                 FIELD(Export, string, strNegativeMaterial),
                                 FIELD(Export, string, strOrderNO),
                                 FIELD(Export, string, strPlace),
                                 FIELD(Export, string, strProjectClassify),
                                 FIELD(Export, string, strShareOrder),
                                 FIELD(Export, string, strShareSample),
                                 FIELD(Export, string, strSystemCapacity),
                                 FIELD(Export, string, strTestClassify),
                                 FIELD(Export, string, strTestProject),
                                 FIELD(Export, string, strTestPurpose),
                                 FIELD(Export, string, strTestReporter),
                                 FIELD(Export, string, strTestType),
                                 FIELD(Export, string, strThickRat),
                                 FIELD(Export, string, strType)});
}

TEST(RecordLayout, OfThePayloadsThatBeginWithTheirSuccess)
{
    EXPECT_EQ(offsetof(SResponseGetProject, bSuccess), 0U);
    EXPECT_EQ(offsetof(SResponseGetBatteryStatus, bSuccess), 0U);
    EXPECT_EQ(offsetof(SResponseGetFtpFilePath, bSuccess), 0U);
    EXPECT_EQ(offsetof(SResponseGetChannelCheckData, bSuccess), 0U);
    EXPECT_EQ(offsetof(SResponseGetWhetherInCommon, bSuccess), 0U);
}
