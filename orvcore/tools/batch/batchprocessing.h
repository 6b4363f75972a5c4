#pragma once

#include <string>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/filter/resultcache.h"
#include "orvcore/model/options.h"
#include "orvcore/tools/folder/foldertable.h"

// Runs filters over many files and writes one report. The dialog's parameters, by index: which files, which
// filters and configurations, what to do, the report's name. The entries stand here once, for the dialog and
// for the work.

enum class BatchFiles { Evidence, EvidenceFolder, EvidenceFolderAndBelow, EvidenceAndReference };
enum class BatchTools { Active, ActiveFilter, AllFilters };
enum class BatchWork { FillCache, ReportFromCache, FillCacheAndReport };

// The parameters with their entries and defaults; report: the proposed name.
VecParameter BatchProcessingParameters(const std::string& report);

// A name that ends in .tsv or .txt gives tab separated values (one line per result), any other an HTML page. Result
// images are PNG files in a new folder "<name>-images" beside the report (numbered when there is one already).
// The report gets its name last, whole or not at all; when anything fails the new folder is
// removed again. A report that would take the name of one of the files worked on is refused before anything is
// done. Files of the folder that are no readable images are passed over; a file or a filter that fails is told
// in its place and keeps nothing else from being reported. "From the cache" computes only what is never kept
// on disk because it costs no more than loading it.
//
// filters: all there are, in their order; active: the one whose page is shown, null when there is none.
//
// Returns one row per file and configuration with the result image as thumbnail. Publishes nothing to the
// filters' pages. Throws ZorException.
FolderTable RunBatchProcessing(const VecParameter& parameters, const OrvFilePtr (&files)[kFileSlots],
                               const std::vector<OrvFilter*>& filters, OrvFilter* active,
                               const OrvOptions& options, const OrvResultCache& cache, const OrvJob& job);
