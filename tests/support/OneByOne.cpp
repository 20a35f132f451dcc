// The library creates its objects once per process and reads most settings once, so each test needs a process
// of its own. ctest starts one for each test; a test program that is started for several tests starts itself
// again for each of them.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <csignal>
#include <sys/wait.h>
#endif

namespace
{

std::vector<std::string> TestsToRun()
{
    const testing::UnitTest& program = *testing::UnitTest::GetInstance();
    std::vector<std::string> vecNames;
    for (int nSuite = 0; nSuite < program.total_test_suite_count(); ++nSuite) {
        const testing::TestSuite& suite = *program.GetTestSuite(nSuite);
        for (int nTest = 0; nTest < suite.total_test_count(); ++nTest) {
            const testing::TestInfo& test = *suite.GetTestInfo(nTest);
            if (test.should_run()) {
                vecNames.push_back(std::string(suite.name()) + '.' + test.name());
            }
        }
    }
    return vecNames;
}

/// @return the status that std::system gives
int RunAlone(const std::string& strTest)
{
    std::string strCommand;
    for (const std::string& strArgument : testing::internal::GetArgvs()) {
        strCommand += '"' + strArgument + "\" ";
    }
    strCommand +=
        "--gtest_brief=1 --gtest_filter=" + strTest; // of contradicting options, the last one counts
#if defined(_WIN32)
    strCommand = '"' + strCommand + '"'; // the shell of Windows removes the outermost quotes
#endif
    return std::system(strCommand.c_str());
}

bool WasInterrupted([[maybe_unused]] int nStatus)
{
#if defined(_WIN32)
    return false;
#else
    return WIFSIGNALED(nStatus) && WTERMSIG(nStatus) == SIGINT;
#endif
}

/// @return the program's exit status
int RunEachAlone()
{
    const std::vector<std::string> vecNames = TestsToRun();
    std::vector<std::string> vecFailed;
    for (const std::string& strName : vecNames) {
        std::printf("[ RUN      ] %s, in a process of its own\n", strName.c_str());
        std::fflush(stdout);
        const int nStatus = RunAlone(strName);
        if (WasInterrupted(nStatus)) {
            return EXIT_FAILURE;
        }
        if (nStatus != 0) {
            vecFailed.push_back(strName);
        }
    }
    std::printf("%zu tests, each in a process of its own: %zu failed\n", vecNames.size(), vecFailed.size());
    for (const std::string& strName : vecFailed) {
        std::printf("[  FAILED  ] %s\n", strName.c_str());
    }
    return vecFailed.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

class OneByOne : public testing::Environment
{
    void SetUp() override // only now does the program know which tests to run
    {
        if (testing::UnitTest::GetInstance()->test_to_run_count() > 1) {
            std::exit(RunEachAlone());
        }
    }
};

[[maybe_unused]] const testing::Environment* const g_pOneByOne =
    testing::AddGlobalTestEnvironment(new OneByOne);

} // namespace
