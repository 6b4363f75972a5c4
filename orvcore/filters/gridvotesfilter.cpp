#include "orvcore/analysis/gridvotes.h"

#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/decodedblocks.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/text.h"

namespace {

std::string GridText(int grid) {
    return grid == kNoGrid ? std::string("none") : ToString(grid % 8) + ", " + ToString(grid / 8);
}

Roi RoiOf(const cv::Rect& box) {
    return Roi(box.x, box.y, box.width, box.height);
}

class GridVotesFilter : public OrvFilterImage {
  public:
    GridVotesFilter() : OrvFilterImage("Grid Votes", "grid-votes") {
        Describe(
            "Compression",
            "On which of the 64 possible grids of 8 x 8 blocks was the picture compressed, and which parts on another? Each pixel votes for the "
            "grid on which its surroundings have most coefficients that are nought; the map shows the votes. A compressed picture is dark "
            "nearly everywhere, the colour of its main grid; a part in another colour was compressed before it was put in, on a grid that does not fit. The NFA is "
            "the number of such areas that chance would make in pictures without any: below 1 it is told, as a power of ten. A main "
            "grid that does not begin at 0, 0 means that the picture was cropped or moved after it had been compressed. Where the grid "
            "of the rest is missing, the part was compressed less, or blurred. It cannot see: parts that happen to lie on the same grid "
            "(one in 64), a last save below about 95 on another grid than the first, quality 100, a change of size, smooth or saturated parts. "
            "After Nikoukhah and others 2021 (IPOL).");
        SetParameters({Parameter::Bool("missing", "Search Missing Grids", true)}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Grid"),
                       Parameter::Output(ParameterType::TableString, "regions", "Regions")});
    }
    int GetVersion() const override { return 2; }
    bool GivesVerdict() const override { return true; }
    bool IsCacheable() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        const std::string small = WhyNotSmallerThan(file, 32);
        return small.empty() ? WhyNotReducedLuminance(file) : small;
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const cv::Mat picture = GetSamples(file, job);
        job.SetProgress(0.0, "Every pixel votes for a grid");
        const GridVotesResult found = ComputeGridVotes(picture, {input.Get<bool>("missing")}, job.Part());
        JudgeBy(JudgeGridVotes(found), {.quantity = "power of ten of the NFA", .digits = 1}, result);
        if (found.isTooSmall) return;
        result.AddNumber("Main grid begins at", GridText(found.mainGrid));
        result.AddNumber("Grid with most votes", GridText(found.bestGrid));
        result.AddNumber("Its part of the votes (%)", FixedText(100.0 * found.bestShare, 1));
        result.AddNumber("Power of ten of its NFA", FixedText(found.logNfa, 1));
        result.AddNumber("Regions on another grid", ToString(static_cast<int>(found.foreign.size())));
        result.AddNumber("Regions without the grid", ToString(static_cast<int>(found.missing.size())));
        OrvMap votes;
        votes.name = "Votes";
        votes.scale = OrvMapScale::Classes;
        votes.values = found.votes;
        votes.mask = found.votes == 255;
        for (int grid = 0; grid < 64; ++grid) votes.classNames.push_back(GridText(grid));
        if (found.mainGrid != kNoGrid) votes.classColours = {{found.mainGrid, OrvClassColour::Calm}};
        TableString table{
            {"Kind", "Grid begins at", "X", "Y", "Width", "Height", "Votes", "Power of ten of the NFA"}};
        const auto add = [&](const std::vector<GridRegion>& regions, const std::string& kind) {
            for (const GridRegion& region : regions) {
                const cv::Rect& box = region.box;
                table.push_back({kind, GridText(region.grid), ToString(box.x), ToString(box.y),
                                 ToString(box.width), ToString(box.height), ToString(region.votes),
                                 FixedText(region.logNfa, 1)});
                votes.regions.push_back({RoiOf(box), kind});
            }
        };
        add(found.foreign, "Another grid");
        add(found.missing, "No grid");
        result.Set("regions", table);
        result.AddMap(std::move(votes));
        if (found.mask.empty()) return;
        OrvMap mask;
        mask.name = "Regions";
        mask.scale = OrvMapScale::Classes;
        mask.values = found.mask / 127;  // 0, 1 (no grid), 2 (another grid)
        mask.classNames = {"As the rest", "No grid", "Another grid"};
        mask.classColours = {{0, OrvClassColour::Calm}};
        result.AddMap(std::move(mask));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeGridVotesFilter() {
    return std::make_unique<GridVotesFilter>();
}
