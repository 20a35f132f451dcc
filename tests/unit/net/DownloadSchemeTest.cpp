#include "net/NAMDownload.h"

#include "ScriptedServer.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

TEST(DownloadScheme, MayBeThatOfTls)
{
    const RefusingPort port;
    const QTemporaryDir folder;
    auto* const pDownload = new NAMDownload(nullptr);
    const QPointer<NAMDownload> pWatched(pDownload);
    const QSignalSpy finished(pDownload, &NAMDownload::signal_NReply_finished);
    ASSERT_TRUE(pDownload->Start(QStringLiteral("https://127.0.0.1:%1/file").arg(port.Port()),
                                 folder.filePath("file")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return pWatched.isNull(); }, 60'000));
    ASSERT_EQ(finished.count(), 1);
    EXPECT_FALSE(finished.front().front().toBool()); // nobody listens
}
