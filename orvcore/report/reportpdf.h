#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "orvcore/model/job.h"
#include "orvcore/report/reportdocument.h"

// The same report on A4 pages, as PDF 1.5: page numbers, a list of contents with page numbers and links, an outline for viewers, rows of
// tables kept together and labels repeated on each page, texts set by Pango, pictures and plots as they are in the document. Nothing of it
// is loaded from elsewhere; the fonts that are used are part of it. The same document gives the same bytes but for the date in
// the file's own information. take gets the file in pieces, in order. Throws ZorException (kind File) when it cannot be
// made, Aborted, and what take throws. Any thread.
void WriteReportPdf(const ReportDocument& document, const std::function<void(const char*, std::size_t)>& take,
                    const OrvJob& job);
