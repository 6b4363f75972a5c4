#include "orvcore/formats/embeddedjpegs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <set>

#include "orvcore/formats/jpegcarver.h"
#include "orvcore/formats/jpegstructure.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/bytes.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"

using namespace formatsupport;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::vector<std::size_t> Offsets(const Bytes& bytes) {
    std::vector<std::size_t> offsets;
    for (const EmbeddedJpeg& jpeg : FindEmbeddedJpegs(bytes)) offsets.push_back(jpeg.offset);
    return offsets;
}

Bytes Noise(std::size_t count) {
    Bytes bytes(count);
    std::uint32_t state = 12345;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

// A photograph with a small picture in its metadata segment.
Bytes WithThumbnail(const Bytes& thumbnail) {
    return MakeJpeg({.seed = 7, .segments = {{1, ToBytes(std::string("Exif\0\0II", 8)) + thumbnail}}});
}

}  // namespace

TEST(EmbeddedJpegs, FindsCompleteOnesAtAnyPlace) {
    const Bytes a = MakeJpeg({.seed = 1});
    const Bytes b = MakeJpeg({.width = 20, .height = 10, .progressive = true, .seed = 2});
    const Bytes noise = Noise(1000);
    const Bytes cut(a.begin(), a.end() - 2);
    const Bytes falseStart = ToBytes("\xFF\xD8\xFF\xE1\x05\x05nothing");
    struct Case {
        const char* what;
        Bytes file;
        std::vector<std::size_t> offsets;
    };
    const Case cases[] = {
        {"nothing", noise, {}},
        {"empty", {}, {}},
        {"alone", a, {}},
        {"alone with padding", a + Bytes(100, 0) + Bytes(3, 0xFF), {}},
        {"followed by data", a + noise, {0}},
        {"after data", noise + a, {1000}},
        {"two", a + b, {0, a.size()}},
        {"the same twice", noise + a + b + a, {1000, 1000 + a.size()}},
        {"cut", noise + cut, {}},
        {"cut before a whole one", noise + cut + b, {1000 + cut.size()}},
        {"false start", falseStart + a + noise, {falseStart.size()}},
        {"at the very end, one byte short", noise + Bytes(a.begin(), a.end() - 1), {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Offsets(c.file), c.offsets);
    }
    const std::vector<EmbeddedJpeg> found = FindEmbeddedJpegs(noise + b + noise);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].bytes, b);
    EXPECT_EQ(found[0].sha256, Sha256(b));
    EXPECT_EQ(found[0].width, 20);
    EXPECT_EQ(found[0].height, 10);
    EXPECT_EQ(found[0].container, "");
}

TEST(EmbeddedJpegs, FindsPicturesInsidePictures) {
    const Bytes thumbnail = MakeJpeg({.width = 16, .height = 16, .seed = 3});
    const Bytes photograph = WithThumbnail(thumbnail);
    const std::vector<EmbeddedJpeg> found = FindEmbeddedJpegs(photograph);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].bytes, thumbnail);

    EXPECT_THAT(Offsets(Bytes(10, 1) + photograph), ElementsAre(10, 10 + found[0].offset));
    // A thumbnail that is cut must not be completed with the photograph's own data.
    const Bytes cut(thumbnail.begin(), thumbnail.end() - 20);
    EXPECT_TRUE(Offsets(WithThumbnail(cut)).empty());

    Bytes nested = thumbnail;
    for (std::size_t depth = 1; depth < kMaxCarveDepth + 4; ++depth) nested = WithThumbnail(nested);
    EXPECT_EQ(Offsets(Bytes(10, 1) + nested).size(), kMaxCarveDepth);
}

