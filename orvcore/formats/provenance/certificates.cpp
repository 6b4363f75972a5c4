#include "orvcore/formats/provenance/certificates.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>

#include "zorbase/text.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxAnchors = 5000;
constexpr std::size_t kMaxNameBytes = 512;

constexpr const char* kClaimSigning = "1.3.6.1.4.1.62558.2.1";
constexpr const char* kMailProtection = "1.3.6.1.5.5.7.3.4";
constexpr const char* kDocumentSigning = "1.3.6.1.5.5.7.3.36";
constexpr const char* kAnyUsage = "2.5.29.37.0";
constexpr const char* kTimeStamping = "1.3.6.1.5.5.7.3.8";
constexpr const char* kOcspSigning = "1.3.6.1.5.5.7.3.9";

struct FreeBio {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
using Bio = std::unique_ptr<BIO, FreeBio>;

std::string TakeText(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    if (size <= 0) return {};
    return ShortenText(ToValidUtf8({data, static_cast<std::size_t>(size)}), kMaxNameBytes);
}

std::string NameText(X509_NAME* name) {
    const Bio bio(BIO_new(BIO_s_mem()));
    if (!bio || name == nullptr) return {};
    X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
    return TakeText(bio.get());
}

std::string NamePart(X509_NAME* name, int part) {
    const int index = name == nullptr ? -1 : X509_NAME_get_index_by_NID(name, part, -1);
    if (index < 0) return {};
    const Bio bio(BIO_new(BIO_s_mem()));
    if (!bio) return {};
    ASN1_STRING_print_ex(bio.get(), X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)),
                         ASN1_STRFLGS_UTF8_CONVERT);
    return TakeText(bio.get());
}

std::string OidText(const ASN1_OBJECT* object) {
    std::array<char, 128> text{};
    OBJ_obj2txt(text.data(), static_cast<int>(text.size()), object, 1);
    return text.data();
}

std::string KeyText(EVP_PKEY* key) {
    if (key == nullptr) return "not readable";
    const int bits = EVP_PKEY_get_bits(key);
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
            return "RSA, " + std::to_string(bits) + " bits";
        case EVP_PKEY_RSA_PSS:
            return "RSA-PSS, " + std::to_string(bits) + " bits";
        case EVP_PKEY_EC:
            return "elliptic curve, " + std::to_string(bits) + " bits";
        case EVP_PKEY_ED25519:
            return "Ed25519";
        default:
            return "of another kind";
    }
}

}  // namespace

std::string UtcText(std::time_t time) {
    std::tm parts{};
    if (gmtime_r(&time, &parts) == nullptr) return "?";
    std::array<char, 40> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

std::optional<std::time_t> TimeOf(const ASN1_TIME* time) {
    std::tm parts{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1) return {};
    return timegm(&parts);
}

bool IsUsableKey(EVP_PKEY* key) {
    if (key == nullptr) return false;
    const int bits = EVP_PKEY_get_bits(key);
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
        case EVP_PKEY_RSA_PSS: {
            // A public exponent beyond 64 bits makes each check slow.
            BIGNUM* exponent = nullptr;
            const bool isShort =
                EVP_PKEY_get_bn_param(key, "e", &exponent) == 1 && BN_num_bits(exponent) <= 64;
            BN_free(exponent);
            return isShort && bits >= kMinRsaBits && bits <= kMaxRsaBits;
        }
        case EVP_PKEY_EC: {
            std::array<char, 64> curve{};
            std::size_t size = 0;
            if (EVP_PKEY_get_group_name(key, curve.data(), curve.size(), &size) != 1) return false;
            const std::string name(curve.data(), size);
            return name == "prime256v1" || name == "secp384r1" || name == "secp521r1";
        }
        default:
            return EVP_PKEY_get_base_id(key) == EVP_PKEY_ED25519;
    }
}

Certificate ReadCertificate(ByteSpan der) {
    if (der.empty() || der.size() > kMaxCertificateBytes) return nullptr;
    const unsigned char* at = der.data();
    Certificate certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
    ERR_clear_error();
    if (!certificate || at != der.data() + der.size()) return nullptr;
    return certificate;
}

