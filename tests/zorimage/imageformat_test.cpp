#include "zorimage/imageformat.h"

#include <gtest/gtest.h>

#include "tests/zorimage/samples.h"

namespace {

using samples::Append16;
using samples::Append32;
using samples::AppendText;

Bytes Text(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string Zeros(const char* text, std::size_t size) {
    return std::string(text, size);
}

Bytes Boxed(const std::string& major, const std::string& compatible) {
    Bytes bytes = {0, 0, 0, static_cast<std::uint8_t>(16 + compatible.size())};
    AppendText(bytes, "ftyp" + major);
    Append32(bytes, 0);
    AppendText(bytes, compatible + "meta");
    return bytes;
}

// A little-endian TIFF directory of entries with one long each; the make stands behind it.
Bytes Tiff(const std::vector<std::pair<int, std::uint32_t>>& entries, const std::string& make) {
    Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0};
    Append16(bytes, static_cast<std::uint32_t>(entries.size() + 1));
    const auto end = static_cast<std::uint32_t>(8 + 2 + 12 * (entries.size() + 1) + 4);
    Append16(bytes, 0x010f);
    Append16(bytes, 2);
    Append32(bytes, static_cast<std::uint32_t>(make.size()));
    Append32(bytes, end);
    for (const auto& [tag, value] : entries) {
        Append16(bytes, static_cast<std::uint32_t>(tag));
        Append16(bytes, 4);
        Append32(bytes, 1);
        Append32(bytes, value);
    }
    Append32(bytes, 0);
    AppendText(bytes, make);
    return bytes;
}

TEST(ImageFormat, IsToldByContent) {
    struct Row {
        Bytes head;
        FileFormat format;
    };
    const Row rows[] = {
        {{}, FileFormat::Empty},
        {{0xff, 0xd8, 0xff, 0xe0}, FileFormat::Jpeg},
        {{0xff, 0xd8}, FileFormat::Unknown},
        {Text("\x89PNG\r\n\x1a\n"), FileFormat::Png},
        {Text("GIF89a"), FileFormat::Gif},
        {Text("RIFF1234WEBPVP8 "), FileFormat::Webp},
        {Text("RIFF1234WAVEfmt "), FileFormat::Text},
        {Text(Zeros("\0\0\0\x0cjP  \r\n\x87\n", 12)), FileFormat::Jpeg2000},
        {Boxed("heic", "mif1heic"), FileFormat::Heif},
        {Boxed("mif1", "mif1heic"), FileFormat::Heif},
        {Boxed("avif", "mif1miaf"), FileFormat::Avif},
        {Boxed("mif1", "miafavif"), FileFormat::Avif},
        {Boxed("isom", "iso2mp41"), FileFormat::Mp4},
        {Boxed("qt  ", ""), FileFormat::Mp4},
        {Boxed("crx ", "isom"), FileFormat::Raw},
        {Text("FUJIFILMCCD-RAW 0201"), FileFormat::Raw},
        {Text(Zeros("IIU\0\x18\0\0\0", 8)), FileFormat::Raw},
        {Text(Zeros("IIRO\x08\0\0\0", 8)), FileFormat::Raw},
        {Text(Zeros("II\x1a\0\0\0HEAPCCDR", 14)), FileFormat::Raw},
        {Text("FOVb"), FileFormat::Raw},
        {Text(Zeros("II*\0\x10\0\0\0CR\x02\0", 12)), FileFormat::Raw},
        {Text(Zeros("II*\0\x08\0\0\0", 8)), FileFormat::Tiff},
        {Text(Zeros("MM\0*\0\0\0\x08", 8)), FileFormat::Tiff},
        {Text(Zeros("MM\0+\0\x08\0\0", 8)), FileFormat::Tiff},
        {samples::MakeBmp(samples::BmpHeader(1, 1, 24, 0), {0, 0, 0, 0}), FileFormat::Bmp},
        {Text("BMW is a maker of cars"), FileFormat::Text},
        {Text("%PDF-1.7"), FileFormat::Pdf},
        {Text("junk first\n%PDF-1.4"), FileFormat::Pdf},
        {Text("PK\x03\x04"), FileFormat::Zip},
        {Text("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"), FileFormat::OleDocument},
        {Text("8BPS"), FileFormat::Photoshop},
        {Text(Zeros("\0\0\1\0\1\0", 6)), FileFormat::Ico},
        {Text("P6\n1 1\n255\n"), FileFormat::Pnm},
        {Text("P\xc3\xa9trole"), FileFormat::Text},
        {Text("\xe9t\xe9"), FileFormat::Unknown},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(FormatName(DetectFormat(row.head)), FormatName(row.format))
            << std::string(row.head.begin(), row.head.end());
    }
}

TEST(ImageFormat, TellsSensorDataFromExportedTiff) {
    const std::string nikon = Zeros("NIKON CORPORATION\0", 18);
    EXPECT_EQ(DetectFormat(Tiff({{0xfe, 1}, {0x14a, 200}}, nikon)), FileFormat::Raw);
    EXPECT_EQ(DetectFormat(Tiff({{0xfe, 0}, {0x106, 2}}, nikon)), FileFormat::Tiff)
        << "an editor's export keeps the make";
    EXPECT_EQ(DetectFormat(Tiff({{0xfe, 1}, {0x14a, 200}}, Zeros("Scanner\0", 8))), FileFormat::Tiff);
    EXPECT_EQ(DetectFormat(Tiff({{0x103, 65535}, {0x106, 32803}}, Zeros("PENTAX\0", 7))), FileFormat::Raw);
    EXPECT_EQ(DetectFormat(Tiff({{0xc612, 0x401}}, Zeros("Anybody\0", 8))), FileFormat::Raw);
    // The directory may stand anywhere; of the first bytes alone it cannot be seen.
    Bytes far = Tiff({{0xc612, 0x401}}, Zeros("Anybody\0", 8));
    far.insert(far.begin() + 8, 2 * kFormatSniffBytes, 0);
    far[5] = static_cast<std::uint8_t>(far[5] + 2 * kFormatSniffBytes / 256);
    EXPECT_EQ(DetectFormat(far), FileFormat::Raw);
    EXPECT_EQ(DetectFormat(std::span(far).first(kFormatSniffBytes)), FileFormat::Tiff);
    Bytes beyond = Tiff({{0xfe, 1}, {0x14a, 200}}, nikon);
    beyond[4] = 0xf0;  // a directory outside the bytes
    beyond[7] = 0xff;
    EXPECT_EQ(DetectFormat(beyond), FileFormat::Tiff);
}

TEST(ImageFormat, LooksAtNoMoreThanItsLimit) {
    Bytes bytes(kFormatSniffBytes, 'a');
    bytes.insert(bytes.end(), {0, 0, 0});
    EXPECT_EQ(DetectFormat(bytes), FileFormat::Text);
    EXPECT_EQ(DetectFormat(std::span(bytes).first(10)), FileFormat::Text);
}

TEST(ImageFormat, NamesAgreeWithExtensions) {
    EXPECT_TRUE(ExtensionAgrees(FileFormat::Jpeg, "/photos/a.JPG"));
    EXPECT_TRUE(ExtensionAgrees(FileFormat::Raw, "a.Nef"));
    EXPECT_FALSE(ExtensionAgrees(FileFormat::Png, "a.jpg"));
    EXPECT_FALSE(ExtensionAgrees(FileFormat::Png, "png"));
    EXPECT_TRUE(ExtensionAgrees(FileFormat::Unknown, "/a.b/name"));
    EXPECT_FALSE(ExtensionAgrees(FileFormat::Unknown, "name.jpg"));
    EXPECT_TRUE(FormatExtensions(FileFormat::Unknown).empty());
    EXPECT_EQ(FormatExtensions(FileFormat::Jpeg).front(), "jpg");
}

TEST(ImageFormat, ChooserFilterHoldsEveryReadableFormatInBothCases) {
    const std::string filter = ImageFormatsReadFilter();
    EXPECT_EQ(filter.rfind("All supported images|*.jpg;*.JPG;", 0), 0U);
    EXPECT_TRUE(filter.ends_with("|All files (*.*)|*.*"));
    EXPECT_NE(filter.find("|Camera RAW|*.dng;*.DNG;"), std::string::npos);
    EXPECT_EQ(filter.find("PDF"), std::string::npos);
    EXPECT_TRUE(IsReadableFormat(FileFormat::Avif));
    EXPECT_FALSE(IsReadableFormat(FileFormat::Mp4));
}

}  // namespace
