#include "orvcore/formats/provenance/store.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string_view>

#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/provenance/jumbf.h"

namespace provenance {

namespace {

constexpr std::uint32_t kSuperbox = BoxCode("jumb");
constexpr std::size_t kMaxMediaBoxes = 100000;
constexpr std::size_t kMaxDirectories = 1000;
constexpr std::size_t kMaxDirectoryEntries = 200000;
constexpr std::size_t kMaxStores = 100;
constexpr std::uint32_t kStoreTag = 52545;
constexpr std::uint32_t kSubDirectoriesTag = 330;

constexpr std::uint8_t kCredentialBox[16] = {0xD8, 0xFE, 0xC3, 0xD6, 0x1B, 0x0E, 0x48, 0x3C,
                                             0x92, 0x97, 0x58, 0x28, 0x87, 0x7E, 0xC4, 0x81};

// Whether a superbox of the credentials' own type begins here.
bool IsStoreStart(ByteSpan bytes, std::size_t offset) {
    if (Big32(bytes, offset + 4) != kSuperbox) return false;
    const std::size_t payload = offset + (Big32(bytes, offset) == 1 ? 16 : 8);
    return Big32(bytes, payload + 4) == BoxCode("jumd") && Big32(bytes, payload + 8) == BoxCode("c2pa");
}

void AddShell(std::vector<FileRange>& shell, FileRange range) {
    if (!shell.empty() && shell.back().End() == range.offset)
        shell.back().size += range.size;
    else
        shell.push_back(range);
}

FoundStore OnePiece(FileRange store, FileRange shell) {
    FoundStore found;
    found.size = store.size;
    found.pieces.push_back({0, store});
    found.shell.push_back(shell);
    return found;
}

// One packet of a box that a JPEG carries in several segments.
struct Packet {
    std::uint32_t number = 0;
    FileRange segment;
    std::size_t boxOffset = 0;  // of LBox
    std::size_t end = 0;
};

FoundStore JoinPackets(ByteSpan file, std::vector<Packet> packets) {
    std::stable_sort(packets.begin(), packets.end(),
                     [](const Packet& a, const Packet& b) { return a.number < b.number; });
    FoundStore store;
    const std::size_t first = packets.front().boxOffset;
    const bool isLong = Big32(file, first) == 1;
    const std::uint64_t stated = isLong ? Big64(file, first + 8) : Big32(file, first);
    const std::size_t repeated = isLong ? 16 : 8;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const Packet& packet = packets[i];
        if (i > 0 && packet.number != packets[i - 1].number + 1 && store.faults.empty())
            store.faults.push_back(packet.number == packets[i - 1].number
                                       ? "Two packets of the store have the same number."
                                       : "Packets of the store are missing.");
        const std::size_t from = packet.boxOffset + (i == 0 ? 0 : repeated);
        if (from >= packet.end) continue;
        const std::size_t left = stated > store.size ? static_cast<std::size_t>(stated - store.size) : 0;
        const std::size_t size = std::min(packet.end - from, left);
        if (size < packet.end - from && store.faults.empty())
            store.faults.push_back("The store's packets hold more bytes than the store states.");
        if (size > 0) store.pieces.push_back({store.size, {from, size}});
        store.size += size;
    }
    if (store.size < stated && store.faults.empty())
        store.faults.push_back("The store's packets hold fewer bytes than the store states.");
    std::vector<FileRange> segments;
    for (const Packet& packet : packets) segments.push_back(packet.segment);
    std::sort(segments.begin(), segments.end(),
              [](const FileRange& a, const FileRange& b) { return a.offset < b.offset; });
    for (const FileRange& segment : segments) AddShell(store.shell, segment);
    return store;
}

void FindInJpeg(ByteSpan file, StoreSearch& search) {
    constexpr std::uint8_t kApp11 = 0xEB;
    std::map<std::uint32_t, std::vector<Packet>> groups;  // by box instance
    JpegWalk walk(file, 0);
    for (JpegPiece piece = walk.Next(); piece.kind != JpegPiece::Kind::End; piece = walk.Next()) {
        if (piece.kind == JpegPiece::Kind::Segment && piece.marker == jpegmarker::kSos) break;
        if (piece.kind != JpegPiece::Kind::Segment || piece.marker != kApp11 || piece.cut) continue;
        const std::size_t at = piece.PayloadOffset();
        if (piece.PayloadSize() < 16 || Big16(file, at) != 0x4A50 || Big32(file, at + 12) != kSuperbox)
            continue;
        groups[Big16(file, at + 2)].push_back({Big32(file, at + 4),
                                               {piece.MarkerOffset(), piece.size - piece.fill},
                                               at + 8,
                                               at + piece.PayloadSize()});
    }
    for (auto& [instance, packets] : groups) {
        // A store begins with each packet that has the store's description; of one instance there should be one.
        std::vector<std::vector<Packet>> stores;
        const auto smallest =
            std::min_element(packets.begin(), packets.end(),
                             [](const Packet& a, const Packet& b) { return a.number < b.number; });
        const std::uint32_t first = smallest->number;
        if (!IsStoreStart(file, smallest->boxOffset)) continue;
        bool hasBegun = false;
        for (const Packet& packet : packets) {
            const bool begins = packet.number == first && IsStoreStart(file, packet.boxOffset);
            if (stores.empty() || (begins && hasBegun && stores.size() < kMaxStores)) stores.emplace_back();
            hasBegun = hasBegun || begins;
            stores.back().push_back(packet);
        }
        for (std::vector<Packet>& store : stores)
            search.stores.push_back(JoinPackets(file, std::move(store)));
    }
    std::sort(search.stores.begin(), search.stores.end(), [](const FoundStore& a, const FoundStore& b) {
        return a.shell.front().offset < b.shell.front().offset;
    });
}

void FindInPng(ByteSpan file, StoreSearch& search) {
    std::size_t position = 8;
    while (file.size() - position >= 12 && search.stores.size() < kMaxStores) {
        const std::size_t length = Big32(file, position);
        if (length > file.size() - position - 12) return;
        if (Big32(file, position + 4) == BoxCode("caBX"))
            search.stores.push_back(OnePiece({position + 8, length}, {position, length + 12}));
        position += length + 12;
    }
}

void FindInWebp(ByteSpan file, StoreSearch& search) {
    std::size_t position = 12;
    while (position < file.size() && file.size() - position >= 8 && search.stores.size() < kMaxStores) {
        const std::size_t length = Little32(file, position + 4);
        const std::size_t left = file.size() - position - 8;
        if (length > left) return;
        const std::size_t padded = std::min(length + (length & 1), left);
        if (Big32(file, position) == BoxCode("C2PA"))
            search.stores.push_back(OnePiece({position + 8, length}, {position, padded + 8}));
        position += padded + 8;
    }
}

void FindInMedia(ByteSpan file, StoreSearch& search) {
    bool isWhole = false;
    for (const MediaBox& box : ListMediaBoxes(file, {0, file.size()}, isWhole)) {
        if (search.stores.size() >= kMaxStores) return;
        const FileRange whole{box.offset, box.size};
        if (search.container == Container::JpegXl) {
            if (box.code == kSuperbox && IsStoreStart(file, box.offset))
                search.stores.push_back(OnePiece(whole, whole));
            continue;
        }
        if (!IsCredentialBox(file, box)) continue;
        const std::size_t end = box.offset + box.size;
        const std::size_t purposeAt = box.offset + box.headerSize + 20;
        if (purposeAt >= end) continue;
        const ByteSpan rest = file.subspan(purposeAt, std::min<std::size_t>(end - purposeAt, 64));
        const auto zero = std::find(rest.begin(), rest.end(), std::uint8_t{0});
        const std::string purpose = TextOf(rest.first(static_cast<std::size_t>(zero - rest.begin())));
        const std::size_t storeAt = purposeAt + purpose.size() + 1 + 8;
        if ((purpose != "manifest" && purpose != "original" && purpose != "update") || storeAt >= end)
            continue;
        FoundStore store = OnePiece({storeAt, end - storeAt}, whole);
        store.purpose = purpose;
        search.stores.push_back(std::move(store));
    }
}

// Directories of a TIFF, each visited once.
class TiffWalk {
  public:
    TiffWalk(ByteSpan file, StoreSearch& search) : m_file(file), m_search(search) {
        m_order = TiffByteOrder(file);
        m_isBig = Number(2, 2) == 43;
    }

