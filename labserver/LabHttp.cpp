#include "labserver/LabHttp.h"

#include "labserver/HostAndPort.h"
#include "labserver/LabJson.h"

#include "platform/system/QuietThread.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <stdexcept>

namespace
{

// httplib does not tell a handler which connection it serves, but calls it on the thread of the connection.
thread_local LabConnection* t_pConnection = nullptr;
thread_local std::string t_strPath;
thread_local LabSeen t_seen;

/// The path that httplib sees in every request, see TakePath().
constexpr const char* ONLY_PATH = "/";

bool IsOneOf(const std::string& strText, std::initializer_list<const char*> lstTexts)
{
    return std::find(lstTexts.begin(), lstTexts.end(), strText) != lstTexts.end();
}

size_t AnnouncedBody(const httplib::Request& request)
{
    return request.get_header_value<uint64_t>("Content-Length");
}

/// Why a request is refused before its body is read.
LabRefusal RefusalOf(const LabGate& gate, bool bTlsRequired, const httplib::Request& request)
{
    if (IsOperatorPath(request.path)) {
        LabRefusal refusal = gate.RefusalOf(request, t_pConnection->Certificate().has_value());
        if (refusal.nStatus != 0) {
            return refusal;
        }
    } else if (bTlsRequired && !t_pConnection->Certificate()) {
        return {400, "This server speaks HTTPS, and only the operator's paths are served without it."};
    }
    // A body of unknown length could not be refused in time, or would last until the client leaves.
    const bool bNeedsLength = IsOneOf(request.method, {"POST", "PUT", "PATCH"});
    if (request.has_header("Transfer-Encoding") || (bNeedsLength && !request.has_header("Content-Length"))) {
        return {411, "A body needs a Content-Length."};
    }
    if (AnnouncedBody(request) > LabHttp::MAX_BODY) {
        return {413, "The body is larger than " + std::to_string(LabHttp::MAX_BODY) + " bytes."};
    }
    return {};
}

/// Whether httplib reads the body of such a request.
bool IsBodyRead(const httplib::Request& request)
{
    return IsOneOf(request.method, {"POST", "PUT", "PATCH", "DELETE"});
}

/// httplib finds a handler by regular expressions, and matching one against a path of a few thousand
/// characters takes megabytes of stack. So httplib gets the same short path for all requests, and the real
/// path is kept here.
void TakePath(httplib::Request& request)
{
    t_strPath = std::move(request.path);
    request.path = ONLY_PATH;
}

/// Keeps what the client sent, before any of it is changed.
void NoteRequest(const httplib::Request& request)
{
    t_seen.strMethod = request.method;
    t_seen.strTarget = request.target;
    t_seen.strPath = request.path;
    for (const auto& header : request.headers) {
        // httplib puts these between the client's.
        if (!IsOneOf(header.first, {"LOCAL_ADDR", "LOCAL_PORT", "REMOTE_ADDR", "REMOTE_PORT"})) {
            t_seen.vecRequestHeaders.push_back(header);
        }
    }
}

void NoteReply(const httplib::Request& request, const httplib::Response& response)
{
    if (!IsOperatorPath(t_strPath)) {
        t_seen.strRequestBody = request.body;
        t_seen.nStatus = t_pConnection->HasReply() ? response.status : 0;
        t_seen.strReplyBody = t_pConnection->HasReply() ? response.body : "";
    }
}

/// Corrects what httplib would otherwise do with a request's header.
void PrepareRequest(const LabGate& gate, bool bTlsRequired, httplib::Request& request)
{
    NoteRequest(request);
    const LabRefusal refusal = RefusalOf(gate, bTlsRequired, request);
    if (refusal.nStatus != 0) {
        t_pConnection->Refuse(refusal);
    } else if (AnnouncedBody(request) > 0 && !IsBodyRead(request)) {
        t_pConnection->LeaveBodyUnread();
    }
    TakePath(request);
    // Bodies are JSON, whatever their content type: httplib would parse one labelled as a form, and cut it at
    // 8 KB.
    request.headers.erase("Content-Type");
    // Bodies are not decompressed, since a small one could grow to gigabytes. Replies are not compressed, so
    // that what is recorded is what was sent.
    request.headers.erase("Content-Encoding");
    request.headers.erase("Accept-Encoding");
}

httplib::Server::HandlerResponse RefuseUnread(const httplib::Request&, httplib::Response& response)
{
    if (t_pConnection->Refusal().nStatus == 0) {
        return httplib::Server::HandlerResponse::Unhandled;
    }
    response.status = t_pConnection->Refusal().nStatus;
    return httplib::Server::HandlerResponse::Handled;
}

/// Gives a request that was refused before any answer the status of the refusal, and the body that all
/// refusals have.
void FillRefusal(const httplib::Request&, httplib::Response& response)
{
    if (response.has_header("Content-Type")) {
        return;
    }
    LabRefusal refusal = t_pConnection->Refusal();
    if (refusal.nStatus == 0) {
        refusal = {response.status, "The request can't be read."};
    }
    response.status = refusal.nStatus;
    response.set_content(WriteJson(ErrorEnvelope(refusal.nStatus, refusal.strWhy)), JSON_CONTENT_TYPE);
}

/// Corrects what httplib would otherwise put into a reply's header.
void PrepareReply(httplib::Response& response)
{
    response.headers.erase("Accept-Ranges");
    if (t_pConnection->IsBodyUnread()) {
        response.headers.erase("Keep-Alive");
        response.headers.erase("Connection");
        response.set_header("Connection", "close");
    }
    if (IsOperatorPath(t_strPath)) {
        ProtectReply(response);
    }
}

} // namespace

