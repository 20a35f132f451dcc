// Repeated use of the network: in one QCoreApplication after the other, with requests in progress at the end
// of each, and by very many managers. A separate program, since it creates its applications itself.

#include "net/NAManager.h"
#include "net/NetworkUse.h"

#include "DownloadFixture.h"
#include "ProcessUse.h"
#include "ScriptedServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonObject>
#include <QNetworkReply>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{

constexpr int ROUNDS = 4;
#if defined(__SANITIZE_ADDRESS__)
constexpr int MANAGERS = 20'000; // under the sanitizer, these take as long
#else
constexpr int MANAGERS = 100'000;
#endif

/// A manager with a request sent to that server.
QPointer<NAManager> Send(const ScriptedServer& server, int nMethod)
{
    auto* const pManager = new NAManager(nullptr);
    pManager->SendRequest(QString::fromStdString(server.Url("/x")), "{}", nMethod);
    return pManager;
}

class NetworkAgain : public Download
{
protected:
    /// Runs a function in a QCoreApplication of its own.
    static void InAnApplication(const std::function<void()>& fnRun)
    {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        fnRun();
    }

    /// Expects that one request of each kind is answered on this thread.
    void ExpectAnswers()
    {
        for (const int nMethod : {NAManager::METHOD_POST, NAManager::METHOD_GET}) {
            const QPointer<NAManager> pManager = Send(m_answering, nMethod);
            const QSignalSpy answers(pManager.data(), &NAManager::signal_reply_finished);
            EXPECT_TRUE(QTest::qWaitFor([&] { return pManager.isNull(); }, ENOUGH_MS));
            ASSERT_EQ(answers.count(), 1);
            EXPECT_TRUE(answers.front().front().toBool());
        }
        EXPECT_TRUE(Run(QString::fromStdString(m_answering.Url("/file"))));
        EXPECT_EQ(Content(), "{}");
        QFile::remove(Target());
    }

    /// Starts one request of each kind, none of which is answered.
    std::vector<QPointer<QNetworkAccessManager>> Begin() const
    {
        auto* const pDownload = new NAMDownload(nullptr);
        EXPECT_TRUE(pDownload->Start(QString::fromStdString(m_silent.Url("/file")), Target()));
        return {Send(m_silent, NAManager::METHOD_POST).data(), Send(m_silent, NAManager::METHOD_GET).data(),
                pDownload};
    }

    static void ExpectGone(const std::vector<QPointer<QNetworkAccessManager>>& vecManagers)
    {
        for (const auto& pManager : vecManagers) {
            EXPECT_TRUE(pManager.isNull());
        }
    }

    const ScriptedServer m_answering{ServerStep{HttpReply(200, "{}")}};
    const ScriptedServer m_silent{Silent()};
};

TEST_F(NetworkAgain, WorksInOneApplicationAfterTheOther)
{
    for (std::size_t nRound = 1; nRound <= ROUNDS && !HasFailure(); ++nRound) {
        std::vector<QPointer<QNetworkAccessManager>> vecManagers;
        InAnApplication([&] {
            PrepareNetwork();
            EXPECT_FALSE(NetworkCall().IsRefused());
            ExpectAnswers();
            vecManagers = Begin();
            EXPECT_TRUE(HasFailure() ||
                        QTest::qWaitFor([&] { return m_silent.Requests().size() == 3 * nRound; }, ENOUGH_MS));
        });
        ExpectGone(vecManagers);
        EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
        EXPECT_TRUE(m_silent.WaitForClosed(3 * nRound));
    }
}

TEST_F(NetworkAgain, GoesWithItsApplicationBeforeARequestHasLeft)
{
    for (int nRound = 0; nRound < ROUNDS && !HasFailure(); ++nRound) {
        std::vector<QPointer<QNetworkAccessManager>> vecManagers;
        InAnApplication([&] { vecManagers = Begin(); });
        ExpectGone(vecManagers);
        EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
    }
    InAnApplication([&] { ExpectAnswers(); });
}

