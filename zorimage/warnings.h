#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace codec {

// Warnings as sentences: each said once, at most twenty.
class Warnings {
  public:
    void Add(const std::string& text);  // gets a full stop when it has no end
    bool IsEmpty() const { return m_texts.empty(); }
    std::vector<std::string> Take();

  private:
    std::vector<std::string> m_texts;
    std::size_t m_more = 0;
};

}  // namespace codec
