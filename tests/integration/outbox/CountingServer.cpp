#include "CountingServer.h"

namespace
{

/// The value of the header line with the key, without the quotes.
std::string KeyOf(const WireRequest& request)
{
    const auto vecLines = request.Header("Idempotency-Key");
    if (vecLines.size() != 1) {
        return {};
    }
    const std::size_t nBegin = vecLines[0].find('"') + 1;
    return vecLines[0].substr(nBegin, vecLines[0].rfind('"') - nBegin);
}

} // namespace

CountingServer::CountingServer(std::uint64_t nFaultEvery)
    : m_nFaultEvery(nFaultEvery), m_server([this](const WireRequest& request) { return Answer(request); })
{
    m_server.KeepNoRequests();
}

ServerStep CountingServer::Answer(const WireRequest& request)
{
    ServerStep step;
    const std::uint64_t nRequest = m_nRequests++;
    const std::uint64_t nTurn = m_nFaultEvery == 0 ? 0 : nRequest % m_nFaultEvery;
    if (m_bAway || nTurn == 200) {
        step.strReply = HttpReply(503, "");
        return step;
    }
    m_ledger.Note(NameInBody(request.strBody), KeyOf(request));
    step.strReply = HttpReply(200, R"({"success":true})");
    if (nTurn == 100) {
        step.strReply.clear();
        step.ending = ServerStep::Ending::Close;
    }
    return step;
}
