#pragma once

#include <memory>

#include "orvcore/filter/filterresult.h"
#include "orvcore/formats/jpegcoefficients.h"
#include "orvcore/formats/jpegtables/jpegtables.h"
#include "orvcore/formats/structure/filestructure.h"
#include "orvcore/model/loadedfile.h"
#include "orvcore/tables/comparetables.h"

// What the filters on a file's own structure share, worked out once per file (see intermediates.h for the rules).

std::shared_ptr<const FileStructure> GetFileStructure(const OrvLoadedFile& file, const OrvJob& job);
// Of a JPEG; without tables for any other file.
std::shared_ptr<const JpegTables> GetJpegTables(const OrvLoadedFile& file);
// The coefficients of the first component alone. Throws what ReadJpegCoefficients throws.
std::shared_ptr<const JpegCoefficients> GetFirstCoefficients(const OrvLoadedFile& file, const OrvJob& job);

// "" for a JPEG whose coefficients can be read, otherwise why not; looks at headers only.
std::string WhyNoCoefficients(const OrvLoadedFile& file);

// For a filter with an output "table" and a hidden output "rows" that Compute filled: the table of both files.
void MergeRows(VecParameter& output, const OrvSlotResult* evidence, const OrvSlotResult* reference,
               const TableComparison& how);
