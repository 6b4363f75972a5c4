#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <opencv2/core.hpp>

#include "orvcore/formats/extendedxmp.h"
#include "orvcore/formats/fields/gpsfacts.h"
#include "orvcore/formats/fields/metadataplaces.h"
#include "tests/orvcore/formats/fields/fieldsupport.h"
#include "zorbase/bytes.h"
#include "zorbase/text.h"
#include "zorimage/imageio.h"

using namespace fieldsupport;
using namespace formatsupport;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string At(const Bytes& bytes, std::size_t offset, std::size_t size) {
    return TextOf(Slice(bytes, offset, size));
}

const MetadataEntry& Entry(const DetailedMetadata& all, const std::string& key) {
    static const MetadataEntry kNone;
    const MetadataEntry* found = FindMetadata(all.set, key);
    EXPECT_NE(found, nullptr) << key;
    return found == nullptr ? kNone : *found;
}

GpsFacts Gps(const std::vector<Tag>& gps) {
    return ReadGpsFacts(ReadMetadata(WithExif(Tiff({.gps = gps}))));
}

}  // namespace

TEST(IccFacts, TellsHeaderPrimariesAndCurves) {
    const Bytes profile = MakeProfile({.withIdentifier = true});
    const IccFacts facts = ReadIccFacts(profile);
    ASSERT_TRUE(facts.isProfile);
    EXPECT_EQ(facts.damage, "");
    EXPECT_EQ(facts.description, "Test RGB");
    EXPECT_EQ(facts.space, "RGB ");
    EXPECT_EQ(facts.creator, "TEST");
    EXPECT_EQ(facts.curves, "gamma 2.20");
    EXPECT_TRUE(HasPrimariesOfSrgb(facts));
    ASSERT_EQ(facts.primaries.size(), 6U);
    EXPECT_NEAR(facts.primaries[0], 0.6484, 0.0005);
    EXPECT_NEAR(facts.primaries[1], 0.3309, 0.0005);
    std::string header;
    for (const IccField& field : facts.header) header += field.label + "=" + field.value + ";";
    for (const char* text :
         {"Version=2.4.0;", "Class=Display;", "Made=2020:03:04 05:06:07;", "Rendering Intent=Perceptual;"})
        EXPECT_THAT(header, HasSubstr(text));

    Bytes changed = profile;
    changed[profile.size() - 3] ^= 1;
    EXPECT_THAT(ReadIccFacts(changed).damage, HasSubstr("ID (MD5)"));
    EXPECT_THAT(ReadIccFacts(ByteSpan(MakeProfile()).first(300)).damage, HasSubstr("outside"));
    EXPECT_FALSE(ReadIccFacts({}).isProfile);
    EXPECT_FALSE(ReadIccFacts(Bytes(500, 0xFF)).isProfile);
    for (std::size_t i = 0; i < profile.size(); ++i) {
        Bytes spoilt = profile;
        spoilt[i] = 0xFF;
        for (const MetadataEntry& entry : IccEntries(ReadIccFacts(spoilt)))
            EXPECT_EQ(ToValidUtf8(entry.value), entry.value);
    }
}

