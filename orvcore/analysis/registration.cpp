#include "orvcore/analysis/registration.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "orvcore/analysis/alignment.h"
#include "orvcore/analysis/copymoveregions.h"
#include "orvcore/analysis/keypoints.h"
#include "orvcore/analysis/pixelrows.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kLeastSide = 32;
constexpr double kCoarsePixels = 1e6;
constexpr double kFeaturePixels = 3e6;
constexpr double kPhasePixels = 4e6;
constexpr double kFound = 0.5;  // correlation
constexpr double kFoundWithoutKeypoints = 0.7;
constexpr double kMostTurn = 10.0;      // degrees
constexpr double kMostLogScale = 0.15;  // natural
constexpr double kLeastCovered = 0.25;
constexpr double kSure = 0.98;
constexpr std::size_t kLeastInliers = 12;
constexpr double kWhole = 0.1;         // pixels
constexpr double kPerhapsWhole = 0.3;  // if it fits as well
constexpr int kStripRows = 64;
constexpr int kWarpLimit = 32000;

// Reduced by area so that it has at most so many pixels; scale: of the reduced one against the whole, per axis.
struct Reduced {
    cv::Mat picture;
    double scaleX = 1;
    double scaleY = 1;

    // Pixel centres of the whole -> pixel centres of the reduced one.
    cv::Matx33d ToReduced() const {
        return {scaleX, 0, 0.5 * scaleX - 0.5, 0, scaleY, 0.5 * scaleY - 0.5, 0, 0, 1};
    }
};

Reduced Reduce(const cv::Mat& picture, double factor) {
    Reduced reduced;
    if (factor >= 1.0) {
        reduced.picture = picture;
        return reduced;
    }
    const cv::Size size(std::max(cvRound(picture.cols * factor), 1),
                        std::max(cvRound(picture.rows * factor), 1));
    cv::resize(picture, reduced.picture, size, 0, 0, cv::INTER_AREA);
    reduced.scaleX = static_cast<double>(size.width) / picture.cols;
    reduced.scaleY = static_cast<double>(size.height) / picture.rows;
    return reduced;
}

double FactorFor(const cv::Size& size, double pixels) {
    return std::min(std::sqrt(pixels / (static_cast<double>(size.width) * size.height)), 1.0);
}

// The whole reference stretched over the whole evidence.
cv::Matx33d FullFrame(const cv::Size& evidence, const cv::Size& reference) {
    const double sx = static_cast<double>(evidence.width) / reference.width;
    const double sy = static_cast<double>(evidence.height) / reference.height;
    return {sx, 0, 0.5 * sx - 0.5, 0, sy, 0.5 * sy - 0.5, 0, 0, 1};
}

// Candidates for a shift: the highest places of the phase correlation, in all four readings of their wrapping.
std::vector<cv::Matx33d> PhaseShifts(const cv::Mat& evidence, const cv::Mat& reference) {
    const int width = cv::getOptimalDFTSize(std::max(evidence.cols, reference.cols));
    const int height = cv::getOptimalDFTSize(std::max(evidence.rows, reference.rows));
    const auto transform = [&](const cv::Mat& picture) {
        cv::Mat levels;
        picture.convertTo(levels, CV_32F);
        levels -= cv::mean(levels)[0];
        cv::copyMakeBorder(levels, levels, 0, height - picture.rows, 0, width - picture.cols,
                           cv::BORDER_CONSTANT, cv::Scalar(0));
        cv::dft(levels, levels, cv::DFT_COMPLEX_OUTPUT);
        return levels;
    };
    const cv::Mat a = transform(evidence);
    const cv::Mat b = transform(reference);
    cv::Mat cross;
    cv::mulSpectrums(a, b, cross, 0, true);
    for (int y = 0; y < cross.rows; ++y) {
        for (cv::Vec2f& value : cv::Mat_<cv::Vec2f>(cross.row(y))) {
            const float magnitude = std::hypot(value[0], value[1]);
            if (magnitude > 1e-6F) value *= 1.0F / magnitude;
        }
    }
    cv::Mat surface;
    cv::idft(cross, surface, cv::DFT_REAL_OUTPUT | cv::DFT_SCALE);
    std::vector<cv::Matx33d> shifts;
    for (int peak = 0; peak < 3; ++peak) {
        cv::Point at;
        cv::minMaxLoc(surface, nullptr, nullptr, nullptr, &at);
        for (const int x : {at.x, at.x - width})
            for (const int y : {at.y, at.y - height}) shifts.emplace_back(1, 0, x, 0, 1, y, 0, 0, 1);
        cv::circle(surface, at, 4, cv::Scalar(-1), cv::FILLED);
    }
    return shifts;
}

