#include "orvcore/formats/structure/filestructure.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <numeric>

#include "orvcore/formats/structure/tiffdirectories.h"
#include "tests/orvcore/formats/structure/structuresupport.h"

using namespace formatsupport;
using namespace structuresupport;

namespace {

using Kind = StructureRow::Kind;

FileStructure Read(const Bytes& bytes, const std::string& what = "file") {
    FileStructure structure = ReadFileStructure(bytes);
    ExpectTiles(bytes, structure, what);
    return structure;
}

// "name offset length" of the rows of depth 0.
std::string Outline(const FileStructure& structure) {
    std::string text;
    for (const StructureRow& row : structure.rows)
        if (row.depth == 0)
            text += row.name + " " + std::to_string(row.offset) + " " + std::to_string(row.length) + "\n";
    return text;
}

Bytes ExifBlock(std::uint64_t nextDirectory) {
    Bytes tiff = TiffHeader(false, 8);
    AppendDirectory(tiff, {{0x0112, 3, 1, 6}, {0x8769, 4, 1, 38}}, nextDirectory);
    AppendDirectory(tiff, {{0xA002, 4, 1, 48}}, 0);
    return tiff;
}

TEST(FileStructure, JpegTellsEverySegmentAndWhatFollowsTheEnd) {
    const Bytes jpeg = MakeJpeg({.restartRows = 1, .comment = "hello"});
    const FileStructure plain = Read(jpeg);
    EXPECT_TRUE(plain.warnings.empty()) << plain.warnings.front();
    EXPECT_EQ(FindRow(plain, "COM")->text, "hello");
    EXPECT_EQ(FindRow(plain, "entropy-coded data")->text, "scan 1, 1 restart marker");
    EXPECT_EQ(FindRow(plain, "EOI")->offset, jpeg.size() - 2);

    const FileStructure trailing = Read(jpeg + Bytes(10, 'x'));
    EXPECT_EQ(trailing.rows.back().name, "trailing data");
    EXPECT_EQ(trailing.rows.back().offset, jpeg.size());
    EXPECT_EQ(trailing.rows.back().length, 10U);
    EXPECT_EQ(trailing.trailingBytes, 10U);
    EXPECT_TRUE(HasWarning(trailing, "10 bytes follow"));
}

TEST(FileStructure, JpegDamageIsToldWhereItIs) {
    const Bytes jpeg = MakeJpeg({.restartRows = 1});
    const FileStructure sound = Read(jpeg);
    const std::size_t entropy = FindRow(sound, "entropy-coded data")->offset;
    const std::size_t frame = FindRow(sound, "SOF0")->offset;
    const auto with = [&](std::size_t at, const Bytes& inserted) {
        Bytes bytes = jpeg;
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), inserted.begin(), inserted.end());
        return bytes;
    };
    Bytes noRestart = jpeg;
    for (std::size_t i = entropy; i + 1 < noRestart.size(); ++i)
        if (noRestart[i] == 0xFF && noRestart[i + 1] == 0xD0) noRestart[i] = noRestart[i + 1] = 0;
    const struct {
        const char* what;
        Bytes bytes;
        const char* warning;
    } cases[] = {
        {"bytes in front", Bytes(5, 1) + jpeg, "5 bytes stand before the start"},
        {"a gap", with(frame, {1, 2, 3}), "3 bytes belong to no segment"},
        {"a second start", with(frame, {0xFF, 0xD8}), "second start-of-image"},
        {"fill bytes", with(frame, {0xFF, 0xFF}), "2 fill bytes"},
        {"no end", Bytes(jpeg.begin(), jpeg.end() - 2), "without an end-of-image"},
        {"cut inside a segment", Bytes(jpeg.begin(), jpeg.begin() + 10), "ends inside it"},
        {"a code that cannot be", with(entropy, {0xFF, 0x7F}), "no place in coded data"},
        {"a lost restart marker", noRestart, "ask for 1 restart markers"},
        {"a marker out of place", with(frame, {0xFF, 0xD3}), "no place here"},
    };
    for (const auto& c : cases) {
        const FileStructure structure = Read(c.bytes, c.what);
        EXPECT_TRUE(HasWarning(structure, c.warning))
            << c.what << ": " << (structure.warnings.empty() ? "none" : structure.warnings.front());
    }
}