    void Run() {
        m_waiting.push_back(Number(m_isBig ? 8 : 4, m_isBig ? 8 : 4));
        while (!m_waiting.empty() && m_seen.size() < kMaxDirectories) {
            const std::uint64_t offset = m_waiting.back();
            m_waiting.pop_back();
            if (offset < 8 || offset >= m_file.size() || !m_seen.insert(offset).second) continue;
            Directory(static_cast<std::size_t>(offset));
        }
    }

  private:
    std::uint64_t Number(std::size_t position, int size) const {
        return NumberAt(m_file, position, static_cast<std::size_t>(size), m_order);
    }

    void Directory(std::size_t offset) {
        const int wide = m_isBig ? 8 : 4;
        const std::size_t entrySize = m_isBig ? 20 : 12;
        const std::size_t head = m_isBig ? 8 : 2;
        const std::uint64_t count = Number(offset, static_cast<int>(head));
        if (count > 65535 || (m_file.size() - offset) / entrySize < count) return;
        const std::size_t entries = offset + head;
        for (std::size_t i = 0; i < count && m_entriesLeft > 0; ++i, --m_entriesLeft)
            Entry(entries + i * entrySize, wide);
        const std::size_t next = entries + static_cast<std::size_t>(count) * entrySize;
        m_waiting.push_back(Number(next, wide));
    }

