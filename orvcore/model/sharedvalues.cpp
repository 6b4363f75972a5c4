#include "orvcore/model/sharedvalues.h"

#include "zorbase/zorexception.h"

std::shared_ptr<const void> OrvSharedValues::Get(const std::string& key, const std::function<Made()>& make) {
    std::shared_ptr<Entry> entry;
    {
        const std::lock_guard lock(m_mutex);
        std::shared_ptr<Entry>& place = m_entries[key];
        if (!place) place = std::make_shared<Entry>();
        entry = place;
        if (entry->value) return entry->value;
    }
    const std::lock_guard making(entry->making);
    {
        const std::lock_guard lock(m_mutex);
        if (entry->value) return entry->value;
        if (entry->failure) std::rethrow_exception(entry->failure);
    }
    try {
        Made made = make();
        const std::lock_guard lock(m_mutex);
        entry->value = made.value;
        return made.value;
    } catch (const ZorException& exception) {
        if (exception.GetKind() == ZorException::Kind::Format) {
            const std::lock_guard lock(m_mutex);
            entry->failure = std::current_exception();
        }
        throw;
    }
}

bool OrvSharedValues::Has(const std::string& key) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(key);
    return found != m_entries.end() && found->second->value != nullptr;
}
