#include "orvcore/formats/bytesearch.h"

#include <algorithm>
#include <functional>

namespace {

constexpr std::size_t kTick = std::size_t{16} << 20;

int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

ByteSearch FindBytes(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> sequence,
                     std::size_t maximum, const std::function<void(double)>& progress) {
    ByteSearch result;
    if (sequence.empty() || sequence.size() > bytes.size()) return result;
    const std::boyer_moore_horspool_searcher searcher(sequence.begin(), sequence.end());
    for (std::size_t at = 0; at < bytes.size(); at += kTick) {
        if (progress) progress(static_cast<double>(at) / static_cast<double>(bytes.size()));
        // A place that begins in this piece may reach into the next one.
        const std::size_t end = at + std::min(kTick + sequence.size() - 1, bytes.size() - at);
        auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const auto stop = bytes.begin() + static_cast<std::ptrdiff_t>(end);
        for (;;) {
            from = std::search(from, stop, searcher);
            if (from == stop) break;
            if (result.offsets.size() < maximum)
                result.offsets.push_back(static_cast<std::size_t>(from - bytes.begin()));
            ++result.count;
            ++from;
        }
    }
    return result;
}

std::optional<std::vector<std::uint8_t>> BytesOfDigits(const std::string& digits) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < digits.size();) {
        if (digits[i] == ' ') {
            ++i;
            continue;
        }
        const int high = DigitValue(digits[i]);
        const int low = i + 1 < digits.size() ? DigitValue(digits[i + 1]) : -1;
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
        i += 2;
    }
    if (bytes.empty()) return std::nullopt;
    return bytes;
}

std::optional<std::vector<std::uint8_t>> Utf16OfText(const std::string& text) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<std::uint8_t>(text[i]);
        if (lead < 0x80) {
            bytes.push_back(lead);
        } else if ((lead == 0xC2 || lead == 0xC3) && i + 1 < text.size()) {
            bytes.push_back(
                static_cast<std::uint8_t>(((lead & 3) << 6) | (static_cast<std::uint8_t>(text[++i]) & 0x3F)));
        } else {
            return std::nullopt;
        }
        bytes.push_back(0);
    }
    if (bytes.empty()) return std::nullopt;
    return bytes;
}
