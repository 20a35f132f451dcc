#include "PayloadText.h"
#include "SdkFixture.h"

#include <optional>

// Which members the decoders read, and what they take from them: every member is tried with every JSON value.

namespace
{
using std::string;

/// A JSON value, and what is read from it as text, as a 32-bit integer and as the literal true.
struct Value {
    string strJson;
    string strText;
    std::optional<int> integer;
    bool bTrue;
};

const std::vector<Value>& Values()
{
    static const std::vector<Value> vecValues{
        {R"("x")", "x", {}, false},
        {R"("")", "", {}, false},
        {R"("true")", "true", {}, false},
        {R"("12")", "12", {}, false},
        {R"("\u7535池")", "电池", {}, false},
        {R"("\"\\\/\b\f\n\r\t")", "\"\\/\b\f\n\r\t", {}, false},
        {R"("\ud83d\ude00")", "😀", {}, false},
        {"\"\x7f\"", "\x7f", {}, false},
        {R"("a\u0000b")", "a", {}, false},
        {R"("\u0000")", "", {}, false},
        {'"' + string(100000, 'x') + '"', string(100000, 'x'), {}, false},
        {"12", "", 12, false},
        {"-7", "", -7, false},
        {"0", "", 0, false},
        {"1", "", 1, false},
        {"2147483647", "", 2147483647, false},
        {"-2147483648", "", -2147483647 - 1, false},
        {"2147483648", "", {}, false},
        {"-2147483649", "", {}, false},
        {"4294967295", "", {}, false},
        {"9223372036854775808", "", {}, false},
        {"12.5", "", {}, false},
        {"1e300", "", {}, false},
        {"true", "", {}, true},
        {"false", "", {}, false},
        {"null", "", {}, false},
        {"[]", "", {}, false},
        {R"(["x",12,true])", "", {}, false},
        {"{}", "", {}, false},
        {R"({"id":12,"name":"x","success":true})", "", {}, false},
    };
    return vecValues;
}

/// The rule by which a decoder reads a value, and so how the field appears as text.
enum class Kind { Text, IntAsText, Int, IntInList, Bool };

string Expected(Kind kind, const Value& value)
{
    const string strInteger = value.integer ? std::to_string(*value.integer) : "";
    switch (kind) {
    case Kind::Text:
        return value.strText;
    case Kind::IntAsText:
        return strInteger;
    case Kind::Int:
        return value.integer ? strInteger : "0";
    case Kind::IntInList:
        return "[" + strInteger + "]";
    case Kind::Bool:
        return Describe(value.bTrue);
    }
    return "?";
}

/// One member that a decoder reads. The reply is `szOpen`, the member, `szClose`, "success" and a brace.
struct Member {
    const char* szName;
    Operation operation;
    const char* szOpen;
    const char* szKey;
    const char* szClose;
    Kind kind;
    bool bFirstOfArray; ///< whether an array root is read by its first element
    std::function<string(const SResponseHeader&)> fnRead;

    string Reply(const string& strMembers, bool bSuccess = true) const
    {
        return szOpen + strMembers + szClose + "\"success\":" + Describe(bSuccess) + "}";
    }

    string With(const string& strJson) const { return Named(szKey, strJson); }

    static string Named(const string& strKey, const string& strJson)
    {
        return '"' + strKey + "\":" + strJson + ",";
    }

    string Default() const { return Expected(kind, {"", "", {}, false}); }
};

void PrintTo(const Member& member, std::ostream* pStream)
{
    *pStream << member.szName;
}

string AsText(const string& strText)
{
    return strText;
}

template <class Other>
string AsText(const Other& value)
{
    return Describe(value);
}

template <class Record, class Field>
std::function<string(const SResponseHeader&)> Read(Field Record::*pField)
{
    return [pField](const SResponseHeader& header) { return AsText(Payload<Record>(header).*pField); };
}

/// Reads from the first project what `fnRead` selects.
std::function<string(const SResponseHeader&)> OfProject(string (*fnRead)(const SProjectItem&))
{
    return [fnRead](const SResponseHeader& header) {
        return fnRead(Payload<SResponseGetProject>(header).lstProject.at(0));
    };
}

