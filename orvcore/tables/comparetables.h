#pragma once

#include <cstddef>
#include <vector>

#include "zorbase/parameter.h"

// How the plain rows of two files come together in one table for showing.
struct TableComparison {
    std::vector<std::string> labels;  // of the rows' columns
    std::size_t keys = 1;             // so many leading columns say which rows belong together
    std::vector<std::size_t>
        indifferent;  // columns that may differ without being marked (offsets, running numbers)
    std::size_t warning =
        static_cast<std::size_t>(-1);  // a column whose texts are marked as doubtful by themselves
};

// The rows of one file, or of both side by side, with labels and mark-up; null for a slot without file. With both
// files every column behind the keys stands twice, "Offset (evidence)" and "Offset (reference)"; rows belong
// together by their keys and the count of equal keys before them; what only the reference has stands where it
// stands there, behind the row before it. Values that differ, and rows of one file alone, are marked as doubtful.
// Empty when no file has a row. Rows may be shorter than labels.
TableString CompareTables(const TableString* evidence, const TableString* reference,
                          const TableComparison& how);
