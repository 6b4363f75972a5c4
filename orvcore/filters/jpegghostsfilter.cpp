#include "orvcore/analysis/jpegghosts.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/decodedblocks.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/text.h"

namespace {

std::string BoxText(const cv::Rect& box) {
    return box.empty() ? std::string()
                       : ToString(box.x) + ", " + ToString(box.y) + ", " + ToString(box.width) + " x " +
                             ToString(box.height);
}

// Each quality on a map of its own, the one with the largest dip first; all as one sheet on request.
class JpegGhostsFilter : public OrvFilterImage {
  public:
    JpegGhostsFilter() : OrvFilterImage("JPEG Ghosts", "jpeg-ghosts") {
        Describe(
            "Compression",
            "The picture is saved once more at each of a row of qualities; every map shows how much each window changes. The change falls as the "
            "quality rises, but dips at a quality at which the window was saved before. A part that dips where the rest does not, as "
            "an area with an outline of its own in one map, was saved before with that quality. The map with the largest area that dips comes first. "
            "The sheet holds all qualities as one picture, each window's curve stretched to black (least change) and white, the lowest "
            "quality first. Texture and edges change "
            "more than smooth parts: compare like with like. It cannot see: a first save finer than the last one, a first save on another grid "
            "(try the grid, or the search of all 64, which takes 64 times as long), smooth or saturated parts. Worth a look at most: that "
            "the area has the outline of an object is for the examiner to see. After Farid 2009 (IEEE TIFS 4).");
        SetParameters(
            {Parameter::Slider("lowest", "Lowest Quality", 55, 1, 99),
             Parameter::Slider("highest", "Highest Quality", 95, 2, 100),
             Parameter::Slider("step", "Step", 5, 1, 25),
             Parameter::Slider("window", "Window (pixels)", 16, 8, 128),
             Parameter::Slider("gridX", "Grid Begins At X", 0, 0, 7),
             Parameter::Slider("gridY", "Grid Begins At Y", 0, 0, 7),
             Parameter::Bool("search", "Search All 64 Grids", false),
             Parameter::Region("region", "Region (selection)", Roi(), ParameterType::OrvRoi)},
            {Parameter::Choice("picture", "Picture", 0, {"The Chosen Map", "Sheet Of All Qualities"})},
            {Parameter::Output(ParameterType::TableString, "numbers", "Largest Dip"),
             Parameter::Output(ParameterType::TableString, "qualities", "Qualities"),
             Parameter::Output(ParameterType::TableString, "grids", "Grids")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNotReducedLuminance(file);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    // The sheet is made with the maps, so that choosing it costs nothing.
    void PostProcess(const VecParameter& postProcessing, const OrvJob&,
                     OrvSlotResult& result) const override {
        if (postProcessing.Get<int>("picture") == 0) return result.outputImage.Reset();
        // What is marked in the picture lies elsewhere on the sheet.
        for (OrvMap& map : result.maps) map.regions.clear();
    }
};

GhostSettings SettingsOf(const VecParameter& input) {
    GhostSettings settings;
    const int lowest = input.Get<int>("lowest");
    const int highest = std::max(input.Get<int>("highest"), lowest + 1);
    settings.qualities.clear();
    for (int quality = lowest; quality <= highest; quality += std::max(input.Get<int>("step"), 1))
        settings.qualities.push_back(quality);
    settings.window = input.Get<int>("window");
    settings.origin = {input.Get<int>("gridX"), input.Get<int>("gridY")};
    const Roi& region = input.Get<Roi>("region");
    if (!region.IsEmpty()) settings.region = {region.x, region.y, region.width, region.height};
    return settings;
}

TableString TableOf(const GhostResult& ghosts) {
    TableString table{{"Quality", "Mean change (levels squared)", "Inside the region", "Outside",
                       "Median dip", "Windows that dip (%)", "Largest area that dips (cells)", "Its box",
                       "Largest area that lacks the dip (cells)", "Its box"}};
    for (const GhostQuality& line : ghosts.table) {
        table.push_back({ToString(line.quality), FixedText(line.mean, 2), FixedText(line.meanInside, 2),
                         FixedText(line.meanOutside, 2), FixedText(line.medianDip, 2),
                         FixedText(100.0 * line.dippingPart, 1), ToString(line.dippingCells),
                         BoxText(line.dippingBox), ToString(line.lackingCells), BoxText(line.lackingBox)});
    }
    return table;
}

// The places of the qualities in the order of their maps: the one at which the largest area has a dip of its own, then the others upwards.
std::vector<std::size_t> ByDip(const GhostResult& ghosts) {
    std::vector<std::size_t> order(ghosts.maps.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto cells = [&ghosts](std::size_t i) {
        return ghosts.table[i].medianDip >= kGhostDip ? 0 : ghosts.table[i].dippingCells;
    };
    const auto best = std::max_element(order.begin(), order.end(),
                                       [&](std::size_t a, std::size_t b) { return cells(a) < cells(b); });
    if (best != order.end()) std::rotate(order.begin(), best, best + 1);
    return order;
}

void AddPlot(const GhostResult& ghosts, OrvSlotResult& result) {
    OrvPlotData& plot = result.plot;
    std::vector<float> all;
    std::vector<float> inside;
    std::vector<float> outside;
    bool hasInside = false;
    for (const GhostQuality& line : ghosts.table) {
        plot.x.push_back(static_cast<float>(line.quality));
        all.push_back(static_cast<float>(line.mean));
        inside.push_back(static_cast<float>(line.meanInside));
        outside.push_back(static_cast<float>(line.meanOutside));
        hasInside = hasInside || !std::isnan(line.meanInside);
    }
    plot.curves = {all};
    if (hasInside) plot.curves = {inside, outside};
    plot.layerCount = static_cast<int>(plot.curves.size());
    plot.xLabel = "JPEG quality";
    plot.yLabel = "Mean change (levels squared)";
    plot.text = hasInside ? "first curve inside the region, second outside" : "whole picture";
}

void JpegGhostsFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                               OrvSlotResult& result) const {
    const cv::Mat picture = GetSamples(file, job);
    GhostSettings settings = SettingsOf(input);
    const bool isSearch = input.Get<bool>("search");
    if (isSearch) {
        job.SetProgress(0.0, "Saving on all 64 grids");
        TableString table{
            {"Grid begins at", "Quality of the largest dip", "Largest area that dips (cells)", "Its box"}};
        const std::vector<GhostShift> shifts = SearchGhostShifts(picture, settings, job.Part(0.0, 0.95));
        for (const GhostShift& shift : shifts) {
            table.push_back({ToString(shift.origin.x) + ", " + ToString(shift.origin.y),
                             ToString(shift.best.quality), ToString(shift.best.dippingCells),
                             BoxText(shift.best.dippingBox)});
        }
        result.Set("grids", table);
        settings.origin = shifts.front().origin;
    }
    job.SetProgress(isSearch ? 0.95 : 0.0, "Saving at every quality");
    const GhostResult ghosts = ComputeGhosts(picture, settings, job.Part(isSearch ? 0.95 : 0.0, 1.0));
    const AnalysisDecision decision = JudgeGhosts(ghosts);
    JudgeBy(decision,
            {.quantity = "largest area with a dip of its own", .digits = 0, .unit = "cells of 8 x 8 pixels"},
            result);
    if (ghosts.isTooSmall) return;
    AddPlot(ghosts, result);
    result.Set("qualities", TableOf(ghosts));
    result.AddNumber("Grid begins at", ToString(settings.origin.x) + ", " + ToString(settings.origin.y));
    for (const std::size_t i : ByDip(ghosts)) {
        const GhostQuality& line = ghosts.table[i];
        OrvMap map = ToOrvMap(ghosts.maps[i], "Change At Quality " + ToString(line.quality), "levels squared",
                              {0.0, 10.0});
        if (decision.finding == Finding::WorthALook &&
            line.dippingCells >= static_cast<int>(decision.threshold) && !(line.medianDip >= kGhostDip))
            map.regions.push_back(
                {Roi(line.dippingBox.x, line.dippingBox.y, line.dippingBox.width, line.dippingBox.height),
                 "Dips here"});
        result.AddMap(std::move(map));
    }
    const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(ghosts.maps.size()))));
    result.outputImage = Image(MakeGhostSheet(NormaliseGhosts(ghosts), columns));
}

}  // namespace

std::unique_ptr<OrvFilter> MakeJpegGhostsFilter() {
    return std::make_unique<JpegGhostsFilter>();
}