TEST(MetadataPlaces, EveryOffsetLeadsToItsValue) {
    const Bytes profile = MakeProfile();
    std::vector<std::pair<int, Bytes>> segments = ProfileSegments(profile, 400);
    segments.insert(segments.begin(),
                    {{1, ToBytes(std::string("Exif\0\0", 6)) +
                             Tiff({.main = {{0x010F, 2, {}, "Maker & Sons"}, {0x0112, 3, {6}}},
                                   .photo = {{0x9003, 2, {}, "2020:01:02 03:04:05"}},
                                   .gps = Position()})},
                     {1, Xmp("xmp:CreatorTool='Tool 7' xmp:Rating='3'")},
                     {13, Resources({{0x03ED, Bytes(5, 1)},
                                     {0x0404, Iptc({{25, "one"}, {25, "two"}, {120, "caption"}})}})}});
    const Bytes bytes = MakeJpeg({.comment = "note", .segments = segments});
    const DetailedMetadata all = ReadDetailedMetadata(bytes, profile);
    const std::pair<const char*, const char*> texts[] = {{"Exif.Image.Make", "Maker & Sons"},
                                                         {"Exif.Photo.DateTimeOriginal", "2020:01:02"},
                                                         {"Exif.GPSInfo.GPSLatitudeRef", "N"},
                                                         {"Exif.Image.Orientation", "\x06"},
                                                         {"Xmp.xmp.CreatorTool", "xmp:CreatorTool='Tool 7'"},
                                                         {"Xmp.xmp.Rating", "xmp:Rating='3'"},
                                                         {"Iptc.Application2.Caption", "caption"},
                                                         {"Icc.desc", "desc"}};
    for (const auto& [key, text] : texts) {
        const MetadataEntry& entry = Entry(all, key);
        ASSERT_TRUE(entry.offset.has_value()) << key;
        EXPECT_EQ(At(bytes, *entry.offset, std::string(text).size()), text) << key;
    }
    std::vector<std::string> keywords;
    for (const MetadataEntry& entry : all.set.entries)
        if (entry.tag == "2:25") keywords.push_back(At(bytes, entry.offset.value_or(0), 3));
    EXPECT_THAT(keywords, ElementsAre("one", "two"));
    EXPECT_FALSE(Entry(all, "Icc.bTRC").offset.has_value())
        << "it stands in another segment, at another distance";
    EXPECT_EQ(Entry(all, "Exif.Image.Make").tag, "0x010F");
    EXPECT_EQ(all.places.iptcDigest.size(), 32U);
}

// What was packed has no place of its own in the file, and the same words elsewhere are not it.
TEST(MetadataPlaces, PackedPartsHaveNoOffsets) {
    const Bytes payload = Xmp("xmp:CreatorTool='Tool 7'");
    const Bytes packet(payload.begin() + 29, payload.end());
    const auto chunk = [](const char* type, const Bytes& data) {
        Bytes body = ToBytes(type) + data;
        Bytes bytes;
        AppendBig(bytes, data.size(), 4);
        bytes = bytes + body;
        AppendBig(bytes, crc32(0, body.data(), static_cast<uInt>(body.size())), 4);
        return bytes;
    };
    uLongf size = compressBound(packet.size());
    Bytes packed(size);
    ASSERT_EQ(compress(packed.data(), &size, packet.data(), packet.size()), Z_OK);
    packed.resize(size);
    const Bytes plain = EncodeImage(Image(cv::Mat(8, 8, CV_8UC3, cv::Scalar::all(90))), "png");
    const Bytes head(plain.begin(), plain.begin() + 33);
    const Bytes rest(plain.begin() + 33, plain.end());
    const std::string name("XML:com.adobe.xmp", 18);  // with its zero
    const Bytes clear = chunk("iTXt", ToBytes(name) + Bytes{0, 0, 0, 0} + packet);
    const Bytes hidden = chunk("iTXt", ToBytes(name) + Bytes{1, 0, 0, 0} + packed);
    const Bytes copy = chunk("tEXt", ToBytes(std::string("Copy\0", 5)) + packet);
    for (const auto& [file, isPlaced] : {std::pair{head + clear + rest, true},
                                         {head + copy + clear + rest, true},
                                         {head + copy + hidden + rest, false},
                                         {head + hidden + rest + packet, false}}) {
        const DetailedMetadata all = ReadDetailedMetadata(file, {});
        const MetadataEntry& tool = Entry(all, "Xmp.xmp.CreatorTool");
        EXPECT_EQ(tool.raw, "Tool 7");
        EXPECT_EQ(tool.offset.has_value(), isPlaced);
        const auto at = std::search(file.begin(), file.end(), name.begin(), name.end()) - file.begin();
        EXPECT_GT(tool.offset.value_or(file.size()), static_cast<std::size_t>(at));
    }
}

