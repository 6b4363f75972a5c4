#include "orvcore/analysis/comparison.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/pixelrows.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kStripRows = 64;
constexpr int kReach = 5;  // of the similarity's window
constexpr double kSigma = 1.5;
constexpr int kFitRounds = 4;

// Both pictures in one form: levels in floating point, with as many channels as both have.
class Pictures {
  public:
    Pictures(const cv::Mat& evidence, const cv::Mat& reference, const cv::Mat& covered)
        : m_evidence(evidence),
          m_reference(reference),
          m_covered(covered),
          m_isColour(HasColour(evidence) && HasColour(reference)) {}

    bool IsColour() const { return m_isColour; }
    int Channels() const { return m_isColour ? 3 : 1; }
    cv::Mat Evidence(int first, int end) const { return Levels(m_evidence.rowRange(first, end)); }
    cv::Mat Reference(int first, int end) const {
        cv::Mat levels = Levels(m_reference.rowRange(first, end));
        if (m_isFitted) {
            // To whole levels of the evidence's depth: what a program that changed the picture would have written.
            const double steps = HighestLevel(m_evidence) / 255.0;
            std::vector<cv::Mat> planes;
            cv::split(levels, planes);
            for (std::size_t c = 0; c < planes.size(); ++c) {
                const ChannelFit& fit = m_fit[planes.size() == 1 ? 0 : 2 - c];
                cv::Mat rounded;
                planes[c].convertTo(rounded, m_evidence.depth(), fit.gain * steps, fit.offset * steps);
                rounded.convertTo(planes[c], CV_32F, 1.0 / steps);
            }
            cv::merge(planes, levels);
        }
        return levels;
    }
    void SetFit(const std::array<ChannelFit, 3>& fit) {
        m_fit = fit;
        m_isFitted = true;
    }
    const std::uint8_t* Covered(int y) const { return m_covered.empty() ? nullptr : m_covered.ptr(y); }

  private:
    cv::Mat Levels(const cv::Mat& rows) const {
        return m_isColour ? FloatColour(rows) : FloatLuminance(rows);
    }

    const cv::Mat& m_evidence;
    const cv::Mat& m_reference;
    const cv::Mat& m_covered;
    const bool m_isColour;
    bool m_isFitted = false;
    std::array<ChannelFit, 3> m_fit;
};

struct FitSums {
    double n = 0, x = 0, y = 0, xx = 0, xy = 0, squares = 0;

    void Add(const FitSums& o) {
        n += o.n;
        x += o.x;
        y += o.y;
        xx += o.xx;
        xy += o.xy;
        squares += o.squares;
    }
};

// Least squares, then again without what misses by more than 2.5 times the middle error: what was changed must not bend the fit.
std::array<ChannelFit, 3> FitChannels(const Pictures& pictures, int rows, int columns,
                                      const AnalysisProgress& progress) {
    std::array<ChannelFit, 3> fit;
    std::array<double, 3> limit;
    limit.fill(std::numeric_limits<double>::infinity());
    const int channels = pictures.Channels();
    for (int round = 0; round < kFitRounds; ++round) {
        std::vector<std::array<FitSums, 3>> strips(
            static_cast<std::size_t>((rows + kStripRows - 1) / kStripRows));
        ForEachStrip(rows, kStripRows,
                     PartOf(progress, static_cast<double>(round) / kFitRounds, (round + 1.0) / kFitRounds),
                     [&](int first, int end) {
                         const cv::Mat evidence = pictures.Evidence(first, end);
                         const cv::Mat reference = pictures.Reference(first, end);
                         auto& sums = strips[static_cast<std::size_t>(first / kStripRows)];
                         for (int y = 0; y < evidence.rows; ++y) {
                             const std::uint8_t* covered = pictures.Covered(first + y);
                             const float* e = evidence.ptr<float>(y);
                             const float* r = reference.ptr<float>(y);
                             for (int i = 0; i < columns * channels; ++i) {
                                 if (covered != nullptr && covered[i / channels] == 0) continue;
                                 // Saturated levels have lost what they were.
                                 if (e[i] <= 0.5F || e[i] >= 254.5F || r[i] <= 0.5F || r[i] >= 254.5F)
                                     continue;
                                 const auto c =
                                     static_cast<std::size_t>(channels == 1 ? 0 : 2 - i % channels);
                                 const double miss = e[i] - (fit[c].gain * r[i] + fit[c].offset);
                                 if (std::abs(miss) > limit[c]) continue;
                                 FitSums& s = sums[c];
                                 s.n += 1;
                                 s.x += r[i];
                                 s.y += e[i];
                                 s.xx += static_cast<double>(r[i]) * r[i];
                                 s.xy += static_cast<double>(r[i]) * e[i];
                                 s.squares += static_cast<double>(e[i]) * e[i];
                             }
                         }
                     });
        for (std::size_t c = 0; c < 3; ++c) {
            FitSums all;
            for (const auto& strip : strips) all.Add(strip[c]);
            const double spread = all.n * all.xx - all.x * all.x;
            if (all.n < 16 || spread <= 1e-9 * all.n * all.n) continue;
            const double gain = (all.n * all.xy - all.x * all.y) / spread;
            const double offset = (all.y - gain * all.x) / all.n;
            const double error = (all.squares + gain * gain * all.xx + offset * offset * all.n +
                                  2 * gain * offset * all.x - 2 * gain * all.xy - 2 * offset * all.y) /
                                 all.n;
            fit[c] = {gain, offset};
            limit[c] = 2.5 * std::sqrt(std::max(error, 0.0)) + 0.5;
        }
    }
    if (channels == 1) fit[1] = fit[2] = fit[0];
    return fit;
}

