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

TEST(ImageFormat, EverySignatureStandsAtItsPlace) {
    const std::pair<std::string, FileFormat> rows[] = {
        {"GIF87a", FileFormat::Gif},
        {"\xff\x4f\xff\x51", FileFormat::Jpeg2000},
        {Zeros("IIRS\x08\0\0\0", 8), FileFormat::Raw},
        {Zeros("MMOR\0\0\0\x08", 8), FileFormat::Raw},
        {Zeros("\0MRM\0\0", 6), FileFormat::Raw},
        {"PK\x05\x06", FileFormat::Zip},
        {"PK\x07\x08", FileFormat::Zip},
        {Zeros("\0\0\2\0\1\0", 6), FileFormat::Ico},
        {Zeros("\0\0\0\x08moov", 8), FileFormat::Mp4},
        {Zeros("\0\0\0\x08mdat", 8), FileFormat::Mp4},
        {Zeros("\0\0\0\x08wide", 8), FileFormat::Mp4},
        {Zeros("II+\0\x08\0\0\0", 8), FileFormat::Tiff},
        {Zeros("\xff\xd8\xfe\xe0\0\x10JFIF\0", 11), FileFormat::Jpeg},
        {Zeros("\xff\xd8\xfe\xe1\0\x10"
               "Exif\0",
               11),
         FileFormat::Jpeg},
        {Zeros("\xff\xd8\x00\xc0\0\x04..\xff\xc0", 10), FileFormat::Jpeg},
        {Zeros("\xff\xd8\x00\xbf\0\x04..\xff\xc0", 10), FileFormat::Unknown},
        {Zeros("\xff\xd8\x00\xc0\0\x04..\xff\xbf", 10), FileFormat::Unknown},
        {Zeros("\xff\xd8\x00\xc0\0\x04..\xff\xff", 10), FileFormat::Unknown},
        {Zeros("\xff\xd8\x00\xc0\0\x04..\xff", 9), FileFormat::Unknown},
        {"P1\n", FileFormat::Pnm},
        {"P7 ", FileFormat::Pnm},
        {"P5\t", FileFormat::Pnm},
        {"P4\r", FileFormat::Pnm},
        {"P8\n", FileFormat::Text},
        {"P0\n", FileFormat::Text},
        {"P6x", FileFormat::Text},
        {"P6", FileFormat::Text},
        {std::string(1019, ' ') + "%PDF-", FileFormat::Pdf},
        {std::string(1020, ' ') + "%PDF-", FileFormat::Text},
        {"tab\tfeed\x0b\x0c\r\n", FileFormat::Text},
        {"\x08", FileFormat::Unknown},
        {"\x0e", FileFormat::Unknown},
        {"\x1f", FileFormat::Unknown},
        {"\x7f", FileFormat::Unknown},
        {"\x80", FileFormat::Unknown},
        {"\xc1\x80", FileFormat::Unknown},
        {"\xc2\x80", FileFormat::Text},
        {"\xdf\xbf", FileFormat::Text},
        {"\xe0\xa0\x80", FileFormat::Text},
        {"\xf0\x90\x80\x80", FileFormat::Text},
        {"\xf4\x80\x80\x80", FileFormat::Text},
        {"\xf5\x80\x80\x80", FileFormat::Unknown},
        {"\xe0\xa0\xc0", FileFormat::Unknown},
        {"\xe0\xa0", FileFormat::Text},  // cut by the end of what was read
    };
    for (const auto& [head, format] : rows)
        EXPECT_EQ(FormatName(DetectFormat(Text(head))), FormatName(format)) << testing::PrintToString(head);
}

