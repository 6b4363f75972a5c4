#include "tests/orvcore/formats/provenance/storemaker.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>
#include <openssl/ts.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <stdexcept>

#include "orvcore/formats/provenance/cbor.h"
#include "orvcore/formats/provenance/cose.h"
#include "orvcore/formats/provenance/digest.h"
#include "orvcore/formats/provenance/jumbf.h"
#include "tests/orvcore/formats/formatsupport.h"

namespace storemaker {

using formatsupport::AppendBig;
using formatsupport::ToBytes;
using formatsupport::operator+;

namespace {

void Need(bool isGood) {
    if (!isGood) throw std::runtime_error("the cryptographic library refuses a test's certificate");
}

std::shared_ptr<EVP_PKEY> PublicKeyOf(int bits) {
    // Odd and of full length; that it is no product of primes matters to nobody who only looks at its size.
    BIGNUM* modulus = BN_new();
    BIGNUM* exponent = BN_new();
    BN_set_bit(modulus, bits - 1);
    BN_set_bit(modulus, 0);
    BN_set_word(exponent, 65537);
    OSSL_PARAM_BLD* build = OSSL_PARAM_BLD_new();
    OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_RSA_N, modulus);
    OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_RSA_E, exponent);
    OSSL_PARAM* parameters = OSSL_PARAM_BLD_to_param(build);
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY* key = nullptr;
    Need(EVP_PKEY_fromdata_init(context) == 1 &&
         EVP_PKEY_fromdata(context, &key, EVP_PKEY_PUBLIC_KEY, parameters) == 1);
    EVP_PKEY_CTX_free(context);
    OSSL_PARAM_free(parameters);
    OSSL_PARAM_BLD_free(build);
    BN_free(modulus);
    BN_free(exponent);
    return {key, EVP_PKEY_free};
}

void AddExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
    Need(extension != nullptr);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

std::shared_ptr<X509> NewCertificate(const char* name, EVP_PKEY* key, long from, long to) {
    std::shared_ptr<X509> certificate(X509_new(), X509_free);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 77);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), from);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), to);
    X509_NAME* subject = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(name), -1,
                               -1, 0);
    X509_set_pubkey(certificate.get(), key);
    return certificate;
}

Bytes DerOf(X509* certificate) {
    unsigned char* der = nullptr;
    const int size = i2d_X509(certificate, &der);
    Need(size > 0);
    Bytes bytes(der, der + size);
    OPENSSL_free(der);
    return bytes;
}

Bytes SignatureOver(const Signer& signer, const Bytes& bytes) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    std::size_t size = 1024;
    Bytes der(size);
    Need(EVP_DigestSignInit(context, nullptr, EVP_sha256(), nullptr, signer.key.get()) == 1 &&
         EVP_DigestSign(context, der.data(), &size, bytes.data(), bytes.size()) == 1);
    EVP_MD_CTX_free(context);
    const unsigned char* at = der.data();
    ECDSA_SIG* signature = d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(size));
    Need(signature != nullptr);
    Bytes both(64);
    Need(BN_bn2binpad(ECDSA_SIG_get0_r(signature), both.data(), 32) == 32 &&
         BN_bn2binpad(ECDSA_SIG_get0_s(signature), both.data() + 32, 32) == 32);
    ECDSA_SIG_free(signature);
    return both;
}

Bytes CoseSignature(const Signer& signer, const Bytes& claim) {
    Bytes header;
    provenance::AppendCborHead(header, 5, 2);
    provenance::AppendCborHead(header, 0, 1);
    provenance::AppendCborHead(header, 1, static_cast<std::uint64_t>(-1 - signer.algorithm));
    provenance::AppendCborHead(header, 0, 33);
    header = header + List({Bin(signer.certificate), Bin(signer.issuer)});
    Bytes value(64);
    if (EVP_PKEY_get_base_id(signer.key.get()) == EVP_PKEY_EC)
        value = SignatureOver(signer, provenance::SignedBytes("Signature1", header, claim));
    return Bytes{0xD2} + List({Bin(header), Map({}), Bytes{0xF6}, Bin(value)});
}

}  // namespace

