#pragma once

#include <string>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/model/project.h"

// One filter's part of a report. Either a result or the error that kept it from having one.
struct OrvReportSection {
    const OrvFilter* filter = nullptr;
    OrvFilterResultPtr result;
    std::string error;
};

struct OrvReport {
    OrvFilePtr files[kFileSlots];  // null for an empty slot
    OrvProject project;
    std::vector<OrvReportSection> sections;
};

// A self-contained HTML page: the program with its version, the files with size, dates and hashes, and for
// every section the filter, its version, its parameters and every text result. Everything that came from a
// file is escaped; the page has no scripts and loads nothing.
std::string BuildHtmlReport(const OrvReport& report);

// The text results of one section as tab separated values, inert in a spreadsheet.
std::string BuildTsv(const OrvReportSection& section);

// The parts of such a page, for a report on many files: head, then per file its facts and sections, then foot.
// project: a file name, "" for none.
std::string HtmlReportHead(const std::string& title, const std::string& project);
std::string HtmlReportFiles(const OrvReport& report);
std::string HtmlReportSection(const OrvReportSection& section);
std::string HtmlReportFoot();
