#include "labserver/TlsContext.h"

#include "labserver/OpenSsl.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <new>

namespace
{

using BioPointer = OpenSslPointer<BIO, BIO_free>;
using CertificatePointer = OpenSslPointer<X509, X509_free>;
using KeyPointer = OpenSslPointer<EVP_PKEY, EVP_PKEY_free>;
using MethodPointer = OpenSslPointer<BIO_METHOD, BIO_meth_free>;

Socket SocketOf(BIO* pBio)
{
    return *static_cast<const Socket*>(BIO_get_data(pBio));
}

// OpenSSL's own way to use a socket can raise SIGPIPE, and these can't.
int Write(BIO* pBio, const char* pBytes, size_t nBytes, size_t* pWritten)
{
    const std::ptrdiff_t nSent = SendBytes(SocketOf(pBio), pBytes, nBytes);
    BIO_clear_retry_flags(pBio);
    if (nSent < 0 && WouldBlock()) {
        BIO_set_retry_write(pBio);
    }
    *pWritten = nSent > 0 ? static_cast<size_t>(nSent) : 0;
    return nSent > 0 ? 1 : 0;
}

int Read(BIO* pBio, char* pBytes, size_t nSize, size_t* pRead)
{
    const std::ptrdiff_t nGot = ReceiveBytes(SocketOf(pBio), pBytes, nSize);
    BIO_clear_retry_flags(pBio);
    if (nGot < 0 && WouldBlock()) {
        BIO_set_retry_read(pBio);
    }
    *pRead = nGot > 0 ? static_cast<size_t>(nGot) : 0;
    return nGot > 0 ? 1 : 0;
}

long Control(BIO*, int nCommand, long, void*)
{
    return nCommand == BIO_CTRL_FLUSH ? 1 : 0; // nothing is held back
}

const BIO_METHOD* SocketMethod()
{
    static const MethodPointer pMethod = [] {
        MethodPointer pMade(
            BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "socket of the lab server"));
        BIO_meth_set_write_ex(pMade.get(), Write);
        BIO_meth_set_read_ex(pMade.get(), Read);
        BIO_meth_set_ctrl(pMade.get(), Control);
        return pMade;
    }();
    return pMethod.get();
}

/// The server's side of TLS on a socket.
class TlsStream : public LabStream
{
public:
    TlsStream(SSL_CTX* pContext, Socket nSocket) : m_nSocket(nSocket), m_pTls(SSL_new(pContext))
    {
        BIO* const pBio = BIO_new(SocketMethod());
        if (m_pTls == nullptr || pBio == nullptr) {
            BIO_free(pBio);
            throw std::bad_alloc();
        }
        BIO_set_data(pBio, &m_nSocket);
        BIO_set_init(pBio, 1);
        SSL_set_bio(m_pTls.get(), pBio, pBio); // takes it over
        SSL_set_accept_state(m_pTls.get());
    }

    bool ShakeHands(const std::function<bool(short)>& fnWait) override
    {
        int nResult = 0;
        Moved moved;
        do {
            ERR_clear_error();
            nResult = SSL_do_handshake(m_pTls.get());
            moved = MovedBy(nResult, 0);
        } while (moved.nAwaited != 0 && fnWait(moved.nAwaited));
        return nResult == 1;
    }

    Moved Receive(char* pBytes, std::size_t nSize) override
    {
        std::size_t nGot = 0;
        ERR_clear_error();
        const int nResult = SSL_read_ex(m_pTls.get(), pBytes, nSize, &nGot);
        return MovedBy(nResult, nGot);
    }

    Moved Send(const char* pBytes, std::size_t nBytes) override
    {
        std::size_t nSent = 0;
        ERR_clear_error();
        const int nResult = SSL_write_ex(m_pTls.get(), pBytes, nBytes, &nSent);
        return MovedBy(nResult, nSent);
    }

    void TellEnd() override
    {
        if (!m_bFailed) { // OpenSSL forbids it after a failure
            ERR_clear_error();
            SSL_shutdown(m_pTls.get());
        }
    }

private:
    Moved MovedBy(int nResult, std::size_t nBytes)
    {
        if (nResult > 0) {
            return {nBytes, 0};
        }
        switch (SSL_get_error(m_pTls.get(), nResult)) {
        case SSL_ERROR_WANT_READ:
            return {0, POLLIN};
        case SSL_ERROR_WANT_WRITE:
            return {0, POLLOUT};
        case SSL_ERROR_ZERO_RETURN: // the client has ended it in order
            return {};
        default:
            m_bFailed = true;
            return {};
        }
    }

    Socket m_nSocket;
    const OpenSslPointer<SSL, SSL_free> m_pTls;
    bool m_bFailed = false;
};

CertificatePointer NextCertificate(BIO* pText)
{
    return CertificatePointer(PEM_read_bio_X509(pText, nullptr, nullptr, nullptr));
}

BioPointer BioOf(const std::string& strText)
{
    return BioPointer(BIO_new_mem_buf(strText.data(), static_cast<int>(strText.size())));
}

void UseCertificates(SSL_CTX* pContext, const std::string& strCertificates)
{
    const BioPointer pText = BioOf(strCertificates);
    CertificatePointer pCertificate = NextCertificate(pText.get());
    if (pCertificate == nullptr || SSL_CTX_use_certificate(pContext, pCertificate.get()) != 1) {
        throw OpenSslError("the certificate");
    }
    while ((pCertificate = NextCertificate(pText.get())) != nullptr) {
        if (SSL_CTX_add1_chain_cert(pContext, pCertificate.get()) != 1) {
            throw OpenSslError("a certificate of an authority");
        }
    }
    ERR_clear_error(); // that there is no further one
}

void UseKey(SSL_CTX* pContext, const std::string& strKey)
{
    const BioPointer pText = BioOf(strKey);
    // Without this function OpenSSL would ask the terminal for a passphrase.
    const auto fnNoPassphrase = [](char*, int, int, void*) { return -1; };
    const KeyPointer pKey(PEM_read_bio_PrivateKey(pText.get(), nullptr, fnNoPassphrase, nullptr));
    if (pKey == nullptr || SSL_CTX_use_PrivateKey(pContext, pKey.get()) != 1) {
        throw OpenSslError("the key");
    }
}

} // namespace

TlsContext::TlsContext(const PemPair& pair)
    : m_pContext(SSL_CTX_new(TLS_server_method()),
                 [](void* pContext) { SSL_CTX_free(static_cast<SSL_CTX*>(pContext)); })
{
    auto* const pContext = static_cast<SSL_CTX*>(m_pContext.get());
    if (pContext == nullptr) {
        throw OpenSslError("TLS");
    }
    SSL_CTX_set_min_proto_version(pContext, TLS1_2_VERSION);
    // What could not be sent may be offered again from another place, and in smaller parts.
    SSL_CTX_set_mode(pContext, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    UseCertificates(pContext, pair.strCertificates);
    UseKey(pContext, pair.strKey);
}

std::unique_ptr<LabStream> TlsContext::Open(Socket nSocket) const
{
    return std::make_unique<TlsStream>(static_cast<SSL_CTX*>(m_pContext.get()), nSocket);
}