std::function<string(const SResponseHeader&)> OfBattery(string (*fnRead)(const SBatteryItem&))
{
    return [fnRead](const SResponseHeader& header) {
        return fnRead(Payload<SResponseGetBatteryStatus>(header).lstBattery.at(0));
    };
}

Member AutoExportMember(const char* szKey, string SResponseGetAutoExport::*pField)
{
    return {szKey, OP_AUTO_EXPORT, R"({"result":{)", szKey, R"("other":0},)", Kind::Text, true, Read(pField)};
}

Member ProjectPair(const char* szName, const char* szOpen, bool bId, string (*fnRead)(const SProjectItem&))
{
    return {szName,
            OP_PROJECTS,
            szOpen,
            bId ? "id" : "name",
            R"("other":0}}],)",
            bId ? Kind::IntAsText : Kind::Text,
            true,
            OfProject(fnRead)};
}

const char* const WTDH = R"({"实验项目":[{"委托单号":{)";
const char* const CS_TYPE = R"({"实验项目":[{"测试类型":{)";
const char* const XM_CLASSIFY = R"({"实验项目":[{"项目分类":{)";
const char* const XM_NAME = R"({"实验项目":[{"项目名称":{)";
const char* const BATTERY = R"({"全部电池状态":[{)";
const char* const BATTERY_STATUS = R"({"全部电池状态":[{"电池状态":[{)";
const char* const IN_LIST = R"("other":0}],)";
const char* const IN_RESULT = R"("other":0},)";

