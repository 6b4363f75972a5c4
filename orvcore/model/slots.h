#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "orvcore/model/fileid.h"
#include "orvcore/model/filelister.h"
#include "orvcore/model/loadedfile.h"

// The two file slots: which snapshot is in each, and the list of readable files beside it. Safe on any
// thread; the lock is never held while a file is read.
class OrvSlots {
  public:
    // listChanged is called on the lister's thread.
    explicit OrvSlots(std::function<void(int slot)> listChanged);

    OrvFilePtr Get(OrvFileId slot) const;
    // What analyses see: an empty reference while the reference is switched off.
    OrvFilePtr GetActive(OrvFileId slot) const;
    void Set(OrvFileId slot, OrvFilePtr file);
    void Switch();

    void EnableReference(bool enabled);
    bool IsReferenceEnabled() const;

    std::shared_ptr<const OrvPaths> GetList(OrvFileId slot) const;  // null while there is none
    int GetIndex(OrvFileId slot) const;  // of the slot's file, -1 when it is not in the list
    bool IsListing(OrvFileId slot) const { return m_lister.IsListing(slot); }
    bool WaitForLists(int timeoutMs) { return m_lister.WaitIdle(timeoutMs); }

  private:
    struct Slot {
        OrvFilePtr file;
        std::string listFolder;
        std::time_t listModified = 0;
        std::shared_ptr<const OrvPaths> list;
        int index = -1;
    };
    void RefreshList(OrvFileId slot);
    void StoreList(int slot, const std::string& folder, std::shared_ptr<const OrvPaths> paths);
    static int IndexOf(const Slot& slot);

    mutable std::mutex m_mutex;
    Slot m_slots[kFileSlots];
    bool m_isReferenceEnabled = true;
    std::function<void(int slot)> m_listChanged;
    OrvFileLister m_lister;  // last: its thread ends before anything that it touches
};
