#include "orvcore/formats/embeddedjpegs.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include "orvcore/formats/jpegcarver.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/zipreader.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kMaxWarnings = 100;
constexpr std::size_t kLargeHash = std::size_t{16} << 20;  // above it hashing must be interruptible
constexpr int kStored = 0;
constexpr int kDeflated = 8;

// The end of a member's name, which is hostile, as a part of a file's name.
std::string SafeName(const std::string& container) {
    constexpr std::size_t kLongest = 60;
    std::string name =
        container.size() > kLongest ? container.substr(container.size() - kLongest) : container;
    for (char& c : name) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                             c == '-' || c == '.';
        if (!isPlain) c = '_';
    }
    return name;
}

// What is known of one find before its bytes are copied.
struct Find {
    std::size_t offset;
    std::string container;
    ByteSpan bytes;
    std::string sha256;
    int width;
    int height;
};

class Search {
  public:
    using Sink = std::function<void(const Find&)>;

    Search(const Sink& sink, const std::function<void(double)>& progress, std::vector<std::string>* warnings)
        : m_sink(sink), m_progress(progress), m_warnings(warnings) {}

    void Run(ByteSpan file) {
        Level level{file, "", 0, 0, true};
        level.outermost = true;
        Look(level);
    }

  private:
    // One span to look through: the file, or what a member holds.
    struct Level {
        ByteSpan bytes;
        std::string container;
        std::size_t offset = 0;  // of the packed member in the outermost container
        int depth = 0;           // containers around it
        bool carve = true;       // false when the bytes were carved as part of the level above
        bool outermost = false;
        bool isMember = false;  // the bytes are a packed member's
        bool open = true;       // the bytes lie unpacked in the file, from `offset` on
    };

    void Warn(const std::string& text) {
        if (m_warnings != nullptr && m_warnings->size() < kMaxWarnings) m_warnings->push_back(text);
    }

    void Tell(double part) const {
        if (m_progress) m_progress(part);
    }

    void Look(const Level& level) {
        std::optional<ZipDirectory> zip;
        if (level.depth < kMaxContainerDepth)
            zip = ReadZipDirectory(level.bytes);
        else if (ReadZipDirectory(level.bytes))
            Warn("The container " + level.container + " lies too deep in others and was not searched.");
        if (zip)
            for (const std::string& warning : zip->warnings) Warn(warning);
        if (level.carve) {
            const double share = level.outermost ? (zip ? 0.5 : 1.0) : 0.0;
            const double before = m_done;
            CarveJpegs(
                level.bytes, [&](const CarvedJpeg& jpeg) { Add(level, zip, jpeg); },
                [&](double part) { Tell(m_done = before + share * part); });
            m_done = before + share;
        }
        if (zip) LookIntoMembers(level, *zip);
        if (level.outermost) Tell(1.0);
    }

    void LookIntoMembers(const Level& level, const ZipDirectory& zip) {
        for (std::size_t i = 0; i < zip.members.size(); ++i) {
            if (level.outermost)
                m_done = 0.5 + 0.5 * static_cast<double>(i) / static_cast<double>(zip.members.size());
            Tell(m_done);
            const ZipMember& member = zip.members[i];
            const std::string name = ToValidUtf8(member.name);
            if (member.encrypted) {
                Warn("The member " + name + " is encrypted and was not searched.");
            } else if (member.method == kStored) {
                Level inner{Slice(level.bytes, member.dataOffset, member.packedSize), Inside(level, name),
                            level.open ? level.offset + member.dataOffset : level.offset, level.depth + 1,
                            false};
                inner.open = level.open;
                Look(inner);
                AddWholeMember(inner);
            } else if (member.method == kDeflated) {
                Unpack(level, member, name);
            } else {
                Warn("The member " + name + " is packed in a way that is not read (method " +
                     std::to_string(member.method) + ").");
            }
        }
    }

    void Unpack(const Level& level, const ZipMember& member, const std::string& name) {
        const std::size_t limit = std::min(kMaxMemberBytes, m_unpackedLeft);
        if (limit == 0 || member.size > limit) {
            Warn("The member " + name + " was not searched: the container unpacks to too much data.");
            return;
        }
        const UnpackedMember unpacked = UnpackZipMember(level.bytes, member, limit, [this] { Tell(m_done); });
        m_unpackedLeft -= unpacked.bytes.size();
        if (!unpacked.problem.empty()) Warn("The member " + name + ": " + unpacked.problem);
        // What unpacks beyond the limit is made to exhaust the reader, not to hold pictures.
        if (unpacked.limitReached) return;
        Level inner{unpacked.bytes, Inside(level, name),
                    level.open ? level.offset + member.headerOffset : level.offset, level.depth + 1, true};
        inner.open = false;
        inner.isMember = true;
        Look(inner);
        AddWholeMember(inner);
    }

