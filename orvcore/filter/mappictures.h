#pragma once

#include <functional>
#include <mutex>

#include "orvcore/model/fileid.h"
#include "zorimage/image.h"

// The pictures drawn from a result's maps, one per slot, made once. Any thread.
class OrvMapPictures {
  public:
    Image Get(int slot, const std::function<Image()>& draw) {
        const std::lock_guard lock(m_mutex);
        if (!m_pictures[slot].IsValid()) m_pictures[slot] = draw();
        return m_pictures[slot];
    }
    void Drop() {
        const std::lock_guard lock(m_mutex);
        for (Image& picture : m_pictures) picture.Reset();
    }

  private:
    std::mutex m_mutex;
    Image m_pictures[kFileSlots];
};