// NOLINTNEXTLINE(readability-function-size): a table
std::vector<Member> Members()
{
    using Export = SResponseGetAutoExport;
    using Check = SResponseGetChannelCheckData;
    return {
        {"com", OP_SUPPORT_VER, "{", "com", "", Kind::Text, true, Read(&SSupportVer::com)},
        {"ver", OP_SUPPORT_VER, "{", "ver", "", Kind::Text, true, Read(&SSupportVer::ver)},

        {"xh", OP_PROJECTS, R"({"实验项目":[{)", "xh", IN_LIST, Kind::Text, true,
         OfProject([](const SProjectItem& item) { return item.xh; })},
        ProjectPair("wtdhId", WTDH, true, [](const SProjectItem& item) { return item.wtdh.id; }),
        ProjectPair("wtdhName", WTDH, false, [](const SProjectItem& item) { return item.wtdh.name; }),
        ProjectPair("csTypeId", CS_TYPE, true, [](const SProjectItem& item) { return item.csType.id; }),
        ProjectPair("csTypeName", CS_TYPE, false, [](const SProjectItem& item) { return item.csType.name; }),
        ProjectPair("xmClassifyId", XM_CLASSIFY, true,
                    [](const SProjectItem& item) { return item.xmClassify.id; }),
        ProjectPair("xmClassifyName", XM_CLASSIFY, false,
                    [](const SProjectItem& item) { return item.xmClassify.name; }),
        ProjectPair("xmNameId", XM_NAME, true, [](const SProjectItem& item) { return item.xmName.id; }),
        ProjectPair("xmNameName", XM_NAME, false, [](const SProjectItem& item) { return item.xmName.name; }),

        {"batteryId", OP_BATT_STATUS, BATTERY, "id", IN_LIST, Kind::Int, true,
         OfBattery([](const SBatteryItem& item) { return Describe(item.id); })},
        {"batteryName", OP_BATT_STATUS, BATTERY, "name", IN_LIST, Kind::Text, true,
         OfBattery([](const SBatteryItem& item) { return item.name; })},
        {"batteryStatusId", OP_BATT_STATUS, BATTERY_STATUS, "id", R"("other":0}]}],)", Kind::IntInList, true,
         OfBattery([](const SBatteryItem& item) { return Describe(item.lstStatus); })},

        AutoExportMember("strAnodeMaterial", &Export::strAnodeMaterial),
        AutoExportMember("strBatchNumber", &Export::strBatchNumber),
        AutoExportMember("strContainerNumber", &Export::strContainerNumber),
        AutoExportMember("strCustomer", &Export::strCustomer),
        AutoExportMember("strDiaphragm", &Export::strDiaphragm),
        AutoExportMember("strElectrolyte", &Export::strElectrolyte),
        AutoExportMember("strNegativeMaterial", &Export::strNegativeMaterial),
        AutoExportMember("strOrderNO", &Export::strOrderNO),
        AutoExportMember("strPlace", &Export::strPlace),
        AutoExportMember("strProjectClassify", &Export::strProjectClassify),
        AutoExportMember("strShareOrder", &Export::strShareOrder),
        AutoExportMember("strShareSample", &Export::strShareSample),
        AutoExportMember("strSystemCapacity", &Export::strSystemCapacity),
        AutoExportMember("strTestClassify", &Export::strTestClassify),
        AutoExportMember("strTestProject", &Export::strTestProject),
        AutoExportMember("strTestPurpose", &Export::strTestPurpose),
        AutoExportMember("strTestReporter", &Export::strTestReporter),
        AutoExportMember("strTestType", &Export::strTestType),
        AutoExportMember("strThickRat", &Export::strThickRat),
        AutoExportMember("strType", &Export::strType),

        {"ftpFilePath", OP_FTP_PATH, R"({"result":{)", "ftpFilePath", IN_RESULT, Kind::Text, true,
         Read(&SResponseGetFtpFilePath::strFtpFilePath)},
        {"permit", OP_FTP_PATH, R"({"result":{)", "permit", IN_RESULT, Kind::Bool, true,
         Read(&SResponseGetFtpFilePath::bPermit)},

        {"checkMessage", OP_CHANNEL_CHECK, "{", "message", "", Kind::Text, false, Read(&Check::strMessage)},
        {"allowBoot", OP_CHANNEL_CHECK, R"({"result":{)", "allowBoot", IN_RESULT, Kind::Text, false,
         Read(&Check::strAllowBoot)},
        {"reason", OP_CHANNEL_CHECK, R"({"result":{)", "reason", IN_RESULT, Kind::Text, false,
         Read(&Check::strReason)},

        {"commonMessage", OP_IN_COMMON, "{", "message", "", Kind::Text, false,
         Read(&SResponseGetWhetherInCommon::strMessage)},
        {"common", OP_IN_COMMON, "{", "common", "", Kind::Bool, false,
         Read(&SResponseGetWhetherInCommon::bCommon)},
    };
}

class DecoderMember : public SdkTest, public testing::WithParamInterface<Member>
{
protected:
    /// The field's text after a reply, whose result must be `nResult`.
    string FieldAfter(const string& strReply, int nResult = 0)
    {
        string strField = "never read";
        Ask(GetParam().operation, strReply, [&](int, const void*, const SResponseHeader& header, int nGiven) {
            strField = GetParam().fnRead(header);
            EXPECT_EQ(nGiven, nResult);
        });
        return strField;
    }

    const Value m_valueGood = GetParam().kind == Kind::Bool   ? Value{"true", "", {}, true}
                              : GetParam().kind == Kind::Text ? Value{R"("good")", "good", {}, false}
                                                              : Value{"41", "", 41, false};
};

struct WholeReply {
    const char* szName;
    Operation operation;
    const char* szReply;
    int nResult;
    string strPayload;
    string (*fnDescribe)(const SResponseHeader&);
};

void PrintTo(const WholeReply& reply, std::ostream* pStream)
{
    *pStream << reply.szName;
}

template <class Record>
WholeReply Whole(const char* szName, const Operation& operation, const char* szReply, int nResult,
                 const Record& record)
{
    return {
        szName,           operation,
        szReply,          nResult,
        Describe(record), [](const SResponseHeader& header) { return Describe(Payload<Record>(header)); }};
}

class DecoderWholeReply : public SdkTest, public testing::WithParamInterface<WholeReply>
{
};
} // namespace