    // A member that is a JPEG by its beginning is taken whole, cut or with more behind it as it may be.
    void AddWholeMember(const Level& member) {
        if (!StartsWith(member.bytes, 0, "\xFF\xD8\xFF", 3)) return;
        const JpegFrame frame = ParseJpegStructure(member.bytes).frame;
        Give(member.offset, member.container, member.bytes, frame.width, frame.height);
    }

    static std::string Inside(const Level& level, const std::string& name) {
        return level.container.empty() ? name : level.container + " > " + name;
    }

    static bool IsPadding(ByteSpan bytes) {
        return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0 || b == 0xFF; });
    }

    void Add(const Level& level, const std::optional<ZipDirectory>& zip, const CarvedJpeg& jpeg) {
        if (level.outermost && jpeg.offset == 0 && IsPadding(level.bytes.subspan(jpeg.size))) return;
        ByteSpan bytes = level.bytes.subspan(jpeg.offset, jpeg.size);
        std::string container = level.container;
        if (level.isMember && jpeg.offset == 0) bytes = level.bytes;
        if (const ZipMember* member = zip ? StoredMemberAt(*zip, jpeg.offset) : nullptr) {
            container = Inside(level, ToValidUtf8(member->name));
            if (member->dataOffset == jpeg.offset)
                bytes = Slice(level.bytes, member->dataOffset, member->packedSize);
        }
        Give(level.open ? level.offset + jpeg.offset : level.offset, container, bytes, jpeg.width,
             jpeg.height);
    }

    // Hands a find over, each content once.
    void Give(std::size_t offset, const std::string& container, ByteSpan bytes, int width, int height) {
        std::string sha256;
        if (bytes.size() < kLargeHash)
            sha256 = Sha256(bytes);
        else
            sha256 = ComputeHashes(bytes, [this](double) { Tell(m_done); }).sha256;
        Tell(m_done);
        if (m_known.insert(sha256).second) m_sink({offset, container, bytes, sha256, width, height});
    }

    // Members are in the order of their offsets and do not overlap.
    static const ZipMember* StoredMemberAt(const ZipDirectory& zip, std::size_t offset) {
        const auto next = std::upper_bound(
            zip.members.begin(), zip.members.end(), offset,
            [](std::size_t value, const ZipMember& member) { return value < member.dataOffset; });
        if (next == zip.members.begin()) return nullptr;
        const ZipMember& member = *(next - 1);
        return member.method == kStored && offset - member.dataOffset < member.packedSize ? &member : nullptr;
    }

    const Sink& m_sink;
    const std::function<void(double)>& m_progress;
    std::vector<std::string>* m_warnings;
    std::set<std::string> m_known;
    std::size_t m_unpackedLeft = kMaxUnpackedBytes;
    double m_done = 0;
};

}  // namespace

std::vector<EmbeddedJpeg> FindEmbeddedJpegs(std::span<const std::uint8_t> bytes,
                                            const std::function<void(double)>& progress,
                                            std::vector<std::string>* warnings) {
    std::vector<EmbeddedJpeg> result;
    const Search::Sink sink = [&result](const Find& find) {
        result.push_back({find.offset,
                          find.container,
                          {find.bytes.begin(), find.bytes.end()},
                          find.sha256,
                          find.width,
                          find.height});
    };
    Search(sink, progress, warnings).Run(bytes);
    return result;
}

int DumpEmbeddedJpegs(std::span<const std::uint8_t> bytes, const std::string& folder,
                      const std::string& baseName, const std::function<void(double)>& progress,
                      std::vector<std::string>* warnings) {
    int written = 0;
    const Search::Sink sink = [&](const Find& find) {
        char offset[24];
        std::snprintf(offset, sizeof offset, "%08zx", find.offset);
        const std::string member = SafeName(find.container);
        const std::string name = PathName(baseName) + "_" + offset + "_" + member +
                                 (member.empty() ? "" : "_") + find.sha256.substr(0, 12) + ".jpg";
        WriteFile(PathJoin(folder, name), Bytes(find.bytes.begin(), find.bytes.end()), FileSync::Later);
        ++written;
    };
    Search(sink, progress, warnings).Run(bytes);
    if (written > 0) SyncFolder(folder);
    return written;
}
