// Qt keeps pointers to type data of ktshttpagent, and threads run in chttpclient: when a host closes a
// library, the code that these use must stay loaded.

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include <dlfcn.h>

/// A shared library, identified by its file.
struct SharedLibrary {
    const char* szName;
    const char* szFile;

    friend void PrintTo(const SharedLibrary& library, std::ostream* pOut) { *pOut << library.szName; }
};

class ALibrary : public testing::TestWithParam<SharedLibrary>
{
};

TEST_P(ALibrary, StaysWhenItIsClosed)
{
    const char* const szFile = GetParam().szFile;
    ASSERT_EQ(::dlopen(szFile, RTLD_NOW | RTLD_NOLOAD), nullptr) << "loaded from the beginning";
    void* const pLibrary = ::dlopen(szFile, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(pLibrary, nullptr) << ::dlerror();
    EXPECT_EQ(::dlclose(pLibrary), 0);
    EXPECT_NE(::dlopen(szFile, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Of, ALibrary,
                         testing::Values(SharedLibrary{"ktshttpagent", KTSHTTPAGENT_FILE},
                                         SharedLibrary{"chttpclient", CHTTPCLIENT_FILE},
                                         SharedLibrary{"libclog", LIBCLOG_FILE}),
                         testing::PrintToStringParamName());
