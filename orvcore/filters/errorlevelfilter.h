#pragma once

#include "orvcore/filter/filter.h"

// How much each pixel changes when the picture is saved as JPEG once more.
class ErrorLevelFilter : public OrvFilterImage {
  public:
    ErrorLevelFilter();

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void PostProcess(const VecParameter& postProcessing, const OrvJob& job,
                     OrvSlotResult& result) const override;
};
