#include <cstdlib>

#include "orvcore/formats/provenance/verifier.h"

// Boxes, CBOR, claims, bindings and everything behind them: the input is a file with credentials, or a bare store. No
// input may crash, take long or much memory, and no place that is told may lie outside of the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace provenance;
    const ByteSpan file(data, size);
    const StoreSearch search = FindStores(file);
    if (!search.IsLegal()) return 0;
    Report report;
    ProvenanceTrust trust;
    trust.now = 1750000000;
    const Between between;
    Verifier(file, trust, between, report).Run(search);
    Narrate(report);
    for (const LineageRow& row : report.lineage)
        if (row.place.End() > size) std::abort();
    for (const UncoveredRange& range : report.uncovered)
        if (range.range.End() > size) std::abort();
    return 0;
}
