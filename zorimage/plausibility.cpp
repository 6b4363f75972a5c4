#include "zorimage/plausibility.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <vector>

#include "zorimage/codec.h"

namespace {

constexpr std::size_t kMaxDepth = 24;
constexpr std::size_t kMaxBoxes = 100000;
constexpr std::size_t kMaxDirectories = 1000;
constexpr std::uint64_t kFreeMemory = std::uint64_t{576} << 20;
constexpr std::uint64_t kMemoryPerByte = 64;

// Boxes that hold boxes, whatever reader looks into them, and how many bytes stand before the first.
struct Container {
    std::string_view name;
    std::size_t head;
};
constexpr std::array kContainers = {
    Container{"meta", 4},  Container{"moov", 0}, Container{"trak", 0}, Container{"mdia", 0},
    Container{"minf", 0},  Container{"stbl", 0}, Container{"dinf", 0}, Container{"iprp", 0},
    Container{"ipco", 0},  Container{"jp2h", 0}, Container{"uinf", 0}, Container{"udta", 0},
    Container{"edts", 0},  Container{"moof", 0}, Container{"traf", 0}, Container{"mvex", 0},
    Container{"sinf", 0},  Container{"schi", 0}, Container{"grpl", 0}, Container{"jumb", 0},
    Container{"iinf", 0},  Container{"iref", 4}, Container{"asoc", 0}, Container{"res ", 0},
    Container{"uuid", 16}, Container{"dref", 8}, Container{"stsd", 8}};

const Container* FindContainer(ByteSpan bytes, std::size_t at) {
    for (const Container& container : kContainers)
        if (codec::HasText(bytes, at, container.name)) return &container;
    return nullptr;
}

// Without recursion: the ends of the boxes that lie around the place.
std::string BoxProblem(ByteSpan bytes) {
    std::vector<std::size_t> ends = {bytes.size()};
    std::size_t boxes = 0;
    for (std::size_t at = 0; !ends.empty();) {
        std::size_t body = 0;
        std::size_t boxEnd = 0;
        if (at >= ends.back() || !codec::ReadBox(bytes, at, ends.back(), body, boxEnd)) {
            at = ends.back();
            ends.pop_back();
            continue;
        }
        if (++boxes > kMaxBoxes)
            return "The file holds more than " + std::to_string(kMaxBoxes) + " boxes and was not read.";
        const Container* container = FindContainer(bytes, at + 4);
        if (container == nullptr) {
            at = boxEnd;
            continue;
        }
        if (ends.size() > kMaxDepth)
            return "The file's boxes are nested more than " + std::to_string(kMaxDepth) +
                   " deep; no sound file is built like this, and it was not read.";
        ends.push_back(boxEnd);
        at = body + container->head;
    }
    return {};
}

// Directories of a plain TIFF, each looked at once.
class Directories {
  public:
    // RW2 and ORF differ from TIFF in their signature only.
    static bool AreIn(ByteSpan bytes) {
        using namespace std::string_view_literals;
        for (const std::string_view start : {"II*\0"sv, "MM\0*"sv, "IIU\0"sv, "IIRO"sv, "IIRS"sv, "MMOR"sv})
            if (codec::HasText(bytes, 0, start)) return true;
        return false;
    }

    explicit Directories(ByteSpan bytes) : m_bytes(bytes), m_order(TiffByteOrder(bytes)) {}

    std::string Problem() {
        std::vector<std::size_t> waiting = {Get32(4)};
        m_end = waiting[0] + std::uint64_t{2};
        while (!waiting.empty()) {
            const std::size_t at = waiting.back();
            waiting.pop_back();
            if (at < 8 || at + 2 > m_bytes.size() || !m_seen.insert(at).second) continue;
            if (m_seen.size() > kMaxDirectories)
                return "The file holds more than " + std::to_string(kMaxDirectories) +
                       " directories and was not read.";
            if (std::string problem = Look(at, waiting); !problem.empty()) return problem;
        }
        return {};
    }

    // How far the picture data of all directories reach; to be asked after Problem.
    std::uint64_t End() const { return m_end; }

  private:
    std::uint32_t Get16(std::size_t at) const {
        return static_cast<std::uint32_t>(NumberAt(m_bytes, at, 2, m_order));
    }
    std::uint32_t Get32(std::size_t at) const {
        return static_cast<std::uint32_t>(NumberAt(m_bytes, at, 4, m_order));
    }

    std::string Look(std::size_t at, std::vector<std::size_t>& waiting) {
        const std::size_t count = Get16(at);
        // Behind the entries of the first one stands where the next is; writers leave that out of the others.
        m_end = std::max<std::uint64_t>(m_end, at + 2 + count * 12 + (at == Get32(4) ? 4 : 0));
        std::size_t offsets = 0;  // the entries that tell where strips or tiles stand
        std::size_t sizes = 0;
        std::uint64_t width = 0;
        std::uint64_t height = 0;
        std::uint64_t samples = 1;
        std::uint64_t bits = 8;
        std::uint64_t sensorData = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t entry = at + 2 + i * 12;
            if (entry + 12 > m_bytes.size()) break;
            const bool isShort = Get16(entry + 2) == 3;
            const std::uint32_t value = isShort ? Get16(entry + 8) : Get32(entry + 8);
            const std::uint32_t tag = Get16(entry);
            if (tag == 256) width = value;
            if (tag == 257) height = value;
            if (tag == 258 && Get32(entry + 4) == 1) bits = value;
            if (tag == 277) samples = value;
            if (tag == 273 || tag == 324) offsets = entry;
            if (tag == 279 || tag == 325) sizes = entry;
            // Panasonic's own place of the sensor data.
            if (tag == 280 && codec::HasText(m_bytes, 2, "U")) {
                sensorData = value;
                m_end = std::max<std::uint64_t>(m_end, value + std::uint64_t{1});
            }
            if (tag == 0x14a || tag == 0x8769 || tag == 0x8825 || tag == 0xa005) Follow(entry, waiting);
        }
        waiting.push_back(Get32(at + 2 + count * 12));
        if (offsets != 0 && sizes != 0) FollowData(offsets, sizes, sensorData);
        // Unpacked, what the directory describes passes through memory once, row by row: time counts, not only room.
        const double unpacked = static_cast<double>(width) * static_cast<double>(height) *
                                static_cast<double>(samples) * static_cast<double>((bits + 7) / 8);
        if (samples > 64 && unpacked > static_cast<double>(MemoryLimit(m_bytes.size())))
            return "The file says that its picture has " + std::to_string(width) + " x " +
                   std::to_string(height) + " pixels of " + std::to_string(samples) +
                   " samples each, which its " + std::to_string(m_bytes.size()) + " bytes cannot hold.";
        return {};
    }

