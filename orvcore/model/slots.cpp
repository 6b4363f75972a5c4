#include "orvcore/model/slots.h"

#include <algorithm>
#include <utility>

#include "zorbase/text.h"

OrvSlots::OrvSlots(std::function<void(int slot)> listChanged)
    : m_listChanged(std::move(listChanged)),
      m_lister([this](int slot, const std::string& folder, std::shared_ptr<const OrvPaths> paths) {
          StoreList(slot, folder, std::move(paths));
      }) {}

OrvFilePtr OrvSlots::Get(OrvFileId slot) const {
    const std::lock_guard lock(m_mutex);
    return m_slots[slot].file;
}

OrvFilePtr OrvSlots::GetActive(OrvFileId slot) const {
    const std::lock_guard lock(m_mutex);
    return slot == OrvReference && !m_isReferenceEnabled ? nullptr : m_slots[slot].file;
}

void OrvSlots::Set(OrvFileId slot, OrvFilePtr file) {
    {
        const std::lock_guard lock(m_mutex);
        m_slots[slot].file = std::move(file);
    }
    RefreshList(slot);
}

void OrvSlots::Switch() {
    {
        const std::lock_guard lock(m_mutex);
        std::swap(m_slots[OrvEvidence], m_slots[OrvReference]);
    }
    // A list still being made was asked for under the other slot's number.
    RefreshList(OrvEvidence);
    RefreshList(OrvReference);
}

void OrvSlots::EnableReference(bool enabled) {
    const std::lock_guard lock(m_mutex);
    m_isReferenceEnabled = enabled;
}

bool OrvSlots::IsReferenceEnabled() const {
    const std::lock_guard lock(m_mutex);
    return m_isReferenceEnabled;
}

std::shared_ptr<const OrvPaths> OrvSlots::GetList(OrvFileId slot) const {
    const std::lock_guard lock(m_mutex);
    return m_slots[slot].list;
}

int OrvSlots::GetIndex(OrvFileId slot) const {
    const std::lock_guard lock(m_mutex);
    return m_slots[slot].index;
}

int OrvSlots::IndexOf(const Slot& slot) {
    if (!slot.file || !slot.list) return -1;
    const OrvPaths& paths = *slot.list;
    const auto place =
        std::lower_bound(paths.begin(), paths.end(), slot.file->GetPath(),
                         [](const std::string& a, const std::string& b) { return CompareNatural(a, b) < 0; });
    if (place == paths.end() || *place != slot.file->GetPath()) return -1;
    return static_cast<int>(place - paths.begin());
}

void OrvSlots::RefreshList(OrvFileId id) {
    std::string path;
    {
        const std::lock_guard lock(m_mutex);
        Slot& slot = m_slots[id];
        if (!slot.file) {
            slot = Slot();
            m_lister.Cancel(id);
            return;
        }
        path = slot.file->GetPath();
    }
    // Outside the lock: a folder far away may take its time, and the window asks for names meanwhile.
    const std::string folder = PathFolder(path);
    const auto facts = GetFileFacts(folder);
    const std::time_t modified = facts ? facts->modified : 0;
    {
        const std::lock_guard lock(m_mutex);
        Slot& slot = m_slots[id];
        if (!slot.file || slot.file->GetPath() != path) return;
        slot.index = IndexOf(slot);
        if (slot.list && slot.listFolder == folder && slot.listModified == modified && slot.index >= 0)
            return;
        if (slot.listFolder != folder) slot.list.reset();
        slot.listFolder = folder;
        slot.listModified = modified;
    }
    m_lister.Request(id, folder, path);
}

void OrvSlots::StoreList(int id, const std::string& folder, std::shared_ptr<const OrvPaths> paths) {
    {
        const std::lock_guard lock(m_mutex);
        Slot& slot = m_slots[id];
        if (!slot.file || slot.listFolder != folder) return;
        slot.list = std::move(paths);
        slot.index = IndexOf(slot);
    }
    m_listChanged(id);
}