LabHttp::LabHttp(const AnswerFunction& fnAnswer, const Handler& fnSeal, SeenFunction fnSeen,
                 const LabServerOptions& options, LabTls& tls)
    : m_options(options), m_tls(tls), m_fnSeen(std::move(fnSeen))
{
    RestoreSigPipe();
    const Handler fnHandle = [fnAnswer](const httplib::Request& request, httplib::Response& response) {
        fnAnswer(t_strPath, request, response);
    };
    using AddHandler = Server& (Server::*)(const std::string&, Handler);
    for (const AddHandler pfnMethod :
         {AddHandler(&Server::Get), AddHandler(&Server::Post), AddHandler(&Server::Put),
          AddHandler(&Server::Patch), AddHandler(&Server::Delete), AddHandler(&Server::Options)}) {
        (this->*pfnMethod)(ONLY_PATH, fnHandle);
    }
    set_pre_routing_handler(RefuseUnread);
    set_error_handler(Handler(FillRefusal));
    set_post_routing_handler([fnSeal](const httplib::Request& request, httplib::Response& response) {
        PrepareReply(response);
        fnSeal(request, response);
        NoteReply(request, response);
    });
    set_tcp_nodelay(true);
    set_payload_max_length(MAX_BODY);
    // What the replies' Keep-Alive header promises.
    set_keep_alive_timeout(LabConnection::IDLE.count());
    set_keep_alive_max_count(std::numeric_limits<int>::max());
    // Replaces httplib's default, with which two servers of a user could listen on one port.
    set_socket_options(ReusePort);
}

LabHttp::~LabHttp()
{
    Stop();
}

int LabHttp::Start()
{
    const int nPort = Bind(m_options.strAddress, m_options.nPort);
    m_address = LocalAddressOf(svr_sock_);
    m_pGate = std::make_unique<LabGate>(m_options.strAddress, nPort);
    m_pListener =
        std::make_unique<LabListener>(svr_sock_.exchange(NO_SOCKET), m_stop, m_options.nMaxConnections,
                                      [this](Socket nSocket) { Serve(nSocket); });
    m_thread = StartQuietThread([this] { m_pListener->Run(); }); // the others inherit its signal mask
    return nPort;
}

int LabHttp::Bind(const std::string& strAddress, int nPort)
{
    errno = 0;
    const int nGot =
        nPort == 0 ? bind_to_any_port(strAddress) : (bind_to_port(strAddress, nPort) ? nPort : -1);
    if (nGot <= 0) {
        const std::string strWhy = errno != 0 ? std::strerror(errno) : "no such address";
        throw std::runtime_error("can't listen on " + HostAndPort(strAddress, nPort) + ": " + strWhy);
    }
    // httplib lets only five clients wait to be accepted; in a larger burst, each further client would wait a
    // second.
    ::listen(svr_sock_, SOMAXCONN);
    return nGot;
}

void LabHttp::Stop()
{
    if (!m_thread.joinable()) {
        return;
    }
    m_stop.Raise();
    m_thread.join();
}

LabConnection& LabHttp::Current()
{
    return *t_pConnection;
}

LabSeen& LabHttp::CurrentSeen()
{
    return t_seen;
}

void LabHttp::Serve(Socket nSocket)
{
    LabConnection connection(nSocket, m_stop, m_options.patience);
    if (!connection.Begin(m_tls)) {
        return;
    }
    t_pConnection = &connection;
    while (connection.WaitForRequest() && ServeRequest(connection)) {
    }
    t_pConnection = nullptr;
}

/// Whether no request may follow the next one: the server stops, or it shows another certificate by now,
/// which the client gets to see only on a new connection.
bool LabHttp::MustEnd(const LabConnection& connection) const
{
    return m_stop.WaitFor(std::chrono::milliseconds(0)) ||
           (connection.Certificate() && connection.Certificate() != m_tls.Shown());
}

/// @return whether another request can follow
bool LabHttp::ServeRequest(LabConnection& connection)
{
    const auto begin = std::chrono::steady_clock::now();
    t_strPath.clear(); // a request that can't be read has none
    t_seen = LabSeen();
    t_seen.arrived = std::chrono::system_clock::now();
    t_seen.strHost = connection.ClientAddress();
    t_seen.nPort = connection.ClientPort();
    t_seen.bTls = connection.Certificate().has_value();
    const bool bLast = MustEnd(connection);
    bool bClosed = false;
    bool bUnderstood = false;
    const bool bAnswered =
        process_request(connection, bLast, bClosed, [this, &bUnderstood](httplib::Request& request) {
            bUnderstood = true;
            PrepareRequest(*m_pGate, m_tls.IsRequired(), request);
        });
    if (!connection.HasReply()) { // a client may wait long until it finds out
        TellSeen(begin);
        return connection.FinishReply();
    }
    t_seen.strReplyHead = connection.ReplyHead();
    const bool bKept = connection.FinishReply();
    TellSeen(begin);
    return bKept && bAnswered && bUnderstood && !bClosed && !bLast;
}

void LabHttp::TellSeen(std::chrono::steady_clock::time_point begin) const
{
    // The client left before its request was complete, or the operator asked: see NoteReply().
    if (t_seen.nStatus == 0 && t_pConnection->HasReply()) {
        return;
    }
    t_seen.duration =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    m_fnSeen(std::move(t_seen));
}
