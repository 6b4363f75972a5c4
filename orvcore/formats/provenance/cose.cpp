#include "orvcore/formats/provenance/cose.h"

#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <memory>

namespace provenance {

namespace {

constexpr std::int64_t kAlgorithmLabel = 1;
constexpr std::int64_t kCriticalLabel = 2;
constexpr std::int64_t kChainLabel = 33;
constexpr std::uint64_t kSign1Tag = 18;
constexpr std::size_t kMaxStamps = 8;
constexpr std::size_t kMaxHeaderBytes = std::size_t{1} << 20;

struct Method {
    std::int64_t number;
    const char* name;
    const EVP_MD* (*hash)();
    enum Kind { Curve, Pss, Edwards } kind;
};
constexpr Method kMethods[] = {
    {-7, "ES256", EVP_sha256, Method::Curve},  {-35, "ES384", EVP_sha384, Method::Curve},
    {-36, "ES512", EVP_sha512, Method::Curve}, {-37, "PS256", EVP_sha256, Method::Pss},
    {-38, "PS384", EVP_sha384, Method::Pss},   {-39, "PS512", EVP_sha512, Method::Pss},
    {-8, "Ed25519", nullptr, Method::Edwards},
};

const Method* MethodOf(std::int64_t number) {
    for (const Method& method : kMethods)
        if (method.number == number) return &method;
    return nullptr;
}

void ReadChain(const CborValue& header, CoseSignature& signature) {
    if (!signature.chain.empty() || !signature.chainFault.empty()) return;
    const CborValue* list = header.Find(kChainLabel);
    if (list == nullptr) list = header.Find("x5chain");
    if (list == nullptr) return;
    std::vector<ByteSpan> entries;
    if (list->IsBytes()) entries.push_back(list->content);
    for (const CborValue& item : list->items) entries.push_back(item.IsBytes() ? item.content : ByteSpan());
    if (entries.empty() || entries.size() > kMaxChain) {
        signature.chainFault = "The list of the signer's certificates is empty or too long.";
        return;
    }
    for (const ByteSpan& entry : entries) {
        Certificate certificate = ReadCertificate(entry);
        if (!certificate) {
            signature.chainFault = "What stands for a certificate of the signer is none.";
            signature.chain.clear();
            return;
        }
        signature.chain.push_back(std::move(certificate));
    }
}

void ReadStamps(const CborValue& header, const char* name, std::vector<ByteSpan>& stamps) {
    const CborValue* container = header.Find(name);
    const CborValue* tokens = container == nullptr ? nullptr : container->Find("tstTokens");
    if (tokens == nullptr || !tokens->IsArray()) return;
    for (const CborValue& token : tokens->items) {
        const CborValue* value = token.Find("val");
        if (value != nullptr && value->IsBytes() && stamps.size() < kMaxStamps)
            stamps.push_back(value->content);
    }
}

void ReadRevocation(const CborValue& header, std::vector<ByteSpan>& answers) {
    const CborValue* container = header.Find("rVals");
    const CborValue* values = container == nullptr ? nullptr : container->Find("ocspVals");
    if (values == nullptr || !values->IsArray()) return;
    for (const CborValue& value : values->items)
        if (value.IsBytes() && answers.size() < kMaxStamps) answers.push_back(value.content);
}

struct FreeKey {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(ECDSA_SIG* signature) const { ECDSA_SIG_free(signature); }
    void operator()(BIGNUM* number) const { BN_free(number); }
};

// r and s one behind the other, as DER.
std::vector<std::uint8_t> CurveSignatureToDer(ByteSpan both) {
    std::vector<std::uint8_t> der;
    const int half = static_cast<int>(both.size() / 2);
    if (both.empty() || both.size() % 2 != 0 || half > 66) return der;
    std::unique_ptr<ECDSA_SIG, FreeKey> signature(ECDSA_SIG_new());
    std::unique_ptr<BIGNUM, FreeKey> r(BN_bin2bn(both.data(), half, nullptr));
    std::unique_ptr<BIGNUM, FreeKey> s(BN_bin2bn(both.data() + half, half, nullptr));
    if (!signature || !r || !s || ECDSA_SIG_set0(signature.get(), r.get(), s.get()) != 1) return der;
    static_cast<void>(r.release());
    static_cast<void>(s.release());
    unsigned char* out = nullptr;
    const int size = i2d_ECDSA_SIG(signature.get(), &out);
    if (size > 0) der.assign(out, out + size);
    OPENSSL_free(out);
    return der;
}

bool KindFits(const Method& method, EVP_PKEY* key) {
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
        case EVP_PKEY_RSA_PSS:
            return method.kind == Method::Pss;
        case EVP_PKEY_EC:
            return method.kind == Method::Curve;
        default:
            return method.kind == Method::Edwards;
    }
}

}  // namespace

