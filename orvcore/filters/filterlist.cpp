#include "orvcore/filters/filterlist.h"

#include "orvcore/filters/errorlevelfilter.h"
#include "orvcore/filters/fileformatfilter.h"
#include "orvcore/filters/hexviewfilter.h"
#include "orvcore/filters/histogramfilter.h"
#include "orvcore/filters/metadatafilter.h"
#include "orvcore/filters/visualinspectionfilter.h"

namespace {

template <typename... Filters>
std::vector<std::unique_ptr<OrvFilter>> Make() {
    std::vector<std::unique_ptr<OrvFilter>> filters;
    (filters.push_back(std::make_unique<Filters>()), ...);
    return filters;
}

}  // namespace

std::vector<std::unique_ptr<OrvFilter>> CreateAllFilters() {
    return Make<
        // File
        FileFormatFilter, MetadataFilter, HexViewFilter,
        // Global
        VisualInspectionFilter, HistogramFilter,
        // Local
        ErrorLevelFilter>();
}
