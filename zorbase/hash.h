#pragma once

#include <cstdint>
#include <functional>
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