TEST(FileStructure, SeveralJpegsInOneFileAreParts) {
    const Bytes first = MakeJpeg({.seed = 1});
    const Bytes second = MakeJpeg({.width = 16, .height = 16, .seed = 2});
    const Bytes film = Box("ftyp", ToBytes("mp42") + Bytes(4, 0)) + Box("mdat", Bytes(20, 5));
    const FileStructure structure = Read(first + second + Bytes(3, 0) + second + film);
    const StructureRow* two = FindRow(structure, "picture 2");
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(two->offset, first.size());
    EXPECT_EQ(two->length, second.size());
    EXPECT_EQ(FindRow(structure, "picture 3")->offset, first.size() + second.size() + 3);
    EXPECT_EQ(FindRow(structure, "ftyp")->depth, 1);
    EXPECT_EQ(structure.trailingBytes, 3 + film.size());
}

TEST(FileStructure, APictureBehindAHeaderOfItsOwnIsTakenApart) {
    const Bytes jpeg = MakeJpeg();
    for (const std::size_t header : {0U, 12U, 63U, 64U}) {
        const FileStructure structure = Read(Box("ftyp", ToBytes("crx ") + Bytes(4, 0)) +
                                             Box("moov", Box("THMB", Bytes(header, 0) + jpeg)));
        EXPECT_EQ(FindRow(structure, "SOI") != nullptr, header < 64) << header;
        const StructureRow* before = FindRow(structure, "picture header");
        EXPECT_EQ(before != nullptr ? before->length : 0U, header % 64) << header;
    }
}

TEST(FileStructure, DirectoriesOfAnExifBlockEndAtALoop) {
    const Bytes head = ToBytes(std::string("Exif\0\0", 6));
    const FileStructure sound = Read(MakeJpeg({.segments = {{1, head + ExifBlock(0)}}}));
    EXPECT_TRUE(sound.warnings.empty()) << sound.warnings.front();
    ASSERT_NE(FindRow(sound, "Exif IFD"), nullptr);
    EXPECT_EQ(FindRow(sound, "Orientation")->text, "0x0112 SHORT: 6");
    EXPECT_EQ(FindRow(sound, "PixelXDimension")->text, "0xA002 LONG: 48");
    // To itself, and to the directory below it.
    for (const std::uint64_t target : {8, 38}) {
        const FileStructure loop = Read(MakeJpeg({.segments = {{1, head + ExifBlock(target)}}}));
        EXPECT_TRUE(HasWarning(loop, "a loop")) << target;
    }
}

TEST(FileStructure, PngChunksAreCheckedAgainstTheirSums) {
    const Bytes png = MakePng();
    const FileStructure sound = Read(png);
    EXPECT_TRUE(sound.warnings.empty()) << sound.warnings.front();
    EXPECT_EQ(FindRow(sound, "IHDR")->text, "3 x 2, 8 bit, grey");
    EXPECT_EQ(FindRow(sound, "tEXt")->text, "Software: Painter");

    Bytes broken = png;
    broken[8 + 8] ^= 1;  // a byte of the width
    EXPECT_TRUE(HasWarning(Read(broken), "IHDR at offset 8: The check sum is wrong"));
    EXPECT_TRUE(HasWarning(Read(png + Bytes{1}), "1 byte follows the end chunk"));
    EXPECT_TRUE(HasWarning(Read(Bytes(png.begin(), png.end() - 12)), "IEND"));
    const Bytes apart = Bytes(png.begin(), png.end() - 12) + PngChunk("tIME", Bytes(7, 1)) +
                        PngChunk("IDAT", {5}) + PngChunk("IEND", {});
    EXPECT_TRUE(HasWarning(Read(apart), "do not follow each other"));
    EXPECT_TRUE(
        HasWarning(Read(Bytes(png.begin(), png.end() - 12) + PngChunk("QQQQ", {}) + PngChunk("IEND", {})),
                   "unknown chunk"));
}

TEST(FileStructure, TiffDirectoriesClassicAndBig) {
    for (const bool isBig : {false, true}) {
        const std::size_t header = isBig ? 16 : 8;
        const std::size_t strip = header;
        const std::size_t directory = strip + 6;
        Bytes tiff = TiffHeader(isBig, directory) + Bytes(6, 0xAA);
        AppendDirectory(tiff,
                        {{0x0100, 3, 1, 3}, {0x0101, 3, 1, 2}, {0x0111, 4, 1, strip}, {0x0117, 4, 1, 6}}, 0);
        const FileStructure structure = Read(tiff);
        EXPECT_TRUE(structure.warnings.empty()) << structure.warnings.front();
        const std::size_t size = isBig ? 8 + 4 * 20 + 8 : 2 + 4 * 12 + 4;
        EXPECT_EQ(Outline(structure), "TIFF header 0 " + std::to_string(header) + "\nstrip " +
                                          std::to_string(strip) + " 6\nIFD0 " + std::to_string(directory) +
                                          " " + std::to_string(size) + "\n");
        EXPECT_EQ(FindRow(structure, "strip")->kind, Kind::Data);
        EXPECT_EQ(FindRow(structure, "ImageWidth")->depth, 1);
    }
}

