// The filters on thumbnails and on what name and camera tell.

#include <gmock/gmock.h>

#include <opencv2/imgproc.hpp>

#include "orvcore/filter/mapimage.h"
#include "orvcore/tables/byteplaces.h"
#include "orvcore/tables/tablemarkup.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/virtualcamera.h"
#include "zorimage/imageio.h"

using namespace formatsupport;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const cv::Mat& Photo() {
    static const cv::Mat photo =
        TakePhoto(OrdinaryCamera(2), MakeScene(SceneKind::Textured, {640, 480}, 3), 1);
    return photo;
}

// A JPEG of a picture whose EXIF block holds that thumbnail and these fields.
Bytes WithThumbnail(const cv::Mat& picture, const Bytes& thumbnail, TiffRecipe recipe = {}) {
    const auto size = static_cast<std::uint32_t>(thumbnail.size());
    if (!thumbnail.empty()) recipe.second = {{0x0103, 3, {6}}, {0x0201, 4, {3400}}, {0x0202, 4, {size}}};
    recipe.behind = thumbnail;
    const Bytes payload = ToBytes(std::string("Exif\0\0", 6)) + Tiff(recipe);
    Bytes file = {0xFF, 0xD8, 0xFF, 0xE1};
    AppendBig(file, payload.size() + 2, 2);
    const Bytes jpeg = EncodeImage(Image(picture), "jpg", 90);
    return file + payload + Bytes(jpeg.begin() + 2, jpeg.end());
}

Bytes Small(const cv::Mat& picture) {
    cv::Mat small;
    cv::resize(picture, small, {160, 120}, 0, 0, cv::INTER_AREA);
    return EncodeImage(Image(small), "jpg", 80);
}

std::string Findings(const OrvFilterResultPtr& result) {
    std::string text;
    for (const std::string& finding : result->slot[OrvEvidence]->findings) text += finding + "\n";
    return text;
}

class OriginFilters : public testing::Test {
  protected:
    OrvFilterResultPtr Run(const std::string& id, const std::string& name, const Bytes& content) {
        WriteFile(folder / name, content);
        return RunFilter(*MakeFilter(id), folder / name);
    }
    TemporaryFolder folder;
};

// What the metadata of a photograph say.
TiffRecipe Camera(const std::string& make, const std::string& model, const std::string& taken) {
    TiffRecipe recipe;
    recipe.main = {{0x010F, 2, {}, make}, {0x0110, 2, {}, model}};
    recipe.photo = {{0x9003, 2, {}, taken}};
    return recipe;
}

}  // namespace

