#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/model/project.h"
#include "orvcore/report/resultpictures.h"

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

// A self-contained HTML page: the program with its version and those of the libraries that read the pictures, the files with size, dates
// and hashes, and for every section the filter, its version, its parameters, every text result, and its pictures, maps with their
// legends, and plots. Everything that came from a file is escaped; the page has no scripts and loads nothing.
std::string BuildHtmlReport(const OrvReport& report);

// The text results of one section as tab separated values, inert in a spreadsheet.
std::string BuildTsv(const OrvReportSection& section);

// The parts of such a page, for a report on many files: head, then per file its facts and sections, then foot.
// project: a file name, "" for none.
std::string HtmlReportBegin(
    const OrvReport& report);  // all of a page on one pair of files before its sections
std::string HtmlReportHead(const std::string& title, const std::string& project);
std::string HtmlReportFiles(const OrvReport& report);
// link: where a picture of the section is found ("" leaves it out); without one, pictures are part of the page.
using OrvPictureLink = std::function<std::string(const OrvResultPicture&)>;
std::string HtmlReportSection(const OrvReportSection& section, const OrvPictureLink& link = {});
std::string HtmlReportFoot();
