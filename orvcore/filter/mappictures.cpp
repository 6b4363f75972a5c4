#include "orvcore/filter/mappictures.h"

#include "orvcore/filter/filterresult.h"
#include "orvcore/filter/intermediates.h"

Image OrvMapPictures::Get(int slot, const std::function<Image()>& draw) {
    Image picture;
    std::size_t bytes = 0;
    const std::uint64_t version = m_ranges->GetVersion();
    {
        const std::lock_guard lock(m_mutex);
        if (m_pictures[slot].IsValid() && m_versions[slot] == version) {
            picture = m_pictures[slot];
        } else {
            picture = m_pictures[slot] = draw();
            m_versions[slot] = version;
            bytes = Bytes();
        }
    }
    if (bytes > 0)
        OrvMemoryBudget::Get().Note(shared_from_this(), bytes);
    else
        OrvMemoryBudget::Get().Touch(*this);
    return picture;
}

std::size_t OrvMapPictures::Drop() {
    const std::lock_guard lock(m_mutex);
    for (Image& picture : m_pictures)
        if (!IsPartInUse(picture.GetMat())) picture.Reset();
    return Bytes();
}

std::size_t OrvMapPictures::Bytes() const {
    std::size_t bytes = 0;
    for (const Image& picture : m_pictures) bytes += BytesOfMat(picture.GetMat());
    return bytes;
}

bool IsRangeByHand(const OrvFilterResult& result, const OrvMap& map) {
    return result.pictures && !map.isAutomatic && result.pictures->Ranges().Get(map.name) == map.range;
}
