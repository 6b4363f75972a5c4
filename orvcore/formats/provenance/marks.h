#pragma once

#include <string>
#include <vector>

#include "orvcore/formats/metadata.h"
#include "orvcore/formats/provenance/report.h"

// Marks that generators of pictures leave outside of credentials: source types in XMP, texts in PNG chunks, comments,
// software fields. Anybody can write or remove them. The list is data/generator-marks.tsv, compiled in.
namespace provenance {

// One row of the list.
struct MarkRow {
    const char* mark;    // what stands there
    const char* where;   // see data/generator-marks.tsv
    const char* writer;  // what writes it
    const char* source;  // where that is documented
};
extern const MarkRow kMarkRows[];
extern const std::size_t kMarkRowCount;

// The marks in a file's metadata and, of a PNG, in its text chunks (packed ones unpacked up to 4 MB each).
std::vector<Mark> FindMarks(ByteSpan file, const MetadataSet& metadata);

}  // namespace provenance
