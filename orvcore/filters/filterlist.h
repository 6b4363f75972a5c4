#pragma once

#include <memory>
#include <vector>

#include "orvcore/filter/filter.h"

// Every filter of the program, in the order and the groups of the tree. Adding a filter is one line in
// filterlist.cpp.
std::vector<std::unique_ptr<OrvFilter>> CreateAllFilters();