// The carver has its own, faster idea of "complete": it must be the parser's, whatever was done to the file.
TEST(EmbeddedJpegs, CompleteMeansTheSameAsInTheStructure) {
    const Bytes good = MakeJpeg({.width = 16, .height = 16, .progressive = true, .comment = "x"});
    int complete = 0;
    int broken = 0;
    for (std::size_t i = 2; i < good.size(); ++i) {
        for (const std::uint8_t value : {0x00, 0x01, 0xC0, 0xD8, 0xD9, 0xDA, 0xFF}) {
            Bytes bytes = good;
            bytes[i] = value;
            const JpegStructure structure = ParseJpegStructure(bytes);
            std::size_t size = 0;
            CarveJpegs(bytes, [&](const CarvedJpeg& jpeg) { size = jpeg.offset == 0 ? jpeg.size : size; },
                       {});
            ASSERT_EQ(size, structure.complete ? structure.end : 0U) << "byte " << i << " = " << int{value};
            ++(structure.complete ? complete : broken);
        }
    }
    EXPECT_GT(complete, 100);
    EXPECT_GT(broken, 100);
}

TEST(EmbeddedJpegs, LooksIntoContainers) {
    const Bytes a = MakeJpeg({.seed = 1});
    const Bytes b = MakeJpeg({.seed = 2});
    const Bytes c = MakeJpeg({.seed = 3});
    const Bytes inner = MakeZip({{"deep/c.jpg", c}, {"again.jpg", b}});
    const Bytes zip = MakeZip({{"text.txt", ToBytes("hello hello hello")},
                               {"a.jpg", a, false},
                               {"b\xFF.bin", Bytes(50, 9) + b + Bytes(5, 0)},
                               {"inner.zip", inner}});
    for (const std::size_t shift : {0, 37}) {  // a container may follow other data
        const std::vector<EmbeddedJpeg> found = FindEmbeddedJpegs(Bytes(shift, 65) + zip);
        ASSERT_EQ(found.size(), 3U);
        EXPECT_EQ(found[0].container, "a.jpg");
        EXPECT_EQ(found[0].bytes, a);
        EXPECT_EQ(Slice(zip, found[0].offset - shift, 4)[1], 0xD8);
        EXPECT_EQ(found[1].container, "b\xEF\xBF\xBD.bin");
        EXPECT_EQ(found[1].bytes, b);
        EXPECT_EQ(Little32(zip, found[1].offset - shift), 0x04034B50U);
        EXPECT_EQ(found[2].container, "inner.zip > deep/c.jpg");
        EXPECT_EQ(found[2].bytes, c);
    }

    // Containers in containers end at the third level.
    Bytes nested = MakeZip({{"x.jpg", a}});
    for (int level = 1; level < kMaxContainerDepth; ++level) nested = MakeZip({{"inner", nested}});
    EXPECT_EQ(FindEmbeddedJpegs(nested).size(), 1U);
    EXPECT_EQ(FindEmbeddedJpegs(MakeZip({{"inner", nested}})).size(), 0U);
}

TEST(EmbeddedJpegs, TakesMembersThatAreJpegsWhole) {
    const Bytes a = MakeJpeg({.seed = 1});
    const Bytes more = a + ToBytes("a film, say");
    const Bytes cut(a.begin(), a.end() - 30);
    for (const bool deflate : {false, true}) {
        const std::vector<EmbeddedJpeg> found =
            FindEmbeddedJpegs(MakeZip({{"more.jpg", more, deflate}, {"../cut:1.jpg", cut, deflate}}));
        ASSERT_EQ(found.size(), 2U) << deflate;
        EXPECT_EQ(found[0].bytes, more);
        EXPECT_EQ(found[1].bytes, cut);
        EXPECT_EQ(found[1].width, 48);
        const TemporaryFolder folder;
        EXPECT_EQ(DumpEmbeddedJpegs(MakeZip({{"../x/cut:1.jpg", cut, deflate}}), folder / "out", "case.zip"),
                  1);
        const std::vector<std::string> files = FilesBelow(folder.Path());
        ASSERT_EQ(files.size(), 1U);
        EXPECT_THAT(PathName(files[0]),
                    testing::MatchesRegex("case.zip_[0-9a-f]{8}_.._x_cut_1.jpg_[0-9a-f]{12}.jpg"));
    }
}

