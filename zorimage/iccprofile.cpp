#include <algorithm>

#include "zorimage/codec.h"
#include "zorimage/icctext.h"

namespace {

void AppendUtf8(std::string& text, std::uint32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xc0 | code >> 6);
        text += static_cast<char>(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
        text += static_cast<char>(0xe0 | code >> 12);
        text += static_cast<char>(0x80 | (code >> 6 & 0x3f));
        text += static_cast<char>(0x80 | (code & 0x3f));
    } else {
        text += static_cast<char>(0xf0 | code >> 18);
        text += static_cast<char>(0x80 | (code >> 12 & 0x3f));
        text += static_cast<char>(0x80 | (code >> 6 & 0x3f));
        text += static_cast<char>(0x80 | (code & 0x3f));
    }
}

// Big-endian UTF-16 up to the first zero; halves of a pair that stand alone and control characters become
// U+FFFD.
std::string FromUtf16(ByteSpan bytes) {
    std::string text;
    for (std::size_t i = 0; i + 2 <= bytes.size(); i += 2) {
        std::uint32_t code = Big16(bytes, i);
        if (code == 0) break;
        if (code >= 0xd800 && code < 0xdc00 && i + 4 <= bytes.size()) {
            const std::uint32_t low = Big16(bytes, i + 2);
            if (low >= 0xdc00 && low < 0xe000) {
                code = 0x10000 + ((code - 0xd800) << 10) + (low - 0xdc00);
                i += 2;
            }
        }
        if ((code >= 0xd800 && code < 0xe000) || code < 0x20) code = 0xfffd;
        AppendUtf8(text, code);
    }
    return text;
}

// Version 2: a count, then that many ASCII characters, the last one zero.
std::string ReadTextDescription(ByteSpan tag) {
    if (tag.size() < 12) return {};
    std::string text;
    for (const std::uint8_t byte : tag.subspan(12, std::min<std::size_t>(Big32(tag, 8), tag.size() - 12))) {
        if (byte == 0) break;
        AppendUtf8(text, byte < 0x20 ? 0xfffdU : byte);
    }
    return text;
}

// Version 4: records of language, country, length and offset. English is preferred, else the first.
std::string ReadLocalised(ByteSpan tag) {
    if (tag.size() < 16) return {};
    const std::size_t count = std::min<std::size_t>(Big32(tag, 8), (tag.size() - 16) / 12);
    std::string first;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t record = 16 + i * 12;
        const std::size_t length = Big32(tag, record + 4);
        const std::size_t offset = Big32(tag, record + 8);
        if (offset > tag.size() || length > tag.size() - offset) continue;
        const std::string text = FromUtf16(tag.subspan(offset, length));
        if (codec::HasText(tag, record, "en")) return text;
        if (first.empty()) first = text;
    }
    return first;
}

}  // namespace

std::string IccText(std::span<const std::uint8_t> tag) {
    if (codec::HasText(tag, 0, "desc")) return ReadTextDescription(tag);
    if (codec::HasText(tag, 0, "mluc")) return ReadLocalised(tag);
    return {};
}

std::string IccProfileName(std::span<const std::uint8_t> profile) {
    constexpr std::size_t kHeaderBytes = 128;
    if (profile.size() < kHeaderBytes + 4) return {};
    const std::size_t count =
        std::min<std::size_t>(Big32(profile, kHeaderBytes), (profile.size() - kHeaderBytes - 4) / 12);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = kHeaderBytes + 4 + i * 12;
        if (!codec::HasText(profile, entry, "desc")) continue;
        const std::size_t offset = Big32(profile, entry + 4);
        const std::size_t length = Big32(profile, entry + 8);
        if (offset > profile.size() || length > profile.size() - offset) continue;
        const ByteSpan tag = profile.subspan(offset, length);
        return IccText(tag);
    }
    return {};
}
