#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>

#include "tests/zorimage/maketiff.h"
#include "tests/zorimage/samples.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"
#include "zorimage/plausibility.h"

namespace {

// Reads headers and pixels; damage may end in a message or in a picture with the right sides, never
// otherwise. True for a picture.
// Nor may a small file keep the program busy.
bool Survives(const Bytes& bytes, const std::string& name) {
    struct Watch {
        const std::string& name;
        std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
        ~Watch() { EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << name; }
    } watch{name};
    ReadImageInfo(bytes);
    try {
        const DecodedImage decoded = DecodeImage(bytes);
        EXPECT_TRUE(decoded.image.IsValid()) << name;
        EXPECT_LE(decoded.warnings.size(), 25U) << name;
        // Every pixel has a value: a read of the whole buffer finds memory that nobody wrote.
        EXPECT_TRUE(decoded.image.IsEqual(decoded.image.Clone())) << name;
        return true;
    } catch (const ZorException& exception) {
        EXPECT_FALSE(exception.GetMessage().empty()) << name;
        EXPECT_NE(exception.GetKind(), ZorException::Kind::Internal)
            << name << ": " << exception.GetMessage();
        return false;
    }
}

TEST(Damage, FilesCutOffAtEveryLength) {
    for (const auto& [name, bytes] : samples::OneOfEach()) {
        for (std::size_t size = 0; size<bytes.size(); size += bytes.size()> 2000 ? 7 : 1) {
            Survives(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)),
                     name + " cut to " + std::to_string(size));
        }
        EXPECT_TRUE(Survives(bytes, name));
    }
}

TEST(Damage, FlippedBits) {
    std::mt19937 random(20261121);
    for (const auto& [name, bytes] : samples::OneOfEach()) {
        for (int round = 0; round < 400; ++round) {
            Bytes damaged = bytes;
            const int flips = 1 + static_cast<int>(random() % 4);
            for (int i = 0; i < flips; ++i) {
                // Headers, where damage does most, are hit as often as all the rest.
                const std::size_t reach =
                    round % 2 == 0 ? std::min<std::size_t>(damaged.size(), 200) : damaged.size();
                damaged[random() % reach] ^= static_cast<std::uint8_t>(1U << random() % 8);
            }
            Survives(damaged, name + " round " + std::to_string(round));
        }
    }
}

TEST(Damage, ExtremeNumbersInHeaders) {
    for (const auto& [name, bytes] : samples::OneOfEach()) {
        for (std::size_t at = 0; at + 4 <= std::min<std::size_t>(bytes.size(), 120); ++at) {
            for (const std::uint8_t value : {0x00, 0x7f, 0xff}) {
                Bytes damaged = bytes;
                std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(at), 4, value);
                Survives(damaged, name + " at " + std::to_string(at));
            }
        }
    }
}

Bytes NestedBoxes(const std::string& name, std::size_t depth, std::size_t head);

// A camera RAW file whose strip only says that the sensor's data are told elsewhere is no file of four gigabytes.
TEST(Damage, SensorDataThatAreToldElsewhereAreFound) {
    Bytes raw = {'I', 'I', 'U', 0, 8, 0, 0, 0};
    samples::Append16(raw, 3);
    for (const auto& [tag, value] : {std::pair{273U, 0xFFFFFFFFU}, {279U, 1000U}, {280U, 512U}}) {
        samples::Append16(raw, tag);
        samples::Append16(raw, 4);
        samples::Append32(raw, 1);
        samples::Append32(raw, value);
    }
    raw.resize(1512);
    EXPECT_EQ(CutProblem(raw), "");
    for (const std::size_t size : {1511U, 700U, 64U})
        EXPECT_NE(CutProblem(std::span(raw).first(size)).find("at least 1512 bytes"), std::string::npos)
            << size;
}

// A file that ends early says so in its headers' warnings too, whatever its decoder makes of it.
TEST(Damage, HeadersTellOfAFileThatEndsEarly) {
    const Image scene = samples::MakeScene(64, 48, 3);
    std::vector<std::pair<std::string, Bytes>> files;
    for (const std::string extension : {"bmp", "tif", "png", "webp"})
        files.emplace_back(extension, EncodeImage(scene, extension));
    files.emplace_back("plain tif", samples::MakeTiff({}));
    files.emplace_back("jp2", samples::kGreyJp2);
    Bytes boxes = NestedBoxes("meta", 1, 4);
    boxes.insert(boxes.end(), {0, 0, 0, 64, 'm', 'd', 'a', 't'});
    boxes.resize(boxes.size() + 56);
    EXPECT_EQ(CutProblem(boxes), "");
    boxes.pop_back();
    EXPECT_NE(CutProblem(boxes), "");
    for (const auto& [name, bytes] : files) {
        EXPECT_TRUE(ReadImageInfo(bytes).warnings.empty()) << name;
        const ImageInfo info = ReadImageInfo(std::span(bytes).first(bytes.size() * 3 / 4));
        ASSERT_FALSE(info.warnings.empty()) << name;
        EXPECT_NE(info.warnings.back().find("ends early"), std::string::npos)
            << name << ": " << info.warnings.back();
    }
}

