#include <gtest/gtest.h>

#include <zlib.h>

#include "tests/zorimage/samples.h"
#include "zorimage/imageio.h"

namespace {

std::string Line(const ImageInfo& info) {
    return FormatName(info.format) + " " + std::to_string(info.width) + "x" + std::to_string(info.height) +
           " " + std::to_string(info.bitsPerSample) + "b x" + std::to_string(info.channels) + " " +
           std::to_string(info.frames) + "f, " + info.compression + ", " + info.colourModel;
}

Bytes With(Bytes bytes, std::size_t at, std::uint8_t value) {
    bytes.at(at) = value;
    return bytes;
}

std::size_t FindMarker(const Bytes& jpeg, std::uint8_t marker) {
    for (std::size_t i = 0; i + 1 < jpeg.size(); ++i) {
        if (jpeg[i] == 0xff && jpeg[i + 1] == marker) return i;
    }
    return 0;
}

TEST(ImageInfo, SaysWhatTheHeadersSay) {
    const Image colour = samples::MakeScene(33, 21, 3);
    const Bytes jpeg = EncodeImage(colour, "jpg", 80);
    const std::size_t frame = FindMarker(jpeg, 0xc0);
    const std::pair<Bytes, const char*> rows[] = {
        {jpeg, "JPEG 33x21 8b x3 1f, JPEG: Baseline DCT, Huffman, YCbCr 4:2:0"},
        {EncodeImage(colour, "jpg", 95), "JPEG 33x21 8b x3 1f, JPEG: Baseline DCT, Huffman, YCbCr 4:4:4"},
        {EncodeImage(colour.ToGray(), "jpg"), "JPEG 33x21 8b x1 1f, JPEG: Baseline DCT, Huffman, Grey"},
        {With(jpeg, frame + 11, 0x21), "JPEG 33x21 8b x3 1f, JPEG: Baseline DCT, Huffman, YCbCr 4:2:2"},
        {With(jpeg, frame + 11, 0x12), "JPEG 33x21 8b x3 1f, JPEG: Baseline DCT, Huffman, YCbCr 4:4:0"},
        {With(jpeg, frame + 11, 0x41), "JPEG 33x21 8b x3 1f, JPEG: Baseline DCT, Huffman, YCbCr 4:1:1"},
        {With(jpeg, frame + 11, 0x31), "JPEG 33x21 8b x3 1f, JPEG: Baseline DCT, Huffman, YCbCr 3x1,1x1,1x1"},
        {With(jpeg, frame + 1, 0xc3), "JPEG 33x21 8b x3 1f, JPEG: Lossless, Huffman, YCbCr 4:2:0"},
        {samples::kProgressiveJpeg, "JPEG 16x8 8b x3 1f, JPEG: Progressive DCT, Huffman, YCbCr 4:2:0"},
        {samples::kArithmeticJpeg,
         "JPEG 16x8 8b x3 1f, JPEG: Extended sequential DCT, arithmetic, YCbCr 4:2:0"},
        {samples::kInkJpeg, "JPEG 8x8 8b x4 1f, JPEG: Baseline DCT, Huffman, YCCK 4:4:4 (Adobe, inverted)"},
        {EncodeImage(samples::MakeScene(5, 4, 4, 16), "png"), "PNG 5x4 16b x4 1f, Deflate, RGB + alpha"},
        {EncodeImage(samples::MakeScene(5, 4, 2), "png"), "PNG 5x4 8b x2 1f, Deflate, Grey + alpha"},
        {EncodeImage(colour, "tif"), "TIFF 33x21 8b x3 1f, LZW, RGB"},
        {EncodeImage(colour, "bmp"), "BMP 33x21 8b x3 1f, none, RGB"},
        {EncodeImage(colour.ToGray(), "bmp"), "BMP 33x21 8b x1 1f, none, Palette (256)"},
        {EncodeImage(colour, "webp"), "WebP 33x21 8b x3 1f, WebP lossless, RGB"},
        {samples::kAnimatedWebp, "WebP 16x8 8b x3 2f, WebP lossless, RGB"},
        {samples::MakeGif(6, 5, std::vector<int>(30, 1), true),
         "GIF 6x5 2b x1 1f, LZW, interlaced, Palette (4)"},
        {samples::kGreyJp2, "JPEG 2000 16x8 8b x1 1f, JPEG 2000, reversible 5/3 wavelet, Grey"},
        {samples::kGreyJ2k, "JPEG 2000 16x8 8b x1 1f, JPEG 2000, reversible 5/3 wavelet, Grey"},
        {samples::kColourHeic, "HEIF 16x8 8b x3 1f, HEVC, YCbCr 4:2:0"},
        {samples::kTurnedAvif, "AVIF 16x8 8b x3 1f, AV1, YCbCr 4:2:0"},
        {samples::MakeDng(32, 24), "Camera RAW 32x24 16b x1 1f, none, Bayer mosaic (RGGB)"},
    };
    for (const auto& [bytes, line] : rows) {
        const ImageInfo info = ReadImageInfo(bytes);
        EXPECT_EQ(Line(info), line);
        EXPECT_FALSE(info.recipe.empty()) << line;
    }
}

TEST(ImageInfo, TellsWhatIsWrong) {
    Bytes png = EncodeImage(samples::MakeScene(9, 9, 3), "png");
    EXPECT_TRUE(ReadImageInfo(png).warnings.empty());
    png[29] ^= 1;  // the header chunk's checksum
    ASSERT_EQ(ReadImageInfo(png).warnings.size(), 1U);
    EXPECT_EQ(ReadImageInfo(png).warnings[0], "The checksum of a chunk at byte 8 is wrong.");
    png.erase(png.end() - 12, png.end());
    EXPECT_EQ(ReadImageInfo(png).warnings.back(), "File ends early: the end chunk is missing.");
    // Each on its own.
    const Bytes jpeg = EncodeImage(samples::MakeScene(9, 9, 3), "jpg");
    Bytes between = jpeg;
    between.insert(between.begin() + static_cast<std::ptrdiff_t>(FindMarker(jpeg, 0xdb)), {1, 2, 3});
    Bytes noScan(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(FindMarker(jpeg, 0xda)));
    Bytes noFrame = With(jpeg, FindMarker(jpeg, 0xc0) + 1, 0xe9);
    const std::pair<Bytes, const char*> wrong[] = {
        {between, "There are bytes between the segments that belong to none."},
        {noScan, "The file ends, or is damaged, before the picture data begins."},
        {noFrame, "The file has no frame header: its size is not known."}};
    for (const auto& [bytes, warning] : wrong)
        EXPECT_EQ(ReadImageInfo(bytes).warnings, std::vector<std::string>{warning});
    EXPECT_TRUE(ReadImageInfo({}).warnings.empty());
    EXPECT_EQ(ReadImageInfo({}).format, FileFormat::Empty);
}

Bytes ProfileChunk(const Bytes& profile, std::size_t first, std::size_t count, int number, int total) {
    Bytes body;
    samples::AppendText(body, std::string("ICC_PROFILE\0", 12));
    body.push_back(static_cast<std::uint8_t>(number));
    body.push_back(static_cast<std::uint8_t>(total));
    body.insert(body.end(), profile.begin() + static_cast<std::ptrdiff_t>(first),
                profile.begin() + static_cast<std::ptrdiff_t>(first + count));
    return body;
}

TEST(ImageInfo, PutsJpegProfilesTogether) {
    const Bytes jpeg = EncodeImage(samples::MakeScene(9, 9, 3), "jpg");
    Bytes profile(1000);
    for (std::size_t i = 0; i < profile.size(); ++i) profile[i] = static_cast<std::uint8_t>(i * 7);
    const Bytes one = ProfileChunk(profile, 0, 400, 1, 2);
    const Bytes two = ProfileChunk(profile, 400, 600, 2, 2);
    using samples::WithJpegSegment;
    // The segment inserted last stands first: here the chunks come in the wrong order, which is allowed.
    const ImageInfo whole = ReadImageInfo(WithJpegSegment(WithJpegSegment(jpeg, 0xe2, one), 0xe2, two));
    EXPECT_EQ(whole.iccProfile, profile);
    EXPECT_TRUE(whole.warnings.empty());
    const ImageInfo half = ReadImageInfo(WithJpegSegment(jpeg, 0xe2, one));
    EXPECT_TRUE(half.iccProfile.empty());
    EXPECT_EQ(half.warnings.size(), 1U);
    const ImageInfo doubled = ReadImageInfo(WithJpegSegment(WithJpegSegment(jpeg, 0xe2, one), 0xe2, one));
    EXPECT_TRUE(doubled.iccProfile.empty());
}

void AppendBig32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

Bytes WithPngProfile(const Bytes& png, const Bytes& content) {
    uLongf size = compressBound(content.size());
    Bytes packed(size);
    compress(packed.data(), &size, content.data(), content.size());
    Bytes chunk;
    samples::AppendText(chunk, std::string("iCCPname\0\0", 10));
    chunk.insert(chunk.end(), packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
    Bytes result(png.begin(), png.begin() + 33);
    AppendBig32(result, static_cast<std::uint32_t>(chunk.size() - 4));
    result.insert(result.end(), chunk.begin(), chunk.end());
    AppendBig32(result, static_cast<std::uint32_t>(crc32(0, chunk.data(), static_cast<uInt>(chunk.size()))));
    result.insert(result.end(), png.begin() + 33, png.end());
    return result;
}

TEST(ImageInfo, UnpacksPngProfilesUpToALimit) {
    const Bytes png = EncodeImage(samples::MakeScene(9, 9, 3), "png");
    for (const std::size_t size : {5000U, 16384U, 16385U, 300000U}) {
        const Bytes profile(size, 42);
        EXPECT_EQ(ReadImageInfo(WithPngProfile(png, profile)).iccProfile, profile) << size;
    }
    const ImageInfo bomb = ReadImageInfo(WithPngProfile(png, Bytes(100 << 20, 0)));
    EXPECT_TRUE(bomb.iccProfile.empty());
    EXPECT_EQ(bomb.warnings.size(), 1U);
}

Bytes Big(std::initializer_list<int> bytes) {
    Bytes result;
    for (const int value : bytes) result.push_back(static_cast<std::uint8_t>(value));
    return result;
}

TEST(IccProfile, NameOfBothGenerations) {
    const Bytes old = Big({'d', 'e', 's', 'c', 0, 0, 0, 0, 0, 0, 0, 5, 's', 'R', 'G', 'B', 0, 'x'});
    EXPECT_EQ(IccProfileName(samples::MakeProfile(old)), "sRGB");
    const Bytes localised =
        Big({'m', 'l', 'u', 'c', 0, 0,   0, 0,   0, 0,   0,   2,    0,    0,    0,    12,  'd', 'e',
             'D', 'E', 0,   0,   0, 4,   0, 0,   0, 40,  'e', 'n',  'U',  'S',  0,    0,   0,   8,
             0,   0,   0,   44,  0, 'N', 0, 'o', 0, 'P', 0,   0xe9, 0xd8, 0x3d, 0xdc, 0xf7});
    EXPECT_EQ(IccProfileName(samples::MakeProfile(localised)), "P\xc3\xa9\xf0\x9f\x93\xb7")
        << "English is preferred";
}

TEST(IccProfile, NameOfDamagedProfiles) {
    const Bytes old = Big({'d', 'e', 's', 'c', 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 'A', 1});
    EXPECT_EQ(IccProfileName(samples::MakeProfile(old)), "A\xef\xbf\xbd")
        << "a length beyond the tag, a control character";
    const Bytes whole = samples::MakeProfile(old);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(IccProfileName(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))), "")
            << size;
    }
    const Bytes lone = Big({'m', 'l', 'u', 'c', 0, 0, 0, 0, 0xff, 0, 0, 0, 0,  0,    0,
                            12,  'e', 'n', 0,   0, 0, 0, 0, 2,    0, 0, 0, 28, 0xd8, 0x00});
    EXPECT_EQ(IccProfileName(samples::MakeProfile(lone)), "\xef\xbf\xbd");
    const Bytes far = Big({'m', 'l', 'u', 'c', 0, 0, 0,    0,    0,    0,    0, 1, 0, 0,
                           0,   12,  'e', 'n', 0, 0, 0xff, 0xff, 0xff, 0xff, 0, 0, 0, 28});
    EXPECT_EQ(IccProfileName(samples::MakeProfile(far)), "");
}

}  // namespace
