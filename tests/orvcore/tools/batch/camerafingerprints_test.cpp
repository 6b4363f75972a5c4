#include "orvcore/tools/batch/camerafingerprints.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvcore/analysis/fingerprintfile.h"
#include "orvcore/model/collections.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"
#include "tests/support/virtualcamera.h"

namespace {

const cv::Size kSize{384, 288};

// A case with pictures of two cameras, in folders of their own, and an empty documents folder.
class CameraFingerprintsTest : public testing::Test {
  protected:
    std::string Write(const std::string& folder, const std::string& name, std::uint64_t sensor,
                      SceneKind kind, std::uint64_t seed, cv::Size size = kSize) {
        const std::string path = PathJoin(m_folder / folder, name);
        MakeFolder(PathFolder(path));
        WriteImage(Image(TakePhoto(OrdinaryCamera(sensor), kind, size, seed)), path);
        return path;
    }
    void WriteFlats(const std::string& folder, std::uint64_t sensor, int count) {
        for (int i = 0; i < count; ++i)
            Write(folder, "flat" + std::to_string(i) + ".png", sensor, SceneKind::Flat,
                  10 + static_cast<std::uint64_t>(i));
    }
    static std::string Cell(const TableString& table, const std::string& name, const std::string& column) {
        for (std::size_t c = 0; c < table[0].size(); ++c)
            for (const auto& row : table)
                if (table[0][c] == column && row[0] == name) return row[c];
        return "no such cell";
    }

    CaseFolder m_folder;
};

}  // namespace

TEST_F(CameraFingerprintsTest, MakesOneFromAFolderAndNamesWhatItLeavesOut) {
    WriteFlats("one", 1, 5);
    Write("one", "other-size.png", 1, SceneKind::Flat, 1, {200, 200});
    Write("one", "turned.png", 1, SceneKind::Flat, 1, {288, 384});
    WriteFile(m_folder / "one/notes.txt", std::string("no picture"));
    const FingerprintOutcome outcome =
        MakeCameraFingerprint({m_folder / "one", "Camera/One", "", false}, OrvJob());
    EXPECT_EQ(outcome.pictures, 5);
    EXPECT_GT(outcome.agreement, kLeastAgreement);
    EXPECT_NE(outcome.warning.find("advised"), std::string::npos);
    EXPECT_EQ(PathFolder(outcome.path), FingerprintFolder());
    EXPECT_EQ(PathName(outcome.path), "Camera_One.orvfp");
    EXPECT_EQ(outcome.table.size(), 9U);
    EXPECT_EQ(Cell(outcome.table, "flat3.png", "Took Part"), "yes");
    EXPECT_NE(Cell(outcome.table, "other-size.png", "Why Not").find("size"), std::string::npos);
    EXPECT_NE(Cell(outcome.table, "turned.png", "Why Not").find("Turned"), std::string::npos);
    EXPECT_EQ(Cell(outcome.table, "notes.txt", "Took Part"), "?no");
    // A second one of the name stands beside the first.
    EXPECT_EQ(PathName(MakeCameraFingerprint({m_folder / "one", "Camera/One", "", false}, OrvJob()).path),
              "Camera_One (2).orvfp");
    EXPECT_THROW(MakeCameraFingerprint({m_folder / "nowhere", "", "", false}, OrvJob()), ZorException);
    // Stopped: nothing is written.
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(MakeCameraFingerprint({m_folder / "one", "Stopped", "", false}, OrvJob(stop.get_token())),
                 ZorException);
    EXPECT_EQ(ListFingerprints(FingerprintFolder()).size(), 2U);
}

