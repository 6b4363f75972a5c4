// A report for the browser.

#include <wx/base64.h>

#include "orvcore/report/reportdocument.h"
#include "orvcore/tables/pagestyle.h"
#include "zorbase/text.h"

namespace {

// Beyond the common style. Plots are drawn for white paper.
constexpr const char* kReportStyle = R"(body{max-width:1100px;margin:24px auto;padding:0 16px}
h1{font-size:24px;margin:0 0 4px}h2{font-size:18px;margin:32px 0 4px;border-bottom:1px solid var(--line);padding-bottom:4px}
h3{font-size:15px;margin:18px 0 4px}
p{margin:4px 0 8px}
ol.contents{columns:2;margin:8px 0}
table{margin:8px 0;width:100%}
th,td{overflow-wrap:anywhere}.prose td{font-family:inherit}th.name{width:24%}
figure{margin:12px 0}figure img,figure svg{max-width:100%;height:auto}figure svg{background:#fff}figcaption{color:var(--quiet);font-size:13px}
pre{font-family:"DejaVu Sans Mono",monospace;font-size:13px;white-space:pre-wrap;overflow-wrap:anywhere;margin:4px 0 8px}
@media print{body{margin:0;max-width:none;font-size:11px}td,pre{font-size:9px}h2,h3{break-after:avoid}tr,figure{break-inside:avoid}
thead{display:table-header-group}figure img,figure svg{max-height:20cm}a{color:inherit;text-decoration:none}}
)";

std::string ClassOf(ReportTone tone) {
    return tone == ReportTone::Quiet  ? " class=\"quiet\""
           : tone == ReportTone::Note ? " class=\"note\""
           : tone == ReportTone::Odd  ? " class=\"odd\""
                                      : "";
}

std::string Linked(const std::string& text, const std::string& anchor) {
    return anchor.empty() ? EscapeHtml(text)
                          : "<a href=\"#" + EscapeHtml(anchor) + "\">" + EscapeHtml(text) + "</a>";
}

class Writer {
  public:
    explicit Writer(const std::vector<ReportBlock>& all) : m_all(all) {}

    std::string operator()(const ReportHeading& heading) const {
        const std::string tag = "h" + ToString(heading.level);
        return "<" + tag + (heading.anchor.empty() ? "" : " id=\"" + EscapeHtml(heading.anchor) + "\"") +
               ">" + EscapeHtml(heading.text) + "</" + tag + ">\n";
    }
    std::string operator()(const ReportParagraph& paragraph) const {
        return "<p" + ClassOf(paragraph.tone) + ">" + EscapeHtml(paragraph.text) + "</p>\n";
    }
    std::string operator()(const ReportListing& listing) const {
        return "<pre>" + EscapeHtml(listing.text) + "</pre>\n";
    }
    std::string operator()(const ReportTable& table) const {
        std::string html = table.isProse ? "<table class=\"prose\">\n" : "<table>\n";
        if (!table.labels.empty()) {
            html += "<thead><tr>";
            for (const std::string& label : table.labels)
                html += "<th scope=\"col\">" + EscapeHtml(label) + "</th>";
            html += "</tr></thead>\n";
        }
        for (const std::vector<ReportCell>& row : table.rows) {
            html += "<tr>";
            for (std::size_t i = 0; i < row.size(); ++i) {
                const std::string text = Linked(row[i].text, row[i].anchor);
                html += i == 0 && table.namesRows ? "<th class=\"name\" scope=\"row\">" + text + "</th>"
                                                  : "<td" + ClassOf(row[i].tone) + ">" + text + "</td>";
            }
            html += "</tr>\n";
        }
        html += "</table>\n";
        if (table.leftOut > 0)
            html += "<p class=\"note\">\u2702 " + ToString(static_cast<std::int64_t>(table.leftOut)) +
                    " more rows are left out. " + EscapeHtml(table.more) + "</p>\n";
        return html;
    }
    std::string operator()(const ReportPicture& picture) const {
        std::string figure = picture.svg;
        if (figure.empty()) {
            figure = "<img src=\"";
            if (picture.bytes.empty())
                figure += EscapeHtml(picture.link);
            else
                figure += std::string("data:image/") + (picture.isJpeg ? "jpeg" : "png") + ";base64," +
                          FromWx(wxBase64Encode(picture.bytes.data(), picture.bytes.size()));
            figure += "\" alt=\"" + EscapeHtml(picture.alternative) + "\"";
            if (picture.shownWidth > 0) figure += " width=\"" + ToString(picture.shownWidth) + "\"";
            figure += ">";
        }
        return "<figure>\n" + figure + "\n<figcaption>" + EscapeHtml(picture.caption) +
               "</figcaption>\n</figure>\n";
    }
    std::string operator()(const ReportContents&) const {
        std::string html = "<ol class=\"contents\">\n";
        for (const ReportBlock& block : m_all) {
            const auto* heading = std::get_if<ReportHeading>(&block);
            if (heading != nullptr && !heading->anchor.empty() && heading->level == 2)
                html += "<li>" + Linked(heading->text, heading->anchor) + "</li>\n";
        }
        return html + "</ol>\n";
    }

  private:
    const std::vector<ReportBlock>& m_all;
};

}  // namespace

std::string BlocksToHtml(const std::vector<ReportBlock>& blocks, const std::vector<ReportBlock>& all) {
    std::string html;
    const Writer writer(all);
    for (const ReportBlock& block : blocks) html += std::visit(writer, block);
    return html;
}

std::string HtmlPageBegin(const std::string& title, const std::string& dateLine) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
           EscapeHtml(title) + "</title>\n<style>" + kPageStyle + kReportStyle +
           "</style>\n</head>\n<body>\n<h1>" + EscapeHtml(title) + "</h1>\n<p class=\"quiet\">" +
           EscapeHtml(dateLine) + "</p>\n";
}

std::string HtmlPageEnd() {
    return "</body>\n</html>\n";
}

std::string DocumentToHtml(const ReportDocument& document) {
    return HtmlPageBegin(document.title, document.dateLine) + BlocksToHtml(document.blocks, document.blocks) +
           HtmlPageEnd();
}
