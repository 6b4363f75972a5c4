#pragma once

#include "orvcore/analysis/copymove.h"
#include "orvcore/filter/filter.h"
#include "orvcore/filter/filterresult.h"

// What the searches for copies share: a map with one class per pair, lines between twins, a table of the pairs, numbers and the verdict.
class OrvCopyMoveFilter : public OrvFilterImage {
  public:
    using OrvFilterImage::OrvFilterImage;
    bool GivesVerdict() const override { return true; }
    bool IsCacheable() const override { return true; }
    int GetVersion() const override { return 3; }

  protected:
    void SetCopyParameters(VecParameter input);
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const final;
    virtual CopyMoveResult Find(const cv::Mat& samples, const VecParameter& input,
                                const OrvJob& job) const = 0;
    virtual CopyMoveVerdict JudgeFound(const CopyMoveResult& copies) const = 0;
};
