#include "orvcore/tools/folder/fileexamination.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvcore/formats/exifscan.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tools/folder/foldertable.h"
#include "tests/orvcore/formats/exifmaker.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/hash.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

using namespace formatsupport;
using testing::HasSubstr;

namespace {

constexpr const char* kTaken = "2004:06:17 07:10:06";

// The quick reader must say what the whole reading says.
void ExpectAgreement(const Bytes& bytes) {
    const FileExamination quick = ExamineFile("a.jpg", bytes);
    const MetadataSummary whole = ReadMetadataSummary(bytes);
    EXPECT_EQ(quick.facts.make, whole.facts.make);
    EXPECT_EQ(quick.facts.model, whole.facts.model);
    EXPECT_EQ(quick.facts.software, whole.facts.software);
    EXPECT_EQ(quick.facts.dateTime, whole.facts.dateTime);
    EXPECT_EQ(quick.facts.dateTimeOriginal, whole.facts.dateTimeOriginal);
    EXPECT_EQ(quick.facts.dateTimeDigitized, whole.facts.dateTimeDigitized);
    EXPECT_EQ(quick.facts.fromXmp, whole.facts.fromXmp);
    EXPECT_EQ(quick.facts.pixelXDimension, whole.facts.pixelXDimension);
    EXPECT_EQ(quick.facts.pixelYDimension, whole.facts.pixelYDimension);
    EXPECT_EQ(quick.facts.orientation, whole.facts.orientation);
    EXPECT_EQ(quick.hasPosition, whole.hasPosition);
    EXPECT_EQ(quick.thumbnailBytes, whole.thumbnail.size());
    if (quick.thumbnailBytes > 0) {
        EXPECT_EQ(quick.thumbnailSha256, Sha256(std::span<const std::uint8_t>(whole.thumbnail)));
    }
}

}  // namespace

TEST(ExifScan, ReadsBothByteOrdersAndSurvivesEveryDamage) {
    for (const bool isLittle : {true, false}) {
        const Bytes segment =
            ExifMaker(isLittle).Segment("Maker", " Model\xFF ", "S", kTaken, "2004", 640, 480);
        const ByteSpan block = ByteSpan(segment).subspan(6);
        const ExifScan scan = ScanExif(block);
        EXPECT_TRUE(scan.isPresent);
        EXPECT_EQ(scan.facts.make, "Maker");
        EXPECT_EQ(scan.facts.model, "Model\xEF\xBF\xBD");
        EXPECT_EQ(scan.facts.dateTime, kTaken);
        EXPECT_EQ(scan.facts.dateTimeOriginal, "2004");
        EXPECT_EQ(scan.facts.pixelXDimension, 640);
        for (std::size_t length = 0; length < block.size(); ++length) {
            // On the heap, so that a sanitizer sees every byte read too far.
            const Bytes cut(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(length));
            ScanExif(cut);
        }
        Bytes damaged(block.begin(), block.end());
        for (std::size_t at = 0; at < damaged.size(); ++at)
            for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
                const std::uint8_t old = damaged[at];
                damaged[at] = static_cast<std::uint8_t>(value);
                ScanExif(damaged);
                damaged[at] = old;
            }
    }
}