cv::Point2d Project(const cv::Matx33d& m, const cv::Point2d& p) {
    const double w = m(2, 0) * p.x + m(2, 1) * p.y + m(2, 2);
    return {(m(0, 0) * p.x + m(0, 1) * p.y + m(0, 2)) / w, (m(1, 0) * p.x + m(1, 1) * p.y + m(1, 2)) / w};
}

// The share of the evidence that the reference covers, by 200 x 200 places.
double OverlapOf(const cv::Matx33d& model, const cv::Size& evidence, const cv::Size& reference) {
    const cv::Matx33d back = model.inv();
    constexpr int kSteps = 200;
    int covered = 0;
    for (int y = 0; y < kSteps; ++y) {
        for (int x = 0; x < kSteps; ++x) {
            const cv::Point2d p = Project(back, {(x + 0.5) * evidence.width / kSteps - 0.5,
                                                 (y + 0.5) * evidence.height / kSteps - 0.5});
            covered += p.x > -0.5 && p.y > -0.5 && p.x < reference.width - 0.5 && p.y < reference.height - 0.5
                           ? 1
                           : 0;
        }
    }
    return static_cast<double>(covered) / (kSteps * kSteps);
}

struct Attempt {
    cv::Matx33d model = cv::Matx33d::eye();
    double correlation = -1;
    RegistrationMethod method = RegistrationMethod::None;
    int inliers = 0;
    double residual = 0;
    bool isProjective = false;
};

class Search {
  public:
    Search(const cv::Mat& evidence, const cv::Mat& reference, RegistrationModel model)
        : m_evidence(evidence), m_reference(reference), m_model(model) {}

    // The best there is for this reading of the reference.
    Attempt Run(const AnalysisProgress& progress) {
        const Freedom freedom = m_model == RegistrationModel::Shift ? Freedom::Shift : Freedom::Affine;
        TryQuick(freedom, PartOf(progress, 0.0, 0.3));
        if (m_best.correlation < kSure && m_model != RegistrationModel::Shift)
            TryFeatures(PartOf(progress, 0.3, 0.8));
        TryProjective(PartOf(progress, 0.8, 1.0));
        if (progress) progress(1.0);
        return m_best;
    }

  private:
    // Refined where the pictures are small, then where they are whole.
    void Try(const cv::Matx33d& start, RegistrationMethod method, Freedom freedom, int inliers,
             double residual, const AnalysisProgress& progress) {
        const double factor = std::min(FactorFor(m_evidence.size(), kCoarsePixels),
                                       FactorFor(m_reference.size(), 4 * kCoarsePixels));
        const Reduced evidence = Reduce(m_evidence, factor);
        const Reduced reference = Reduce(m_reference, factor);
        if (progress) progress(0.1);
        cv::Matx33d model = evidence.ToReduced() * start * reference.ToReduced().inv();
        Alignment coarse =
            Align(evidence.picture, reference.picture, model, freedom, PartOf(progress, 0.1, 0.5));
        if (!(coarse.correlation > 0.2)) return;
        model = evidence.ToReduced().inv() * coarse.model * reference.ToReduced();
        const Alignment fine =
            Align(m_evidence, m_reference, model * (1.0 / model(2, 2)), freedom, PartOf(progress, 0.5, 1.0));
        if (fine.correlation <= m_best.correlation || !IsPlausible(fine, start, method)) return;
        m_best = {fine.model, fine.correlation, method, inliers, residual, freedom == Freedom::Projective};
    }

