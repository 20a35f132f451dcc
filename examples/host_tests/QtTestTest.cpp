// The same with QtTest instead of GoogleTest.

#include "ChannelDesk.h"
#include "Patience.h"

#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/testing/KtsLabServer.h>
#include <ktshttpagent/testing/KtsScriptedTransport.h>

#include <QSignalSpy>
#include <QTest>

namespace RequestType = VelCSDK::RequestType;

class QtTestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void TellsThatAVersionIsSupported()
    {
        KtsScriptedTransport transport;
        transport.On(RequestType::GetSupportVer, KtsReply::Body(R"({"success":true})"));
        ChannelDesk desk("no.such.server", 8080);
        QSignalSpy checked(&desk, &ChannelDesk::VersionChecked);
        desk.CheckVersion("1.1.0");
        QVERIFY(checked.wait(PATIENCE_MS));
        QCOMPARE(checked[0][0].toBool(), true);
        QVERIFY(transport.Unscripted().empty());
    }

    void AsksTheLabServer()
    {
        KtsLabServer lab;
        QVERIFY2(lab.Start(), qPrintable(lab.Error()));
        ChannelDesk desk(lab.Host(), lab.Port());
        QSignalSpy checked(&desk, &ChannelDesk::VersionChecked);
        desk.CheckVersion("0.9.0");
        QVERIFY(checked.wait(PATIENCE_MS));
        QCOMPARE(checked[0][0].toBool(), false);
    }
};

QTEST_GUILESS_MAIN(QtTestTest)
#include "QtTestTest.moc"
