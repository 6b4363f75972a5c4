#include "orvcore/filters/copymovetables.h"

#include "orvcore/filter/intermediates.h"
#include "zorbase/text.h"

namespace {

Roi ToRoi(const cv::Rect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

std::string Percent(double share) {
    return FixedText(100.0 * share, 2);
}

void ShowCopies(const CopyMoveResult& copies, OrvSlotResult& result) {
    result.AddNumber("Pairs of alike parts", std::to_string(copies.pairs.size()));
    result.AddNumber("Could not be looked at (% of the picture)", Percent(copies.blindShare));
    result.AddNumber("Of it too smooth (%)", Percent(copies.smoothShare));
    result.AddNumber("Of it too dark or too bright (%)", Percent(copies.saturatedShare));
    result.AddNumber("Alike to too many other places (%)", Percent(copies.commonShare));
    result.AddNumber("Candidates checked", std::to_string(copies.candidates));
    result.AddNumber("Of them edges and stripes", std::to_string(copies.ambiguous));
    result.AddNumber("Scale at which was searched", FixedText(copies.workingScale, 3));
    result.AddNumber("Everything was looked at", copies.isCut ? "no, the strongest candidates only" : "yes");

    TableString table{{"Pair", "From (x, y, width, height)", "To (x, y, width, height)", "Offset x (pixels)",
                       "Offset y (pixels)", "Rotation (degrees)", "Scale", "Matches", "Area (pixels)",
                       "Similarity", "Similarity of the finest detail", "Distinctness", "log10 of chance"}};
    OrvMap map;
    map.name = "Alike Parts";
    map.scale = OrvMapScale::Classes;
    map.values = copies.map;
    map.block = {copies.blockSize, copies.blockSize};
    map.origin = copies.origin;
    map.classNames = {"no twin"};
    map.classColours = {{0, OrvClassColour::Calm}};
    for (std::size_t i = 0; i < copies.pairs.size(); ++i) {
        const CopiedPair& pair = copies.pairs[i];
        const std::string name = "Pair " + std::to_string(i + 1);
        const cv::Point2d offset = pair.toCentre - pair.fromCentre;
        table.push_back({std::to_string(i + 1), ToString(ToRoi(pair.from)), ToString(ToRoi(pair.to)),
                         FixedText(offset.x, 1), FixedText(offset.y, 1), FixedText(pair.rotation, 2),
                         FixedText(pair.scale, 4), std::to_string(pair.matches), std::to_string(pair.area),
                         FixedText(pair.similarity, 3), FixedText(pair.fineSimilarity, 3),
                         FixedText(pair.distinctness, 1), FixedText(pair.log10Chance, 1)});
        map.classNames.push_back(name);
        map.lines.push_back({cv::Point2f(pair.fromCentre), cv::Point2f(pair.toCentre)});
        map.regions.push_back({ToRoi(pair.from), name});
        map.regions.push_back({ToRoi(pair.to), name});
    }
    result.Set("pairs", table);
    // Smooth parts inside a twin were found by its rim: there the map does say something.
    map.mask = copies.mask & (copies.map == 0);
    result.AddMap(std::move(map));
}

void JudgeCopies(const CopyMoveResult& copies, const CopyMoveVerdict& verdict, OrvSlotResult& result) {
    const OrvMeasurement measurement{verdict.quantity, verdict.measured, verdict.threshold, 0};
    if (verdict.isSign) {
        const CopiedPair* best = &copies.pairs.front();
        for (const CopiedPair& pair : copies.pairs)
            if (static_cast<double>(pair.matches) == verdict.measured) best = &pair;
        const cv::Point2d offset = best->toCentre - best->fromCentre;
        return result.Judge(
            OrvVerdict::StrongSign, "A part occurs twice", measurement,
            {"The parts at " + ToString(ToRoi(best->from)) + " and " + ToString(ToRoi(best->to)) +
             " (x, y, width, height) are the same, " + FixedText(offset.x, 0) + " pixels across and " +
             FixedText(offset.y, 0) + " down from each other, turned by " + FixedText(best->rotation, 1) +
             " degrees and scaled by " + FixedText(best->scale, 3) +
             ". Nothing tells which of them is the copy."});
    }
    if (!verdict.reason.empty())
        return result.Judge(OrvVerdict::WorthALook, "A pattern, or lettering", measurement, {verdict.reason});
    result.Judge(OrvVerdict::NothingFound, "Nothing found", measurement);
}

}  // namespace

void OrvCopyMoveFilter::SetCopyParameters(VecParameter input) {
    SetParameters(std::move(input), {},
                  {Parameter::Output(ParameterType::TableString, "numbers", "Numbers"),
                   Parameter::Output(ParameterType::TableString, "pairs", "Pairs")});
}

void OrvCopyMoveFilter::Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                                OrvSlotResult& result) const {
    job.SetProgress(0.0, "Looking for parts that occur twice");
    const CopyMoveResult copies = Find(GetSamples(file, job), input, job);
    if (!copies.isApplicable) return result.SayNothing(copies.whyNot);
    ShowCopies(copies, result);
    JudgeCopies(copies, JudgeFound(copies), result);
}