    // Freely moved, a small or smooth part fits nearly anywhere: without keypoints that agree, the fit must stay near where it
    // began, cover much of the smaller picture, and be good.
    bool IsPlausible(const Alignment& fit, const cv::Matx33d& start, RegistrationMethod method) const {
        if (method == RegistrationMethod::Features) return true;
        if (fit.correlation < kFoundWithoutKeypoints) return false;
        const cv::Matx33d change = fit.model * start.inv();
        const cv::Matx23d linear(change(0, 0), change(0, 1), change(0, 2), change(1, 0), change(1, 1),
                                 change(1, 2));
        if (std::abs(RotationOf(linear)) > kMostTurn || std::abs(std::log(ScaleOf(linear))) > kMostLogScale)
            return false;
        const double evidence = static_cast<double>(m_evidence.total());
        const double smaller = std::min(evidence, static_cast<double>(m_reference.total()));
        return OverlapOf(fit.model, m_evidence.size(), m_reference.size()) * evidence >=
               kLeastCovered * smaller;
    }

    void TryQuick(Freedom freedom, const AnalysisProgress& progress) {
        const double aspect =
            static_cast<double>(m_evidence.cols) * m_reference.rows / m_evidence.rows / m_reference.cols;
        const bool isSameSize = m_evidence.size() == m_reference.size();
        if (isSameSize || (aspect > 0.97 && aspect < 1.03 && freedom != Freedom::Shift))
            Try(FullFrame(m_evidence.size(), m_reference.size()), RegistrationMethod::Identity, freedom, 0, 0,
                PartOf(progress, 0.0, 0.4));
        if (m_best.correlation >= kSure) return;
        const double factor =
            std::min(FactorFor(m_evidence.size(), kPhasePixels), FactorFor(m_reference.size(), kPhasePixels));
        const Reduced evidence = Reduce(m_evidence, factor);
        const Reduced reference = Reduce(m_reference, factor);
        cv::Matx33d best;
        double most = 0.3;
        for (const cv::Matx33d& shift : PhaseShifts(evidence.picture, reference.picture)) {
            const double correlation = CorrelationUnder(evidence.picture, reference.picture, shift, 0.05);
            if (correlation <= most) continue;
            most = correlation;
            best = shift;
        }
        if (progress) progress(0.7);
        if (most <= 0.3) return;
        Try(evidence.ToReduced().inv() * best * reference.ToReduced(), RegistrationMethod::PhaseCorrelation,
            freedom, 0, 0, PartOf(progress, 0.7, 1.0));
    }

    void TryFeatures(const AnalysisProgress& progress) {
        const Reduced evidence = Reduce(m_evidence, FactorFor(m_evidence.size(), kFeaturePixels));
        const Reduced reference = Reduce(m_reference, FactorFor(m_reference.size(), kFeaturePixels));
        KeypointSettings settings;
        settings.most = 12000;
        const Keypoints ours = FindKeypoints(evidence.picture, settings, PartOf(progress, 0.0, 0.35));
        const Keypoints theirs = FindKeypoints(reference.picture, settings, PartOf(progress, 0.35, 0.7));
        const std::vector<KeypointMatch> matches =
            MatchKeypoints(theirs, ours, 0.8, PartOf(progress, 0.7, 0.85));
        std::vector<cv::Point2d> from;
        std::vector<cv::Point2d> to;
        std::vector<cv::Matx23d> guesses;
        for (const KeypointMatch& match : matches) {
            const Keypoint& first = theirs.points[static_cast<std::size_t>(match.first)];
            const Keypoint& second = ours.points[static_cast<std::size_t>(match.second)];
            from.emplace_back(first.at);
            to.emplace_back(second.at);
            guesses.push_back(SimilarityOf(first, second));
        }
        const AffineFit fit =
            FitAffine(from, to, guesses, std::vector<std::uint8_t>(matches.size(), 0), 4.0, 0.0);
        if (fit.inliers.size() < kLeastInliers) return;
        double squares = 0;
        for (const int i : fit.inliers) {
            const cv::Point2d miss =
                Apply(fit.model, from[static_cast<std::size_t>(i)]) - to[static_cast<std::size_t>(i)];
            squares += miss.dot(miss);
        }
        const double residual =
            std::sqrt(squares / static_cast<double>(fit.inliers.size())) / evidence.scaleX;
        const cv::Matx23d& m = fit.model;
        const cv::Matx33d model(m(0, 0), m(0, 1), m(0, 2), m(1, 0), m(1, 1), m(1, 2), 0, 0, 1);
        Try(evidence.ToReduced().inv() * model * reference.ToReduced(), RegistrationMethod::Features,
            Freedom::Affine, static_cast<int>(fit.inliers.size()), residual, PartOf(progress, 0.85, 1.0));
    }

