#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "orvcore/filter/mapranges.h"
#include "orvcore/model/fileid.h"
#include "orvcore/model/memorybudget.h"
#include "zorimage/image.h"

// The pictures drawn from a result's maps, one per slot: drawn when they are asked for, and again when the memory budget has let
// them go meanwhile. Any thread.
class OrvMapPictures : public OrvDroppable, public std::enable_shared_from_this<OrvMapPictures> {
  public:
    // ranges: those that the user has set; what was drawn before they changed is drawn anew.
    explicit OrvMapPictures(std::shared_ptr<const OrvMapRanges> ranges) : m_ranges(std::move(ranges)) {}
    const OrvMapRanges& Ranges() const { return *m_ranges; }

    Image Get(int slot, const std::function<Image()>& draw);
    std::size_t Drop() override;  // what no window shows

  private:
    std::size_t Bytes() const;  // under the lock

    const std::shared_ptr<const OrvMapRanges> m_ranges;
    std::mutex m_mutex;
    Image m_pictures[kFileSlots];
    std::uint64_t m_versions[kFileSlots] = {};  // of the ranges they were drawn with
};

struct OrvFilterResult;
// Whether one of the maps that the result's GetMaps gives is drawn over a range that the user has set.
bool IsRangeByHand(const OrvFilterResult& result, const OrvMap& map);
