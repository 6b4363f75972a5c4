#include "orvcore/formats/metadata.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <thread>

#include "orvcore/formats/editingsoftware.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/text.h"

using namespace formatsupport;
using testing::HasSubstr;

namespace {

Bytes Camera() {
    return WithExif(
        Tiff({.main = {{0x010F, 2, {}, "Maker Co.  "}, {0x0110, 2, {}, "M\xE9 1"}, {0x0112, 3, {6}}},
              .photo = {{0x829A, 5, {1, 60}}, {0x9003, 2, {}, "2020:01:02 03:04:05"}, {0xA002, 3, {640}}},
              .gps = Position()}));
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
        {"at the pole and the date line",
         {north, latitude({90, 1, 0, 1, 0, 1}), east, longitude({180, 1, 0, 1, 0, 1})},
         "90.000000 180.000000"},
        {"too far east", {north, latitude({1, 1, 0, 1, 0, 1}), east, longitude({181, 1, 0, 1, 0, 1})}, ""},
        {"no longitude", {north, latitude({10, 1, 0, 1, 0, 1})}, ""},
        {"wrong letter",
         {Tag{1, 2, {}, "E"}, latitude({10, 1, 0, 1, 0, 1}), east, longitude({20, 1, 0, 1, 0, 1})},
         ""},
        {"nothing", {}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::optional<GpsPosition> position = ReadGps(WithExif(Tiff({.gps = c.gps})));
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
    EXPECT_EQ(FindMetadata(set, "Comment")->value, "by \xC3\xBFme");
    EXPECT_EQ(FindMetadata(set, "Comment")->raw, "by \xEF\xBF\xBDme");
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
    std::vector<Tag> tags = {
        {0x0103, 3, {6}}, {0x0201, 4, {3400}}, {0x0202, 4, {static_cast<std::uint32_t>(thumbnail.size())}}};
    EXPECT_EQ(ReadExifThumbnail(WithExif(Tiff({.second = tags, .behind = thumbnail}))), thumbnail);
    tags.erase(tags.begin());
    EXPECT_EQ(ReadExifThumbnail(WithExif(Tiff({.second = tags, .behind = thumbnail}))), thumbnail)
        << "its compression is not stated";
    EXPECT_TRUE(ReadExifThumbnail(Camera()).empty());
    EXPECT_TRUE(ReadExifThumbnail(Bytes()).empty());
}

TEST(Metadata, DamageIsToldNotThrown) {
    // A directory that points to itself.
    const MetadataSet loop =
        ReadMetadata(WithExif(Tiff({.main = {{0x010F, 2, {}, "Maker"}}, .loops = true})));
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

TEST(Metadata, WhatTheLibraryRefusesIsReadInPart) {
    const Bytes tiff = Tiff({.main = {{0x010F, 2, {}, "Maker"}}, .gps = Position()});
    const Bytes exif = ToBytes(std::string("Exif\0\0", 6)) + tiff;
    // The file ends inside the segment of its metadata, behind the position.
    Bytes cut = WithExif(tiff + Bytes(500, 0));
    const auto at = std::search(cut.begin(), cut.end(), tiff.begin(), tiff.end()) - cut.begin();
    cut.resize(static_cast<std::size_t>(at) + tiff.size());
    // A container that is no more than its first box, with the block behind it.
    const Bytes boxes = ToBytes(std::string("\0\0\0\x18"
                                            "ftypheic\0\0\0\0mif1heic\0\0\xFF\xFFmeta",
                                            32)) +
                        exif + XmpPayload("xmp:CreatorTool='Editor'");
    for (const Bytes& bytes : {cut, boxes}) {
        const MetadataSet set = ReadMetadata(bytes);
        EXPECT_EQ(set.reading, MetadataReading::Part);
        EXPECT_EQ(set.facts.make, "Maker");
        EXPECT_TRUE(set.gps.has_value());
        ASSERT_FALSE(set.warnings.empty());
        EXPECT_THAT(set.warnings.back(), HasSubstr("only a part"));
    }
    EXPECT_EQ(ReadMetadata(boxes).facts.software, "Editor");
    cut.resize(40);
    EXPECT_EQ(ReadMetadata(cut).reading, MetadataReading::NotRead);
    EXPECT_EQ(ReadMetadata(Camera()).reading, MetadataReading::Whole);
    EXPECT_EQ(ReadMetadata(MakeJpeg()).reading, MetadataReading::Whole) << "there is nothing to read";
}

TEST(Metadata, AnEmptyFieldOfXmpGivesWayToTheNext) {
    for (const char* empty : {"", "tiff:Software='' ", "tiff:Software='  ' "})
        EXPECT_EQ(ReadMetadataFacts(WithXmp(std::string(empty) + "xmp:CreatorTool='Editor'")).software,
                  "Editor")
            << empty;
    EXPECT_EQ(ReadMetadataFacts(WithXmp("tiff:Software='First' xmp:CreatorTool='Editor'")).software, "First");
    EXPECT_EQ(ReadMetadataFacts(WithXmp("xmp:ModifyDate='' tiff:DateTime='2020-01-02T03:04:05'")).fromXmp,
              kFactChanged);
}

TEST(Metadata, FactsThatOnlyXmpStatesAreToldAsSuch) {
    const std::string packet =
        "tiff:Make='Maker' tiff:Model='M1' xmp:CreatorTool='Editor' exif:DateTimeOriginal='2002-07-13T15:58:28Z' "
        "xmp:ModifyDate='2002-07-19T13:28:10Z'";
    MetadataFacts facts = ReadMetadataFacts(WithXmp(packet));
    EXPECT_EQ(facts.make + "|" + facts.model + "|" + facts.software + "|" + facts.dateTimeOriginal,
              "Maker|M1|Editor|2002-07-13T15:58:28Z");
    EXPECT_EQ(facts.dateTime, "2002-07-19T13:28:10Z");
    EXPECT_EQ(facts.NamesFromXmp(), "camera, software, dates");
    EXPECT_EQ(facts.FromExif().make + facts.FromExif().software + facts.FromExif().dateTime, "");
    // What EXIF states counts before it.
    const Bytes both = MakeJpeg(
        {.segments = {{1, ToBytes(std::string("Exif\0\0", 6)) + Tiff({.main = {{0x010F, 2, {}, "Other"}}})},
                      {1, XmpPayload(packet)}}});
    facts = ReadMetadataFacts(both);
    EXPECT_EQ(facts.make + facts.model, "OtherM1");
    EXPECT_EQ(facts.FromExif().make + facts.FromExif().model, "Other");
    EXPECT_EQ(facts.fromXmp & (kFactMake | kFactModel), static_cast<unsigned>(kFactModel));
}

TEST(Metadata, TimesOfBothWritingsAreRead) {
    const std::pair<const char*, std::int64_t> times[] = {{"2004:06:17 07:10:06", 1087456206},
                                                          {"2004-06-17T07:10:06+02:00", 1087456206},
                                                          {"2004-06-17T07:10:06.25", 1087456206},
                                                          {"2004-06-17T07:10", 1087456200},
                                                          {"2004:02:29 23:59:60", 1078099200}};
    for (const auto& [text, seconds] : times) EXPECT_EQ(ParseMetadataTime(text), seconds) << text;
    for (const char* text :
         {"", "2004", "2004:06:17", "0000:00:00 00:00:00", "    :  :     :  :  ", "2003:02:29 10:00:00",
          "2004:13:01 10:00:00", "2004:06:17 24:00:00", "2004:06-17 07:10:06", "2004:06:17x07:10:06"})
        EXPECT_FALSE(ParseMetadataTime(text).has_value()) << text;
}

TEST(Metadata, EditingProgramsAreKnownByWordsOfTheirOwn) {
    for (const char* name : {"Adobe Photoshop 7.0", "GIMP 2.10", "CorelDRAW", "Paint.NET v3",
                             "Microsoft Paint", "paint.exe", "Capture One 12", "ACDSee Pro"})
        EXPECT_TRUE(IsEditingSoftware(name)) << name;
    for (const char* name :
         {"", "REPAINTED 1.0", "Ver.1.0", "Scanvas 3", "Canvastudio", "GIMPLE", "HDR+ 1.0"})
        EXPECT_FALSE(IsEditingSoftware(name)) << name;
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
