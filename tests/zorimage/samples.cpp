#include "tests/zorimage/samples.h"

#include <algorithm>
#include <iterator>

namespace samples {

namespace {

// One TIFF directory entry with its value in place or at an offset.
void AppendEntry(Bytes& bytes, std::uint32_t tag, std::uint32_t type, std::uint32_t count,
                 std::uint32_t value) {
    Append16(bytes, tag);
    Append16(bytes, type);
    Append32(bytes, count);
    Append32(bytes, value);
}

}  // namespace

Image MakeScene(int width, int height, int channels, int depth) {
    cv::Mat mat(height, width, CV_MAKETYPE(depth == 16 ? CV_16U : CV_8U, channels));
    std::uint32_t noise = 12345;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width * channels; ++x) {
            noise = noise * 1664525U + 1013904223U;
            const int column = x / channels;
            const int base =
                (column * 200 / width + y * 40 / height + (column / 5 + y / 7) % 2 * 8 + x % channels * 3) %
                250;
            const auto value = static_cast<std::uint32_t>(base) + (noise >> 30);
            if (depth == 16) {
                mat.ptr<std::uint16_t>(y)[x] = static_cast<std::uint16_t>(value * 257U + (noise >> 26));
            } else {
                mat.ptr(y)[x] = static_cast<std::uint8_t>(value);
            }
        }
    }
    return Image(mat);
}

Image GreySlope() {
    cv::Mat mat(8, 16, CV_8UC1);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 16; ++x) mat.at<std::uint8_t>(y, x) = static_cast<std::uint8_t>(16 * x + y);
    }
    return Image(mat);
}

Image ColourSlope() {
    cv::Mat mat(8, 16, CV_8UC3);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 16; ++x)
            mat.at<cv::Vec3b>(y, x) = {128, static_cast<std::uint8_t>(32 * y),
                                       static_cast<std::uint8_t>(16 * x)};
    }
    return Image(mat);
}

void Append16(Bytes& bytes, std::uint32_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value));
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
}

void Append32(Bytes& bytes, std::uint32_t value) {
    Append16(bytes, value & 0xffff);
    Append16(bytes, value >> 16);
}

void AppendText(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes MakeBmp(const Bytes& headerAndPalette, const Bytes& pixels) {
    Bytes bytes = {'B', 'M'};
    Append32(bytes, static_cast<std::uint32_t>(14 + headerAndPalette.size() + pixels.size()));
    Append32(bytes, 0);
    Append32(bytes, static_cast<std::uint32_t>(14 + headerAndPalette.size()));
    bytes.insert(bytes.end(), headerAndPalette.begin(), headerAndPalette.end());
    bytes.insert(bytes.end(), pixels.begin(), pixels.end());
    return bytes;
}

Bytes BmpHeader(int width, int height, int bits, std::uint32_t compression, std::uint32_t colours) {
    Bytes bytes;
    Append32(bytes, 40);
    Append32(bytes, static_cast<std::uint32_t>(width));
    Append32(bytes, static_cast<std::uint32_t>(height));
    Append16(bytes, 1);
    Append16(bytes, static_cast<std::uint32_t>(bits));
    Append32(bytes, compression);
    for (int i = 0; i < 3; ++i) Append32(bytes, 0);
    Append32(bytes, colours);
    Append32(bytes, 0);
    return bytes;
}

Bytes MakeGif(int width, int height, const std::vector<int>& pixels, bool isInterlaced, int transparent) {
    Bytes bytes;
    AppendText(bytes, "GIF89a");
    Append16(bytes, static_cast<std::uint32_t>(width));
    Append16(bytes, static_cast<std::uint32_t>(height));
    bytes.insert(bytes.end(), {0x81, 0, 0, 0, 0, 0, 85, 85, 85, 170, 170, 170, 255, 255, 255});
    if (transparent >= 0)
        bytes.insert(bytes.end(), {'!', 0xf9, 4, 1, 0, 0, static_cast<std::uint8_t>(transparent), 0});
    bytes.insert(bytes.end(), {',', 0, 0, 0, 0});
    Append16(bytes, static_cast<std::uint32_t>(width));
    Append16(bytes, static_cast<std::uint32_t>(height));
    bytes.insert(bytes.end(), {static_cast<std::uint8_t>(isInterlaced ? 0x40 : 0), 2});
    // Codes of three bits, with a clear code before the table would ask for four.
    Bytes data;
    std::uint32_t pending = 0;
    int bits = 0;
    const auto put = [&](int code) {
        pending |= static_cast<std::uint32_t>(code) << bits;
        for (bits += 3; bits >= 8; bits -= 8, pending >>= 8)
            data.push_back(static_cast<std::uint8_t>(pending));
    };
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (i % 2 == 0) put(4);
        put(pixels[i]);
    }
    put(5);
    if (bits > 0) data.push_back(static_cast<std::uint8_t>(pending));
    for (std::size_t at = 0; at < data.size(); at += 255) {
        const std::size_t count = std::min<std::size_t>(255, data.size() - at);
        bytes.push_back(static_cast<std::uint8_t>(count));
        bytes.insert(bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(at),
                     data.begin() + static_cast<std::ptrdiff_t>(at + count));
    }
    bytes.insert(bytes.end(), {0, ';'});
    return bytes;
}

