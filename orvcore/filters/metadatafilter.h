#pragma once

#include "orvcore/filter/filter.h"

// Everything that EXIF, GPS, maker notes, IPTC, XMP and comments say, both files side by side, and what in it
// does not fit together.
class MetadataFilter : public OrvFilter {
  public:
    MetadataFilter();
    int GetVersion() const override { return 3; }
    bool GivesVerdict() const override { return true; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
    void Merge(const OrvSlotResult* evidence, const OrvSlotResult* reference,
               VecParameter& output) const override;
};
