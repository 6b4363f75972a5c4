// The part of the table helpers that writes files.

#include <filesystem>
#include <functional>
#include <system_error>

#include "orvcore/tables/pagestyle.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tables/tables.h"
#include "zorbase/fileprotection.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"
#include "zorbase/zorexception.h"

namespace {

// Beyond the common style: tables as wide as they need, their labels in sight, bands for long rows.
constexpr const char* kTableStyle =
    R"(body{margin:24px}
h1,h2{font-size:22px}h3{font-size:16px;margin:28px 0 6px}
p{margin:2px 0}
img{height:auto;max-width:100%}
table{width:max-content}
th,td{max-width:40em;overflow-wrap:break-word}
th{position:sticky;top:0;white-space:nowrap}
tbody tr:nth-child(even){background:var(--band)}
@page{size:landscape}
@media print{body{margin:0}table{width:auto}table,td{font-size:7px}th,td{padding:1px 2px;overflow-wrap:anywhere}th{position:static;white-space:normal}tr,img{break-inside:avoid}h3{break-after:avoid}}
)";

// What came from a file could only ever be text here; a browser is told so, too. A spreadsheet that opens the page takes
// cells as text.
std::string PageHead(const std::string& title) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
           "<meta name=\"viewport\" content=\"width=device-width\"/>\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"script-src 'none'; object-src 'none'; "
           "frame-src 'none'; form-action 'none'; base-uri 'none'\"/>\n<title>" +
           EscapeHtml(title) +
           "</title>\n<link rel=\"stylesheet\" href=\"style.css\"/>\n"
           "<style>td{mso-number-format:\"\\@\"}</style>\n</head>\n<body>\n";
}
constexpr const char* kPageFoot = "</body>\n</html>\n";

void AppendCell(std::string& html, const std::string& cell) {
    const ParsedCell parsed = ParseCell(cell);
    html += parsed.mark == CellMark::StandsOut  ? "<td class=\"odd\">"
            : parsed.mark == CellMark::Doubtful ? "<td class=\"note\">"
                                                : "<td>";
    html += EscapeHtml(parsed.text);
    html += "</td>";
}

using Sink = std::function<void(std::string_view)>;

// Calls row(cells) for each data row to write, then tells how far it is.
template <typename Row>
void EachRow(const TableString& table, const TableOrder* order, const TableProgress& progress,
             const Row& row) {
    if (table.empty()) return;
    const std::size_t count = order == nullptr ? table.size() - 1 : order->size();
    for (std::size_t i = 0; i < count; ++i) {
        row(table[(order == nullptr ? i : (*order)[i]) + 1]);
        if (progress) progress(static_cast<double>(i + 1) / static_cast<double>(count));
    }
}

void WriteTsv(const Sink& sink, const TableString& table, const TableOrder* order,
              const TableProgress& progress) {
    if (table.empty()) return;
    const std::size_t columns = table[0].size();
    std::string line;
    for (std::size_t i = 0; i < columns; ++i) line += (i > 0 ? "\t" : "") + EscapeTsv(LabelText(table[0][i]));
    sink(line + "\n");
    EachRow(table, order, progress, [&](const std::vector<std::string>& cells) {
        line.clear();
        for (std::size_t i = 0; i < columns; ++i) {
            if (i > 0) line += '\t';
            if (i < cells.size()) line += EscapeTsv(ParseCell(cells[i]).text);
        }
        line += '\n';
        sink(line);
    });
}

void WriteHtml(const Sink& sink, const TableString& table, const TableOrder* order,
               const TableProgress& progress) {
    const std::size_t columns = table.empty() ? 0 : table[0].size();
    std::string html = PageHead("Exported Data") + "<table>\n<thead>\n<tr>";
    for (std::size_t i = 0; i < columns; ++i)
        html += "<th scope=\"col\">" + EscapeHtml(LabelText(table[0][i])) + "</th>";
    sink(html + "</tr>\n</thead>\n<tbody>\n");
    EachRow(table, order, progress, [&](const std::vector<std::string>& cells) {
        html = "<tr>";
        for (std::size_t i = 0; i < columns; ++i)
            AppendCell(html, i < cells.size() ? cells[i] : std::string());
        html += "</tr>\n";
        sink(html);
    });
    sink("</tbody>\n</table>\n");
    sink(kPageFoot);
}

