#include "orvcore/model/memorybudget.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

OrvMemoryBudget& OrvMemoryBudget::Get() {
    static OrvMemoryBudget budget;
    return budget;
}

std::size_t OrvMemoryBudget::DefaultLimit() {
    constexpr std::size_t kMost = 1000000000;
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return kMost;
    return std::min(kMost, static_cast<std::size_t>(pages) / 4 * static_cast<std::size_t>(pageSize));
}

void OrvMemoryBudget::SetLimit(std::size_t bytes) {
    {
        const std::lock_guard lock(m_mutex);
        m_limit = bytes == 0 ? DefaultLimit() : bytes;
    }
    Keep(nullptr);
}

std::size_t OrvMemoryBudget::GetLimit() const {
    const std::lock_guard lock(m_mutex);
    return m_limit;
}

void OrvMemoryBudget::Note(const std::shared_ptr<OrvDroppable>& item, std::size_t bytes) {
    {
        const std::lock_guard lock(m_mutex);
        m_items[item.get()] = {item, bytes, ++m_clock};
    }
    Keep(item.get());
}

void OrvMemoryBudget::Touch(const OrvDroppable& item) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_items.find(&item);
    if (found != m_items.end()) found->second.used = ++m_clock;
}

std::size_t OrvMemoryBudget::GetHeld() const {
    const std::lock_guard lock(m_mutex);
    std::size_t sum = 0;
    for (const auto& [pointer, item] : m_items)
        if (!item.item.expired()) sum += item.bytes;
    return sum;
}

OrvMemoryBudget::Working::Working(std::size_t bytes) {
    OrvMemoryBudget& budget = Get();
    {
        const std::lock_guard lock(budget.m_mutex);
        m_bytes = std::min(bytes, budget.m_limit / 4);
        budget.m_working += m_bytes;
    }
    budget.Keep(nullptr);
}

OrvMemoryBudget::Working::~Working() {
    const std::lock_guard lock(Get().m_mutex);
    Get().m_working -= m_bytes;
}

std::size_t OrvMemoryBudget::Sum() {
    std::erase_if(m_items, [](const auto& entry) { return entry.second.item.expired(); });
    std::size_t sum = 0;
    for (const auto& [pointer, item] : m_items) sum += item.bytes;
    return sum;
}

void OrvMemoryBudget::Keep(const OrvDroppable* except) {
    struct Candidate {
        std::shared_ptr<OrvDroppable> item;
        std::uint64_t used;
        std::size_t bytes;
    };
    std::vector<Candidate> candidates;
    std::size_t sum = 0;
    std::size_t limit = 0;
    {
        const std::lock_guard lock(m_mutex);
        sum = Sum() + m_working;
        limit = m_limit;
        if (sum <= limit) return;
        for (const auto& [pointer, item] : m_items)
            if (pointer != except)
                if (auto alive = item.item.lock())
                    candidates.push_back({std::move(alive), item.used, item.bytes});
    }
    std::sort(candidates.begin(), candidates.end(),
              [](const Candidate& a, const Candidate& b) { return a.used < b.used; });
    for (const Candidate& candidate : candidates) {
        if (sum <= limit) return;
        const std::size_t rest = std::min(candidate.item->Drop(), candidate.bytes);
        sum -= candidate.bytes - rest;
        const std::lock_guard lock(m_mutex);
        // Somebody may have noted it anew meanwhile.
        const auto found = m_items.find(candidate.item.get());
        if (found == m_items.end() || found->second.used != candidate.used) continue;
        if (rest > 0)
            found->second.bytes = rest;
        else
            m_items.erase(found);
    }
}

void ReturnLargeBlocks() {
    // What analyses take again and again is smaller, planes of large photographs are larger.
    constexpr int kLarge = 16 << 20;
    mallopt(M_MMAP_THRESHOLD, kLarge);
}

void ReturnFreeMemory() {
    malloc_trim(0);
}
