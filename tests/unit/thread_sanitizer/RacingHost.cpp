// One thread passes a number to another by an event of Qt's:
//   racing_host HOW WHEN
// HOW is "signal", "call", or "record" for a signal with a record in a variant. WHEN is "before" if the
// number is written before the event is posted, so that the handler sees it; "after" is a race.

#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>
#include <QVariant>

#include <cstdio>
#include <string>
#include <thread>

struct Record {
    std::string strText;
};
Q_DECLARE_METATYPE(Record)

namespace
{

class Sender : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void SigTold();
    void SigRecord(const QVariant& varRecord);
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const std::string strHow = argc < 3 ? "" : argv[1];
    const std::string strWhen = argc < 3 ? "" : argv[2];
    int nNumber = 0;
    int nRead = 0;
    std::size_t nLength = 0;
    QEventLoop loop;
    const auto Handle = [&] {
        nRead = nNumber;
        loop.quit();
    };
    Sender sender;
    QObject::connect(&sender, &Sender::SigTold, &loop, Handle);
    QObject::connect(&sender, &Sender::SigRecord, &loop, [&](const QVariant& varRecord) {
        nLength = varRecord.value<Record>().strText.size();
        Handle();
    });
    std::thread other([&] {
        if (strWhen == "before") {
            nNumber = 1;
        }
        if (strHow == "signal") {
            Q_EMIT sender.SigTold();
        } else if (strHow == "record") {
            Q_EMIT sender.SigRecord(QVariant::fromValue(Record{std::string(100, 'x')}));
        } else {
            QMetaObject::invokeMethod(&loop, Handle, Qt::QueuedConnection);
        }
        if (strWhen == "after") {
            nNumber = 1;
        }
    });
    loop.exec();
    other.join();
    std::printf("read %d and %zu characters\n", nRead, nLength);
    return 0;
}

#include "RacingHost.moc"
