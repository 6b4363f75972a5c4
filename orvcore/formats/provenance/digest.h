#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "zorbase/bytes.h"

// The hash functions that content credentials allow.
namespace provenance {

enum class HashMethod { Sha256, Sha384, Sha512 };

// "sha256", "sha384", "sha512"; nothing for every other name, the empty one included: there is no default.
std::optional<HashMethod> HashMethodOf(std::string_view name);
std::size_t HashSize(HashMethod method);

// Called every few megabytes of hashing; may throw to stop the work.
using Between = std::function<void()>;

// One hash over bytes that come in pieces. Throws ZorException (kind Internal) when the library fails.
class Digest {
  public:
    explicit Digest(HashMethod method);
    ~Digest();
    Digest(const Digest&) = delete;
    Digest& operator=(const Digest&) = delete;
    void Add(ByteSpan bytes, const Between& between = {});
    std::vector<std::uint8_t> Finish();  // once

  private:
    void* m_context;
};

std::vector<std::uint8_t> HashOf(HashMethod method, ByteSpan bytes, const Between& between = {});

bool SameBytes(ByteSpan a, ByteSpan b);

}  // namespace provenance
