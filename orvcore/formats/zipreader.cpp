#include "orvcore/formats/zipreader.h"

#include <zlib.h>

#include <algorithm>

#include "zorbase/text.h"

namespace {

constexpr std::size_t kEndRecord = 22;
constexpr std::size_t kEndRecord64 = 56;
constexpr std::size_t kCentralHeader = 46;
constexpr std::size_t kLocalHeader = 30;
constexpr std::size_t kChunk = std::size_t{1} << 20;

struct Directory {
    std::size_t offset = 0;
    std::size_t size = 0;
    std::uint64_t count = 0;
    std::size_t shift = 0;  // bytes before the container's own start, which its offsets do not count
};

// The 64-bit end record that belongs to the plain one at `end`; its values replace those that did not fit.
void ReadEnd64(ByteSpan zip, std::size_t end, std::uint64_t& count, std::uint64_t& size,
               std::uint64_t& offset, std::size_t& directoryEnd) {
    if (end < 20 || !StartsWith(zip, end - 20, "PK\x06\x07", 4)) return;
    // The stated place of the record does not count what precedes the container: look right before the
    // locator too.
    const std::uint64_t stated = Little64(zip, end - 20 + 8);
    std::size_t at = 0;
    if (stated < end && StartsWith(zip, static_cast<std::size_t>(stated), "PK\x06\x06", 4))
        at = static_cast<std::size_t>(stated);
    else if (end >= 20 + kEndRecord64 && StartsWith(zip, end - 20 - kEndRecord64, "PK\x06\x06", 4))
        at = end - 20 - kEndRecord64;
    else
        return;
    count = Little64(zip, at + 32);
    size = Little64(zip, at + 40);
    offset = Little64(zip, at + 48);
    directoryEnd = at;
}

std::optional<Directory> FindDirectory(ByteSpan zip) {
    if (zip.size() < kEndRecord) return std::nullopt;
    const std::size_t last = zip.size() - kEndRecord;
    const std::size_t first = last > 0xFFFF ? last - 0xFFFF : 0;
    for (std::size_t at = last + 1; at-- > first;) {
        if (!StartsWith(zip, at, "PK\x05\x06", 4)) continue;
        if (at + kEndRecord + Little16(zip, at + 20) > zip.size()) continue;
        std::uint64_t count = Little16(zip, at + 10);
        std::uint64_t size = Little32(zip, at + 12);
        std::uint64_t offset = Little32(zip, at + 16);
        std::size_t directoryEnd = at;
        ReadEnd64(zip, at, count, size, offset, directoryEnd);
        if (size > directoryEnd || offset > directoryEnd - size) continue;
        Directory directory;
        directory.size = static_cast<std::size_t>(size);
        directory.offset = directoryEnd - directory.size;
        directory.shift = directory.offset - static_cast<std::size_t>(offset);
        directory.count = count;
        if (directory.size > 0 && !StartsWith(zip, directory.offset, "PK\x01\x02", 4)) continue;
        return directory;
    }
    return std::nullopt;
}

// Sizes and offset that the plain fields could not hold, from the 64-bit extra field.
void ReadExtra64(ByteSpan extra, std::uint64_t& size, std::uint64_t& packed, std::uint64_t& offset) {
    std::size_t at = 0;
    while (at + 4 <= extra.size()) {
        const std::size_t length = Little16(extra, at + 2);
        if (Little16(extra, at) == 1) {
            const ByteSpan field = Slice(extra, at + 4, length);
            std::size_t next = 0;
            for (std::uint64_t* value : {&size, &packed, &offset}) {
                if (*value != 0xFFFFFFFFU || next + 8 > field.size()) continue;
                *value = Little64(field, next);
                next += 8;
            }
            return;
        }
        at += 4 + length;
    }
}

// Fills in where the member's data are; false when its local header or data are not inside the container.
bool Locate(ByteSpan zip, std::uint64_t offset, std::size_t shift, ZipMember& member) {
    if (offset > zip.size() || zip.size() - offset < shift) return false;
    member.headerOffset = static_cast<std::size_t>(offset) + shift;
    if (zip.size() - member.headerOffset < kLocalHeader) return false;
    if (!StartsWith(zip, member.headerOffset, "PK\x03\x04", 4)) return false;
    member.dataOffset = member.headerOffset + kLocalHeader + Little16(zip, member.headerOffset + 26) +
                        Little16(zip, member.headerOffset + 28);
    return member.dataOffset <= zip.size() && member.packedSize <= zip.size() - member.dataOffset;
}

// Members that share bytes make a small file unpack to an enormous one: of two that overlap, the later is
// left out.
void DropOverlapping(ZipDirectory& directory) {
    std::stable_sort(directory.members.begin(), directory.members.end(),
                     [](const ZipMember& a, const ZipMember& b) { return a.headerOffset < b.headerOffset; });
    std::size_t end = 0;
    std::size_t dropped = 0;
    std::erase_if(directory.members, [&](const ZipMember& member) {
        if (member.headerOffset < end) {
            ++dropped;
            return true;
        }
        end = member.dataOffset + member.packedSize;
        return false;
    });
    if (dropped > 0)
        directory.warnings.push_back(std::to_string(dropped) +
                                     " members of the container lie over others and were left out.");
}

}  // namespace

