#pragma once

#include "orvcore/filter/filter.h"

// How often each level occurs, as bars per channel, with its numbers and a measure of contrast enhancement.
// A file without a picture that can be decoded gets no plot and says why.
class HistogramFilter : public OrvFilterPlot {
  public:
    HistogramFilter();
    bool GivesVerdict() const override { return true; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void PostProcess(const VecParameter& postProcessing, const OrvJob& job,
                     OrvSlotResult& result) const override;
};
