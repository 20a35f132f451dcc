// The certificates that the lab server makes for itself, as OpenSSL reads them.

#include "labserver/MadeAuthority.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <set>
#include <string>
#include <tuple>

namespace
{

using CertificatePointer = std::unique_ptr<X509, void (*)(X509*)>;

CertificatePointer CertificateIn(const std::string& strPem)
{
    BIO* const pText = BIO_new_mem_buf(strPem.data(), static_cast<int>(strPem.size()));
    CertificatePointer pCertificate(PEM_read_bio_X509(pText, nullptr, nullptr, nullptr), X509_free);
    BIO_free(pText);
    return pCertificate;
}

/// How many days from now on a time is, rounded.
int DaysUntil(const ASN1_TIME* pTime)
{
    constexpr int SECONDS_A_DAY = 86400;
    int nDays = 0;
    int nSeconds = 0;
    EXPECT_EQ(ASN1_TIME_diff(&nDays, &nSeconds, nullptr, pTime), 1);
    return nDays + (2 * nSeconds >= SECONDS_A_DAY ? 1 : 0) - (2 * nSeconds <= -SECONDS_A_DAY ? 1 : 0);
}

TEST(MadeAuthority, MaySignCertificatesForTenYears)
{
    const CertificatePointer pCertificate = CertificateIn(MadeAuthority().Pem());
    EXPECT_EQ(X509_check_ca(pCertificate.get()), 1);
    EXPECT_EQ(X509_get_key_usage(pCertificate.get()), std::uint32_t{KU_KEY_CERT_SIGN | KU_CRL_SIGN});
    EXPECT_NE(X509_get0_subject_key_id(pCertificate.get()), nullptr);
    EXPECT_EQ(X509_get_version(pCertificate.get()), X509_VERSION_3);
    EXPECT_EQ(DaysUntil(X509_get0_notBefore(pCertificate.get())), -60);
    EXPECT_EQ(DaysUntil(X509_get0_notAfter(pCertificate.get())), 3650);
}

TEST(MadeCertificate, IsForServersAndNamesItsAuthority)
{
    const MadeAuthority authority;
    const CertificatePointer pAuthority = CertificateIn(authority.Pem());
    const CertificatePointer pCertificate = CertificateIn(
        authority.Certificate(LabCertificate::Valid, {"localhost", "127.0.0.1"}).strCertificates);
    EXPECT_EQ(X509_check_ca(pCertificate.get()), 0);
    EXPECT_EQ(X509_get_key_usage(pCertificate.get()), std::uint32_t{KU_DIGITAL_SIGNATURE});
    EXPECT_EQ(X509_get_extended_key_usage(pCertificate.get()), std::uint32_t{XKU_SSL_SERVER});
    EXPECT_NE(X509_get0_subject_key_id(pCertificate.get()), nullptr);
    ASSERT_NE(X509_get0_authority_key_id(pCertificate.get()), nullptr);
    EXPECT_EQ(ASN1_OCTET_STRING_cmp(X509_get0_authority_key_id(pCertificate.get()),
                                    X509_get0_subject_key_id(pAuthority.get())),
              0);
    EXPECT_EQ(X509_get_version(pCertificate.get()), X509_VERSION_3);
    EXPECT_EQ(X509_check_host(pCertificate.get(), "localhost", 0, 0, nullptr), 1);
    EXPECT_EQ(X509_check_ip_asc(pCertificate.get(), "127.0.0.1", 0), 1);
    EXPECT_EQ(X509_check_ip_asc(pCertificate.get(), "127.0.0.2", 0), 0);
}

TEST(MadeCertificate, IsValidWhenItsKindSays)
{
    const MadeAuthority authority;
    for (const auto& [eKind, nFrom, nUntil] : {std::tuple{LabCertificate::Valid, -1, 800},
                                               {LabCertificate::Expired, -30, -1},
                                               {LabCertificate::NotYetValid, 1, 30},
                                               {LabCertificate::WrongHost, -1, 800},
                                               {LabCertificate::SelfSigned, -1, 800}}) {
        const CertificatePointer pCertificate =
            CertificateIn(authority.Certificate(eKind, {"localhost"}).strCertificates);
        EXPECT_EQ(DaysUntil(X509_get0_notBefore(pCertificate.get())), nFrom);
        EXPECT_EQ(DaysUntil(X509_get0_notAfter(pCertificate.get())), nUntil);
    }
}

TEST(MadeCertificate, HasALongSerialNumberOfItsOwn)
{
    const MadeAuthority authority;
    std::set<std::uint64_t> setNumbers;
    for (int nTime = 0; nTime < 5; ++nTime) {
        const CertificatePointer pCertificate =
            CertificateIn(authority.Certificate(LabCertificate::Valid, {"localhost"}).strCertificates);
        std::uint64_t nNumber = 0;
        ASSERT_EQ(ASN1_INTEGER_get_uint64(&nNumber, X509_get0_serialNumber(pCertificate.get())), 1);
        EXPECT_EQ(nNumber >> 63U, 1U) << "it has 64 bits";
        setNumbers.insert(nNumber);
    }
    EXPECT_EQ(setNumbers.size(), 5U);
}

} // namespace
