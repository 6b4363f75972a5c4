#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

// Something that takes memory and can be made again: a decoded picture, a residual, the maps of a result.
class OrvDroppable {
  public:
    virtual ~OrvDroppable() = default;
    // Lets go what nobody uses, and answers how many bytes it holds still. Called on any thread, under no lock of the budget.
    virtual std::size_t Drop() = 0;
};

// The one budget of bytes over everything that is held only because it would take time to make again. Where it is exceeded, the
// least recently used goes first; what is in use stays, so the sum can lie above the limit. Items that have died count no more.
// Any thread.
class OrvMemoryBudget {
  public:
    static OrvMemoryBudget& Get();

    // The smaller of 1 GB and a quarter of the machine's memory.
    static std::size_t DefaultLimit();
    void SetLimit(std::size_t bytes);  // 0: the default
    std::size_t GetLimit() const;

    // The item holds so many bytes now and was used now; then others go until the budget is kept. Not under a lock that a Drop
    // takes.
    void Note(const std::shared_ptr<OrvDroppable>& item, std::size_t bytes);
    void Touch(const OrvDroppable& item);
    std::size_t GetHeld() const;

    // Room for the work that goes on as long as this lives: what is held makes room for it before the work begins, so that the peak
    // of an analysis does not come on top of a full budget. At most a quarter of the limit counts.
    class Working {
      public:
        explicit Working(std::size_t bytes);
        ~Working();
        Working(const Working&) = delete;
        Working& operator=(const Working&) = delete;

      private:
        std::size_t m_bytes;
    };

  private:
    struct Item {
        std::weak_ptr<OrvDroppable> item;
        std::size_t bytes = 0;
        std::uint64_t used = 0;
    };

    void Keep(const OrvDroppable* except);
    std::size_t Sum();  // under the lock; forgets the dead

    mutable std::mutex m_mutex;
    std::map<const OrvDroppable*, Item> m_items;
    std::size_t m_limit = DefaultLimit();
    std::size_t m_working = 0;
    std::uint64_t m_clock = 0;
};

// Has the C library's allocator return large blocks to the system when they are freed. By itself it raises the size from which it does
// so to 32 MB, and planes of pictures below that leave holes in its heap which stay with the process. Once, before work begins.
void ReturnLargeBlocks();
// Returns what it has kept of smaller ones. Takes some milliseconds: after work.
void ReturnFreeMemory();