TEST(FileStructure, TiffClaimsAreNotTrusted) {
    const auto tiff = [](const std::vector<TiffRecipeEntry>& entries, std::uint64_t next = 0) {
        Bytes bytes = TiffHeader(false, 8);
        AppendDirectory(bytes, entries, next);
        return bytes + Bytes(8, 1);
    };
    const struct {
        const char* what;
        Bytes bytes;
        const char* warning;
    } cases[] = {
        {"a value outside", tiff({{0x010F, 2, 100, 20}}), "value would lie outside"},
        {"a count of 4 GB", tiff({{0x010F, 12, 0xFFFFFFFF, 8}}), "value would lie outside"},
        {"an unknown type", tiff({{0x010F, 99, 1, 0}}), "type 99 is unknown"},
        {"a directory outside", tiff({{0x0112, 3, 1, 1}}, 5000), "IFD1 would lie outside"},
        {"a strip outside", tiff({{0x0111, 4, 1, 4000}, {0x0117, 4, 1, 9}}), "strip would lie outside"},
        {"disorder", tiff({{0x0112, 3, 1, 1}, {0x0100, 3, 1, 1}}), "not in the order"},
        {"shared bytes", tiff({{0x010E, 2, 8, 38}, {0x010F, 2, 6, 38}}), "shares these bytes"},
        {"partly shared", tiff({{0x010E, 2, 6, 38}, {0x010F, 2, 6, 40}}), "shares 4 bytes"},
    };
    for (const auto& c : cases) EXPECT_TRUE(HasWarning(Read(c.bytes, c.what), c.warning)) << c.what;
    // A second directory over the first one, and a value over it: the first one is shown nevertheless.
    const FileStructure over = Read(tiff({{0x0100, 3, 1, 5}, {0x0101, 3, 1, 5}}, 20));
    EXPECT_TRUE(HasWarning(over, "IFD1 at offset 20 would lie over IFD0"));
    EXPECT_NE(FindRow(over, "ImageLength"), nullptr);
    const FileStructure before = Read(TiffHeader(false, 12) + Bytes(4, 0) + [] {
        Bytes bytes = TiffHeader(false, 8);
        AppendDirectory(bytes, {{0x010F, 2, 20, 8}, {0x0110, 2, 1, 65}}, 0);
        return Bytes(bytes.begin() + 8, bytes.end());
    }());
    EXPECT_TRUE(HasWarning(before, "reach into a directory"));
    EXPECT_NE(FindRow(before, "Model"), nullptr);
    // Directories that fan out: every one points at two others, and all are visited once.
    Bytes fan = TiffHeader(false, 8);
    for (unsigned i = 0; i < 3000; ++i) {
        const std::uint64_t at = 8 + 18 * std::uint64_t{i};
        AppendDirectory(fan, {{0x014A, 4, 1, at + 18}}, at + 36);
    }
    EXPECT_LE(ReadTiffDirectories(fan).directories.size(), kMaxTiffDirectories);
    EXPECT_TRUE(HasWarning(Read(fan), "too many directories"));
}

TEST(FileStructure, BoxesOfAPictureFileTellTheItems) {
    const Bytes heif = MakeHeif();
    const FileStructure structure = Read(heif);
    EXPECT_TRUE(structure.warnings.size() == 1 && HasWarning(structure, "It has no entries"))
        << (structure.warnings.empty() ? "none" : structure.warnings.front());
    EXPECT_EQ(FindRow(structure, "pitm")->text, "primary item 1");
    EXPECT_EQ(FindRow(structure, "ispe")->text, "640 x 480");
    const StructureRow* data = FindRow(structure, "mdat");
    EXPECT_EQ(FindRow(structure, "item 1")->offset, data->offset + 8);
    EXPECT_EQ(FindRow(structure, "item 2")->length, 3U);
    EXPECT_EQ(FindRow(structure, "gap")->length, 5U);
    EXPECT_EQ(FindRow(structure, "item 4")->offset, FindRow(structure, "idat")->offset + 8);
    EXPECT_NE(FindRow(structure, "IFD0"), nullptr);
    EXPECT_TRUE(HasWarning(Read(heif + Bytes(3, 'x')), "3 bytes follow the last box"));
    EXPECT_TRUE(HasWarning(Read(Bytes(heif.begin(), heif.end() - 1)), "states more bytes"));
    // A size of 64 bits that overflows every sum.
    Bytes wide = Box("ftyp", ToBytes("heic") + Bytes(4, 0));
    AppendBig(wide, 1, 4);
    wide = wide + ToBytes("mdat") + Bytes(8, 0xFF) + Bytes(4, 0);
    EXPECT_TRUE(HasWarning(Read(wide), "states more bytes"));
}

