// Qt keeps type ids of ktshttpagent, and threads run in chttpclient: a host that frees the library must not
// take away the code that they lead to.

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