    void Entry(std::size_t entry, int wide) {
        const std::uint64_t tag = Number(entry, 2);
        const auto field = static_cast<std::size_t>(wide);
        const std::uint64_t count = Number(entry + 4, wide);
        const std::size_t value = entry + 4 + field;
        if (tag == kSubDirectoriesTag) {
            const std::uint64_t type = Number(entry + 2, 2);
            const int each = type == 16 || type == 18 ? 8 : 4;
            const bool isInside = count * static_cast<std::uint64_t>(each) <= field && count <= field;
            const std::uint64_t list = isInside ? value : Number(value, wide);
            for (std::uint64_t i = 0; i < std::min<std::uint64_t>(count, kMaxDirectories); ++i) {
                if (list >= m_file.size() || m_waiting.size() >= kMaxDirectories) break;
                m_waiting.push_back(
                    Number(static_cast<std::size_t>(list + i * static_cast<std::uint64_t>(each)), each));
            }
        } else if (tag == kStoreTag && m_search.stores.size() < kMaxStores) {
            const std::uint64_t offset = Number(value, wide);
            if (offset > m_file.size() || count > m_file.size() - offset || count < 8) return;
            const FileRange range{static_cast<std::size_t>(offset), static_cast<std::size_t>(count)};
            FoundStore store = OnePiece(range, range);
            store.countField = {entry + 4, field};
            m_search.stores.push_back(std::move(store));
        }
    }

    ByteSpan m_file;
    StoreSearch& m_search;
    ByteOrder m_order = ByteOrder::Big;
    bool m_isBig = false;
    std::size_t m_entriesLeft = kMaxDirectoryEntries;
    std::vector<std::uint64_t> m_waiting;
    std::set<std::uint64_t> m_seen;
};

// The end of a chain of sub-blocks that begins at `position`.
std::size_t EndOfSubBlocks(ByteSpan file, std::size_t position) {
    while (position < file.size() && file[position] != 0) position += 1 + file[position];
    return std::min(position + 1, file.size());
}

// An application extension of its own name.
void FindInGif(ByteSpan file, StoreSearch& search) {
    const auto paletteSize = [](std::uint32_t flags) {
        return (flags & 0x80) != 0 ? std::size_t{6} << (flags & 7) : 0;
    };
    std::size_t position = 13 + paletteSize(ByteAt(file, 10));
    while (position + 2 < file.size() && search.unread.size() < kMaxStores) {
        const std::size_t begin = position;
        if (file[position] == 0x21) {
            position = EndOfSubBlocks(file, position + 2);
            if (file[begin + 1] == 0xFF && StartsWith(file, begin + 3, "C2PA_GIF", 8))
                search.unread.push_back(
                    {{begin, position - begin},
                     "The file holds content credentials, but from a GIF they are not read here: neither what they say nor "
                     "whether they hold can be told."});
        } else if (file[position] == 0x2C && file.size() - position > 11) {
            position += 10 + paletteSize(file[position + 9]);
            position = position < file.size() ? EndOfSubBlocks(file, position + 1) : file.size();
        } else {
            return;
        }
    }
}

// The name that marks an embedded file as a store; it may stand in a packed object, where it is not seen.
void FindInPdf(ByteSpan file, StoreSearch& search) {
    static constexpr std::string_view kName = "/C2PA_Manifest";
    const void* found = memmem(file.data(), file.size(), kName.data(), kName.size());
    if (found == nullptr) return;
    const auto at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - file.data());
    search.unread.push_back(
        {{at, kName.size()},
         "The file names an embedded file as its content credentials, but from a PDF they are not read here: neither what "
         "they say nor whether they hold can be told."});
}