CoseSignature ReadSignature(ByteSpan bytes, ByteSpan claim, std::size_t& budget) {
    CoseSignature signature;
    CborResult decoded = DecodeCbor(bytes, budget);
    if (!decoded.value) {
        signature.fault = "The signature cannot be read: " + decoded.error;
        return signature;
    }
    signature.record = std::move(*decoded.value);
    const CborValue* parts = &signature.record;
    if (parts->Is(CborValue::Type::Tag) && parts->number == kSign1Tag) parts = &parts->items.front();
    if (!parts->IsArray() || parts->items.size() != 4 || !parts->items[0].IsBytes() ||
        !parts->items[1].IsMap() || !parts->items[3].IsBytes() ||
        parts->items[0].content.size() > kMaxHeaderBytes) {
        signature.fault = "What stands for the signature is none.";
        return signature;
    }
    signature.protectedBytes = parts->items[0].content;
    signature.signature = parts->items[3].content;
    const CborValue& payload = parts->items[2];
    const bool isDetached =
        payload.Is(CborValue::Type::Null) || (payload.IsBytes() && payload.content.empty());
    signature.hasForeignPayload =
        !isDetached && !(payload.IsBytes() && std::equal(payload.content.begin(), payload.content.end(),
                                                         claim.begin(), claim.end()));

    const CborResult header = DecodeCbor(signature.protectedBytes, budget);
    if (!header.value || !header.value->IsMap()) {
        signature.fault = "The signature's protected header cannot be read.";
        return signature;
    }
    const CborValue* algorithm = header.value->Find(kAlgorithmLabel);
    if (algorithm != nullptr) signature.algorithm = algorithm->Signed().value_or(0);
    // Whoever marks a field as critical wants it understood; none is here.
    if (header.value->Find(kCriticalLabel) != nullptr) signature.algorithm = 0;
    ReadChain(*header.value, signature);
    ReadChain(parts->items[1], signature);
    if (signature.chain.empty() && signature.chainFault.empty())
        signature.chainFault = "The signature does not carry the signer's certificate.";
    ReadStamps(parts->items[1], "sigTst", signature.stampsOfClaim);
    ReadStamps(parts->items[1], "sigTst2", signature.stampsOfSignature);
    ReadRevocation(parts->items[1], signature.revocationAnswers);
    return signature;
}

std::string AlgorithmName(std::int64_t algorithm) {
    const Method* method = MethodOf(algorithm);
    return method == nullptr ? std::string() : method->name;
}

std::vector<std::uint8_t> SignedBytes(const char* context, ByteSpan protectedBytes, ByteSpan payload) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(64 + protectedBytes.size() + payload.size());
    AppendCborHead(bytes, 4, 4);
    AppendCborText(bytes, context);
    AppendCborBytes(bytes, protectedBytes);
    AppendCborBytes(bytes, {});
    AppendCborBytes(bytes, payload);
    return bytes;
}

SignatureOutcome VerifySignature(const CoseSignature& signature, ByteSpan claim) {
    const Method* method = MethodOf(signature.algorithm);
    if (method == nullptr || signature.chain.empty()) return SignatureOutcome::Unsupported;
    EVP_PKEY* key = X509_get0_pubkey(signature.chain.front().get());
    if (!IsUsableKey(key)) return SignatureOutcome::Unsupported;
    if (signature.hasForeignPayload || !KindFits(*method, key)) return SignatureOutcome::Fails;

    const std::vector<std::uint8_t> bytes = SignedBytes("Signature1", signature.protectedBytes, claim);
    std::vector<std::uint8_t> value(signature.signature.begin(), signature.signature.end());
    if (method->kind == Method::Curve) value = CurveSignatureToDer(signature.signature);
    const std::unique_ptr<EVP_MD_CTX, FreeKey> context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* rules = nullptr;
    bool isGood = context && !value.empty() &&
                  EVP_DigestVerifyInit(context.get(), &rules, method->hash ? method->hash() : nullptr,
                                       nullptr, key) == 1;
    if (isGood && method->kind == Method::Pss)
        isGood = EVP_PKEY_CTX_set_rsa_padding(rules, RSA_PKCS1_PSS_PADDING) == 1 &&
                 EVP_PKEY_CTX_set_rsa_mgf1_md(rules, method->hash()) == 1 &&
                 EVP_PKEY_CTX_set_rsa_pss_saltlen(rules, RSA_PSS_SALTLEN_DIGEST) == 1;
    isGood = isGood &&
             EVP_DigestVerify(context.get(), value.data(), value.size(), bytes.data(), bytes.size()) == 1;
    ERR_clear_error();
    return isGood ? SignatureOutcome::Verifies : SignatureOutcome::Fails;
}

}  // namespace provenance
