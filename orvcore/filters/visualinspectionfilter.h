#pragma once

#include "orvcore/filter/filter.h"

// The picture itself, to be looked at: nothing is computed but how it is shown.
class VisualInspectionFilter : public OrvFilterImage {
  public:
    VisualInspectionFilter();
    int GetVersion() const override { return 2; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void PostProcess(const VecParameter& postProcessing, const OrvJob& job,
                     OrvSlotResult& result) const override;
};
