#include "orvcore/formats/metadatatable.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "orvcore/tables/tablemarkup.h"
#include "zorbase/text.h"

namespace {

enum Column : std::size_t { Group, Key, Name, Tag, Value, Stored, Offset };

using Row = std::vector<std::string>;
using Order = MetadataTableLayout::Order;
using Values = MetadataTableLayout::Values;

enum Difference { Changed, OnlyEvidence, OnlyReference, Equal };
constexpr const char* kDifferences[] = {"Changed", "Only in the evidence", "Only in the reference", "Equal"};

struct MergedRow {
    std::string group;
    const Row* slots[2] = {nullptr, nullptr};
    const Row& Any() const { return slots[0] != nullptr ? *slots[0] : *slots[1]; }
    Difference Kind() const {
        if (slots[1] == nullptr) return OnlyEvidence;
        if (slots[0] == nullptr) return OnlyReference;
        return (*slots[0])[Stored] == (*slots[1])[Stored] ? Equal : Changed;
    }
};

struct MergedGroup {
    std::string name;
    std::vector<MergedRow> rows;
};

std::vector<MergedRow> MergeRows(const TableString* const (&tables)[2]) {
    std::vector<MergedGroup> groups;
    std::map<std::string, std::size_t> groupAt;
    // Where the row of (group, key, which of that key) stands: group and place in it.
    std::map<std::tuple<std::string, std::string, int>, std::pair<std::size_t, std::size_t>> rowAt;
    for (int slot = 0; slot < 2; ++slot) {
        if (tables[slot] == nullptr) continue;
        std::map<std::pair<std::string, std::string>, int> seen;
        for (const Row& row : *tables[slot]) {
            const auto [group, isNewGroup] = groupAt.try_emplace(row[Group], groups.size());
            if (isNewGroup) groups.push_back({row[Group], {}});
            std::vector<MergedRow>& rows = groups[group->second].rows;
            const int which = seen[{row[Group], row[Key]}]++;
            const auto [place, isNewRow] =
                rowAt.try_emplace({row[Group], row[Key], which}, group->second, rows.size());
            if (isNewRow) rows.push_back({row[Group], {}});
            rows[place->second.second].slots[slot] = &row;
        }
    }
    std::vector<MergedRow> all;
    for (MergedGroup& group : groups) all.insert(all.end(), group.rows.begin(), group.rows.end());
    return all;
}

TableString OneFile(const std::vector<MergedRow>& rows, Values values) {
    TableString table{{"Group", "Name", "Tag"}};
    if (values != Values::AsStored) table[0].push_back("Value");
    if (values != Values::Interpreted) table[0].push_back("As Stored");
    table[0].push_back("Offset");
    for (const MergedRow& row : rows) {
        const Row& cells = row.Any();
        std::vector<std::string> shown{TableCell(cells[Group]), TableCell(cells[Name]),
                                       TableCell(cells[Tag])};
        if (values != Values::AsStored) shown.push_back(TableCell(cells[Value]));
        if (values != Values::Interpreted) shown.push_back(TableCell(cells[Stored]));
        shown.push_back(cells[Offset]);
        table.push_back(std::move(shown));
    }
    return table;
}

TableString BothFiles(const std::vector<MergedRow>& rows, Values values) {
    TableString table{{"Group", "Name", "Tag", "Difference"}};
    std::vector<Column> columns;
    if (values != Values::AsStored) columns.push_back(Value);
    if (values != Values::Interpreted) columns.push_back(Stored);
    columns.push_back(Offset);
    for (const Column column : columns) {
        if (column == Offset) {
            // As the page knows the columns that lead to a file's bytes.
            table[0].insert(table[0].end(), {"Offset (evidence)", "Offset (reference)"});
            continue;
        }
        for (const char* file : {"Evidence", "Reference"})
            table[0].push_back(std::string(file) + (column == Stored ? ", As Stored" : ""));
    }
    for (const MergedRow& row : rows) {
        const Difference difference = row.Kind();
        const CellMark mark = difference == Equal ? CellMark::None : CellMark::Doubtful;
        std::vector<std::string> shown{TableCell(row.group), TableCell(row.Any()[Name]),
                                       TableCell(row.Any()[Tag]), kDifferences[difference]};
        for (const Column column : columns)
            for (const Row* cells : row.slots)
                shown.push_back(cells == nullptr   ? std::string()
                                : column == Offset ? (*cells)[column]
                                                   : MarkCell(mark, (*cells)[column]));
        table.push_back(std::move(shown));
    }
    return table;
}

}  // namespace

TableString MetadataRows(const MetadataSet& set, const std::vector<MetadataKind>& kinds,
                         const std::string& search) {
    const std::string wanted = ToLower(Trim(search));
    const auto holds = [&wanted](const MetadataEntry& entry) {
        if (wanted.empty()) return true;
        for (const std::string* text :
             {&entry.label, &entry.key, &entry.group, &entry.tag, &entry.value, &entry.raw})
            if (ToLower(*text).find(wanted) != std::string::npos) return true;
        return false;
    };
    TableString rows;
    for (const MetadataEntry& entry : set.entries) {
        if (!kinds.empty() && std::find(kinds.begin(), kinds.end(), entry.kind) == kinds.end()) continue;
        if (!holds(entry)) continue;
        rows.push_back({entry.group, entry.key, entry.label.empty() ? entry.key : entry.label, entry.tag,
                        entry.value, entry.raw,
                        entry.offset ? std::to_string(*entry.offset) : std::string()});
    }
    return rows;
}

TableString MergeMetadataRows(const TableString* evidence, const TableString* reference,
                              const MetadataTableLayout& layout, MetadataDifferences* differences) {
    std::vector<MergedRow> rows = MergeRows({evidence, reference});
    if (evidence == nullptr || reference == nullptr)
        return rows.empty() ? TableString() : OneFile(rows, layout.values);
    if (differences != nullptr) {
        std::size_t counts[4] = {};
        for (const MergedRow& row : rows) ++counts[row.Kind()];
        *differences = {counts[Changed], counts[OnlyEvidence], counts[OnlyReference], counts[Equal]};
    }
    if (layout.order != Order::OfTheFile)
        std::stable_sort(rows.begin(), rows.end(),
                         [](const MergedRow& a, const MergedRow& b) { return a.Kind() < b.Kind(); });
    if (layout.order == Order::DifferencesOnly)
        std::erase_if(rows, [](const MergedRow& row) { return row.Kind() == Equal; });
    return rows.empty() ? TableString() : BothFiles(rows, layout.values);
}
