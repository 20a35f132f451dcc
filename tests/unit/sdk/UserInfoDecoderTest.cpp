#include "PayloadText.h"
#include "SdkFixture.h"

// User information is judged by its member "code", which may be missing; the other replies need a "success".

namespace
{
using std::string;

const std::vector<RecordedLine> READER_ERROR{
    {1, "VelCSDK::CDataResponse::JsonHeader", 91, "Json::Reader error"}};

struct UserInfoCase {
    const char* szName;
    string strBody;
    int nResult;
    string strMessage;
    USER_INFO info;
    bool bLogged = false;
};

void PrintTo(const UserInfoCase& reply, std::ostream* pStream)
{
    *pStream << reply.szName;
}

// NOLINTNEXTLINE(readability-function-size): a table
std::vector<UserInfoCase> UserInfoCases()
{
    return {
        {"Whole",
         R"({"code":0,"description":"ok","id":7,"title":"Dr","author":"Li"})",
         0,
         "ok",
         {7, "Dr", "Li"}},
        {"WithoutCode", R"({"id":7,"title":"Dr","author":"Li"})", 0, "", {7, "Dr", "Li"}},
        {"EmptyObject", "{}", 0, "", {}},
        {"SuccessFalseIsNotRead", R"({"success":false,"id":7})", 0, "", {7, "", ""}},
        {"CodeFive", R"({"code":5,"description":"none","id":7,"title":"Dr","author":"Li"})", 5, "none", {}},
        {"CodeNegative", R"({"code":-7,"id":7})", -7, "", {}},
        {"CodeWholeWithAPoint", R"({"code":12.0,"id":7})", 12, "", {}},
        {"CodeText", R"({"code":"5","id":7})", 0, "", {7, "", ""}},
        {"CodeNull", R"({"code":null,"id":7})", 0, "", {7, "", ""}},
        {"CodeTrue", R"({"code":true,"id":7})", 0, "", {7, "", ""}},
        {"CodeFraction", R"({"code":5.5,"id":7})", 0, "", {7, "", ""}},
        {"CodeBeyondAnInt", R"({"code":2147483648,"id":7})", 0, "", {7, "", ""}},
        {"CodeHuge", R"({"code":1e300,"id":7})", 0, "", {7, "", ""}},
        {"CodeObject", R"({"code":{},"id":7})", 0, "", {7, "", ""}},
        {"CodeOtherCase", R"({"Code":5,"id":7})", 0, "", {7, "", ""}},
        {"IdNegative", R"({"id":-7})", 0, "", {-7, "", ""}},
        {"IdLargest", R"({"id":2147483647})", 0, "", {2147483647, "", ""}},
        {"IdSmallest", R"({"id":-2147483648})", 0, "", {-2147483647 - 1, "", ""}},
        {"IdBeyondAnInt", R"({"id":2147483648,"title":"Dr"})", 0, "", {0, "Dr", ""}},
        {"IdWholeWithAPoint", R"({"id":12.0})", 0, "", {12, "", ""}},
        {"IdFraction", R"({"id":12.5,"title":"Dr"})", 0, "", {0, "Dr", ""}},
        {"IdText", R"({"id":"7","title":"Dr"})", 0, "", {0, "Dr", ""}},
        {"IdNull", R"({"id":null,"title":"Dr"})", 0, "", {0, "Dr", ""}},
        {"IdTrue", R"({"id":true,"title":"Dr"})", 0, "", {0, "Dr", ""}},
        {"IdArray", R"({"id":[7],"title":"Dr"})", 0, "", {0, "Dr", ""}},
        {"TitleNumber", R"({"id":7,"title":5,"author":"Li"})", 0, "", {7, "", "Li"}},
        {"TitleNull", R"({"id":7,"title":null,"author":"Li"})", 0, "", {7, "", "Li"}},
        {"TitleArray", R"({"id":7,"title":["Dr"],"author":"Li"})", 0, "", {7, "", "Li"}},
        {"AuthorTrue", R"({"id":7,"title":"Dr","author":true})", 0, "", {7, "Dr", ""}},
        {"AuthorObject", R"({"id":7,"title":"Dr","author":{"author":"Li"}})", 0, "", {7, "Dr", ""}},
        {"Chinese",
         R"({"title":"博士","author":"\u674e","description":"成功"})",
         0,
         "成功",
         {0, "博士", "李"}},
        {"NulInText", R"({"title":"a\u0000b","author":"c\u0000"})", 0, "", {0, "a", "c"}},
        {"DescriptionNumber", R"({"description":5,"id":7})", 0, "", {7, "", ""}},
        {"Comment", R"(/* c */ {"id":7})", 0, "", {7, "", ""}},
        {"RootEmptyArray", "[]", 0, "", {}},
        {"RootArray", R"([{"code":5,"description":"x","id":7}])", 0, "", {}},
        {"RootNumber", "12", 0, "", {}},
        {"RootText", R"("code")", 0, "", {}},
        {"RootTrue", "true", 0, "", {}},
        {"RootNull", "null", 0, "", {}},
        {"Empty", "", -1, "", {}, true},
        {"Blank", " \n", -1, "", {}, true},
        {"NotJson", "not json", -1, "", {}, true},
        {"Cut", R"({"code":0,"description":"ok","id":7)", -1, "", {}, true},
        {"NulInTheMiddle", string("{\"id\"\0:7}", 9), -1, "", {}, true},
        {"DeepInAMember", "{\"x\":" + Nested(900) + ",\"id\":7}", 0, "", {7, "", ""}},
        {"TooDeepInAMember", "{\"x\":" + Nested(1100) + ",\"id\":7}", -1, "", {}, true},
        {"ManyBrackets", string(200000, '['), -1, "", {}, true},
        {"ManyNestedArrays", Nested(200000), -1, "", {}, true},
    };
}

class UserInfoReply : public SdkTest, public testing::WithParamInterface<UserInfoCase>
{
};

class UserInfoDecoder : public SdkTest
{
};
} // namespace