TEST_F(OriginFilters, ThumbnailsAreWeighedByWhatTheyShow) {
    cv::Mat changed = Photo().clone();
    Photo()(cv::Rect(20, 20, 160, 160)).copyTo(changed(cv::Rect(360, 200, 160, 160)));
    const cv::Mat other = TakePhoto(OrdinaryCamera(2), MakeScene(SceneKind::Bricks, {640, 480}, 8), 1);
    const struct {
        const char* name;
        cv::Mat picture;
        OrvVerdict verdict;
        const char* finding;
        const char* content;
    } kCases[] = {
        {"same.jpg", Photo(), OrvVerdict::NothingFound, "", "the main picture's"},
        {"other.jpg", other, OrvVerdict::StrongSign, "shows another picture", "another picture's"},
        {"changed.jpg", changed, OrvVerdict::StrongSign, "differs from the picture in parts",
         "differs in parts"},
        {"cut.jpg", Photo()(cv::Rect(80, 60, 400, 300)), OrvVerdict::StrongSign,
         "shows more than the picture", "the main picture's"},
    };
    for (const auto& item : kCases) {
        SCOPED_TRACE(item.name);
        const auto result = Run("thumbnails", item.name, WithThumbnail(item.picture, Small(Photo())));
        const OrvSlotResult& slot = *result->slot[OrvEvidence];
        EXPECT_EQ(slot.verdict, item.verdict) << slot.verdictText << Findings(result);
        EXPECT_THAT(Findings(result), HasSubstr(item.finding));
        EXPECT_EQ(OutputOf(result, "content"), item.content);
        EXPECT_EQ(OutputOf(result, "count"), "1");
        // Processed is the map of where they differ, drawn; the thumbnail itself is the second map, drawn as it is.
        EXPECT_EQ(slot.inputImage.GetWidth(), 160);
        ASSERT_EQ(slot.maps.size(), 2U);
        EXPECT_EQ(slot.maps[0].image, cv::Size(160, 120));
        const auto isEqual = [](const cv::Mat& a, const cv::Mat& b) {
            return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
        };
        EXPECT_TRUE(isEqual(result->GetPicture(OrvEvidence).GetMat(), DrawMap(slot.maps[0]).GetMat()));
        EXPECT_TRUE(
            isEqual(DrawMap(slot.maps[1]).GetMat(), DecodeImage(Small(Photo())).image.ToColor().GetMat()));
        const auto& table = result->output.Find("table")->Get<TableString>();
        ASSERT_EQ(table.size(), 2U);
        const auto places = FindBytePlaces(table, 1);
        ASSERT_EQ(places.size(), 1U);
        const Bytes& bytes = result->file[OrvEvidence]->GetBytes();
        EXPECT_EQ(bytes[places[0].offset], 0xFF);
        EXPECT_EQ(bytes[places[0].offset + 1], 0xD8);
        EXPECT_EQ(places[0].count, Small(Photo()).size());
        // Its own tables: saved at quality 80, whatever the picture was saved at.
        EXPECT_THAT(table[1].back(), StartsWith("80, "));
    }
    EXPECT_EQ(
        Run("thumbnails", "none.jpg", EncodeImage(Image(Photo()), "jpg", 90))->slot[OrvEvidence]->verdict,
        OrvVerdict::NotApplicable);
    // A thumbnail that is none is told, and no sign.
    const auto damaged = Run("thumbnails", "damaged.jpg",
                             WithThumbnail(Photo(), Bytes{0xFF, 0xD8, 0xFF, 0xC0, 0, 4, 1, 2, 0xFF, 0xD9}));
    EXPECT_LE(damaged->slot[OrvEvidence]->verdict, OrvVerdict::NothingFound);

    // A number that was asked for is told of, whatever became of it; a picture that cannot be fitted is shown as it is.
    const auto filter = MakeFilter("thumbnails");
    VecParameter input = filter->GetInputPrototype();
    const auto shown = [&](const char* name, int number) {
        input.Find("number")->SetValue(number);
        return OutputOf(RunFilter(*filter, folder / name, {}, &input), "shown");
    };
    EXPECT_THAT(shown("same.jpg", 2), StartsWith("Number 2, "));
    EXPECT_THAT(shown("same.jpg", 1), HasSubstr("no thumbnail"));
    EXPECT_THAT(shown("damaged.jpg", 2), HasSubstr("Number 2 cannot be shown"));
    const auto flat = Run("thumbnails", "flat.jpg",
                          WithThumbnail(Photo(), Small(cv::Mat(480, 640, CV_8UC3, cv::Scalar::all(90)))));
    EXPECT_EQ(OutputOf(flat, "content"), "nothing to compare: too little contrast");
    EXPECT_EQ(flat->GetPicture(OrvEvidence).GetWidth(), 160);
    EXPECT_TRUE(flat->slot[OrvEvidence]->maps.empty());
}

TEST_F(OriginFilters, ThumbnailsOfRealFilesHaveTheKnownAnswers) {
    NEED_FIXTURES();
    const auto filter = MakeFilter("thumbnails");
    const std::string structures = Fixtures() + "/synth/jpegstruct/";
    const auto same = RunFilter(*filter, structures + "thumb_match.jpg", structures + "thumb_mismatch.jpg");
    EXPECT_EQ(same->slot[OrvEvidence]->verdict, OrvVerdict::NothingFound);
    EXPECT_EQ(same->slot[OrvReference]->verdict, OrvVerdict::StrongSign);
    // The pages stand side by side: a row for the number, a column for each file.
    const auto& table = same->output.Find("table")->Get<TableString>();
    EXPECT_EQ(FindBytePlaces(table, 1).size(), 2U);
}

TEST_F(OriginFilters, UntouchedPhotographsShowNoStrongSign) {
    NEED_FIXTURES();
    int compared = 0;
    const auto thumbnails = MakeFilter("thumbnails");
    const auto names = MakeFilter("name-and-camera");
    for (const std::string& path : FilesBelow(Fixtures() + "/untouched")) {
        if (PathExtension(path) != "jpg") continue;
        SCOPED_TRACE(path);
        const auto result = RunFilter(*thumbnails, path);
        const OrvSlotResult& slot = *result->slot[OrvEvidence];
        EXPECT_NE(slot.verdict, OrvVerdict::StrongSign) << Findings(result);
        if (!slot.SaysNothing()) ++compared;
        EXPECT_NE(RunFilter(*names, path)->slot[OrvEvidence]->verdict, OrvVerdict::StrongSign);
    }
    EXPECT_GT(compared, 20);
}

