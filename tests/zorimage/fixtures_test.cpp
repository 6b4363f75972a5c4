#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/zorimage/samples.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

// Tests on a folder of real files with known answers, which is not part of the repository: $ORVANE_FIXTURES
// names it.

namespace {

std::string FixturesFolder() {
    const char* folder = std::getenv("ORVANE_FIXTURES");
    return folder == nullptr ? std::string() : folder;
}

#define NEED_FIXTURES() \
    if (FixturesFolder().empty()) GTEST_SKIP() << "ORVANE_FIXTURES is not set: no real files to read"

// The picture as a binary PNM file, the form in which the reference decoder's hash is kept.
Bytes ToPnm(const Image& image) {
    Bytes bytes;
    samples::AppendText(bytes, (image.GetChannels() == 1 ? "P5\n" : "P6\n") +
                                   std::to_string(image.GetWidth()) + " " +
                                   std::to_string(image.GetHeight()) + "\n255\n");
    for (int y = 0; y < image.GetHeight(); ++y) {
        const std::uint8_t* row = image.GetMat().ptr(y);
        for (int x = 0; x < image.GetWidth() * image.GetChannels(); ++x) {
            bytes.push_back(image.GetChannels() == 1 ? row[x] : row[x / 3 * 3 + 2 - x % 3]);
        }
    }
    return bytes;
}

TEST(Fixtures, JpegPixelsEqualThoseOfTheReferenceDecoder) {
    NEED_FIXTURES();
    int compared = 0;
    for (const Json& entry : JsonFromText(ReadFile(FixturesFolder() + "/oracle/expected.json"))) {
        const std::string path = entry.at("path").get<std::string>();
        const Bytes bytes = ReadFileBytes(FixturesFolder() + "/" + path);
        const ImageInfo info = ReadImageInfo(bytes);
        if (entry.at("width").is_number() && entry.at("height").is_number()) {
            EXPECT_EQ(info.width, entry.at("width").get<int>()) << path;
            EXPECT_EQ(info.height, entry.at("height").get<int>()) << path;
        }
        if (!entry.contains("decoded_pnm_sha256") || !entry.at("decoded_pnm_sha256").is_string()) continue;
        EXPECT_EQ(Sha256(ToPnm(DecodeImage(bytes).image)), entry.at("decoded_pnm_sha256").get<std::string>())
            << path;
        ++compared;
    }
    EXPECT_GE(compared, 130);
}

TEST(Fixtures, EveryFileEndsInAPictureOrAMessage) {
    NEED_FIXTURES();
    int pictures = 0;
    int refused = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(FixturesFolder())) {
        if (!entry.is_regular_file() || entry.file_size() > (200U << 20)) continue;
        const Bytes bytes = ReadFileBytes(entry.path().string());
        const ImageInfo info = ReadImageInfo(bytes);
        try {
            const DecodedImage decoded = DecodeImage(bytes);
            ++pictures;
            EXPECT_EQ(decoded.image.GetWidth(), info.width) << entry.path();
            EXPECT_EQ(decoded.image.GetHeight(), info.height) << entry.path();
        } catch (const ZorException& exception) {
            ++refused;
            EXPECT_FALSE(exception.GetMessage().empty());
            EXPECT_NE(exception.GetKind(), ZorException::Kind::Internal)
                << entry.path() << ": " << exception.GetMessage();
        }
    }
    EXPECT_GT(pictures, 230);
    EXPECT_GT(refused, 10);
}

TEST(Fixtures, KnownPicturesOpenWithoutComplaint) {
    NEED_FIXTURES();
    for (const std::string folder :
         {"/cameras/bmp/bmpsuite/g", "/cameras/gif", "/cameras/heic", "/cameras/avif", "/synth/pristine"}) {
        for (const auto& entry : std::filesystem::directory_iterator(FixturesFolder() + folder)) {
            if (!entry.is_regular_file()) continue;
            const Bytes bytes = ReadFileBytes(entry.path().string());
            if (!IsReadableFormat(DetectFormat(bytes))) continue;
            const DecodedImage decoded = DecodeImage(bytes);
            EXPECT_TRUE(decoded.warnings.empty()) << entry.path() << ": " << decoded.warnings.front();
        }
    }
}

TEST(Fixtures, BmpSuiteShowsOnePictureInAllItsLayouts) {
    NEED_FIXTURES();
    const std::string folder = FixturesFolder() + "/cameras/bmp/bmpsuite/g/";
    const Image palette = DecodeImage(ReadFileBytes(folder + "pal8.bmp")).image;
    for (const char* name : {"pal8-0", "pal8os2", "pal8rle", "pal8topdown", "pal8v4", "pal8v5"}) {
        EXPECT_TRUE(DecodeImage(ReadFileBytes(folder + name + ".bmp")).image.IsEqual(palette)) << name;
    }
    const Image colour = DecodeImage(ReadFileBytes(folder + "rgb24.bmp")).image;
    for (const char* name : {"rgb24pal", "rgb32", "rgb32bf", "rgb32bfdef"}) {
        EXPECT_TRUE(DecodeImage(ReadFileBytes(folder + name + ".bmp")).image.IsEqual(colour)) << name;
    }
    for (const char* name : {"rgb16", "rgb16-565", "rgb16bfdef"}) {
        const Image coarse = DecodeImage(ReadFileBytes(folder + name + ".bmp")).image;
        EXPECT_LE(cv::norm(coarse.GetMat(), colour.GetMat(), cv::NORM_INF), 8) << name;
    }
}

}  // namespace

// Whatever lies in the memory that the library gets: what it does not read must not show.
TEST(Fixtures, ACutFileGivesTheSamePixelsEachTime) {
    NEED_FIXTURES();
    const Bytes bytes = ReadFileBytes(FixturesFolder() + "/found/Panasonic.rw2");
    Image first;
    for (const int pattern : {0x11, 0xEE}) {
        mallopt(M_PERTURB, pattern);
        const Image image = DecodeImage(bytes).image;
        mallopt(M_PERTURB, 0);
        if (!first.IsValid()) first = image;
        EXPECT_TRUE(image.IsEqual(first));
    }
}
