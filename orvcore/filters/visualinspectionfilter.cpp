#include "orvcore/filters/visualinspectionfilter.h"

#include "orvcore/filters/filterlist.h"
#include "orvcore/analysis/adjustment.h"
#include "zorbase/text.h"

VisualInspectionFilter::VisualInspectionFilter() : OrvFilterImage("Visual Inspection", "visual-inspection") {
    Describe(
        "Looking",
        "The picture as the file holds it, at any zoom. Brightness, contrast, gamma and the choice of a channel change only "
        "how it is shown: look into shadows and highlights, along edges and at one colour at a time. What looks odd is a "
        "reason to measure, not a finding.");
    SetParameters({},
                  {Parameter::Slider("brightness", "Brightness (%)", 0, -100, 100),
                   Parameter::Slider("contrast", "Contrast (%)", 0, -100, 100),
                   Parameter::Double("gamma", "Gamma", 1.0, 0.1, 10.0),
                   Parameter::Choice("channel", "Channel", 0, {"All", "Red", "Green", "Blue", "Luminance"})},
                  {Parameter::Output(ParameterType::OutputText, "warnings", "Warnings")});
}

void VisualInspectionFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                                     OrvSlotResult& result) const {
    const auto decoded = file.GetDecoded(job);
    result.inputImage = decoded->image;
    result.outputImage = decoded->image;
    result.output.Find("warnings")
        ->SetValue(decoded->warnings.empty() ? std::string("None") : Join(decoded->warnings, "\n"));
}

void VisualInspectionFilter::PostProcess(const VecParameter& postProcessing, const OrvJob& job,
                                         OrvSlotResult& result) const {
    Adjustment adjustment;
    adjustment.brightness = postProcessing.Get<int>("brightness");
    adjustment.contrast = postProcessing.Get<int>("contrast");
    adjustment.gamma = postProcessing.Get<double>("gamma");
    adjustment.channel = static_cast<ViewChannel>(postProcessing.Get<int>("channel"));
    if (adjustment.IsNeutral() || !result.outputImage.IsValid()) return;
    result.outputImage = Image(AdjustImage(result.outputImage.ToColor().GetMat(), adjustment, job.Part()));
}

std::unique_ptr<OrvFilter> MakeVisualInspectionFilter() {
    return std::make_unique<VisualInspectionFilter>();
}