struct StripNumbers {
    std::uint64_t compared = 0, different = 0;
    double sum = 0, squares = 0, largest = -1;
    cv::Point largestAt;
    int left = std::numeric_limits<int>::max(), right = -1, top = -1, bottom = -1;
    std::array<std::array<std::uint64_t, 256>, 4> evidence{};
    std::array<std::array<std::uint64_t, 256>, 4> reference{};
};

// Differences of some rows, and the counts of levels.
void CompareRows(const Pictures& pictures, int first, int end, cv::Mat& target, StripNumbers& numbers) {
    const cv::Mat evidence = pictures.Evidence(first, end);
    const cv::Mat reference = pictures.Reference(first, end);
    const int channels = pictures.Channels();
    const double steps = target.depth() == CV_16U ? 257.0 : 1.0;
    for (int y = 0; y < evidence.rows; ++y) {
        const std::uint8_t* covered = pictures.Covered(first + y);
        for (int x = 0; x < evidence.cols; ++x) {
            if (covered != nullptr && covered[x] == 0) continue;
            ++numbers.compared;
            const float* e = evidence.ptr<float>(y) + static_cast<std::ptrdiff_t>(x) * channels;
            const float* r = reference.ptr<float>(y) + static_cast<std::ptrdiff_t>(x) * channels;
            double worst = 0;
            for (int c = 0; c < channels; ++c) {
                const double difference = std::abs(static_cast<double>(e[c]) - r[c]);
                const int level = static_cast<int>(std::lround(difference * steps));
                const std::ptrdiff_t place = static_cast<std::ptrdiff_t>(x) * channels + c;
                if (target.depth() == CV_16U) {
                    target.ptr<std::uint16_t>(y)[place] = static_cast<std::uint16_t>(level);
                } else {
                    target.ptr<std::uint8_t>(y)[place] = static_cast<std::uint8_t>(level);
                }
                numbers.sum += difference;
                numbers.squares += difference * difference;
                // Grey levels of colour are not whole; less than half a step is no difference.
                if (level > 0) worst = std::max(worst, difference);
                const auto count = [&](auto& counts, float value) {
                    ++counts[static_cast<std::size_t>(channels == 1 ? 0 : 3 - c)]
                            [static_cast<std::size_t>(std::clamp(std::lround(value), 0L, 255L))];
                };
                count(numbers.evidence, e[c]);
                count(numbers.reference, r[c]);
            }
            if (channels == 3) {
                const auto grey = [](const float* p) {
                    return static_cast<std::size_t>(
                        std::clamp(std::lround(0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2]), 0L, 255L));
                };
                ++numbers.evidence[0][grey(e)];
                ++numbers.reference[0][grey(r)];
            }
            if (worst > 0) {
                ++numbers.different;
                numbers.left = std::min(numbers.left, x);
                numbers.right = std::max(numbers.right, x);
                if (numbers.top < 0) numbers.top = first + y;
                numbers.bottom = first + y;
            }
            if (worst > numbers.largest) {
                numbers.largest = worst;
                numbers.largestAt = {x, first + y};
            }
        }
    }
}

