// What a renaming returns and leaves behind when the system does not support a renaming that replaces
// nothing. It is not enough that the file has its new name: a caller that is told of a failure removes it.

#include "platform/system/RenameFile.h"

#include "LogFolder.h"
#include "ProcessUse.h"
#include "SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <ostream>

#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

struct Refusals {
    const char* szName;
    int nRenaming; ///< the error of a renaming that replaces nothing
    int nLink;     ///< the same of a link; 0 where links work

    friend void PrintTo(const Refusals& row, std::ostream* pOut) { *pOut << row.szName; }
};

/// Makes the call fail with this error; 0 for no failure.
FailingCall Failing(const char* szCall, int nError)
{
    return FailingCall(szCall, nError, 0, nError == 0 ? 0 : FailingCall::ALWAYS);
}

class FileToRename : public testing::TestWithParam<Refusals>
{
protected:
    FileToRename() { std::ofstream(m_from) << "text"; }

    const LogFolder m_folder;
    const fs::path m_from = m_folder.Path() / "from";
    const fs::path m_to = m_folder.Path() / "to";
};

} // namespace

// As in a host that has no standard input: its descriptor is the first to be reused.
TEST_P(FileToRename, HasItsNewNameAlone)
{
    ::close(STDIN_FILENO);
    const std::size_t nBefore = OpenDescriptors();
    const FailingCall renaming = Failing("renameat2", GetParam().nRenaming);
    const FailingCall linking = Failing("link", GetParam().nLink);
    EXPECT_TRUE(RenameWithoutReplacing(m_from, m_to));
    EXPECT_FALSE(fs::exists(m_from));
    EXPECT_EQ(LinesOf(m_to), std::vector<std::string>{"text"});
    EXPECT_EQ(OpenDescriptors(), nBefore);
}

TEST_P(FileToRename, StaysWhereAnotherHasTheName)
{
    std::ofstream(m_to) << "other";
    const FailingCall renaming = Failing("renameat2", GetParam().nRenaming);
    const FailingCall linking = Failing("link", GetParam().nLink);
    EXPECT_FALSE(RenameWithoutReplacing(m_from, m_to));
    EXPECT_EQ(LinesOf(m_from), std::vector<std::string>{"text"});
    EXPECT_EQ(LinesOf(m_to), std::vector<std::string>{"other"});
}

INSTANTIATE_TEST_SUITE_P(Where, FileToRename,
                         testing::Values(Refusals{"AllIsKnown", 0, 0},
                                         Refusals{"TheFlagIsUnknown", EINVAL, 0},
                                         Refusals{"TheCallIsUnknown", ENOSYS, 0},
                                         Refusals{"LinksAreRefused", EINVAL, EPERM},
                                         Refusals{"LinksAreUnknown", EINVAL, ENOSYS},
                                         Refusals{"LinksAreUnsupported", EINVAL, EOPNOTSUPP}),
                         testing::PrintToStringParamName());

TEST_F(FileToRename, IsNotLinkedWhereItsRenamingFailsForAnotherReason)
{
    const FailingCall renaming("renameat2", EIO);
    EXPECT_FALSE(RenameWithoutReplacing(m_from, m_to));
    EXPECT_TRUE(fs::exists(m_from));
    EXPECT_FALSE(fs::exists(m_to));
}

TEST_F(FileToRename, IsNotClaimedWhereALinkFailsForAnotherReason)
{
    const FailingCall renaming("renameat2", EINVAL);
    const FailingCall linking("link", EIO);
    EXPECT_FALSE(RenameWithoutReplacing(m_from, m_to));
    EXPECT_TRUE(fs::exists(m_from));
    EXPECT_FALSE(fs::exists(m_to));
}

TEST_F(FileToRename, LeavesNoClaimBehindWhereItFails)
{
    const FailingCall renaming("renameat2", EINVAL);
    const FailingCall linking("link", EPERM);
    const FailingCall replacing("rename", EIO);
    EXPECT_FALSE(RenameWithoutReplacing(m_from, m_to));
    EXPECT_TRUE(fs::exists(m_from));
    EXPECT_FALSE(fs::exists(m_to));
}
