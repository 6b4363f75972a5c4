#include "orvcore/formats/provenance/timestamps.h"

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/ocsp.h>
#include <openssl/ts.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <memory>

namespace provenance {

namespace {

struct Free {
    void operator()(CMS_ContentInfo* token) const { CMS_ContentInfo_free(token); }
    void operator()(TS_RESP* response) const { TS_RESP_free(response); }
    void operator()(TS_TST_INFO* info) const { TS_TST_INFO_free(info); }
    void operator()(OCSP_RESPONSE* response) const { OCSP_RESPONSE_free(response); }
    void operator()(OCSP_BASICRESP* response) const { OCSP_BASICRESP_free(response); }
    void operator()(OCSP_CERTID* id) const { OCSP_CERTID_free(id); }
    void operator()(X509_STORE* store) const { X509_STORE_free(store); }
    void operator()(STACK_OF(X509) * stack) const { sk_X509_pop_free(stack, X509_free); }
    void operator()(BIO* bio) const { BIO_free(bio); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

// The part of an encoded response that is the token: a sequence of status and token.
ByteSpan TokenInResponse(ByteSpan bytes) {
    const unsigned char* at = bytes.data();
    const Owned<TS_RESP> response(d2i_TS_RESP(nullptr, &at, static_cast<long>(bytes.size())));
    ERR_clear_error();
    if (!response || TS_RESP_get_token(response.get()) == nullptr) return {};
    const auto element = [](ByteSpan from, std::size_t& head, std::size_t& size) {
        const unsigned char* p = from.data();
        long length = 0;
        int tag = 0;
        int kind = 0;
        if (from.empty() ||
            (ASN1_get_object(&p, &length, &tag, &kind, static_cast<long>(from.size())) & 0x81) != 0)
            return false;
        head = static_cast<std::size_t>(p - from.data());
        size = head + static_cast<std::size_t>(length);
        return size <= from.size();
    };
    std::size_t head = 0;
    std::size_t size = 0;
    if (!element(bytes, head, size)) return {};
    const ByteSpan inner = bytes.subspan(head, size - head);
    if (!element(inner, head, size)) return {};
    const ByteSpan token = inner.subspan(size);
    if (!element(token, head, size)) return {};
    return token.first(size);
}

// One digest of bounded cost, whatever the imprint's method: the usual ones only.
const EVP_MD* ImprintMethod(const X509_ALGOR* algorithm) {
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    switch (OBJ_obj2nid(object)) {
        case NID_sha256:
            return EVP_sha256();
        case NID_sha384:
            return EVP_sha384();
        case NID_sha512:
            return EVP_sha512();
        default:
            return nullptr;
    }
}

bool ImprintFits(TS_MSG_IMPRINT* imprint, const EVP_MD* method, ByteSpan stamped) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    if (EVP_Digest(stamped.data(), stamped.size(), hash.data(), &size, method, nullptr) != 1) return false;
    const ASN1_OCTET_STRING* stated = TS_MSG_IMPRINT_get_msg(imprint);
    return std::equal(hash.begin(), hash.begin() + size, ASN1_STRING_get0_data(stated),
                      ASN1_STRING_get0_data(stated) + ASN1_STRING_length(stated));
}

bool SaysTimeStamping(X509* certificate) {
    return (X509_get_extended_key_usage(certificate) & XKU_TIMESTAMP) != 0;
}

// The token's certificates in the order of the chain, the signer's first.
CertificateChain ChainOf(CMS_ContentInfo* token, X509* signer) {
    CertificateChain chain;
    X509_up_ref(signer);
    chain.emplace_back(signer);
    const Owned<STACK_OF(X509)> all(CMS_get1_certs(token));
    for (int i = 0; all && i < sk_X509_num(all.get()) && chain.size() < kMaxChain; ++i) {
        X509* certificate = sk_X509_value(all.get(), i);
        if (X509_cmp(certificate, signer) == 0 || !IsUsableKey(X509_get0_pubkey(certificate))) continue;
        X509_up_ref(certificate);
        chain.emplace_back(certificate);
    }
    return chain;
}

}  // namespace

StampResult CheckStamp(ByteSpan bytes, std::initializer_list<ByteSpan> candidates) {
    StampResult result;
    const auto fail = [&result](StampResult::Outcome outcome, const char* reason) {
        result.outcome = outcome;
        result.reason = reason;
        ERR_clear_error();
    };
    using Outcome = StampResult::Outcome;
    if (bytes.empty() || bytes.size() > kMaxStampBytes) {
        fail(Outcome::Malformed, "What stands for a time stamp is empty or too long.");
        return result;
    }
    ByteSpan encoded = TokenInResponse(bytes);
    if (encoded.empty()) encoded = bytes;
    const unsigned char* at = encoded.data();
    const Owned<CMS_ContentInfo> token(d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(encoded.size())));
    if (!token || OBJ_obj2nid(CMS_get0_type(token.get())) != NID_pkcs7_signed ||
        OBJ_obj2nid(CMS_get0_eContentType(token.get())) != NID_id_smime_ct_TSTInfo) {
        fail(Outcome::Malformed, "What stands for a time stamp is none.");
        return result;
    }
    ASN1_OCTET_STRING** content = CMS_get0_content(token.get());
    if (content == nullptr || *content == nullptr) {
        fail(Outcome::Malformed, "The time stamp is empty.");
        return result;
    }
    const unsigned char* infoAt = ASN1_STRING_get0_data(*content);
    const Owned<TS_TST_INFO> info(d2i_TS_TST_INFO(nullptr, &infoAt, ASN1_STRING_length(*content)));
    const auto time = info ? TimeOf(TS_TST_INFO_get_time(info.get())) : std::nullopt;
    if (!time) {
        fail(Outcome::Malformed, "The time stamp states no time.");
        return result;
    }
    result.time = *time;
    TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info.get());
    const EVP_MD* method = ImprintMethod(TS_MSG_IMPRINT_get_algo(imprint));
    if (method == nullptr) {
        fail(
            Outcome::Malformed,
            "What it was made for could not be checked: it names its object by a hash that is not used here.");
        return result;
    }
    const auto* const fitting = std::find_if(candidates.begin(), candidates.end(), [&](ByteSpan candidate) {
        return ImprintFits(imprint, method, candidate);
    });
    if (fitting == candidates.end()) {
        fail(Outcome::Mismatch, "The time stamp was made for something else.");
        return result;
    }
    result.fitting = static_cast<std::size_t>(fitting - candidates.begin());
    // Every key that could be computed with is bounded first; the chain is judged by the caller.
    const Owned<STACK_OF(X509)> certificates(CMS_get1_certs(token.get()));
    const bool hasOneSigner = sk_CMS_SignerInfo_num(CMS_get0_SignerInfos(token.get())) == 1;
    bool isBounded = certificates != nullptr && hasOneSigner && sk_X509_num(certificates.get()) <= 64;
    const Owned<BIO> sink(BIO_new(BIO_s_null()));
    X509* signer = nullptr;
    if (isBounded && CMS_set1_signers_certs(token.get(), certificates.get(), 0) == 1) {
        EVP_PKEY* key = nullptr;
        CMS_SignerInfo_get0_algs(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(token.get()), 0), &key, &signer,
                                 nullptr, nullptr);
        isBounded = signer != nullptr && IsUsableKey(key);
    } else {
        isBounded = false;
    }
    if (!isBounded) {
        fail(Outcome::Malformed,
             "The time stamp's signer cannot be told, or its key is too short, too long or of another kind.");
        return result;
    }
    if (CMS_verify(token.get(), nullptr, nullptr, nullptr, sink.get(),
                   CMS_NO_SIGNER_CERT_VERIFY | CMS_BINARY) != 1) {
        fail(Outcome::Mismatch, "The time stamp's own signature does not verify.");
        return result;
    }
    if (!SaysTimeStamping(signer)) {
        fail(Outcome::Malformed, "The time stamp was signed by a certificate that is not for time stamps.");
        return result;
    }
    const CertificateFacts facts = ReadFacts(signer);
    result.authority = facts.commonName.empty() ? facts.subject : facts.commonName;
    result.isInsideValidity = facts.IsValidAt(result.time);
    result.chain = ChainOf(token.get(), signer);
    result.outcome = Outcome::Intact;
    ERR_clear_error();
    return result;
}

