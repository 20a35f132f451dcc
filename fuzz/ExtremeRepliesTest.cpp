// Replies of a size or depth that no server sends on purpose: every decoder answers each of them exactly
// once, by the same rules as a small one. They are generated here, not stored.

#include "SdkFixture.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace
{
using std::string;

constexpr std::size_t MILLION = 1000000;
constexpr std::size_t LIST_LIMIT = 250000;
constexpr std::size_t VALUE_LIMIT = 2000000;

string Repeated(const string& strText, std::size_t nTimes)
{
    string strAll;
    strAll.reserve(strText.size() * nTimes);
    for (std::size_t i = 0; i < nTimes; ++i) {
        strAll += strText;
    }
    return strAll;
}

string NestedArrays()
{
    return string(MILLION, '[') + string(MILLION, ']');
}

string NestedObjects()
{
    return Repeated("{\"a\":", MILLION) + "1" + string(MILLION, '}');
}

/// A reply that is a success for every decoder ("success" is true, "code" is 0), and that also has the given
/// member.
string SuccessWith(const string& strName, const string& strValue)
{
    return "{\"" + strName + "\":" + strValue + ",\"success\":true,\"code\":0}";
}

string MillionMembers()
{
    string strAll = "{";
    for (std::size_t i = 0; i < MILLION; ++i) {
        strAll += "\"m" + std::to_string(i) + "\":1,";
    }
    return strAll + "\"success\":true,\"code\":0}";
}

string ArrayOf(const string& strElement, std::size_t nTimes = MILLION)
{
    return "[" + Repeated(strElement + ",", nTimes - 1) + strElement + "]";
}

constexpr std::size_t TEN_MEGABYTES = 10 * MILLION;
constexpr std::size_t HUNDRED_MEGABYTES = 100 * MILLION;

/// The results of the three kinds of decoders for a reply.
struct Results {
    int nFirstElement; ///< decoders that read an array's first element
    int nAnyArray;     ///< decoders for which any array is a success
    int nUserInfo;     ///< the decoder that reads the envelope
};

constexpr Results ALL_SUCCEED{0, 0, 0};
constexpr Results TOO_MANY_FOR_THE_ENVELOPE{0, 0, -1}; ///< its reader accepts an eighth as many values
constexpr Results ALL_FAIL{-1, -1, -1};

struct Extreme {
    const char* szName;
    string (*fnMake)();
    Results results;
};

void PrintTo(const Extreme& extreme, std::ostream* pStream)
{
    *pStream << extreme.szName;
}

// The envelope reader accepts a thousand levels. The other reader has no limit of depth and reads a number
// below the smallest double as zero. Both refuse numbers above the largest double.
const Extreme EXTREMES[] = {
    {"OpenSquareBrackets", [] { return string(MILLION, '['); }, ALL_FAIL},
    {"ClosingSquareBrackets", [] { return string(MILLION, ']'); }, ALL_FAIL},
    {"OpenCurlyBrackets", [] { return string(MILLION, '{'); }, ALL_FAIL},
    {"ClosingCurlyBrackets", [] { return string(MILLION, '}'); }, ALL_FAIL},
    {"OpenObjects", [] { return Repeated("{\"a\":", MILLION); }, ALL_FAIL},
    {"OpenArraysOfObjects", [] { return Repeated("[{\"a\":", MILLION); }, ALL_FAIL},
    {"NestedArrays", NestedArrays, {-1, 0, -1}},
    {"NestedObjects", NestedObjects, ALL_FAIL},
    {"NestedArraysInAMember", [] { return SuccessWith("x", NestedArrays()); }, {0, 0, -1}},
    {"NestedObjectsInAMember", [] { return SuccessWith("result", NestedObjects()); }, {0, 0, -1}},
    {"ArrayOfBrackets", [] { return ArrayOf("[]"); }, {-1, 0, -1}},
    {"TextThatIsNoJson", [] { return string(TEN_MEGABYTES, 'x'); }, ALL_FAIL},
    {"Blanks", [] { return string(TEN_MEGABYTES, ' '); }, ALL_FAIL},
    {"Nuls", [] { return string(TEN_MEGABYTES, '\0'); }, ALL_FAIL},
    {"AlmostGateways", [] { return Repeated("Bad Gatewa", TEN_MEGABYTES / 10); }, ALL_FAIL},
    {"TextMember", [] { return SuccessWith("message", '"' + string(TEN_MEGABYTES, 'x') + '"'); },
     ALL_SUCCEED},
    {"TextNeverClosed", [] { return "{\"message\":\"" + string(TEN_MEGABYTES, 'x'); }, ALL_FAIL},
    {"EscapedText", [] { return SuccessWith("message", '"' + Repeated("\\u7535", MILLION) + '"'); },
     ALL_SUCCEED},
    {"MemberName", [] { return SuccessWith(string(TEN_MEGABYTES, 'x'), "1"); }, ALL_SUCCEED},
    {"DigitsOfAnInteger", [] { return SuccessWith("id", string(MILLION, '1')); }, ALL_FAIL},
    {"DigitsBehindThePoint", [] { return SuccessWith("id", "0." + string(MILLION, '1')); }, ALL_SUCCEED},
    {"ZerosBehindThePoint", [] { return SuccessWith("id", "0." + string(MILLION, '0') + "1"); }, ALL_SUCCEED},
    {"DigitsOfAnExponent", [] { return SuccessWith("id", "1e" + string(MILLION, '1')); }, ALL_FAIL},
    {"DigitsOfANegativeExponent", [] { return SuccessWith("id", "1e-" + string(MILLION, '1')); },
     ALL_SUCCEED},
    {"MillionMembers", MillionMembers, TOO_MANY_FOR_THE_ENVELOPE},
    {"MillionMembersOfOneName", [] { return "{" + Repeated("\"success\":true,", MILLION) + "\"code\":0}"; },
     TOO_MANY_FOR_THE_ENVELOPE},
    {"MillionNumbers", [] { return SuccessWith("result", ArrayOf("1")); }, TOO_MANY_FOR_THE_ENVELOPE},
    {"ValuesAtTheirLimit", [] { return SuccessWith("result", ArrayOf("1", VALUE_LIMIT - 4)); },
     TOO_MANY_FOR_THE_ENVELOPE},
    {"ValuesAboveTheirLimit", [] { return SuccessWith("result", ArrayOf("1", VALUE_LIMIT - 3)); }, ALL_FAIL},
    {"ValuesAtTheLimitOfTheEnvelope", [] { return SuccessWith("id", ArrayOf("1", VALUE_LIMIT / 8 - 4)); },
     ALL_SUCCEED},
    {"ValuesAboveTheLimitOfTheEnvelope", [] { return SuccessWith("id", ArrayOf("1", VALUE_LIMIT / 8 - 3)); },
     TOO_MANY_FOR_THE_ENVELOPE},
    {"TextFullOfCommas", [] { return SuccessWith("message", '"' + string(TEN_MEGABYTES, ',') + '"'); },
     ALL_SUCCEED},
    {"RootOfAMillionReplies", [] { return ArrayOf("{\"success\":true}"); }, ALL_FAIL},
};

// So large that one decoder of each kind is tried.
const Extreme LARGEST[] = {
    {"TextThatIsNoJson", [] { return string(HUNDRED_MEGABYTES, 'x'); }, ALL_FAIL},
    {"TextMember", [] { return SuccessWith("message", '"' + string(HUNDRED_MEGABYTES, 'x') + '"'); },
     ALL_SUCCEED},
};

std::vector<Operation> OneOfEachKind()
{
    return {OP_PROJECTS, OP_CHANNEL_CHECK, OP_USER_INFO};
}

/// All; with a sanitizer one of each kind, since the others would take another half minute of processor time
/// and read nothing in another way.
std::vector<Operation> Decoders()
{
#if defined(__SANITIZE_ADDRESS__)
    return OneOfEachKind();
#else
    return AnsweredOperations();
#endif
}

int ResultFor(const Operation& operation, const Results& results)
{
    switch (operation.nType) {
    case 3100:
        return results.nUserInfo;
    case 3109:
    case 3110:
        return results.nAnyArray;
    default:
        return results.nFirstElement;
    }
}

class ExtremeReply : public SdkTest, public testing::WithParamInterface<std::tuple<Operation, Extreme>>
{
};

struct ExtremeCodeCase {
    const char* szName;
    const char* szCode;
    int nResult;
};

void PrintTo(const ExtremeCodeCase& code, std::ostream* pStream)
{
    *pStream << code.szName;
}

class ExtremeCode : public SdkTest, public testing::WithParamInterface<ExtremeCodeCase>
{
};

using ExtremeText = SdkTest;

} // namespace