// Some cameras write an entry twice.
TEST(MetadataPlaces, EachOfTwoEqualEntriesHasItsOwnPlace) {
    const Bytes bytes =
        WithExif(Tiff({.main = {{0x010F, 2, {}, "Acme"}, {0x0112, 3, {1}}, {0x0112, 3, {6}}}}));
    std::vector<std::size_t> offsets;
    for (const MetadataEntry& entry : ReadDetailedMetadata(bytes, {}).set.entries)
        if (entry.key == "Exif.Image.Orientation") offsets.push_back(entry.offset.value_or(0));
    ASSERT_EQ(offsets.size(), 2U);
    EXPECT_EQ(bytes[offsets[0]], 1);
    EXPECT_EQ(bytes[offsets[1]], 6);
    EXPECT_EQ(offsets[1] - offsets[0], 12U);
}

// An empty data set at the end of its block is told like any other.
TEST(MetadataPlaces, AnEmptyDataSetIsTold) {
    for (const auto& [sets, count] :
         {std::pair{std::vector<std::pair<int, std::string>>{{25, "one"}, {231, ""}}, 1},
          {{{231, ""}, {25, "one"}}, 1},
          {{{231, ""}, {231, ""}}, 2},
          {{{25, "one"}}, 0}}) {
        const Bytes bytes = MakeJpeg({.segments = {{13, Resources({{0x0404, Iptc(sets)}})}}});
        int told = 0;
        for (const MetadataEntry& entry : ReadDetailedMetadata(bytes, {}).set.entries) {
            if (entry.tag != "2:231") continue;
            ++told;
            EXPECT_EQ(entry.raw, "");
            EXPECT_TRUE(entry.offset.has_value());
        }
        EXPECT_EQ(told, count) << sets.size();
    }
}

// The library reads the block beside EXIF where there are two.
TEST(MetadataPlaces, OfTwoCaptionBlocksTheOneThatCountsIsPlaced) {
    const Bytes inner = Iptc({{25, "inner"}});
    const Bytes bytes = MakeJpeg(
        {.segments = {{1, ToBytes(std::string("Exif\0\0", 6)) +
                              Tiff({.main = {{0x010F, 2, {}, "Acme"}, {0x83BB, 7, {}, TextOf(inner)}}})},
                      {13, Resources({{0x0404, Iptc({{25, "outer"}})}})}}});
    const DetailedMetadata all = ReadDetailedMetadata(bytes, {});
    const MetadataEntry& entry = Entry(all, "Iptc.Application2.Keywords");
    EXPECT_EQ(entry.raw, "outer");
    EXPECT_EQ(At(bytes, entry.offset.value_or(0), 5), "outer");
}

TEST(MetadataPlaces, ANoteThatTheLibraryLeavesClosedIsListed) {
    Bytes directory;
    AppendBig(directory, 2, 2);
    for (const auto& [tag, type, count, value] : {std::tuple{0x0001, 9, 1, 14}, {0x000B, 2, 6, 44}}) {
        AppendBig(directory, static_cast<std::uint64_t>(tag), 2);
        AppendBig(directory, static_cast<std::uint64_t>(type), 2);
        AppendBig(directory, static_cast<std::uint64_t>(count), 4);
        AppendBig(directory, static_cast<std::uint64_t>(value), 4);
    }
    AppendBig(directory, 0, 4);
    const Bytes note =
        ToBytes(std::string("Apple iOS\0\0\x01MM", 14)) + directory + ToBytes(std::string("BURST\0", 6));
    const Bytes bytes = WithExif(Tiff({.main = {{0x010F, 2, {}, "Apple"}},
                                       .photo = {{0x927C, 7, {}, std::string(note.begin(), note.end())}}}));
    const DetailedMetadata all = ReadDetailedMetadata(bytes, {});
    EXPECT_EQ(Entry(all, "Exif.Apple.0x0001").value, "14");
    EXPECT_EQ(Entry(all, "Exif.Apple.0x0001").label, "Maker Note Version");
    const MetadataEntry& burst = Entry(all, "Exif.Apple.0x000B");
    EXPECT_EQ(burst.value, "\"BURST\"");
    EXPECT_EQ(At(bytes, burst.offset.value_or(0), 5), "BURST");
}

