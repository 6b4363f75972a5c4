#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "orvcore/filter/map.h"
#include "zorbase/json.h"

// The ranges that the user has set for a filter's maps, by the name of the map. They change how a map is drawn, in the window, in
// exports and in reports alike, and never what is computed. Any thread.
class OrvMapRanges {
  public:
    // Both ends of a range that RangeByHand gives; nothing: the map's own again.
    void Set(const std::string& map, const std::optional<OrvRange>& range);
    std::optional<OrvRange> Get(const std::string& map) const;
    std::uint64_t GetVersion() const;  // rises with every change

    // All of them as an object, for projects and bookmarks: {"Name of the map": [low, high]}.
    Json ToJson() const;
    // These and no others. What is no range is left out.
    void FromJson(const Json& json);

  private:
    mutable std::mutex m_mutex;
    std::map<std::string, OrvRange> m_ranges;
    std::uint64_t m_version = 0;
};

// Those of the filter with this id, one object for the whole run of the program. What is drawn follows when it is next asked for.
std::shared_ptr<OrvMapRanges> MapRangesOf(const std::string& filterId);

// The range between two numbers that the user wants, in either order: symmetric about zero for Diverging, whose neutral colour stays
// at zero. Nothing where the numbers are no range, and for Probability and Classes, whose range is fixed.
std::optional<OrvRange> RangeByHand(const OrvMap& map, double one, double other);