TEST_P(ExtremeReply, GetsItsOneAnswer)
{
    const auto& [operation, extreme] = GetParam();
    std::optional<int> result;
    Ask(operation, extreme.fnMake(), [&result](int, const void*, const SResponseHeader& header, int nResult) {
        EXPECT_EQ(header.nCode, nResult);
        result = nResult;
    });
    EXPECT_EQ(result, ResultFor(operation, extreme.results));
}

string NameOf(const testing::TestParamInfo<ExtremeReply::ParamType>& reply)
{
    return string(std::get<0>(reply.param).szName) + std::get<1>(reply.param).szName;
}

INSTANTIATE_TEST_SUITE_P(Each, ExtremeReply,
                         testing::Combine(testing::ValuesIn(Decoders()), testing::ValuesIn(EXTREMES)),
                         NameOf);

INSTANTIATE_TEST_SUITE_P(Largest, ExtremeReply,
                         testing::Combine(testing::ValuesIn(OneOfEachKind()), testing::ValuesIn(LARGEST)),
                         NameOf);

TEST_P(ExtremeCode, OfAUserIsReadWhenItIsAnInteger)
{
    Ask(OP_USER_INFO, string("{\"code\":") + GetParam().szCode + "}",
        [](int, const void*, const SResponseHeader&, int nResult) {
            EXPECT_EQ(nResult, GetParam().nResult);
        });
}