namespace {

// Where the next record of the container begins, or its end: for members whose size stands behind them.
std::size_t NextRecord(ByteSpan zip, std::size_t from) {
    for (std::size_t at = from; at + 4 <= zip.size(); ++at)
        if (zip[at] == 'P' && (StartsWith(zip, at, "PK\x03\x04", 4) || StartsWith(zip, at, "PK\x07\x08", 4) ||
                               StartsWith(zip, at, "PK\x01\x02", 4)))
            return at;
    return zip.size();
}

// A container without its directory, cut as they are on the way: member by member by the headers before them.
std::optional<ZipDirectory> WalkLocalHeaders(ByteSpan zip) {
    if (!StartsWith(zip, 0, "PK\x03\x04", 4)) return std::nullopt;
    ZipDirectory result;
    result.warnings.emplace_back(
        "The container has no directory, so it is cut or damaged; its members were found one after the other.");
    for (std::size_t at = 0; StartsWith(zip, at, "PK\x03\x04", 4) && zip.size() - at >= kLocalHeader;) {
        if (result.members.size() >= kMaxZipMembers) break;
        const std::uint32_t flags = Little16(zip, at + 6);
        ZipMember member;
        member.headerOffset = at;
        member.method = static_cast<int>(Little16(zip, at + 8));
        member.crc = Little32(zip, at + 14);
        member.packedSize = Little32(zip, at + 18);
        member.size = Little32(zip, at + 22);
        member.encrypted = (flags & 1U) != 0;
        const std::size_t nameSize = Little16(zip, at + 26);
        member.name = TextOf(Slice(zip, at + kLocalHeader, nameSize));
        member.dataOffset = std::min(zip.size(), at + kLocalHeader + nameSize + Little16(zip, at + 28));
        const std::size_t left = zip.size() - member.dataOffset;
        if ((flags & 8U) != 0 && member.packedSize == 0) {
            member.packedSize = NextRecord(zip, member.dataOffset) - member.dataOffset;
            member.crcKnown = false;
        }
        if (member.packedSize > left) {
            result.warnings.push_back("The container ends inside the member " + ToValidUtf8(member.name) +
                                      ".");
            member.packedSize = left;
        }
        at = member.dataOffset + member.packedSize;
        if (StartsWith(zip, at, "PK\x07\x08", 4)) at = NextRecord(zip, at + 4);
        result.members.push_back(std::move(member));
    }
    return result;
}

}  // namespace

std::optional<ZipDirectory> ReadZipDirectory(ByteSpan container) {
    const std::optional<Directory> found = FindDirectory(container);
    if (!found) return WalkLocalHeaders(container);
    ZipDirectory result;
    std::size_t misplaced = 0;
    std::size_t at = found->offset;
    const std::size_t end = found->offset + found->size;
    while (at + kCentralHeader <= end && StartsWith(container, at, "PK\x01\x02", 4)) {
        if (result.members.size() >= kMaxZipMembers) {
            result.warnings.push_back("The container has more than " + std::to_string(kMaxZipMembers) +
                                      " members; the others were left out.");
            break;
        }
        const std::size_t nameSize = Little16(container, at + 28);
        const std::size_t extraSize = Little16(container, at + 30);
        std::uint64_t packed = Little32(container, at + 20);
        std::uint64_t size = Little32(container, at + 24);
        std::uint64_t offset = Little32(container, at + 42);
        ReadExtra64(Slice(container, at + kCentralHeader + nameSize, extraSize), size, packed, offset);
        ZipMember member;
        member.name = TextOf(Slice(container, at + kCentralHeader, nameSize));
        member.packedSize = static_cast<std::size_t>(packed);
        member.size = static_cast<std::size_t>(size);
        member.crc = Little32(container, at + 16);
        member.method = static_cast<int>(Little16(container, at + 10));
        member.encrypted = (Little16(container, at + 8) & 1U) != 0;
        if (Locate(container, offset, found->shift, member))
            result.members.push_back(std::move(member));
        else
            ++misplaced;
        at += kCentralHeader + nameSize + extraSize + Little16(container, at + 32);
    }
    if (misplaced > 0)
        result.warnings.push_back(std::to_string(misplaced) +
                                  " members of the container are not where its directory says.");
    DropOverlapping(result);
    return result;
}

UnpackedMember UnpackZipMember(ByteSpan container, const ZipMember& member, std::size_t limit,
                               const std::function<void()>& between) {
    UnpackedMember result;
    const ByteSpan packed = Slice(container, member.dataOffset, member.packedSize);
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        result.problem = "There is not enough memory to unpack it.";
        return result;
    }
    struct Closer {
        z_stream& stream;
        ~Closer() { inflateEnd(&stream); }
    } closer{stream};

    std::size_t used = 0;
    int state = Z_OK;
    while (state == Z_OK) {
        if (stream.avail_in == 0) {
            const std::size_t piece = std::min(packed.size() - used, kChunk);
            stream.next_in = const_cast<Bytef*>(packed.data() + used);
            stream.avail_in = static_cast<uInt>(piece);
            used += piece;
        }
        const std::size_t have = result.bytes.size();
        const std::size_t room = std::min(kChunk, limit - have);
        if (room == 0) {
            result.limitReached = true;
            result.problem =
                "It unpacks to more than " + std::to_string(limit) + " bytes and was not read to its end.";
            return result;
        }
        result.bytes.resize(have + room);
        stream.next_out = result.bytes.data() + have;
        stream.avail_out = static_cast<uInt>(room);
        state = inflate(&stream, Z_NO_FLUSH);
        result.bytes.resize(have + room - stream.avail_out);
        if (between) between();
        if (state == Z_BUF_ERROR && used < packed.size()) state = Z_OK;
    }
    if (state != Z_STREAM_END) {
        result.problem = "Its packed data are damaged.";
    } else if (member.crcKnown && crc32_z(0, result.bytes.data(), result.bytes.size()) != member.crc) {
        result.problem = "Its check sum is wrong.";
    }
    return result;
}
