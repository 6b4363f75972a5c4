// The part of the table helpers that writes HTML.

#include <algorithm>

#include "orvcore/tablemarkup.h"
#include "orvcore/tables.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

// A mark is shown by colour and by a sign, and the sign is not part of the cell's text. Each cell keeps its writing
// direction to itself.
constexpr const char* kStyleSheet =
    R"(body{font:15px/1.45 sans-serif;color:#1c2127;background:#fff;margin:24px}
h1,h2{font-size:22px}h3{font-size:16px;margin:28px 0 6px}
p{margin:2px 0;overflow-wrap:anywhere;unicode-bidi:isolate}
table{border-collapse:collapse}
th,td{border:1px solid #d9dde3;padding:4px 8px;text-align:left;vertical-align:top;max-width:48em;overflow-wrap:anywhere;unicode-bidi:isolate}
th{background:#f2f4f7;position:sticky;top:0}
td{font-family:"DejaVu Sans Mono",monospace;font-size:13px;white-space:pre-wrap}
tbody tr:nth-child(even){background:#fafbfc}
.odd{color:#b3261e}.odd::before{content:"! "}
.note{color:#8a4b00}.note::before{content:"? "}
@media print{body{margin:0}tr,img{break-inside:avoid}th{position:static}}
)";

// What came from a file could only ever be text here; a browser is told so, too. A spreadsheet that opens the page takes
// cells as text.
std::string Page(const std::string& title, const std::string& body) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"script-src 'none'; object-src 'none'; "
           "frame-src 'none'; form-action 'none'; base-uri 'none'\"/>\n<title>" +
           EscapeHtml(title) +
           "</title>\n<link rel=\"stylesheet\" href=\"style.css\"/>\n"
           "<style>td{mso-number-format:\"\\@\"}</style>\n</head>\n<body>\n" +
           body + "</body>\n</html>\n";
}

void AppendCell(std::string& html, const std::string& cell) {
    const ParsedCell parsed = ParseCell(cell);
    html += parsed.mark == CellMark::StandsOut  ? "<td class=\"odd\">"
            : parsed.mark == CellMark::Doubtful ? "<td class=\"note\">"
                                                : "<td>";
    html += EscapeHtml(parsed.text);
    html += "</td>";
}

void WritePage(const std::string& path, const std::string& page, bool withStyle) {
    const std::string style = PathJoin(PathFolder(path), "style.css");
    // A style sheet that is there may be the user's own.
    if (withStyle && !GetFileFacts(style)) WriteFile(style, std::string(kStyleSheet));
    WriteFile(path, page);
}

// A picture's path as an address: nothing in a name may end it or mean anything in it.
std::string ImageAddress(const std::string& image) {
    if (image.starts_with("http://") || image.starts_with("https://")) return image;
    if (image.empty()) return {};
    std::string address = image.front() == '/' ? "file://" : "";
    constexpr const char* kHex = "0123456789ABCDEF";
    for (const char c : image) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                             std::string_view("/-._~").find(c) != std::string_view::npos;
        if (isPlain) {
            address += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            address += {'%', kHex[byte >> 4], kHex[byte & 15]};
        }
    }
    return address;
}

}  // namespace

const char* TableStyleSheet() {
    return kStyleSheet;
}

std::string TableToHtml(const TableString& table, const TableOrder* order) {
    std::string body = "<table>\n<thead>\n<tr>";
    const std::size_t columns = table.empty() ? 0 : table[0].size();
    for (std::size_t i = 0; i < columns; ++i)
        body += "<th scope=\"col\">" + EscapeHtml(ParseLabel(table[0][i])) + "</th>";
    body += "</tr>\n</thead>\n<tbody>\n";
    const auto row = [&](const std::vector<std::string>& cells) {
        body += "<tr>";
        for (std::size_t i = 0; i < columns; ++i)
            AppendCell(body, i < cells.size() ? cells[i] : std::string());
        body += "</tr>\n";
    };
    if (order == nullptr) {
        for (std::size_t i = 1; i < table.size(); ++i) row(table[i]);
    } else {
        for (const std::uint32_t i : *order) row(table[i + 1]);
    }
    return Page("Exported Data", body + "</tbody>\n</table>\n");
}

void SaveImageInfoTableAsHtml(const std::string& path, const TableString& table, bool withStyle,
                              const TableOrder* order) {
    WritePage(path, TableToHtml(table, order), withStyle);
}

std::string TableReportToHtml(const std::vector<TableReportEntry>& entries) {
    std::string body = "<h2>Exported Images</h2>\n";
    for (const TableReportEntry& entry : entries) {
        body += "<h3>Id " + EscapeHtml(entry.id) + "</h3>\n";
        body += "<img src=\"" + EscapeHtml(ImageAddress(entry.image)) + "\" alt=\"" +
                EscapeHtml(PathName(entry.image)) + "\" width=\"" + ToString(entry.width) + "\" height=\"" +
                ToString(entry.height) + "\"/>\n";
        for (const auto& [label, value] : entry.facts)
            body += "<p>" + EscapeHtml(label) + " " + EscapeHtml(value) + "</p>\n";
    }
    return Page("Exported Images", body);
}

void SaveTableReport(const std::string& path, const std::vector<TableReportEntry>& entries) {
    WritePage(path, TableReportToHtml(entries), true);
}