cv::Mat LuminanceOf(const cv::Mat& levels) {
    if (levels.channels() == 1) return levels;
    cv::Mat luminance;
    cv::transform(levels, luminance, cv::Matx13f(0.114F, 0.587F, 0.299F));
    return luminance;
}

struct SimilaritySums {
    double sum = 0;
    std::uint64_t count = 0;
};

SimilaritySums SimilarityOfRows(const Pictures& pictures, int first, int end, int rows, cv::Mat& target) {
    const int above = std::max(first - kReach, 0);
    const int below = std::min(end + kReach, rows);
    const cv::Mat x = LuminanceOf(pictures.Evidence(above, below));
    const cv::Mat y = LuminanceOf(pictures.Reference(above, below));
    const auto smooth = [](const cv::Mat& plane) {
        cv::Mat result;
        cv::GaussianBlur(plane, result, cv::Size(2 * kReach + 1, 2 * kReach + 1), kSigma);
        return result;
    };
    const cv::Mat meanX = smooth(x);
    const cv::Mat meanY = smooth(y);
    const cv::Mat xx = smooth(x.mul(x));
    const cv::Mat yy = smooth(y.mul(y));
    const cv::Mat xy = smooth(x.mul(y));
    cv::Mat uncovered(x.size(), CV_8U, cv::Scalar(0));
    for (int row = above; row < below; ++row)
        if (const std::uint8_t* covered = pictures.Covered(row))
            for (int column = 0; column < x.cols; ++column)
                uncovered.ptr(row - above)[column] = covered[column] == 0 ? 255 : 0;
    cv::dilate(uncovered, uncovered, cv::Mat::ones(2 * kReach + 1, 2 * kReach + 1, CV_8U));
    constexpr double kC1 = 0.01 * 255 * 0.01 * 255;
    constexpr double kC2 = 0.03 * 255 * 0.03 * 255;
    SimilaritySums sums;
    for (int row = first; row < end; ++row) {
        const int i = row - above;
        const std::uint8_t* covered = pictures.Covered(row);
        float* value = target.ptr<float>(row - first);
        for (int column = 0; column < x.cols; ++column) {
            if (covered != nullptr && covered[column] == 0) {
                value[column] = 1.0F;
                continue;
            }
            const double mx = meanX.ptr<float>(i)[column];
            const double my = meanY.ptr<float>(i)[column];
            const double vx = xx.ptr<float>(i)[column] - mx * mx;
            const double vy = yy.ptr<float>(i)[column] - my * my;
            const double cross = xy.ptr<float>(i)[column] - mx * my;
            const double similarity =
                (2 * mx * my + kC1) * (2 * cross + kC2) / ((mx * mx + my * my + kC1) * (vx + vy + kC2));
            value[column] = static_cast<float>(similarity);
            const bool isWhole = row >= kReach && row < rows - kReach && column >= kReach &&
                                 column < x.cols - kReach && uncovered.ptr(i)[column] == 0;
            if (!isWhole) continue;
            sums.sum += similarity;
            ++sums.count;
        }
    }
    return sums;
}

}  // namespace

HistogramDistances CompareHistograms(const std::array<std::uint64_t, 256>& a,
                                     const std::array<std::uint64_t, 256>& b) {
    double sumA = 0;
    double sumB = 0;
    for (std::size_t i = 0; i < 256; ++i) {
        sumA += static_cast<double>(a[i]);
        sumB += static_cast<double>(b[i]);
    }
    HistogramDistances result;
    if (sumA <= 0 || sumB <= 0) return result;
    result.intersection = 0;
    double alike = 0;
    double moved = 0;
    double aa = 0;
    double bb = 0;
    double ab = 0;
    constexpr double kMean = 1.0 / 256.0;
    for (std::size_t i = 0; i < 256; ++i) {
        const double p = static_cast<double>(a[i]) / sumA;
        const double q = static_cast<double>(b[i]) / sumB;
        if (p + q > 0) result.chiSquare += (p - q) * (p - q) / (p + q) / 2.0;
        result.intersection += std::min(p, q);
        alike += std::sqrt(p * q);
        moved += p - q;
        result.earthMover += std::abs(moved);
        aa += (p - kMean) * (p - kMean);
        bb += (q - kMean) * (q - kMean);
        ab += (p - kMean) * (q - kMean);
    }
    result.bhattacharyya = std::sqrt(std::max(1.0 - alike, 0.0));
    result.correlation = aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : (aa == bb ? 1.0 : 0.0);
    return result;
}

