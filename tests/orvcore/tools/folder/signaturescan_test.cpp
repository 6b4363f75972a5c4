#include "orvcore/tools/folder/signaturescan.h"

#include <gtest/gtest.h>

#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/temporaryfolder.h"

using namespace formatsupport;

namespace {

// An EXIF block that names a camera.
Bytes CameraBlock(const std::string& make, const std::string& model) {
    Bytes tiff = ToBytes(std::string("II*\0\x08\0\0\0\x02\0", 10));
    const auto entry = [&tiff](unsigned tag, std::size_t count, std::size_t offset) {
        AppendLittle(tiff, tag, 2);
        AppendLittle(tiff, 2, 2);
        AppendLittle(tiff, count, 4);
        AppendLittle(tiff, offset, 4);
    };
    entry(0x010F, make.size() + 1, 38);
    entry(0x0110, model.size() + 1, 38 + make.size() + 1);
    AppendLittle(tiff, 0, 4);
    return ToBytes(std::string("Exif\0\0", 6)) + tiff + ToBytes(make) + Bytes{0} + ToBytes(model) + Bytes{0};
}

}  // namespace

TEST(SignatureScan, CountsPicturesOfEveryCamera) {
    const TemporaryFolder folder;
    const auto write = [&](const std::string& name, const std::string& model, unsigned seed, int quality) {
        JpegRecipe recipe{.quality = quality, .seed = seed};
        if (!model.empty()) recipe.segments = {{1, CameraBlock("Maker", model)}};
        WriteFile(folder / name, MakeJpeg(recipe));
    };
    write("a1.jpg", "Alpha", 1, 80);
    write("a2.jpg", "Alpha", 2, 80);
    write("sub/b1.jpg", "Bravo", 3, 80);
    write("a3.jpg", "Alpha", 4, 90);
    write("none.jpg", "", 5, 80);
    WriteFile(folder / "text.txt", std::string("no picture"));

    const SignatureScan flat = ScanSignatures(folder.Path(), false, OrvJob());
    EXPECT_EQ(flat.pictures, 3);
    EXPECT_EQ(flat.unnamed, 1);
    EXPECT_EQ(flat.others, 1);
    ASSERT_EQ(flat.records.size(), 2U);

    const SignatureScan deep = ScanSignatures(folder.Path(), true, OrvJob());
    EXPECT_EQ(deep.pictures, 4);
    SignatureCollection collection(folder / "known.db");
    collection.Add(deep.records);
    EXPECT_EQ(collection.CountPictures(), 4);
    EXPECT_EQ(collection.CountRecords(), 3);
    for (const SignatureRecord& record : deep.records) {
        const auto same = collection.Find(record.key);
        EXPECT_EQ(record.make, "Maker");
        // At quality 80 both models write alike.
        EXPECT_EQ(same.size(), record.count == 1 && record.model == "Alpha" ? 1U : 2U) << record.model;
    }
    EXPECT_THROW(ScanSignatures(folder / "nothing here", false, OrvJob()), std::exception);
}

// The signatures that come with the program are those of today's reader.
TEST(SignatureScan, ShippedSignaturesAreFoundAgain) {
    NEED_FIXTURES();
    const std::string shipped = GetAppDataPath() + "/camera-signatures.tsv";
    if (!FileExists(shipped)) GTEST_SKIP() << "the data folder has not been put together";
    const TemporaryFolder folder;
    SignatureCollection collection(folder / "known.db");
    collection.Import(ReadFile(shipped));
    const SignatureScan scan = ScanSignatures(Fixtures() + "/untouched", false, OrvJob());
    EXPECT_EQ(scan.records.size(), 36U);
    for (const SignatureRecord& record : scan.records) {
        bool isKnown = false;
        for (const SignatureRecord& known : collection.Find(record.key))
            isKnown = isKnown || known.model == record.model;
        EXPECT_TRUE(isKnown) << record.make << " " << record.model;
    }
}
