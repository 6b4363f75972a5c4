#include "orvcore/formats/metadatatable.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "orvcore/tables/tablemarkup.h"

namespace {

enum Column { Group, Key, Name, Value };

struct MergedRow {
    std::string name;
    const std::string* values[2] = {nullptr, nullptr};
};

struct MergedGroup {
    std::string name;
    std::vector<MergedRow> rows;
};

}  // namespace

TableString MetadataRows(const MetadataSet& set, const std::vector<MetadataKind>& kinds, bool raw) {
    TableString rows;
    for (const MetadataEntry& entry : set.entries)
        if (kinds.empty() || std::find(kinds.begin(), kinds.end(), entry.kind) != kinds.end())
            rows.push_back({entry.group, entry.key, entry.label.empty() ? entry.key : entry.label,
                            raw ? entry.raw : entry.value});
    return rows;
}

TableString MergeMetadataRows(const TableString* evidence, const TableString* reference) {
    std::vector<MergedGroup> groups;
    std::map<std::string, std::size_t> groupAt;
    // Where the row of (group, key, which of that key) stands: group and place in it.
    std::map<std::tuple<std::string, std::string, int>, std::pair<std::size_t, std::size_t>> rowAt;
    const TableString* tables[2] = {evidence, reference};
    for (int slot = 0; slot < 2; ++slot) {
        if (tables[slot] == nullptr) continue;
        std::map<std::pair<std::string, std::string>, int> seen;
        for (const std::vector<std::string>& row : *tables[slot]) {
            const auto [group, isNewGroup] = groupAt.try_emplace(row[Group], groups.size());
            if (isNewGroup) groups.push_back({row[Group], {}});
            std::vector<MergedRow>& rows = groups[group->second].rows;
            const int which = seen[{row[Group], row[Key]}]++;
            const auto [place, isNewRow] =
                rowAt.try_emplace({row[Group], row[Key], which}, group->second, rows.size());
            if (isNewRow) rows.push_back({row[Name], {}});
            rows[place->second.second].values[slot] = &row[Value];
        }
    }
    if (groups.empty()) return {};

    const bool isComparison = evidence != nullptr && reference != nullptr;
    TableString table{{"Group", "Name"}};
    if (evidence != nullptr) table[0].push_back("Evidence");
    if (reference != nullptr) table[0].push_back("Reference");
    for (const MergedGroup& group : groups)
        for (const MergedRow& row : group.rows) {
            const bool isEqual =
                row.values[0] != nullptr && row.values[1] != nullptr && *row.values[0] == *row.values[1];
            const CellMark mark = isComparison && !isEqual ? CellMark::Doubtful : CellMark::None;
            std::vector<std::string> cells{TableCell(group.name), TableCell(row.name)};
            for (int slot = 0; slot < 2; ++slot)
                if (tables[slot] != nullptr)
                    cells.push_back(row.values[slot] != nullptr ? MarkCell(mark, *row.values[slot])
                                                                : std::string());
            table.push_back(std::move(cells));
        }
    return table;
}
