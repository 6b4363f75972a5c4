#include "orvcore/analysis/camerafingerprint.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "orvcore/analysis/fingerprintfile.h"
#include "orvcore/analysis/fingerprintmatch.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/hash.h"
#include "zorbase/zorexception.h"

namespace {

const cv::Size kSensor{512, 384};

VirtualCamera Camera(std::uint64_t sensor) {
    VirtualCamera camera = OrdinaryCamera(sensor);
    camera.fingerprint = 0.02;
    return camera;
}

CameraFingerprint MakeFingerprint(std::uint64_t sensor, int pictures, SceneKind kind = SceneKind::Flat,
                                  cv::Size size = kSensor) {
    FingerprintMaker maker;
    for (int i = 0; i < pictures; ++i)
        EXPECT_EQ(maker.Add(TakePhoto(Camera(sensor), kind, size, 100 + static_cast<std::uint64_t>(i))), "");
    return maker.Finish();
}

CameraResidual Cleaned(const cv::Mat& photo) {
    CameraResidual residual = ComputeCameraResidual(photo);
    CleanResidual(residual);
    return residual;
}

double Correlation(const cv::Mat& a, const cv::Mat& b) {
    return a.dot(b) / std::sqrt(a.dot(a) * b.dot(b));
}

class CameraFingerprintTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { s_fingerprint = new CameraFingerprint(MakeFingerprint(1, 12)); }
    static void TearDownTestSuite() { delete s_fingerprint; }
    static const CameraFingerprint& Fingerprint() { return *s_fingerprint; }

  private:
    static CameraFingerprint* s_fingerprint;
};
CameraFingerprint* CameraFingerprintTest::s_fingerprint = nullptr;

}  // namespace

TEST_F(CameraFingerprintTest, IsThePatternOfTheSensor) {
    // No mosaic and no sharpening: the pattern comes out as it went in.
    VirtualCamera camera;
    camera.fingerprint = 0.01;
    camera.readNoise = 2.0;
    FingerprintMaker maker;
    for (std::uint64_t i = 0; i < 20; ++i) maker.Add(TakePhoto(camera, SceneKind::Flat, kSensor, i));
    const CameraFingerprint fingerprint = maker.Finish();
    EXPECT_EQ(fingerprint.pictures, 20);
    EXPECT_GT(fingerprint.agreement, 50.0);
    EXPECT_GT(Correlation(fingerprint.pattern, FingerprintOf(camera, kSensor)), 0.9);
    camera.sensor = 2;
    EXPECT_LT(std::abs(Correlation(fingerprint.pattern, FingerprintOf(camera, kSensor))), 0.02);
}

// Every channel counts as in the luminance, a picture without colour as it is.
TEST_F(CameraFingerprintTest, ChannelsHaveTheirWeights) {
    const cv::Mat grey =
        TakePhoto(Camera(1), SceneKind::Textured, {150, 110}, 1).reshape(1).colRange(90, 240) / 2 + 40;
    const CameraResidual own = ComputeCameraResidual(grey);
    EXPECT_EQ(cv::norm(own.noise, WaveletResidual(grey, 3.0), cv::NORM_INF), 0.0);
    const double weights[] = {0.114, 0.587, 0.299};
    for (int c = 0; c < 3; ++c) {
        std::vector<cv::Mat> planes(3, cv::Mat(grey.size(), CV_8U, cv::Scalar(90)));
        planes[static_cast<std::size_t>(c)] = grey;
        cv::Mat picture;
        cv::merge(planes, picture);
        const CameraResidual residual = ComputeCameraResidual(picture);
        EXPECT_LT(cv::norm(residual.noise, own.noise * weights[c], cv::NORM_INF), 1e-3) << c;
        EXPECT_LT(
            cv::norm(residual.intensity, own.intensity * weights[c] + 90 * (1 - weights[c]), cv::NORM_INF),
            1e-2)
            << c;
    }
}