// The thread outlives the applications, and is using the network at the end of each of them.
TEST_F(NetworkAgain, OnAnotherThreadGoesWithEachApplication)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "objects that Qt still has to delete count as leaked when there is no application";
#endif
    QThread worker;
    QObject anchor;
    anchor.moveToThread(&worker);
    std::vector<QPointer<QNetworkAccessManager>> vecManagers;
    for (std::size_t nRound = 1; nRound <= ROUNDS && !HasFailure(); ++nRound) {
        InAnApplication([&] {
            worker.start(); // once, and again without effect
            QMetaObject::invokeMethod(
                &anchor,
                [&] {
                    ExpectAnswers();
                    vecManagers = Begin();
                },
                Qt::BlockingQueuedConnection);
            EXPECT_TRUE(m_silent.WaitForRequests(3 * nRound));
        });
        ExpectGone(vecManagers);
        EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
    }
    InAnApplication([&] { // lets Qt delete what is left there
        worker.quit();
        worker.wait();
    });
}

// A blocking call ends with its application, and is not refused in the next one.
TEST_F(NetworkAgain, ABlockingCallOnAnotherThreadEndsWithEachApplication)
{
    for (int nRound = 0; nRound < ROUNDS && !HasFailure(); ++nRound) {
        std::promise<bool> refused;
        std::thread worker;
        InAnApplication([&] {
            worker = std::thread([&] {
                const NetworkCall call;
                if (call.IsRefused()) {
                    return refused.set_value(true);
                }
                QEventLoop loop;
                const QPointer<NAManager> pManager = Send(m_silent, NAManager::METHOD_GET);
                QTimer::singleShot(0, &loop, [&refused] { refused.set_value(false); });
                NetworkCall::Run(loop);
                EXPECT_TRUE(pManager.isNull());
            });
            EXPECT_FALSE(refused.get_future().get());
        });
        worker.join();
    }
}

TEST_F(NetworkAgain, TheEndOfAnApplicationEndsNoLoopOfACallThatIsOver)
{
    std::promise<void> begun;
    std::thread worker;
    bool bRanOn = false;
    InAnApplication([&] {
        worker = std::thread([&] {
            const NetworkCall call;
            QEventLoop past;
            QTimer::singleShot(0, &past, &QEventLoop::quit);
            NetworkCall::Run(past);
            const QPointer<NAManager> pManager = Send(m_silent, NAManager::METHOD_GET);
            QObject::connect(pManager.data(), &QObject::destroyed, &past, [&] { // the application ends
                QTimer::singleShot(0, &past, [&] {
                    bRanOn = past.isRunning();
                    past.quit();
                });
            });
            QEventLoop loop;
            QTimer::singleShot(0, &loop, [&] {
                begun.set_value();
                past.exec(); // the host's own affair now
            });
            NetworkCall::Run(loop);
        });
        begun.get_future().wait();
    });
    worker.join();
    EXPECT_TRUE(bRanOn);
}

#if !defined(_WIN32)
TEST_F(NetworkAgain, TheEndOfAForkedChildDoesNotWaitForThreadsOfItsParent)
{
    InAnApplication([&] {
        std::promise<void> begun;
        std::promise<void> over;
        std::thread worker([&] {
            const NetworkCall call;
            begun.set_value();
            over.get_future().wait();
        });
        begun.get_future().wait();
        const pid_t nChild = ::fork();
        if (nChild == 0) {
            const auto tpBegin = std::chrono::steady_clock::now();
            EndNetworkUse();
            ::_exit(std::chrono::steady_clock::now() - tpBegin < std::chrono::seconds(4) ? 0 : 1);
        }
        int nStatus = -1;
        EXPECT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
        EXPECT_EQ(nStatus, 0);
        over.set_value();
        worker.join();
    });
}
#endif

// Preparing takes its time once, on a busy machine also twice.
TEST_F(NetworkAgain, IsPreparedSoon)
{
    InAnApplication([&] {
        constexpr int MOST_CALLS = 10;
        std::chrono::steady_clock::duration took{};
        int nCalls = 0;
        do {
            const auto tpBegin = std::chrono::steady_clock::now();
            PrepareNetwork();
            took = std::chrono::steady_clock::now() - tpBegin;
        } while (took >= std::chrono::seconds(1) && ++nCalls < MOST_CALLS);
        EXPECT_LT(nCalls, MOST_CALLS);
    });
}

