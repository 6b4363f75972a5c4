#include "tests/orvcore/formats/formatsupport.h"

#include <cstdio>
// The JPEG library's header needs stdio before it.
#include <jpeglib.h>
#include <stdlib.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "tests/support/jpegencoder.h"

namespace formatsupport {

Bytes MakeJpeg(const JpegRecipe& recipe) {
    JpegEncoder encoder(recipe.width, recipe.height, recipe.components,
                        recipe.components == 1 ? JCS_GRAYSCALE : JCS_RGB, recipe.quality, false);
    jpeg_compress_struct& info = encoder.Info();
    if (recipe.components == 1)
        encoder.SetLuminanceSampling(1, 1);
    else
        encoder.SetLuminanceSampling(recipe.horizontal, recipe.vertical);
    info.optimize_coding = recipe.optimised ? TRUE : FALSE;
    info.restart_in_rows = recipe.restartRows;
    if (recipe.progressive) jpeg_simple_progression(&info);
    encoder.Start();
    for (const auto& [number, payload] : recipe.segments)
        jpeg_write_marker(&info, JPEG_APP0 + number, payload.data(), static_cast<unsigned>(payload.size()));
    if (!recipe.comment.empty())
        jpeg_write_marker(&info, JPEG_COM, reinterpret_cast<const JOCTET*>(recipe.comment.data()),
                          static_cast<unsigned>(recipe.comment.size()));
    std::mt19937 random(recipe.seed);
    Bytes row(static_cast<std::size_t>(recipe.width * recipe.components));
    return encoder.WriteRows([&](int) {
        for (std::uint8_t& sample : row) sample = static_cast<std::uint8_t>(random() & 255);
        return row.data();
    });
}

Bytes ToBytes(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

void AppendLittle(Bytes& bytes, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

void AppendBig(Bytes& bytes, std::uint64_t value, int count) {
    for (int i = count; i-- > 0;) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

namespace {

Bytes Deflate(const Bytes& content) {
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    Bytes packed(deflateBound(&stream, content.size()));
    stream.next_in = const_cast<Bytef*>(content.data());
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = packed.data();
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

}  // namespace

Bytes MakeZip(const std::vector<ZipEntry>& entries) {
    Bytes zip;
    Bytes directory;
    for (const ZipEntry& entry : entries) {
        const std::size_t offset = zip.size();
        const Bytes data = entry.deflate ? Deflate(entry.content) : entry.content;
        Bytes common;  // the part that both headers share
        AppendLittle(common, 20, 2);
        AppendLittle(common, entry.encrypted ? 1 : 0, 2);
        AppendLittle(common, entry.deflate ? 8 : 0, 2);
        AppendLittle(common, 0, 4);
        AppendLittle(common, crc32(0, entry.content.data(), static_cast<uInt>(entry.content.size())), 4);
        AppendLittle(common, data.size(), 4);
        AppendLittle(common, entry.content.size(), 4);
        AppendLittle(common, entry.name.size(), 2);
        AppendLittle(common, 0, 2);
        zip = zip + ToBytes("PK\x03\x04") + common + ToBytes(entry.name) + data;
        directory = directory + ToBytes("PK\x01\x02");
        AppendLittle(directory, 20, 2);
        directory = directory + common;
        AppendLittle(directory, 0, 8);
        AppendLittle(directory, 0, 2);
        AppendLittle(directory, offset, 4);
        directory = directory + ToBytes(entry.name);
    }
    const std::size_t start = zip.size();
    zip = zip + directory + ToBytes("PK\x05\x06");
    AppendLittle(zip, 0, 4);
    AppendLittle(zip, entries.size(), 2);
    AppendLittle(zip, entries.size(), 2);
    AppendLittle(zip, directory.size(), 4);
    AppendLittle(zip, start, 4);
    AppendLittle(zip, 0, 2);
    return zip;
}

Bytes Directory(const std::vector<Tag>& tags, std::size_t offset, std::uint32_t next) {
    Bytes entries;
    Bytes data;
    const std::size_t dataStart = offset + 2 + 12 * tags.size() + 4;
    AppendLittle(entries, tags.size(), 2);
    for (const Tag& tag : tags) {
        Bytes value;
        if (tag.type == 2) value = ToBytes(tag.text + std::string(1, '\0'));
        const bool isBytes = tag.type == 1 || tag.type == 7;
        if (isBytes) value = ToBytes(tag.text);
        for (const std::uint32_t number : tag.values) AppendLittle(value, number, tag.type == 3 ? 2 : 4);
        const int unit = tag.type == 2 || isBytes          ? 1
                         : tag.type == 3                   ? 2
                         : tag.type == 5 || tag.type == 10 ? 8
                                                           : 4;
        AppendLittle(entries, static_cast<std::uint64_t>(tag.number), 2);
        AppendLittle(entries, static_cast<std::uint64_t>(tag.type), 2);
        AppendLittle(entries, value.size() / static_cast<std::size_t>(unit), 4);
        if (value.size() <= 4) {
            value.resize(4);
            entries = entries + value;
        } else {
            AppendLittle(entries, dataStart + data.size(), 4);
            data = data + value;
        }
    }
    AppendLittle(entries, next, 4);
    return entries + data;
}

Bytes Tiff(const TiffRecipe& recipe) {
    std::vector<Tag> main = recipe.main;
    main.push_back({0x8769, recipe.pointerType, {1000}});
    main.push_back({0x8825, recipe.pointerType, {2000}});
    Bytes tiff = ToBytes(std::string("II*\0\x08\0\0\0", 8));
    tiff = tiff + Directory(main, 8, recipe.loops ? 8 : recipe.second.empty() ? 0 : 3000);
    tiff.resize(1000);
    tiff = tiff + Directory(recipe.photo, 1000);
    tiff.resize(2000);
    tiff = tiff + Directory(recipe.gps, 2000);
    tiff.resize(3000);
    if (!recipe.second.empty()) {
        tiff = tiff + Directory(recipe.second, 3000);
        tiff.resize(3400);
        tiff = tiff + recipe.behind;
    }
    return tiff;
}

std::vector<Tag> Position(int type) {
    return {{1, 2, {}, "N"},
            {2, type, {48, 1, 51, 1, 2988, 100}},
            {3, 2, {}, "W"},
            {4, type, {2, 1, 1767, 100, 0, 1}}};
}

Bytes WithExif(const Bytes& tiff) {
    return MakeJpeg({.segments = {{1, ToBytes(std::string("Exif\0\0", 6)) + tiff}}});
}

Bytes XmpPayload(const std::string& properties) {
    const std::string packet =
        "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
        "<rdf:Description rdf:about='' xmlns:exif='http://ns.adobe.com/exif/1.0/' "
        "xmlns:tiff='http://ns.adobe.com/tiff/1.0/' xmlns:xmp='http://ns.adobe.com/xap/1.0/' " +
        properties + "/></rdf:RDF></x:xmpmeta>";
    return ToBytes(std::string("http://ns.adobe.com/xap/1.0/\0", 29) + packet);
}

Bytes WithXmp(const std::string& properties) {
    return MakeJpeg({.segments = {{1, XmpPayload(properties)}}});
}

std::string Fixtures() {
    const char* folder = getenv("ORVANE_FIXTURES");
    return folder == nullptr ? "" : folder;
}

std::vector<std::string> FilesBelow(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace formatsupport
