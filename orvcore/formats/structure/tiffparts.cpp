#include <algorithm>
#include <vector>

#include "orvcore/formats/structure/parts.h"
#include "orvcore/formats/structure/tiffdirectories.h"

namespace {

using Kind = StructureRow::Kind;

// A stretch of bytes that something in the structure points at.
struct Claim {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::string name;
    std::string text;
    std::string warning;
    Kind kind = Kind::Part;
    enum class Inside { Nothing, Directory, Jpeg, Resources } inside = Inside::Nothing;
    std::size_t directory = 0;
};

constexpr std::size_t kMaxBlocks =
    300000;  // strips or tiles of all pictures: many directories may share one list

class Writer {
  public:
    Writer(StructureWriter& writer, std::size_t begin, std::size_t end)
        : m_writer(writer),
          m_begin(begin),
          m_end(end),
          m_bytes(writer.Part(begin, end)),
          m_tiff(ReadTiffDirectories(m_bytes)) {}

    void Write() {
        StructureLevel level(m_writer, m_begin, m_end);
        if (!m_tiff.isTiff) {
            level.FillTo(m_end);
            m_writer.WarnWhole("The TIFF structure at offset " + std::to_string(m_begin) +
                               " has no valid byte order and number.");
            return;
        }
        Collect();
        // At equal offsets directories come first.
        const auto order = [](const Claim& claim) {
            return claim.inside == Claim::Inside::Directory ? 0 : 1;
        };
        std::stable_sort(m_claims.begin(), m_claims.end(), [&](const Claim& a, const Claim& b) {
            return a.offset != b.offset ? a.offset < b.offset : order(a) < order(b);
        });
        const std::size_t header = level.Add(m_tiff.headerSize, "TIFF header", HeaderText());
        for (const std::string& warning : m_tiff.warnings) m_writer.Warn(header, warning);
        KeepDirectoriesFree();
        for (const Claim& claim : m_claims) WriteClaim(level, claim);
        // What an EXIF block leaves free at its end is its own, not the file's.
        if (m_begin == 0 && m_end == m_writer.File().size())
            level.Trail();
        else
            level.FillTo(m_end);
    }

  private:
    std::string HeaderText() const {
        std::string text = m_tiff.little ? "little endian" : "big endian";
        if (m_tiff.isBig) text += ", 64-bit offsets";
        if (m_tiff.magic != 42 && m_tiff.magic != 43)
            text += ", a camera maker's number " + std::to_string(m_tiff.magic);
        return text;
    }

    void Collect() {
        for (std::size_t i = 0; i < m_tiff.directories.size(); ++i) {
            const TiffDirectory& directory = m_tiff.directories[i];
            Claim claim{directory.offset, directory.size, directory.name,
                        CountText(directory.entries.size(), "entry", "entries"), directory.warning};
            claim.inside = Claim::Inside::Directory;
            claim.directory = i;
            m_claims.push_back(std::move(claim));
            CollectValues(directory);
            CollectBlocks(directory, 0x0111, 0x0117, "strip", "strips");
            CollectBlocks(directory, 0x0144, 0x0145, "tile", "tiles");
            CollectJpeg(directory);
        }
    }

    static std::string EntryName(const TiffDirectory& directory, const TiffEntry& entry) {
        const char* name = TiffTagName(directory.kind, entry.tag);
        return name != nullptr ? name : "0x" + HexText(entry.tag, 4);
    }

    void CollectValues(const TiffDirectory& directory) {
        for (const TiffEntry& entry : directory.entries) {
            if (entry.isInline || entry.valueSize == 0) continue;
            Claim claim{entry.valueOffset,
                        entry.valueSize,
                        "value of " + EntryName(directory, entry),
                        directory.name,
                        {}};
            if (entry.tag == 0x8649 && directory.kind == TiffDirectoryKind::Image)
                claim.inside = Claim::Inside::Resources;
            if (entry.tag == 0x002E && directory.kind == TiffDirectoryKind::Image)
                claim.inside = Claim::Inside::Jpeg;
            m_claims.push_back(std::move(claim));
        }
    }