// This also holds for the very first call, whose request is not made yet.
TEST_F(NetworkAgain, TheEndOfEachApplicationWaitsForACallThatHasJustBegun)
{
    for (int nRound = 0; nRound < ROUNDS; ++nRound) {
        std::promise<void> begun;
        std::atomic<bool> bGone = false;
        std::atomic<bool> bOver = false;
        std::thread worker;
        InAnApplication([&] {
            worker = std::thread([&] {
                const NetworkCall call;
                begun.set_value();
                while (!NetworkCall().IsRefused() && !bGone) {
                    std::this_thread::yield();
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(50)); // so that a hasty end shows
                bOver = true;
            });
            begun.get_future().wait();
        });
        EXPECT_TRUE(bOver);
        bGone = true;
        worker.join();
    }
}

// Its thread handles no events, and so learns of the end by that call only.
TEST_F(NetworkAgain, ARefusedCallEndsWhatItsThreadLeftBehind)
{
    for (int nRound = 0; nRound < ROUNDS && !HasFailure(); ++nRound) {
        std::promise<void> sent;
        std::atomic<bool> bGone = false;
        std::thread worker;
        QElapsedTimer clock;
        InAnApplication([&] {
            worker = std::thread([&] {
                const QPointer<NAManager> pManager = new NAManager(nullptr);
                WatchInFlight(*pManager);
                sent.set_value();
                while (!bGone) {
                    const bool bRefused = NetworkCall().IsRefused();
                    EXPECT_TRUE(!bRefused || pManager.isNull());
                    std::this_thread::yield();
                }
            });
            sent.get_future().wait();
            clock.start();
        });
        EXPECT_LT(clock.elapsed(), 4'000) << "the application waited for its thread in vain";
        bGone = true;
        worker.join();
    }
}

TEST_F(NetworkAgain, IsDoneWhereNobodyWatches)
{
    InAnApplication([&] {
        const QPointer<NAManager> pPost = Send(m_answering, NAManager::METHOD_POST);
        const QPointer<NAMDownload> pDownload = new NAMDownload(nullptr);
        EXPECT_TRUE(pDownload->Start(QString::fromStdString(m_answering.Url("/file")), Target()));
        EXPECT_TRUE(QTest::qWaitFor([&] { return pPost.isNull() && pDownload.isNull(); }, ENOUGH_MS));
        EXPECT_EQ(Content(), "{}");
        EXPECT_EQ(m_answering.Requests().size(), 2U);
        const QPointer<NAManager> pRefused = new NAManager(nullptr);
        pRefused->SendRequest("http://127.0.0.1:0/", "{}", NAManager::METHOD_POST);
        EXPECT_TRUE(QTest::qWaitFor([&] { return pRefused.isNull(); }, ENOUGH_MS));
    });
}

TEST_F(NetworkAgain, NoDownloadBeginsOnceTheProcessIsEnding)
{
    InAnApplication([&] {
        EndNetworkUse();
        NAMDownload download(nullptr);
        EXPECT_FALSE(download.Start(QString::fromStdString(m_answering.Url("/file")), Target()));
        EXPECT_TRUE(Files().isEmpty());
        EXPECT_TRUE(m_answering.Requests().empty());
    });
}

TEST_F(NetworkAgain, NoRequestIsMadeOnceTheProcessIsEnding)
{
    InAnApplication([&] {
        EndNetworkUse();
        NAManager manager(nullptr);
        manager.SendRequest(QString::fromStdString(m_answering.Url("/x")), {}, NAManager::METHOD_GET);
        EXPECT_EQ(manager.findChild<QNetworkReply*>(), nullptr);
    });
}

std::promise<void> g_begins;
std::atomic<bool> g_bBegun = false;

/// A download whose start lasts until the process is ending.
class SlowlyBegunDownload : public NAMDownload
{
public:
    using NAMDownload::NAMDownload;

protected:
    QNetworkReply* createRequest(Operation eOperation, const QNetworkRequest& request,
                                 QIODevice* pBody) override
    {
        g_begins.set_value();
        while (!HasNetworkUseEnded()) {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // so that a hasty end shows
        QNetworkReply* const pReply = NAMDownload::createRequest(eOperation, request, pBody);
        g_bBegun = true;
        return pReply;
    }
};

TEST_F(NetworkAgain, TheEndOfTheProcessWaitsForADownloadThatIsJustBegun)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "objects that Qt still has to delete on the sleeping thread count as leaked";
#endif
    InAnApplication([&] {
        const QString strUrl = QString::fromStdString(m_silent.Url("/file"));
        // This thread then sleeps until the process is gone.
        std::thread([strUrl, strTarget = Target()] {
            const QEventLoop loop; // creates what a timer needs
            (new SlowlyBegunDownload(nullptr))->Start(strUrl, strTarget);
        }).detach();
        g_begins.get_future().wait();
        EndNetworkUse();
        EXPECT_TRUE(g_bBegun);
        EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
    });
}

std::atomic<bool> g_bGone = false;

/// An object that is destroyed with its manager, but after the manager's last signal, like Qt's own threads.
class SlowlyGone : public QObject
{
public:
    using QObject::QObject;
    ~SlowlyGone() override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // so that a hasty end shows
        g_bGone = true;
    }
    SlowlyGone(const SlowlyGone&) = delete;
    SlowlyGone& operator=(const SlowlyGone&) = delete;
};

