#include "labserver/LabServer.h"

#include "labserver/HeldPort.h"
#include "labserver/LabFaults.h"
#include "labserver/LabHostRoutes.h"
#include "labserver/LabHttp.h"
#include "labserver/LabJson.h"
#include "labserver/LabKeyClaim.h"
#include "labserver/LabReplay.h"
#include "labserver/LabRestarts.h"
#include "labserver/LabRoutes.h"
#include "labserver/LabScenarios.h"
#include "labserver/LabStore.h"
#include "labserver/LabTls.h"
#include "labserver/LabWatch.h"

#include <atomic>
#include <mutex>
#include <stdexcept>

namespace
{

std::unique_ptr<LabStore> OpenStore(const std::string& strFile)
{
    try {
        return std::make_unique<LabStore>(strFile);
    } catch (const std::exception& error) {
        throw std::runtime_error("can't open data file " + strFile + ": " + error.what());
    }
}

/// @return null if there is nothing to replay
std::unique_ptr<LabReplay> OpenReplay(const std::string& strFile)
{
    return strFile.empty() ? nullptr : std::make_unique<LabReplay>(strFile);
}

} // namespace

class LabServer::Impl
{
public:
    explicit Impl(LabServerOptions options) : m_options(std::move(options)) {}
    ~Impl() { Stop(); } // serving ends before anything that it needs is destroyed
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    int Start();
    void Stop();
    int Port() const { return m_nPort; }
    bool SpeaksTls() const { return m_tls.Shown().has_value(); }
    std::vector<LabExchange> Exchanges() const { return m_exchanges.All(); }
    void AddFault(LabFault fault) { m_faults.Add(std::move(fault)); }
    void StartScenario(const std::string& strScenario);

private:
    std::unique_ptr<LabHttp> Listen(int nPort);
    void GoAway();
    void ComeBack();
    void Answer(const std::string& strPath, const httplib::Request& request, httplib::Response& response);
    void Replay(const std::string& strPath, const httplib::Request& request, httplib::Response& response);
    static void Fail(const LabFault& fault, httplib::Response& response);
    void Record(const httplib::Request& request, const httplib::Response& response);

    const LabServerOptions m_options;
    const std::unique_ptr<LabReplay> m_pReplay{OpenReplay(m_options.strReplayFile)};
    std::atomic<int> m_nPort{0};
    LabExchangeLog m_exchanges;
    LabFaults m_faults;
    LabTls m_tls{m_options};
    LabKeysInWork m_keys;
    LabWatch m_watch;
    std::unique_ptr<LabStore> m_pStore;
    std::mutex m_mutexOfHttp; ///< no request waits for it, since stopping waits for requests
    std::unique_ptr<LabHttp> m_pHttp;
    bool m_bAway = false; ///< whether it stopped for a while
    std::optional<HeldPort> m_optHeld;
    LabRestarts m_restarts{[this] { GoAway(); }, [this] { ComeBack(); }};
    LabScenarios m_scenarios{m_faults, m_tls, m_restarts};
};

int LabServer::Impl::Start()
{
    const std::lock_guard lock(m_mutexOfHttp);
    if (m_pHttp || m_bAway) {
        throw std::runtime_error("the server runs already");
    }
    if (!m_pStore) {
        m_pStore = OpenStore(m_options.strDataFile);
    }
    m_pHttp = Listen(m_options.nPort);
    m_restarts.Begin(); // the first one waits until this function gives up the lock
    return m_nPort;
}

void LabServer::Impl::Stop()
{
    const std::lock_guard lock(m_mutexOfHttp);
    m_bAway = false;
    m_optHeld.reset();
    m_pHttp.reset();
}

/// Stops for a while, in which no other program gets the port.
void LabServer::Impl::GoAway()
{
    const std::lock_guard lock(m_mutexOfHttp);
    if (m_pHttp) {
        const SocketAddress address = m_pHttp->Address();
        m_pHttp.reset();
        m_optHeld.emplace(address);
        m_bAway = true;
    }
}

/// @throws std::runtime_error when another program has taken the port nevertheless
void LabServer::Impl::ComeBack()
{
    const std::lock_guard lock(m_mutexOfHttp);
    if (m_bAway) {
        m_optHeld.reset();
        m_pHttp = Listen(m_nPort);
        m_bAway = false;
    }
}

std::unique_ptr<LabHttp> LabServer::Impl::Listen(int nPort)
{
    LabServerOptions options = m_options;
    options.nPort = nPort;
    auto pHttp = std::make_unique<LabHttp>(
        [this](const std::string& strPath, const httplib::Request& request, httplib::Response& response) {
            Answer(strPath, request, response);
        },
        [this](const httplib::Request& request, httplib::Response& response) { Record(request, response); },
        [this](LabSeen seen) {
            if (m_options.fnSeen) {
                m_options.fnSeen(seen);
            }
            m_watch.Add(std::move(seen));
        },
        options, m_tls);
    m_nPort = pHttp->Start();
    return pHttp;
}

