#pragma once

#include <wx/string.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "orvcore/filter/filter.h"

// The core's process-wide state that is not a request: the filters, which of them is active, folders,
// thumbnails.
class OrvContext {
  public:
    OrvContext();
    ~OrvContext();

    // The filters in the order of the tree. The pointers stay valid as long as the context. Filters are
    // registered before the first request that names them; position -1 appends.
    std::vector<OrvFilter*> GetFilters() const;
    OrvFilter* RegisterFilter(std::unique_ptr<OrvFilter> filter, int position = -1);
    OrvFilter* FindFilter(const std::string& id) const;

    OrvFilter* GetActiveFilter() const;
    void SetActiveFilter(OrvFilter* filter);  // a choice of the user's
    // Counts another choice of the user's and returns its number.
    std::uint64_t NoteChoice();
    // Makes the filter the active one and calls `also` before anybody can choose again, unless the user has made a newer
    // choice than this one; whether it did. For the worker, which carries out what was asked a while ago.
    bool SetActiveFilterFor(std::uint64_t choice, OrvFilter* filter, const std::function<void()>& also);

    // The installed data folder with a trailing separator; icons are in "img" below it.
    wxString GetConfigDir() const;
    wxString GetNoDataAvailableMessage() const;

    // Pictures that go with the rows of the newest batch table.
    std::vector<Image> GetThumbnails() const;
    void SetThumbnails(std::vector<Image> thumbnails);
    void ClearThumbnails();

    // Keeps all configurations on disk and brings each one's status in line with the results held.
    void RefreshConfigurations();

  private:
    void Show(OrvFilter* filter);  // under the lock

    mutable std::mutex m_mutex;
    std::vector<std::unique_ptr<OrvFilter>> m_filters;
    OrvFilter* m_activeFilter = nullptr;
    std::uint64_t m_choice = 0;
    std::vector<Image> m_thumbnails;
};

// The context of the living OrvInterface; never null while one lives, null otherwise.
OrvContext* GetContext();