TEST_F(NetworkAgain, TheEndOfTheProcessWaitsUntilAManagerIsGoneWhole)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "objects that Qt still has to delete on the sleeping thread count as leaked";
#endif
    InAnApplication([&] {
        std::promise<void> sent;
        // This thread then sleeps until the process is gone.
        std::thread([this, &sent] {
            QEventLoop loop;
            new SlowlyGone(Send(m_silent, NAManager::METHOD_GET));
            sent.set_value();
            loop.exec();
        }).detach();
        sent.get_future().wait();
        EndNetworkUse();
        EXPECT_TRUE(g_bGone);
    });
}

/// Fills all memory that was freed before it is destroyed.
struct FillsFreedMemory {
    FillsFreedMemory() = default;
    ~FillsFreedMemory()
    {
        constexpr std::size_t LARGEST = 256;
        constexpr int OF_EACH_SIZE = 50;
        std::vector<std::string> vecBlocks;
        for (std::size_t nSize = 1; nSize < LARGEST; ++nSize) {
            for (int nBlock = 0; nBlock < OF_EACH_SIZE; ++nBlock) {
                vecBlocks.emplace_back(nSize, 'x');
            }
        }
        EXPECT_EQ(vecBlocks.size(), (LARGEST - 1) * OF_EACH_SIZE);
    }
    FillsFreedMemory(const FillsFreedMemory&) = delete;
    FillsFreedMemory& operator=(const FillsFreedMemory&) = delete;
};

// MinGW frees the memory of thread-local objects before it destroys them.
TEST_F(NetworkAgain, AThreadThatEndsDeletesItsManagersWhateverIsInMemoryThatWasFreed)
{
#if defined(_WIN32)
    GTEST_SKIP() << "a known fault, see docs/windows.md: the thread mostly does not end";
#endif
    InAnApplication([&] {
        QPointer<NAManager> pManager;
        std::thread([&] {
            pManager = Send(m_silent, NAManager::METHOD_GET);
            thread_local const FillsFreedMemory fills; // destroyed before what was made before it
            EXPECT_NE(&fills, nullptr);
        }).join();
        EXPECT_TRUE(pManager.isNull());
    });
}

// If one of them were still counted, the end of the process would wait for its thread in vain.
TEST_F(NetworkAgain, AHundredThousandManagersLeaveNothing)
{
    InAnApplication([&] {
        const auto fnMake = [](int nManagers) {
            for (int nManager = 0; nManager < nManagers; ++nManager) {
                NAManager manager(nullptr);
                WatchInFlight(manager);
                WatchInFlight(manager); // as for a second request
                const NetworkCall call;
                EXPECT_FALSE(call.IsRefused());
            }
        };
        fnMake(1'000);
        const std::size_t nDescriptors = OpenDescriptors();
        const std::size_t nBytes = HeapBytes();
        fnMake(MANAGERS);
        EXPECT_LE(OpenDescriptors(), nDescriptors);
        EXPECT_LT(HeapBytes(), nBytes + std::size_t{4} * MANAGERS)
            << "must be less than a pointer for each manager";
        const auto tpBegin = std::chrono::steady_clock::now();
        std::thread(&EndNetworkUse).join();
        EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, std::chrono::seconds(4));
    });
}

} // namespace