TEST(FileStructure, NestingEndsByDepth) {
    Bytes nested;
    for (int i = 0; i < 3000; ++i) nested = Box("moov", nested);
    const auto start = std::chrono::steady_clock::now();
    const FileStructure structure = Read(Box("ftyp", ToBytes("heic") + Bytes(4, 0)) + nested);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_TRUE(HasWarning(structure, "nested too deep"));
    EXPECT_LE(structure.rows.size(), 2U + kMaxStructureDepth);
}

// Many of one kind against many of another: what is looked up for each must not be walked through for each.
TEST(FileStructure, NeedsLinearTime) {
    // Time of the processor, not of the clock on the wall: other programs must not fail this test.
    const std::clock_t start = std::clock();
    Bytes infos, locations;
    constexpr unsigned kItems = 15000;
    for (unsigned i = 1; i <= kItems; ++i) {
        Bytes info = {2, 0, 0, 0};
        AppendBig(info, i, 2);
        info = info + Bytes{0, 0} + ToBytes("hvc1") + Bytes{0};
        const Bytes box = Box("infe", info);
        infos.insert(infos.end(), box.begin(), box.end());
        AppendBig(locations, i, 2);
        AppendBig(locations, 0, 2);
        AppendBig(locations, 1, 2);
        AppendBig(locations, i, 4);
        AppendBig(locations, 1, 4);
    }
    Bytes count;
    AppendBig(count, 0, 4);
    AppendBig(count, kItems, 2);
    const Bytes located = Bytes{0, 0, 0, 0, 0x44, 0} + Bytes{kItems >> 8, kItems & 255} + locations;
    const Bytes meta = Box("meta", Bytes(4, 0) + Box("iinf", count + infos) + Box("iloc", located));
    Bytes boxes;
    for (int i = 0; i < 60000; ++i) {
        const Bytes box = Box("mdat", {});
        boxes.insert(boxes.end(), box.begin(), box.end());
    }
    Read(Box("ftyp", ToBytes("heic") + Bytes(4, 0)) + meta + boxes, "many boxes");

    // Two thousand pages that name one list of fifty thousand strips.
    constexpr std::size_t kStrips = 50000;
    Bytes tiff = TiffHeader(false, 8 + 4 * kStrips);
    for (std::size_t i = 0; i < kStrips; ++i) AppendLittle(tiff, 8, 4);
    for (unsigned i = 0; i < 1900; ++i) {
        const std::size_t size = 2 + 2 * 12 + 4;
        AppendDirectory(tiff, {{0x0111, 4, kStrips, 8}, {0x0117, 4, kStrips, 8}}, tiff.size() + size);
    }
    Read(tiff, "many pages");
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 10.0);
}

TEST(FileStructure, GifWebpAndBitmapParts) {
    const FileStructure gif = Read(MakeGif(2));
    EXPECT_EQ(Outline(gif),
              "signature 0 6\nscreen descriptor 6 7\nglobal colour table 13 6\ngraphic control 19 8\n"
              "picture descriptor 27 10\npicture data 37 5\ngraphic control 42 8\npicture descriptor 50 10\n"
              "picture data 60 5\ntrailer 65 1\n");
    EXPECT_TRUE(gif.warnings.empty());
    EXPECT_TRUE(HasWarning(Read(MakeGif(1) + Bytes(4, 2)), "4 bytes follow the trailer"));

    const FileStructure webp = Read(MakeWebp(false));
    EXPECT_EQ(FindRow(webp, "VP8L")->text, "lossless, 3 x 2");
    EXPECT_EQ(FindRow(webp, "identifier")->length, 6U);
    EXPECT_EQ(FindRow(webp, "TIFF header")->depth, 1);
    EXPECT_TRUE(HasWarning(Read(MakeWebp(true) + Bytes(2, 0)), "2 bytes follow"));
    EXPECT_EQ(FindRow(Read(MakeWebp(true)), "ANMF")->text, "frame 3 x 2 at 0, 0, 100 ms");

    // Rows stored from the top have a negative height.
    for (const int height : {5, -5}) {
        const FileStructure bmp = Read(MakeBmp(3, height));
        EXPECT_TRUE(bmp.warnings.empty()) << bmp.warnings.front();
        EXPECT_EQ(Outline(bmp), "file header 0 14\nBITMAPINFOHEADER 14 40\npixels 54 60\n");
    }
    Bytes huge = MakeBmp(3, 5);
    for (const std::size_t at : {18, 19, 20, 22, 23, 24}) huge[at] = 0xFF;
    EXPECT_TRUE(HasWarning(Read(huge), "ends inside the pixels"));
}

