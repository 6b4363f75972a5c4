#include "orvcore/analysis/jpegghosts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "orvcore/analysis/blockdct.h"
#include "orvcore/analysis/blockrows.h"
#include "orvcore/analysis/vectors.h"
#include "orvcore/formats/jpegquality.h"
#include "zorbase/zorexception.h"

using vectors::Vector;

namespace {

constexpr int kPieceBlocks = 4;  // rows of blocks
constexpr float kSmooth = 1.0F;  // levels squared
constexpr auto kDip = static_cast<float>(kGhostDip);
constexpr float kFloor = 0.1F;  // what rounding leaves; keeps the logarithm calm

struct alignas(32) Steps {
    float step[64];
    float inverse[64];
};

std::vector<Steps> StepsOf(const std::vector<int>& qualities) {
    std::vector<Steps> all;
    for (const int quality : qualities) {
        const QuantizationTable table = StandardQuantizationTable(quality, false);
        Steps steps{};
        for (std::size_t i = 0; i < 64; ++i) {
            steps.step[i] = static_cast<float>(table.values[i]);
            steps.inverse[i] = 1.0F / steps.step[i];
        }
        all.push_back(steps);
    }
    return all;
}

// Mean squared distance of each block's coefficients from the multiples of the steps: errors[quality * stride + block].
[[gnu::always_inline]] inline void Quantise(const float* coefficients, int blocks, const Steps* steps,
                                            int count, float* errors, std::size_t stride) {
    const auto width = static_cast<std::size_t>(blocks) * 8;
    for (std::size_t block = 0; block < static_cast<std::size_t>(blocks); ++block) {
        Vector v[8];
        for (std::size_t i = 0; i < 8; ++i) v[i] = vectors::At(coefficients + i * width + 8 * block);
        for (int q = 0; q < count; ++q) {
            Vector sum{};
            for (std::size_t i = 0; i < 8; ++i) {
                const Vector& step = *reinterpret_cast<const Vector*>(steps[q].step + 8 * i);
                const Vector& inverse = *reinterpret_cast<const Vector*>(steps[q].inverse + 8 * i);
                Vector level = v[i] * inverse;
                vectors::Round(level);
                const Vector error = v[i] - level * step;
                sum += error * error;
            }
            errors[static_cast<std::size_t>(q) * stride + block] =
                (((sum[0] + sum[4]) + (sum[1] + sum[5])) + ((sum[2] + sum[6]) + (sum[3] + sum[7]))) / 64.0F;
        }
    }
}

ORV_WIDE_WHERE_POSSIBLE(QuantiseRow, Quantise,
                        (const float* coefficients, int blocks, const Steps* steps, int count, float* errors,
                         std::size_t stride),
                        (coefficients, blocks, steps, count, errors, stride))

void CheckSettings(const GhostSettings& settings) {
    const auto& qualities = settings.qualities;
    const bool isGood =
        !qualities.empty() && qualities.size() <= 100 && qualities.front() >= 1 && qualities.back() <= 100 &&
        std::adjacent_find(qualities.begin(), qualities.end(), std::greater_equal<>()) == qualities.end();
    if (!isGood || settings.window < 8 || settings.window > 256)
        ZOR_THROW(Argument, "JPEG ghosts need rising qualities of 1 to 100 and a window of 8 to 256 pixels.");
}

// The mean over windows of `side` x `side` blocks, one value for each place where such a window fits.
cv::Mat WindowMean(const cv::Mat& blocks, int side) {
    cv::Mat mean;
    cv::blur(blocks, mean, {side, side}, {0, 0}, cv::BORDER_REPLICATE);
    return mean(cv::Rect(0, 0, blocks.cols - side + 1, blocks.rows - side + 1)).clone();
}

double MedianOf(std::vector<float>& values) {
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// The largest area of connected cells of the mask, its box in pixels.
int LargestArea(const cv::Mat& mask, const AnalysisMap& map, int window, cv::Rect& box) {
    cv::Mat labels;
    cv::Mat facts;
    cv::Mat middles;
    const int count = cv::connectedComponentsWithStats(mask, labels, facts, middles, 4, CV_32S);
    int largest = 0;
    for (int i = 1; i < count; ++i) {
        const int area = facts.at<int>(i, cv::CC_STAT_AREA);
        if (area <= largest) continue;
        largest = area;
        const int margin = (window - kBlockSide) / 2;
        box = cv::Rect(map.origin.x + kBlockSide * facts.at<int>(i, cv::CC_STAT_LEFT) - margin,
                       map.origin.y + kBlockSide * facts.at<int>(i, cv::CC_STAT_TOP) - margin,
                       kBlockSide * facts.at<int>(i, cv::CC_STAT_WIDTH) + 2 * margin,
                       kBlockSide * facts.at<int>(i, cv::CC_STAT_HEIGHT) + 2 * margin);
    }
    return largest;
}

void MeasureMeans(const AnalysisMap& map, const cv::Rect& region, GhostQuality& line) {
    double inside = 0.0;
    double outside = 0.0;
    std::int64_t count = 0;
    for (int y = 0; y < map.values.rows; ++y) {
        const float* row = map.values.ptr<float>(y);
        for (int x = 0; x < map.values.cols; ++x) {
            const cv::Point middle(map.origin.x + 8 * x + 4, map.origin.y + 8 * y + 4);
            if (region.contains(middle)) {
                inside += row[x];
                ++count;
            } else {
                outside += row[x];
            }
        }
    }
    const auto total = static_cast<std::int64_t>(map.values.total());
    line.mean = (inside + outside) / static_cast<double>(total);
    line.meanInside =
        count > 0 ? inside / static_cast<double>(count) : std::numeric_limits<double>::quiet_NaN();
    line.meanOutside = total > count ? outside / static_cast<double>(total - count)
                                     : std::numeric_limits<double>::quiet_NaN();
}

// The dip of every window; -10 where the window is too smooth for one.
cv::Mat DipMap(const GhostResult& result, std::size_t i) {
    const cv::Mat& lowest = result.maps.front().values;
    const cv::Mat& before = result.maps[i - 1].values;
    const cv::Mat& here = result.maps[i].values;
    const cv::Mat& after = result.maps[i + 1].values;
    cv::Mat dip(here.size(), CV_32FC1);
    for (int y = 0; y < here.rows; ++y) {
        for (int x = 0; x < here.cols; ++x) {
            const auto at = [&](const cv::Mat& mat) { return mat.at<float>(y, x) + kFloor; };
            dip.at<float>(y, x) = lowest.at<float>(y, x) <= kSmooth
                                      ? -10.0F
                                      : 0.5F * std::log(at(before) * at(after)) - std::log(at(here));
        }
    }
    return dip;
}

void MeasureDip(const GhostResult& result, std::size_t i, int window, GhostQuality& line) {
    line.medianDip = std::numeric_limits<double>::quiet_NaN();
    if (i == 0 || i + 1 >= result.maps.size()) return;
    const cv::Mat dip = DipMap(result, i);
    std::vector<float> rough;
    for (int y = 0; y < dip.rows; ++y) {
        std::copy_if(dip.ptr<float>(y), dip.ptr<float>(y) + dip.cols, std::back_inserter(rough),
                     [](float value) { return value > -9.0F; });
    }
    if (rough.empty()) return;
    line.dippingPart = static_cast<double>(std::count_if(rough.begin(), rough.end(),
                                                         [](float value) { return value >= kDip; })) /
                       static_cast<double>(rough.size());
    line.medianDip = MedianOf(rough);
    const double above = std::max(line.medianDip, 0.0) + kDip;
    line.dippingCells = LargestArea(dip >= above, result.maps[i], window, line.dippingBox);
    if (line.medianDip >= kDip) {
        const cv::Mat lacking = (dip < line.medianDip - kDip) & (dip > -9.0F);
        line.lackingCells = LargestArea(lacking, result.maps[i], window, line.lackingBox);
    }
}

}  // namespace

GhostResult ComputeGhosts(const cv::Mat& picture, const GhostSettings& settings,
                          const AnalysisProgress& progress) {
    CheckSettings(settings);
    const BlockRows rows(picture, settings.origin);
    const cv::Size blocks = rows.GetBlocks();
    const int side = settings.window / kBlockSide;
    GhostResult result;
    result.isTooSmall = blocks.width < side || blocks.height < side;
    if (result.isTooSmall) return result;
    const std::vector<Steps> steps = StepsOf(settings.qualities);
    const int count = static_cast<int>(steps.size());
    // One plane of all qualities, block row by block row, so that a row of blocks is written in one go.
    cv::Mat errors(blocks.height * count, blocks.width, CV_32FC1);
    ForEachStrip(blocks.height, kPieceBlocks, PartOf(progress, 0.0, 0.9), [&](int first, int end) {
        std::vector<float> coefficients;
        for (int row = first; row < end; ++row) {
            rows.Read(row, coefficients);
            QuantiseRow(coefficients.data(), blocks.width, steps.data(), count,
                        errors.ptr<float>(row * count), errors.step1());
        }
    });
    cv::Mat plane(blocks, CV_32FC1);
    for (int q = 0; q < count; ++q) {
        for (int y = 0; y < blocks.height; ++y)
            std::copy_n(errors.ptr<float>(y * count + q), blocks.width, plane.ptr<float>(y));
        AnalysisMap map;
        map.values = WindowMean(plane, side);
        map.cell = {kBlockSide, kBlockSide};
        const int margin = (side - 1) * kBlockSide / 2;
        map.origin = settings.origin + cv::Point(margin, margin);
        result.maps.push_back(std::move(map));
    }
    result.roughCells = cv::countNonZero(result.maps.front().values > kSmooth);
    for (std::size_t i = 0; i < result.maps.size(); ++i) {
        GhostQuality line;
        line.quality = settings.qualities[i];
        MeasureMeans(result.maps[i], settings.region, line);
        MeasureDip(result, i, side * kBlockSide, line);
        result.table.push_back(line);
        if (progress) progress(0.9 + 0.1 * static_cast<double>(i + 1) / count);
    }
    return result;
}

std::vector<cv::Mat> NormaliseGhosts(const GhostResult& result) {
    std::vector<cv::Mat> normalised;
    if (result.maps.empty()) return normalised;
    cv::Mat low = result.maps.front().values.clone();
    cv::Mat high = low.clone();
    for (const AnalysisMap& map : result.maps) {
        cv::min(low, map.values, low);
        cv::max(high, map.values, high);
    }
    for (const AnalysisMap& map : result.maps) {
        cv::Mat grey(low.size(), CV_8UC1, cv::Scalar(0));
        for (int y = 0; y < low.rows; ++y) {
            for (int x = 0; x < low.cols; ++x) {
                const float least = low.at<float>(y, x);
                const float range = high.at<float>(y, x) - least;
                if (range > 0.0F)
                    grey.ptr(y)[x] = cv::saturate_cast<std::uint8_t>(
                        255.0F * (map.values.at<float>(y, x) - least) / range);
            }
        }
        normalised.push_back(grey);
    }
    return normalised;
}

cv::Mat MakeGhostSheet(const std::vector<cv::Mat>& normalised, int columns, int gap) {
    if (normalised.empty()) return {};
    const int count = static_cast<int>(normalised.size());
    const int across = std::clamp(columns, 1, count);
    const int down = (count + across - 1) / across;
    const cv::Size cell = normalised.front().size();
    cv::Mat sheet(down * (cell.height + gap) - gap, across * (cell.width + gap) - gap, CV_8UC1,
                  cv::Scalar(128));
    for (int i = 0; i < count; ++i) {
        const cv::Point at(i % across * (cell.width + gap), i / across * (cell.height + gap));
        normalised[static_cast<std::size_t>(i)].copyTo(sheet(cv::Rect(at, cell)));
    }
    return sheet;
}

std::vector<GhostShift> SearchGhostShifts(const cv::Mat& picture, const GhostSettings& settings,
                                          const AnalysisProgress& progress) {
    std::vector<GhostShift> shifts;
    for (int i = 0; i < 64; ++i) {
        GhostSettings shifted = settings;
        shifted.origin = {i % 8, i / 8};
        const GhostResult result =
            ComputeGhosts(picture, shifted, PartOf(progress, i / 64.0, (i + 1) / 64.0));
        GhostShift shift{shifted.origin, {}};
        for (const GhostQuality& line : result.table) {
            if (line.dippingCells >= shift.best.dippingCells) shift.best = line;
        }
        shifts.push_back(shift);
    }
    std::stable_sort(shifts.begin(), shifts.end(), [](const GhostShift& a, const GhostShift& b) {
        return a.best.dippingCells > b.best.dippingCells;
    });
    return shifts;
}

AnalysisDecision JudgeGhosts(const GhostResult& result) {
    constexpr int kLeastRough = 64;
    constexpr double kLook = 256.0;  // cells of 8 x 8 pixels: 128 x 128 pixels
    AnalysisDecision decision;
    if (result.isTooSmall) {
        decision.text = "The picture is smaller than one window.";
        return decision;
    }
    if (result.roughCells < kLeastRough) {
        decision.text = "The picture is too smooth: saving it again changes nearly nothing.";
        return decision;
    }
    const GhostQuality* best = nullptr;
    int cells = -1;
    for (const GhostQuality& line : result.table) {
        // A quality at which the picture as a whole dips is its own last save: there, smooth parts differ from rough ones.
        if (line.medianDip >= kDip || line.dippingCells <= cells) continue;
        best = &line;
        cells = line.dippingCells;
    }
    if (best == nullptr) {
        decision.text = "No quality was tried at which a part could dip on its own.";
        return decision;
    }
    decision.finding = cells >= kLook ? Finding::WorthALook : Finding::Nothing;
    decision.measured = cells;
    decision.threshold = kLook;
    decision.text = decision.finding == Finding::WorthALook
                        ? "An area has a dip of its own at quality " + std::to_string(best->quality) + "."
                        : "No connected area has a dip of its own at one of the qualities.";
    return decision;
}