TEST_F(CameraFingerprintTest, TellsTheCameraFromItsTwin) {
    const struct {
        SceneKind kind;
        int quality;  // 0: not compressed
    } cases[] = {{SceneKind::Textured, 0},
                 {SceneKind::SmoothSky, 90},
                 {SceneKind::Architecture, 95},
                 {SceneKind::Flat, 75}};
    for (const auto& c : cases) {
        for (const std::uint64_t sensor : {1, 2}) {
            cv::Mat photo = TakePhoto(Camera(sensor), c.kind, kSensor, 7);
            if (c.quality > 0) photo = ThroughJpeg(photo, c.quality);
            const FingerprintMatch match = TestAligned(Cleaned(photo), Fingerprint().pattern);
            EXPECT_EQ(match.isMatch, sensor == 1) << static_cast<int>(c.kind) << ": " << match.pce;
            EXPECT_TRUE(sensor == 1 || std::abs(match.pce) < 20.0) << match.pce;
            EXPECT_EQ(DecideFingerprint(match).finding, sensor == 1 ? Finding::StrongSign : Finding::Nothing);
        }
    }
}

TEST_F(CameraFingerprintTest, FindsCroppedScaledAndTurnedPictures) {
    const cv::Mat photo = TakePhoto(Camera(1), SceneKind::SmoothSky, kSensor, 7);
    cv::Mat turned;
    cv::rotate(photo, turned, cv::ROTATE_90_CLOCKWISE);
    const struct {
        const char* name;
        cv::Mat picture;
        cv::Point shift;
        double scale;
        int quarterTurns;
    } cases[] = {{"whole", photo, {0, 0}, 1.0, 0},
                 {"cropped", photo(cv::Rect(37, 21, 380, 300)).clone(), {37, 21}, 1.0, 0},
                 {"turned", turned, {0, 0}, 1.0, 1},
                 {"reduced", ResizePhoto(photo(cv::Rect(0, 0, 400, 384)), 0.75), {0, 0}, 4.0 / 3, 0}};
    for (const auto& c : cases) {
        const FingerprintMatch match = SearchFingerprint(Cleaned(c.picture), Fingerprint().pattern, {});
        EXPECT_TRUE(match.isMatch) << c.name << ": " << match.pce << " of " << match.threshold;
        EXPECT_EQ(match.shift, c.shift) << c.name;
        EXPECT_NEAR(match.scale, c.scale, 0.01) << c.name;
        EXPECT_EQ(match.quarterTurns, c.quarterTurns) << c.name;
        EXPECT_LT(match.runnerUp, match.pce / 2) << c.name;
    }
    // Cropped and reduced by an unknown amount.
    FingerprintSearch search;
    search.anyTurn = false;
    search.finest = 1.5;
    const cv::Mat part = ResizePhoto(photo(cv::Rect(40, 30, 440, 320)), 0.8);
    const FingerprintMatch match = SearchFingerprint(Cleaned(part), Fingerprint().pattern, search);
    EXPECT_TRUE(match.isMatch) << match.pce << " of " << match.threshold;
    EXPECT_NEAR(match.scale, 1.25, 0.003);
    EXPECT_LE(std::abs(match.shift.x - 40), 1);
    // Another camera is not found, however much is tried; the threshold has risen with the number of places.
    const FingerprintMatch other = SearchFingerprint(
        Cleaned(TakePhoto(Camera(2), SceneKind::SmoothSky, kSensor, 7)(cv::Rect(0, 0, 300, 300)).clone()),
        Fingerprint().pattern, {});
    EXPECT_FALSE(other.isMatch);
    EXPECT_GT(other.threshold, 70.0);
    EXPECT_GT(other.places, 10000.0);
    EXPECT_GT(other.runnerUp, 5.0);
}

TEST_F(CameraFingerprintTest, ProbabilitiesAreThoseOfTheNormalDistribution) {
    EXPECT_NEAR(Log10Tail(0.0), std::log10(0.5), 1e-12);
    EXPECT_NEAR(Log10Tail(1.6448536), std::log10(0.05), 1e-6);
    EXPECT_NEAR(Log10Tail(7.999), Log10Tail(8.001), 0.01);
    EXPECT_NEAR(Log10Tail(10.0), std::log10(7.619853e-24), 1e-4);
    EXPECT_NEAR(Log10Tail(100.0), -2173.87, 0.01);
    EXPECT_EQ(ThresholdForPlaces(1.0), kPceThreshold);
    EXPECT_NEAR(Log10Tail(std::sqrt(ThresholdForPlaces(1e7))) + 7.0, Log10Tail(std::sqrt(kPceThreshold)),
                1e-6);
}

