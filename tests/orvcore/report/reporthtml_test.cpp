#include <gtest/gtest.h>

#include "orvcore/report/reportdocument.h"
#include "zorbase/hash.h"

// Every text of every kind of block comes out as text.
TEST(ReportHtml, NoTextOfAnyBlockIsMarkUp) {
    const std::string hostile = "\"><b>&x";
    ReportDocument document;
    document.title = hostile;
    document.dateLine = hostile;
    ReportTable table;
    table.labels = {hostile, "Value"};
    table.rows = {{{hostile}, {hostile, ReportTone::Odd}}};
    table.leftOut = 3;
    table.more = hostile;
    ReportPicture linked;
    linked.link = hostile;
    linked.caption = hostile;
    linked.alternative = hostile;
    ReportPicture held = linked;
    held.bytes = {1, 2, 3};
    for (const ReportBlock& block :
         {ReportBlock(ReportHeading{2, hostile, "anchor"}), ReportBlock(ReportParagraph{hostile}),
          ReportBlock(ReportListing{hostile}), ReportBlock(table), ReportBlock(linked), ReportBlock(held),
          ReportBlock(ReportContents{})})
        document.blocks.push_back(block);
    const std::string html = DocumentToHtml(document);
    EXPECT_EQ(html.find("<b>"), std::string::npos) << html.substr(html.find("<b>") - 80, 160);
    EXPECT_EQ(html.find("&x"), std::string::npos);
    EXPECT_NE(html.find("<img src=\"&quot;&gt;&lt;b&gt;&amp;x\""), std::string::npos);
    EXPECT_NE(html.find("<img src=\"data:image/png;base64,AQID\""), std::string::npos);
    EXPECT_NE(html.find("3 more rows are left out. &quot;&gt;"), std::string::npos);
}

// Every block in every tone and form, as one text that was looked at.
TEST(ReportHtml, BlocksAreWrittenAsTheyWere) {
    ReportDocument document;
    document.title = "Title";
    document.dateLine = "Date";
    std::vector<ReportBlock>& blocks = document.blocks;
    blocks.emplace_back(ReportContents{});
    for (const int level : {1, 2, 3})
        blocks.emplace_back(ReportHeading{level, "Heading", level == 2 ? "a1" : ""});
    ReportTable table;
    for (const ReportTone tone : {ReportTone::Plain, ReportTone::Quiet, ReportTone::Note, ReportTone::Odd}) {
        blocks.emplace_back(ReportParagraph{"Paragraph\nof two lines", tone});
        table.rows.push_back({{"name", tone}, {"value", tone, "a1"}, {""}});
    }
    for (const bool namesRows : {false, true})
        for (const bool isProse : {false, true})
            for (const std::size_t leftOut : {0U, 1U, 2U}) {
                table.labels = isProse ? std::vector<std::string>{} : std::vector<std::string>{"A", "B", ""};
                table.namesRows = namesRows;
                table.isProse = isProse;
                table.leftOut = leftOut;
                table.more = leftOut == 2 ? "More is elsewhere." : "";
                blocks.emplace_back(table);
            }
    ReportPicture picture;
    picture.width = 30;
    picture.height = 20;
    for (const int shown : {0, 15}) {
        picture.shownWidth = shown;
        picture.caption = shown > 0 ? "Caption" : "";
        picture.alternative = "Instead";
        picture.bytes = {1, 2, 3, 4};
        picture.isJpeg = shown > 0;
        picture.svg = picture.link = "";
        blocks.emplace_back(picture);
        picture.bytes.clear();
        picture.svg = "<svg></svg>";
        blocks.emplace_back(picture);
        picture.svg.clear();
        picture.link = "file.png";
        blocks.emplace_back(picture);
    }
    blocks.emplace_back(ReportListing{"one\n  two"});
    EXPECT_EQ(Sha256(DocumentToHtml(document)).substr(0, 16), "28a6a1139fe9dcf9") << DocumentToHtml(document);
}
