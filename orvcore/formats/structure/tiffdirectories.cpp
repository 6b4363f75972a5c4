#include "orvcore/formats/structure/tiffdirectories.h"

#include <algorithm>
#include <bit>
#include <map>
#include <set>

#include "orvcore/formats/structure/structurewriter.h"
#include "zorbase/text.h"

namespace {

struct Pointer {
    std::uint64_t offset;
    std::string name;
    TiffDirectoryKind kind;
    bool isChain;  // its own pointer to a next directory counts
};

class Reader {
  public:
    explicit Reader(ByteSpan bytes) : m_bytes(bytes) {}

    TiffDirectories Run() {
        if (!ReadHeader()) return std::move(m_result);
        const std::uint64_t first = Get(m_result.isBig ? 8 : 4, Wide());
        // An index of pictures is the one structure whose first directory is not an image's.
        m_queue.push_back({first, "IFD0", TiffDirectoryKind::Image, true});
        for (std::size_t i = 0; i < m_queue.size(); ++i) {
            if (m_result.directories.size() >= kMaxTiffDirectories || m_entries >= kMaxTiffEntries) {
                m_result.warnings.insert(m_result.warnings.begin(),
                                         "There are too many directories; the rest is not read.");
                break;
            }
            const Pointer pointer = m_queue[i];
            ReadDirectory(pointer);
        }
        return std::move(m_result);
    }

  private:
    std::size_t Wide() const { return m_result.isBig ? 8 : 4; }
    std::uint64_t Get(std::size_t at, std::size_t size) const { return m_result.Number(m_bytes, at, size); }

    bool ReadHeader() {
        m_result.little = StartsWith(m_bytes, 0, "II", 2);
        if (!m_result.little && !StartsWith(m_bytes, 0, "MM", 2)) return false;
        m_result.magic = static_cast<std::uint32_t>(Get(2, 2));
        m_result.isBig = m_result.magic == 43;
        m_result.headerSize = m_result.isBig ? 16 : 8;
        // 42 and 43 by the standard; makers of cameras have their own.
        static constexpr std::uint32_t kMagics[] = {42, 43, 0x55, 0x4F52, 0x5352};
        m_result.isTiff =
            m_bytes.size() >= m_result.headerSize &&
            std::find(std::begin(kMagics), std::end(kMagics), m_result.magic) != std::end(kMagics);
        if (m_result.isBig && Get(4, 2) != 8) m_result.isTiff = false;
        return m_result.isTiff;
    }

    // A few tell as much as thousands of the same kind.
    void Warn(const std::string& text) {
        if (m_result.warnings.size() < 8) m_result.warnings.push_back(text);
    }

    void ReadDirectory(const Pointer& pointer) {
        if (pointer.offset == 0) return;
        if (pointer.offset >= m_bytes.size()) {
            Warn(pointer.name + " would lie outside the file, at offset " + std::to_string(pointer.offset) +
                 ".");
            return;
        }
        const std::size_t at = static_cast<std::size_t>(pointer.offset);
        if (!m_seen.insert(at).second) {
            m_result.warnings.push_back(pointer.name +
                                        " points at a directory that was read before (offset " +
                                        std::to_string(at) + "): a loop.");
            return;
        }
        const std::size_t countSize = m_result.isBig ? 8 : 2;
        const std::size_t entrySize = m_result.isBig ? 20 : 12;
        const std::uint64_t stated = Get(at, countSize);
        const std::size_t room = (m_bytes.size() - at) / entrySize;
        std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(stated, room));
        while (count > 0 && at + countSize + count * entrySize > m_bytes.size()) --count;
        TiffDirectory directory;
        directory.name = pointer.name;
        directory.kind = pointer.kind;
        directory.offset = at;
        if (count < stated)
            directory.warning = "It states " +
                                CountText(static_cast<std::size_t>(stated), "entry", "entries") +
                                ", of which " + std::to_string(count) + " lie in the file.";
        if (count == 0 && stated == 0) directory.warning = "It has no entries.";
        count = std::min(count, kMaxTiffEntries - m_entries);
        m_entries += count;
        for (std::size_t i = 0; i < count; ++i)
            directory.entries.push_back(ReadEntry(at + countSize + i * entrySize));
        if (pointer.offset != 0 && !directory.entries.empty() && directory.entries[0].tag == 0xB000)
            directory.kind = TiffDirectoryKind::MultiPicture;
        const std::size_t nextAt = at + countSize + count * entrySize;
        directory.size = std::min(m_bytes.size() - at, countSize + count * entrySize + Wide());
        // Bytes that are already another directory, or the header, are no second one.
        if (const std::string other = Overlapped(at, at + directory.size); !other.empty()) {
            Warn(pointer.name + " at offset " + std::to_string(at) + " would lie over " + other +
                 "; it is not read.");
            return;
        }
        m_ranges[at] = {at + directory.size, pointer.name};
        CheckOrder(directory);
        Follow(directory);
        if (pointer.isChain && count == stated && nextAt + Wide() <= m_bytes.size()) {
            const std::uint64_t next = Get(nextAt, Wide());
            if (next != 0)
                m_queue.push_back({next, "IFD" + std::to_string(++m_chain), TiffDirectoryKind::Image, true});
        } else if (pointer.isChain && nextAt + Wide() > m_bytes.size()) {
            directory.warning += std::string(directory.warning.empty() ? "" : " ") +
                                 "The pointer to the next directory lies outside the file.";
        }
        m_result.directories.push_back(std::move(directory));
    }

