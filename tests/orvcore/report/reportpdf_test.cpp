#include "orvcore/report/reportpdf.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <set>
#include <stop_token>

#include "orvcore/formats/qpdfheaders.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/hash.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

using testing::HasSubstr;

namespace {

std::string PdfOf(const ReportDocument& document) {
    std::string pdf;
    WriteReportPdf(
        document, [&pdf](const char* data, std::size_t size) { pdf.append(data, size); }, OrvJob());
    return pdf;
}

std::string Output(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
    pclose(pipe);
    return text;
}

// One of everything, over several pages, with texts as a hostile file could bring them.
ReportDocument Everything() {
    ReportDocument document;
    document.title = "Report on <a> & \xFF\x01 \xF0\x9F\x93\xB7";
    document.dateLine = "Written today.";
    std::vector<ReportBlock>& blocks = document.blocks;
    blocks.emplace_back(ReportContents{});
    for (int i = 0; i < 12; ++i) {
        blocks.emplace_back(ReportHeading{2, "Chapter " + ToString(i), "r" + ToString(i)});
        blocks.emplace_back(
            ReportParagraph{"Evidence: <b>" + std::string(300, 'w') + " 100 % %s", ReportTone::Note});
        ReportTable table;
        table.namesRows = true;
        table.labels = {"Name", "Value of a long label", ""};
        for (int row = 0; row < 10; ++row)
            table.rows.push_back({{"row " + ToString(row)},
                                  {std::string(40, 'v'), ReportTone::Odd},
                                  {"c", ReportTone::Plain, "r3"}});
        table.leftOut = 7;
        blocks.emplace_back(std::move(table));
    }
    ReportTable tall;
    tall.labels = {"Tall"};
    tall.rows = {{{std::string(12000, 'x')}}, {{"the row after"}}};
    blocks.emplace_back(std::move(tall));
    ReportTable wide;
    for (int i = 0; i < 40; ++i) wide.labels.push_back("Column " + ToString(i));
    wide.rows = {std::vector<ReportCell>(40, ReportCell{"12345.678"})};
    blocks.emplace_back(std::move(wide));
    ReportPicture picture;
    picture.bytes = EncodeImage(Image(cv::Mat(60, 80, CV_8UC3, cv::Scalar(20, 200, 40))), "png");
    picture.width = 80;
    picture.height = 60;
    picture.caption = "A green picture.";
    blocks.emplace_back(picture);
    picture.bytes = EncodeImage(Image(cv::Mat(60, 80, CV_8UC3, cv::Scalar(20, 20, 240))), "jpg");
    picture.isJpeg = true;
    blocks.emplace_back(picture);
    ReportPicture plot;
    plot.svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"200\" height=\"100\" viewBox=\"0 0 200 100\">"
        "<text x=\"10\" y=\"50\">plotted word</text></svg>";
    plot.caption = "A plot.";
    blocks.emplace_back(plot);
    plot.svg = "<svg broken";
    blocks.emplace_back(plot);
    blocks.emplace_back(ReportListing{"orvane-cli analyse 'a b.jpg'\n  second line"});
    return document;
}

}  // namespace