    // Strips or tiles; those that follow each other without a gap share a row.
    void CollectBlocks(const TiffDirectory& directory, std::uint32_t offsetTag, std::uint32_t sizeTag,
                       const char* one, const char* many) {
        const TiffEntry* offsets = FindTiffEntry(directory, offsetTag);
        const TiffEntry* sizes = FindTiffEntry(directory, sizeTag);
        if (offsets == nullptr || sizes == nullptr) return;
        const auto from = TiffNumbers(m_tiff, m_bytes, *offsets, m_blocksLeft);
        const auto length = TiffNumbers(m_tiff, m_bytes, *sizes, m_blocksLeft);
        const std::size_t count = std::min(from.size(), length.size());
        m_blocksLeft -= count;
        std::size_t outside = 0;
        for (std::size_t i = 0; i < count;) {
            if (from[i] > m_bytes.size() || length[i] > m_bytes.size() - from[i]) {
                ++outside;
                if (from[i] >= m_bytes.size()) {
                    ++i;
                    continue;
                }
            }
            const std::size_t start = static_cast<std::size_t>(from[i]);
            std::uint64_t end = std::min<std::uint64_t>(
                m_bytes.size(), from[i] + std::min<std::uint64_t>(length[i], m_bytes.size()));
            std::size_t last = i;
            while (last + 1 < count && from[last + 1] == end && length[last + 1] <= m_bytes.size() - end) {
                ++last;
                end += length[last];
            }
            Claim claim{start,
                        static_cast<std::size_t>(end) - start,
                        last == i ? one : many,
                        directory.name + ", " + one + " " + std::to_string(i) +
                            (last > i ? " to " + std::to_string(last) : "") + " of " + std::to_string(count),
                        {}};
            claim.kind = Kind::Data;
            if (count == 1 && StartsWith(m_bytes, start, "\xFF\xD8\xFF", 3))
                claim.inside = Claim::Inside::Jpeg;
            m_claims.push_back(std::move(claim));
            i = last + 1;
        }
        if (outside > 0)
            m_writer.WarnWhole(directory.name + ": " + CountText(outside, one, many) +
                               " would lie outside the file.");
    }

    void CollectJpeg(const TiffDirectory& directory) {
        const TiffEntry* at = FindTiffEntry(directory, 0x0201);
        const TiffEntry* size = FindTiffEntry(directory, 0x0202);
        if (at == nullptr || size == nullptr) return;
        const auto offset = TiffNumbers(m_tiff, m_bytes, *at, 1);
        const auto length = TiffNumbers(m_tiff, m_bytes, *size, 1);
        if (offset.empty() || length.empty() || length[0] == 0) return;
        Claim claim{0, 0, "embedded JPEG", directory.name, {}};
        if (offset[0] >= m_bytes.size()) {
            m_writer.WarnWhole(directory.name + ": the embedded JPEG would lie outside the file.");
            return;
        }
        claim.offset = static_cast<std::size_t>(offset[0]);
        claim.length =
            static_cast<std::size_t>(std::min<std::uint64_t>(length[0], m_bytes.size() - claim.offset));
        if (claim.length < length[0])
            claim.warning = "It states " + std::to_string(length[0]) + " bytes but ends outside.";
        claim.inside = Claim::Inside::Jpeg;
        m_claims.push_back(std::move(claim));
    }

    // A value or a strip that reaches into a directory ends before it: what was read as a directory is shown as one.
    void KeepDirectoriesFree() {
        std::size_t next = static_cast<std::size_t>(-1);  // begin of the directory behind the present claim
        for (auto claim = m_claims.rbegin(); claim != m_claims.rend(); ++claim) {
            if (claim->inside == Claim::Inside::Directory) {
                next = claim->offset;
                continue;
            }
            if (claim->offset >= next || next - claim->offset >= claim->length) continue;
            claim->warning += std::string(claim->warning.empty() ? "" : " ") + "It states " +
                              CountText(claim->length, "byte", "bytes") + ", which reach into a directory.";
            claim->length = next - claim->offset;
        }
    }

