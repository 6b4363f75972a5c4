#include "orvcore/report/report.h"

#include <wx/base64.h>

#include <ctime>

#include "orvcore/filter/libraryversions.h"
#include "orvcore/tables/tablemarkup.h"
#include "zorbase/appversion.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kSlotTitles[kFileSlots] = {"Evidence", "Reference"};

constexpr const char* kStyle = R"(
body{font:15px/1.45 sans-serif;color:#1c2127;background:#fff;max-width:1100px;margin:24px auto;padding:0 16px}
h1{font-size:24px;margin:0 0 4px}h2{font-size:18px;margin:32px 0 4px;border-bottom:1px solid #c9ced6;padding-bottom:4px}
p{margin:4px 0 8px}.quiet{color:#5b6470}.odd{color:#b3261e}.note{color:#8a4b00}
table{border-collapse:collapse;margin:8px 0;width:100%}
th,td{border:1px solid #d9dde3;padding:4px 8px;text-align:left;vertical-align:top;overflow-wrap:anywhere}
figure{margin:12px 0}figure img,figure svg{max-width:100%;height:auto}figcaption{color:#5b6470;font-size:13px}
th{background:#f2f4f7;font-weight:600}th.name{width:24%}
td{font-family:"DejaVu Sans Mono",monospace;font-size:13px;white-space:pre-wrap}
@media print{body{margin:0;max-width:none}h2{break-after:avoid}tr{break-inside:avoid}}
)";

std::string Row(const std::string& name, const std::vector<std::string>& cells, bool differs) {
    std::string row = "<tr><th class=\"name\" scope=\"row\">" + EscapeHtml(name) + "</th>";
    for (const std::string& cell : cells)
        row += std::string("<td") + (differs ? " class=\"odd\"" : "") + ">" + EscapeHtml(cell) + "</td>";
    return row + "</tr>\n";
}

std::string Head(const std::vector<std::string>& labels) {
    std::string head = "<tr>";
    for (const std::string& label : labels) head += "<th scope=\"col\">" + EscapeHtml(label) + "</th>";
    return head + "</tr>\n";
}

std::string Table(const std::string& rows) {
    return "<table>\n" + rows + "</table>\n";
}

std::string FilesTable(const OrvReport& report) {
    const OrvJob job;
    std::vector<std::string> labels = {""};
    std::vector<const OrvLoadedFile*> files;
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (report.files[slot]) {
            labels.emplace_back(kSlotTitles[slot]);
            files.push_back(report.files[slot].get());
        }
    const auto row = [&files](const std::string& name, auto value) {
        std::vector<std::string> cells;
        for (const OrvLoadedFile* file : files) cells.push_back(value(*file));
        return Row(name, cells, false);
    };
    std::string rows = Head(labels);
    rows += row("File", [](const OrvLoadedFile& file) { return ToValidUtf8(file.GetPath()); });
    rows += row("Size", [](const OrvLoadedFile& file) { return FormatFileSize(file.GetBytes().size()); });
    rows += row("Modified", [](const OrvLoadedFile& file) { return FormatTime(file.GetFacts().modified); });
    rows += row("MD5", [&job](const OrvLoadedFile& file) { return file.GetHashes(job).md5; });
    rows += row("SHA-1", [&job](const OrvLoadedFile& file) { return file.GetHashes(job).sha1; });
    rows += row("SHA-256", [](const OrvLoadedFile& file) { return file.GetSha256(); });
    return Table(rows);
}

// A mark of the core is a colour, not a text. Thumbnails stay in the window.
std::string Cell(const std::string& cell) {
    const ParsedCell parsed = ParseCell(cell);
    const char* style = parsed.mark == CellMark::StandsOut  ? " class=\"odd\""
                        : parsed.mark == CellMark::Doubtful ? " class=\"note\""
                                                            : "";
    return std::string("<td") + style + ">" + EscapeHtml(parsed.text) + "</td>";
}

std::string ResultTable(const TableString& table) {
    std::string rows;
    for (std::size_t i = 0; i < table.size(); ++i) {
        rows += "<tr>";
        for (const std::string& cell : table[i])
            rows += i == 0 ? "<th>" + EscapeHtml(ParseLabel(cell)) + "</th>" : Cell(cell);
        rows += "</tr>\n";
    }
    return Table(rows);
}

std::string Outputs(const OrvFilterResult& result) {
    std::vector<std::string> labels = {""};
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (result.slot[slot]) labels.emplace_back(kSlotTitles[slot]);
    std::string rows;
    std::string tables;
    for (const Parameter& output : result.output) {
        if (output.IsHiddenFromGui()) continue;
        if (output.Type() == ParameterType::TableString) {
            if (output.IsSet())
                tables += "<p>" + EscapeHtml(output.GetDescription()) + "</p>\n" +
                          ResultTable(output.Get<TableString>());
            continue;
        }
        std::vector<std::string> cells;
        if (result.slot[OrvEvidence]) cells.push_back(output.GetValueAsString(false));
        if (result.slot[OrvReference]) cells.push_back(output.GetValueAsString(true));
        rows += Row(output.GetDescription(), cells, cells.size() == 2 && cells[0] != cells[1]);
    }
    if (rows.empty() && tables.empty()) return "<p class=\"quiet\">This filter has no text results.</p>\n";
    return (rows.empty() ? std::string() : Table(Head(labels) + rows)) + tables;
}

// Large enough to see what was found, small enough for a page with thirty analyses of two files.
constexpr int kLongestSide = 800;

std::string DataLink(const Image& image) {
    const std::vector<std::uint8_t> png = EncodeImage(image, "png");
    return "data:image/png;base64," + FromWx(wxBase64Encode(png.data(), png.size()));
}

std::string Pictures(const OrvReportSection& section, const OrvPictureLink& link) {
    std::string html;
    ForEachPicture(
        *section.filter, *section.result, link ? 0 : kLongestSide, [&](const OrvResultPicture& picture) {
            std::string figure = picture.svg;
            if (figure.empty()) {
                const std::string source = link ? link(picture) : DataLink(picture.image);
                if (source.empty()) return;
                figure = "<img src=\"" + source + "\" alt=\"" + EscapeHtml(picture.alternative) + "\">";
            }
            html += "<figure>\n" + figure + "\n<figcaption>" + EscapeHtml(picture.caption) +
                    "</figcaption>\n</figure>\n";
        });
    return html;
}

// What each file's verdict is, and what was found.
std::string Verdicts(const OrvFilterResult& result) {
    std::string html;
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!result.slot[slot]) continue;
        const OrvSlotResult& found = *result.slot[slot];
        const std::string title = std::string(kSlotTitles[slot]) + ": ";
        if (found.SaysNothing())
            html +=
                "<p class=\"quiet\">" + title + "not applicable: " + EscapeHtml(found.verdictText) + "</p>\n";
        else if (!found.verdictText.empty())
            html += "<p>" + title + EscapeHtml(found.verdictText) + "</p>\n";
        for (const std::string& finding : found.findings)
            html += "<p class=\"note\">" + title + EscapeHtml(finding) + "</p>\n";
    }
    return html;
}

std::string Section(const OrvReportSection& section, const OrvPictureLink& link) {
    const OrvFilter& filter = *section.filter;
    std::string html = "<h2>" + EscapeHtml(filter.GetNameUtf8()) + "</h2>\n<p class=\"quiet\">" +
                       EscapeHtml(filter.GetDescriptionUtf8()) + "</p>\n";
    if (!section.result) return html + "<p class=\"odd\">No result: " + EscapeHtml(section.error) + "</p>\n";
    std::string parameters = GetParametersString(section.result->input, false);
    if (const std::string post = GetParametersString(section.result->postProcessing, false); !post.empty())
        parameters += (parameters.empty() ? "" : ", ") + post;
    html += "<p class=\"quiet\">Filter version " + ToString(filter.GetVersion()) +
            ". Parameters: " + (parameters.empty() ? std::string("none") : EscapeHtml(parameters)) +
            ".</p>\n";
    return html + Verdicts(*section.result) + Pictures(section, link) + Outputs(*section.result);
}

}  // namespace

std::string HtmlReportBegin(const OrvReport& report) {
    std::string title = "Report";
    for (const OrvFilePtr& file : report.files)
        if (file) {
            title += " on " + ToValidUtf8(PathName(file->GetPath()));
            break;
        }
    std::string html = HtmlReportHead(title, PathName(report.project.GetPath()));
    return html + "<h2>Files</h2>\n" + FilesTable(report);
}

std::string BuildHtmlReport(const OrvReport& report) {
    std::string html = HtmlReportBegin(report);
    for (const OrvReportSection& section : report.sections) html += Section(section, {});
    return html + HtmlReportFoot();
}

std::string HtmlReportHead(const std::string& title, const std::string& project) {
    const AppVersion version;
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
                       EscapeHtml(title) + "</title>\n<style>" + kStyle + "</style>\n</head>\n<body>\n<h1>" +
                       EscapeHtml(title) + "</h1>\n";
    html += "<p class=\"quiet\">Written by " + EscapeHtml(version.GetFullName()) +
            (version.GetRevision().empty() ? std::string() : " (" + EscapeHtml(version.GetRevision()) + ")") +
            " on " + FormatTime(std::time(nullptr)) + ".";
    html += " Libraries: " + EscapeHtml(LibraryVersionsText()) + ".";
    if (!project.empty()) html += " Project: " + EscapeHtml(ToValidUtf8(project)) + ".";
    html +=
        "</p>\n<p class=\"quiet\">Values that differ between evidence and reference are red. A finding is an observation, "
        "not a proof: it says what was found, and each filter's description says what that can mean.</p>\n";
    return html;
}

std::string HtmlReportFiles(const OrvReport& report) {
    return FilesTable(report);
}

std::string HtmlReportSection(const OrvReportSection& section, const OrvPictureLink& link) {
    return Section(section, link);
}

std::string HtmlReportFoot() {
    return "</body>\n</html>\n";
}

std::string BuildTsv(const OrvReportSection& section) {
    std::string text;
    if (!section.result) return text;
    const auto line = [&text](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) text += (i > 0 ? "\t" : "") + EscapeTsv(cells[i]);
        text += "\n";
    };
    line({"Name", kSlotTitles[OrvEvidence], kSlotTitles[OrvReference]});
    std::vector<std::string> verdicts = {"Result"};
    for (const OrvSlotResultPtr& slot : section.result->slot)
        verdicts.push_back(slot ? (slot->SaysNothing() ? "Not applicable: " : "") + slot->verdictText : "");
    if (!verdicts[1].empty() || !verdicts[2].empty()) line(verdicts);
    for (const Parameter& output : section.result->output) {
        if (output.IsHiddenFromGui() || output.Type() == ParameterType::TableString) continue;
        line({output.GetDescription(), output.GetValueAsString(false), output.GetValueAsString(true)});
    }
    for (const Parameter& output : section.result->output) {
        if (output.Type() != ParameterType::TableString || !output.IsSet()) continue;
        text += "\n";
        const TableString& table = output.Get<TableString>();
        for (std::size_t row = 0; row < table.size(); ++row) {
            std::vector<std::string> cells;
            for (const std::string& cell : table[row])
                cells.push_back(row == 0 ? ParseLabel(cell) : ParseCell(cell).text);
            line(cells);
        }
    }
    return text;
}