TEST(Damage, AJpegIsOneByWhatFollowsItsBeginning) {
    const Bytes jpeg = EncodeImage(samples::MakeScene(64, 48, 3), "jpg");
    Bytes damaged = jpeg;
    damaged[2] = 0xfe;
    EXPECT_EQ(DetectFormat(damaged), FileFormat::Jpeg);
    const DecodedImage decoded = DecodeImage(damaged);
    EXPECT_EQ(decoded.image.GetWidth(), 64);
    EXPECT_FALSE(decoded.warnings.empty());
    EXPECT_TRUE(DecodeImage(jpeg).warnings.empty());
    for (const Bytes& other : {Bytes{0xff, 0xd8}, Bytes{0xff, 0xd8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
                               Bytes{0xff, 0xd8, 0xfe, 0xe0, 0, 4, 1, 2, 3, 4}})
        EXPECT_EQ(DetectFormat(other), FileFormat::Unknown);
    // Damage behind the last row.
    Bytes behind = jpeg;
    behind.insert(behind.end() - 2, 40, std::uint8_t{0x11});
    EXPECT_FALSE(DecodeImage(behind).warnings.empty());
}

TEST(Damage, ProgressiveJpegKeepsTheScansBeforeTheCut) {
    const Bytes& bytes = samples::kProgressiveJpeg;
    const DecodedImage half = DecodeImage(std::span(bytes).first(bytes.size() * 8 / 10));
    EXPECT_TRUE(half.image.IsValid());
    ASSERT_FALSE(half.warnings.empty());
    EXPECT_NE(half.warnings[0].find("scan"), std::string::npos) << half.warnings[0];
}

void ExpectRefusal(const Bytes& bytes, ZorException::Kind kind, const std::string& text) {
    const auto start = std::chrono::steady_clock::now();
    try {
        DecodeImage(bytes);
        ADD_FAILURE() << "decoded; expected: " << text;
    } catch (const ZorException& exception) {
        EXPECT_EQ(exception.GetKind(), kind) << exception.GetMessage();
        EXPECT_NE(exception.GetMessage().find(text), std::string::npos) << exception.GetMessage();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << text;
}

Bytes WithBig32(Bytes bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    return bytes;
}

std::size_t Find(const Bytes& bytes, const std::string& text) {
    const auto found =
        std::search(bytes.begin(), bytes.end(), text.begin(), text.end(),
                    [](std::uint8_t byte, char c) { return byte == static_cast<std::uint8_t>(c); });
    return static_cast<std::size_t>(found - bytes.begin());
}

TEST(Hostile, AbsurdSizesFailFast) {
    using Kind = ZorException::Kind;
    Bytes jpeg = EncodeImage(samples::MakeScene(4, 4, 3), "jpg");
    const std::size_t frame = Find(jpeg, "\xff\xc0");
    jpeg[frame + 4] = 12;
    ExpectRefusal(jpeg, Kind::Format,
                  "12 bits per sample; only JPEG files with 8 bits per sample can be decoded");

    const std::size_t size = Find(samples::kGreyJp2, "\xff\x51");
    ExpectRefusal(WithBig32(WithBig32(samples::kGreyJp2, size + 6, 2000000000), size + 10, 2000000000),
                  Kind::Memory, "2000000000 x 2000000000");
    ExpectRefusal(
        WithBig32(
            WithBig32(WithBig32(WithBig32(samples::kGreyJp2, size + 6, 8000), size + 10, 8000), size + 22, 1),
            size + 26, 1),
        Kind::Format, "64000000 tiles");
    ExpectRefusal({}, Kind::Format, "The file is empty.");
    ExpectRefusal({'P', 'K', 3, 4}, Kind::Format, "ZIP archive");
}

// Boxes of that name inside each other, behind the usual first one.
Bytes NestedBoxes(const std::string& name, std::size_t depth, std::size_t head) {
    Bytes bytes = {0, 0, 0, 24, 'f', 't', 'y', 'p', 'h', 'e', 'i', 'c',
                   0, 0, 0, 0,  'm', 'i', 'f', '1', 'h', 'e', 'i', 'c'};
    for (std::size_t i = depth; i > 0; --i) {
        const std::size_t size = i * (8 + head);
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(size >> shift));
        bytes.insert(bytes.end(), name.begin(), name.end());
        bytes.insert(bytes.end(), head, std::uint8_t{0});
    }
    return bytes;
}

// A directory of width, height, samples per pixel and the place of the next directory.
Bytes BareTiff(std::uint32_t width, std::uint32_t height, std::uint32_t samplesPerPixel, std::uint32_t next) {
    Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0, 3, 0};
    for (const auto& [tag, value] : {std::pair{256U, width}, {257U, height}, {277U, samplesPerPixel}}) {
        samples::Append16(bytes, tag);
        samples::Append16(bytes, 4);
        samples::Append32(bytes, 1);
        samples::Append32(bytes, value);
    }
    samples::Append32(bytes, next);
    return bytes;
}

