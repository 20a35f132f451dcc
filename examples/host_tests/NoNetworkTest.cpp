// Proves that the tests beside it run without a network, if the environment says that they should.

#include <QHostAddress>
#include <QNetworkInterface>
#include <QTcpSocket>

#include <gtest/gtest.h>

TEST(NoNetwork, IsWhereTheseTestsRun)
{
    if (qEnvironmentVariableIsEmpty("HOST_TESTS_WITHOUT_NETWORK")) {
        GTEST_SKIP() << "HOST_TESTS_WITHOUT_NETWORK is not set, so there may be a network";
    }
    for (const QNetworkInterface& card : QNetworkInterface::allInterfaces()) {
        EXPECT_FALSE(card.flags().testFlag(QNetworkInterface::IsUp)) << card.name().toStdString();
    }
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), 80);
    EXPECT_FALSE(socket.waitForConnected());
    EXPECT_EQ(socket.error(), QAbstractSocket::NetworkError) << socket.errorString().toStdString();
}