    void WriteClaim(StructureLevel& level, const Claim& claim) {
        const std::size_t offset = m_begin + claim.offset;
        if (offset > level.Position()) level.FillTo(offset);
        const std::size_t covered = level.Position() - offset;
        if (covered >= claim.length) {
            // Wholly over bytes that belong to an earlier row: told there. Directories are told in any case.
            if (claim.length > 0) Overlap(claim, 0);
            return;
        }
        const std::size_t row = level.Add(claim.length - covered, claim.name, claim.text, claim.kind);
        m_lastRow = row;
        if (!claim.warning.empty()) m_writer.Warn(row, claim.warning);
        if (covered > 0) {
            Overlap(claim, covered);
            return;
        }
        if (!m_writer.CanNest()) return;
        StructureWriter::Nest nest(m_writer);
        if (claim.inside == Claim::Inside::Directory) WriteDirectory(m_tiff.directories[claim.directory]);
        if (claim.inside == Claim::Inside::Jpeg) WriteJpegParts(m_writer, offset, level.Position());
        if (claim.inside == Claim::Inside::Resources) WriteResourceParts(m_writer, offset, level.Position());
    }

    void Overlap(const Claim& claim, std::size_t covered) {
        // The same block named by several entries is common and harmless; hundreds of such sentences help nobody.
        if (++m_overlaps > 20) return;
        m_writer.Warn(
            m_lastRow,
            claim.name + " (" + claim.text + ", " + CountText(claim.length, "byte", "bytes") + " at offset " +
                std::to_string(m_begin + claim.offset) + ") shares " +
                (covered == 0 ? "these bytes." : std::to_string(covered) + " bytes with the row before."));
    }

    void WriteDirectory(const TiffDirectory& directory) {
        StructureLevel level(m_writer, m_begin + directory.offset,
                             m_begin + directory.offset + directory.size);
        level.Add(m_tiff.isBig ? 8 : 2, "count", CountText(directory.entries.size(), "entry", "entries"));
        for (const TiffEntry& entry : directory.entries) {
            const char* type = TiffTypeName(entry.type);
            std::string text = "0x" + HexText(entry.tag, 4) + " " + (type != nullptr ? type : "unknown type");
            if (entry.count != 1) text += " x " + std::to_string(entry.count);
            const std::string value = TiffValueText(m_tiff, m_bytes, entry);
            if (!value.empty()) text += ": " + value;
            if (!entry.isInline) text += " (at offset " + std::to_string(m_begin + entry.valueOffset) + ")";
            const std::size_t row = level.Add(m_tiff.isBig ? 20 : 12, EntryName(directory, entry), text);
            if (!entry.warning.empty()) m_writer.Warn(row, entry.warning);
        }
        if (level.Left() > 0) {
            const std::size_t size = level.Left();
            const std::uint64_t next = m_tiff.Number(m_bytes, level.Position() - m_begin,
                                                     size >= 8   ? 8
                                                     : size >= 4 ? 4
                                                                 : 2);
            level.Add(size, "next directory",
                      next == 0 ? "none" : "at offset " + std::to_string(m_begin + next));
        }
    }

    StructureWriter& m_writer;
    std::size_t m_begin;
    std::size_t m_end;
    ByteSpan m_bytes;
    TiffDirectories m_tiff;
    std::vector<Claim> m_claims;
    std::size_t m_lastRow = StructureWriter::kNone;
    std::size_t m_overlaps = 0;
    std::size_t m_blocksLeft = kMaxBlocks;
};

}  // namespace

void WriteTiffParts(StructureWriter& writer, std::size_t begin, std::size_t end) {
    Writer(writer, begin, end).Write();
}
