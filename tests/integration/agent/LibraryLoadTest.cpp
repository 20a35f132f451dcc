// While a library is being loaded, no other thread can load one, but Qt's network access loads some.

#include <ktshttpagent/CUIAgentReq.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace
{

TEST(LibraryLoad, OfAHostThatMakesTheAgentMeanwhileEnds)
{
    qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
    EXPECT_NE(::dlopen(KTS_LOADED_HOST, RTLD_NOW), nullptr) << ::dlerror();
    bool bCommon = false;
    CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", 0, 30'000, "X", bCommon);
    EXPECT_EQ(CUIAgentReq::Instance()->LastOutcome().eEnd, EBlockingEnd::Failed);
}

} // namespace