TEST(ExtendedXmp, PiecesComeTogetherInAnyOrder) {
    const Bytes inner = Xmp("dc:format='" + std::string(2000, 'x') + "'");
    const std::string packet(inner.begin() + 29, inner.end());
    std::string identifier;
    auto pieces = ExtendedXmpSegments(packet, 700, identifier);
    const auto read = [&](const std::string& named) {
        return ReadExtendedXmp(MakeJpeg({.segments = pieces}), named);
    };
    ASSERT_GT(pieces.size(), 3U);
    std::swap(pieces[0], pieces[2]);
    EXPECT_EQ(read(identifier).packet, packet);
    EXPECT_EQ(read(identifier).state, ExtendedXmpState::Whole);
    EXPECT_EQ(read("").packet, packet);
    EXPECT_EQ(read(std::string(32, 'A')).state, ExtendedXmpState::Incomplete);
    pieces[1].second.back() ^= 1;
    EXPECT_EQ(read(identifier).state, ExtendedXmpState::Altered);
    pieces.push_back(pieces[1]);
    EXPECT_EQ(read(identifier).state, ExtendedXmpState::Incomplete) << "pieces lie over each other";
    pieces.erase(pieces.begin() + 1, pieces.begin() + 2);
    pieces[2].second[35 + 32] = 0xFF;  // four gigabytes
    EXPECT_EQ(read(identifier).state, ExtendedXmpState::Incomplete);
    EXPECT_EQ(ReadExtendedXmp(MakeJpeg(), "").state, ExtendedXmpState::None);

    pieces = ExtendedXmpSegments(packet, 700, identifier);
    pieces.insert(pieces.begin(), {1, Xmp("xmpNote:HasExtendedXMP='" + identifier + "'")});
    const MetadataSet set = ReadMetadata(MakeJpeg({.segments = pieces}));
    bool isRead = false;
    for (const MetadataEntry& entry : set.entries)
        isRead = isRead || (entry.group == "XMP extended dc" && entry.value.starts_with("xxx"));
    EXPECT_TRUE(isRead);
}

