#include "orvcore/analysis/channels.h"

#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/pixelrows.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kStripRows = 64;

int StripsOf(const cv::Mat& picture) {
    return (picture.rows + kStripRows - 1) / kStripRows;
}

// The samples of one colour of a picture, as they are.
cv::Mat Samples(const cv::Mat& rows, int blueGreenRed) {
    cv::Mat samples;
    cv::extractChannel(rows, samples, HasColour(rows) ? blueGreenRed : 0);
    return samples;
}

cv::Mat Convert(const cv::Mat& rows, ColourSpace space) {
    cv::Mat colour = FloatColour(rows);
    cv::Mat converted;
    switch (space) {
        case ColourSpace::Hsv:
            cv::cvtColor(colour, converted, cv::COLOR_BGR2HSV);
            break;
        case ColourSpace::Lab:
            colour *= 1.0 / 255.0;
            cv::cvtColor(colour, converted, cv::COLOR_BGR2Lab);
            break;
        default:
            // JFIF's matrix; the library's own uses rounded constants.
            cv::transform(colour, converted,
                          cv::Matx34f(0.114F, 0.587F, 0.299F, 0.0F,                      //
                                      0.5F, -0.587F / 1.772F, -0.299F / 1.772F, 128.0F,  //
                                      -0.114F / 1.402F, -0.587F / 1.402F, 0.701F / 1.402F, 128.0F));
    }
    return converted;
}

struct Moments {
    double sum = 0;
    double squares = 0;
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();
    std::int64_t count = 0;

    void Add(const Moments& other) {
        sum += other.sum;
        squares += other.squares;
        minimum = std::min(minimum, other.minimum);
        maximum = std::max(maximum, other.maximum);
        count += other.count;
    }
};

template <typename Sample>
Moments Measure(const cv::Mat& rows, const cv::Mat& mask) {
    Moments moments;
    for (int y = 0; y < rows.rows; ++y) {
        const Sample* value = rows.ptr<Sample>(y);
        const std::uint8_t* out = mask.empty() ? nullptr : mask.ptr(y);
        for (int x = 0; x < rows.cols; ++x) {
            if (out != nullptr && out[x] != 0) continue;
            const double v = value[x];
            moments.sum += v;
            moments.squares += v * v;
            moments.minimum = std::min(moments.minimum, v);
            moments.maximum = std::max(moments.maximum, v);
            ++moments.count;
        }
    }
    return moments;
}

Moments Measure(const cv::Mat& rows, const cv::Mat& mask) {
    if (rows.depth() == CV_8U) return Measure<std::uint8_t>(rows, mask);
    if (rows.depth() == CV_16U) return Measure<std::uint16_t>(rows, mask);
    return Measure<float>(rows, mask);
}

}  // namespace

PlaneFacts DescribePlane(ColourSpace space, int plane, int highestLevel) {
    if (plane < 0 || plane > 2) ZOR_THROW(Argument, "A colour space has the planes 0 to 2.");
    const auto index = static_cast<std::size_t>(plane);
    switch (space) {
        case ColourSpace::Rgb:
            return {std::array{"Red", "Green", "Blue"}[index], "levels", 0.0,
                    static_cast<double>(highestLevel)};
        case ColourSpace::Hsv:
            return std::array<PlaneFacts, 3>{{{"Hue", "degrees", 0.0, 360.0},
                                              {"Saturation", "", 0.0, 1.0},
                                              {"Value", "levels", 0.0, 255.0}}}[index];
        case ColourSpace::Lab:
            return std::array<PlaneFacts, 3>{{{"Lightness L*", "", 0.0, 100.0},
                                              {"Green to red a*", "", -128.0, 127.0},
                                              {"Blue to yellow b*", "", -128.0, 127.0}}}[index];
        case ColourSpace::YCbCr:
            return {std::array{"Luminance Y", "Blue difference Cb", "Red difference Cr"}[index], "levels",
                    0.0, 255.0};
    }
    ZOR_THROW(Argument, "There is no such colour space.");
}

