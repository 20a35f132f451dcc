#include "InFlight.h"

#include "BareCurl.h"
#include "Clock.h"
#include "HoldingServer.h"
#include "Resident.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QSemaphore>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::string Host(const Flight& flight, std::size_t nRequest)
{
    return "127.0.0." + std::to_string(1 + nRequest % flight.nServers);
}

/// The resident bytes once they do not change any more: the transport's threads may still be queueing
/// requests.
double SettledBytes()
{
    constexpr int UNCHANGED_SAMPLES = 10;
    double fBytes = ResidentBytes();
    for (int nUnchanged = 0; nUnchanged < UNCHANGED_SAMPLES;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const double fNow = ResidentBytes();
        nUnchanged = fNow == fBytes ? nUnchanged + 1 : 0;
        fBytes = fNow;
    }
    return fBytes;
}

} // namespace

double BytesInFlightOfAgent(const Flight& flight)
{
    constexpr int PATIENCE_MS = 120'000;
    HoldingServer server(flight.nServers);
    QSemaphore answered;
    CUIAgentReq& request = *CUIAgentReq::Instance();
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet,
                     [&answered] { answered.release(); });
    const double fBefore = SettledBytes();
    for (std::size_t nRequest = 0; nRequest < flight.nRequests; ++nRequest) {
        request.SendGetSupportVer(QString::fromStdString(Host(flight, nRequest)), server.Port(),
                                  QStringLiteral("1.1.0"));
    }
    server.WaitForRequests(flight.nOnTheWire);
    const double fBytes = SettledBytes() - fBefore;
    server.Kill();
    if (!answered.tryAcquire(static_cast<int>(flight.nRequests), PATIENCE_MS)) {
        throw std::runtime_error("a request in flight got no outcome");
    }
    return fBytes / static_cast<double>(flight.nRequests);
}

double BytesInFlightOfBareLoop(const Flight& flight)
{
    HoldingServer server(flight.nServers);
    const Multi pMulti(curl_multi_init());
    std::vector<Easy> vecEasy;
    const double fBefore = SettledBytes();
    for (std::size_t nRequest = 0; nRequest < flight.nRequests; ++nRequest) {
        vecEasy.push_back(MakeEasy(Host(flight, nRequest), server.Port()));
        curl_multi_add_handle(pMulti.get(), vecEasy.back().get());
    }
    while (server.Requests() < flight.nOnTheWire) {
        int nRunning = 0;
        curl_multi_perform(pMulti.get(), &nRunning);
        curl_multi_poll(pMulti.get(), nullptr, 0, 10, nullptr);
    }
    const double fBytes = SettledBytes() - fBefore;
    for (const Easy& pEasy : vecEasy) {
        curl_multi_remove_handle(pMulti.get(), pEasy.get());
    }
    return fBytes / static_cast<double>(flight.nRequests);
}