// 3,600 pairs of pictures and fingerprints that do not belong together, held against the probability that is given for them.
TEST_F(CameraFingerprintTest, FalseAlarmsComeAsOftenAsTold) {
    const cv::Size size(64, 64);
    std::vector<CameraResidual> residuals;
    std::vector<cv::Mat> patterns;
    for (std::uint64_t i = 0; i < 60; ++i) {
        residuals.push_back(Cleaned(TakePhoto(Camera(1000 + i), SceneKind::Textured, size, i)));
        patterns.push_back(MakeFingerprint(2000 + i, 3, SceneKind::Flat, size).pattern);
    }
    int below5 = 0;
    int below1 = 0;
    for (const CameraResidual& residual : residuals) {
        for (const cv::Mat& pattern : patterns) {
            const FingerprintMatch match = TestAligned(residual, pattern);
            EXPECT_FALSE(match.isMatch);
            below5 += match.log10FalseAlarm < std::log10(0.05);
            below1 += match.log10FalseAlarm < -2.0;
        }
    }
    EXPECT_NEAR(below5, 180, 60);
    EXPECT_NEAR(below1, 36, 25);
}

TEST_F(CameraFingerprintTest, PicturesThatDoNotFitAreLeftOutWithAReason) {
    const cv::Mat photo = TakePhoto(Camera(1), SceneKind::Flat, {128, 96}, 1);
    FingerprintMaker maker;
    EXPECT_THROW(FingerprintMaker().Finish(), ZorException);
    EXPECT_NE(maker.Add(cv::Mat(100, 100, CV_8UC3, cv::Scalar::all(255))), "");
    EXPECT_EQ(maker.Add(photo), "");
    const cv::Mat bad[] = {
        cv::Mat(), cv::Mat(96, 128, CV_16UC3), cv::Mat(96, 127, CV_8UC3, cv::Scalar::all(9)),
        cv::Mat(128, 96, CV_8UC3, cv::Scalar::all(9)), cv::Mat(8, 8, CV_8U, cv::Scalar(9))};
    for (const cv::Mat& image : bad) EXPECT_NE(maker.Add(image), "");
    EXPECT_NE(maker.Add(bad[3]).find("Turned"), std::string::npos);
    EXPECT_EQ(maker.GetPictures(), 1);
    // Stopped while it works: nothing was added.
    EXPECT_THROW(maker.Add(photo, [](double) { throw std::runtime_error("stop"); }), std::runtime_error);
    EXPECT_EQ(maker.GetPictures(), 1);
    // One picture makes a fingerprint that says so.
    const CameraFingerprint fingerprint = maker.Finish();
    EXPECT_EQ(fingerprint.pictures, 1);
    EXPECT_TRUE(std::isnan(fingerprint.agreement));
    // Without any noise there is nothing to make it of.
    FingerprintMaker silent;
    silent.Add(cv::Mat(64, 64, CV_8UC3, cv::Scalar::all(90)));
    EXPECT_THROW(silent.Finish(), ZorException);
}

TEST_F(CameraFingerprintTest, PicturesOfTenCamerasDoNotAgree) {
    FingerprintMaker maker;
    for (std::uint64_t i = 0; i < 10; ++i)
        maker.Add(TakePhoto(Camera(50 + i), SceneKind::Textured, {256, 192}, i));
    EXPECT_LT(maker.Finish().agreement, kLeastAgreement);
    EXPECT_GT(MakeFingerprint(1, 10, SceneKind::Textured, {256, 192}).agreement, kLeastAgreement);
}

TEST_F(CameraFingerprintTest, NumberOfThreadsChangesNoBit) {
    SetAnalysisThreads(1);
    const CameraFingerprint one = MakeFingerprint(3, 4, SceneKind::Textured, {201, 149});
    const CameraResidual residual = Cleaned(TakePhoto(Camera(3), SceneKind::Textured, {150, 110}, 7));
    const FingerprintMatch matchOne = SearchFingerprint(residual, one.pattern, {});
    SetAnalysisThreads(3);
    const CameraFingerprint three = MakeFingerprint(3, 4, SceneKind::Textured, {201, 149});
    const FingerprintMatch matchThree = SearchFingerprint(residual, one.pattern, {});
    SetAnalysisThreads(0);
    EXPECT_EQ(cv::norm(one.pattern, three.pattern, cv::NORM_INF), 0.0);
    EXPECT_EQ(one.agreement, three.agreement);
    EXPECT_EQ(matchOne.pce, matchThree.pce);
}

