// Makes the pictures of the self-test: selftestpictures FOLDER. What each shows is known from how it is made, told here and in
// data/selftest/README.md; nothing in it was measured by an analysis. The same bytes come out each time.

#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>
#include <string>

#include "tests/support/virtualcamera.h"
#include "zorbase/files.h"
#include "zorimage/imageio.h"

namespace {

std::string folder;

void KeepPng(const std::string& name, const cv::Mat& picture) {
    WriteImage(Image(picture), PathJoin(folder, name + ".png"));
}
void KeepJpeg(const std::string& name, const cv::Mat& picture, int quality) {
    WriteFile(PathJoin(folder, name + ".jpg"), SaveJpeg(picture, quality));
}

// Red grows by 4 to the right, green by 4 downwards, blue is 128: 64 x 64 different colours, red and green without correlation.
cv::Mat Ramps() {
    cv::Mat picture(64, 64, CV_8UC3);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            picture.at<cv::Vec3b>(y, x) =
                cv::Vec3b(128, static_cast<std::uint8_t>(4 * y), static_cast<std::uint8_t>(4 * x));
    return picture;
}

// A wave of 10 pixels' length across, 100 levels high, about 128.
cv::Mat Waves() {
    cv::Mat picture(256, 256, CV_8UC3);
    for (int x = 0; x < 256; ++x) {
        const auto level =
            static_cast<std::uint8_t>(std::lround(128.0 + 50.0 * std::sin(2 * CV_PI * x / 10)));
        picture.col(x).setTo(cv::Scalar::all(level));
    }
    return picture;
}

cv::Mat Photo(SceneKind kind, cv::Size size, double noise, std::uint64_t seed) {
    VirtualCamera camera;
    camera.readNoise = noise;
    return TakePhoto(camera, kind, size, seed);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fprintf(stderr, "usage: selftestpictures FOLDER\n"), 1;
    folder = argv[1];
    KeepPng("ramps", Ramps());
    KeepPng("waves", Waves());
    const cv::Mat leaves = Photo(SceneKind::Textured, {256, 256}, 1.0, 7);
    // Each level times 1.4: of 256 levels only 183 can occur.
    cv::Mat stretched;
    leaves.convertTo(stretched, CV_8U, 1.4, -40.0);
    KeepPng("stretched", stretched);
    cv::Mat median;
    cv::medianBlur(leaves, median, 3);
    KeepPng("median", median);
    KeepPng("enlarged", ResizePhoto(leaves, 1.25, PhotoInterpolation::Bilinear)(cv::Rect(0, 0, 256, 256)));
    KeepPng("leaves", leaves);
    // Noise of 6 levels in the square of 64 pixels at (160, 64).
    KeepPng("noisy-part",
            SpliceNoise(Photo(SceneKind::Flat, {256, 256}, 1.0, 3), {160, 64, 64, 64}, 6.0, 5).image);
    // Every pixel's two missing colours interpolated by their neighbours' mean; none in the square of 96 pixels at (128, 96).
    VirtualCamera sensor;
    sensor.readNoise = 2.0;
    sensor.mosaic = PhotoMosaic::Rggb;
    VirtualCamera whole = sensor;
    whole.mosaic = PhotoMosaic::None;
    const cv::Mat scene = MakeScene(SceneKind::Textured, {256, 256}, 11);
    KeepPng(
        "mosaic",
        Splice(TakePhoto(sensor, scene, 1), {128, 96, 96, 96}, TakePhoto(whole, scene, 2), {128, 96}).image);
    // Red magnified by 1.004 about the middle: at the picture's corner by 1.2 pixels.
    VirtualCamera lens;
    lens.redMagnification = 1.004;
    lens.readNoise = 0.5;
    KeepJpeg("lens", TakePhoto(lens, SceneKind::Textured, {512, 384}, 13), 95);
    // Saved at 70, then at 92, but for the square of 128 pixels at (128, 64), which was saved once.
    const cv::Mat big = Photo(SceneKind::Textured, {384, 256}, 1.0, 17);
    KeepJpeg("twice", SpliceNeverSaved(big, {128, 64, 128, 128}, 70).image, 92);
    KeepJpeg("once", big, 92);
    // Saved at 60, cropped by 3 columns and 5 rows, saved at 95: the first grid begins at (5, 3).
    const cv::Mat cropped = ThroughJpeg(Photo(SceneKind::Textured, {512, 512}, 1.0, 19), 60);
    KeepJpeg("shifted", cropped(cv::Rect(3, 5, 480, 480)), 95);
    // The same without the second save.
    KeepPng("decoded", cropped(cv::Rect(3, 5, 256, 256)));
    // Put back where it was never saved as JPEG: the rest was, at 90.
    KeepPng("part-never-saved", SpliceNeverSaved(leaves, {128, 64, 96, 96}, 90).image);
    // Even noise of 10 levels about 128: equally strong at all frequencies.
    KeepPng("noise", AddNoise(cv::Mat(256, 256, CV_8UC3, cv::Scalar::all(128)), 10.0, 23));
    // Two sensors of one model. The fingerprint of the first is camera.orvfp; README.md tells how it was made.
    VirtualCamera device;
    device.fingerprint = 0.03;
    device.readNoise = 1.0;
    device.photonNoise = 0.01;
    KeepPng("sensor-1", TakePhoto(device, SceneKind::SmoothSky, {256, 256}, 500));
    MakeFolder(PathJoin(folder, "even"));
    for (int shot = 0; shot < 12; ++shot)
        KeepPng("even/" + std::to_string(shot), TakePhoto(device, MakeScene(SceneKind::Flat, {256, 256}, 1),
                                                          100 + static_cast<std::uint64_t>(shot)));
    device.sensor = 2;
    KeepPng("sensor-2", TakePhoto(device, SceneKind::SmoothSky, {256, 256}, 501));
    // The disc of 60 pixels about (80, 90) once more about (190, 170).
    KeepPng("copied", CopyMove(leaves, {50, 60, 60, 60}, {190, 170}).image);
    return 0;
}
