#include <gtest/gtest.h>

#include "orvcore/report/reportdocument.h"

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
