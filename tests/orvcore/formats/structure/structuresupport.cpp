#include "tests/orvcore/formats/structure/structuresupport.h"

#include <gtest/gtest.h>
#include <zlib.h>

using namespace formatsupport;

namespace structuresupport {

void ExpectTiles(const Bytes& bytes, const FileStructure& structure, const std::string& what) {
    struct Level {
        std::size_t position, end;
    };
    std::vector<Level> levels = {{0, bytes.size()}};
    std::size_t sum = 0;
    for (const StructureRow& row : structure.rows) {
        ASSERT_GE(row.depth, 0);
        ASSERT_LT(static_cast<std::size_t>(row.depth), levels.size())
            << what << ": " << row.name << " has no parent";
        levels.resize(static_cast<std::size_t>(row.depth) + 1);
        Level& level = levels.back();
        if (row.depth == 0) {
            ASSERT_EQ(row.offset, level.position) << what << ": a hole before " << row.name;
            sum += row.length;
        }
        ASSERT_GE(row.offset, level.position) << what << ": " << row.name;
        ASSERT_LE(row.offset + row.length, level.end) << what << ": " << row.name;
        level.position = row.offset + row.length;
        levels.push_back({row.offset, row.offset + row.length});
    }
    EXPECT_EQ(sum, bytes.size()) << what;
}

const StructureRow* FindRow(const FileStructure& structure, const std::string& name, std::size_t number) {
    for (const StructureRow& row : structure.rows)
        if (row.name == name && number-- == 0) return &row;
    return nullptr;
}

bool HasWarning(const FileStructure& structure, const std::string& part) {
    for (const std::string& warning : structure.warnings)
        if (warning.find(part) != std::string::npos) return true;
    return false;
}

Bytes PngChunk(const std::string& type, const Bytes& data) {
    Bytes chunk;
    AppendBig(chunk, data.size(), 4);
    const Bytes body = ToBytes(type) + data;
    chunk = chunk + body;
    AppendBig(chunk, crc32_z(0, body.data(), body.size()), 4);
    return chunk;
}

Bytes MakePng() {
    Bytes header;
    AppendBig(header, 3, 4);
    AppendBig(header, 2, 4);
    return ToBytes("\x89PNG\r\n\x1A\n") + PngChunk("IHDR", header + Bytes{8, 0, 0, 0, 0}) +
           PngChunk("tEXt", ToBytes(std::string("Software\0Painter", 16))) + PngChunk("IDAT", {1, 2, 3}) +
           PngChunk("IDAT", {4}) + PngChunk("IEND", {});
}

Bytes TiffHeader(bool isBig, std::uint64_t first) {
    Bytes bytes = ToBytes("II");
    AppendLittle(bytes, isBig ? 43 : 42, 2);
    if (isBig) AppendLittle(bytes, 8, 4);
    AppendLittle(bytes, first, isBig ? 8 : 4);
    return bytes;
}

void AppendDirectory(Bytes& bytes, const std::vector<TiffRecipeEntry>& entries, std::uint64_t next) {
    const bool isBig = bytes[2] == 43;
    AppendLittle(bytes, entries.size(), isBig ? 8 : 2);
    for (const TiffRecipeEntry& entry : entries) {
        AppendLittle(bytes, entry.tag, 2);
        AppendLittle(bytes, entry.type, 2);
        AppendLittle(bytes, entry.count, isBig ? 8 : 4);
        AppendLittle(bytes, entry.value, isBig ? 8 : 4);
    }
    AppendLittle(bytes, next, isBig ? 8 : 4);
}

Bytes Box(const std::string& type, const Bytes& content) {
    Bytes box;
    AppendBig(box, content.size() + 8, 4);
    return box + ToBytes(type) + content;
}

namespace {

Bytes Numbers(std::initializer_list<std::pair<std::uint64_t, int>> numbers) {
    Bytes bytes;
    for (const auto& [value, size] : numbers) AppendBig(bytes, value, size);
    return bytes;
}

Bytes ItemInfo(unsigned id, const std::string& type) {
    return Box("infe", Numbers({{0x02000000, 4}, {id, 2}, {0, 2}}) + ToBytes(type) + Bytes{0});
}

Bytes Location(unsigned id, unsigned method, std::uint64_t offset, std::uint64_t length) {
    return Numbers({{id, 2}, {method, 2}, {0, 2}, {1, 2}, {offset, 4}, {length, 4}});
}

Bytes MakeMeta(std::size_t data) {
    Bytes exif = ItemInfo(3, "Exif");
    const Bytes infos =
        Numbers({{0, 4}, {4, 2}}) + ItemInfo(1, "hvc1") + ItemInfo(2, "hvc1") + exif + ItemInfo(4, "hvc1");
    // Version 1, offsets and lengths of four bytes, no base.
    const Bytes locations = Numbers({{0x01000000, 4}, {0x4400, 2}, {4, 2}}) + Location(1, 0, data, 4) +
                            Location(2, 0, data + 4, 3) + Location(3, 0, data + 12, 18) +
                            Location(4, 1, 0, 2);
    const Bytes references = Numbers({{0, 4}}) + Box("thmb", Numbers({{2, 2}, {1, 2}, {1, 2}})) +
                             Box("auxl", Numbers({{4, 2}, {1, 2}, {1, 2}}));
    const Bytes properties =
        Box("ipco", Box("ispe", Numbers({{0, 4}, {640, 4}, {480, 4}})) +
                        Box("auxC", Numbers({{0, 4}}) + ToBytes("urn:com:apple:photo:2020:aux:hdrgainmap") +
                                        Bytes{0})) +
        Box("ipma", Numbers({{0, 4}, {2, 4}, {1, 2}, {1, 1}, {0x81, 1}, {4, 2}, {1, 1}, {2, 1}}));
    return Box("meta", Numbers({{0, 4}}) + Box("hdlr", Numbers({{0, 8}}) + ToBytes("pict") + Bytes(13, 0)) +
                           Box("pitm", Numbers({{0, 4}, {1, 2}})) + Box("iinf", infos) +
                           Box("iloc", locations) + Box("iref", references) + Box("iprp", properties) +
                           Box("idat", {7, 8}));
}

}  // namespace

Bytes MakeHeif() {
    const Bytes type = Box("ftyp", ToBytes("heic") + Bytes(4, 0) + ToBytes("mif1heic"));
    const std::size_t data = type.size() + MakeMeta(0).size() + 8;
    // The Exif item: no bytes in front of a TIFF structure with an empty directory.
    Bytes exif = {0, 0, 0, 0};
    exif = exif + TiffHeader(false, 8) + Bytes{0, 0, 0, 0, 0, 0};
    return type + MakeMeta(data) + Box("mdat", Bytes{1, 1, 1, 1, 2, 2, 2} + Bytes(5, 9) + exif);
}

Bytes MakeGif(int frames) {
    Bytes bytes = ToBytes("GIF89a") + Bytes{4, 0, 2, 0, 0x80, 0, 0} + Bytes(6, 0);
    for (int i = 0; i < frames; ++i)
        bytes = bytes + Bytes{0x21, 0xF9, 4, 0, 10, 0, 0, 0} + Bytes{0x2C, 1, 0, 0, 0, 2, 0, 1, 0, 0} +
                Bytes{2, 2, 0x84, 0x51, 0};
    return bytes + Bytes{0x3B};
}

Bytes MakeWebp(bool isAnimated) {
    const auto chunk = [](const std::string& type, const Bytes& data) {
        Bytes bytes = ToBytes(type);
        AppendLittle(bytes, data.size(), 4);
        bytes = bytes + data;
        if (data.size() % 2 == 1) bytes.push_back(0);
        return bytes;
    };
    const Bytes picture = chunk("VP8L", {0x2F, 2, 0x40, 0, 0});
    Bytes body = ToBytes("WEBP");
    if (isAnimated) {
        Bytes frame = {0, 0, 0, 0, 0, 0, 2, 0, 0, 1, 0, 0, 100, 0, 0, 0};
        body = body + chunk("VP8X", {2, 0, 0, 0, 2, 0, 0, 1, 0, 0}) + chunk("ANIM", Bytes(6, 0)) +
               chunk("ANMF", frame + picture) + chunk("ANMF", frame + picture);
    } else {
        body = body + picture +
               chunk("EXIF", ToBytes(std::string("Exif\0\0", 6)) + TiffHeader(false, 8) + Bytes(6, 0));
    }
    Bytes bytes = ToBytes("RIFF");
    AppendLittle(bytes, body.size(), 4);
    return bytes + body;
}

Bytes MakeBmp(int width, int height) {
    const std::size_t stride = (static_cast<std::size_t>(width) * 24 + 31) / 32 * 4;
    const std::size_t lines = static_cast<std::size_t>(height < 0 ? -height : height);
    Bytes bytes = ToBytes("BM");
    AppendLittle(bytes, 54 + stride * lines, 4);
    AppendLittle(bytes, 0, 4);
    AppendLittle(bytes, 54, 4);
    AppendLittle(bytes, 40, 4);
    AppendLittle(bytes, static_cast<std::uint32_t>(width), 4);
    AppendLittle(bytes, static_cast<std::uint32_t>(height), 4);
    AppendLittle(bytes, 1 + (24U << 16), 4);
    return bytes + Bytes(24 + stride * lines, 0);
}

}  // namespace structuresupport