TEST(EmbeddedJpegs, WalksContainersWithoutDirectory) {
    const Bytes a = MakeJpeg({.seed = 1});
    const Bytes b = MakeJpeg({.seed = 2});
    Bytes zip = MakeZip({{"text.txt", ToBytes("hello hello hello")}, {"a.jpg", a}, {"b.jpg", b, false}});
    const std::size_t directory = Little32(zip, zip.size() - 6);
    zip.resize(directory);
    std::vector<std::string> warnings;
    const std::vector<EmbeddedJpeg> found = FindEmbeddedJpegs(zip, {}, &warnings);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].bytes, b) << "what lies open comes first";
    EXPECT_EQ(found[1].bytes, a);
    EXPECT_EQ(found[1].container, "a.jpg");
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_THAT(warnings[0], HasSubstr("no directory"));
    // Cut inside a member.
    zip.resize(directory - b.size() / 2);
    warnings.clear();
    EXPECT_EQ(FindEmbeddedJpegs(zip, {}, &warnings).size(), 2U);
    EXPECT_THAT(warnings, testing::Contains(HasSubstr("ends inside the member b.jpg")));
}

TEST(EmbeddedJpegs, RefusesWhatContainersLieAbout) {
    const Bytes a = MakeJpeg({.seed = 1});
    std::vector<std::string> warnings;

    Bytes damaged = MakeZip({{"a.jpg", a}});
    for (int i = 60; i < 90; ++i) damaged[static_cast<std::size_t>(i)] ^= 0x55;
    FindEmbeddedJpegs(damaged, {}, &warnings);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_THAT(warnings[0], HasSubstr("a.jpg"));

    warnings.clear();
    EXPECT_TRUE(FindEmbeddedJpegs(MakeZip({{"a.jpg", a, true, true}}), {}, &warnings).empty());
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_THAT(warnings[0], HasSubstr("encrypted"));

    // Half a gigabyte and more of one byte: not unpacked to its end, whatever its stated size.
    Bytes bomb = MakeZip({{"bomb", Bytes(kMaxMemberBytes + 1, 0)}, {"a.jpg", a}});
    for (const bool lie : {false, true}) {
        if (lie) {
            const std::size_t directory = Little32(bomb, bomb.size() - 6);
            for (std::size_t i = 0; i < 4; ++i) bomb[directory + 24 + i] = i == 0 ? 10 : 0;
        }
        warnings.clear();
        EXPECT_EQ(FindEmbeddedJpegs(bomb, {}, &warnings).size(), 1U);
        ASSERT_EQ(warnings.size(), 1U);
        EXPECT_THAT(warnings[0], HasSubstr("bomb"));
    }

    // Two directory entries for one member's bytes.
    Bytes twice = MakeZip({{"a.jpg", a}, {"b.jpg", a}});
    const std::size_t directory = Little32(twice, twice.size() - 6);
    for (std::size_t i = 0; i < 4; ++i) twice[directory + 46 + 5 + 42 + i] = 0;
    warnings.clear();
    EXPECT_EQ(FindEmbeddedJpegs(twice, {}, &warnings).size(), 1U);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_THAT(warnings[0], HasSubstr("lie over"));

    // Any damage to the directory or the headers: no crash, no reading outside.
    const Bytes small = MakeZip({{"a.jpg", MakeJpeg({.width = 8, .height = 8})}});
    for (std::size_t i = 0; i < small.size(); ++i) {
        Bytes bytes = small;
        bytes[i] = 0xFF;
        FindEmbeddedJpegs(bytes);
        FindEmbeddedJpegs(Bytes(small.begin() + static_cast<std::ptrdiff_t>(i), small.end()));
    }
}