TEST_P(DecoderMember, TakesFromEachJsonValueWhatItsTypeAllows)
{
    for (const Value& value : Values()) {
        SCOPED_TRACE(value.strJson.substr(0, 40));
        EXPECT_EQ(FieldAfter(GetParam().Reply(GetParam().With(value.strJson))),
                  Expected(GetParam().kind, value));
    }
}

TEST_P(DecoderMember, TakesNoNumberWithAPointForAnInteger)
{
    for (const char* szNumber : {"12.0", "-7.0", "1e2", "0.0", "1E0"}) {
        EXPECT_EQ(FieldAfter(GetParam().Reply(GetParam().With(szNumber))), GetParam().Default()) << szNumber;
    }
}

TEST_P(DecoderMember, IsAtItsDefaultWhenMissing)
{
    EXPECT_EQ(FieldAfter(GetParam().Reply("")), GetParam().Default());
}

TEST_P(DecoderMember, IsFoundByItsExactNameOnly)
{
    const string strKey = GetParam().szKey;
    string strUpper = strKey;
    strUpper[0] = static_cast<char>(strUpper[0] - 'a' + 'A');
    for (const string& strOther :
         {strUpper, strKey + "s", strKey + " ", strKey + "\\u0000", strKey.substr(1), string()}) {
        EXPECT_EQ(FieldAfter(GetParam().Reply(Member::Named(strOther, m_valueGood.strJson))),
                  GetParam().Default())
            << strOther;
    }
}

TEST_P(DecoderMember, CountsByItsFirstOccurrence)
{
    const string strGood = GetParam().With(m_valueGood.strJson);
    for (const char* szOther : {R"("other")", "43", "false", "null"}) {
        const string strOther = GetParam().With(szOther);
        EXPECT_EQ(FieldAfter(GetParam().Reply(strGood + strOther)), Expected(GetParam().kind, m_valueGood));
    }
    EXPECT_EQ(FieldAfter(GetParam().Reply(GetParam().With("null") + strGood)), GetParam().Default());
    EXPECT_EQ(FieldAfter(GetParam().Reply(GetParam().With("[1]") + strGood)), GetParam().Default());
}

TEST_P(DecoderMember, IsReadAmongUnknownMembers)
{
    const string strReply =
        GetParam().Reply(R"("a":{"x":[1,2]},"":0,)" + GetParam().With(m_valueGood.strJson) + R"("z":null,)");
    EXPECT_EQ(FieldAfter(strReply), Expected(GetParam().kind, m_valueGood));
}

TEST_P(DecoderMember, IsReadWhateverSuccessSays)
{
    EXPECT_EQ(FieldAfter(GetParam().Reply(GetParam().With(m_valueGood.strJson), false), -1),
              Expected(GetParam().kind, m_valueGood));
    string strWithout = GetParam().Reply(GetParam().With(m_valueGood.strJson));
    strWithout.replace(strWithout.rfind("\"success\""), 9, "\"failure\"");
    EXPECT_EQ(FieldAfter(strWithout, -1), Expected(GetParam().kind, m_valueGood));
}

TEST_P(DecoderMember, OfAnArrayIsReadFromTheFirstElementOrNotAtAll)
{
    const string strExpected =
        GetParam().bFirstOfArray ? Expected(GetParam().kind, m_valueGood) : GetParam().Default();
    const string strGood = GetParam().Reply(GetParam().With(m_valueGood.strJson));
    const string strOther = GetParam().Reply(GetParam().With("\"later\""), false);
    EXPECT_EQ(FieldAfter("[" + strGood + "]"), strExpected);
    EXPECT_EQ(FieldAfter("[" + strGood + "," + strOther + ",1]"), strExpected);
}

TEST_P(DecoderMember, KeepsBytesThatAreNoUtf8AsReceived)
{
    EXPECT_EQ(FieldAfter(GetParam().Reply(GetParam().With("\"\xff\xc0\x80\""))),
              GetParam().kind == Kind::Text ? "\xff\xc0\x80" : GetParam().Default());
}

