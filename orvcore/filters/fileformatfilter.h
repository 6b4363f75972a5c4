#pragma once

#include "orvcore/filter/filter.h"

// What the file itself says before any pixel is looked at: where it lies, how large and how old it is, of
// what format it is by its content and whether its name agrees, what its headers say about the picture, and
// its hashes.
class FileFormatFilter : public OrvFilter {
  public:
    FileFormatFilter();
    int GetVersion() const override { return 4; }
    bool GivesVerdict() const override { return true; }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
};
