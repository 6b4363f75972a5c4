#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "zorbase/parameter.h"

// Orders and searches the rows of result tables without moving them. Cells are compared, filtered and searched by
// their texts without marks. Pure functions, safe on any thread; each gives up early, with an empty result, once a
// stop is asked for.

// Numbers of data rows (0 is the row after the labels) in the order in which they are shown.
using TableOrder = std::vector<std::uint32_t>;

// 0, 1, 2 … for every data row.
TableOrder OwnOrder(const TableString& table);

// The rows of `order` sorted by one column. A column's cells rank as: empty, then numbers ("-3.5", "12,345 bytes",
// "1/125 s"), then dates ("2026-11-21 14:03:59 +0100", "2026:11:21 …", "21.11.2026"), then texts in natural order.
// Stable, also when descending: equal cells keep the order that they have. A column that the table does not have
// leaves the order as it is.
TableOrder SortRows(const TableString& table, TableOrder order, int column, bool ascending,
                    const std::stop_token& stop = {});

// The rows of `order` in which each word of the filter occurs in some cell, without regard to case. An empty filter
// keeps all.
TableOrder FilterRows(const TableString& table, const TableOrder& order, std::string_view filter,
                      const std::stop_token& stop = {});

// Whether the text occurs in one cell, without regard to case. An empty text does not.
bool CellContains(std::string_view cell, std::string_view text);

// Less than, equal to or more than zero, as SortRows ranks the two cells.
int CompareCells(std::string_view a, std::string_view b);

// Whether the cell is a number, with or without a unit, so that it is shown aligned to the right.
bool IsNumberCell(std::string_view cell);