Bytes Text(const std::string& text) {
    Bytes bytes;
    provenance::AppendCborText(bytes, text);
    return bytes;
}

Bytes Number(std::uint64_t number) {
    Bytes bytes = {0x1B};
    AppendBig(bytes, number, 8);
    return bytes;
}

Bytes Bin(const Bytes& content) {
    Bytes bytes;
    provenance::AppendCborBytes(bytes, content);
    return bytes;
}

Bytes List(const std::vector<Bytes>& items) {
    Bytes bytes;
    provenance::AppendCborHead(bytes, 4, items.size());
    for (const Bytes& item : items) bytes = bytes + item;
    return bytes;
}

Bytes Map(const std::vector<std::pair<std::string, Bytes>>& entries) {
    Bytes bytes;
    provenance::AppendCborHead(bytes, 5, entries.size());
    for (const auto& [key, value] : entries) bytes = bytes + Text(key) + value;
    return bytes;
}

Bytes Box(const char* code, const Bytes& payload) {
    Bytes bytes;
    AppendBig(bytes, payload.size() + 8, 4);
    return bytes + ToBytes(code) + payload;
}

Bytes Superbox(const char* kind, const std::string& label, const std::vector<Bytes>& contents) {
    const Bytes suffix = {0x00, 0x11, 0x00, 0x10, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71, 3};
    Bytes payload = Box("jumd", ToBytes(kind) + suffix + ToBytes(label) + Bytes{0});
    for (const Bytes& content : contents) payload = payload + content;
    return Box("jumb", payload);
}

Bytes Sha(const Bytes& bytes) {
    return provenance::HashOf(provenance::HashMethod::Sha256, bytes);
}

Bytes PayloadSha(const Bytes& box) {
    return Sha(Bytes(box.begin() + 8, box.end()));
}

Bytes MakeHashedUri(const std::string& url, const Bytes& hash) {
    return Map({{"url", Text(url)}, {"hash", Bin(hash)}});
}

Signer MakeSigner(const SignerRecipe& recipe) {
    Signer signer;
    const std::shared_ptr<EVP_PKEY> issuerKey(EVP_EC_gen("P-256"), EVP_PKEY_free);
    signer.key = recipe.rsaBits > 0 ? PublicKeyOf(recipe.rsaBits)
                                    : std::shared_ptr<EVP_PKEY>(EVP_EC_gen("P-256"), EVP_PKEY_free);
    if (recipe.rsaBits > 0) signer.algorithm = -37;
    const auto issuer = NewCertificate("Test Issuer", issuerKey.get(), -86400 * 400, 86400 * 4000);
    X509_set_issuer_name(issuer.get(), X509_get_subject_name(issuer.get()));
    AddExtension(issuer.get(), issuer.get(), NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(issuer.get(), issuer.get(), NID_key_usage, "critical,keyCertSign");
    AddExtension(issuer.get(), issuer.get(), NID_subject_key_identifier, "hash");
    Need(X509_sign(issuer.get(), issuerKey.get(), EVP_sha256()) > 0);
    const auto leaf = NewCertificate("Test Signer", signer.key.get(), recipe.validFrom, recipe.validTo);
    X509_set_issuer_name(leaf.get(), X509_get_subject_name(issuer.get()));
    if (recipe.isCa) AddExtension(leaf.get(), issuer.get(), NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(leaf.get(), issuer.get(), NID_key_usage, "critical,digitalSignature");
    AddExtension(leaf.get(), issuer.get(), NID_ext_key_usage, recipe.usages);
    AddExtension(leaf.get(), issuer.get(), NID_authority_key_identifier, "keyid");
    Need(X509_sign(leaf.get(), issuerKey.get(), EVP_sha256()) > 0);
    signer.certificate = DerOf(leaf.get());
    signer.issuer = DerOf(issuer.get());
    return signer;
}

Bytes Pem(const Bytes& der) {
    const unsigned char* at = der.data();
    const std::shared_ptr<X509> certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())), X509_free);
    const std::shared_ptr<BIO> bio(BIO_new(BIO_s_mem()), BIO_free);
    PEM_write_bio_X509(bio.get(), certificate.get());
    char* text = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &text);
    return Bytes(text, text + size);
}