    // Only where it explains clearly more than the affine map.
    void TryProjective(const AnalysisProgress& progress) {
        const bool isAsked = m_model == RegistrationModel::Projective;
        const bool isWanted =
            isAsked || (m_model == RegistrationModel::Automatic && m_best.correlation < 0.995);
        if (!isWanted || m_best.correlation < 0.3) return;
        const Attempt affine = m_best;
        Try(affine.model, affine.method, Freedom::Projective, affine.inliers, affine.residual, progress);
        if (!isAsked && 1.0 - m_best.correlation > 0.9 * (1.0 - affine.correlation)) m_best = affine;
    }

    const cv::Mat& m_evidence;
    const cv::Mat& m_reference;
    RegistrationModel m_model;
    Attempt m_best;
};

std::vector<cv::Point2d> Corners(const cv::Size& size) {
    return {cv::Point2d(0, 0), cv::Point2d(size.width - 1, 0), cv::Point2d(0, size.height - 1),
            cv::Point2d(size.width - 1, size.height - 1)};
}

// To whole pixels when that moves no corner of the evidence by more than kWhole, or by kPerhapsWhole and costs nothing.
bool TakeAsWhole(const cv::Mat& evidence, const cv::Mat& reference, cv::Matx33d& model, double& correlation) {
    cv::Matx33d whole = model;
    for (int i = 0; i < 9; ++i) whole.val[i] = std::round(model.val[i]);
    if (std::abs(std::abs(whole(0, 0) * whole(1, 1) - whole(0, 1) * whole(1, 0)) - 1.0) > 1e-9 ||
        whole(2, 0) != 0 || whole(2, 1) != 0 || whole(2, 2) != 1)
        return false;
    const cv::Matx33d change = whole * model.inv();
    double farthest = 0;
    for (const cv::Point2d& corner : Corners(evidence.size())) {
        const cv::Point2d way = Project(change, corner) - corner;
        farthest = std::max(farthest, std::sqrt(way.dot(way)));
    }
    if (farthest > kPerhapsWhole) return false;
    const double as = CorrelationUnder(evidence, reference, whole, 0.0);
    if (farthest > kWhole && as < correlation - 1e-4) return false;
    model = whole;
    correlation = as;
    return true;
}

void Describe(const cv::Size& evidence, const cv::Size& reference, Registration& result) {
    cv::Matx33d unmirrored = result.model;
    if (result.isMirrored)
        unmirrored = result.model * cv::Matx33d(-1, 0, reference.width - 1, 0, 1, 0, 0, 0, 1);
    const cv::Matx23d linear(unmirrored(0, 0), unmirrored(0, 1), unmirrored(0, 2), unmirrored(1, 0),
                             unmirrored(1, 1), unmirrored(1, 2));
    result.rotation = RotationOf(linear);
    result.scale = ScaleOf(linear);
    const cv::Matx33d back = result.model.inv();
    double left = reference.width;
    double right = 0;
    double top = reference.height;
    double bottom = 0;
    // From the outer edge of its pixels to the outer edge of the reference's.
    for (const double x : {-0.5, evidence.width - 0.5}) {
        for (const double y : {-0.5, evidence.height - 0.5}) {
            const cv::Point2d p = Project(back, cv::Point2d(x, y));
            left = std::min(left, p.x + 0.5);
            right = std::max(right, p.x + 0.5);
            top = std::min(top, p.y + 0.5);
            bottom = std::max(bottom, p.y + 0.5);
        }
    }
    const cv::Point first(cvRound(std::clamp(left, 0.0, static_cast<double>(reference.width))),
                          cvRound(std::clamp(top, 0.0, static_cast<double>(reference.height))));
    const cv::Point end(cvRound(std::clamp(right, 0.0, static_cast<double>(reference.width))),
                        cvRound(std::clamp(bottom, 0.0, static_cast<double>(reference.height))));
    result.crop = {first, end};
    result.overlap = OverlapOf(result.model, evidence, reference);
}

}  // namespace

