#include "OnTerminal.h"

#include <QElapsedTimer>
#include <QProcess>

#include <gtest/gtest.h>

#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace
{

/// A terminal without a screen: what is written to it can be read.
class Terminal
{
public:
    Terminal() : m_nMaster(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        EXPECT_GE(m_nMaster, 0);
        EXPECT_EQ(::grantpt(m_nMaster), 0);
        EXPECT_EQ(::unlockpt(m_nMaster), 0);
        m_nSlave = ::open(::ptsname(m_nMaster), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_GE(m_nSlave, 0);
    }
    ~Terminal()
    {
        ::close(m_nSlave);
        ::close(m_nMaster);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int Slave() const { return m_nSlave; }

    /// What was written since the last call, so far.
    std::string Read() const
    {
        std::string strAll;
        pollfd waiting{m_nMaster, POLLIN, 0};
        while (::poll(&waiting, 1, 0) == 1) {
            char buffer[4096];
            const ssize_t nRead = ::read(m_nMaster, buffer, sizeof buffer);
            if (nRead <= 0) {
                break;
            }
            strAll.append(buffer, static_cast<std::size_t>(nRead));
        }
        return strAll;
    }

private:
    const int m_nMaster;
    int m_nSlave = -1;
};

/// A process with a terminal as one of its streams.
class ProcessOnTerminal : public QProcess
{
public:
    ProcessOnTerminal(const Terminal& terminal, int nStream)
        : m_nTerminal(terminal.Slave()), m_nStream(nStream)
    {
    }

protected:
    void setupChildProcess() override { ::dup2(m_nTerminal, m_nStream); }

private:
    const int m_nTerminal;
    const int m_nStream;
};

} // namespace

std::string OnTerminal(const QStringList& lstArguments, int nStream)
{
    constexpr int LONGEST_MS = 60'000;
    constexpr int READ_EACH_MS = 100;
    const Terminal terminal;
    ProcessOnTerminal process(terminal, nStream);
    process.start(KTSAGENT_PROGRAM, lstArguments, QIODevice::ReadOnly);
    std::string strSaid;
    QElapsedTimer clock;
    clock.start();
    while (!process.waitForFinished(READ_EACH_MS) && !clock.hasExpired(LONGEST_MS)) {
        strSaid += terminal.Read(); // what it says must not fill the terminal's buffer
    }
    EXPECT_EQ(process.state(), QProcess::NotRunning);
    return strSaid + terminal.Read();
}