TEST(EmbeddedJpegs, HostileFilesTakeLinearTime) {
    // Starts that all lead into one long chain without an end.
    std::string starts;
    for (int i = 0; i < 10000; ++i) starts += std::string("\xFF\xD8\xFF\xE0\xFF\xFF", 6);
    const std::string frame("\xFF\xC0\0\x0B\x08\0\x10\0\x10\x01\x01\x11\0", 13);
    std::string links;
    for (int i = 0; i < 200000; ++i) links += std::string("\xFF\xE0\0\x02", 4);
    std::string scans;
    for (int i = 0; i < 200000; ++i)
        scans += std::string("\xFF\xDA\0\x08\x01\x01\0\0\x3F\0", 10) + std::string(30, 'x');
    // Starts that each are a complete picture to the same end.
    std::string pictures;
    for (int i = 0; i < 3000; ++i) pictures += "\xFF\xD8" + frame + std::string("\xFF\xE0\0\x02", 4);
    const std::string cases[] = {starts + frame + links, starts + frame + links + scans,
                                 starts + frame + links + scans + "\xFF\xD9", pictures + scans + "\xFF\xD9"};
    for (const std::string& text : cases) {
        const Bytes bytes = ToBytes(text);
        const auto started = std::chrono::steady_clock::now();
        EXPECT_LE(FindEmbeddedJpegs(bytes).size(), 2 * kMaxCarveDepth);
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
    }
}

TEST(EmbeddedJpegs, ReportsProgressAndStops) {
    const Bytes bytes = Noise(20000000) + MakeJpeg() + MakeZip({{"a.jpg", MakeJpeg({.seed = 4})}});
    double last = 0;
    int calls = 0;
    FindEmbeddedJpegs(bytes, [&](double done) {
        EXPECT_GE(done, last);
        EXPECT_LE(done, 1.0);
        last = done;
        ++calls;
    });
    EXPECT_EQ(last, 1.0);
    EXPECT_GT(calls, 2);
    EXPECT_THROW(FindEmbeddedJpegs(bytes, [](double) { throw std::runtime_error("stop"); }),
                 std::runtime_error);
}

TEST(EmbeddedJpegs, DumpsUnchangedBytes) {
    TemporaryFolder folder;
    const Bytes a = MakeJpeg({.seed = 1});
    EXPECT_EQ(DumpEmbeddedJpegs(Noise(500), folder / "none", "x"), 0);
    EXPECT_FALSE(FolderExists(folder / "none"));
    EXPECT_EQ(DumpEmbeddedJpegs(Noise(500) + a, folder / "some", "../../evil"), 1);
    const std::string path = folder / ("some/evil_000001f4_" + Sha256(a).substr(0, 12) + ".jpg");
    ASSERT_TRUE(FileExists(path));
    EXPECT_EQ(ReadFileBytes(path), a);
}

TEST(EmbeddedJpegsFixtures, FindsTheKnownOnes) {
    NEED_FIXTURES();
    int checked = 0;
    for (const Json& entry : JsonFromText(ReadFile(Fixtures() + "/synth/truth_files.json"))) {
        if (!entry.contains("jpegs")) continue;
        const std::string file = entry["file"];
        SCOPED_TRACE(file);
        std::set<std::string> expected;
        std::set<std::string> found;
        std::set<std::string> topLevel;
        std::size_t end = 0;
        for (const Json& jpeg : entry["jpegs"]) expected.insert(jpeg["sha256"].get<std::string>());
        for (const EmbeddedJpeg& jpeg : FindEmbeddedJpegs(ReadFileBytes(Fixtures() + "/synth/" + file))) {
            found.insert(jpeg.sha256);
            if (jpeg.offset >= end && (jpeg.container.empty() || jpeg.container == "a.jpg")) {
                topLevel.insert(jpeg.sha256);
                end = jpeg.offset + jpeg.bytes.size();
            }
            for (const Json& known : entry["jpegs"])
                if (known["sha256"] == jpeg.sha256) {
                    EXPECT_LE(jpeg.offset, known["offset"].get<std::size_t>());
                }
        }
        EXPECT_EQ(topLevel, expected);
        ++checked;
    }
    EXPECT_EQ(checked, 5);
}
