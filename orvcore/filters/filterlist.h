#pragma once

#include <memory>
#include <vector>

#include "orvcore/filter/filter.h"

// Every filter of the program, in the order and the groups of the tree. Adding a filter is one row in filterrows.inc.
std::vector<std::unique_ptr<OrvFilter>> CreateAllFilters();

// The makers of the filters, one per row. A filter is one source file without a header: its class in an unnamed namespace, and this
// function.
#define ORVANE_FILTER(name) std::unique_ptr<OrvFilter> Make##name##Filter();
#include "orvcore/filters/filterrows.inc"
#undef ORVANE_FILTER