TEST(FileStructure, CodestreamOfJpeg2000) {
    Bytes stream = {0xFF, 0x4F, 0xFF, 0x51, 0, 41};
    AppendBig(stream, 0, 2);
    for (const unsigned value : {10U, 20U, 0U, 0U, 10U, 20U, 0U, 0U}) AppendBig(stream, value, 4);
    stream = stream + Bytes{0, 1, 7, 1, 1};
    stream = stream + Bytes{0xFF, 0x90, 0, 10, 0, 0, 0, 0, 0, 19, 0, 1, 0xFF, 0x93} + Bytes(5, 3) +
             Bytes{0xFF, 0xD9};
    const FileStructure raw = Read(stream);
    EXPECT_TRUE(raw.warnings.empty()) << raw.warnings.front();
    EXPECT_EQ(FindRow(raw, "SIZ")->text, "10 x 20, tiles 10 x 20, 1 component, 8 bit");
    EXPECT_EQ(FindRow(raw, "tile data")->length, 5U);
    const Bytes boxed = Box("jP  ", {13, 10, 0x87, 10}) +
                        Box("ftyp", ToBytes("jp2 ") + Bytes(4, 0) + ToBytes("jp2 ")) + Box("jp2c", stream);
    const FileStructure file = Read(boxed);
    EXPECT_EQ(file.format, FileFormat::Jpeg2000);
    EXPECT_EQ(FindRow(file, "tile data")->depth, 1);
    EXPECT_TRUE(HasWarning(Read(Bytes(stream.begin(), stream.end() - 2)), "no end marker"));
}

TEST(FileStructure, RowUnderAByte) {
    const Bytes head = ToBytes(std::string("Exif\0\0", 6));
    const FileStructure structure = Read(MakeJpeg({.segments = {{1, head + ExifBlock(0)}}}));
    const StructureRow* tag = FindRow(structure, "Orientation");
    const int found = FindStructureRow(structure, tag->offset + 11);
    ASSERT_GE(found, 0);
    EXPECT_EQ(structure.rows[static_cast<std::size_t>(found)].name, "Orientation");
    EXPECT_EQ(structure.rows[static_cast<std::size_t>(FindStructureRow(structure, 0))].name, "SOI");
    EXPECT_EQ(FindStructureRow(structure, std::size_t{1} << 40), -1);
}

// Every cut and every changed byte of every kind of file: the promise holds, whatever the bytes say.
TEST(FileStructure, HoldsForEveryCutAndEveryDamage) {
    Bytes tiff = TiffHeader(false, 14) + Bytes(6, 0xAA);
    AppendDirectory(tiff, {{0x0100, 3, 1, 3}, {0x010E, 2, 6, 8}, {0x0111, 4, 1, 8}, {0x0117, 4, 1, 6}}, 14);
    const Bytes head = ToBytes(std::string("Exif\0\0", 6));
    const std::pair<const char*, Bytes> files[] = {
        {"JPEG", MakeJpeg({.width = 8, .height = 8, .segments = {{1, head + ExifBlock(0)}}})},
        {"PNG", MakePng()},
        {"TIFF", tiff},
        {"HEIF", MakeHeif()},
        {"GIF", MakeGif(2)},
        {"WebP", MakeWebp(true)},
        {"BMP", MakeBmp(3, 2)},
    };
    for (const auto& [what, bytes] : files) {
        for (std::size_t size = 0; size <= bytes.size(); ++size)
            Read(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)), what);
        for (std::size_t at = 0; at < bytes.size(); ++at)
            for (const int value : {0x00, 0x01, 0x7F, 0xD8, 0xFF}) {
                Bytes damaged = bytes;
                damaged[at] = static_cast<std::uint8_t>(value);
                Read(damaged, what);
            }
        if (testing::Test::HasFailure()) break;
    }
}

TEST(FileStructure, TilesEveryRealFile) {
    NEED_FIXTURES();
    std::size_t count = 0, read = 0;
    for (const std::string& path : FilesBelow(Fixtures())) {
        const Bytes bytes = ReadFileBytes(path);
        const FileStructure structure = Read(bytes, path);
        ++count;
        if (structure.isRead) ++read;
    }
    EXPECT_GT(count, 300U);
    EXPECT_GT(read, 200U);
}

}  // namespace
