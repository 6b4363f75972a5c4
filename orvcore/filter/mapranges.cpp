#include "orvcore/filter/mapranges.h"

#include <algorithm>
#include <cmath>

void OrvMapRanges::Set(const std::string& map, const std::optional<OrvRange>& range) {
    const std::lock_guard lock(m_mutex);
    ++m_version;
    if (range)
        m_ranges[map] = *range;
    else
        m_ranges.erase(map);
}

std::optional<OrvRange> OrvMapRanges::Get(const std::string& map) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_ranges.find(map);
    return found == m_ranges.end() ? std::nullopt : std::optional(found->second);
}

Json OrvMapRanges::ToJson() const {
    const std::lock_guard lock(m_mutex);
    Json json = Json::object();
    for (const auto& [map, range] : m_ranges) json[map] = {range.low, range.high};
    return json;
}

void OrvMapRanges::FromJson(const Json& json) {
    // More maps than any filter has are not followed.
    constexpr std::size_t kMostMaps = 1000;
    std::map<std::string, OrvRange> ranges;
    if (json.is_object() && json.size() <= kMostMaps) {
        for (const auto& [map, ends] : json.items()) {
            if (!ends.is_array() || ends.size() != 2 || !ends[0].is_number() || !ends[1].is_number())
                continue;
            const OrvRange range{ends[0].get<double>(), ends[1].get<double>()};
            if (range.low < range.high) ranges[map] = range;
        }
    }
    const std::lock_guard lock(m_mutex);
    if (ranges == m_ranges) return;
    ++m_version;
    m_ranges = std::move(ranges);
}

std::uint64_t OrvMapRanges::GetVersion() const {
    const std::lock_guard lock(m_mutex);
    return m_version;
}

std::shared_ptr<OrvMapRanges> MapRangesOf(const std::string& filterId) {
    static std::mutex mutex;
    static std::map<std::string, std::shared_ptr<OrvMapRanges>> ofFilters;
    const std::lock_guard lock(mutex);
    std::shared_ptr<OrvMapRanges>& ranges = ofFilters[filterId];
    if (!ranges) ranges = std::make_shared<OrvMapRanges>();
    return ranges;
}

std::optional<OrvRange> RangeByHand(const OrvMap& map, double one, double other) {
    if (!std::isfinite(one) || !std::isfinite(other)) return {};
    OrvRange range{std::min(one, other), std::max(one, other)};
    if (map.scale == OrvMapScale::Diverging) {
        const double reach = std::max(std::abs(range.low), std::abs(range.high));
        range = {-reach, reach};
    } else if (map.scale != OrvMapScale::Sequential) {
        return {};
    }
    // A width that is lost in the numbers' digits cannot be drawn.
    const double width = range.high - range.low;
    if (!(width > 0.0) || !std::isfinite(width) || !std::isfinite(1.0 / width)) return {};
    return range;
}
