#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

// Hex digests in lower case. `between` is called every few megabytes and may throw to stop the work.
struct FileHashes {
    std::string md5;
    std::string sha1;
    std::string sha256;
};
FileHashes ComputeHashes(std::span<const std::uint8_t> bytes,
                         const std::function<void(double done)>& between = {});
std::string Sha256(std::span<const std::uint8_t> bytes);
std::string Sha256(const std::string& text);

// SHA-256 of bytes that come in pieces. Finish is called once, at the end.
class Sha256Stream {
  public:
    Sha256Stream();
    ~Sha256Stream();
    void Add(std::span<const std::uint8_t> bytes);
    std::string Finish();

  private:
    class Implementation;
    std::unique_ptr<Implementation> m;
};
