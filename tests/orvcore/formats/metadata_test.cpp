#include "orvcore/formats/metadata.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <thread>

#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/text.h"

using namespace formatsupport;
using testing::HasSubstr;

namespace {

struct Tag {
    int number;
    int type;  // 2 text, 3 short, 4 long, 5 rational
    std::vector<std::uint32_t> values;
    std::string text = {};
};

// One directory with its values behind it, little endian; `offset` is where it will stand in the TIFF
// structure.
Bytes Directory(const std::vector<Tag>& tags, std::size_t offset, std::uint32_t next = 0) {
    Bytes entries;
    Bytes data;
    const std::size_t dataStart = offset + 2 + 12 * tags.size() + 4;
    AppendLittle(entries, tags.size(), 2);
    for (const Tag& tag : tags) {
        Bytes value;
        if (tag.type == 2) value = ToBytes(tag.text + std::string(1, '\0'));
        for (const std::uint32_t number : tag.values) AppendLittle(value, number, tag.type == 3 ? 2 : 4);
        const int unit = tag.type == 2 ? 1 : tag.type == 3 ? 2 : tag.type == 4 ? 4 : 8;
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

// A TIFF structure: main directory, then at 1000 the camera's, at 2000 the position's, at 3000 the
// thumbnail's with its JPEG behind.
Bytes Tiff(std::vector<Tag> main, const std::vector<Tag>& photo, const std::vector<Tag>& gps,
           const Bytes& thumbnail, bool loop = false) {
    main.push_back({0x8769, 4, {1000}});
    main.push_back({0x8825, 4, {2000}});
    Bytes tiff = ToBytes(std::string("II*\0\x08\0\0\0", 8));
    tiff = tiff + Directory(main, 8, loop ? 8 : thumbnail.empty() ? 0 : 3000);
    tiff.resize(1000);
    tiff = tiff + Directory(photo, 1000);
    tiff.resize(2000);
    tiff = tiff + Directory(gps, 2000);
    tiff.resize(3000);
    if (!thumbnail.empty()) {
        tiff = tiff + Directory({{0x0103, 3, {6}},
                                 {0x0201, 4, {3100}},
                                 {0x0202, 4, {static_cast<std::uint32_t>(thumbnail.size())}}},
                                3000);
        tiff.resize(3100);
        tiff = tiff + thumbnail;
    }
    return tiff;
}

Bytes WithExif(const Bytes& tiff) {
    return MakeJpeg({.segments = {{1, ToBytes(std::string("Exif\0\0", 6)) + tiff}}});
}

Bytes WithXmp(const std::string& properties) {
    const std::string packet =
        "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
        "<rdf:Description rdf:about='' xmlns:exif='http://ns.adobe.com/exif/1.0/' "
        "xmlns:xmp='http://ns.adobe.com/xap/1.0/' " +
        properties + "/></rdf:RDF></x:xmpmeta>";
    return MakeJpeg({.segments = {{1, ToBytes(std::string("http://ns.adobe.com/xap/1.0/\0", 29) + packet)}}});
}

Bytes Camera() {
    return WithExif(Tiff({{0x010F, 2, {}, "Maker Co.  "}, {0x0110, 2, {}, "M\xE9 1"}, {0x0112, 3, {6}}},
                         {{0x829A, 5, {1, 60}}, {0x9003, 2, {}, "2020:01:02 03:04:05"}, {0xA002, 3, {640}}},
                         {{1, 2, {}, "N"},
                          {2, 5, {48, 1, 51, 1, 2988, 100}},
                          {3, 2, {}, "W"},
                          {4, 5, {2, 1, 1767, 100, 0, 1}}},
                         {}));
}

}  // namespace

TEST(Metadata, TellsEntriesAndFacts) {
    const MetadataSet set = ReadMetadata(Camera());
    const MetadataEntry* exposure = FindMetadata(set, "Exif.Photo.ExposureTime");
    ASSERT_NE(exposure, nullptr);
    EXPECT_EQ(exposure->kind, MetadataKind::Exif);
    EXPECT_EQ(exposure->group, "EXIF Photo");
    EXPECT_EQ(exposure->label, "Exposure Time");
    EXPECT_EQ(exposure->value, "1/60 s");
    EXPECT_EQ(exposure->raw, "1/60");
    EXPECT_EQ(exposure->type, "Rational");
    ASSERT_NE(FindMetadata(set, "Exif.GPSInfo.GPSLatitude"), nullptr);
    EXPECT_EQ(FindMetadata(set, "Exif.GPSInfo.GPSLatitude")->kind, MetadataKind::Gps);
    EXPECT_EQ(FindMetadata(set, "Exif.Photo.FNumber"), nullptr);
    EXPECT_EQ(set.facts.make, "Maker Co.");
    EXPECT_EQ(set.facts.model, "M\xEF\xBF\xBD 1");
    EXPECT_EQ(set.facts.dateTimeOriginal, "2020:01:02 03:04:05");
    EXPECT_EQ(set.facts.orientation, 6);
    EXPECT_EQ(set.facts.pixelXDimension, 640);
    EXPECT_EQ(set.facts.pixelYDimension, 0);
    EXPECT_EQ(set.facts.lens, "");
    ASSERT_TRUE(set.gps.has_value());
    EXPECT_EQ(GpsToText(*set.gps), "48.858300 -2.294500");
    EXPECT_TRUE(set.warnings.empty()) << testing::PrintToString(set.warnings);
}

TEST(Metadata, PositionNeedsAllItsParts) {
    struct Case {
        const char* what;
        std::vector<Tag> gps;
        const char* expected;
    };
    const Tag north{1, 2, {}, "N"};
    const Tag south{1, 2, {}, "S"};
    const Tag east{3, 2, {}, "E"};
    const auto latitude = [](std::vector<std::uint32_t> v) { return Tag{2, 5, std::move(v)}; };
    const auto longitude = [](std::vector<std::uint32_t> v) { return Tag{4, 5, std::move(v)}; };
    const Case cases[] = {
        {"south east",
         {south, latitude({10, 1, 30, 1, 0, 1}), east, longitude({20, 1, 0, 1, 36, 1})},
         "-10.500000 20.010000"},
        {"no hemisphere", {latitude({10, 1, 30, 1, 0, 1}), east, longitude({20, 1, 0, 1, 36, 1})}, ""},
        {"zero denominator", {north, latitude({0, 0, 0, 0, 0, 0}), east, longitude({0, 0, 0, 0, 0, 0})}, ""},
        {"beyond the pole", {north, latitude({91, 1, 0, 1, 0, 1}), east, longitude({20, 1, 0, 1, 0, 1})}, ""},
        {"no longitude", {north, latitude({10, 1, 0, 1, 0, 1})}, ""},
        {"wrong letter",
         {Tag{1, 2, {}, "E"}, latitude({10, 1, 0, 1, 0, 1}), east, longitude({20, 1, 0, 1, 0, 1})},
         ""},
        {"nothing", {}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::optional<GpsPosition> position = ReadGps(WithExif(Tiff({}, {}, c.gps, {})));
        EXPECT_EQ(position ? GpsToText(*position) : "", c.expected);
    }
    const auto fromXmp = ReadGps(WithXmp("exif:GPSLatitude='48,51.498N' exif:GPSLongitude='2,17,40.2W'"));
    ASSERT_TRUE(fromXmp.has_value());
    EXPECT_EQ(GpsToText(*fromXmp), "48.858300 -2.294500");
    EXPECT_EQ(fromXmp->source, "XMP");
}

TEST(Metadata, ReadsXmpIptcAndComment) {
    const MetadataSet xmp = ReadMetadata(WithXmp("xmp:CreatorTool='Editor &lt;b&gt; 1'"));
    ASSERT_NE(FindMetadata(xmp, "Xmp.xmp.CreatorTool"), nullptr);
    EXPECT_EQ(FindMetadata(xmp, "Xmp.xmp.CreatorTool")->value, "Editor <b> 1");
    EXPECT_EQ(FindMetadata(xmp, "Xmp.xmp.CreatorTool")->group, "XMP xmp");
    EXPECT_THAT(xmp.xmpPacket, HasSubstr("x:xmpmeta"));

    const std::string iptc(
        "\x1C\x02\x78\0\x05"
        "caf\xE9s",
        10);
    std::string block("Photoshop 3.0\0008BIM\x04\x04\0\0\0\0\0", 25);
    block += static_cast<char>(iptc.size());
    const MetadataSet set =
        ReadMetadata(MakeJpeg({.comment = "by \xFFme", .segments = {{13, ToBytes(block + iptc)}}}));
    ASSERT_NE(FindMetadata(set, "Iptc.Application2.Caption"), nullptr);
    EXPECT_EQ(FindMetadata(set, "Iptc.Application2.Caption")->value, "caf\xC3\xA9s");
    EXPECT_THAT(FindMetadata(set, "Iptc.Application2.Caption")->type, HasSubstr("8859-1"));
    ASSERT_NE(FindMetadata(set, "Comment"), nullptr);
    EXPECT_EQ(FindMetadata(set, "Comment")->value, "by \xEF\xBF\xBDme");
}

TEST(Metadata, LongValuesAreCutAndSaySo) {
    const MetadataSet set = ReadMetadata(WithXmp("xmp:CreatorTool='" + std::string(30000, 'x') + "'"));
    const MetadataEntry* entry = FindMetadata(set, "Xmp.xmp.CreatorTool");
    ASSERT_NE(entry, nullptr);
    EXPECT_LT(entry->value.size(), kMaxMetadataText + 100);
    EXPECT_THAT(entry->value, HasSubstr("30000 characters in all"));
}

TEST(Metadata, ThumbnailIsUnchanged) {
    const Bytes thumbnail = MakeJpeg({.width = 16, .height = 16});
    EXPECT_EQ(ReadExifThumbnail(WithExif(Tiff({}, {}, {}, thumbnail))), thumbnail);
    EXPECT_TRUE(ReadExifThumbnail(Camera()).empty());
    EXPECT_TRUE(ReadExifThumbnail(Bytes()).empty());
}

TEST(Metadata, DamageIsToldNotThrown) {
    // A directory that points to itself.
    const MetadataSet loop = ReadMetadata(WithExif(Tiff({{0x010F, 2, {}, "Maker"}}, {}, {}, {}, true)));
    EXPECT_EQ(loop.facts.make, "Maker");
    EXPECT_FALSE(loop.warnings.empty());

    const Bytes good = Camera();
    for (std::size_t i = 0; i < 3200; i += 3) {
        Bytes bytes = good;
        bytes[i] = 0xFF;
        for (const MetadataEntry& entry : ReadMetadata(bytes).entries)
            EXPECT_EQ(ToValidUtf8(entry.value), entry.value);
    }
    for (const char* text : {"", "hello", "RIFF\x10\0\0\0AVI LIST", "BM"})
        EXPECT_TRUE(ReadMetadata(ToBytes(text)).entries.empty());
}

TEST(Metadata, WorksOnSeveralThreadsAndInAnyLocale) {
    const std::string before = setlocale(LC_ALL, nullptr);
    setlocale(LC_ALL, "");
    const Bytes camera = Camera();
    const Bytes xmp = WithXmp("xmp:CreatorTool='x'");
    std::vector<std::thread> threads;
    std::vector<std::size_t> counts(4);
    for (std::size_t i = 0; i < counts.size(); ++i)
        threads.emplace_back([&, i] {
            for (int k = 0; k < 20; ++k) counts[i] += ReadMetadata(i % 2 == 0 ? camera : xmp).entries.size();
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counts[0], counts[2]);
    EXPECT_EQ(counts[1], 20U);
    setlocale(LC_ALL, before.c_str());
}

TEST(MetadataFixtures, AgreesWithIndependentReaders) {
    NEED_FIXTURES();
    int makes = 0;
    int thumbnails = 0;
    int positions = 0;
    for (const Json& entry : JsonFromText(ReadFile(Fixtures() + "/oracle/expected.json"))) {
        const std::string path = Fixtures() + "/" + entry["path"].get<std::string>();
        SCOPED_TRACE(path);
        const Bytes bytes = ReadFileBytes(path);
        const MetadataSet set = ReadMetadata(bytes);
        const auto text = [&entry](const char* key) {
            return entry[key].is_string() ? Trim(entry[key].get<std::string>()) : std::string();
        };
        if (entry["make"].is_string()) {
            EXPECT_EQ(set.facts.make, text("make"));
            EXPECT_EQ(set.facts.model, text("model"));
            EXPECT_EQ(set.facts.software, text("software"));
            ++makes;
        }
        if (entry["thumbnail"].is_object()) {
            const Bytes thumbnail = ReadExifThumbnail(bytes);
            EXPECT_EQ(Sha256(thumbnail), entry["thumbnail"]["sha256"].get<std::string>());
            ++thumbnails;
        }
        if (entry["gps"].is_array() && entry["gps"][1].is_number()) {
            EXPECT_TRUE(set.gps.has_value());
            if (set.gps) {
                EXPECT_NEAR(set.gps->latitude, entry["gps"][0].get<double>(), 1e-6);
                EXPECT_NEAR(set.gps->longitude, entry["gps"][1].get<double>(), 1e-6);
            }
            ++positions;
        }
    }
    EXPECT_GT(makes, 40);
    EXPECT_GT(thumbnails, 20);
    EXPECT_GT(positions, 1);
}

TEST(MetadataFixtures, SurvivesDamagedFiles) {
    NEED_FIXTURES();
    for (const char* folder : {"/cameras", "/decoders"})
        for (const std::string& path : FilesBelow(Fixtures() + folder)) {
            SCOPED_TRACE(path);
            const MetadataSet set = ReadMetadata(ReadFileBytes(path));
            for (const MetadataEntry& entry : set.entries) {
                EXPECT_EQ(ToValidUtf8(entry.value), entry.value);
                EXPECT_EQ(ToValidUtf8(entry.raw), entry.raw);
            }
        }
}