Registration RegisterPictures(const cv::Mat& evidence, const cv::Mat& reference, RegistrationModel model,
                              const AnalysisProgress& progress) {
    CheckPicture(evidence);
    CheckPicture(reference);
    Registration result;
    if (std::min({evidence.cols, evidence.rows, reference.cols, reference.rows}) < kLeastSide) {
        result.whyNot = "A picture is smaller than 32 x 32 pixels.";
        if (evidence.size() != reference.size()) return result;
        // Too small to search, but of one size: compared as they lie.
        result.isFound = true;
        result.isWholeShift = true;
        result.method = RegistrationMethod::Identity;
        Describe(evidence.size(), reference.size(), result);
        return result;
    }
    const cv::Mat ours = RoundedLuminance(evidence, PartOf(progress, 0.0, 0.05));
    const cv::Mat theirs = RoundedLuminance(reference, PartOf(progress, 0.05, 0.1));
    Attempt best = Search(ours, theirs, model).Run(PartOf(progress, 0.1, 0.55));
    if (best.correlation < 0.8) {
        cv::Mat mirrored;
        cv::flip(theirs, mirrored, 1);
        Attempt other = Search(ours, mirrored, model).Run(PartOf(progress, 0.55, 1.0));
        if (other.correlation > best.correlation + 0.1) {
            other.model = other.model * cv::Matx33d(-1, 0, reference.cols - 1, 0, 1, 0, 0, 0, 1);
            best = other;
            result.isMirrored = true;
        }
    }
    result.correlation = best.correlation;
    if (best.correlation < kFound) {
        result.isMirrored = false;
        result.whyNot = "No part of the reference was found in the evidence.";
        return result;
    }
    result.isFound = true;
    result.method = best.method;
    result.model = best.model;
    result.isProjective = best.isProjective;
    result.inliers = best.inliers;
    result.residual = best.residual;
    result.isWholeShift = TakeAsWhole(ours, theirs, result.model, result.correlation);
    if (result.isWholeShift) result.isProjective = false;
    Describe(evidence.size(), reference.size(), result);
    if (progress) progress(1.0);
    return result;
}

cv::Mat BringOnto(const cv::Mat& reference, const Registration& registration, const cv::Size& evidence,
                  cv::Mat& mask, const AnalysisProgress& progress) {
    CheckPicture(reference);
    cv::Mat result(evidence, reference.type());
    mask.create(evidence, CV_8U);
    const cv::Matx33d back = registration.model.inv();
    const bool isShift =
        registration.isWholeShift && registration.model(0, 0) == 1 && registration.model(1, 1) == 1;
    if (!isShift && std::max({reference.cols, reference.rows, evidence.width}) > kWarpLimit)
        ZOR_THROW(
            Argument,
            "Pictures of more than 32000 pixels in a row or column can only be compared by a shift of whole pixels.");
    ForEachStrip(evidence.height, kStripRows, progress, [&](int first, int end) {
        cv::Mat target = result.rowRange(first, end);
        cv::Mat covered = mask.rowRange(first, end);
        if (isShift) {
            target.setTo(cv::Scalar::all(0));
            covered.setTo(0);
            const cv::Point shift(cvRound(registration.model(0, 2)), cvRound(registration.model(1, 2)));
            const cv::Rect strip(0, first, evidence.width, end - first);
            const cv::Rect there = cv::Rect(shift, reference.size()) & strip;
            if (there.empty()) return;
            reference(there - shift).copyTo(target(there - strip.tl()));
            covered(there - strip.tl()).setTo(255);
            return;
        }
        const cv::Matx33d here = back * cv::Matx33d(1, 0, 0, 0, 1, first, 0, 0, 1);
        cv::warpPerspective(reference, target, here, target.size(), cv::INTER_CUBIC | cv::WARP_INVERSE_MAP,
                            cv::BORDER_REPLICATE);
        for (int y = 0; y < covered.rows; ++y) {
            for (int x = 0; x < covered.cols; ++x) {
                const cv::Point2d p = Project(here, cv::Point2d(x, y));
                constexpr double kRounding = 1e-6;
                const bool isInside = p.x >= -kRounding && p.y >= -kRounding &&
                                      p.x <= reference.cols - 1 + kRounding &&
                                      p.y <= reference.rows - 1 + kRounding;
                covered.ptr(y)[x] = isInside ? 255 : 0;
            }
        }
    });
    return result;
}
