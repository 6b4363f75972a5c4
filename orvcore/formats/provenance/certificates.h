#pragma once

#include <openssl/x509.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zorbase/bytes.h"

// Certificates of signers and of time-stamp authorities: read, looked at, and followed to roots that the examiner chose.
// The system's own roots never count, nothing is fetched. Any thread.
namespace provenance {

struct FreeX509 {
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Certificate = std::unique_ptr<X509, FreeX509>;
using CertificateChain = std::vector<Certificate>;

constexpr std::size_t kMaxChain = 16;
constexpr std::size_t kMaxCertificateBytes = 64 * 1024;
// Larger keys cost much time and no signer uses them.
constexpr int kMinRsaBits = 2048;
constexpr int kMaxRsaBits = 8192;

// Null when the bytes are not exactly one certificate, are too long, or hold a key that is not used here.
Certificate ReadCertificate(ByteSpan der);
// Whether a public key is one that is used here: RSA (PSS too) of 2048 to 8192 bits, P-256, P-384, P-521, Ed25519.
bool IsUsableKey(EVP_PKEY* key);

struct CertificateFacts {
    std::string commonName;    // of the subject; texts are valid UTF-8 and hostile
    std::string organisation;  // of the subject
    std::string subject;       // the whole name in one line
    std::string issuer;
    std::string issuerCommonName;
    std::string serial;  // decimal
    std::string key;     // "RSA, 4096 bits", "P-256"
    std::time_t notBefore = 0;
    std::time_t notAfter = 0;
    std::vector<std::string> usages;  // object identifiers of the extended key usage
    bool IsValidAt(std::time_t time) const { return time >= notBefore && time <= notAfter; }
};
CertificateFacts ReadFacts(X509* certificate);

// What is wrong with the form of a certificate that signs claims, a sentence each; nothing when it is as the standard asks.
// usages: further accepted object identifiers.
std::vector<std::string> CheckSignerForm(X509* certificate, const std::vector<std::string>& usages);

enum class CertificateRole { Signer, TimeStamp };

// Certificates that the examiner trusts: filled once, then read by any thread.
class TrustStore {
  public:
    // The certificates of a PEM text; what cannot be read is skipped and counted.
    void AddPem(ByteSpan pem, bool isForTimeStampsOnly);
    bool IsEmpty(CertificateRole role) const;
    std::size_t Size() const { return m_anchors; }
    std::size_t Skipped() const { return m_skipped; }

    // Whether the first of the chain leads to a trusted certificate, every step valid at that time. reason: why not.
    bool Leads(const CertificateChain& chain, CertificateRole role, std::time_t time,
               std::string& reason) const;

  private:
    // As the library wants them: those that signers, and those that time stamps may lead to. Shared, not changed any more once
    // somebody else holds them.
    std::shared_ptr<X509_STORE> m_forSigners;
    std::shared_ptr<X509_STORE> m_forStamps;
    std::size_t m_signerAnchors = 0;
    std::size_t m_anchors = 0;
    std::size_t m_skipped = 0;
};

// "2024-03-08T20:22:53Z".
std::string UtcText(std::time_t time);
// Of an ASN.1 time; nothing when it is none.
std::optional<std::time_t> TimeOf(const ASN1_TIME* time);

}  // namespace provenance
