#include "orvcore/formats/printablestrings.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

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

// What can be part of a text at all, told by a byte's two neighbours on either side: plain letters, bytes of whole UTF-8 sequences (checked
// here only as far as lead and continuation go), and letters beside zeros. Every text lies in a run of such bytes, and whatever came
// before, the search comes by every byte that is none: so short runs can be passed over, and long ones be looked at on their own.
// A plain expression without branches, so that the compiler works on 16 bytes at once.
inline std::uint8_t MayBeText(std::uint8_t before2, std::uint8_t before, std::uint8_t byte,
                              std::uint8_t next) {
    const auto isBetween = [](std::uint8_t value, std::uint8_t low, std::uint8_t high) {
        return static_cast<std::uint8_t>(static_cast<std::uint8_t>(value - low) <=
                                         static_cast<std::uint8_t>(high - low));
    };
    const auto isZero = [](std::uint8_t value) { return static_cast<std::uint8_t>(value == 0); };
    const std::uint8_t isPlain = isBetween(byte, 0x20, 0x7E) | static_cast<std::uint8_t>(byte == '\t');
    const std::uint8_t isLead = isBetween(byte, 0xC3, 0xEF) & isBetween(next, 0x80, 0xBF);
    const std::uint8_t isTail =
        isBetween(byte, 0x80, 0xBF) &
        (isBetween(before, 0xC3, 0xEF) | (isBetween(before, 0x80, 0xBF) & isBetween(before2, 0xE0, 0xEF)));
    const std::uint8_t isWide = (isZero(byte) ^ isZero(before)) | (isZero(byte) ^ isZero(next));
    return isPlain | isLead | isTail | isWide;
}

class Finder {
  public:
    Finder(ByteSpan bytes, std::size_t minimum, const std::function<void(double)>& progress)
        : m_bytes(bytes),
          m_minimum(std::max<std::size_t>(minimum, 1)),
          m_window(std::min(m_minimum, kLongestWindow)),
          m_progress(progress) {}

    PrintableStrings Run() {
        std::size_t at = 0;
        while (at < m_bytes.size() && !m_result.isTruncated) {
            at = NextRun(at);
            while (at < m_bytes.size() && !m_result.isTruncated && MayBeTextAt(at)) at += Step(at);
        }
        return std::move(m_result);
    }

  private:
    static constexpr std::size_t kBlock = std::size_t{1} << 14;
    static constexpr std::size_t kLongestWindow = 16;
    static constexpr std::uint8_t kNeverText = 0xFF;  // stands in front of the file and behind it

    void Tick(std::size_t at) {
        if (at < m_nextTick) return;
        if (m_progress) m_progress(static_cast<double>(at) / static_cast<double>(m_bytes.size()));
        m_nextTick = at + kTick;
    }

    std::uint8_t ByteOr(std::size_t at) const { return at < m_bytes.size() ? m_bytes[at] : kNeverText; }
    bool MayBeTextAt(std::size_t at) const {
        return MayBeText(ByteOr(at - 2), ByteOr(at - 1), m_bytes[at], ByteOr(at + 1)) != 0;
    }