    // The i-th of an entry's numbers.
    std::uint64_t Number(std::size_t entry, std::size_t i) const {
        const bool isShort = Get16(entry + 2) == 3;
        const std::size_t unit = isShort ? 2 : 4;
        const std::size_t count = Get32(entry + 4);
        const std::size_t start = unit * count <= 4 ? entry + 8 : Get32(entry + 8);
        const std::size_t at = start + unit * i;
        return isShort ? Get16(at) : Get32(at);
    }
    // sensorData: where a strip stands whose offset says only that it is told elsewhere; 0 not known.
    void FollowData(std::size_t offsets, std::size_t sizes, std::uint64_t sensorData) {
        constexpr std::uint64_t kElsewhere = 0xFFFFFFFF;
        const std::size_t count = std::min<std::size_t>({Get32(offsets + 4), Get32(sizes + 4), 65536});
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t size = Number(sizes, i);
            const std::uint64_t stated = Number(offsets, i);
            const std::uint64_t start = stated == kElsewhere ? sensorData : stated;
            if (size > 0 && start > 0) m_end = std::max(m_end, start + size);
        }
    }

    // One place, or a list of them elsewhere.
    void Follow(std::size_t entry, std::vector<std::size_t>& waiting) const {
        const std::size_t count = std::min<std::size_t>(Get32(entry + 4), 64);
        if (count <= 1) {
            waiting.push_back(Get32(entry + 8));
            return;
        }
        const std::size_t list = Get32(entry + 8);
        for (std::size_t i = 0; i < count; ++i) waiting.push_back(Get32(list + 4 * i));
    }

    ByteSpan m_bytes;
    ByteOrder m_order;
    std::set<std::size_t> m_seen;
    std::uint64_t m_end = 0;
};

std::string Missing(std::uint64_t stated, std::size_t there) {
    return "File ends early: by its headers it has at least " + std::to_string(stated) +
           " bytes, but there are " + std::to_string(there) +
           ". What is shown of the rest may be empty or invented.";
}

// The first box on the outermost level that claims more than there is, and where its end would be.
std::string CutBox(ByteSpan bytes) {
    for (std::size_t at = 0, boxes = 0; bytes.size() - at >= 8 && boxes < kMaxBoxes; ++boxes) {
        std::uint64_t length = Big32(bytes, at);
        if (length == 1 && bytes.size() - at >= 16) length = Big64(bytes, at + 8);
        if (length == 0) break;  // to the end, by the standard
        if (length < 8) break;
        if (length > bytes.size() - at) return Missing(at + length, bytes.size());
        at += static_cast<std::size_t>(length);
    }
    return {};
}

bool IsCodestreamCut(ByteSpan bytes) {
    using namespace std::string_view_literals;
    if (!codec::HasText(bytes, 0, "\xff\x4f\xff\x51"sv)) return false;
    // Some writers pad it.
    const std::size_t tail = std::min<std::size_t>(bytes.size(), 64);
    const std::string_view end(reinterpret_cast<const char*>(bytes.data() + bytes.size() - tail), tail);
    return end.find("\xff\xd9"sv) == std::string_view::npos;
}

}  // namespace

std::uint64_t MemoryLimit(std::uint64_t fileBytes) {
    return kFreeMemory + kMemoryPerByte * fileBytes;
}

std::string CutProblem(ByteSpan bytes) {
    using namespace std::string_view_literals;
    if (bytes.size() < 12) return {};
    const bool isJpeg2000 = codec::HasText(bytes, 4, "jP  ");
    if (codec::HasText(bytes, 4, "ftyp") || isJpeg2000) {
        if (std::string problem = CutBox(bytes); !problem.empty()) return problem;
    }
    const auto stream = std::search(bytes.begin(), bytes.end(), std::begin("jp2c"), std::end("jp2c") - 1);
    const ByteSpan code = isJpeg2000 && stream != bytes.end()
                              ? bytes.subspan(static_cast<std::size_t>(stream - bytes.begin()) + 4)
                              : bytes;
    if (IsCodestreamCut(code)) return "File ends early: the end mark of the code stream is missing.";
    if (!Directories::AreIn(bytes)) return {};
    Directories directories(bytes);
    if (!directories.Problem().empty() || directories.End() <= bytes.size()) return {};
    return Missing(directories.End(), bytes.size());
}

std::string StructureProblem(ByteSpan bytes) {
    if (bytes.size() < 12) return {};
    if (codec::HasText(bytes, 4, "ftyp") || codec::HasText(bytes, 4, "jP  ")) return BoxProblem(bytes);
    using namespace std::string_view_literals;
    if (codec::HasText(bytes, 0, "II*\0"sv) || codec::HasText(bytes, 0, "MM\0*"sv))
        return Directories(bytes).Problem();
    return {};
}
