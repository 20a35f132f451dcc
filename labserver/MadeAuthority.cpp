#include "labserver/MadeAuthority.h"

#include "labserver/OpenSsl.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <utility>

namespace
{

using AddressPointer = OpenSslPointer<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;
using BioPointer = OpenSslPointer<BIO, BIO_free>;
using ExtensionPointer = OpenSslPointer<X509_EXTENSION, X509_EXTENSION_free>;
using NumberPointer = OpenSslPointer<BIGNUM, BN_free>;

/// From when until when a certificate is valid, in days from now.
using Days = std::pair<int, int>;

/// A certificate and its key.
struct Pair {
    OpenSslPointer<X509, X509_free> pCertificate;
    OpenSslPointer<EVP_PKEY, EVP_PKEY_free> pKey;
};

void Require(bool bDone, const char* szWhat)
{
    if (!bDone) {
        throw OpenSslError(szWhat);
    }
}

/// @param pIssuer  the certificate of the authority that will sign
void AddExtension(X509* pCertificate, X509* pIssuer, int nName, const std::string& strValue)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, pIssuer, pCertificate, nullptr, nullptr, 0);
    const ExtensionPointer pExtension(X509V3_EXT_conf_nid(nullptr, &context, nName, strValue.c_str()));
    Require(pExtension != nullptr && X509_add_ext(pCertificate, pExtension.get(), -1) == 1,
            "an extension of a certificate");
}

void SetSerialNumber(X509* pCertificate)
{
    constexpr int BITS = 64;
    const NumberPointer pNumber(BN_new());
    Require(pNumber != nullptr && BN_rand(pNumber.get(), BITS, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
                BN_to_ASN1_INTEGER(pNumber.get(), X509_get_serialNumber(pCertificate)) != nullptr,
            "the serial number of a certificate");
}

/// A certificate with a new key, not signed yet.
Pair Unsigned(const char* szName, Days days)
{
    Pair made;
    made.pKey.reset(EVP_EC_gen("P-256"));
    Require(made.pKey != nullptr, "a new key");
    made.pCertificate.reset(X509_new());
    X509* const pCertificate = made.pCertificate.get();
    Require(pCertificate != nullptr && X509_set_version(pCertificate, X509_VERSION_3) == 1 &&
                X509_set_pubkey(pCertificate, made.pKey.get()) == 1,
            "a new certificate");
    SetSerialNumber(pCertificate);
    X509_time_adj_ex(X509_getm_notBefore(pCertificate), days.first, 0, nullptr);
    X509_time_adj_ex(X509_getm_notAfter(pCertificate), days.second, 0, nullptr);
    Require(X509_NAME_add_entry_by_txt(X509_get_subject_name(pCertificate), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(szName), -1, -1, 0) == 1,
            "the name of a certificate");
    return made;
}

void Sign(X509* pCertificate, const Pair& signer)
{
    Require(X509_set_issuer_name(pCertificate, X509_get_subject_name(signer.pCertificate.get())) == 1 &&
                X509_sign(pCertificate, signer.pKey.get(), EVP_sha256()) != 0,
            "the signature of a certificate");
}

/// The extension that says which hosts a certificate is for.
std::string AlternativeNames(const std::vector<std::string>& vecHosts)
{
    std::string strNames;
    for (const std::string& strHost : vecHosts) {
        const AddressPointer pAddress(a2i_IPADDRESS(strHost.c_str()));
        strNames +=
            (strNames.empty() ? "" : ",") + std::string(pAddress != nullptr ? "IP:" : "DNS:") + strHost;
    }
    ERR_clear_error();
    return strNames;
}

template <class Function>
std::string PemFrom(Function fnWrite)
{
    const BioPointer pText(BIO_new(BIO_s_mem()));
    Require(pText != nullptr && fnWrite(pText.get()) == 1, "the text of a certificate");
    char* pBytes = nullptr;
    const long nBytes = BIO_get_mem_data(pText.get(), &pBytes);
    return {pBytes, static_cast<std::size_t>(nBytes)};
}

std::string PemOf(X509* pCertificate)
{
    return PemFrom([pCertificate](BIO* pText) { return PEM_write_bio_X509(pText, pCertificate); });
}

std::string PemOf(EVP_PKEY* pKey)
{
    return PemFrom([pKey](BIO* pText) {
        return PEM_write_bio_PrivateKey(pText, pKey, nullptr, nullptr, 0, nullptr, nullptr);
    });
}

Days DaysOf(LabCertificate eKind)
{
    switch (eKind) {
    case LabCertificate::Expired:
        return {-30, -1};
    case LabCertificate::NotYetValid:
        return {1, 30};
    default:
        return {-1, 800};
    }
}

} // namespace

struct MadeAuthority::Signer : Pair {
};

MadeAuthority::MadeAuthority()
{
    Pair made = Unsigned("Authority of a lab server", {-60, 3650});
    X509* const pCertificate = made.pCertificate.get();
    AddExtension(pCertificate, pCertificate, NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(pCertificate, pCertificate, NID_key_usage, "critical,keyCertSign,cRLSign");
    AddExtension(pCertificate, pCertificate, NID_subject_key_identifier, "hash");
    Sign(pCertificate, made);
    m_pSigner = std::make_shared<const Signer>(Signer{std::move(made)});
}

std::string MadeAuthority::Pem() const
{
    return PemOf(m_pSigner->pCertificate.get());
}

PemPair MadeAuthority::Certificate(LabCertificate eKind, const std::vector<std::string>& vecHosts) const
{
    const Pair made = Unsigned("Lab server", DaysOf(eKind));
    X509* const pCertificate = made.pCertificate.get();
    const bool bAlone = eKind == LabCertificate::SelfSigned;
    const bool bElsewhere = eKind == LabCertificate::WrongHost;
    const Pair& signer = bAlone ? made : *m_pSigner;
    AddExtension(pCertificate, pCertificate, NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(pCertificate, pCertificate, NID_key_usage, "critical,digitalSignature");
    AddExtension(pCertificate, pCertificate, NID_ext_key_usage, "serverAuth");
    AddExtension(pCertificate, pCertificate, NID_subject_key_identifier, "hash");
    AddExtension(pCertificate, signer.pCertificate.get(), NID_authority_key_identifier, "keyid");
    AddExtension(pCertificate, pCertificate, NID_subject_alt_name,
                 bElsewhere ? "DNS:elsewhere.invalid" : AlternativeNames(vecHosts));
    Sign(pCertificate, signer);
    return {PemOf(pCertificate), PemOf(made.pKey.get())};
}
