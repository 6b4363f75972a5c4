#include "orvcore/formats/jpegtables/jpegtables.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "orvcore/formats/jpegwalk.h"

namespace {

// The typical tables of the standard, K.3: counts of codes by length and, for DC, symbols 0..11 in order.
constexpr std::array<std::uint8_t, 16> kDcLuminance = {0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
constexpr std::array<std::uint8_t, 16> kDcChrominance = {0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0};
constexpr std::array<std::uint8_t, 16> kAcLuminance = {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7D};
constexpr std::array<std::uint8_t, 16> kAcChrominance = {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 0x77};

// The symbols of the short codes; what follows are all others by growing value.
constexpr std::uint8_t kAcLuminanceHead[] = {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31,
                                             0x41, 0x06, 0x13, 0x51, 0x61, 0x07, 0x22, 0x71, 0x14, 0x32,
                                             0x81, 0x91, 0xA1, 0x08, 0x23, 0x42, 0xB1, 0xC1, 0x15, 0x52,
                                             0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72, 0x82};
constexpr std::uint8_t kAcChrominanceHead[] = {
    0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
    0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33,
    0x52, 0xF0, 0x15, 0x62, 0x72, 0xD1, 0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1};

// What a baseline AC scan of 8 bits can ask for: runs 0..15 with sizes 1..10, end of block, sixteen zeros.
std::set<std::uint8_t> AllAcSymbols() {
    std::set<std::uint8_t> all = {0x00, 0xF0};
    for (int run = 0; run < 16; ++run)
        for (int size = 1; size <= 10; ++size) all.insert(static_cast<std::uint8_t>(run * 16 + size));
    return all;
}

template <std::size_t N>
std::vector<std::uint8_t> WithTheRest(const std::uint8_t (&head)[N]) {
    std::vector<std::uint8_t> symbols(head, head + N);
    std::set<std::uint8_t> rest = AllAcSymbols();
    for (const std::uint8_t symbol : symbols) rest.erase(symbol);
    symbols.insert(symbols.end(), rest.begin(), rest.end());
    return symbols;
}

struct Typical {
    const char* name;
    JpegHuffmanTable table;
};

const std::vector<Typical>& TypicalTables() {
    static const std::vector<Typical> tables = [] {
        std::vector<std::uint8_t> dc;
        for (std::uint8_t i = 0; i < 12; ++i) dc.push_back(i);
        const auto make = [](int kind, const std::array<std::uint8_t, 16>& counts,
                             const std::vector<std::uint8_t>& symbols) {
            return JpegHuffmanTable{kind, 0, {counts.begin(), counts.end()}, symbols};
        };
        return std::vector<Typical>{
            {"luminance DC", make(0, kDcLuminance, dc)},
            {"chrominance DC", make(0, kDcChrominance, dc)},
            {"luminance AC", make(1, kAcLuminance, WithTheRest(kAcLuminanceHead))},
            {"chrominance AC", make(1, kAcChrominance, WithTheRest(kAcChrominanceHead))}};
    }();
    return tables;
}

// Codes of growing length must fit into the tree, and the one of all ones is not allowed (C.2).
bool IsValidCode(const JpegHuffmanTable& table) {
    if (table.counts.size() != 16) return false;
    std::size_t used = 0, total = 0;
    for (std::size_t length = 0; length < 16; ++length) {
        used = 2 * used + table.counts[length];
        total += table.counts[length];
        if (used > (std::size_t{2} << length) - 1) return false;
    }
    return total > 0 && total == table.symbols.size() &&
           std::set<std::uint8_t>(table.symbols.begin(), table.symbols.end()).size() == total;
}

class Reader {
  public:
    Reader(ByteSpan bytes, const JpegStructure& structure) : m_bytes(bytes), m_structure(structure) {}

    JpegTables Run() {
        using namespace jpegmarker;
        const std::uint8_t frame = m_structure.frame.marker;
        m_result.isArithmetic = frame >= 0xC9 && frame <= 0xCF && frame != kDac;
        for (const JpegSegment& segment : m_structure.segments) {
            const ByteSpan payload = Slice(m_bytes, segment.PayloadOffset(), segment.PayloadSize());
            if (segment.marker == kDqt) ReadQuantization(segment, payload);
            if (segment.marker == kDht) ReadHuffman(segment, payload);
            if (segment.marker == kSos && ScanHeaderFits(payload)) ReadScan(payload);
        }
        for (QuantizationTableUse& use : m_result.quantization)
            use.origin = FindQuantizationOrigin(use.table, RoleOf(use));
        m_result.setText = DescribeSet();
        return std::move(m_result);
    }

  private:
    void ReadQuantization(const JpegSegment& segment, ByteSpan payload) {
        std::size_t at = 0;
        while (at < payload.size() && m_next < m_structure.quantizationTables.size()) {
            const std::size_t size = 1 + (payload[at] >> 4 == 0 ? 64 : 128);
            if (payload.size() - at < size || payload[at] >> 4 > 1 || (payload[at] & 15) > 3) return;
            QuantizationTableUse use;
            use.table = m_structure.quantizationTables[m_next++];
            use.offset = segment.PayloadOffset() + at;
            const auto before = m_quantization.find(use.table.id);
            use.isRedefined = before != m_quantization.end();
            use.isRepeated = use.isRedefined && m_result.quantization[before->second].table == use.table;
            m_quantization[use.table.id] = m_result.quantization.size();
            m_result.quantization.push_back(std::move(use));
            at += size;
        }
    }

    void ReadHuffman(const JpegSegment& segment, ByteSpan payload) {
        std::size_t at = 0;
        while (payload.size() - at >= 17 && m_nextHuffman < m_structure.huffmanTables.size()) {
            std::size_t total = 0;
            for (std::size_t i = 1; i <= 16; ++i) total += payload[at + i];
            if (payload[at] >> 4 > 1 || (payload[at] & 15) > 3 || total > 256 ||
                total > payload.size() - at - 17)
                return;
            HuffmanTableUse use;
            use.table = m_structure.huffmanTables[m_nextHuffman++];
            use.offset = segment.PayloadOffset() + at;
            use.family = FindHuffmanFamily(use.table, &use.standardName);
            const int key = use.table.tableClass * 4 + use.table.id;
            const auto before = m_huffman.find(key);
            use.isRedefined = before != m_huffman.end();
            use.isRepeated = use.isRedefined && m_result.huffman[before->second].table == use.table;
            m_huffman[key] = m_result.huffman.size();
            m_result.huffman.push_back(std::move(use));
            at += 17 + total;
        }
    }

    void ReadScan(ByteSpan payload) {
        const std::size_t count = payload[0];
        const std::uint32_t first = payload[1 + 2 * count], last = payload[2 + 2 * count];
        const std::uint32_t high = payload[3 + 2 * count] >> 4;
        const std::uint8_t frame = m_structure.frame.marker;
        const bool isProgressive = frame == 0xC2 || frame == 0xC6 || frame == 0xCA || frame == 0xCE;
        std::set<std::size_t> used;
        for (std::size_t i = 0; i < count; ++i) {
            const int id = payload[1 + 2 * i];
            const int tables = payload[2 + 2 * i];
            UseQuantization(id);
            if (m_result.isArithmetic) continue;
            // A progressive scan reads either DC or AC, and none where it only adds a bit to DC (G.1.2.1).
            const bool readsDc = !isProgressive || (first == 0 && high == 0);
            const bool readsAc = isProgressive ? first > 0 : last > 0;
            if (readsDc) Select(0, tables >> 4, used);
            if (readsAc) Select(1, tables & 15, used);
        }
        for (const std::size_t index : used) ++m_result.huffman[index].uses;
    }

    void UseQuantization(int id) {
        for (const JpegComponent& component : m_structure.frame.components) {
            if (component.id != id) continue;
            const auto found = m_quantization.find(component.table);
            if (found == m_quantization.end()) return;
            std::vector<int>& users = m_result.quantization[found->second].components;
            if (std::find(users.begin(), users.end(), id) == users.end()) users.push_back(id);
        }
    }

    void Select(int kind, int id, std::set<std::size_t>& used) const {
        const auto found = m_huffman.find(kind * 4 + id);
        if (found != m_huffman.end()) used.insert(found->second);
    }

    // 0 for the table of the first component, 1 for others; by its number where nothing uses it.
    int RoleOf(const QuantizationTableUse& use) const {
        const auto& components = m_structure.frame.components;
        if (use.components.empty() || components.empty()) return use.table.id == 0 ? 0 : 1;
        return use.components[0] == components[0].id ? 0 : 1;
    }

    std::string DescribeSet() const {
        const auto& tables = m_result.quantization;
        if (tables.empty()) return {};
        if (!std::all_of(tables.begin(), tables.end(), [](const QuantizationTableUse& use) {
                return use.origin.family == QuantizationFamily::Standard;
            }))
            return "own";
        if (std::any_of(tables.begin(), tables.end(), [&](const QuantizationTableUse& use) {
                return use.origin.quality.quality != tables[0].origin.quality.quality;
            }))
            return "standard, with different qualities";
        if (tables.size() == 3 && tables[1].table.values == tables[2].table.values)
            return "extended standard";
        return "standard";
    }

    ByteSpan m_bytes;
    const JpegStructure& m_structure;
    JpegTables m_result;
    std::size_t m_next = 0;
    std::size_t m_nextHuffman = 0;
    std::map<int, std::size_t> m_quantization;  // by number, the one in force
    std::map<int, std::size_t> m_huffman;       // by class and number
};

}  // namespace

JpegTables ReadJpegTables(ByteSpan bytes, const JpegStructure& structure) {
    return Reader(bytes, structure).Run();
}

HuffmanFamily FindHuffmanFamily(const JpegHuffmanTable& table, std::string* standardName) {
    for (const Typical& typical : TypicalTables())
        if (typical.table.tableClass == table.tableClass && typical.table.counts == table.counts &&
            typical.table.symbols == table.symbols) {
            if (standardName != nullptr) *standardName = typical.name;
            return HuffmanFamily::Standard;
        }
    if (!IsValidCode(table)) return HuffmanFamily::Damaged;
    const std::set<std::uint8_t> symbols(table.symbols.begin(), table.symbols.end());
    std::set<std::uint8_t> needed;
    if (table.tableClass == 1) {
        needed = AllAcSymbols();
    } else {
        for (std::uint8_t i = 0; i < 12; ++i) needed.insert(i);
    }
    const bool isComplete = std::includes(symbols.begin(), symbols.end(), needed.begin(), needed.end());
    return isComplete ? HuffmanFamily::Complete : HuffmanFamily::Optimised;
}

std::string HuffmanFamilyText(HuffmanFamily family) {
    switch (family) {
        case HuffmanFamily::Standard:
            return "standard";
        case HuffmanFamily::Complete:
            return "own, complete";
        case HuffmanFamily::Optimised:
            return "optimised";
        case HuffmanFamily::Damaged:
            break;
    }
    return "damaged";
}
