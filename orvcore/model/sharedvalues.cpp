#include "orvcore/model/sharedvalues.h"

#include <exception>
#include <utility>

#include "orvcore/model/memorybudget.h"
#include "zorbase/zorexception.h"

class OrvSharedValues::Entry : public OrvDroppable {
  public:
    std::size_t Drop() override {
        Made dropped;  // freed after the lock is
        const std::lock_guard lock(m_mutex);
        if (!m_made.value || m_made.value.use_count() > 1 || (m_made.isPartInUse && m_made.isPartInUse()))
            return m_made.value ? m_made.bytes : 0;
        std::swap(dropped, m_made);
        return 0;
    }
    // The value, or the failure thrown, or null.
    std::shared_ptr<const void> Take() const {
        const std::lock_guard lock(m_mutex);
        if (!m_made.value && m_failure) std::rethrow_exception(m_failure);
        return m_made.value;
    }
    void Set(const Made& made) {
        const std::lock_guard lock(m_mutex);
        m_made = made;
    }
    void SetFailure(std::exception_ptr failure) {
        const std::lock_guard lock(m_mutex);
        m_failure = std::move(failure);
    }

    std::mutex making;  // held while the value is made

  private:
    mutable std::mutex m_mutex;  // guards what follows
    Made m_made;
    std::exception_ptr m_failure;
};

std::shared_ptr<const void> OrvSharedValues::Get(const std::string& key, const std::function<Made()>& make) {
    std::shared_ptr<Entry> entry;
    {
        const std::lock_guard lock(m_mutex);
        std::shared_ptr<Entry>& place = m_entries[key];
        if (!place) place = std::make_shared<Entry>();
        entry = place;
    }
    OrvMemoryBudget& budget = OrvMemoryBudget::Get();
    if (auto value = entry->Take()) {
        budget.Touch(*entry);
        return value;
    }
    const std::lock_guard making(entry->making);
    if (auto value = entry->Take()) return value;
    try {
        const Made made = make();
        entry->Set(made);
        budget.Note(entry, made.bytes);
        return made.value;
    } catch (const ZorException& exception) {
        if (exception.GetKind() == ZorException::Kind::Format) entry->SetFailure(std::current_exception());
        throw;
    }
}

bool OrvSharedValues::Has(const std::string& key) const {
    std::shared_ptr<Entry> entry;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_entries.find(key);
        if (found == m_entries.end()) return false;
        entry = found->second;
    }
    try {
        return entry->Take() != nullptr;
    } catch (const ZorException&) {
        return false;
    }
}
