#include "orvcore/formats/printablestrings.h"

#include <algorithm>
#include <array>

#include "zorbase/bytes.h"
#include "zorbase/text.h"

namespace {

using Encoding = PrintableString::Encoding;

constexpr std::size_t kTick = std::size_t{1} << 20;

constexpr bool IsPlain(std::uint8_t byte) {
    return (byte >= 0x20 && byte < 0x7F) || byte == '\t';
}

// Bytes of the UTF-8 sequence of a printable character beyond ASCII that starts at `at`, or 0. Overlong forms, surrogates, control
// and private-use characters do not count.
std::size_t Utf8Length(ByteSpan bytes, std::size_t at) {
    const std::uint32_t lead = bytes[at];
    std::size_t length = 0;
    std::uint32_t code = 0;
    if (lead >= 0xC3 && lead <= 0xDF) {
        length = 2;
        code = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        code = lead & 0x0F;
    } else {
        return 0;
    }
    if (bytes.size() - at < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        const std::uint32_t next = bytes[at + i];
        if ((next & 0xC0) != 0x80) return 0;
        code = (code << 6) | (next & 0x3F);
    }
    if (length == 3 && (code < 0x800 || (code >= 0xD800 && code < 0xF900) || code >= 0xFFF0)) return 0;
    return length;
}

// A character of UTF-16 that is looked for: Basic Latin and the letters of Latin-1.
constexpr bool IsWide(std::uint32_t code) {
    return (code >= 0x20 && code < 0x7F) || code == '\t' || (code >= 0xC0 && code <= 0xFF);
}

void AppendUtf8(std::string& text, std::uint32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else {
        text += static_cast<char>(0xC0 | (code >> 6));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
}

class Finder {
  public:
    Finder(ByteSpan bytes, std::size_t minimum, const std::function<void(double)>& progress)
        : m_bytes(bytes), m_minimum(std::max<std::size_t>(minimum, 1)), m_progress(progress) {}

    PrintableStrings Run() {
        std::size_t tick = 0;
        for (std::size_t at = 0; at < m_bytes.size();) {
            if (at >= tick) {
                if (m_progress) m_progress(static_cast<double>(at) / static_cast<double>(m_bytes.size()));
                tick = at + kTick;
            }
            // A wide text is tried first: seen byte by byte it is only single letters.
            std::size_t taken = 0;
            if (m_bytes[at] == 0)
                taken = Wide(at, Encoding::Utf16Big);
            else if (at + 1 < m_bytes.size() && m_bytes[at + 1] == 0)
                taken = Wide(at, Encoding::Utf16Little);
            if (taken == 0 && m_bytes[at] != 0) taken = Narrow(at);
            at += std::max<std::size_t>(taken, 1);
            if (m_result.isTruncated) break;
        }
        return std::move(m_result);
    }

  private:
    void Add(std::size_t at, std::size_t size, Encoding encoding, std::string text) {
        if (m_result.strings.size() >= kMaxStrings) {
            m_result.isTruncated = true;
            return;
        }
        PrintableString found;
        found.offset = at;
        found.size = size;
        found.encoding = encoding;
        found.text = ShortenText(text, kMaxStringText);
        found.isShortened = found.text.size() < text.size();
        m_result.strings.push_back(std::move(found));
    }

    // Bytes of the run from `at` on, reported when it is long enough.
    std::size_t Narrow(std::size_t at) {
        std::size_t position = at, characters = 0;
        std::uint32_t lead = 0xC3;  // of the letters of western languages
        while (position < m_bytes.size()) {
            const std::uint32_t byte = m_bytes[position];
            const std::size_t length = IsPlain(m_bytes[position]) ? 1
                                       : byte < 0x80              ? 0
                                                                  : Utf8Length(m_bytes, position);
            if (length == 0) break;
            // Random bytes form sequences of two bytes often; those of one language lie close together.
            const bool isChance = length == 2 && byte != 0xC3 && (byte > lead + 1 || lead > byte + 1);
            if (length == 2) lead = byte;
            position += length;
            if (!isChance) ++characters;
        }
        // The last letter may be the first one of a wide text.
        if (position < m_bytes.size() && m_bytes[position] == 0 && position - at > 1 &&
            position + 2 < m_bytes.size() && IsPlain(m_bytes[position + 1]) && m_bytes[position + 2] == 0) {
            --position;
            if (characters > 0) --characters;
        }
        if (characters >= m_minimum) {
            const std::size_t shown = std::min(position - at, kMaxStringText + 8);
            std::string text = TextOf(m_bytes.subspan(at, position - at));
            if (position - at > shown) text = ShortenText(text, shown);
            Add(at, position - at, Encoding::Bytes, std::move(text));
        }
        return position - at;
    }

    // The same for two bytes a character; 0 when the run is too short, so that its bytes are looked at singly.
    std::size_t Wide(std::size_t at, Encoding encoding) {
        std::size_t position = at, characters = 0;
        std::string text;
        while (position + 1 < m_bytes.size()) {
            const std::uint32_t code =
                encoding == Encoding::Utf16Little ? Little16(m_bytes, position) : Big16(m_bytes, position);
            if (!IsWide(code)) break;
            if (text.size() <= kMaxStringText) AppendUtf8(text, code);
            position += 2;
            ++characters;
        }
        if (characters < std::max<std::size_t>(m_minimum, 3)) return 0;
        Add(at, position - at, encoding, std::move(text));
        return position - at;
    }

    ByteSpan m_bytes;
    std::size_t m_minimum;
    const std::function<void(double)>& m_progress;
    PrintableStrings m_result;
};

}  // namespace

PrintableStrings FindPrintableStrings(std::span<const std::uint8_t> bytes, std::size_t minimumLength,
                                      const std::function<void(double)>& progress) {
    return Finder(bytes, minimumLength, progress).Run();
}

std::string StringEncodingText(PrintableString::Encoding encoding) {
    switch (encoding) {
        case Encoding::Utf16Little:
            return "UTF-16 LE";
        case Encoding::Utf16Big:
            return "UTF-16 BE";
        case Encoding::Bytes:
            break;
    }
    return "8 bit";
}
