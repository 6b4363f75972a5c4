#pragma once

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/model/project.h"
#include "orvcore/report/reportdocument.h"
#include "orvcore/report/resultpictures.h"

// One filter's part of a report. Either a result or the error that kept it from having one.
struct OrvReportSection {
    const OrvFilter* filter = nullptr;
    OrvFilterResultPtr result;
    std::string error;
    bool isBookmark = false;
    std::string title;  // of a bookmark; "" is the filter's name
    std::string note;   // the examiner's
};

// What goes into a report beside the case and the files: verdicts in one table, without or with what the bookmarks show, or with what
// every filter in use shows.
enum class OrvReportContents { Everything, Bookmarks, Verdicts };

struct OrvReport {
    OrvFilePtr files[kFileSlots];  // null for an empty slot
    OrvProject project;
    std::vector<OrvReportSection> sections;
    OrvReportContents contents = OrvReportContents::Everything;
    // The examiner's texts on the case and the exhibits: what and its value, in order. Rows without a value are left out.
    std::vector<std::pair<std::string, std::string>> caseData;
    std::vector<std::vector<std::string>> exhibits;  // row 0 holds the labels
    std::string logo;                                // a picture file at its head; "" none
    std::string logPlace;  // where the program's log stood; "" where there is none. Stands beside the date.
};

// Makes a report of what is handed to it piece by piece, so that no more than one filter's result has to be held. Pictures are kept as
// PNG. The document holds the case data, the files with hashes, thumbnails and the examiner's marks, a table of all verdicts, and for each section the method
// with its source and limits, parameters, verdict, rates of error where they were measured, pictures, maps with legends, plots and tables
// (long ones cut, and it is said); then the command line that repeats each result, the last self-test and the versions. Any thread.
class ReportBuilder {
  public:
    // report.sections are not taken: add each. job: thumbnails are decoded.
    ReportBuilder(const OrvReport& report, const OrvJob& job);
    void Add(const OrvReportSection& section);
    // A bookmark that could not be shown again, and why.
    void AddProblem(const std::string& name, const std::string& note, const std::string& problem);
    ReportDocument Finish();  // once, at the end

  private:
    void AddVerdicts(const OrvReportSection& section, const std::string& anchor);
    void AddMarks(const OrvFilePtr& file, std::vector<ReportBlock>& blocks);

    const OrvReport& m_report;
    OrvJob m_job;
    std::set<std::string> m_marked;  // SHA-256 of files whose marks are shown
    ReportDocument m_document;
    std::vector<ReportBlock> m_body;
    ReportTable m_verdicts;
    std::vector<std::pair<std::string, std::string>> m_commands;  // what it repeats, and the line
    int m_number = 0;
};

// All of it at once.
ReportDocument BuildReport(const OrvReport& report, const OrvJob& job);
std::string BuildHtmlReport(const OrvReport& report);

// The text results of one section as tab separated values, inert in a spreadsheet.
std::string BuildTsv(const OrvReportSection& section);

// The parts of such a page, for a report on many files: head, then per file its facts and sections, then foot.
// project: a file name, "" for none.
std::string HtmlReportHead(const std::string& title, const std::string& project);
std::string HtmlReportFiles(const OrvReport& report);
// link: where a picture of the section is found ("" leaves it out); without one, pictures are part of the page.
using OrvPictureLink = std::function<std::string(const OrvResultPicture&)>;
std::string HtmlReportSection(const OrvReportSection& section, const OrvPictureLink& link = {});
std::string HtmlReportFoot();
