// The pages of the analyses of compression: what each says of a forged and of an untouched picture.

#include <gtest/gtest.h>

#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/files.h"
#include "zorimage/imageio.h"

namespace {

const cv::Rect kPatch(400, 304, 256, 256);

class CompressionFilters : public testing::Test {
  protected:
    CompressionFilters() {
        const cv::Mat host = TakePhoto(OrdinaryCamera(3), SceneKind::Textured, {1104, 800}, 5);
        WriteFile(m_folder / "untouched.jpg", SaveJpeg(host, 90));
        WriteFile(m_folder / "lacking.jpg", SaveJpeg(SpliceNeverSaved(host, kPatch, 60).image, 90));
        WriteFile(m_folder / "ghost.jpg", SaveJpeg(SpliceSaved(host, kPatch, 65).image, 90));
        WriteImage(Image(SpliceMisaligned(host, kPatch, 75, {5, 3}).image), m_folder / "misaligned.png");
        const cv::Mat cropped = ThroughJpeg(host, 60)(cv::Rect(3, 5, 1001, 703)).clone();
        WriteFile(m_folder / "cropped.jpg", SaveJpeg(cropped, 95));
        WriteImage(Image(ThroughJpeg(host, 80)), m_folder / "was-jpeg.png");
        WriteImage(Image(host), m_folder / "never.png");
    }
    OrvFilterResultPtr Run(const char* filter, const char* file) {
        return RunFilter(*MakeFilter(filter), m_folder / file);
    }
    TemporaryFolder m_folder;
};

}  // namespace

TEST_F(CompressionFilters, Verdicts) {
    using enum OrvVerdict;
    const struct {
        const char* filter;
        const char* file;
        OrvVerdict verdict;
    } cases[] = {{"double-jpeg-aligned", "lacking.jpg", StrongSign},
                 {"double-jpeg-aligned", "untouched.jpg", NothingFound},
                 {"double-jpeg-aligned", "never.png", NotApplicable},
                 {"double-jpeg-shifted", "cropped.jpg", StrongSign},
                 {"double-jpeg-shifted", "untouched.jpg", NothingFound},
                 {"grid-votes", "misaligned.png", StrongSign},
                 {"grid-votes", "untouched.jpg", NothingFound},
                 {"grid-votes", "never.png", NothingFound},
                 {"jpeg-ghosts", "untouched.jpg", NothingFound},
                 {"jpeg-ghosts", "ghost.jpg", WorthALook},
                 {"jpeg-quality-curve", "lacking.jpg", WorthALook},
                 {"jpeg-quality-curve", "untouched.jpg", NothingFound},
                 {"decoded-history", "was-jpeg.png", WorthALook},
                 {"decoded-history", "never.png", NothingFound},
                 {"decoded-history", "untouched.jpg", NotApplicable},
                 {"jpeg-dimples", "untouched.jpg", NotApplicable},
                 {"block-artefacts", "untouched.jpg", NothingFound}};
    for (const auto& c : cases) {
        const OrvFilterResultPtr result = Run(c.filter, c.file);
        EXPECT_EQ(result->slot[OrvEvidence]->verdict, c.verdict)
            << c.filter << ' ' << c.file << ": " << result->slot[OrvEvidence]->verdictText;
        EXPECT_FALSE(result->slot[OrvEvidence]->verdictText.empty()) << c.filter;
    }
}

TEST_F(CompressionFilters, TheMapsStandOnThePicture) {
    const OrvFilterResultPtr aligned = Run("double-jpeg-aligned", "lacking.jpg");
    const OrvMap map = aligned->GetMaps(OrvEvidence).front();
    const auto at = [](const OrvMap& of, int x, int y) { return MapValueAt(of, x, y).channels[0]; };
    EXPECT_GT(at(map, kPatch.x + 128, kPatch.y + 128), 3.0);
    EXPECT_LT(at(map, 100, 100), 0.0);
    ASSERT_EQ(map.regions.size(), 1U);
    const OrvFilterResultPtr votes = Run("grid-votes", "misaligned.png");
    EXPECT_EQ(at(votes->GetMaps(OrvEvidence)[0], 100, 100), 0.0);
    EXPECT_EQ(at(votes->GetMaps(OrvEvidence)[0], kPatch.x + 128, kPatch.y + 128), 43.0);
    EXPECT_EQ(at(votes->GetMaps(OrvEvidence)[1], kPatch.x + 128, kPatch.y + 128), 2.0);
    // The curve of error levels comes near nought at the file's own quality.
    const OrvFilterResultPtr levels = Run("error-level", "untouched.jpg");
    const std::vector<float>& curve = levels->slot[OrvEvidence]->plot.curves.front();
    EXPECT_LT(curve[89], 0.1F);
    EXPECT_GT(curve[79], 1.0F);
}

// What is shown first is the map with the ghost, on the picture; the sheet of all qualities comes on request, without marks that would lie
// anywhere on it.
TEST_F(CompressionFilters, TheGhostComesFirst) {
    const auto filter = MakeFilter("jpeg-ghosts");
    const OrvFilterResultPtr ghosts = RunFilter(*filter, m_folder / "ghost.jpg");
    const OrvSlotResult& found = *ghosts->slot[OrvEvidence];
    std::vector<std::string> names;
    for (const OrvMap& map : found.maps) names.push_back(map.name.substr(map.name.rfind(' ') + 1));
    EXPECT_EQ(names, (std::vector<std::string>{"65", "55", "60", "70", "75", "80", "85", "90", "95"}));
    ASSERT_EQ(found.maps[0].regions.size(), 1U);
    const Roi& box = found.maps[0].regions[0].box;
    const cv::Rect part = kPatch & cv::Rect(box.x, box.y, box.width, box.height);
    EXPECT_GT(part.area(), kPatch.area() / 2);
    EXPECT_EQ(ghosts->GetPicture(OrvEvidence).GetWidth(), found.inputImage.GetWidth());
    EXPECT_EQ(found.plot.curves.size(), 1U);

    VecParameter sheet = filter->GetPostProcessingPrototype();
    ASSERT_TRUE(sheet.Find("picture")->SetValue(1));
    const OrvFilterResultPtr all = RunFilter(*filter, m_folder / "ghost.jpg", {}, nullptr, &sheet);
    EXPECT_TRUE(all->slot[OrvEvidence]->outputImage.IsValid());
    for (const OrvMap& map : all->slot[OrvEvidence]->maps) EXPECT_TRUE(map.regions.empty()) << map.name;
}
