#include "labserver/LabListener.h"

#include "labserver/LabJson.h"

#include <algorithm>
#include <exception>
#include <thread>

namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Time for a refused client to send its request and to read the refusal.
constexpr milliseconds REFUSED_STAY{5000};
constexpr size_t MAX_REFUSED = 64;
/// The pause before the next try when the machine has no descriptor or memory for a connection.
constexpr milliseconds PAUSE{10};

std::string RefusalReply(int nMaxConnections)
{
    const std::string strBody =
        WriteJson(ErrorEnvelope(503, "The server has no room for another connection; it takes at most " +
                                         std::to_string(nMaxConnections) + " at a time."));
    return "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\nContent-Length: " +
           std::to_string(strBody.size()) + "\r\nContent-Type: " + JSON_CONTENT_TYPE + "\r\n\r\n" + strBody;
}

/// Reads and discards some of what has arrived. @return whether more may arrive
bool ReadAway(Socket nSocket)
{
    std::vector<char> vecBytes(16384);
    return ReceiveBytes(nSocket, vecBytes.data(), vecBytes.size()) > 0 || WouldBlock();
}

} // namespace

bool LabThreads::Run(const std::function<void()>& fn)
{
    const std::lock_guard lock(m_mutex);
    if (m_nRunning >= m_nMax) {
        return false;
    }
    try {
        std::thread([this, fn] {
            fn();
            const std::lock_guard lockAtEnd(m_mutex);
            --m_nRunning;
            m_ended.notify_all();
        }).detach();
    } catch (const std::exception&) { // no thread could be started, or there was no memory for one
        return false;
    }
    ++m_nRunning;
    return true;
}

void LabThreads::Wait()
{
    std::unique_lock lock(m_mutex);
    m_ended.wait(lock, [this] { return m_nRunning == 0; });
}

LabRefusedClients::~LabRefusedClients()
{
    for (const Client& client : m_lstClients) {
        CloseSocket(client.nSocket);
    }
}

void LabRefusedClients::Add(Socket nSocket, const std::string& strReply)
{
    MakeNonBlocking(nSocket);
    // Nothing was sent before, so the system's buffer takes all of it.
    SendBytes(nSocket, strReply.data(), strReply.size());
    shutdown(nSocket, SHUT_WR);
    m_lstClients.push_back({nSocket, steady_clock::now() + REFUSED_STAY});
    if (m_lstClients.size() > MAX_REFUSED) {
        CloseSocket(m_lstClients.front().nSocket);
        m_lstClients.pop_front();
    }
}

int LabRefusedClients::AddTo(std::vector<pollfd>& vecSockets) const
{
    for (const Client& client : m_lstClients) {
        vecSockets.push_back({client.nSocket, POLLIN, 0});
    }
    if (m_lstClients.empty()) {
        return -1;
    }
    const auto left = std::chrono::ceil<milliseconds>(m_lstClients.front().end - steady_clock::now());
    return static_cast<int>(std::max(left, milliseconds(0)).count());
}

void LabRefusedClients::Serve(const pollfd* pSockets)
{
    const auto now = steady_clock::now();
    std::deque<Client> lstStaying;
    for (const Client& client : m_lstClients) {
        const bool bCame = (pSockets++)->revents != 0;
        if (now < client.end && (!bCame || ReadAway(client.nSocket))) {
            lstStaying.push_back(client);
        } else {
            CloseSocket(client.nSocket);
        }
    }
    m_lstClients.swap(lstStaying);
}

LabListener::LabListener(Socket nListener, const StopSignal& stop, int nMaxConnections,
                         std::function<void(Socket)> fnServe)
    : m_nListener(nListener),
      m_stop(stop),
      m_fnServe(std::move(fnServe)),
      m_strRefusal(RefusalReply(nMaxConnections)),
      m_threads(nMaxConnections)
{
    // A client may leave between the poll and the accept, which would then wait for the next client.
    MakeNonBlocking(m_nListener);
}

LabListener::~LabListener()
{
    Close();
}

void LabListener::Run()
{
    while (!m_stop.WaitFor(milliseconds(0))) {
        std::vector<pollfd> vecSockets = {{m_nListener, POLLIN, 0}, {m_stop.Descriptor(), POLLIN, 0}};
        const size_t nOwn = vecSockets.size();
        const int nPatience = m_refused.AddTo(vecSockets);
        PollSockets(vecSockets.data(), vecSockets.size(), nPatience);
        m_refused.Serve(vecSockets.data() + nOwn);
        if (vecSockets.front().revents != 0) {
            Accept();
        }
    }
    Close();
    m_threads.Wait();
}

void LabListener::Accept()
{
    const Socket nSocket = AcceptConnection(m_nListener);
    if (nSocket != NO_SOCKET) {
        if (!m_threads.Run([this, nSocket] { m_fnServe(nSocket); })) {
            m_refused.Add(nSocket, m_strRefusal);
        }
    } else if (!WouldBlock()) {
        m_stop.WaitFor(PAUSE);
    }
}

void LabListener::Close()
{
    if (m_nListener != NO_SOCKET) {
        CloseSocket(m_nListener);
    }
    m_nListener = NO_SOCKET;
}