INSTANTIATE_TEST_SUITE_P(Each, DecoderMember, testing::ValuesIn(Members()),
                         testing::PrintToStringParamName());

TEST_P(DecoderWholeReply, GivesResultAndPayload)
{
    const WholeReply& reply = GetParam();
    Ask(reply.operation, reply.szReply, [&](int, const void*, const SResponseHeader& header, int nResult) {
        EXPECT_EQ(nResult, reply.nResult);
        EXPECT_EQ(header.nCode, reply.nResult);
        EXPECT_EQ(reply.fnDescribe(header), reply.strPayload);
    });
    EXPECT_TRUE(RecordedLog().empty());
}

namespace
{
SResponseGetProject Projects(std::vector<SProjectItem> vecItems, bool bSuccess = true)
{
    return {bSuccess, "tick", std::move(vecItems)};
}

SResponseGetBatteryStatus Batteries(std::vector<SBatteryItem> vecItems, bool bSuccess = true)
{
    return {bSuccess, std::move(vecItems)};
}

std::vector<WholeReply> ProjectReplies()
{
    const Operation& op = OP_PROJECTS;
    return {
        Whole(
            "ProjectsWhole", op,
            R"({"success":true,"实验项目":[{"xh":"1","委托单号":{"id":12,"name":"W"},)"
            R"("测试类型":{"id":-7,"name":"T"},"项目分类":{"id":3,"name":"C"},"项目名称":{"id":4,"name":"N"}},)"
            R"({"xh":"2"}]})",
            0, Projects({{"1", {"12", "W"}, {"-7", "T"}, {"3", "C"}, {"4", "N"}}, {"2", {}, {}, {}, {}}})),
        Whole("ProjectsFailedStillFillTheList", op, R"({"success":false,"实验项目":[{"xh":"1"}]})", -1,
              Projects({{"1", {}, {}, {}, {}}}, false)),
        Whole("ProjectsEscapedKeys", op,
              R"({"success":true,"\u5b9e\u9a8c\u9879\u76ee":[{"\u59d4\u6258\u5355\u53f7":{"name":"W"}}]})", 0,
              Projects({{"", {"", "W"}, {}, {}, {}}})),
        Whole("ProjectsEmptyList", op, R"({"success":true,"实验项目":[]})", 0, Projects({})),
        Whole("ProjectsListMissing", op, R"({"success":true})", 0, Projects({})),
        Whole("ProjectsListNull", op, R"({"success":true,"实验项目":null})", 0, Projects({})),
        Whole("ProjectsListText", op, R"({"success":true,"实验项目":"x"})", 0, Projects({})),
        Whole("ProjectsListNumber", op, R"({"success":true,"实验项目":12})", 0, Projects({})),
        Whole("ProjectsListTrue", op, R"({"success":true,"实验项目":true})", 0, Projects({})),
        Whole("ProjectsListObject", op, R"({"success":true,"实验项目":{"xh":"1"}})", 0, Projects({})),
        Whole("ProjectsListTwice", op, R"({"success":true,"实验项目":[{"xh":"1"}],"实验项目":[]})", 0,
              Projects({{"1", {}, {}, {}, {}}})),
        Whole("ProjectsElementsThatAreNoObjects", op,
              R"({"success":true,"实验项目":[1,"x",null,true,[{"xh":"1"}],{},{"xh":"2"}]})", 0,
              Projects({{}, {}, {}, {}, {}, {}, {"2", {}, {}, {}, {}}})),
        Whole("ProjectsPairsThatAreNoObjects", op,
              R"({"success":true,"实验项目":[{"xh":"1","委托单号":"W","测试类型":null,"项目分类":[{"id":3}],)"
              R"("项目名称":4}]})",
              0, Projects({{"1", {}, {}, {}, {}}})),
        Whole("ProjectsPairsAtOtherLevelsAreNotRead", op,
              R"({"success":true,"委托单号":{"id":1},"实验项目":[{"实验项目":[{"xh":"1"}]}]})", 0,
              Projects({{}})),
    };
}

std::vector<WholeReply> BatteryReplies()
{
    const Operation& op = OP_BATT_STATUS;
    return {
        Whole("BatteriesWhole", op,
              R"({"success":true,"全部电池状态":[{"id":1,"name":"新","电池状态":[{"id":10},{"id":-11}]},)"
              R"({"id":2,"name":"b","电池状态":[]}]})",
              0, Batteries({{1, "新", {10, -11}}, {2, "b", {}}})),
        Whole("BatteriesFailedStillFillTheList", op, R"({"success":false,"全部电池状态":[{"id":1}]})", -1,
              Batteries({{1, "", {}}}, false)),
        Whole("BatteriesStatusesWithoutAnIntegerIdAreSkipped", op,
              R"({"success":true,"全部电池状态":[{"电池状态":[{"id":1},{"id":"2"},{"id":3}]}]})", 0,
              Batteries({{0, "", {1, 3}}})),
        Whole("BatteriesStatusesThatAreNoObjectsAreSkipped", op,
              R"({"success":true,"全部电池状态":[{"电池状态":[1,"2",null,[{"id":4}],{},true,{"id":5}]}]})", 0,
              Batteries({{0, "", {5}}})),
        Whole("BatteriesStatusListMissing", op, R"({"success":true,"全部电池状态":[{"id":1}]})", 0,
              Batteries({{1, "", {}}})),
        Whole("BatteriesStatusListNull", op, R"({"success":true,"全部电池状态":[{"id":1,"电池状态":null}]})",
              0, Batteries({{1, "", {}}})),
        Whole("BatteriesStatusListObject", op,
              R"({"success":true,"全部电池状态":[{"id":1,"电池状态":{"id":9}}]})", 0,
              Batteries({{1, "", {}}})),
        Whole("BatteriesStatusListText", op, R"({"success":true,"全部电池状态":[{"id":1,"电池状态":"x"}]})",
              0, Batteries({{1, "", {}}})),
        Whole("BatteriesStatusListNumber", op, R"({"success":true,"全部电池状态":[{"id":1,"电池状态":9}]})",
              0, Batteries({{1, "", {}}})),
        Whole("BatteriesElementsThatAreNoObjects", op,
              R"({"success":true,"全部电池状态":[1,"x",null,true,[{"id":1}],{},{"id":2}]})", 0,
              Batteries({{}, {}, {}, {}, {}, {}, {2, "", {}}})),
        Whole("BatteriesListMissing", op, R"({"success":true})", 0, Batteries({})),
        Whole("BatteriesListNull", op, R"({"success":true,"全部电池状态":null})", 0, Batteries({})),
        Whole("BatteriesListObject", op, R"({"success":true,"全部电池状态":{"id":1}})", 0, Batteries({})),
        Whole("BatteriesListText", op, R"({"success":true,"全部电池状态":"x"})", 0, Batteries({})),
        Whole("BatteriesListNumber", op, R"({"success":true,"全部电池状态":1.5})", 0, Batteries({})),
        Whole("BatteriesListFalse", op, R"({"success":true,"全部电池状态":false})", 0, Batteries({})),
    };
}

SResponseGetAutoExport NumberedExport()
{
    return {true, "1",  "2",  "3",  "4",  "5",  "6",  "7",  "8",  "9", "10",
            "11", "12", "13", "14", "15", "16", "17", "18", "19", "20"};
}

// NOLINTNEXTLINE(readability-function-size): a table
std::vector<WholeReply> RecordReplies()
{
    using Ftp = SResponseGetFtpFilePath;
    using Check = SResponseGetChannelCheckData;
    using Common = SResponseGetWhetherInCommon;
    return {
        Whole("SupportVerWhole", OP_SUPPORT_VER, R"({"success":true,"com":"c","ver":"v"})", 0,
              SSupportVer{"c", "v", true, "1.2.3"}),
        Whole("SupportVerMembersAreIndependent", OP_SUPPORT_VER, R"({"com":5,"ver":"v"})", -1,
              SSupportVer{"", "v", false, "1.2.3"}),

        Whole("AutoExportWhole", OP_AUTO_EXPORT,
              R"({"success":true,"result":{"strAnodeMaterial":"1","strBatchNumber":"2",)"
              R"("strContainerNumber":"3","strCustomer":"4","strDiaphragm":"5","strElectrolyte":"6",)"
              R"("strNegativeMaterial":"7","strOrderNO":"8","strPlace":"9","strProjectClassify":"10",)"
              R"("strShareOrder":"11","strShareSample":"12","strSystemCapacity":"13",)"
              R"("strTestClassify":"14","strTestProject":"15","strTestPurpose":"16",)"
              R"("strTestReporter":"17","strTestType":"18","strThickRat":"19","strType":"20"}})",
              0, NumberedExport()),
        Whole("AutoExportMembersOutsideResultAreNotRead", OP_AUTO_EXPORT,
              R"({"success":true,"strType":"x","result":{}})", 0, EmptyPayload<SResponseGetAutoExport>(true)),

        Whole("FtpWhole", OP_FTP_PATH, R"({"success":true,"result":{"permit":true,"ftpFilePath":"/a"}})", 0,
              Ftp{true, true, "/a"}),
        Whole("FtpFailedIsStillFilled", OP_FTP_PATH,
              R"({"success":false,"result":{"permit":true,"ftpFilePath":"/a"}})", -1, Ftp{false, true, "/a"}),
        Whole("FtpNotPermitted", OP_FTP_PATH, R"({"success":true,"result":{"permit":false}})", 0,
              Ftp{true, false, ""}),
        Whole("FtpMembersOutsideResultAreNotRead", OP_FTP_PATH,
              R"({"success":true,"permit":true,"ftpFilePath":"/a","result":{}})", 0, Ftp{true, false, ""}),
        Whole(
            "FtpOfTwoElementsTheFirst", OP_FTP_PATH,
            R"([{"success":true,"result":{"ftpFilePath":"/a"}},{"success":false,"result":{"permit":true}}])",
            0, Ftp{true, false, "/a"}),

        Whole("CheckWhole", OP_CHANNEL_CHECK,
              R"({"success":true,"message":"m","result":{"allowBoot":"yes","reason":"r"}})", 0,
              Check{true, "m", "yes", "r"}),
        Whole("CheckFailedIsStillFilled", OP_CHANNEL_CHECK,
              R"({"success":false,"message":"m","result":{"allowBoot":"no","reason":"r"}})", -1,
              Check{false, "m", "no", "r"}),
        Whole("CheckAllowBootAsBool", OP_CHANNEL_CHECK, R"({"success":true,"result":{"allowBoot":true}})", 0,
              Check{true, "", "", ""}),
        Whole("CheckMembersAtOtherLevelsAreNotRead", OP_CHANNEL_CHECK,
              R"({"success":true,"allowBoot":"yes","reason":"r","result":{"message":"m"}})", 0,
              Check{true, "", "", ""}),
        Whole("CheckArray", OP_CHANNEL_CHECK,
              R"([{"success":true,"message":"m","result":{"allowBoot":"yes","reason":"r"}}])", 0, Check{}),

        Whole("CommonWhole", OP_IN_COMMON, R"({"success":true,"message":"m","common":true})", 0,
              Common{true, "m", true}),
        Whole("CommonFailedIsStillFilled", OP_IN_COMMON, R"({"success":false,"message":"m","common":true})",
              -1, Common{false, "m", true}),
        Whole("CommonAsText", OP_IN_COMMON, R"({"success":true,"common":"true"})", 0,
              Common{true, "", false}),
        Whole("CommonInsideResultIsNotRead", OP_IN_COMMON, R"({"success":true,"result":{"common":true}})", 0,
              Common{true, "", false}),
        Whole("CommonArray", OP_IN_COMMON, R"([{"success":false,"message":"m","common":true},{}])", 0,
              Common{}),
    };
}

class DecoderResultObject : public SdkTest, public testing::WithParamInterface<const char*>
{
};

class DecoderLists : public SdkTest
{
};
} // namespace