TEST_F(OriginFilters, NamesAreHeldAgainstTheMetadata) {
    const struct {
        const char* name;
        const char* make;
        const char* taken;
        const char* times;
        bool isOdd;
    } kCases[] = {
        {"IMG_20170630_140333.jpg", "HTC", "2017:06:30 14:03:30", "agrees", false},
        {"IMG_20170630_140333.jpg", "HTC", "2017:06:30 11:03:30", "apart from the metadata by 3.0 h", false},
        {"IMG_20170630_140333.jpg", "HTC", "2017:06:20 14:11:30", "later than the metadata", true},
        {"IMG_20170630_140333.jpg", "HTC", "", "-", false},
        {"PXL_20210304_151617123.jpg", "Google", "2021:03:04 16:16:17", "apart from the metadata by 60 min",
         false},
        {"IMG-20170630-WA0003.jpg", "", "2017:06:30 23:59:59", "the day of the metadata", false},
        // A message is sent when it is sent: later than it was taken is usual, earlier is not.
        {"IMG-20170630-WA0003.jpg", "", "2015:06:30 23:59:59", "later than the metadata's day", false},
        {"IMG-20170630-WA0003.jpg", "", "2019:06:30 23:59:59", "earlier than the metadata's day", true},
        {"DSCN0001.jpg", "NIKON CORPORATION", "2017:06:30 14:03:30", "-", false},
        {"DSCN0001.jpg", "Canon", "2017:06:30 14:03:30", "-", true},
        {"RSCN0001.jpg", "NIKON", "2017:06:30 14:03:30", "-", true},
        {"1234.jpg", "Canon", "2017:06:30 14:03:30", "-", false},
    };
    for (const auto& item : kCases) {
        SCOPED_TRACE(std::string(item.name) + " " + item.taken);
        const auto result =
            Run("name-and-camera", item.name, WithThumbnail(Photo(), {}, Camera(item.make, "X", item.taken)));
        EXPECT_THAT(OutputOf(result, "times"), HasSubstr(item.times));
        EXPECT_EQ(result->slot[OrvEvidence]->verdict,
                  item.isOdd ? OrvVerdict::WorthALook : OrvVerdict::NothingFound)
            << Findings(result);
    }
    EXPECT_THAT(OutputOf(Run("name-and-camera", "1234.jpg", MakeJpeg()), "origin"), StartsWith("No origin"));
    EXPECT_EQ(OutputOf(Run("name-and-camera", "12_34_56_n.jpg", MakeJpeg()), "services"),
              "Facebook, Instagram");
    // Who could have given the name is told in the same way in both lines.
    for (const auto& [name, start] :
         {std::pair{"ab3de5g.jpg", "Perhaps Tinypic"},
          {"12345678.jpg", "No origin: any program could have given this name, and so could Tinypic"},
          {"?!.jpg", "No origin: the name fits nothing"}}) {
        const auto result = Run("name-and-camera", name, MakeJpeg());
        EXPECT_THAT(OutputOf(result, "origin"), StartsWith(start));
        EXPECT_EQ(OutputOf(result, "services"), std::string(name) == "?!.jpg" ? "None" : "Tinypic");
    }
}

TEST_F(OriginFilters, SizesAreHeldAgainstTheCamera) {
    cv::Mat picture(1200, 1600, CV_8UC3, cv::Scalar::all(90));
    const TiffRecipe ixus = Camera("Canon", "Canon DIGITAL IXUS", "2017:06:30 14:03:30");
    const auto sizes = [&](const cv::Mat& shown, const TiffRecipe& camera) {
        return OutputOf(Run("name-and-camera", "a.jpg", WithThumbnail(shown, {}, camera)), "sizes");
    };
    EXPECT_THAT(sizes(picture, ixus), StartsWith("Yes (sizes seen in files: 1600 x 1200"));
    EXPECT_THAT(sizes(picture.t(), ixus), StartsWith("Yes, turned"));
    EXPECT_THAT(sizes(picture.colRange(0, 1500), ixus), StartsWith("Not known of it"));
    EXPECT_EQ(sizes(picture, Camera("Canon", "Another", "")), "The camera is not in the list");
    EXPECT_EQ(sizes(picture, {}), "No camera is named");
}
