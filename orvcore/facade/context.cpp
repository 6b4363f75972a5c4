#include "orvcore/facade/context.h"

#include "orvcore/facade/interface.h"
#include "orvcore/filters/filterlist.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

OrvContext::OrvContext() : m_filters(CreateAllFilters()) {}

OrvContext::~OrvContext() = default;

std::vector<OrvFilter*> OrvContext::GetFilters() const {
    const std::lock_guard lock(m_mutex);
    std::vector<OrvFilter*> filters;
    for (const auto& filter : m_filters) filters.push_back(filter.get());
    return filters;
}

OrvFilter* OrvContext::RegisterFilter(std::unique_ptr<OrvFilter> filter, int position) {
    const std::lock_guard lock(m_mutex);
    OrvFilter* added = filter.get();
    const auto place = position < 0 || position > static_cast<int>(m_filters.size())
                           ? m_filters.end()
                           : m_filters.begin() + position;
    m_filters.insert(place, std::move(filter));
    return added;
}

OrvFilter* OrvContext::FindFilter(const std::string& id) const {
    const std::lock_guard lock(m_mutex);
    for (const auto& filter : m_filters)
        if (filter->GetId() == id) return filter.get();
    return nullptr;
}

OrvFilter* OrvContext::GetActiveFilter() const {
    const std::lock_guard lock(m_mutex);
    return m_activeFilter;
}

void OrvContext::SetActiveFilter(OrvFilter* filter) {
    const std::lock_guard lock(m_mutex);
    Show(filter);
    ++m_choice;
}

std::uint64_t OrvContext::NoteChoice() {
    const std::lock_guard lock(m_mutex);
    return ++m_choice;
}

bool OrvContext::SetActiveFilterFor(std::uint64_t choice, OrvFilter* filter,
                                    const std::function<void()>& also) {
    const std::lock_guard lock(m_mutex);
    if (m_choice != choice) return false;
    Show(filter);
    also();
    return true;
}

void OrvContext::Show(OrvFilter* filter) {
    if (m_activeFilter != nullptr) m_activeFilter->SetShown(false);
    m_activeFilter = filter;
    if (filter != nullptr) filter->SetShown(true);
}

wxString OrvContext::GetConfigDir() const {
    return PathToWx(GetAppDataPath() + "/");
}

wxString OrvContext::GetNoDataAvailableMessage() const {
    return "No data available for this file";
}

std::vector<Image> OrvContext::GetThumbnails() const {
    const std::lock_guard lock(m_mutex);
    return m_thumbnails;
}

void OrvContext::SetThumbnails(std::vector<Image> thumbnails) {
    const std::lock_guard lock(m_mutex);
    m_thumbnails = std::move(thumbnails);
}

void OrvContext::ClearThumbnails() {
    const std::lock_guard lock(m_mutex);
    m_thumbnails.clear();
}

void OrvContext::RefreshConfigurations() {
    if (OrvInterface* interface = GetInterface()) interface->StoreSettings();
}
