#include "orvcore/tables/comparetables.h"

#include <algorithm>
#include <map>

#include "orvcore/tables/tablemarkup.h"

namespace {

using Row = std::vector<std::string>;
const std::string kNothing;

const std::string& Cell(const Row* row, std::size_t column) {
    return row != nullptr && column < row->size() ? (*row)[column] : kNothing;
}

// A row's keys and how many rows with the same stand before it.
class RowNames {
  public:
    explicit RowNames(std::size_t keys) : m_keys(keys) {}
    std::pair<Row, int> Next(const Row& row) {
        Row name(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(std::min(m_keys, row.size())));
        const int count = m_seen[name]++;
        return {std::move(name), count};
    }

  private:
    std::size_t m_keys;
    std::map<Row, int> m_seen;
};

struct Pair {
    const Row* evidence;
    const Row* reference;
};

std::vector<Pair> PairRows(const TableString& evidence, const TableString& reference, std::size_t keys) {
    std::map<std::pair<Row, int>, std::size_t> places;
    RowNames names(keys);
    for (std::size_t i = 0; i < evidence.size(); ++i) places[names.Next(evidence[i])] = i;
    std::vector<const Row*> partner(evidence.size(), nullptr);
    std::vector<std::vector<const Row*>> after(evidence.size() + 1);  // rows of the reference alone
    std::size_t place = 0;
    RowNames others(keys);
    for (const Row& row : reference) {
        const auto found = places.find(others.Next(row));
        if (found == places.end()) {
            after[place].push_back(&row);
        } else {
            partner[found->second] = &row;
            place = found->second + 1;
        }
    }
    std::vector<Pair> pairs;
    pairs.reserve(evidence.size() + reference.size());
    for (std::size_t i = 0; i <= evidence.size(); ++i) {
        for (const Row* row : after[i]) pairs.push_back({nullptr, row});
        if (i < evidence.size()) pairs.push_back({&evidence[i], partner[i]});
    }
    return pairs;
}

TableString OneFile(const TableString& rows, const TableComparison& how) {
    TableString table;
    table.reserve(rows.size() + 1);
    table.push_back(how.labels);
    for (const Row& row : rows) {
        Row cells;
        for (std::size_t column = 0; column < how.labels.size(); ++column) {
            const std::string& value = Cell(&row, column);
            const bool isWarning = column == how.warning && !value.empty();
            cells.push_back(MarkCell(isWarning ? CellMark::Doubtful : CellMark::None, value));
        }
        table.push_back(std::move(cells));
    }
    return table;
}

}  // namespace

TableString CompareTables(const TableString* evidence, const TableString* reference,
                          const TableComparison& how) {
    const TableString* only = evidence == nullptr ? reference : reference == nullptr ? evidence : nullptr;
    if (only != nullptr) return only->empty() ? TableString() : OneFile(*only, how);
    if (evidence == nullptr || (evidence->empty() && reference->empty())) return {};

    TableString table(1);
    for (std::size_t column = 0; column < how.labels.size(); ++column) {
        if (column < how.keys) {
            table[0].push_back(how.labels[column]);
            continue;
        }
        table[0].push_back(how.labels[column] + " (evidence)");
        table[0].push_back(how.labels[column] + " (reference)");
    }
    for (const Pair& pair : PairRows(*evidence, *reference, how.keys)) {
        Row cells;
        const bool isAlone = pair.evidence == nullptr || pair.reference == nullptr;
        const Row* known = pair.evidence != nullptr ? pair.evidence : pair.reference;
        for (std::size_t column = 0; column < how.labels.size(); ++column) {
            if (column < how.keys) {
                cells.push_back(MarkCell(isAlone ? CellMark::Doubtful : CellMark::None, Cell(known, column)));
                continue;
            }
            const bool mayDiffer =
                std::find(how.indifferent.begin(), how.indifferent.end(), column) != how.indifferent.end();
            const bool isEqual = Cell(pair.evidence, column) == Cell(pair.reference, column);
            for (const Row* row : {pair.evidence, pair.reference}) {
                const std::string& value = Cell(row, column);
                const bool isMarked = !value.empty() && (column == how.warning || (!isEqual && !mayDiffer));
                cells.push_back(MarkCell(isMarked ? CellMark::Doubtful : CellMark::None, value));
            }
        }
        table.push_back(std::move(cells));
    }
    return table;
}
