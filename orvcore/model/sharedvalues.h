#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

// Values that are worked out once per key, however many threads ask: the first one makes it, the others wait for that key alone.
// An exception of the maker leaves nothing behind, so that the next one tries again; but a failure of kind Format, which lies in
// the bytes, is kept and thrown again. Makers may ask for other keys, not for their own.
class OrvSharedValues {
  public:
    struct Made {
        std::shared_ptr<const void> value;
        std::size_t bytes = 0;  // what it holds in memory
    };

    std::shared_ptr<const void> Get(const std::string& key, const std::function<Made()>& make);
    // Whether it is there already; never waits for a maker.
    bool Has(const std::string& key) const;

  private:
    struct Entry {
        std::mutex making;  // held while the value is made
        std::shared_ptr<const void> value;
        std::exception_ptr failure;
    };

    mutable std::mutex m_mutex;  // guards the list and what entries hold; never held while a value is made
    std::map<std::string, std::shared_ptr<Entry>> m_entries;
};