TEST(ReportPdf, PagesHoldEveryTextAndLeadToEveryHeading) {
    const TemporaryFolder folder;
    const std::string path = folder / "report.pdf";
    const std::string bytes = PdfOf(Everything());
    WriteFile(path, bytes);
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    pdf.processFile(path.c_str());
    EXPECT_TRUE(pdf.getWarnings().empty());
    const auto pages = QPDFPageDocumentHelper(pdf).getAllPages();
    EXPECT_GT(pages.size(), 5U);
    EXPECT_LT(pages.size(), 60U);

    std::set<std::string> links;
    for (QPDFPageObjectHelper page : pages)
        for (QPDFAnnotationObjectHelper annotation : page.getAnnotations("/Link")) {
            QPDFObjectHandle dest = annotation.getObjectHandle().getKey("/Dest");
            ASSERT_TRUE(dest.isString() || dest.isArray());
            if (dest.isString()) links.insert(dest.getUTF8Value());
        }
    QPDFObjectHandle outlines = pdf.getRoot().getKey("/Outlines");
    EXPECT_EQ(std::abs(outlines.getKey("/Count").getIntValueAsInt()), 12);

    const std::string text = Output("pdftotext -layout '" + path + "' -");
    if (text.empty()) GTEST_SKIP() << "pdftotext is not installed";
    for (const char* part :
         {"Report on <a> &", "Written today.", "Chapter 0", "Chapter 11", "Evidence:", "<b>www", "100 % %s",
          "Value of a long label", "7 more rows are left out.", "the row after", "A green picture.",
          "plotted word", "orvane-cli analyse 'a b.jpg'", "second line"})
        EXPECT_THAT(text, HasSubstr(part));

    // The page that the list of contents names is the one on which the chapter stands.
    const std::string first = Output("pdftotext -layout -f 1 -l 1 '" + path + "' -");
    const std::size_t at = first.find("Chapter 11");
    ASSERT_NE(at, std::string::npos);
    const std::string line = Trim(first.substr(at + 10, first.find('\n', at) - at - 10));
    EXPECT_THAT(Output("pdftotext -f " + line + " -l " + line + " '" + path + "' -"),
                HasSubstr("Chapter 11"));
    const std::string pictures = Output("pdfimages -list '" + path + "'");
    EXPECT_THAT(pictures, testing::ContainsRegex(" 80 +60 .* image "));
    EXPECT_THAT(pictures, testing::ContainsRegex(" 80 +60 .* jpeg ")) << "a JPEG is taken as it is";
}

TEST(ReportPdf, TheSameDocumentGivesTheSameBytesButForTheDate) {
    const auto undated = [](std::string pdf) {
        const std::size_t at = pdf.find("/CreationDate");
        EXPECT_NE(at, std::string::npos);
        return pdf.erase(at, pdf.find('\n', at) - at);
    };
    EXPECT_EQ(undated(PdfOf(Everything())), undated(PdfOf(Everything())));
}

// What each page draws and where, as it was looked at and kept beside this file. Written anew with the environment variable
// ORVANE_KEEP_RESULTS.
TEST(ReportPdf, PagesAreDrawnAsTheyWereKept) {
    const std::string bytes = PdfOf(Everything());
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    pdf.processMemoryFile("report", bytes.data(), bytes.size());
    std::set<std::string> fonts;
    std::string drawn;
    for (QPDFPageObjectHelper page : QPDFPageDocumentHelper(pdf).getAllPages()) {
        for (auto& [name, font] : page.getAttribute("/Resources", false).getKey("/Font").ditems())
            fonts.insert(font.getKey("/BaseFont").getName());
        Pl_Buffer content("content");
        page.pipeContents(&content);
        content.finish();
        const auto buffer = content.getBufferSharedPointer();
        const std::string text(reinterpret_cast<const char*>(buffer->getBuffer()), buffer->getSize());
        drawn += ToString(static_cast<std::int64_t>(std::count(text.begin(), text.end(), '\n'))) + " lines " +
                 Sha256(text).substr(0, 16) + "\n";
    }
    std::string found = "fonts";
    for (const std::string& font : fonts) found += " " + font.substr(font.find('+') + 1);
    const std::string path = std::string(ORVANE_SOURCES) + "/tests/orvcore/report/reportpages.txt";
    const std::string kept = FileExists(path) ? ReadFile(path) : std::string();
    if (std::getenv("ORVANE_KEEP_RESULTS") != nullptr) return WriteFile(path, found + "\n" + drawn);
    if (kept.substr(0, kept.find('\n')) != found) GTEST_SKIP() << "letters are drawn with other " << found;
    EXPECT_EQ(kept.substr(kept.find('\n') + 1), drawn);
}

TEST(ReportPdf, AFullDiskAndAnAbortEndItWithTheirOwnMessage) {
    std::size_t taken = 0;
    const auto full = [&taken](const char*, std::size_t size) {
        if ((taken += size) > 3000) ZOR_THROW(File, "The disk is full.");
    };
    try {
        WriteReportPdf(Everything(), full, OrvJob());
        FAIL() << "nothing was told";
    } catch (const ZorException& exception) {
        EXPECT_EQ(exception.GetMessage(), "The disk is full.");
    }
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(WriteReportPdf(
                     Everything(), [](const char*, std::size_t) {}, OrvJob(stop.get_token())),
                 ZorException);
}
