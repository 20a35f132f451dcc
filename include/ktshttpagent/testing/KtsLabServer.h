#pragma once

/// @file
/// `KtsLabServer`: the lab server as a real server for a host's tests, on this machine. KtsGoogleTest.h has a
/// fixture of GoogleTest with it.

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <memory>

/// @def KTSHTTPAGENT_LABSERVER
/// The program ktslabserver; CMake's target `ktshttpagent::testing` sets it.
#if !defined(KTSHTTPAGENT_LABSERVER)
#define KTSHTTPAGENT_LABSERVER ""
#endif

/// How a lab server is started.
struct SKtsLabServerOptions {
    /// The program ktslabserver. The environment variable KTSLABSERVER replaces it. If both are empty, it is
    /// looked for beside the test program, and then in the search path.
    QString strProgram = QString::fromUtf8(KTSHTTPAGENT_LABSERVER);
    /// A data file of SQLite, such as `ktslabserver --data` makes, of which the server gets a copy; if it is
    /// empty, the server begins with its built-in data.
    QString strDataFile;
    int nMostMilliseconds = 30'000; ///< how long the start, and each call, may take
};

/// A lab server in a process of its own, with a free port of 127.0.0.1 and a temporary folder for its data.
/// It ends when the object is destroyed, and also when the test's process ends in any other way, as in a
/// crash.
///
///     KtsLabServer lab;
///     ASSERT_TRUE(lab.Start()) << lab.Error().toStdString();                   // GoogleTest
///     QVERIFY2(lab.Start(), qPrintable(lab.Error()));                          // QtTest
///     agent->SendGetSupportVer(lab.Host(), lab.Port(), "1.1.0");
///
/// The calls talk to the server's operator interface, docs/lab-server.md describes it. They block, without
/// handling events. A call that fails returns false or nothing, and `Error` says why.
///
/// Threads: use an object on one thread at a time. Ownership: everything is returned as a copy.
class KtsLabServer
{
public:
    /// Starts nothing yet.
    explicit KtsLabServer(SKtsLabServerOptions options = {});
    /// Stops the server, and removes its data.
    ~KtsLabServer();
    KtsLabServer(const KtsLabServer&) = delete;
    KtsLabServer& operator=(const KtsLabServer&) = delete;

    /// Starts the server, and returns when it listens. After `Stop` it gets the same port, and has the data
    /// of before.
    bool Start();
    /// Stops the server. Until the next `Start` connections are refused.
    void Stop();
    /// Why the last call that failed did so, in English.
    QString Error() const;

    QString Host() const; ///< "127.0.0.1"
    int Port() const;     ///< 0 before the first start
    QString Url() const;  ///< the base URL with its trailing "/", as `SendPostReportCycleData` takes it

    /// Adds rows to a list that the server answers by.
    /// @param strList  "channel-rules", "shared-barcodes" or "supported-versions"
    /// @param rows     their members are those that `Rows` shows
    bool AddRows(const QString& strList, const QJsonArray& rows);
    /// The rows of such a list.
    QJsonArray Rows(const QString& strList);

    /// The reports that the server has stored, the oldest first: {"id": 1, "receivedAt": "…", "report": …}.
    /// @param strKind  "channel-status", "incubator-status", "battery-data", "cycle-data", "step-data" or
    ///                 "orn-step-data"
    QJsonArray Reports(const QString& strKind);

    /// Makes requests fail: {"path": "posts", "count": 2, "status": 502}. docs/lab-server.md lists the
    /// faults.
    bool AddFault(const QJsonObject& fault);
    /// The next replies to requests of a path, or of one below it, have this status.
    bool AddFault(const QString& strPath, int nStatus, int nCount = 1);
    /// Ends all faults.
    bool ClearFaults();

private:
    class Server;
    const std::unique_ptr<Server> m_pServer;
};