TEST_P(UserInfoReply, GivesItsCodeMessageAndRecord)
{
    const UserInfoCase& reply = GetParam();
    Ask(OP_USER_INFO, reply.strBody, [&](int nType, const void*, const SResponseHeader& header, int nResult) {
        EXPECT_EQ(nType, 3100);
        EXPECT_EQ(nResult, reply.nResult);
        EXPECT_EQ(header.nCode, reply.nResult);
        EXPECT_EQ(header.strMessage, reply.strMessage);
        EXPECT_EQ(header.strExtra1 + header.strExtra2, "");
        EXPECT_EQ(Describe(Payload<USER_INFO>(header)), Describe(reply.info));
    });
    EXPECT_EQ(RecordedLog(), reply.bLogged ? READER_ERROR : std::vector<RecordedLine>{});
}

INSTANTIATE_TEST_SUITE_P(Each, UserInfoReply, testing::ValuesIn(UserInfoCases()),
                         testing::PrintToStringParamName());

TEST_F(UserInfoDecoder, GivesTheCodeOfATransportFailure)
{
    for (const int nHttpError : {404, 500, 1, -1, -28, -42}) {
        Ask(
            OP_USER_INFO, R"({"code":0,"id":7})",
            [&](int, const void*, const SResponseHeader& header, int nResult) {
                EXPECT_EQ(nResult, nHttpError);
                EXPECT_EQ(header.nCode, nHttpError);
                EXPECT_EQ(Describe(Payload<USER_INFO>(header)), Describe(USER_INFO{}));
            },
            nHttpError);
    }
}

TEST_F(UserInfoDecoder, GivesSevenForABadGateway)
{
    Ask(
        OP_USER_INFO, "<html>502 Bad Gateway</html>",
        [](int, const void*, const SResponseHeader& header, int nResult) {
            EXPECT_EQ(nResult, 7);
            EXPECT_EQ(header.nCode, 7);
        },
        502);
}