INSTANTIATE_TEST_SUITE_P(Projects, DecoderWholeReply, testing::ValuesIn(ProjectReplies()),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Batteries, DecoderWholeReply, testing::ValuesIn(BatteryReplies()),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Records, DecoderWholeReply, testing::ValuesIn(RecordReplies()),
                         testing::PrintToStringParamName());

TEST_P(DecoderResultObject, IsSkippedWholeWhenItIsNoObject)
{
    for (const bool bSuccess : {true, false}) {
        const string strReply =
            "{" + string(GetParam()) + "\"message\":\"m\",\"success\":" + Describe(bSuccess) + "}";
        const int nExpected = bSuccess ? 0 : -1;
        Ask(OP_AUTO_EXPORT, strReply, [&](int, const void*, const SResponseHeader& header, int nResult) {
            EXPECT_EQ(nResult, nExpected);
            EXPECT_EQ(Describe(Payload<SResponseGetAutoExport>(header)),
                      Describe(EmptyPayload<SResponseGetAutoExport>(bSuccess)));
        });
        Ask(OP_FTP_PATH, strReply, [&](int, const void*, const SResponseHeader& header, int nResult) {
            EXPECT_EQ(nResult, nExpected);
            EXPECT_EQ(Describe(Payload<SResponseGetFtpFilePath>(header)),
                      Describe(EmptyPayload<SResponseGetFtpFilePath>(bSuccess)));
        });
        Ask(OP_CHANNEL_CHECK, strReply, [&](int, const void*, const SResponseHeader& header, int nResult) {
            EXPECT_EQ(nResult, nExpected);
            EXPECT_EQ(Describe(Payload<SResponseGetChannelCheckData>(header)),
                      Describe(SResponseGetChannelCheckData{bSuccess, "m", "", ""}));
        });
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, DecoderResultObject,
    testing::Values(
        "", R"("result":null,)", R"("result":"x",)", R"("result":12,)", R"("result":true,)",
        R"("result":[],)",
        R"("result":[{"strType":"x","permit":true,"ftpFilePath":"/a","allowBoot":"y","reason":"r"}],)",
        R"("Result":{"strType":"x","permit":true,"ftpFilePath":"/a","allowBoot":"y","reason":"r"},)",
        R"("result":null,"result":{"strType":"x","ftpFilePath":"/a","allowBoot":"y"},)"));

TEST_F(DecoderLists, KeepTheOrderAndNumberOfTheReply)
{
    string strProjects;
    string strBatteries;
    for (int i = 0; i < 10000; ++i) {
        const string strNumber = std::to_string(i);
        strProjects += (i > 0 ? "," : "") + ("{\"xh\":\"" + strNumber + "\"}");
        strBatteries += (i > 0 ? "," : "") + ("{\"id\":" + strNumber + "}");
    }
    Ask(OP_PROJECTS, "{\"success\":true,\"实验项目\":[" + strProjects + "]}",
        [](int, const void*, const SResponseHeader& header, int) {
            const auto& lstProject = Payload<SResponseGetProject>(header).lstProject;
            ASSERT_EQ(lstProject.size(), 10000U);
            for (std::size_t i = 0; i < lstProject.size(); ++i) {
                ASSERT_EQ(lstProject[i].xh, std::to_string(i));
            }
        });
    Ask(OP_BATT_STATUS, "{\"success\":true,\"全部电池状态\":[{\"电池状态\":[" + strBatteries + "]}]}",
        [](int, const void*, const SResponseHeader& header, int) {
            const auto& lstBattery = Payload<SResponseGetBatteryStatus>(header).lstBattery;
            ASSERT_EQ(lstBattery.size(), 1U);
            ASSERT_EQ(lstBattery[0].lstStatus.size(), 10000U);
            for (std::size_t i = 0; i < 10000U; ++i) {
                ASSERT_EQ(lstBattery[0].lstStatus[i], static_cast<int>(i));
            }
        });
}