PictureComparison ComparePictures(const cv::Mat& evidence, const cv::Mat& reference, const cv::Mat& covered,
                                  const ComparisonSettings& settings, const AnalysisProgress& progress) {
    CheckPicture(evidence);
    CheckPicture(reference);
    if (evidence.size() != reference.size())
        ZOR_THROW(Argument, "Only pictures of one size can be compared pixel by pixel.");
    CV_Assert(covered.empty() || (covered.type() == CV_8UC1 && covered.size() == evidence.size()));
    PictureComparison result;
    if (!covered.empty() && cv::countNonZero(covered) == 0) {
        result.whyNot = "The reference covers no part of the evidence.";
        return result;
    }
    result.isApplicable = true;
    const int rows = evidence.rows;
    Pictures pictures(evidence, reference, covered);
    result.fit = FitChannels(pictures, rows, evidence.cols, PartOf(progress, 0.0, 0.4));
    if (settings.fitBrightness) pictures.SetFit(result.fit);
    result.isFitted = settings.fitBrightness;

    result.difference = cv::Mat::zeros(evidence.size(), CV_MAKETYPE(evidence.depth(), pictures.Channels()));
    result.similarity.create(evidence.size(), CV_32F);
    const auto strips = static_cast<std::size_t>((rows + kStripRows - 1) / kStripRows);
    std::vector<StripNumbers> numbers(strips);
    std::vector<SimilaritySums> similarities(strips);
    ForEachStrip(rows, kStripRows, PartOf(progress, 0.4, 1.0), [&](int first, int end) {
        const auto strip = static_cast<std::size_t>(first / kStripRows);
        cv::Mat difference = result.difference.rowRange(first, end);
        cv::Mat similarity = result.similarity.rowRange(first, end);
        CompareRows(pictures, first, end, difference, numbers[strip]);
        similarities[strip] = SimilarityOfRows(pictures, first, end, rows, similarity);
    });

    StripNumbers all;
    SimilaritySums similar;
    for (std::size_t i = 0; i < strips; ++i) {
        const StripNumbers& strip = numbers[i];
        all.compared += strip.compared;
        all.different += strip.different;
        all.sum += strip.sum;
        all.squares += strip.squares;
        if (strip.largest > all.largest) {
            all.largest = strip.largest;
            all.largestAt = strip.largestAt;
        }
        all.left = std::min(all.left, strip.left);
        all.right = std::max(all.right, strip.right);
        if (all.top < 0) all.top = strip.top;
        all.bottom = std::max(all.bottom, strip.bottom);
        for (std::size_t c = 0; c < 4; ++c) {
            for (std::size_t level = 0; level < 256; ++level) {
                all.evidence[c][level] += strip.evidence[c][level];
                all.reference[c][level] += strip.reference[c][level];
            }
        }
        similar.sum += similarities[i].sum;
        similar.count += similarities[i].count;
    }
    if (pictures.Channels() == 1) {
        for (std::size_t c = 1; c < 4; ++c) {
            all.evidence[c] = all.evidence[0];
            all.reference[c] = all.reference[0];
        }
    }
    const double samples = static_cast<double>(all.compared) * pictures.Channels();
    result.compared = all.compared;
    result.different = all.different;
    if (all.different > 0)
        result.differentBox = {all.left, all.top, all.right - all.left + 1, all.bottom - all.top + 1};
    result.meanDifference = all.sum / samples;
    result.largestDifference = std::max(all.largest, 0.0);
    result.largestAt = all.largestAt;
    result.rootMeanSquare = std::sqrt(all.squares / samples);
    result.psnr = result.rootMeanSquare > 0 ? 20.0 * std::log10(255.0 / result.rootMeanSquare)
                                            : std::numeric_limits<double>::infinity();
    result.meanSimilarity = similar.count > 0 ? similar.sum / static_cast<double>(similar.count)
                                              : std::numeric_limits<double>::quiet_NaN();
    for (std::size_t c = 0; c < 4; ++c)
        result.histograms[c] = CompareHistograms(all.evidence[c], all.reference[c]);
    if (!covered.empty()) cv::compare(covered, 0, result.mask, cv::CMP_EQ);
    result.maskedShare = 1.0 - static_cast<double>(all.compared) / static_cast<double>(evidence.total());
    return result;
}