ChannelPlane ExtractPlane(const cv::Mat& picture, ColourSpace space, int plane,
                          const AnalysisProgress& progress) {
    CheckPicture(picture);
    ChannelPlane result;
    result.facts = DescribePlane(space, plane, HighestLevel(picture));
    const bool isRgb = space == ColourSpace::Rgb;
    result.map.create(picture.size(), isRgb ? picture.depth() : CV_32F);
    const bool isHue = space == ColourSpace::Hsv && plane == 0;
    if (isHue) result.mask.create(picture.size(), CV_8U);

    std::vector<Moments> moments(static_cast<std::size_t>(StripsOf(picture)));
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        const cv::Mat rows = picture.rowRange(first, end);
        cv::Mat target = result.map.rowRange(first, end);
        cv::Mat mask;
        if (isRgb) {
            Samples(rows, 2 - plane).copyTo(target);
        } else {
            const cv::Mat converted = Convert(rows, space);
            cv::extractChannel(converted, target, plane);
            if (isHue) {
                cv::Mat saturation;
                cv::extractChannel(converted, saturation, 1);
                mask = result.mask.rowRange(first, end);
                cv::compare(saturation, 1e-6, mask, cv::CMP_LE);
            }
        }
        moments[static_cast<std::size_t>(first / kStripRows)] = Measure(target, mask);
    });

    Moments all;
    for (const Moments& strip : moments) all.Add(strip);
    const double pixels = static_cast<double>(picture.total());
    result.maskedShare = (pixels - static_cast<double>(all.count)) / pixels;
    if (isHue && result.maskedShare == 0.0) result.mask.release();
    const double none = std::numeric_limits<double>::quiet_NaN();
    result.minimum = all.count > 0 ? all.minimum : none;
    result.maximum = all.count > 0 ? all.maximum : none;
    result.mean = all.count > 0 ? all.sum / static_cast<double>(all.count) : none;
    result.deviation =
        all.count > 0 ? std::sqrt(std::max(
                            all.squares / static_cast<double>(all.count) - result.mean * result.mean, 0.0))
                      : none;
    return result;
}

BitPlane ExtractBitPlane(const cv::Mat& picture, BitChannel channel, int bit,
                         const AnalysisProgress& progress) {
    CheckPicture(picture);
    if (bit < 0 || bit >= (picture.depth() == CV_16U ? 16 : 8))
        ZOR_THROW(Argument, "The picture's samples have no such bit.");
    BitPlane result;
    result.map.create(picture.size(), CV_8U);
    struct Counts {
        std::int64_t ones = 0;
        std::int64_t agreeing = 0;
    };
    std::vector<Counts> counts(static_cast<std::size_t>(StripsOf(picture)));
    ForEachStrip(picture.rows, kStripRows, progress, [&](int first, int end) {
        const cv::Mat rows = picture.rowRange(first, end);
        cv::Mat samples;
        if (channel == BitChannel::Luminance && HasColour(picture)) {
            const double scale = HighestLevel(picture) / 255.0;
            FloatLuminance(rows).convertTo(samples, picture.depth(), scale);
        } else {
            samples = Samples(
                rows, 3 - static_cast<int>(channel == BitChannel::Luminance ? BitChannel::Red : channel));
        }
        Counts& strip = counts[static_cast<std::size_t>(first / kStripRows)];
        for (int y = 0; y < samples.rows; ++y) {
            std::uint8_t* target = result.map.ptr(first + y);
            for (int x = 0; x < samples.cols; ++x) {
                const int sample = samples.depth() == CV_8U ? samples.ptr<std::uint8_t>(y)[x]
                                                            : samples.ptr<std::uint16_t>(y)[x];
                target[x] = static_cast<std::uint8_t>((sample >> bit) & 1);
                strip.ones += target[x];
                if (x > 0) strip.agreeing += target[x] == target[x - 1] ? 1 : 0;
            }
        }
    });
    Counts all;
    for (const Counts& strip : counts) {
        all.ones += strip.ones;
        all.agreeing += strip.agreeing;
    }
    result.onesShare = static_cast<double>(all.ones) / static_cast<double>(picture.total());
    const std::int64_t neighbours = static_cast<std::int64_t>(picture.rows) * (picture.cols - 1);
    result.agreement = neighbours > 0 ? static_cast<double>(all.agreeing) / static_cast<double>(neighbours)
                                      : std::numeric_limits<double>::quiet_NaN();
    return result;
}
