// While a library is being loaded, no other thread can load one; Qt's network access loads some.

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace
{

TEST(LibraryLoad, OfAHostThatMakesTheAgentMeanwhileEnds)
{
    EXPECT_NE(::dlopen(KTS_LOADED_HOST, RTLD_NOW), nullptr) << ::dlerror();
}

} // namespace
