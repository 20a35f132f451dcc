#include "platform/system/RenameFile.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

namespace
{

class RenamedFile : public ::testing::Test
{
protected:
    std::filesystem::path Path(const char* szName) const { return m_folder.filePath(szName).toStdWString(); }

    void Write(const char* szName, const QByteArray& baContent) const
    {
        QFile file(m_folder.filePath(szName));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(baContent);
    }

    QByteArray Content(const char* szName) const
    {
        QFile file(m_folder.filePath(szName));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

    const QTemporaryDir m_folder;
};

TEST_F(RenamedFile, HasItsNewNameAlone)
{
    Write("old", "content");
    EXPECT_TRUE(RenameWithoutReplacing(Path("old"), Path("new")));
    EXPECT_EQ(Content("new"), "content");
    EXPECT_EQ(Content("old"), "no file");
}

TEST_F(RenamedFile, ReplacesNone)
{
    Write("old", "content");
    Write("new", "earlier");
    EXPECT_FALSE(RenameWithoutReplacing(Path("old"), Path("new")));
    EXPECT_EQ(Content("new"), "earlier");
    EXPECT_EQ(Content("old"), "content");
}

TEST_F(RenamedFile, ThatIsNotThereGivesNone)
{
    EXPECT_FALSE(RenameWithoutReplacing(Path("old"), Path("new")));
    EXPECT_EQ(Content("new"), "no file");
}

TEST_F(RenamedFile, OfTwoAtOnceIsOne)
{
    for (int nRound = 0; nRound < 50; ++nRound) {
        Write("a", "a");
        Write("b", "b");
        std::atomic<int> nReady = 0;
        const auto fnRename = [&](const char* szName, bool& bRenamed) {
            for (++nReady; nReady < 2;) {
                std::this_thread::yield();
            }
            bRenamed = RenameWithoutReplacing(Path(szName), Path("new"));
        };
        bool bFirst = false;
        bool bSecond = false;
        std::thread other(fnRename, "b", std::ref(bSecond));
        fnRename("a", bFirst);
        other.join();
        ASSERT_NE(bFirst, bSecond);
        EXPECT_EQ(Content("new"), bFirst ? "a" : "b");
        EXPECT_EQ(Content(bFirst ? "b" : "a"), bFirst ? "b" : "a") << "the other one stays";
        QFile::remove(m_folder.filePath("new"));
    }
}

} // namespace
