#pragma once

#include <wx/string.h>

#include <functional>
#include <string>
#include <vector>

#include "orvcore/tables/tablesort.h"
#include "zorbase/parameter.h"

// What is made of result tables: files, plain text, translations. Row 0 of a table holds the labels; cells and labels
// may be marked (orvcore/tablemarkup.h), and everything made here holds their texts without marks. Rows that are
// shorter than the labels count as filled up with empty cells. Texts in cells are hostile: they are escaped in HTML
// and made inert in TSV. Safe on any thread.
//
// The forms with wxString are for callers that hold such a table; the others are the work itself. `order` names the
// data rows to write, in this order; null writes all as they stand.

using WxTable = std::vector<std::vector<wxString>>;

TableString TableFromWx(const WxTable& table);

// How much of the work is done, 0..1, told at least once a row. What it throws ends the work.
using TableProgress = std::function<void(double done)>;

// A column's label as it is shown: without mark, translated.
std::string LabelText(std::string_view label);

// One line per row, cells separated by tabs (zorbase's EscapeTsv).
std::string TableToTsv(const TableString& table, const TableOrder* order = nullptr);
// A complete page that links "style.css" beside it.
std::string TableToHtml(const TableString& table, const TableOrder* order = nullptr);

// Written row by row, yet whole or not at all, also when the progress throws; ZorException (kind File) when it cannot be
// written. withStyle also writes "style.css" beside the page, unless the folder has one.
void SaveImageInfoTableAsTsv(const std::string& path, const TableString& table,
                             const TableOrder* order = nullptr, const TableProgress& progress = {});
void SaveImageInfoTableAsTsv(const wxString& file, const WxTable& table);
void SaveImageInfoTableAsHtml(const std::string& path, const TableString& table, bool withStyle,
                              const TableOrder* order = nullptr, const TableProgress& progress = {});
void SaveImageInfoTableAsHtml(const wxString& file, const WxTable& table, bool withStyle);

// One picture of a report and the facts beside it. Texts are plain, without marks.
struct TableReportEntry {
    std::string id;     // what follows "Id " in the heading
    std::string image;  // path of the picture (bytes) or its web address; "" when there is none
    int width = 0;      // size in which the picture is shown, pixels
    int height = 0;
    std::vector<std::pair<std::string, std::string>> facts;  // label and value
};
// A page of `count` entries, each asked for when it is written. Written as the tables are, with "style.css".
void SaveTableReport(const std::string& path, std::size_t count,
                     const std::function<TableReportEntry(std::size_t)>& entry,
                     const TableProgress& progress = {});

// Throws ZorException (kind File) when `path` is one of the files that a column names (-1: none): what was examined is
// never written to.
void RefuseListedFile(const std::string& path, const TableString& table, int column);

// Aligned plain text, one line per row; for small tables. A line feed inside a cell is shown as a sign, a very long
// cell is cut.
std::string FormatTable(const TableString& table);
wxString FormatTable(const WxTable& table);

// A copy with the texts of the first `rows` rows translated, -1 for all rows. Marks and thumbnails stay; a translation is
// text, whatever it begins with.
WxTable TranslateTable(const WxTable& table, int rows);

// Sorts the data rows in place as SortRows orders them; row 0 stays where it is.
void SortVecVecString(WxTable& table, int column, bool ascending);
void SortVecVecString(TableString& table, int column, bool ascending);

// The local time as part of a file name: "2026-11-21-140359".
std::string DateTimeNowAsString();

// The cell's text as it can be shown in one place without effect on what is around it: at most `maximum` bytes (then an
// ellipsis), control characters and the marks that change the writing direction as "[U+202E]", line feeds kept or
// shown as a sign.
std::string DisplayText(std::string_view text, bool keepLineFeeds, std::size_t maximum = 1000);