RevocationResult CheckRevocation(ByteSpan response, const CertificateChain& chain) {
    RevocationResult result;
    const auto fail = [&result](const char* reason) {
        ERR_clear_error();
        result.reason = reason;
        return std::move(result);
    };
    if (response.empty() || response.size() > kMaxStampBytes)
        return fail("What stands for an answer about revocation is empty or too long.");
    if (chain.size() < 2)
        return fail("The answer about revocation cannot be checked: the issuer's certificate is not there.");
    for (std::size_t i = 0; i < 2; ++i)
        if (!IsUsableKey(X509_get0_pubkey(chain[i].get())))
            return fail(
                "The answer about revocation cannot be checked: the issuer's key is not one that is used here.");
    const unsigned char* at = response.data();
    const Owned<OCSP_RESPONSE> outer(d2i_OCSP_RESPONSE(nullptr, &at, static_cast<long>(response.size())));
    if (!outer || OCSP_response_status(outer.get()) != OCSP_RESPONSE_STATUS_SUCCESSFUL)
        return fail("What stands for an answer about revocation is none.");
    const Owned<OCSP_BASICRESP> basic(OCSP_response_get1_basic(outer.get()));
    if (!basic) return fail("What stands for an answer about revocation is none.");
    const STACK_OF(X509)* carried = OCSP_resp_get0_certs(basic.get());
    for (int i = 0; carried != nullptr && i < sk_X509_num(carried); ++i)
        if (i >= 16 || !IsUsableKey(X509_get0_pubkey(sk_X509_value(carried, i))))
            return fail("The answer about revocation carries a key that is not one that is used here.");

    // The issuer alone counts as root, at the time when the answer was made.
    const Owned<X509_STORE> store(X509_STORE_new());
    const Owned<STACK_OF(X509)> others(sk_X509_new_null());
    if (!store || !others) return fail("The cryptographic library fails.");
    X509* issuer = chain[1].get();
    X509_STORE_add_cert(store.get(), issuer);
    X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN);
    const auto answered = TimeOf(OCSP_resp_get0_produced_at(basic.get()));
    if (!answered) return fail("The answer about revocation states no time.");
    result.answeredAt = *answered;
    X509_VERIFY_PARAM_set_time(X509_STORE_get0_param(store.get()), *answered);
    X509_up_ref(issuer);
    if (sk_X509_push(others.get(), issuer) == 0) X509_free(issuer);
    if (OCSP_basic_verify(basic.get(), others.get(), store.get(), 0) != 1)
        return fail("The answer about revocation was not signed by the certificate's issuer.");

    const int count = std::min(OCSP_resp_count(basic.get()), 100);
    for (int i = 0; i < count; ++i) {
        OCSP_SINGLERESP* single = OCSP_resp_get0(basic.get(), i);
        const OCSP_CERTID* id = OCSP_SINGLERESP_get0_id(single);
        ASN1_OBJECT* method = nullptr;
        OCSP_id_get0_info(nullptr, &method, nullptr, nullptr, const_cast<OCSP_CERTID*>(id));
        const EVP_MD* hash = EVP_get_digestbyobj(method);
        if (hash == nullptr) continue;
        const Owned<OCSP_CERTID> own(OCSP_cert_to_id(hash, chain[0].get(), issuer));
        if (!own || OCSP_id_cmp(own.get(), id) != 0) continue;
        int reason = -1;
        ASN1_GENERALIZEDTIME* revoked = nullptr;
        ASN1_GENERALIZEDTIME* next = nullptr;
        const int status = OCSP_single_get0_status(single, &reason, &revoked, nullptr, &next);
        result.validUntil = TimeOf(next).value_or(0);
        ERR_clear_error();
        if (status == V_OCSP_CERTSTATUS_GOOD) {
            result.outcome = RevocationResult::Outcome::NotRevoked;
        } else if (status == V_OCSP_CERTSTATUS_REVOKED) {
            result.outcome = RevocationResult::Outcome::Revoked;
            result.revokedAt = TimeOf(revoked).value_or(0);
            result.isKeyCompromised = reason == OCSP_REVOKED_STATUS_KEYCOMPROMISE;
        } else {
            result.outcome = RevocationResult::Outcome::Unknown;
        }
        return result;
    }
    return fail("The answer about revocation is about another certificate.");
}

}  // namespace provenance