template <typename Write>
std::string TextOf(const Write& write) {
    std::string text;
    write([&text](std::string_view piece) { text += piece; });
    return text;
}

template <typename Write>
void WritePage(const std::string& path, bool withStyle, const Write& write) {
    FileWriter file(path);
    write([&file](std::string_view piece) { file.Add(piece); });
    const std::string style = PathJoin(PathFolder(path), "style.css");
    // A style sheet that is there may be the user's own.
    if (withStyle && !GetFileFacts(style)) WriteFile(style, std::string(kPageStyle) + kTableStyle);
    file.Finish();
}

// A picture's path as an address: nothing in a name may end it or mean anything in it.
std::string ImageAddress(const std::string& image) {
    if (image.starts_with("http://") || image.starts_with("https://")) return image;
    if (image.empty()) return {};
    std::string address = image.front() == '/' ? "file://" : "";
    address += PercentEncode(image, "/");
    return address;
}

std::string ReportEntryToHtml(const TableReportEntry& entry) {
    std::string html = "<h3>Id " + EscapeHtml(entry.id) + "</h3>\n";
    html += "<img src=\"" + EscapeHtml(ImageAddress(entry.image)) + "\" alt=\"" +
            EscapeHtml(PathName(entry.image)) + "\" width=\"" + ToString(entry.width) + "\" height=\"" +
            ToString(entry.height) + "\"/>\n";
    for (const auto& [label, value] : entry.facts)
        html += "<p>" + EscapeHtml(label) + " " + EscapeHtml(value) + "</p>\n";
    return html;
}

}  // namespace

std::string TableToTsv(const TableString& table, const TableOrder* order) {
    return TextOf([&](const Sink& sink) { WriteTsv(sink, table, order, {}); });
}

std::string TableToHtml(const TableString& table, const TableOrder* order) {
    return TextOf([&](const Sink& sink) { WriteHtml(sink, table, order, {}); });
}

void SaveImageInfoTableAsTsv(const std::string& path, const TableString& table, const TableOrder* order,
                             const TableProgress& progress) {
    FileWriter file(path);
    WriteTsv([&file](std::string_view piece) { file.Add(piece); }, table, order, progress);
    file.Finish();
}

void SaveImageInfoTableAsTsv(const wxString& file, const WxTable& table) {
    SaveImageInfoTableAsTsv(PathFromWx(file), TableFromWx(table));
}

void SaveImageInfoTableAsHtml(const std::string& path, const TableString& table, bool withStyle,
                              const TableOrder* order, const TableProgress& progress) {
    WritePage(path, withStyle, [&](const Sink& sink) { WriteHtml(sink, table, order, progress); });
}

void SaveImageInfoTableAsHtml(const wxString& file, const WxTable& table, bool withStyle) {
    SaveImageInfoTableAsHtml(PathFromWx(file), TableFromWx(table), withStyle);
}

void SaveTableReport(const std::string& path, std::size_t count,
                     const std::function<TableReportEntry(std::size_t)>& entry,
                     const TableProgress& progress) {
    WritePage(path, true, [&](const Sink& sink) {
        sink(PageHead("Exported Images") + "<h2>Exported Images</h2>\n");
        for (std::size_t i = 0; i < count; ++i) {
            sink(ReportEntryToHtml(entry(i)));
            if (progress) progress(static_cast<double>(i + 1) / static_cast<double>(count));
        }
        sink(kPageFoot);
    });
}

void RefuseListedFile(const std::string& path, const TableString& table, int column) {
    if (column < 0) return;
    for (std::size_t row = 1; row < table.size(); ++row) {
        if (static_cast<std::size_t>(column) >= table[row].size()) continue;
        const std::string cell = ParseCell(table[row][static_cast<std::size_t>(column)]).text;
        const std::string listed = PathFromUtf8(cell);
        if (LeadToSameFile(listed, path))
            ZOR_THROW(File, "\"" + ToValidUtf8(path) +
                                "\" is one of the files in the table, which are never written to. Choose "
                                "another name.");
    }
}
