#include "zorbase/hash.h"

#include <openssl/evp.h>

#include <algorithm>
#include <memory>

#include "zorbase/zorexception.h"

namespace {

// Small enough that the second and third digest find the bytes in the cache.
constexpr std::size_t kStrip = std::size_t{1} << 20;

class Digest {
  public:
    explicit Digest(const EVP_MD* method) : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
        if (!m_context || EVP_DigestInit_ex(m_context.get(), method, nullptr) != 1) Fail();
    }

    void Add(std::span<const std::uint8_t> bytes) {
        if (EVP_DigestUpdate(m_context.get(), bytes.data(), bytes.size()) != 1) Fail();
    }

    std::string Finish() {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int length = 0;
        if (EVP_DigestFinal_ex(m_context.get(), digest, &length) != 1) Fail();
        constexpr char kDigits[] = "0123456789abcdef";
        std::string text;
        for (unsigned int i = 0; i < length; ++i) {
            text += kDigits[digest[i] >> 4];
            text += kDigits[digest[i] & 15];
        }
        return text;
    }

  private:
    [[noreturn]] static void Fail() {
        ZOR_THROW(Internal, "The system's cryptography library cannot compute a digest.");
    }

    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> m_context;
};

}  // namespace

FileHashes ComputeHashes(std::span<const std::uint8_t> bytes, const std::function<void(double)>& between) {
    Digest md5(EVP_md5());
    Digest sha1(EVP_sha1());
    Digest sha256(EVP_sha256());
    for (std::size_t done = 0; done < bytes.size();) {
        const auto strip = bytes.subspan(done, std::min(kStrip, bytes.size() - done));
        md5.Add(strip);
        sha1.Add(strip);
        sha256.Add(strip);
        done += strip.size();
        if (between) between(static_cast<double>(done) / static_cast<double>(bytes.size()));
    }
    return {md5.Finish(), sha1.Finish(), sha256.Finish()};
}

std::string Sha256(std::span<const std::uint8_t> bytes) {
    Digest sha256(EVP_sha256());
    sha256.Add(bytes);
    return sha256.Finish();
}

std::string Sha256(const std::string& text) {
    return Sha256(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

class Sha256Stream::Implementation : public Digest {
  public:
    Implementation() : Digest(EVP_sha256()) {}
};

Sha256Stream::Sha256Stream() : m(std::make_unique<Implementation>()) {}
Sha256Stream::~Sha256Stream() = default;

void Sha256Stream::Add(std::span<const std::uint8_t> bytes) {
    m->Add(bytes);
}

std::string Sha256Stream::Finish() {
    return m->Finish();
}