INSTANTIATE_TEST_SUITE_P(Each, ExtremeCode,
                         testing::Values(ExtremeCodeCase{"Huge", "1e300", 0},
                                         ExtremeCodeCase{"MinusHuge", "-1e300", 0},
                                         ExtremeCodeCase{"Tiny", "1e-300", 0},
                                         ExtremeCodeCase{"MinusZero", "-0", 0},
                                         ExtremeCodeCase{"MinusZeroPointZero", "-0.0", 0},
                                         ExtremeCodeCase{"AboveTheLargestDouble", "1E400", -1},
                                         ExtremeCodeCase{"BelowTheSmallestDouble", "1E-400", 0},
                                         ExtremeCodeCase{"SmallestInt", "-2147483648", -2147483647 - 1},
                                         ExtremeCodeCase{"BelowTheSmallestInt", "-2147483649", 0},
                                         ExtremeCodeCase{"LargestUnsigned", "18446744073709551615", 0}),
                         testing::PrintToStringParamName());

struct ListCase {
    const char* szName;
    Operation operation;
    string (*fnMake)(std::size_t nElements);
    std::size_t (*fnSize)(const SResponseHeader& header);
};

void PrintTo(const ListCase& list, std::ostream* pStream)
{
    *pStream << list.szName;
}

std::size_t StatesOfTheFirst(const SResponseHeader& header)
{
    const auto& lstBattery = Payload<SResponseGetBatteryStatus>(header).lstBattery;
    return lstBattery.empty() ? 0 : lstBattery.front().lstStatus.size();
}

const ListCase LISTS[] = {
    {"Projects", OP_PROJECTS,
     [](std::size_t nElements) { return SuccessWith("实验项目", ArrayOf("{\"xh\":\"1\"}", nElements)); },
     [](const SResponseHeader& header) { return Payload<SResponseGetProject>(header).lstProject.size(); }},
    {"Batteries", OP_BATT_STATUS,
     [](std::size_t nElements) { return SuccessWith("全部电池状态", ArrayOf("{\"id\":1}", nElements)); },
     [](const SResponseHeader& header) {
         return Payload<SResponseGetBatteryStatus>(header).lstBattery.size();
     }},
    {"States", OP_BATT_STATUS,
     [](std::size_t nElements) {
         return SuccessWith("全部电池状态", "[{\"电池状态\":" + ArrayOf("{\"id\":1}", nElements) + "}]");
     },
     StatesOfTheFirst},
};

class ExtremeListOf : public SdkTest, public testing::WithParamInterface<ListCase>
{
};

TEST_P(ExtremeListOf, AsManyElementsAsItsLimitIsHandedOverWhole)
{
    Ask(GetParam().operation, GetParam().fnMake(LIST_LIMIT),
        [](int, const void*, const SResponseHeader& header, int nResult) {
            EXPECT_EQ(nResult, 0);
            EXPECT_EQ(GetParam().fnSize(header), LIST_LIMIT);
        });
    EXPECT_TRUE(RecordedLog().empty());
}

TEST_P(ExtremeListOf, MoreElementsThanItsLimitIsAFailedParse)
{
    for (const std::size_t nElements : {LIST_LIMIT + 1, 2 * LIST_LIMIT}) {
        ClearRecordedLog();
        Ask(GetParam().operation, GetParam().fnMake(nElements),
            [](int, const void* pUser, const SResponseHeader& header, int nResult) {
                EXPECT_NE(pUser, nullptr);
                EXPECT_EQ(nResult, -1);
                EXPECT_EQ(header.nCode, -1);
                EXPECT_EQ(GetParam().fnSize(header), 0U);
            });
        ASSERT_EQ(RecordedLog().size(), 1U);
        EXPECT_EQ(RecordedLog().front().nLevel, 1);
        EXPECT_THAT(RecordedLog().front().strText,
                    testing::HasSubstr(std::to_string(nElements) + " elements in the list"));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, ExtremeListOf, testing::ValuesIn(LISTS), testing::PrintToStringParamName());

TEST_F(ExtremeText, OfAHundredMegabytesIsHandedOverWhole)
{
    Ask(OP_CHANNEL_CHECK, SuccessWith("message", '"' + string(HUNDRED_MEGABYTES, 'x') + '"'),
        [](int, const void*, const SResponseHeader& header, int) {
            EXPECT_EQ(Payload<SResponseGetChannelCheckData>(header).strMessage.size(), HUNDRED_MEGABYTES);
        });
}
