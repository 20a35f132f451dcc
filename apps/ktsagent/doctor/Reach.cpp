#include "Reach.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QHostInfo>
#include <QNetworkProxy>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <future>
#include <memory>
#include <thread>

LookUpResult LookUp(const QString& strName, std::chrono::milliseconds timeout)
{
    QElapsedTimer clock;
    clock.start();
    const auto pPromise = std::make_shared<std::promise<QHostInfo>>();
    std::future<QHostInfo> info = pPromise->get_future();
    std::thread([pPromise, strName] { pPromise->set_value(QHostInfo::fromName(strName)); }).detach();
    if (info.wait_for(timeout) != std::future_status::ready) {
        return {{}, "no answer of the name service in time", clock.elapsed()};
    }
    const QHostInfo result = info.get();
    LookUpResult found{result.addresses(), {}, clock.elapsed()};
    if (found.lstAddresses.isEmpty()) {
        found.strError = result.errorString().toStdString();
    }
    return found;
}

namespace
{

struct Attempt {
    ConnectResult result;
    std::unique_ptr<QTcpSocket> pSocket = std::make_unique<QTcpSocket>();
    bool bEnded = false;
};

} // namespace

std::vector<ConnectResult> Connect(const QList<QHostAddress>& lstAddresses, int nPort,
                                   std::chrono::milliseconds timeout)
{
    QElapsedTimer clock;
    clock.start();
    QEventLoop loop;
    std::vector<Attempt> vecAttempts(static_cast<std::size_t>(lstAddresses.size()));
    const auto fnEnd = [&](Attempt& attempt, const std::string& strError) {
        attempt.bEnded = true;
        attempt.result.strError = strError;
        attempt.result.nMilliseconds = clock.elapsed();
        if (std::all_of(vecAttempts.begin(), vecAttempts.end(), [](const Attempt& a) { return a.bEnded; })) {
            loop.quit();
        }
    };
    for (std::size_t i = 0; i < vecAttempts.size(); ++i) {
        Attempt& attempt = vecAttempts[i];
        QTcpSocket& socket = *attempt.pSocket;
        attempt.result.address = lstAddresses.at(static_cast<int>(i));
        socket.setProxy(QNetworkProxy::NoProxy);
        QObject::connect(&socket, &QTcpSocket::connected, &loop, [&] { fnEnd(attempt, ""); });
        QObject::connect(&socket, &QTcpSocket::errorOccurred, &loop,
                         [&] { fnEnd(attempt, socket.errorString().toStdString()); });
        QTimer::singleShot(0, &socket, [&socket, &attempt, nPort] {
            socket.connectToHost(attempt.result.address, static_cast<quint16>(nPort));
        });
    }
    QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
    loop.exec();
    std::vector<ConnectResult> vecResults;
    for (Attempt& attempt : vecAttempts) {
        attempt.pSocket->disconnect(&loop);
        if (!attempt.bEnded) {
            attempt.result.bSilent = true;
            attempt.result.strError = "no answer in time";
            attempt.result.nMilliseconds = clock.elapsed();
        }
        vecResults.push_back(attempt.result);
    }
    return vecResults;
}