TEST(ImageFormat, BrandsOfBoxes) {
    const std::pair<Bytes, FileFormat> rows[] = {
        {Boxed("avis", ""), FileFormat::Avif},         {Boxed("heix", ""), FileFormat::Heif},
        {Boxed("hevc", ""), FileFormat::Heif},         {Boxed("hevx", ""), FileFormat::Heif},
        {Boxed("heim", ""), FileFormat::Heif},         {Boxed("heis", ""), FileFormat::Heif},
        {Boxed("hevm", ""), FileFormat::Heif},         {Boxed("hevs", ""), FileFormat::Heif},
        {Boxed("msf1", ""), FileFormat::Heif},         {Boxed("mif2", ""), FileFormat::Heif},
        {Boxed("miaf", ""), FileFormat::Heif},         {Boxed("isom", "heic"), FileFormat::Heif},
        {Boxed("isom", "heix"), FileFormat::Heif},     {Boxed("isom", "mif1"), FileFormat::Heif},
        {Boxed("isom", "avis"), FileFormat::Avif},     {Boxed("isom", "heicavif"), FileFormat::Avif},
        {Boxed("mif1", "mp41isom"), FileFormat::Heif}, {Boxed("isom", "heicmp41"), FileFormat::Heif},
        {Boxed("isom", "mp41isom"), FileFormat::Mp4}};
    for (const auto& [head, format] : rows)
        EXPECT_EQ(FormatName(DetectFormat(head)), FormatName(format))
            << std::string(head.begin() + 4, head.end());
    // What follows the first box is no brand of it.
    Bytes behind = Boxed("isom", "heic");
    behind[3] = 16;
    EXPECT_EQ(DetectFormat(behind), FileFormat::Mp4);
}

TEST(ImageFormat, SensorDataShowByTheirCoding) {
    const std::string sony = Zeros("SONY\0\0\0\0", 8);
    const struct {
        std::vector<std::pair<int, std::uint32_t>> entries;
        std::string make;
        FileFormat format;
    } rows[] = {{{{0x103, 34713}}, sony, FileFormat::Raw},
                {{{0x103, 32767}}, sony, FileFormat::Raw},
                {{{0x103, 32770}}, sony, FileFormat::Raw},
                {{{0x103, 65535}}, sony, FileFormat::Raw},
                {{{0x103, 34712}}, sony, FileFormat::Tiff},
                {{{0x103, 1}, {0x106, 32803}}, sony, FileFormat::Raw},
                {{{0x106, 32804}}, sony, FileFormat::Tiff},
                {{{0x103, 34713}, {0x103, 1}}, sony, FileFormat::Raw},
                {{{0xfe, 3}, {0x14a, 9}}, sony, FileFormat::Raw},
                {{{0xfe, 2}, {0x14a, 9}}, sony, FileFormat::Tiff},
                {{{0xfe, 1}}, sony, FileFormat::Tiff},
                {{{0x103, 34713}}, Zeros("Sonos\0\0\0", 8), FileFormat::Tiff},
                {{{0x103, 34713}}, Zeros("EASTMAN KODAK\0", 14), FileFormat::Raw},
                {{{0x103, 34713}}, Zeros("OLYMPUS\0", 8), FileFormat::Raw},
                {{{0x103, 34713}}, Zeros("Leica\0\0\0", 8), FileFormat::Raw}};
    for (const auto& row : rows)
        EXPECT_EQ(DetectFormat(Tiff(row.entries, row.make)), row.format) << row.make << row.entries[0].second;
}

// Short numbers stand at the front of their four bytes, whatever the order.
TEST(ImageFormat, SensorDataInBothByteOrders) {
    Bytes bytes = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 2};
    bytes.insert(bytes.end(), {0x01, 0x03, 0, 3, 0, 0, 0, 1, 0xff, 0xff, 0, 0});
    bytes.insert(bytes.end(), {0x01, 0x0f, 0, 2, 0, 0, 0, 6, 0, 0, 0, 38, 0, 0, 0, 0});
    AppendText(bytes, Zeros("NIKON\0", 6));
    EXPECT_EQ(DetectFormat(bytes), FileFormat::Raw);
    bytes[18] = 0x7e;
    EXPECT_EQ(DetectFormat(bytes), FileFormat::Tiff);
}

TEST(ImageFormat, BmpBySizesThatWereInUse) {
    for (const int size : {12, 16, 40, 52, 56, 64, 108, 124, 11, 13, 14, 128, 0})
        for (const std::size_t length : {18U, 17U}) {
            Bytes bytes(length, 0);
            bytes[0] = 'B';
            bytes[1] = 'M';
            bytes[14] = static_cast<std::uint8_t>(size);
            const bool isBmp = length == 18 && size >= 12 && size <= 124 && size % 4 == 0;
            EXPECT_EQ(DetectFormat(bytes) == FileFormat::Bmp, isBmp) << size;
        }
}

}  // namespace
