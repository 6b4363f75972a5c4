#pragma once

#include <string>
#include <vector>

#include "orvcore/report/report.h"

// What the parts of a report are made of. Any thread.

// Rows beyond this many are left out of a table, and bytes beyond this many of a cell; both are said.
constexpr std::size_t kReportRows = 200;
constexpr std::size_t kReportCellBytes = 4000;

extern const char* const kReportSlotTitles[kFileSlots];  // "Evidence", "Reference"

ReportTable FilesTable(const OrvReport& report);
// What the file shows, small. Nothing where it cannot be decoded.
std::vector<ReportBlock> FileThumbnails(const OrvReport& report, const OrvJob& job);

// The picture in that file, small; a sentence where there is none.
ReportBlock LogoBlock(const std::string& path, const OrvJob& job);

// As PNG, or as JPEG where grain would make that large. width and height are the caller's.
void EncodeForReport(const Image& image, ReportPicture& picture);

// Everything of a section below its heading; see OrvPictureLink for the link.
std::vector<ReportBlock> SectionBlocks(const OrvReportSection& section, const OrvPictureLink& link);

// "" where there is no verdict; "Not applicable: Not a JPEG".
std::string VerdictLine(const OrvSlotResult& result);

// Where a method was published, in one line, from the installed list; "" where the list has none.
std::string MethodSource(const std::string& filterId);
// The rates that were measured of a filter, as the installed files hold them; "" where none were measured.
std::string AccuracyText(const std::string& filterId);

// The line for a shell that repeats the section's result, "" where there is no result. Bytes of file names are kept whatever they are.
std::string RepeatCommand(const OrvReportSection& section);
// One word of a shell's line that stands for exactly these bytes.
std::string ShellWord(const std::string& bytes);