    // The start of the next run of at least m_window bytes that may be text; the end where there is none. What is in front of `from` is
    // no part of it.
    std::size_t NextRun(std::size_t from) {
        while (from < m_bytes.size()) {
            Tick(from);
            if (from - m_blockStart >= m_places) {
                // A run that a block's end cuts is looked at again as a whole.
                std::size_t end = m_count;
                while (end > 0 && m_map[end - 1] != 0) --end;
                LookAt(std::max(from, m_blockStart + end));
                from = std::max(from, m_blockStart);
                if (m_places == 0) break;
            }
            const std::size_t first = from - m_blockStart;
            const void* hit = std::memchr(m_runs.data() + first, 1, m_places - first);
            if (hit != nullptr)
                return m_blockStart +
                       static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - m_runs.data());
            if (m_blockStart + m_count == m_bytes.size()) break;
            from = m_blockStart + m_places;
        }
        return m_bytes.size();
    }

    // Makes the block that starts there the one that is searched.
    void LookAt(std::size_t from) {
        m_blockStart = from;
        m_count = std::min(kBlock, m_bytes.size() - from);
        m_places = m_count < m_window ? 0 : m_count - m_window + 1;
        Classify(from, m_count);
        Erode(m_places);
    }

    void Classify(std::size_t from, std::size_t count) {
        std::uint8_t* copy = m_copy.data();
        copy[0] = ByteOr(from - 2);
        copy[1] = ByteOr(from - 1);
        std::memcpy(copy + 2, m_bytes.data() + from, count);
        copy[count + 2] = ByteOr(from + count);
        std::uint8_t* map = m_map.data();
        for (std::size_t i = 0; i < count; ++i)
            map[i] = MayBeText(copy[i], copy[i + 1], copy[i + 2], copy[i + 3]);
    }

    // m_runs[i]: whether m_window bytes from i on may all be text, by doubling.
    void Erode(std::size_t places) {
        if (places == 0) return;
        std::uint8_t* runs = m_runs.data();
        std::memcpy(runs, m_map.data(), places + m_window - 1);
        for (std::size_t have = 1; have < m_window;) {
            const std::size_t more = std::min(have, m_window - have);
            const std::size_t length = places + m_window - have - more;
            for (std::size_t i = 0; i < length; ++i) runs[i] = runs[i] & runs[i + more];
            have += more;
        }
    }

    // Looks for a text at one place; says how far to go on.
    std::size_t Step(std::size_t at) {
        Tick(at);
        // A wide text is tried first: seen byte by byte it is only single letters.
        std::size_t taken = 0;
        if (m_bytes[at] == 0)
            taken = Wide(at, Encoding::Utf16Big);
        else if (at + 1 < m_bytes.size() && m_bytes[at + 1] == 0)
            taken = Wide(at, Encoding::Utf16Little);
        if (taken == 0 && m_bytes[at] != 0) taken = Narrow(at);
        return std::max<std::size_t>(taken, 1);
    }

    void Add(std::size_t at, std::size_t size, Encoding encoding, std::string text) {
        if (m_result.strings.size() >= kMaxStrings) {
            m_result.isTruncated = true;
            return;
        }
        PrintableString found;
        found.offset = at;
        found.size = size;
        found.encoding = encoding;
        found.isShortened = text.size() > kMaxStringText;
        found.text = found.isShortened ? ShortenText(text, kMaxStringText) : std::move(text);
        m_result.strings.push_back(std::move(found));
    }

    // Bytes of the run from `at` on, reported when it is long enough.
    std::size_t Narrow(std::size_t at) {
        std::size_t position = at, characters = 0;
        std::uint32_t lead = 0xC3;  // of the letters of western languages
        while (position < m_bytes.size()) {
            Tick(position);
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
        if (characters >= m_minimum)
            Add(at, position - at, Encoding::Bytes,
                TextOf(m_bytes.subspan(at, std::min(position - at, kMaxStringText + 8))));
        return position - at;
    }

    // The same for two bytes a character; 0 when the run is too short, so that its bytes are looked at singly.
    std::size_t Wide(std::size_t at, Encoding encoding) {
        // Within a run that was too short every later start is, too.
        std::size_t& tooShortUntil = m_tooShortUntil[encoding == Encoding::Utf16Little ? 0 : 1][at % 2];
        if (at < tooShortUntil) return 0;
        std::size_t position = at, characters = 0;
        std::string text;
        while (position + 1 < m_bytes.size()) {
            Tick(position);
            const std::uint32_t code =
                encoding == Encoding::Utf16Little ? Little16(m_bytes, position) : Big16(m_bytes, position);
            if (!IsWide(code)) break;
            if (text.size() <= kMaxStringText) AppendUtf8(text, code);
            position += 2;
            ++characters;
        }
        if (characters < std::max<std::size_t>(m_minimum, 3)) {
            tooShortUntil = position;
            return 0;
        }
        Add(at, position - at, encoding, std::move(text));
        return position - at;
    }

    ByteSpan m_bytes;
    std::size_t m_minimum;
    std::size_t m_window;  // every text has as many bytes at least
    const std::function<void(double)>& m_progress;
    std::size_t m_nextTick = 0;
    std::size_t m_blockStart = 0;
    std::size_t m_count = 0;                                      // bytes of the block
    std::size_t m_places = 0;                                     // of them, where a run may begin
    std::array<std::array<std::size_t, 2>, 2> m_tooShortUntil{};  // by byte order, and by even or odd place
    std::array<std::uint8_t, kBlock + 3> m_copy{};
    std::array<std::uint8_t, kBlock> m_map{};
    std::array<std::uint8_t, kBlock> m_runs{};
    PrintableStrings m_result;
};

}  // namespace

PrintableStrings FindPrintableStrings(std::span<const std::uint8_t> bytes, std::size_t minimumLength,
                                      const std::function<void(double)>& progress) {
    return std::make_unique<Finder>(bytes, minimumLength, progress)->Run();
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