Bytes MakeManifest(const ManifestRecipe& recipe, const Signer& signer) {
    std::vector<Bytes> boxes;
    std::vector<Bytes> uris;
    for (const auto& [label, content] : recipe.assertions) {
        const Bytes box = Superbox("cbor", label, {Box("cbor", content)});
        uris.push_back(MakeHashedUri("self#jumbf=c2pa.assertions/" + label, PayloadSha(box)));
        if (std::find(recipe.removed.begin(), recipe.removed.end(), label) == recipe.removed.end())
            boxes.push_back(box);
    }
    for (const Bytes& box : recipe.boxes) {
        boxes.push_back(box);
        const std::string label(reinterpret_cast<const char*>(box.data()) + 33);
        uris.push_back(MakeHashedUri("self#jumbf=c2pa.assertions/" + label, PayloadSha(box)));
    }
    boxes.insert(boxes.end(), recipe.extraAssertionBoxes.begin(), recipe.extraAssertionBoxes.end());
    std::vector<std::pair<std::string, Bytes>> claim = {
        {"instanceID", Text("xmp:iid:1")},
        {"claim_generator_info", Map({{"name", Text("test maker")}})},
        {"signature", Text("self#jumbf=/c2pa/" + recipe.label + "/c2pa.signature")},
        {"created_assertions", List(uris)},
        {"dc:title", Text(recipe.title)},
        {"alg", Text("sha256")}};
    std::vector<Bytes> redacted;
    for (const std::string& url : recipe.redacted) redacted.push_back(Text(url));
    if (!redacted.empty()) claim.emplace_back("redacted_assertions", List(redacted));
    const Bytes claimBytes = Map(claim);
    std::vector<Bytes> contents = {Superbox("c2as", "c2pa.assertions", boxes),
                                   Superbox("c2cl", "c2pa.claim.v2", {Box("cbor", claimBytes)})};
    if (!recipe.isUnsigned)
        contents.push_back(
            Superbox("c2cs", "c2pa.signature", {Box("cbor", CoseSignature(signer, claimBytes))}));
    return Superbox(recipe.kind, recipe.label, contents);
}

Bytes Store(const std::vector<Bytes>& manifests) {
    return Superbox("c2pa", "c2pa", manifests);
}

Bytes SignatureRecordOf(const Bytes& manifest) {
    std::size_t budget = 1000;
    const provenance::JumbfParse parse = provenance::ParseJumbf(manifest, budget);
    for (const provenance::JumbfBox& box : parse.root.children) {
        if (!box.IsSuperbox(provenance::BoxCode("c2cs"))) continue;
        const ByteSpan content = box.Content(provenance::BoxCode("cbor"))->Payload(manifest);
        return {content.begin(), content.end()};
    }
    throw std::runtime_error("a test's manifest has no signature");
}

Bytes MakeStamp(const Signer& authority, const Bytes& stamped, const EVP_MD* method) {
    Bytes hash(static_cast<std::size_t>(EVP_MD_get_size(method)));
    Need(EVP_Digest(stamped.data(), stamped.size(), hash.data(), nullptr, method, nullptr) == 1);
    const std::shared_ptr<X509_ALGOR> algorithm(X509_ALGOR_new(), X509_ALGOR_free);
    X509_ALGOR_set_md(algorithm.get(), method);
    const std::shared_ptr<TS_MSG_IMPRINT> imprint(TS_MSG_IMPRINT_new(), TS_MSG_IMPRINT_free);
    Need(TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) == 1 &&
         TS_MSG_IMPRINT_set_msg(imprint.get(), hash.data(), static_cast<int>(hash.size())) == 1);
    const std::shared_ptr<TS_REQ> request(TS_REQ_new(), TS_REQ_free);
    Need(TS_REQ_set_version(request.get(), 1) == 1 &&
         TS_REQ_set_msg_imprint(request.get(), imprint.get()) == 1 &&
         TS_REQ_set_cert_req(request.get(), 1) == 1);
    const std::shared_ptr<BIO> asked(BIO_new(BIO_s_mem()), BIO_free);
    Need(i2d_TS_REQ_bio(asked.get(), request.get()) == 1);

    const unsigned char* at = authority.certificate.data();
    const std::shared_ptr<X509> certificate(
        d2i_X509(nullptr, &at, static_cast<long>(authority.certificate.size())), X509_free);
    const std::shared_ptr<ASN1_OBJECT> policy(OBJ_txt2obj("1.2.3.4", 1), ASN1_OBJECT_free);
    const std::shared_ptr<TS_RESP_CTX> rules(TS_RESP_CTX_new(), TS_RESP_CTX_free);
    Need(TS_RESP_CTX_set_signer_cert(rules.get(), certificate.get()) == 1 &&
         TS_RESP_CTX_set_signer_key(rules.get(), authority.key.get()) == 1 &&
         TS_RESP_CTX_set_signer_digest(rules.get(), EVP_sha256()) == 1 &&
         TS_RESP_CTX_set_def_policy(rules.get(), policy.get()) == 1 &&
         TS_RESP_CTX_add_md(rules.get(), method) == 1);
    const std::shared_ptr<TS_RESP> response(TS_RESP_create_response(rules.get(), asked.get()), TS_RESP_free);
    Need(response && TS_RESP_get_token(response.get()) != nullptr);
    unsigned char* der = nullptr;
    const int size = i2d_PKCS7(TS_RESP_get_token(response.get()), &der);
    Need(size > 0);
    Bytes token(der, der + size);
    OPENSSL_free(der);
    return token;
}

