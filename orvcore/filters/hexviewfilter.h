#pragma once

#include "orvcore/filter/filter.h"

// A stretch of the file's bytes as offset, hexadecimal digits and ASCII, the part of the file that they belong to, and where
// a text or sequence of bytes stands. It judges nothing.
class HexViewFilter : public OrvFilter {
  public:
    static constexpr const char* kId = "hex-view";

    HexViewFilter();

    // Input parameters of this filter, changed to show `count` bytes from an offset on; a usual length where count is 0, the
    // largest that is shown where it is more.
    static void Aim(VecParameter& input, std::uint64_t offset, std::uint64_t count);

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override;
};
