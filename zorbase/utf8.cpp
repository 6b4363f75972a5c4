#include "zorbase/utf8.h"

namespace {

constexpr char32_t kByteBase = 0x100000;  // + byte
constexpr char32_t kByteEnd = kByteBase + 0x100;

}  // namespace

Utf8Step NextUtf8(std::string_view text, std::size_t pos) {
    const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byteAt(pos);
    if (lead < 0x80) return {lead, 1, true};

    std::size_t length = 0;
    // Bounds of the second byte: they alone exclude overlong forms, surrogates and what lies above U+10FFFF.
    unsigned low = 0x80;
    unsigned high = 0xBF;
    char32_t code = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        code = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        code = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        code = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {0, 1, false};
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (pos + i >= text.size()) return {0, i, false};
        const unsigned byte = byteAt(pos + i);
        if (byte < low || byte > high) return {0, i, false};
        code = (code << 6) | (byte & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return {code, length, true};
}

bool IsDirectionMark(char32_t codePoint) {
    return codePoint == 0x061C || codePoint == 0x200E || codePoint == 0x200F ||
           (codePoint >= 0x202A && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

void AppendUtf8(std::string& text, char32_t codePoint) {
    const auto put = [&text](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

std::string PathToUtf8(std::string_view path) {
    std::string text;
    text.reserve(path.size());
    for (std::size_t pos = 0; pos < path.size();) {
        const Utf8Step step = NextUtf8(path, pos);
        const bool taken = step.codePoint >= kByteBase && step.codePoint < kByteEnd;
        if (step.valid && !taken) {
            text.append(path.substr(pos, step.length));
        } else {
            for (const char c : path.substr(pos, step.length)) {
                AppendUtf8(text, kByteBase + static_cast<unsigned char>(c));
            }
        }
        pos += step.length;
    }
    return text;
}

std::string PathFromUtf8(std::string_view text) {
    std::string path;
    path.reserve(text.size());
    for (std::size_t pos = 0; pos < text.size();) {
        const Utf8Step step = NextUtf8(text, pos);
        if (step.valid) {
            AppendPathCharacter(path, step.codePoint);
        } else {
            path.append(text.substr(pos, step.length));
        }
        pos += step.length;
    }
    return path;
}

void AppendPathCharacter(std::string& path, char32_t codePoint) {
    if (codePoint >= kByteBase && codePoint < kByteEnd) {
        path += static_cast<char>(static_cast<unsigned char>(codePoint - kByteBase));
    } else if (codePoint <= 0x10FFFF) {
        AppendUtf8(path, codePoint);
    }
}