TEST_F(CameraFingerprintTest, FileKeepsEverythingAndRefusesWhatIsDamaged) {
    const TemporaryFolder folder;
    const std::string path = folder / "one.orvfp";
    const FingerprintRecord record{"Nora's phone", "Make", "Model \"x\"", "0815", "1.2", Fingerprint(), ""};
    WriteFingerprint(record, path);
    const FingerprintRecord read = ReadFingerprint(path);
    EXPECT_EQ(read.name, record.name);
    EXPECT_EQ(read.make, record.make);
    EXPECT_EQ(read.model, record.model);
    EXPECT_EQ(read.serialNumber, record.serialNumber);
    EXPECT_EQ(read.madeWith, record.madeWith);
    EXPECT_EQ(read.fingerprint.pictures, 12);
    EXPECT_EQ(read.fingerprint.agreement, record.fingerprint.agreement);
    EXPECT_EQ(cv::norm(read.fingerprint.pattern, Fingerprint().pattern, cv::NORM_INF), 0.0);
    EXPECT_EQ(ListFingerprints(folder.Path()), std::vector<std::string>{path});
    EXPECT_TRUE(ListFingerprints(folder / "nothing").empty());

    const Bytes good = ReadFileBytes(path);
    // Signs a changed file anew, so that what is behind the hash is reached.
    const auto sign = [](Bytes bytes) {
        bytes.erase(bytes.end() - 64, bytes.end());
        const std::string hash = Sha256(bytes);
        bytes.insert(bytes.end(), hash.begin(), hash.end());
        return bytes;
    };
    const auto withText = [&](const std::string& from, const std::string& to) {
        Bytes bytes = good;
        const auto at = std::search(bytes.begin(), bytes.end(), from.begin(), from.end());
        EXPECT_NE(at, bytes.end());
        std::copy(to.begin(), to.end(), at);
        return sign(bytes);
    };
    const auto withValue = [&](float value, int fromEnd) {
        Bytes bytes = good;
        std::memcpy(bytes.data() + bytes.size() - 64 - 4 * fromEnd, &value, 4);
        return sign(bytes);
    };
    Bytes flipped = good;
    flipped[flipped.size() / 2] ^= 1;
    Bytes silent = good;
    std::fill(silent.end() - 64 - kSensor.area() * 4, silent.end() - 64, 0);
    Bytes longDescription = good;
    longDescription[11] = 0x7F;
    Bytes longer = good;
    longer.push_back(0);
    const struct {
        Bytes bytes;
        const char* reason;
    } cases[] = {{{}, "no fingerprint file"},
                 {Bytes(200, 7), "no fingerprint file"},
                 {Bytes(good.begin(), good.begin() + 90), "cut short"},
                 {Bytes(good.begin(), good.end() - 100), "cut short"},
                 {longer, "longer"},
                 {longDescription, "cut short"},
                 {flipped, "hash"},
                 {withText("\"width\":512", "\"width\":999"), "cut short"},
                 {withText("\"width\":512", "\"width\":-12"), "impossible"},
                 {withText("\"width\":512", "\"width\":1e5"), "impossible"},
                 {withText("{\"", "[\""), "description"},
                 {withValue(std::nanf(""), kSensor.area()), "finite"},
                 {withValue(std::numeric_limits<float>::infinity(), 1), "finite"},
                 {sign(silent), "no energy"}};
    for (const auto& c : cases) {
        try {
            ParseFingerprint(c.bytes, "collection/x.orvfp");
            ADD_FAILURE() << "taken: " << c.reason;
        } catch (const ZorException& error) {
            EXPECT_EQ(error.GetKind(), ZorException::Kind::Format);
            const std::string text = error.what();
            EXPECT_NE(text.find(c.reason), std::string::npos) << text;
            EXPECT_NE(text.find("x.orvfp"), std::string::npos) << text;
        }
    }
    // A fingerprint of another size is refused by name of the reason.
    EXPECT_THROW(
        TestAligned(Cleaned(TakePhoto(Camera(1), SceneKind::Flat, {64, 64}, 1)), Fingerprint().pattern),
        ZorException);
}
