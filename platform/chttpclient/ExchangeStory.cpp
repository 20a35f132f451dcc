#include "ExchangeStory.h"

#include "ExchangeFacts.h"

#include "platform/text/Escaping.h"
#include "platform/text/LogWords.h"

#include <ktshttpagent/chttpclient.h>

#include <curl/curl.h>

#include <new>
#include <string_view>
#include <utility>

namespace chttpclient
{
namespace
{

// A plain pointer, which needs no destructor at the end of the thread.
thread_local StoryTeller* t_pInnermost = nullptr;

/// Why an exchange ended that has no facts: it never left the transport, or there was no memory for them.
std::string WhyNotBegun(int nHttpError)
{
    switch (nHttpError) {
    case CHttpOutcome::TooManyOutstanding:
        return "not sent, because too many requests (CHTTPCLIENT_MAX_OUTSTANDING) still wait for their "
               "callback";
    case CHttpOutcome::NotRunning:
        return "not sent, because the transport is not running";
    case CHttpOutcome::Cancelled:
        return "cancelled at the stop while it waited for a connection";
    case CHttpOutcome::OutOfMemory:
        return "not sent, because there is not enough memory";
    default:
        return curl_easy_strerror(static_cast<CURLcode>(-nHttpError));
    }
}

std::string WhyEnded(const HttpExchange& exchange)
{
    if (exchange.nHttpError >= 0) {
        const long nStatus = exchange.pFacts != nullptr ? exchange.pFacts->nStatus : exchange.nHttpError;
        return "HTTP status " + std::to_string(nStatus);
    }
    if (exchange.pFacts == nullptr) {
        return WhyNotBegun(exchange.nHttpError);
    }
    if (exchange.nHttpError == CHttpOutcome::Cancelled) {
        return exchange.pFacts->bSent ? "cancelled at the stop after it was sent"
                                      : "cancelled at the stop before it was sent";
    }
    // libcurl has several texts for a time-out, which don't all say what was waited for.
    std::string strWhy;
    if (exchange.nHttpError == CHttpOutcome::TimedOut) {
        strWhy = exchange.pFacts->bSent ? "timed out waiting for the reply: " : "timed out connecting: ";
    }
    return strWhy + (exchange.pFacts->strError.empty()
                         ? curl_easy_strerror(static_cast<CURLcode>(-exchange.nHttpError))
                         : EscapeUnsafe(WithoutPasswords(exchange.pFacts->strError)));
}

std::string Milliseconds(curl_off_t nMicroseconds)
{
    const curl_off_t nTenths = (nMicroseconds + 50) / 100;
    return std::to_string(nTenths / 10) + '.' + std::to_string(nTenths % 10);
}

/// The stages that the exchange reached; a kept connection has only the last two.
std::string Times(const ExchangeFacts& facts)
{
    const std::pair<const char*, curl_off_t> arrStages[] = {{"name", facts.nNameTime},
                                                            {"connected", facts.nConnectTime},
                                                            {"TLS", facts.nTlsTime},
                                                            {"first byte", facts.nFirstByteTime}};
    std::string strTimes = "; ms: ";
    for (const auto& [szStage, nTime] : arrStages) {
        if (nTime > 0) {
            strTimes += szStage + (' ' + Milliseconds(nTime)) + ", ";
        }
    }
    return strTimes + "whole " + Milliseconds(facts.nWholeTime);
}

std::string Connection(const ExchangeFacts& facts)
{
    std::string strText = "; ";
    if (facts.strPeer.empty()) {
        strText += "no peer";
    } else {
        const bool bColons = facts.strPeer.find(':') != std::string::npos;
        strText += "peer " + (bColons ? '[' + facts.strPeer + ']' : facts.strPeer) + ':' +
                   std::to_string(facts.nPeerPort);
    }
    strText += facts.strProxy.empty() ? ", no proxy" : ", proxy " + EscapeUnsafe(facts.strProxy);
    strText += facts.nConnects > 0 ? ", new connection" : facts.bSent ? ", kept connection" : "";
    if (facts.nStatus == 0) {
        return strText + ", no HTTP status";
    }
    return strText + ", HTTP status " + std::to_string(facts.nStatus);
}

} // namespace

std::string StoryOf(const HttpExchange& exchange, bool bBody)
{
    std::string strStory = exchange.bPost ? "POST " : "GET ";
    strStory += EscapeUnsafe(WithoutPassword(exchange.strUrl)) + ", type " + std::to_string(exchange.nType) +
                ", outcome " + std::to_string(exchange.nHttpError) + ": " + WhyEnded(exchange);
    if (exchange.pFacts != nullptr) {
        strStory += Connection(*exchange.pFacts) + Times(*exchange.pFacts);
    }
    if (bBody) {
        const std::string& strBody = exchange.nHttpError >= 0 || exchange.pFacts == nullptr
                                         ? exchange.strReply
                                         : exchange.pFacts->strBody;
        const std::string strBeginning = BeginningOf(strBody, exchange.strBody);
        strStory += strBeginning.empty() ? "" : "; the body begins " + strBeginning;
    }
    return strStory;
}

StoryTeller::StoryTeller(const HttpExchange& exchange) noexcept
    : m_exchange(exchange), m_pOuter(std::exchange(t_pInnermost, this))
{
}

StoryTeller::~StoryTeller()
{
    t_pInnermost = m_pOuter;
}

const char* StoryTeller::Told() noexcept
{
    if (t_pInnermost == nullptr) {
        return nullptr;
    }
    try {
        std::string& strStory = t_pInnermost->m_strStory;
        if (strStory.empty()) {
            strStory = StoryOf(t_pInnermost->m_exchange, true);
        }
        return strStory.c_str();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

const HttpExchange* StoryTeller::Exchange() noexcept
{
    return t_pInnermost == nullptr ? nullptr : &t_pInnermost->m_exchange;
}

} // namespace chttpclient
