#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "orvcore/model/fileid.h"
#include "orvcore/model/memorybudget.h"
#include "zorimage/image.h"

// The pictures drawn from a result's maps, one per slot: drawn when they are asked for, and again when the memory budget has let
// them go meanwhile. Any thread.
class OrvMapPictures : public OrvDroppable, public std::enable_shared_from_this<OrvMapPictures> {
  public:
    Image Get(int slot, const std::function<Image()>& draw);
    std::size_t Drop() override;  // what no window shows

  private:
    std::size_t Bytes() const;  // under the lock

    std::mutex m_mutex;
    Image m_pictures[kFileSlots];
};
