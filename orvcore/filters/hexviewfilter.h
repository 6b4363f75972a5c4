#pragma once

#include "orvcore/filter/filter.h"

// A stretch of the file's bytes as offset, hexadecimal digits and ASCII, the part of the file that they belong to, and where
// a text or sequence of bytes stands. It judges nothing.
class HexViewFilter : public OrvFilter {
  public:
    HexViewFilter();

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
};