TEST(Hostile, AFewBytesThatClaimMuchReachNoLibrary) {
    struct Case {
        const char* what;
        Bytes bytes;
        const char* problem;  // "" for what may be read
    };
    Bytes manyBoxes = NestedBoxes("moov", 1, 0);
    for (int i = 0; i < 100001; ++i) manyBoxes.insert(manyBoxes.end(), {0, 0, 0, 8, 'f', 'r', 'e', 'e'});
    Bytes manyDirectories = {'I', 'I', 42, 0, 8, 0, 0, 0};
    for (std::uint32_t i = 0; i < 1100; ++i) {
        samples::Append16(manyDirectories, 0);
        samples::Append32(manyDirectories, 8 + 6 * (i + 1));
    }
    const Case cases[] = {
        {"boxes in boxes", NestedBoxes("moov", 20000, 0), "nested more than"},
        {"just too deep", NestedBoxes("trak", 25, 0), "nested more than"},
        {"just deep enough", NestedBoxes("trak", 24, 0), ""},
        {"with a head", NestedBoxes("meta", 30, 4), "nested more than"},
        {"extended by name", NestedBoxes("uuid", 30, 16), "nested more than"},
        {"no container", NestedBoxes("mdat", 20000, 0), ""},
        {"boxes in a row", manyBoxes, "more than 100000 boxes"},
        {"samples", BareTiff(65535, 900, 65535, 0), "65535 samples"},
        {"few samples", BareTiff(5000, 4000, 4, 0), ""},
        {"a directory that leads to itself", BareTiff(1, 1, 1, 8), ""},
        {"directories without end", manyDirectories, "more than 1000 directories"},
        {"nothing", {}, ""},
    };
    for (const Case& one : cases) {
        const std::string problem = StructureProblem(one.bytes);
        EXPECT_EQ(problem.empty(), *one.problem == 0) << one.what << ": " << problem;
        EXPECT_NE(problem.find(one.problem), std::string::npos) << one.what << ": " << problem;
        if (problem.empty()) continue;
        ExpectRefusal(one.bytes, ZorException::Kind::Format, one.problem);
        const ImageInfo info = ReadImageInfo(one.bytes);
        ASSERT_EQ(info.warnings.size(), 1U) << one.what;
        EXPECT_EQ(info.warnings[0], problem) << one.what;
    }
}

TEST(Hostile, ThousandsOfScansAreRefused) {
    const Bytes& bytes = samples::kProgressiveJpeg;
    std::size_t last = 0;  // the last scan, up to the end mark
    for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
        if (bytes[i] == 0xff && bytes[i + 1] == 0xda) last = i;
    }
    const Bytes scan(bytes.begin() + static_cast<std::ptrdiff_t>(last), bytes.end() - 2);
    Bytes bomb(bytes.begin(), bytes.end() - 2);
    for (int i = 0; i < 5000; ++i) bomb.insert(bomb.end(), scan.begin(), scan.end());
    bomb.insert(bomb.end(), {0xff, 0xd9});
    ExpectRefusal(bomb, ZorException::Kind::Format, "more than 500 scans");
}

TEST(Hostile, WarningsAreFew) {
    Bytes jpeg = EncodeImage(samples::MakeScene(400, 400, 3), "jpg");
    std::mt19937 random(7);
    for (std::size_t i = 700; i + 2 < jpeg.size(); i += 40) jpeg[i] = static_cast<std::uint8_t>(random());
    const DecodedImage decoded = DecodeImage(jpeg);
    EXPECT_FALSE(decoded.warnings.empty());
    EXPECT_LE(decoded.warnings.size(), 22U);
}

}  // namespace