Container DetectContainer(ByteSpan file) {
    static constexpr std::uint8_t kPng[] = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    static constexpr std::uint8_t kJpegXl[] = {0, 0, 0, 12, 'J', 'X', 'L', ' ', 13, 10, 0x87, 10};
    const auto starts = [file](const auto& magic) {
        return file.size() >= sizeof magic && std::equal(std::begin(magic), std::end(magic), file.begin());
    };
    if (file.size() < 16) return Container::Unknown;
    if (Big16(file, 0) == 0xFFD8) return Container::Jpeg;
    if (StartsWith(file, 0, "GIF8", 4)) return Container::Gif;
    if (StartsWith(file, 0, "%PDF", 4)) return Container::Pdf;
    if (starts(kPng)) return Container::Png;
    if (starts(kJpegXl)) return Container::JpegXl;
    if (Big32(file, 4) == BoxCode("ftyp")) return Container::Bmff;
    if (StartsWith(file, 0, "RIFF", 4) && StartsWith(file, 8, "WEBP", 4)) return Container::Webp;
    const std::uint32_t order = Big16(file, 0);
    if ((order == 0x4949 && (Little16(file, 2) == 42 || Little16(file, 2) == 43)) ||
        (order == 0x4D4D && (Big16(file, 2) == 42 || Big16(file, 2) == 43)))
        return Container::Tiff;
    if (IsStoreStart(file, 0)) return Container::Sidecar;
    return Container::Unknown;
}

}  // namespace

std::size_t FoundStore::FileOffset(std::size_t storeOffset) const {
    auto piece = std::upper_bound(pieces.begin(), pieces.end(), storeOffset,
                                  [](std::size_t offset, const Piece& p) { return offset < p.storeOffset; });
    if (piece == pieces.begin()) return shell.empty() ? 0 : shell.front().offset;
    --piece;
    const std::size_t inside = std::min(storeOffset - piece->storeOffset, piece->file.size - 1);
    return piece->file.offset + inside;
}

ByteSpan FoundStore::View(ByteSpan file, std::vector<std::uint8_t>& buffer) const {
    if (pieces.empty()) return {};
    if (pieces.size() == 1) return Slice(file, pieces.front().file.offset, pieces.front().file.size);
    buffer.clear();
    buffer.reserve(size);
    for (const Piece& piece : pieces) {
        const ByteSpan bytes = Slice(file, piece.file.offset, piece.file.size);
        buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    }
    return buffer;
}

std::vector<MediaBox> ListMediaBoxes(ByteSpan file, FileRange range, bool& isWhole) {
    std::vector<MediaBox> boxes;
    std::size_t position = range.offset;
    const std::size_t end = range.End();
    isWhole = false;
    while (end - position >= 8 && boxes.size() < kMaxMediaBoxes) {
        MediaBox box;
        std::uint64_t size = Big32(file, position);
        box.code = Big32(file, position + 4);
        box.offset = position;
        box.headerSize = 8;
        if (size == 0) size = end - position;
        if (size == 1 && end - position >= 16) {
            size = Big64(file, position + 8);
            box.headerSize = 16;
        }
        if (size < box.headerSize || size > end - position) return boxes;
        box.size = static_cast<std::size_t>(size);
        position += box.size;
        boxes.push_back(box);
    }
    isWhole = position == end;
    return boxes;
}

bool IsCredentialBox(ByteSpan file, const MediaBox& box) {
    return box.code == BoxCode("uuid") && box.size >= box.headerSize + 16 &&
           std::memcmp(file.data() + box.offset + box.headerSize, kCredentialBox, sizeof kCredentialBox) == 0;
}

bool StoreSearch::IsLegal() const {
    if (stores.size() == 2 && container == Container::Bmff)
        return (stores[0].purpose == "original" && stores[1].purpose == "update") ||
               (stores[0].purpose == "update" && stores[1].purpose == "original");
    return stores.size() == 1;
}

StoreSearch FindStores(ByteSpan file) {
    StoreSearch search;
    search.container = DetectContainer(file);
    switch (search.container) {
        case Container::Jpeg:
            FindInJpeg(file, search);
            break;
        case Container::Png:
            FindInPng(file, search);
            break;
        case Container::Webp:
            FindInWebp(file, search);
            break;
        case Container::Bmff:
        case Container::JpegXl:
            FindInMedia(file, search);
            break;
        case Container::Tiff:
            TiffWalk(file, search).Run();
            break;
        case Container::Sidecar:
            search.stores.push_back(OnePiece({0, file.size()}, {0, file.size()}));
            break;
        case Container::Gif:
            FindInGif(file, search);
            break;
        case Container::Pdf:
            FindInPdf(file, search);
            break;
        case Container::Unknown:
            break;
    }
    return search;
}

}  // namespace provenance
