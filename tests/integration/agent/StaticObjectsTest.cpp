// Objects that may be needed until the process is gone must not be destroyed before. Each object that is
// destroyed at the end of the process is registered with the C++ runtime, and this test sees every
// registration.

#include "AnswerSpy.h"
#include "Enough.h"
#include "LogFolder.h"
#include "ScriptedServer.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <filesystem>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

using testing::Contains;
using testing::Each;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace
{

struct Registered {
    const void* pObject; ///< null for a plain function, as registered by atexit
    const void* pLibrary;
};

struct AllRegistered {
    std::mutex mutex;
    std::vector<Registered> vec;
};

AllRegistered& All()
{
    static AllRegistered& all = *new AllRegistered;
    return all;
}

std::size_t CountRegistered()
{
    const std::lock_guard<std::mutex> lock(All().mutex);
    return All().vec.size();
}

/// The files of the libraries that registered the destruction of an object, from the nth registration on.
std::vector<std::string> LibrariesOfObjects(std::size_t nFirst = 0)
{
    const std::lock_guard<std::mutex> lock(All().mutex);
    std::vector<std::string> vecFiles;
    for (std::size_t n = nFirst; n < All().vec.size(); ++n) {
        Dl_info info{};
        if (All().vec[n].pObject != nullptr && ::dladdr(All().vec[n].pLibrary, &info) != 0) {
            vecFiles.push_back(std::filesystem::path(info.dli_fname).filename().string());
        }
    }
    return vecFiles;
}

} // namespace

// Replaces the C library's for the whole process.
extern "C" __attribute__((visibility("default"))) int __cxa_atexit(void (*pfnCall)(void*), void* pObject,
                                                                   void* pLibrary)
{
    using Register = int (*)(void (*)(void*), void*, void*);
    static const auto pfnReal = reinterpret_cast<Register>(::dlsym(RTLD_NEXT, "__cxa_atexit"));
    {
        const std::lock_guard<std::mutex> lock(All().mutex);
        All().vec.push_back({pObject, pLibrary});
    }
    return pfnReal(pfnCall, pObject, pLibrary);
}

namespace
{

class StaticObjects : public testing::Test
{
protected:
    StaticObjects() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent"); }

    void MakeBlockingCalls()
    {
        bool bAllow = false;
        QString strReason;
        tagBatteryTestData data;
        const QString strBase = QString::fromStdString(m_server.Url("/"));
        auto& request = *CUIAgentReq::Instance();
        request.SendGetChannelCheckDataEx("127.0.0.1", m_server.Port(), ENOUGH_MS, {}, bAllow, strReason);
        request.SendGetWhetherInCommonEx("127.0.0.1", m_server.Port(), ENOUGH_MS, "X", bAllow);
        request.SendPostUploadDataEx("127.0.0.1", m_server.Port(), ENOUGH_MS, data);
        request.SendPostReportStepData_ORN(strBase, ENOUGH_MS, "x");
    }

    /// Waits for the answer of the request whose reply jsoncpp reads, and of one whose exchange fails.
    void WaitForAnswers()
    {
        const AnswerSpy answers(&CUIAgentRsp::SigGetUserInfoRet);
        CUIAgentReq::Instance()->SendGetUserInfo("127.0.0.1", m_server.Port(), 1);
        CUIAgentReq::Instance()->SendGetUserInfo("127.0.0.1", m_refusing.Port(), 1);
        EXPECT_TRUE(answers.Wait(2));
    }

    const LogFolder m_log;
    const ScriptedServer m_server{Ok()};
    const RefusingPort m_refusing;
};

TEST_F(StaticObjects, OfTheLibraryAreNeverDestroyed)
{
    CUIAgentReq::Instance();
    WaitForAnswers();
    MakeBlockingCalls();
    ASSERT_THAT(LibrariesOfObjects(), Not(IsEmpty())) << "no registration is seen at all";
    for (const char* const szOurs : {"libktshttpagent", "libchttpclient", "liblibclog", "libclog"}) {
        EXPECT_THAT(LibrariesOfObjects(), Each(Not(StartsWith(szOurs))));
    }
}

TEST_F(StaticObjects, ThatAnAnswerUsesAreMadeWithTheResponseObject)
{
    CUIAgentRsp::Instance();
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"success":true,"实验项目":[]})")});
    std::promise<bool> projects;
    std::promise<void> version;
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetProjectsRet,
                     [&](bool bSucc, const QVariant&) {
                         projects.set_value(bSucc);
                         throw std::runtime_error("a receiver's own trouble"); // it is logged
                     });
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet,
                     [&] { version.set_value(); });
    auto& client = *VelCSDK::SDKFactory::GetInstance(); // the request object would create some of them too
    client.Init();
    client.SetServerAddr("127.0.0.1", server.Port());
    const std::size_t nBefore = CountRegistered();
    client.GetProjects("A", "1");
    EXPECT_TRUE(projects.get_future().get());
    client.GetSupportVer("1"); // answered after the log line about the first one is written
    version.get_future().wait();
    EXPECT_THAT(LibrariesOfObjects(nBefore), Each(Not(StartsWith("libQt5"))));
}

TEST_F(StaticObjects, ThatBlockingCallsUseAreMadeWithTheRequestObject)
{
    CUIAgentReq::Instance();
    const std::size_t nBefore = CountRegistered();
    MakeBlockingCalls();
    EXPECT_THAT(LibrariesOfObjects(nBefore), Each(Not(StartsWith("libQt5"))));
}

} // namespace
