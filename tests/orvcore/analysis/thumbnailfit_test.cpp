#include "orvcore/analysis/thumbnailfit.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "tests/support/virtualcamera.h"
#include "zorbase/zorexception.h"
#include "zorimage/image.h"
#include "zorimage/imageio.h"

namespace {

const cv::Mat& Photo() {
    static const cv::Mat photo =
        TakePhoto(OrdinaryCamera(3), MakeScene(SceneKind::Textured, {960, 720}, 5), 1);
    return photo;
}

// As a camera makes it: reduced, coded as JPEG.
cv::Mat Small(const cv::Mat& picture, cv::Size size = {160, 120}) {
    cv::Mat small;
    cv::resize(picture, small, size, 0, 0, cv::INTER_AREA);
    return DecodeImage(EncodeImage(Image(small), "jpg", 80)).image.GetMat().clone();
}

cv::Mat Turned(const cv::Mat& picture, int code) {
    cv::Mat turned;
    cv::rotate(picture, turned, code);
    return turned;
}

void ExpectShown(const ThumbnailFit& fit, double x, double y, double width, double height) {
    EXPECT_NEAR(fit.shown.x, x, 0.03);
    EXPECT_NEAR(fit.shown.y, y, 0.03);
    EXPECT_NEAR(fit.shown.width, width, 0.04);
    EXPECT_NEAR(fit.shown.height, height, 0.04);
}

}  // namespace

TEST(ThumbnailFit, OfTheSamePictureIsNearlyEqual) {
    const ThumbnailFit fit = FitThumbnail(Photo(), Small(Photo()));
    EXPECT_TRUE(fit.isFound);
    EXPECT_EQ(fit.turn, 0);
    EXPECT_FALSE(fit.isMirrored);
    EXPECT_GT(fit.correlation, 0.97);
    EXPECT_LT(fit.meanDifference, 8.0);
    EXPECT_LT(fit.disagreement, 0.3);
    EXPECT_EQ(fit.changedShare, 0.0);
    EXPECT_EQ(fit.main.size(), cv::Size(160, 120));
    EXPECT_EQ(fit.difference.size(), cv::Size(160, 120));
    ExpectShown(fit, 0, 0, 1, 1);
}

TEST(ThumbnailFit, FindsTurnsMirrorsAndBars) {
    const struct {
        int code;
        int turn;
        cv::Size size;
    } kTurns[] = {{cv::ROTATE_90_CLOCKWISE, 90, {120, 160}},
                  {cv::ROTATE_180, 180, {160, 120}},
                  {cv::ROTATE_90_COUNTERCLOCKWISE, 270, {120, 160}}};
    for (const auto& item : kTurns) {
        const ThumbnailFit fit = FitThumbnail(Photo(), Small(Turned(Photo(), item.code), item.size));
        EXPECT_TRUE(fit.isFound);
        EXPECT_EQ(fit.turn, item.turn);
        EXPECT_LT(fit.disagreement, 0.4);
    }
    cv::Mat mirrored;
    cv::flip(Photo(), mirrored, 1);
    EXPECT_TRUE(FitThumbnail(Photo(), Small(mirrored)).isMirrored);

    // A wide picture between black bars.
    const cv::Mat wide = Photo()(cv::Rect(0, 90, 960, 540));
    cv::Mat boxed(120, 160, CV_8UC3, cv::Scalar::all(0));
    Small(wide, {160, 90}).copyTo(boxed(cv::Rect(0, 15, 160, 90)));
    const ThumbnailFit fit = FitThumbnail(wide, boxed);
    EXPECT_TRUE(fit.isFound);
    EXPECT_EQ(fit.content, cv::Rect(0, 16, 160, 88));
    EXPECT_EQ(cv::countNonZero(fit.mask.rowRange(0, 15)), 15 * 160);
    EXPECT_LT(fit.disagreement, 0.4);
    ExpectShown(fit, 0, 0, 1, 1);
}

TEST(ThumbnailFit, TellsWhatEitherOfThemShowsMore) {
    // The picture was cut after the thumbnail was made.
    const cv::Mat cut = Photo()(cv::Rect(240, 120, 480, 480));
    const ThumbnailFit more = FitThumbnail(cut, Small(Photo()));
    EXPECT_TRUE(more.isFound);
    ExpectShown(more, -0.5, -0.25, 2.0, 1.5);
    EXPECT_LT(more.disagreement, 0.5);
    // The thumbnail is the middle of a wider picture.
    const ThumbnailFit less = FitThumbnail(Photo(), Small(cut, {120, 120}));
    EXPECT_TRUE(less.isFound);
    ExpectShown(less, 0.25, 1.0 / 6, 0.5, 2.0 / 3);
}

TEST(ThumbnailFit, ShowsWhereAPartWasReplaced) {
    cv::Mat changed = Photo().clone();
    const cv::Rect patch(600, 300, 150, 150);
    Photo()(cv::Rect(60, 60, 150, 150)).copyTo(changed(patch));
    const ThumbnailFit fit = FitThumbnail(changed, Small(Photo()));
    EXPECT_TRUE(fit.isFound);
    EXPECT_GT(fit.disagreement, 1.0);
    EXPECT_GT(fit.changedShare, 0.005);
    const cv::Rect there(patch.x / 6, patch.y / 6, patch.width / 6, patch.height / 6);
    EXPECT_FALSE((there & fit.worst).empty());
    cv::Mat outside = fit.difference.clone();
    outside(there + cv::Size(4, 4) - cv::Point(2, 2)).setTo(0);
    EXPECT_GT(cv::mean(fit.difference(there))[0], 4 * cv::mean(outside)[0]);

    const cv::Mat other = TakePhoto(OrdinaryCamera(3), MakeScene(SceneKind::Architecture, {960, 720}, 9), 1);
    const ThumbnailFit nothing = FitThumbnail(other, Small(Photo()));
    EXPECT_FALSE(nothing.isFound);
    EXPECT_LT(nothing.correlation, 0.6);
}

TEST(ThumbnailFit, TakesOtherBrightnessForNoChange) {
    cv::Mat darker;
    Photo().convertTo(darker, CV_8U, 0.6, 20);
    const ThumbnailFit fit = FitThumbnail(Photo(), Small(darker));
    EXPECT_NEAR(fit.gain, 0.6, 0.03);
    EXPECT_NEAR(fit.offset, 20, 4);
    EXPECT_LT(fit.disagreement, 0.3);
}

TEST(ThumbnailFit, RefusesWhatItCannotCompare) {
    const cv::Mat good(40, 40, CV_8UC3, cv::Scalar::all(9));
    for (const cv::Mat& bad : {cv::Mat(), cv::Mat(40, 40, CV_16UC3), cv::Mat(40, 40, CV_8UC4),
                               cv::Mat(8, 40, CV_8UC3), cv::Mat(40, 700, CV_8UC3)})
        EXPECT_THROW(FitThumbnail(good, bad), ZorException);
    // Without any contrast nothing is found, and nothing breaks.
    const ThumbnailFit flat = FitThumbnail(good, good);
    EXPECT_FALSE(flat.isFound);
    EXPECT_TRUE(std::isfinite(flat.disagreement));
}