Bytes MakeDng(int width, int height) {
    constexpr std::uint32_t kEntries = 21;
    constexpr std::uint32_t kExtra = 8 + 2 + kEntries * 12 + 4;  // values that do not fit into an entry
    constexpr std::uint32_t kMatrix = kExtra + 16;
    constexpr std::uint32_t kNeutral = kMatrix + 72;
    constexpr std::uint32_t kPixels = kNeutral + 24;
    Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0};
    Append16(bytes, kEntries);
    AppendEntry(bytes, 254, 4, 1, 0);
    AppendEntry(bytes, 256, 4, 1, static_cast<std::uint32_t>(width));
    AppendEntry(bytes, 257, 4, 1, static_cast<std::uint32_t>(height));
    AppendEntry(bytes, 258, 3, 1, 16);
    AppendEntry(bytes, 259, 3, 1, 1);
    AppendEntry(bytes, 262, 3, 1, 32803);
    AppendEntry(bytes, 271, 2, 8, kExtra);
    AppendEntry(bytes, 272, 2, 8, kExtra + 8);
    AppendEntry(bytes, 273, 4, 1, kPixels);
    AppendEntry(bytes, 274, 3, 1, 6);  // asks to be turned
    AppendEntry(bytes, 277, 3, 1, 1);
    AppendEntry(bytes, 278, 4, 1, static_cast<std::uint32_t>(height));
    AppendEntry(bytes, 279, 4, 1, static_cast<std::uint32_t>(width * height * 2));
    AppendEntry(bytes, 33421, 3, 2, 0x00020002);
    AppendEntry(bytes, 33422, 1, 4, 0x02010100);  // red, green / green, blue
    AppendEntry(bytes, 50706, 1, 4, 0x00000401);
    AppendEntry(bytes, 50708, 2, 4, 0x00636261);
    AppendEntry(bytes, 50714, 3, 1, 0);
    AppendEntry(bytes, 50717, 3, 1, 65535);
    AppendEntry(bytes, 50721, 10, 9, kMatrix);
    AppendEntry(bytes, 50728, 5, 3, kNeutral);
    Append32(bytes, 0);
    AppendText(bytes, std::string("Virtual\0Camera1\0", 16));
    // The matrix of sRGB's own primaries: what the sensor sees is already sRGB.
    for (const int value : {3240, -1537, -499, -969, 1876, 42, 56, -204, 1057}) {
        Append32(bytes, static_cast<std::uint32_t>(value));
        Append32(bytes, 1000);
    }
    for (int i = 0; i < 3; ++i) {
        Append32(bytes, 1);
        Append32(bytes, 1);
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) Append16(bytes, x < width / 2 ? 8000 : 40000);
    }
    return bytes;
}

Bytes WithJpegSegment(const Bytes& jpeg, int marker, const Bytes& body) {
    Bytes bytes;
    bytes.reserve(body.size() + jpeg.size() + 4);
    for (const std::size_t byte : {std::size_t{0xff}, std::size_t{0xd8}, std::size_t{0xff},
                                   static_cast<std::size_t>(marker), (body.size() + 2) >> 8, body.size() + 2})
        bytes.push_back(static_cast<std::uint8_t>(byte));
    std::copy(body.begin(), body.end(), std::back_inserter(bytes));
    std::copy(jpeg.begin() + 2, jpeg.end(), std::back_inserter(bytes));
    return bytes;
}

Bytes MakeProfile(const Bytes& descriptionTag) {
    Bytes bytes(144, 0);
    bytes[131] = 1;
    std::copy_n("desc", 4, bytes.begin() + 132);
    bytes[139] = 144;
    bytes[143] = static_cast<std::uint8_t>(descriptionTag.size());
    std::copy(descriptionTag.begin(), descriptionTag.end(), std::back_inserter(bytes));
    return bytes;
}

std::vector<std::pair<std::string, Bytes>> OneOfEach() {
    std::vector<std::pair<std::string, Bytes>> files;
    for (const std::string extension : {"jpg", "png", "tif", "bmp", "webp"}) {
        files.emplace_back(extension, EncodeImage(MakeScene(33, 21, 3), extension));
    }
    files.emplace_back("gif", MakeGif(6, 5, std::vector<int>(30, 2), true));
    files.emplace_back("jp2", kGreyJp2);
    files.emplace_back("j2k", kGreyJ2k);
    files.emplace_back("heic", kColourHeic);
    files.emplace_back("avif", kTurnedAvif);
    files.emplace_back("progressive jpg", kProgressiveJpeg);
    files.emplace_back("arithmetic jpg", kArithmeticJpeg);
    files.emplace_back("ink jpg", kInkJpeg);
    files.emplace_back("animated webp", kAnimatedWebp);
    files.emplace_back("dng", MakeDng(32, 24));
    return files;
}

}  // namespace samples
