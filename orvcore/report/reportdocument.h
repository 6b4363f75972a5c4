#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

// A report as a sequence of blocks that knows neither screen nor paper: the page for the browser and the printed pages are both made
// of it, so that they say the same. Texts are plain UTF-8 and hostile: whoever writes them out escapes them. Plain values.

// level 1..3. anchor: what links lead to, a-z, 0-9 and '-' only, unique in a report; "" for none.
struct ReportHeading {
    int level = 2;
    std::string text;
    std::string anchor = {};
};

enum class ReportTone {
    Plain,
    Quiet,
    Note,
    Odd
};  // Note and Odd: what deserves a look, what differs or fails

struct ReportParagraph {
    std::string text;
    ReportTone tone = ReportTone::Plain;
};

// Text whose line breaks and blanks count, in a fixed-pitch font.
struct ReportListing {
    std::string text;
};

struct ReportCell {
    std::string text;
    ReportTone tone = ReportTone::Plain;
    std::string anchor = {};  // a link within the report
};

struct ReportTable {
    std::vector<std::string> labels;  // of the columns
    std::vector<std::vector<ReportCell>> rows;
    bool namesRows = false;   // the first cell of each row is its name
    bool isProse = false;     // sentences, not figures: no fixed pitch
    std::size_t leftOut = 0;  // rows that there are beside those here
    std::string more = {};    // where those that are left out can be had; a sentence
};

// A picture as PNG or JPEG file, a drawing as SVG, or a link to where the picture is kept.
struct ReportPicture {
    std::vector<std::uint8_t> bytes;
    bool isJpeg = false;
    int width = 0;  // pixels
    int height = 0;
    std::string svg;
    std::string link;
    std::string caption;
    std::string alternative;
    int shownWidth = 0;  // CSS pixels (1/96 inch); 0: as wide as it is, the page at most
};

// The list of headings to which links lead, filled when the report is written out.
struct ReportContents {};

using ReportBlock =
    std::variant<ReportHeading, ReportParagraph, ReportListing, ReportTable, ReportPicture, ReportContents>;

struct ReportDocument {
    std::string title;
    std::string dateLine;  // the only thing in it that is not the same the next time
    std::vector<ReportBlock> blocks;
};

// The blocks as HTML, without head and foot. all: where a list of contents takes the headings from.
std::string BlocksToHtml(const std::vector<ReportBlock>& blocks, const std::vector<ReportBlock>& all);
// A page with its style, without scripts, loading nothing.
std::string DocumentToHtml(const ReportDocument& document);
// Its beginning up to the blocks, and its end.
std::string HtmlPageBegin(const std::string& title, const std::string& dateLine);
std::string HtmlPageEnd();
