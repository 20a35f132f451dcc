// Qt keeps pointers to type data of ktshttpagent, and threads run in chttpclient: when a host frees the
// library, the code that these use must stay loaded.

#include "LoadedLibrary.h"
#include "LogFolder.h"

#include <gtest/gtest.h>

#include <windows.h>

TEST(Libraries, StayFromTheirFirstUseOn)
{
    const LogFolder logFolder;
    ASSERT_EQ(::GetModuleHandleW(L"ktshttpagent.dll"), nullptr) << "loaded from the beginning";
    {
        const LoadedLibrary library(KTSHTTPAGENT_FILE);
        library.Find<void* (*)()>("_ZN11CUIAgentReq8InstanceEv")();
    }
    for (const wchar_t* const szLibrary : {L"ktshttpagent.dll", L"chttpclient.dll", L"libclog.dll"}) {
        EXPECT_NE(::GetModuleHandleW(szLibrary), nullptr);
    }
}
