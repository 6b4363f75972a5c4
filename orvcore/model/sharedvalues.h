#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

// Values that are worked out once per key, however many threads ask: the first one makes it, the others wait for that key alone.
// An exception of the maker leaves nothing behind, so that the next one tries again; but a failure of kind Format, which lies in
// the bytes, is kept and thrown again. Makers may ask for other keys, not for their own. Values count against the memory budget:
// one that nobody uses may be dropped, and is made again when it is asked for.
class OrvSharedValues {
  public:
    struct Made {
        std::shared_ptr<const void> value;
        std::size_t bytes = 0;  // what it holds in memory
        // Whether somebody holds a part of the value without holding the value; may be empty.
        std::function<bool()> isPartInUse;
    };

    std::shared_ptr<const void> Get(const std::string& key, const std::function<Made()>& make);
    // Whether it is there already; never waits for a maker.
    bool Has(const std::string& key) const;

  private:
    class Entry;

    mutable std::mutex m_mutex;  // guards the list; never held while a value is made
    std::map<std::string, std::shared_ptr<Entry>> m_entries;
};
