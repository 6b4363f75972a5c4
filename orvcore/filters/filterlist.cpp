#include "orvcore/filters/filterlist.h"

std::vector<std::unique_ptr<OrvFilter>> CreateAllFilters() {
    std::vector<std::unique_ptr<OrvFilter>> filters;
#define ORVANE_FILTER(name) filters.push_back(Make##name##Filter());
#include "orvcore/filters/filterrows.inc"
#undef ORVANE_FILTER
    return filters;
}
