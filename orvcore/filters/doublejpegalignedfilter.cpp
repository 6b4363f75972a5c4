#include "orvcore/analysis/doublejpeg.h"

#include "orvcore/filter/fileintermediates.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filters/analysisoutput.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/text.h"

namespace {

class DoubleJpegAlignedFilter : public OrvFilterImage {
  public:
    DoubleJpegAlignedFilter() : OrvFilterImage("Double JPEG Aligned", "double-jpeg-aligned") {
        Describe(
            "Compression",
            "Was this JPEG saved before on the same grid of blocks, and which part was not? Two quantisations leave peaks and gaps in the "
            "histograms of the file's own coefficients. Read the table first: for each of 14 low frequencies the first step that explains "
            "its histogram, and the quality that such steps mean. In the map, values below 0 carry the first save, values above 0 lack "
            "it: a connected bright area in a picture that is below 0 elsewhere was put in from elsewhere. That a whole picture was saved "
            "twice is common (any edit, many services). It cannot see: a first save with finer steps than the last (then nothing is "
            "found), the same quality twice, parts without texture (grey), a crop or a change of size between the saves. After Lin and others 2009, "
            "Bianchi, De Rosa and Piva 2011, Bianchi and Piva 2012.");
        SetParameters({}, {},
                      {Parameter::Output(ParameterType::TableString, "numbers", "Saved Twice"),
                       Parameter::Output(ParameterType::TableString, "steps", "First Steps")});
    }
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNoCoefficients(file);
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const auto coefficients = GetFirstCoefficients(file, job.Piece(0.0, 0.4, {}));
        if (coefficients->components.empty())
            return result.SayNothing("No coefficients of the first component");
        job.SetProgress(0.4, "Looking for the first save");
        const DoubleJpegResult found =
            ComputeDoubleJpeg(coefficients->components.front(), job.Part(0.4, 1.0));
        JudgeBy(JudgeDoubleJpeg(found), {.quantity = "median log likelihood of blocks", .digits = 1}, result);
        TableString table{{"Frequency (across, down)", "Step of the file", "First step", "Share saved twice",
                           "Error of the fit", "Found"}};
        for (const DoubleJpegFrequency& f : found.frequencies) {
            table.push_back({ToString(f.frequency.x) + ", " + ToString(f.frequency.y), ToString(f.lastStep),
                             f.firstStep > 0 ? ToString(f.firstStep) : std::string("none"),
                             FixedText(f.share, 2), FixedText(f.errorRatio, 2), f.IsFound() ? "yes" : "no"});
        }
        result.Set("steps", table);
        result.AddNumber("First steps found (of 14)", ToString(found.found));
        result.AddNumber("Quality that they mean",
                         found.firstQuality > 0 ? ToString(found.firstQuality) : std::string("none"));
        result.AddNumber("Steps exactly of that quality", ToString(found.agreeing));
        result.AddNumber("Median log likelihood", FixedText(found.median, 1));
        result.AddNumber("Largest area that lacks the first save (blocks)", ToString(found.regionBlocks));
        result.AddNumber("Its mean log likelihood", FixedText(found.regionMean, 1));
        if (found.map.values.empty()) {
            // Nothing to draw: the picture as it is.
            result.outputImage = Image(GetEightBits(file, job));
            return;
        }
        OrvMap map = ToOrvMap(found.map, "Log Likelihood Of One Save", "", {-10.0, 10.0});
        map.scale = OrvMapScale::Diverging;
        map.threshold = 3.0;
        map.thresholdSide = OrvMapSide::Above;
        const cv::Rect& box = found.regionBox;
        if (HasForeignRegion(found))
            map.regions.push_back({Roi(box.x, box.y, box.width, box.height), "Lacks the first save"});
        result.AddMap(std::move(map));
    }
};

}  // namespace

std::unique_ptr<OrvFilter> MakeDoubleJpegAlignedFilter() {
    return std::make_unique<DoubleJpegAlignedFilter>();
}
