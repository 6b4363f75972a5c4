#pragma once

#include <vector>

#include "orvcore/model/casedata.h"
#include "orvcore/model/loadedfile.h"
#include "orvcore/report/reportdocument.h"

// The examiner's marks on one file for a report: the picture with the marks numbered, and below it what each says and where it lies.
// Nothing where the file has none; without the picture where it cannot be decoded. Throws Aborted. Any thread.
std::vector<ReportBlock> MarkBlocks(const OrvFilePtr& file, const std::vector<OrvAnnotation>& marks,
                                    const OrvJob& job);
