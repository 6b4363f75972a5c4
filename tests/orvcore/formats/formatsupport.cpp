#include "tests/orvcore/formats/formatsupport.h"

#include <cstdio>
// The JPEG library's header needs stdio before it.
#include <jpeglib.h>
#include <stdlib.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <random>

namespace formatsupport {

Bytes MakeJpeg(const JpegRecipe& recipe) {
    jpeg_compress_struct encoder{};
    jpeg_error_mgr errors{};
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&encoder, &buffer, &size);
    encoder.image_width = static_cast<JDIMENSION>(recipe.width);
    encoder.image_height = static_cast<JDIMENSION>(recipe.height);
    encoder.input_components = recipe.components;
    encoder.in_color_space = recipe.components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&encoder);
    jpeg_set_quality(&encoder, recipe.quality, FALSE);
    encoder.comp_info[0].h_samp_factor = recipe.components == 1 ? 1 : recipe.horizontal;
    encoder.comp_info[0].v_samp_factor = recipe.components == 1 ? 1 : recipe.vertical;
    encoder.optimize_coding = recipe.optimised ? TRUE : FALSE;
    encoder.restart_in_rows = recipe.restartRows;
    if (recipe.progressive) jpeg_simple_progression(&encoder);
    jpeg_start_compress(&encoder, TRUE);
    for (const auto& [number, payload] : recipe.segments)
        jpeg_write_marker(&encoder, JPEG_APP0 + number, payload.data(),
                          static_cast<unsigned>(payload.size()));
    if (!recipe.comment.empty())
        jpeg_write_marker(&encoder, JPEG_COM, reinterpret_cast<const JOCTET*>(recipe.comment.data()),
                          static_cast<unsigned>(recipe.comment.size()));
    std::mt19937 random(recipe.seed);
    Bytes row(static_cast<std::size_t>(recipe.width * recipe.components));
    while (encoder.next_scanline < encoder.image_height) {
        for (std::uint8_t& sample : row) sample = static_cast<std::uint8_t>(random() & 255);
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&encoder, rows, 1);
    }
    jpeg_finish_compress(&encoder);
    Bytes result(buffer, buffer + size);
    jpeg_destroy_compress(&encoder);
    free(buffer);
    return result;
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
