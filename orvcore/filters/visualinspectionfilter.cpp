#include "orvcore/filters/visualinspectionfilter.h"

#include "orvcore/analysis/adjustment.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/metadata.h"
#include "zorbase/text.h"

VisualInspectionFilter::VisualInspectionFilter() : OrvFilterImage("Visual Inspection", "visual-inspection") {
    Describe(
        "Looking",
        "The picture as the file holds it, and the main facts about it. Brightness, contrast, gamma and channel change only "
        "how it is shown. What looks odd is a reason to measure, not a finding.");
    SetParameters({},
                  {Parameter::Slider("brightness", "Brightness (%)", 0, -100, 100),
                   Parameter::Slider("contrast", "Contrast (%)", 0, -100, 100),
                   Parameter::Double("gamma", "Gamma", 1.0, 0.1, 10.0),
                   Parameter::Choice("channel", "Channel", 0, {"All", "Red", "Green", "Blue", "Luminance"})},
                  {Parameter::Output(ParameterType::OutputString, "format", "Format"),
                   Parameter::Output(ParameterType::OutputImageResolution, "dimensions", "Pixels"),
                   Parameter::Output(ParameterType::OutputInt64, "size", "Size (bytes)"),
                   Parameter::Output(ParameterType::OutputString, "camera", "Camera"),
                   Parameter::Output(ParameterType::OutputString, "software", "Software"),
                   Parameter::Output(ParameterType::OutputDateTime, "taken", "Taken"),
                   Parameter::Output(ParameterType::OutputText, "warnings", "Warnings")});
}

void VisualInspectionFilter::Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                                     OrvSlotResult& result) const {
    const auto decoded = file.GetDecoded(job);
    result.inputImage = decoded->image;
    result.outputImage = decoded->image;
    const auto set = [&result](const char* name, const auto& value) {
        result.output.Find(name)->SetValue(value);
    };
    set("format", FormatName(file.GetInfo().format));
    set("dimensions", ImageResolution{decoded->image.GetWidth(), decoded->image.GetHeight()});
    set("size", static_cast<std::int64_t>(file.GetBytes().size()));
    const MetadataSet metadata = ReadMetadata(file.GetBytes());
    const MetadataFacts& facts = metadata.facts;
    const bool isRead = metadata.reading != MetadataReading::NotRead;
    const auto told = [isRead](const std::string& text) {
        return text.empty() ? std::string(isRead ? "Not stated" : "Not read") : ToValidUtf8(text);
    };
    set("camera", told(Trim(facts.make + " " + facts.model)));
    set("software", told(facts.software));
    set("taken", told(facts.dateTimeOriginal));
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
