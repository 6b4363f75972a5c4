#include "orvcore/formats/provenance/digest.h"

#include <openssl/evp.h>

#include <algorithm>

#include "zorbase/zorexception.h"

namespace provenance {

namespace {

constexpr std::size_t kStep = std::size_t{4} << 20;

const EVP_MD* Library(HashMethod method) {
    switch (method) {
        case HashMethod::Sha384:
            return EVP_sha384();
        case HashMethod::Sha512:
            return EVP_sha512();
        default:
            return EVP_sha256();
    }
}

}  // namespace

std::optional<HashMethod> HashMethodOf(std::string_view name) {
    if (name == "sha256") return HashMethod::Sha256;
    if (name == "sha384") return HashMethod::Sha384;
    if (name == "sha512") return HashMethod::Sha512;
    return {};
}

std::size_t HashSize(HashMethod method) {
    return static_cast<std::size_t>(EVP_MD_get_size(Library(method)));
}

Digest::Digest(HashMethod method) : m_context(EVP_MD_CTX_new()) {
    if (m_context != nullptr &&
        EVP_DigestInit_ex(static_cast<EVP_MD_CTX*>(m_context), Library(method), nullptr) == 1)
        return;
    EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(m_context));
    ZOR_THROW(Internal, "The hash cannot be computed: the cryptographic library refuses it.");
}

Digest::~Digest() {
    EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(m_context));
}

void Digest::Add(ByteSpan bytes, const Between& between) {
    while (!bytes.empty()) {
        const ByteSpan step = bytes.first(std::min(bytes.size(), kStep));
        if (EVP_DigestUpdate(static_cast<EVP_MD_CTX*>(m_context), step.data(), step.size()) != 1)
            ZOR_THROW(Internal, "The hash cannot be computed: the cryptographic library fails.");
        bytes = bytes.subspan(step.size());
        if (between && step.size() == kStep) between();
    }
}

std::vector<std::uint8_t> Digest::Finish() {
    std::vector<std::uint8_t> hash(EVP_MAX_MD_SIZE);
    unsigned size = 0;
    if (EVP_DigestFinal_ex(static_cast<EVP_MD_CTX*>(m_context), hash.data(), &size) != 1)
        ZOR_THROW(Internal, "The hash cannot be computed: the cryptographic library fails.");
    hash.resize(size);
    return hash;
}

std::vector<std::uint8_t> HashOf(HashMethod method, ByteSpan bytes, const Between& between) {
    Digest digest(method);
    digest.Add(bytes, between);
    return digest.Finish();
}

bool SameBytes(ByteSpan a, ByteSpan b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

}  // namespace provenance