TEST(ExifScan, AgreesWithTheWholeReadingOnEveryVariant) {
    const std::vector<Tag> main = {{0x010F, 2, {}, "Maker"}, {0x0112, 3, {6}}};
    const Bytes jpeg = MakeJpeg({.width = 16, .height = 16});
    const auto size = static_cast<std::uint32_t>(jpeg.size());
    const std::vector<Tag> strips = {{0x0100, 3, {8}}, {0x0101, 3, {4}}, {0x0102, 3, {8}},
                                     {0x0103, 3, {1}}, {0x0106, 3, {1}}, {0x0111, 4, {3400}},
                                     {0x0116, 3, {4}}, {0x0117, 4, {32}}};
    const auto withXmp = [](const Bytes& tiff, const std::vector<std::string>& packets) {
        std::vector<std::pair<int, Bytes>> segments = {{1, ToBytes(std::string("Exif\0\0", 6)) + tiff}};
        for (const std::string& packet : packets) segments.emplace_back(1, XmpPayload(packet));
        return MakeJpeg({.segments = segments});
    };
    const std::string place = "exif:GPSLatitude='48,51.498N' exif:GPSLongitude='2,17,40.2W'";
    std::vector<Tag> north = Position();
    north[0].text = "North";
    std::vector<Tag> minutes = Position();
    minutes[1].values = {48, 1, 60, 1, 0, 1};
    std::vector<Tag> negative = Position(10);
    negative[1].values[0] = static_cast<std::uint32_t>(-48);
    struct Case {
        const char* what;
        Bytes bytes;
        bool hasPosition;
        std::size_t thumbnail;
    };
    const Case cases[] = {
        {"unsigned", WithExif(Tiff({.main = main, .gps = Position()})), true, 0},
        {"signed pointer", WithExif(Tiff({.main = main, .gps = Position(), .pointerType = 9})), true, 0},
        {"directory pointer", WithExif(Tiff({.main = main, .gps = Position(), .pointerType = 13})), true, 0},
        {"signed fractions", WithExif(Tiff({.main = main, .gps = Position(10)})), true, 0},
        {"negative", WithExif(Tiff({.main = main, .gps = negative})), false, 0},
        {"no letter", WithExif(Tiff({.main = main, .gps = north})), false, 0},
        {"sixty minutes", WithExif(Tiff({.main = main, .gps = minutes})), false, 0},
        {"position in the first of two packets", withXmp(Tiff({.main = main}), {place, "tiff:Make='x'"}),
         true, 0},
        {"camera in XMP", withXmp(Tiff({}), {"tiff:Make='Maker' tiff:Model='M' xmp:CreatorTool='E'"}), false,
         0},
        {"JPEG thumbnail",
         WithExif(Tiff({.main = main, .second = {{0x0201, 4, {3400}}, {0x0202, 4, {size}}}, .behind = jpeg})),
         false, jpeg.size()},
        {"plain thumbnail", WithExif(Tiff({.main = main, .second = strips, .behind = Bytes(32, 7)})), false,
         1},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        ExpectAgreement(one.bytes);
        const FileExamination file = ExamineFile("a.jpg", one.bytes);
        EXPECT_EQ(file.facts.make, "Maker");
        EXPECT_EQ(file.hasPosition, one.hasPosition);
        if (one.thumbnail == 1) {
            EXPECT_EQ(file.thumbnailWidth, 8);
        } else {
            EXPECT_EQ(file.thumbnailBytes, one.thumbnail);
        }
    }
    // Not only without a crash: a cut block gives what stands before the cut.
    Bytes cut = WithExif(Tiff({.main = main}) + Bytes(500, 0));
    cut.resize(2000);
    ExpectAgreement(cut);
    const FileExamination part = ExamineFile("a.jpg", cut);
    EXPECT_EQ(part.facts.make, "Maker");
    EXPECT_THAT(ParseCell(FolderTableRow(part).at(2)).text, HasSubstr("in part only"));
}

TEST(ExifScan, AgreesWithTheWholeReadingOnRealFiles) {
    NEED_FIXTURES();
    int compared = 0;
    for (const std::string& path : FilesBelow(Fixtures())) {
        const Bytes bytes = ReadFileBytes(path);
        if (path.find("fuzz") != std::string::npos) continue;
        if (DetectFormat(ByteSpan(bytes).first(std::min(bytes.size(), kFormatSniffBytes))) !=
            FileFormat::Jpeg)
            continue;
        const FileExamination quick = ExamineFile(path, bytes);
        SCOPED_TRACE(path);
        ExpectAgreement(bytes);
        const ImageInfo info = ReadImageInfo(bytes);
        EXPECT_EQ(quick.pictures, info.frames);
        if (!quick.coding.empty() && !info.compression.empty()) {
            EXPECT_EQ("JPEG: " + quick.coding, info.compression);
        }
        if (quick.isComplete) {
            EXPECT_EQ(quick.channels, info.channels) << path;
            EXPECT_EQ(quick.bitsPerSample, info.bitsPerSample) << path;
            // A profile whose pieces do not fit together is there, yet has no name.
            const std::string name = info.iccProfile.empty() ? "" : IccProfileName(info.iccProfile);
            if (!name.empty() || quick.profile.empty()) {
                EXPECT_EQ(quick.profile, name) << path;
            }
        }
        ++compared;
    }
    EXPECT_GT(compared, 100);
}