    // Name of what was read before and shares bytes with this range, "" when there is nothing.
    std::string Overlapped(std::size_t begin, std::size_t end) const {
        if (begin < m_result.headerSize) return "the header";
        auto next = m_ranges.lower_bound(begin);
        if (next != m_ranges.end() && next->first < end) return next->second.name;
        if (next == m_ranges.begin()) return {};
        --next;
        return next->second.end > begin ? next->second.name : std::string();
    }

    TiffEntry ReadEntry(std::size_t at) const {
        TiffEntry entry;
        entry.entryOffset = at;
        entry.tag = static_cast<std::uint32_t>(Get(at, 2));
        entry.type = static_cast<std::uint32_t>(Get(at + 2, 2));
        entry.count = Get(at + 4, Wide());
        const std::size_t fieldAt = at + 4 + Wide();
        const std::size_t unit = TiffTypeSize(entry.type);
        if (unit == 0) {
            entry.warning = "The type " + std::to_string(entry.type) + " is unknown.";
            entry.isInline = true;
            entry.valueOffset = fieldAt;
            return entry;
        }
        // Beyond this count no value fits into memory, and the product below stays within 64 bits.
        const bool isHuge = entry.count > m_bytes.size() / unit;
        const std::uint64_t size = isHuge ? 0 : entry.count * unit;
        entry.isInline = !isHuge && size <= Wide();
        const std::uint64_t offset = entry.isInline ? fieldAt : Get(fieldAt, Wide());
        if (isHuge || offset > m_bytes.size() || size > m_bytes.size() - offset) {
            entry.warning = "The value would lie outside the file.";
            entry.valueOffset = static_cast<std::size_t>(std::min<std::uint64_t>(offset, m_bytes.size()));
            return entry;
        }
        entry.valueOffset = static_cast<std::size_t>(offset);
        entry.valueSize = static_cast<std::size_t>(size);
        return entry;
    }

    static void CheckOrder(TiffDirectory& directory) {
        const auto less = [](const TiffEntry& a, const TiffEntry& b) { return a.tag < b.tag; };
        if (!std::is_sorted(directory.entries.begin(), directory.entries.end(), less))
            directory.warning += std::string(directory.warning.empty() ? "" : " ") +
                                 "The entries are not in the order of their numbers.";
    }

    void Follow(const TiffDirectory& directory) {
        for (const TiffEntry& entry : directory.entries) {
            if (!entry.warning.empty()) continue;
            const bool isPointer = entry.type == 4 || entry.type == 13 || entry.type == 9 ||
                                   entry.type == 16 || entry.type == 18;
            if (!isPointer) continue;
            if (entry.tag == 0x8769)
                Push(entry, "Exif IFD", TiffDirectoryKind::Exif);
            else if (entry.tag == 0x8825)
                Push(entry, "GPS IFD", TiffDirectoryKind::Gps);
            else if (entry.tag == 0xA005)
                Push(entry, "Interoperability IFD", TiffDirectoryKind::Interoperability);
            else if (entry.tag == 0x014A || entry.type == 13 || entry.type == 18)
                for (const std::uint64_t offset : TiffNumbers(m_result, m_bytes, entry, 64))
                    m_queue.push_back(
                        {offset, "SubIFD " + std::to_string(++m_sub), TiffDirectoryKind::Image, false});
        }
    }