CertificateFacts ReadFacts(X509* certificate) {
    CertificateFacts facts;
    X509_NAME* subject = X509_get_subject_name(certificate);
    X509_NAME* issuer = X509_get_issuer_name(certificate);
    facts.commonName = NamePart(subject, NID_commonName);
    facts.organisation = NamePart(subject, NID_organizationName);
    facts.subject = NameText(subject);
    facts.issuer = NameText(issuer);
    facts.issuerCommonName = NamePart(issuer, NID_commonName);
    const ASN1_INTEGER* serial = X509_get0_serialNumber(certificate);
    // Twenty bytes is what the standard allows; decimal digits of a much longer number cost much time.
    if (serial != nullptr && ASN1_STRING_length(serial) <= 64) {
        if (BIGNUM* number = ASN1_INTEGER_to_BN(serial, nullptr)) {
            if (char* text = BN_bn2dec(number)) {
                facts.serial = text;
                OPENSSL_free(text);
            }
            BN_free(number);
        }
    }
    facts.key = KeyText(X509_get0_pubkey(certificate));
    facts.notBefore = TimeOf(X509_get0_notBefore(certificate)).value_or(0);
    facts.notAfter = TimeOf(X509_get0_notAfter(certificate)).value_or(0);
    if (auto* usages = static_cast<EXTENDED_KEY_USAGE*>(
            X509_get_ext_d2i(certificate, NID_ext_key_usage, nullptr, nullptr))) {
        for (int i = 0; i < std::min(sk_ASN1_OBJECT_num(usages), 100); ++i)
            facts.usages.push_back(OidText(sk_ASN1_OBJECT_value(usages, i)));
        EXTENDED_KEY_USAGE_free(usages);
    }
    ERR_clear_error();
    return facts;
}

std::vector<std::string> CheckSignerForm(X509* certificate, const std::vector<std::string>& usages) {
    std::vector<std::string> faults;
    const auto demand = [&faults](bool isMet, const char* fault) {
        if (!isMet) faults.emplace_back(fault);
    };
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    demand((flags & EXFLAG_INVALID) == 0, "Its extensions are damaged.");
    demand(X509_get_version(certificate) == X509_VERSION_3, "It is not of version 3.");
    demand((flags & EXFLAG_CA) == 0, "It is one that issues certificates, not one that signs.");
    const std::uint32_t keyUsage = X509_get_key_usage(certificate);
    demand((flags & EXFLAG_KUSAGE) != 0 && (keyUsage & KU_DIGITAL_SIGNATURE) != 0,
           "It does not say that its key makes digital signatures.");
    demand((flags & EXFLAG_KUSAGE) == 0 || (keyUsage & KU_KEY_CERT_SIGN) == 0,
           "It says that its key signs certificates.");
    const bool isSelfSigned = (flags & EXFLAG_SS) != 0;
    demand(isSelfSigned || X509_get_ext_by_NID(certificate, NID_authority_key_identifier, -1) >= 0,
           "It does not name its issuer's key.");
    demand(IsUsableKey(X509_get0_pubkey(certificate)), "Its key is too short, too long or of another kind.");

    const std::vector<std::string> stated = ReadFacts(certificate).usages;
    const auto has = [&stated](const char* usage) {
        return std::find(stated.begin(), stated.end(), usage) != stated.end();
    };
    if (stated.empty()) {
        faults.emplace_back("It does not say what it may be used for.");
    } else {
        bool isAccepted = has(kClaimSigning) || has(kMailProtection) || has(kDocumentSigning);
        for (const std::string& usage : usages) isAccepted = isAccepted || has(usage.c_str());
        if (!isAccepted)
            faults.push_back("Its stated use (" + Join(stated, ", ") + ") is not one for signing content.");
        demand(!has(kAnyUsage), "It says that it may be used for anything.");
        demand(!(has(kTimeStamping) || has(kOcspSigning)) || stated.size() == 1,
               "It is for time stamps or revocation answers and for something else as well.");
    }
    ERR_clear_error();
    return faults;
}