void LabServer::Impl::Answer(const std::string& strPath, const httplib::Request& request,
                             httplib::Response& response)
{
    const bool bReplayed = m_pReplay != nullptr && !IsOperatorPath(strPath);
    const bool bReport = !bReplayed && TakesReports(request.method, strPath);
    // A report is being worked on from now on, also while a fault delays it.
    LabKeyClaim claim(m_keys, bReport ? KeyOf(request) : LabKey());
    // Operator paths are exempt, or a fault could keep faults from being cleared.
    const auto fault = IsOperatorPath(strPath) ? std::nullopt : m_faults.Take(strPath);
    const bool bHandled = !fault || IsHandled(*fault);
    if (!bHandled) {
        claim.Release();
    }
    LabHttp::CurrentSeen().optFault = fault;
    if (fault) {
        m_watch.events.Tell("faults"); // there is one less, or it will be used less often
        LabHttp::Current().Pause(std::chrono::milliseconds(fault->nDelayMs));
    }
    if (bHandled && bReplayed) {
        Replay(strPath, request, response);
    } else if (bHandled) {
        LabContext context{*m_pStore, m_faults, m_scenarios, m_tls, m_watch, claim};
        AnswerRequest(context, strPath, request, response);
    }
    if (fault) {
        Fail(*fault, response);
    }
}

/// Answers as recorded, also by what a fault did to the recorded reply.
void LabServer::Impl::Replay(const std::string& strPath, const httplib::Request& request,
                             httplib::Response& response)
{
    const LabRecorded* const pRecorded = m_pReplay->Next(request.method, request.target, request.body);
    if (pRecorded == nullptr) {
        response.status = 404;
        response.set_content(WriteJson(ErrorEnvelope(404, "This request was not recorded.")),
                             JSON_CONTENT_TYPE);
        return;
    }
    response.status = pRecorded->nStatus;
    for (const auto& [strName, strValue] : pRecorded->vecHeaders) {
        response.set_header(strName, strValue);
    }
    response.set_content(pRecorded->strBody, pRecorded->strContentType);
    if (pRecorded->optFault) {
        LabFault fault;
        fault.strPath = strPath;
        fault.eKind = *pRecorded->optFault;
        LabHttp::CurrentSeen().optFault = fault;
        Fail(fault, response);
    }
}

/// Does to a reply what a fault does to it.
void LabServer::Impl::Fail(const LabFault& fault, httplib::Response& response)
{
    switch (fault.eKind) {
    case LabFaultKind::Delay:
        break;
    case LabFaultKind::Reply:
        response.status = fault.nStatus;
        response.set_content(fault.strBody, fault.strContentType);
        break;
    case LabFaultKind::Truncate:
        LabHttp::Current().TruncateReply();
        break;
    case LabFaultKind::Reset:
        LabHttp::Current().ResetReply();
        break;
    case LabFaultKind::Silence:
        LabHttp::Current().SilenceReply();
        break;
    }
}

void LabServer::Impl::Record(const httplib::Request& request, const httplib::Response& response)
{
    const bool bReply = LabHttp::Current().HasReply();
    m_exchanges.Add({request.method, request.target, request.body, bReply ? response.status : 0,
                     bReply ? response.body : std::string()});
}

void LabServer::Impl::StartScenario(const std::string& strScenario)
{
    const std::size_t nBegin = strScenario.find_first_not_of(" \t\r\n");
    const bool bWhole = nBegin != std::string::npos && strScenario[nBegin] == '{';
    Json::Value scenario(Json::objectValue);
    scenario["name"] = strScenario;
    m_scenarios.Start(bWhole ? ParseJson(strScenario) : scenario);
}

LabServer::LabServer(LabServerOptions options) : m_pImpl(std::make_unique<Impl>(std::move(options))) {}
LabServer::~LabServer() = default;

int LabServer::Start()
{
    return m_pImpl->Start();
}
void LabServer::Stop()
{
    m_pImpl->Stop();
}
int LabServer::Port() const
{
    return m_pImpl->Port();
}
bool LabServer::SpeaksTls() const
{
    return m_pImpl->SpeaksTls();
}
std::vector<LabExchange> LabServer::Exchanges() const
{
    return m_pImpl->Exchanges();
}
void LabServer::AddFault(LabFault fault)
{
    m_pImpl->AddFault(std::move(fault));
}
void LabServer::StartScenario(const std::string& strScenario)
{
    m_pImpl->StartScenario(strScenario);
}
