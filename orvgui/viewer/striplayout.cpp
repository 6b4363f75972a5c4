#include "orvgui/viewer/striplayout.h"

#include <algorithm>

namespace {

struct Row {
    std::vector<std::size_t> groups;
    int least = 0;  // with the gaps between
    int height = 0;
};

std::vector<Row> BreakIntoRows(const std::vector<StripGroup>& groups, int room, int gap) {
    std::vector<Row> rows;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const StripGroup& group = groups[i];
        if (!group.isShown) continue;
        if (rows.empty() || rows.back().least + gap + group.least > room) {
            if (!rows.empty() && group.isExtra) continue;
            rows.push_back({{i}, group.least, group.height});
            continue;
        }
        Row& row = rows.back();
        row.groups.push_back(i);
        row.least += gap + group.least;
        row.height = std::max(row.height, group.height);
    }
    return rows;
}

}  // namespace

StripPlaces PlaceStrip(const std::vector<StripGroup>& groups, int width, int gap, int margin) {
    StripPlaces places;
    places.groups.resize(groups.size());
    const int room = std::max(width - 2 * margin, 0);
    int y = margin;
    for (const Row& row : BreakIntoRows(groups, room, gap)) {
        int spare = std::max(room - row.least, 0);
        int x = margin;
        for (const std::size_t i : row.groups) {
            const StripGroup& group = groups[i];
            const int more = std::clamp(group.wanted - group.least, 0, spare);
            spare -= more;
            places.groups[i] = {x, y + (row.height - group.height) / 2, group.least + more, group.height};
            x += group.least + more + gap;
        }
        y += row.height + margin;
        ++places.rows;
    }
    places.height = places.rows > 0 ? y : 0;
    return places;
}
