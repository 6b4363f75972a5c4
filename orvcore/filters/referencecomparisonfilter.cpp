#include <cmath>

#include "orvcore/analysis/comparison.h"
#include "orvcore/analysis/registration.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filter/pictureplaces.h"
#include "orvcore/filters/filterlist.h"

namespace {

constexpr double kCalmLevels = 12.0;

const char* MethodName(RegistrationMethod method) {
    switch (method) {
        case RegistrationMethod::Identity:
            return "as they lie";
        case RegistrationMethod::PhaseCorrelation:
            return "phase correlation";
        case RegistrationMethod::Features:
            return "keypoints";
        case RegistrationMethod::None:
            break;
    }
    return "none";
}

void ShowRegistration(const Registration& found, OrvSlotResult& result) {
    result.AddNumber("Registered by", MethodName(found.method));
    result.AddNumber("Rotation of the reference (degrees)", FixedText(found.rotation, 3));
    result.AddNumber("Scale of the reference", FixedText(found.scale, 5));
    result.AddNumber("Mirrored", found.isMirrored ? "yes" : "no");
    result.AddNumber("Perspective", found.isProjective ? "yes" : "no");
    result.AddNumber("Whole pixels, nothing interpolated", found.isWholeShift ? "yes" : "no");
    result.AddNumber("Shown part of the reference (x, y, width, height)",
                     ToString(Roi(found.crop.x, found.crop.y, found.crop.width, found.crop.height)));
    result.AddNumber("Covered by the reference (%)", FixedText(100.0 * found.overlap, 2));
    result.AddNumber("Correlation", FixedText(found.correlation, 4));
    if (found.inliers > 0) {
        result.AddNumber("Keypoints that agree", std::to_string(found.inliers));
        result.AddNumber("Their mean error (pixels)", FixedText(found.residual, 2));
    }
}

void ShowComparison(const PictureComparison& comparison, OrvSlotResult& result) {
    result.AddNumber("Pixels compared", std::to_string(comparison.compared));
    result.AddNumber("Of them different", std::to_string(comparison.different));
    const cv::Rect& box = comparison.differentBox;
    result.AddNumber(
        "They lie in (x, y, width, height)",
        comparison.different == 0 ? std::string("none") : ToString(Roi(box.x, box.y, box.width, box.height)));
    result.AddNumber("Mean difference (levels)", FixedText(comparison.meanDifference, 4));
    result.AddNumber("Largest difference (levels)", FixedText(comparison.largestDifference, 1));
    result.AddNumber("PSNR (dB)",
                     std::isinf(comparison.psnr) ? std::string("infinite") : FixedText(comparison.psnr, 2));
    result.AddNumber("Structural similarity (mean)", FixedText(comparison.meanSimilarity, 4));
    static constexpr const char* kChannels[] = {"red", "green", "blue"};
    for (std::size_t c = 0; c < 3; ++c)
        result.AddNumber(
            std::string("Evidence = reference, ") + kChannels[c],
            "x " + FixedText(comparison.fit[c].gain, 4) + " + " + FixedText(comparison.fit[c].offset, 2));
    TableString table{{"Histogram", "Correlation", "Chi-square", "Intersection", "Bhattacharyya",
                       "Earth mover's (levels)"}};
    static constexpr const char* kHistograms[] = {"Luminance", "Red", "Green", "Blue"};
    for (std::size_t i = 0; i < 4; ++i) {
        const HistogramDistances& d = comparison.histograms[i];
        table.push_back({kHistograms[i], FixedText(d.correlation, 4), FixedText(d.chiSquare, 4),
                         FixedText(d.intersection, 4), FixedText(d.bhattacharyya, 4),
                         FixedText(d.earthMover, 3)});
    }
    result.Set("histograms", table);
}

// The evidence against a reference that shows the same scene.
class ReferenceComparisonFilter : public OrvFilterImage, public OrvPicturePlaces {
  public:
    ReferenceComparisonFilter() : OrvFilterImage("Reference Comparison", "reference-comparison") {
        Describe(
            "Comparing",
            "Brings the reference onto the evidence and shows where they differ, level by level or in structure. Load as reference what may be "
            "the original: another size, a crop, a turned, mirrored or foreshortened picture is no obstacle. The table tells what was done "
            "to it; parts of the evidence that the reference does not cover are left out. Where whole pixels are enough, nothing is "
            "interpolated and a difference of one level is a difference; otherwise fine edges differ a little everywhere. Another "
            "brightness or colour can be fitted first. Blind where nothing of the scene is common, for smooth pictures, and where lenses "
            "bend differently. Structural similarity after Wang et al. 2004; registration by phase correlation (Kuglin and Hines "
            "1975), keypoints (Lowe 2004) and a fit of the levels (Lucas and Kanade 1981). Needs about 180 MB of memory per "
            "processor for keypoints.");
        SetParameters(
            {Parameter::Choice("model", "Registration", 0,
                               {"Automatic", "Shift only", "Affine", "Perspective", "None: as they lie"}),
             Parameter::Choice("show", "Shows", 0, {"Difference", "Structural similarity"}),
             Parameter::Bool("fit", "Fit Brightness And Colour", false)},
            {},
            {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
             Parameter::Output(ParameterType::TableString, "histograms", "Histograms")});
    }
    bool ComparesFiles() const override { return true; }
    // The reference is shown as it lies on the evidence.
    bool ShowsPlaces(OrvFileId slot, bool isProcessed) const override {
        return slot == OrvEvidence || !isProcessed;
    }
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile&, const VecParameter&, const OrvJob&,
                 OrvSlotResult& result) const override {
        result.SayNothing("Needs evidence and reference");
    }