    void Push(const TiffEntry& entry, const char* name, TiffDirectoryKind kind) {
        const auto offsets = TiffNumbers(m_result, m_bytes, entry, 1);
        if (!offsets.empty()) m_queue.push_back({offsets[0], name, kind, false});
    }

    ByteSpan m_bytes;
    TiffDirectories m_result;
    std::vector<Pointer> m_queue;
    struct Range {
        std::size_t end;
        std::string name;
    };
    std::map<std::size_t, Range> m_ranges;  // of the directories that were read, by their begin
    std::set<std::size_t> m_seen;
    std::size_t m_entries = 0;
    int m_chain = 0;
    int m_sub = 0;
};

std::string OneValue(const TiffDirectories& tiff, ByteSpan bytes, std::uint32_t type, std::size_t at) {
    const std::size_t size = TiffTypeSize(type);
    const auto number = [&](std::size_t offset, std::size_t width) {
        return tiff.Number(bytes, offset, width);
    };
    switch (type) {
        case 5:
            return std::to_string(number(at, 4)) + "/" + std::to_string(number(at + 4, 4));
        case 10:
            return std::to_string(static_cast<std::int32_t>(number(at, 4))) + "/" +
                   std::to_string(static_cast<std::int32_t>(number(at + 4, 4)));
        case 6:
            return std::to_string(static_cast<std::int8_t>(number(at, 1)));
        case 8:
            return std::to_string(static_cast<std::int16_t>(number(at, 2)));
        case 9:
            return std::to_string(static_cast<std::int32_t>(number(at, 4)));
        case 17:
            return std::to_string(static_cast<std::int64_t>(number(at, 8)));
        case 11:
            return ToString(
                static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(number(at, 4)))));
        case 12:
            return ToString(std::bit_cast<double>(number(at, 8)));
        default:
            return std::to_string(number(at, size));
    }
}

}  // namespace

std::uint64_t TiffDirectories::Number(ByteSpan bytes, std::size_t at, std::size_t size) const {
    return NumberAt(bytes, at, size, little ? ByteOrder::Little : ByteOrder::Big);
}

TiffDirectories ReadTiffDirectories(ByteSpan tiff) {
    return Reader(tiff).Run();
}

const TiffEntry* FindTiffEntry(const TiffDirectory& directory, std::uint32_t tag) {
    for (const TiffEntry& entry : directory.entries)
        if (entry.tag == tag) return &entry;
    return nullptr;
}

std::vector<std::uint64_t> TiffNumbers(const TiffDirectories& tiff, ByteSpan bytes, const TiffEntry& entry,
                                       std::size_t maximum) {
    std::vector<std::uint64_t> numbers;
    const std::size_t size = TiffTypeSize(entry.type);
    if (size == 0 || entry.type == 2 || entry.type == 5 || (entry.type >= 10 && entry.type <= 12))
        return numbers;
    const std::size_t count = std::min(entry.valueSize / size, maximum);
    numbers.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        numbers.push_back(tiff.Number(bytes, entry.valueOffset + i * size, size));
    return numbers;
}

std::string TiffValueText(const TiffDirectories& tiff, ByteSpan bytes, const TiffEntry& entry) {
    const std::size_t size = TiffTypeSize(entry.type);
    if (size == 0 || entry.valueSize == 0) return {};
    const ByteSpan value = Slice(bytes, entry.valueOffset, entry.valueSize);
    if (entry.type == 2) return "\"" + FieldText(value) + "\"";
    if (entry.type == 7 && value.size() >= 4) {
        // Versions are four digits, comments start with their character code.
        const bool isText = std::all_of(value.begin(), value.begin() + 4,
                                        [](std::uint8_t b) { return b >= 0x20 && b < 0x7F; });
        return isText ? "\"" + FieldText(value, 40) + "\"" : CountText(value.size(), "byte", "bytes");
    }
    const std::size_t count = entry.valueSize / size;
    constexpr std::size_t kShown = 8;
    std::string text = count > kShown ? std::to_string(count) + " values: " : "";
    for (std::size_t i = 0; i < std::min(count, kShown); ++i)
        text += (i == 0 ? "" : ", ") + OneValue(tiff, bytes, entry.type, entry.valueOffset + i * size);
    return text + (count > kShown ? "…" : "");
}