TEST_F(CameraFingerprintsTest, NamesTheCameraOfEachPictureOfAFolder) {
    WriteFlats("one", 1, 8);
    WriteFlats("two", 2, 8);
    MakeCameraFingerprint({m_folder / "one", "One", "", false}, OrvJob());
    MakeCameraFingerprint({m_folder / "two", "Two", "", false}, OrvJob());
    WriteFile(FingerprintFolder() + "/damaged.orvfp", std::string("ORVFPRT1 and nothing else"));
    Write("case", "a.png", 1, SceneKind::SmoothSky, 50);
    Write("case", "b.png", 2, SceneKind::SmoothSky, 51);
    Write("case", "c.png", 3, SceneKind::SmoothSky, 52);
    Write("case", "d.png", 1, SceneKind::SmoothSky, 53, {300, 300});
    WriteFile(m_folder / "case/e.jpg", std::string("nothing"));
    const TableString table = IdentifyCameras(m_folder / "case", "", false, OrvJob());
    EXPECT_EQ(Cell(table, "a.png", "Camera"), "One");
    EXPECT_EQ(Cell(table, "a.png", "Runner-Up Camera"), "Two");
    EXPECT_EQ(Cell(table, "b.png", "Camera"), "Two");
    EXPECT_EQ(Cell(table, "c.png", "Camera"), "none");
    EXPECT_NE(Cell(table, "d.png", "Notes").find("another size"), std::string::npos);
    EXPECT_EQ(Cell(table, "e.jpg", "Notes")[0], '!');
    EXPECT_NE(Cell(table, "a.png", "Notes").find("damaged.orvfp"), std::string::npos);
    // The best of two: the threshold has risen.
    EXPECT_GT(std::stod(Cell(table, "a.png", "Threshold")), kPceThreshold);
}

TEST_F(CameraFingerprintsTest, PagesTellTheCameraAndWhereItsPatternIsMissing) {
    const cv::Size size(640, 480);
    const std::string none = Write("case", "early.png", 1, SceneKind::SmoothSky, 60);
    EXPECT_EQ(RunFilter(*MakeFilter("camera-identification"), none)->slot[OrvEvidence]->verdict,
              OrvVerdict::NotApplicable);
    for (int i = 0; i < 10; ++i)
        Write("one", "flat" + std::to_string(i) + ".png", 1, SceneKind::Flat,
              10 + static_cast<std::uint64_t>(i), size);
    MakeCameraFingerprint({m_folder / "one", "One", "", false}, OrvJob());

    const cv::Mat photo = TakePhoto(OrdinaryCamera(1), SceneKind::Textured, size, 61);
    const cv::Rect part(192, 128, 224, 192);
    const ForgedPhoto forged =
        Splice(photo, part, TakePhoto(OrdinaryCamera(2), SceneKind::Textured, size, 62), part.tl());
    WriteImage(Image(photo), m_folder / "photo.png");
    WriteImage(Image(forged.image), m_folder / "forged.png");
    WriteImage(Image(TakePhoto(OrdinaryCamera(2), SceneKind::Textured, size, 62)), m_folder / "foreign.png");

    const auto identification = MakeFilter("camera-identification");
    const OrvFilterResultPtr result =
        RunFilter(*identification, m_folder / "photo.png", m_folder / "foreign.png");
    EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
    EXPECT_NE(result->slot[OrvEvidence]->verdictText.find("One"), std::string::npos);
    EXPECT_EQ(result->slot[OrvReference]->verdict, OrvVerdict::NothingFound);

    const auto map = MakeFilter("camera-noise-map");
    const OrvSlotResult untouched = *RunFilter(*map, m_folder / "photo.png")->slot[OrvEvidence];
    EXPECT_EQ(untouched.verdict, OrvVerdict::NothingFound) << untouched.verdictText;
    const OrvSlotResult missing = *RunFilter(*map, m_folder / "forged.png")->slot[OrvEvidence];
    EXPECT_EQ(missing.verdict, OrvVerdict::WorthALook) << missing.verdictText;
    ASSERT_EQ(missing.maps.size(), 1U);
    ASSERT_EQ(missing.maps[0].regions.size(), 1U);
    const Roi& box = missing.maps[0].regions[0].box;
    EXPECT_GT((cv::Rect(box.x, box.y, box.width, box.height) & part).area(), 0.5 * part.area());
    EXPECT_EQ(RunFilter(*map, m_folder / "foreign.png")->slot[OrvEvidence]->verdict,
              OrvVerdict::NotApplicable);
}
