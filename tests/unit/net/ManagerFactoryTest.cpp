// Downloads through a host's own network access; for blocking calls see KtsNetworkAccessTest.

#include "DownloadFixture.h"
#include "ScriptedServer.h"

#include "net/ManagerFactory.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>

#include <gtest/gtest.h>

#include <memory>

namespace
{

class DownloadByFactory : public Download
{
protected:
    ~DownloadByFactory() override { SetManagerFactory({}); }
};

TEST_F(DownloadByFactory, UsesItsManagerAndDeletesThat)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "content")});
    QPointer<QNetworkAccessManager> pMade;
    SetManagerFactory([&](QObject* /*pParent*/) {
        pMade = std::make_unique<QNetworkAccessManager>().release();
        return pMade.data();
    });
    const QNetworkAccessManager* pOfReply = nullptr;
    auto* const pDownload = new NAMDownload(nullptr);
    QObject::connect(pDownload, &NAMDownload::signal_NReply_finished, [&] {
        const auto* const pReply = pMade->findChild<QNetworkReply*>();
        pOfReply = pReply != nullptr ? pReply->manager() : nullptr;
    });
    EXPECT_TRUE(Run(QString::fromStdString(server.Url("/file")), pDownload));
    EXPECT_EQ(Content(), "content");
    EXPECT_NE(pOfReply, nullptr);
    EXPECT_TRUE(pMade.isNull());
}

TEST_F(DownloadByFactory, UsesQtsOwnIfThereIsNone)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "content")});
    int nAsked = 0;
    SetManagerFactory([&](QObject*) -> QNetworkAccessManager* {
        ++nAsked;
        return nullptr;
    });
    EXPECT_TRUE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_EQ(nAsked, 1);
}

} // namespace