TEST(TextEncoding, TextsOfOtherSetsAreReadAsAsked) {
    const struct {
        TextEncoding encoding;
        const char* bytes;
        const char* text;
    } cases[] = {{TextEncoding::Western, "caf\xE9", "café"},
                 {TextEncoding::Cyrillic, "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
                 {TextEncoding::Japanese, "\x93\xFA\x96\x7B", "日本"},
                 {TextEncoding::SimplifiedChinese, "\xD6\xD0\xB9\xFA", "中国"},
                 {TextEncoding::TraditionalChinese, "\xA4\xA4", "中"},
                 {TextEncoding::Korean, "\xC7\xD1", "한"},
                 {TextEncoding::JisComment, "\x1B$B4A;z\x1B(B", "漢字"}};
    for (const auto& c : cases) {
        EXPECT_EQ(DecodeText(c.bytes, c.encoding), c.text) << TextEncodingName(c.encoding);
        if (c.encoding == TextEncoding::JisComment) continue;
        const Bytes file = WithExif(Tiff({.main = {{0x013B, 2, {}, c.bytes}}}));
        const MetadataSet set = ReadMetadata(file, c.encoding);
        EXPECT_EQ(FindMetadata(set, "Exif.Image.Artist")->value, c.text);
        EXPECT_THAT(FindMetadata(set, "Exif.Image.Artist")->type, HasSubstr(TextEncodingName(c.encoding)));
    }
    EXPECT_EQ(DecodeText("a\x93", TextEncoding::Japanese), "a") << "half a character at the end";
    const MetadataSet utf8 =
        ReadMetadata(WithExif(Tiff({.main = {{0x013B, 2, {}, "Jürgen"}}})), TextEncoding::Cyrillic);
    EXPECT_EQ(FindMetadata(utf8, "Exif.Image.Artist")->value, "Jürgen") << "it says itself what it is";
    const MetadataSet comment = ReadMetadata(
        WithExif(Tiff({.photo = {{0x9286, 7, {}, std::string("JIS\0\0\0\0\0\x1B$B4A;z\x1B(B", 18)}}})));
    EXPECT_EQ(FindMetadata(comment, "Exif.Photo.UserComment")->value, "漢字");
}

TEST(GpsFacts, TellsEveryFieldAndNothingThatIsNotThere) {
    std::vector<Tag> tags = Position();
    const std::vector<Tag> more = {{5, 1, {}, "\x01"},  {6, 5, {125, 10}},     {7, 5, {14, 1, 5, 1, 7, 1}},
                                   {8, 2, {}, "7"},     {9, 2, {}, "A"},       {10, 2, {}, "3"},
                                   {11, 5, {21, 10}},   {12, 2, {}, "N"},      {13, 5, {10, 1}},
                                   {14, 2, {}, "T"},    {15, 5, {90, 1}},      {16, 2, {}, "M"},
                                   {17, 5, {3155, 10}}, {18, 2, {}, "WGS-84"}, {29, 2, {}, "2016:08:28"},
                                   {31, 5, {45, 10}}};
    tags.insert(tags.end(), more.begin(), more.end());
    const GpsFacts facts = Gps(tags);
    ASSERT_TRUE(facts.position.has_value());
    EXPECT_EQ(GpsInDegrees(*facts.position), "48° 51' 29.88\" N, 2° 17' 40.20\" W");
    EXPECT_DOUBLE_EQ(facts.altitude.value_or(0), -12.5);
    EXPECT_EQ(facts.altitudeReference, "below sea level");
    EXPECT_NEAR(facts.speed.value_or(0), 18.52, 1e-9);
    EXPECT_DOUBLE_EQ(facts.imageDirection->degrees, 315.5);
    EXPECT_EQ(facts.imageDirection->reference, "magnetic north");
    EXPECT_DOUBLE_EQ(facts.track->degrees, 90);
    EXPECT_EQ(facts.time, "2016:08:28 14:05:07");
    EXPECT_EQ(facts.seconds, 1472393107);
    EXPECT_EQ(facts.datum + "|" + facts.satellites + "|" + facts.status + "|" + facts.dimensions,
              "WGS-84|7|Measured|3-dimensional");
    EXPECT_DOUBLE_EQ(facts.dilution.value_or(0), 2.1);
    EXPECT_FALSE(facts.destination.has_value());

    EXPECT_FALSE(Gps({}).isPresent);
    EXPECT_FALSE(Gps({{0, 1, {}, std::string("\2\2\0\0", 4)}}).isPresent) << "a version says nothing";
    const GpsFacts bad = Gps({{6, 5, {1, 0}},
                              {7, 5, {25, 1, 0, 1, 0, 1}},
                              {12, 2, {}, "K"},
                              {13, 5, {7, 0}},
                              {17, 5, {400, 1}},
                              {29, 2, {}, "2016:08:28"}});
    EXPECT_TRUE(bad.isPresent);
    EXPECT_FALSE(bad.altitude || bad.speed || bad.imageDirection || bad.seconds);
    EXPECT_EQ(bad.time, "2016:08:28");
    EXPECT_THAT(bad.whyNoPosition, HasSubstr("no position"));
    EXPECT_EQ(GpsInDegrees({59.9999999, -0.5, "EXIF"}), "60° 00' 00.00\" N, 0° 30' 00.00\" W")
        << "never 60 seconds";
}

TEST(MetadataPlaces, DamageIsSurvived) {
    std::vector<std::pair<int, Bytes>> segments = ProfileSegments(MakeProfile());
    segments.push_back({13, Resources({{0x0404, Iptc({{120, "caption"}})}, {0x0425, Bytes(16, 3)}})});
    const Bytes good = MakeJpeg({.segments = segments});
    for (std::size_t i = 2; i < std::min<std::size_t>(good.size(), 1400); ++i)
        for (const std::uint8_t value : {std::uint8_t{0}, std::uint8_t{0xFF}}) {
            Bytes bytes = good;
            bytes[i] = value;
            const MetadataPlaces places = FindMetadataPlaces(bytes, {});
            for (const IptcPlace& place : places.iptc) EXPECT_LE(place.offset + place.size, bytes.size());
        }
}