void TrustStore::AddPem(ByteSpan pem, bool isForTimeStampsOnly) {
    if (pem.size() > (std::size_t{64} << 20)) {
        ++m_skipped;
        return;
    }
    if (!m_forSigners) {
        m_forSigners.reset(X509_STORE_new(), X509_STORE_free);
        m_forStamps.reset(X509_STORE_new(), X509_STORE_free);
        if (!m_forSigners || !m_forStamps) return;
    }
    const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    while (bio && m_anchors < kMaxAnchors) {
        // What cannot be decoded is passed over: the reading goes on behind it.
        char* name = nullptr;
        char* header = nullptr;
        unsigned char* data = nullptr;
        long size = 0;
        const bool isBlock = PEM_read_bio(bio.get(), &name, &header, &data, &size) == 1;
        const std::string kind = isBlock ? name : "";
        if (isBlock && (kind == "CERTIFICATE" || kind == "TRUSTED CERTIFICATE")) {
            const Certificate certificate = ReadCertificate({data, static_cast<std::size_t>(size)});
            const bool isUsable = certificate && IsUsableKey(X509_get0_pubkey(certificate.get()));
            if (isUsable) X509_STORE_add_cert(m_forStamps.get(), certificate.get());
            if (isUsable && !isForTimeStampsOnly) X509_STORE_add_cert(m_forSigners.get(), certificate.get());
            m_anchors += isUsable ? 1 : 0;
            m_signerAnchors += isUsable && !isForTimeStampsOnly ? 1 : 0;
            m_skipped += isUsable ? 0 : 1;
        }
        OPENSSL_free(name);
        OPENSSL_free(header);
        OPENSSL_free(data);
        if (!isBlock && ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE) break;
        if (!isBlock) ++m_skipped;
        if (BIO_eof(bio.get()) != 0) break;
        ERR_clear_error();
    }
    ERR_clear_error();
}

bool TrustStore::IsEmpty(CertificateRole role) const {
    return (role == CertificateRole::TimeStamp ? m_anchors : m_signerAnchors) == 0;
}

bool TrustStore::Leads(const CertificateChain& chain, CertificateRole role, std::time_t time,
                       std::string& reason) const {
    if (chain.empty() || IsEmpty(role)) {
        reason = "There is nothing to compare with.";
        return false;
    }
    // Only keys of bounded size are ever computed with.
    for (const Certificate& certificate : chain) {
        if (IsUsableKey(X509_get0_pubkey(certificate.get()))) continue;
        reason = "A certificate of the chain has a key that is too short, too long or of another kind.";
        return false;
    }
    struct FreeStore {
        void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
        void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
    };
    X509_STORE* store = (role == CertificateRole::TimeStamp ? m_forStamps : m_forSigners).get();
    const std::unique_ptr<X509_STORE_CTX, FreeStore> context(X509_STORE_CTX_new());
    const std::unique_ptr<STACK_OF(X509), FreeStore> others(sk_X509_new_null());
    if (!context || !others) {
        reason = "The cryptographic library fails.";
        return false;
    }
    for (std::size_t i = 1; i < chain.size(); ++i) sk_X509_push(others.get(), chain[i].get());
    bool leads = X509_STORE_CTX_init(context.get(), store, chain.front().get(), others.get()) == 1;
    if (leads) {
        X509_VERIFY_PARAM* rules = X509_STORE_CTX_get0_param(context.get());
        X509_VERIFY_PARAM_set_time(rules, time);
        X509_VERIFY_PARAM_set_depth(rules, static_cast<int>(kMaxChain));
        // Lists of trusted certificates hold issuers that are no roots.
        X509_VERIFY_PARAM_set_flags(rules, X509_V_FLAG_PARTIAL_CHAIN);
        // A critical use for signing content is not among the purposes that the library knows; the form is judged apart.
        X509_VERIFY_PARAM_set_purpose(
            rules, role == CertificateRole::TimeStamp ? X509_PURPOSE_TIMESTAMP_SIGN : X509_PURPOSE_ANY);
        leads = X509_verify_cert(context.get()) == 1;
        if (!leads) reason = X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get()));
    }
    ERR_clear_error();
    return leads;
}

}  // namespace provenance