    void ComputeBoth(const OrvLoadedFile& evidence, const OrvLoadedFile& reference, const VecParameter& input,
                     const OrvJob& job, OrvSlotResult& ofEvidence,
                     OrvSlotResult& ofReference) const override {
        const cv::Mat ours = GetSamples(evidence, job);
        const cv::Mat theirs = GetSamples(reference, job);
        const int model = input.Get<int>("model");
        constexpr int kAsTheyLie = 4;
        Registration found;
        job.SetProgress(0.0, "Bringing the reference onto the evidence");
        if (model == kAsTheyLie) {
            found.isFound = ours.size() == theirs.size();
            found.whyNot = "The pictures are of different sizes";
            found.method = RegistrationMethod::Identity;
            found.isWholeShift = true;
            found.crop = {0, 0, theirs.cols, theirs.rows};
            found.overlap = 1;
        } else {
            found = RegisterPictures(ours, theirs, static_cast<RegistrationModel>(model), job.Part(0.0, 0.7));
        }
        if (!found.isFound) {
            ofEvidence.SayNothing(found.whyNot);
            ofReference.SayNothing(found.whyNot);
            return;
        }
        cv::Mat covered;
        const cv::Mat brought = BringOnto(theirs, found, ours.size(), covered, job.Part(0.7, 0.8));
        job.SetProgress(0.8, "Comparing");
        const PictureComparison comparison =
            ComparePictures(ours, brought, covered, {input.Get<bool>("fit")}, job.Part(0.8, 1.0));
        if (!comparison.isApplicable) {
            ofEvidence.SayNothing(comparison.whyNot);
            ofReference.SayNothing(comparison.whyNot);
            return;
        }
        ShowRegistration(found, ofEvidence);
        ShowComparison(comparison, ofEvidence);
        OrvMap map;
        map.mask = comparison.mask;
        if (input.Get<int>("show") == 1) {
            map.name = "Structural Similarity";
            map.values = comparison.similarity;
            map.isAutomatic = false;
            map.range = {0.0, 1.0};
        } else {
            map.name = "Difference";
            map.unit = comparison.difference.depth() == CV_16U ? "levels of 65535" : "levels";
            map.floor = {0.0, comparison.difference.depth() == CV_16U ? kCalmLevels * 257.0 : kCalmLevels};
            map.values = LargestOfChannels(comparison.difference);
        }
        ofEvidence.AddMap(std::move(map));
        // Beside it the reference as it lies on the evidence.
        ofReference.outputImage = Image(brought);
    }

  private:
    static cv::Mat LargestOfChannels(const cv::Mat& difference) {
        if (difference.channels() == 1 || difference.depth() == CV_8U) return difference;
        cv::Mat planes[3];
        cv::split(difference, planes);
        cv::Mat largest;
        cv::max(planes[0], planes[1], largest);
        cv::max(largest, planes[2], largest);
        return largest;
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeReferenceComparisonFilter() {
    return std::make_unique<ReferenceComparisonFilter>();
}