Bytes PutIntoJpeg(const Bytes& jpeg, const Bytes& store, std::size_t packet) {
    Bytes segments;
    std::uint32_t number = 1;
    for (std::size_t at = 0; at < store.size(); ++number) {
        const std::size_t room = packet - (at == 0 ? 0 : 8);
        const std::size_t size = std::min(room, store.size() - at);
        Bytes payload = ToBytes("JP");
        AppendBig(payload, 0x0211, 2);
        AppendBig(payload, number, 4);
        if (at > 0) payload.insert(payload.end(), store.begin(), store.begin() + 8);
        payload.insert(payload.end(), store.begin() + static_cast<std::ptrdiff_t>(at),
                       store.begin() + static_cast<std::ptrdiff_t>(at + size));
        segments = segments + Bytes{0xFF, 0xEB};
        AppendBig(segments, payload.size() + 2, 2);
        segments = segments + payload;
        at += size;
    }
    Bytes result(jpeg.begin(), jpeg.begin() + 2);
    result = result + segments;
    result.insert(result.end(), jpeg.begin() + 2, jpeg.end());
    return result;
}

Bytes DataHash(const std::vector<std::pair<std::uint64_t, std::uint64_t>>& exclusions, const Bytes& hash) {
    std::vector<Bytes> ranges;
    for (const auto& [start, length] : exclusions)
        ranges.push_back(Map({{"start", Number(start)}, {"length", Number(length)}}));
    return Map({{"exclusions", List(ranges)}, {"alg", Text("sha256")}, {"hash", Bin(hash)}});
}

Bytes SignedJpeg(const Bytes& jpeg, const ManifestRecipe& recipe, const Signer& signer,
                 const std::vector<std::pair<std::uint64_t, std::uint64_t>>& extra, std::size_t packet) {
    const auto build = [&](std::uint64_t storeSize, const Bytes& hash) {
        std::vector<std::pair<std::uint64_t, std::uint64_t>> left = extra;
        left.emplace_back(2, storeSize);
        std::sort(left.begin(), left.end());
        ManifestRecipe bound = recipe;
        bound.assertions.emplace_back("c2pa.hash.data", DataHash(left, hash));
        return PutIntoJpeg(jpeg, Store({MakeManifest(bound, signer)}), packet);
    };
    const Bytes draft = build(0, Bytes(32));
    const std::size_t added = draft.size() - jpeg.size();
    Bytes kept;
    for (std::size_t i = 0; i < draft.size(); ++i) {
        const bool isLeft = std::any_of(extra.begin(), extra.end(), [i](const auto& range) {
            return i >= range.first && i - range.first < range.second;
        });
        if (!isLeft && (i < 2 || i >= 2 + added)) kept.push_back(draft[i]);
    }
    return build(added, Sha(kept));
}

}  // namespace storemaker
