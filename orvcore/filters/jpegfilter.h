#pragma once

#include "orvcore/filter/fileintermediates.h"
#include "orvcore/filter/filter.h"
#include "zorbase/text.h"

// What the filters on a JPEG's own tables and coefficients share.

// Texts and tables about the headers of a JPEG.
class OrvJpegFilter : public OrvFilter {
  public:
    using OrvFilter::OrvFilter;
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return file.GetInfo().format == FileFormat::Jpeg ? "" : "Not a JPEG";
    }
};

// A plot of the first component's coefficients as the file holds them. Its outputs have a text "warnings".
class OrvCoefficientPlot : public OrvFilterPlot {
  public:
    using OrvFilterPlot::OrvFilterPlot;
    bool GivesVerdict() const override { return true; }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return WhyNoCoefficients(file);
    }
    bool NeedsPicture() const override { return false; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const final {
        const auto read = GetFirstCoefficients(file, job.Piece(0.0, 0.8, {}));
        if (read->components.empty() || read->components[0].coefficients.empty())
            return result.SayNothing("No coefficients of the first component");
        result.Set("warnings", read->warnings.empty() ? std::string("None") : Join(read->warnings, "\n"));
        ComputePlot(read->components[0], input, job, result);
    }
    virtual void ComputePlot(const JpegCoefficientPlane& plane, const VecParameter& input, const OrvJob& job,
                             OrvSlotResult& result) const = 0;
};
