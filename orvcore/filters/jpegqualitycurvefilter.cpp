#include <optional>

#include "orvcore/analysis/qualitycurve.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/decodedblocks.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/formats/jpegquality.h"
#include "zorbase/text.h"

namespace {

// The quality of the file's own luminance table; 0 when that is none of the standard's, nothing when it is no JPEG.
std::optional<int> OwnQuality(const OrvLoadedFile& file) {
    const auto structure = GetJpegStructure(file);
    if (!structure->isJpeg) return {};
    if (structure->quantizationTables.empty()) return 0;
    const JpegQuality quality = EstimateJpegQuality(structure->quantizationTables.front());
    return quality.isExact ? quality.quality : 0;
}

class JpegQualityCurveFilter : public OrvFilterPlot {
  public:
    JpegQualityCurveFilter() : OrvFilterPlot("JPEG Quality Curve", "jpeg-quality-curve") {
        Describe(
            "Compression",
            "How much the picture changes when it is saved as JPEG once more, at every quality from 1 to 100, on the grid that is set. The curve "
            "falls as the quality rises, with a dip at a quality with which the picture was saved before: in a JPEG at its own quality, "
            "and at lower ones that it was saved with earlier; finer qualities whose steps divide those dip as well. With a selection, two curves are drawn: a dip that only one of them has tells of a "
            "part with another history. That a picture was saved before is no forgery: worth a look at most. It cannot see: tables that are "
            "not the standard's (most cameras), an earlier save on another grid or finer than the last one, smooth pictures. "
            "After Farid 2009 (IEEE TIFS 4).");
        SetParameters({Parameter::Slider("gridX", "Grid Begins At X", 0, 0, 7),
                       Parameter::Slider("gridY", "Grid Begins At Y", 0, 0, 7),
                       Parameter::Region("region", "Region (selection)", Roi(), ParameterType::OrvRoi)},
                      {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Quality Curve"),
                       Parameter::Output(ParameterType::TableString, "dips", "Dips")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        const std::string small = WhyNotSmallerThan(file, 64);
        return small.empty() ? WhyNotReducedLuminance(file) : small;
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
};

void AddDips(const std::array<double, 100>& curve, const std::string& where, TableString& table) {
    for (const CurveDip& dip : FindDips(curve))
        table.push_back({where, ToString(dip.quality), FixedText(dip.value, 3), FixedText(dip.depth, 2)});
}

void JpegQualityCurveFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                                     OrvSlotResult& result) const {
    const cv::Mat picture = GetSamples(file, job);
    const Roi& region = input.Get<Roi>("region");
    const cv::Rect box =
        region.IsEmpty() ? cv::Rect() : cv::Rect(region.x, region.y, region.width, region.height);
    const std::optional<int> own = OwnQuality(file);
    job.SetProgress(0.0, "Saving at every quality");
    const QualityCurve curve =
        ComputeQualityCurve(picture, {input.Get<int>("gridX"), input.Get<int>("gridY")}, box, job.Part());
    JudgeBy(JudgeQualityCurve(curve, own), {.quantity = "depth of the deepest earlier dip"}, result);
    if (curve.blocks == 0) return;
    result.AddNumber("Quality of the file", own && *own > 0
                                                ? ToString(*own)
                                                : std::string(own ? "none of the standard's" : "not a JPEG"));
    result.AddNumber("Blocks measured", ToString(static_cast<std::int64_t>(curve.blocks)));
    TableString dips{{"Curve", "Quality", "Change (levels)", "Depth"}};
    OrvPlotData& plot = result.plot;
    const auto add = [&](const std::array<double, 100>& values, const std::string& name) {
        plot.curves.emplace_back(values.begin(), values.end());
        AddDips(values, name, dips);
    };
    for (int quality = 1; quality <= 100; ++quality) plot.x.push_back(static_cast<float>(quality));
    add(curve.all, "Whole picture");
    AddDips(curve.detail, "Its details", dips);
    if (curve.blocksInside > 0 && curve.blocksInside < curve.blocks) {
        add(curve.inside, "Inside the region");
        add(curve.outside, "Outside");
    }
    plot.layerCount = static_cast<int>(plot.curves.size());
    plot.marks.resize(2);
    for (const CurveDip& dip : FindDips(curve.all)) {
        plot.marks[0].push_back(static_cast<float>(dip.quality));
        plot.marks[1].push_back(static_cast<float>(dip.value));
    }
    plot.xLabel = "JPEG quality";
    plot.yLabel = "Change of luminance (levels, root mean square)";
    plot.text = plot.layerCount > 1 ? "whole picture, inside the region, outside" : "whole picture";
    result.Set("dips", dips);
}

}  // namespace

std::unique_ptr<OrvFilter> MakeJpegQualityCurveFilter() {
    return std::make_unique<JpegQualityCurveFilter>();
}
