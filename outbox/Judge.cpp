#include "Judge.h"

#include "BodySaysNo.h"

#include <ktshttpagent/chttpclient.h>

namespace outbox
{
namespace
{

constexpr std::string_view GATEWAY_FAILURE = "Bad Gateway";

/// The text of a web page: whatever answered 2xx with it is not the server.
bool IsPage(std::string_view strBody)
{
    const std::size_t nFirst = strBody.find_first_not_of(" \t\r\n");
    return nFirst != std::string_view::npos && strBody[nFirst] == '<';
}

Judgement JudgeBody(std::string_view strBody)
{
    if (IsPage(strBody)) {
        return {Verdict::WrongPlace, false};
    }
    return {BodySaysNo(strBody) ? Verdict::SaidNo : Verdict::Acknowledged, false};
}

Judgement JudgeStatus(int nStatus)
{
    switch (nStatus) {
    case 400:
    case 413:
    case 414:
    case 415:
    case 422:
    case 431:
        return {Verdict::Poison, false};
    case 408: // these four say that the server has not taken it
    case 425:
    case 429:
    case 503:
        return {Verdict::TryLater, false};
    case 409: // the server still works on an earlier attempt
        return {Verdict::TryLater, true};
    case 501:
    case 505:
        return {Verdict::WrongPlace, false};
    default:
        return nStatus >= 500 || nStatus < 300 ? Judgement{Verdict::TryLater, true}
                                               : Judgement{Verdict::WrongPlace, false};
    }
}

/// Of an attempt that brought no usable response.
Judgement JudgeOutcome(const Reply& reply)
{
    switch (reply.nError) {
    case CHttpOutcome::InvalidUrl:
        return {Verdict::Hopeless, false};
    case CHttpOutcome::UnsupportedProtocol: // of the URL, or of a reply that is not HTTP
        return reply.bHttp ? Judgement{Verdict::WrongPlace, reply.bMayHaveBeenSeen}
                           : Judgement{Verdict::Hopeless, false};
    case CHttpOutcome::InvalidHeaderLine: // of the request, or of the reply
        return reply.bMayHaveBeenSeen ? Judgement{Verdict::WrongPlace, true}
                                      : Judgement{Verdict::Hopeless, false};
    case CHttpOutcome::TlsFailed:
    case CHttpOutcome::UntrustedCertificate:
    case CHttpOutcome::CaFileUnreadable:
        return {Verdict::WrongPlace, reply.bMayHaveBeenSeen};
    case CHttpOutcome::Cancelled:
        return {Verdict::NotEnded, reply.bMayHaveBeenSeen};
    default:
        return {Verdict::TryLater, reply.bMayHaveBeenSeen};
    }
}

const char* Words(Verdict eVerdict)
{
    switch (eVerdict) {
    case Verdict::Acknowledged:
        return "the server acknowledged it";
    case Verdict::TryLater:
        return "the server gave no answer, or asked to try later";
    case Verdict::SaidNo:
        return "the server answered that it did not accept the report";
    case Verdict::Poison:
        return "the server can't read the report";
    case Verdict::WrongPlace:
        return "the address does not take reports, or does not let this host in";
    case Verdict::Hopeless:
        return "the request is invalid";
    case Verdict::NotEnded:
        break;
    }
    return "the host stopped";
}

} // namespace

Judgement Judge(const Reply& reply)
{
    if (reply.nError < 0) {
        return JudgeOutcome(reply);
    }
    const std::string_view strBody = reply.strBody.size() > MOST_BODY_BYTES ? "" : reply.strBody;
    if (strBody.find(GATEWAY_FAILURE) != std::string_view::npos) {
        return {Verdict::TryLater, true};
    }
    return reply.nError == 0 ? JudgeBody(strBody) : JudgeStatus(reply.nError);
}

std::string Reason(Verdict eVerdict, int nError)
{
    return std::string(Words(eVerdict)) + (nError < 0 ? ": outcome " : ": status ") +
           (nError == 0 ? "2xx" : std::to_string(nError));
}

} // namespace outbox
