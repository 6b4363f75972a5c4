#include "orvcore/report/report.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "orvcore/filters/fileformatfilter.h"
#include "orvcore/tables/tablemarkup.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kHostile = "<script>alert(1)</script><img src=x onerror='y'>\"&";

// A table and texts as a file could bring them.
class HostileFilter : public OrvFilter {
  public:
    HostileFilter() : OrvFilter("Hostile", "hostile") {
        SetParameters(
            {Parameter::String("in", "In", kHostile)}, {},
            {Parameter::Output(ParameterType::OutputText, "text", kHostile),
             Parameter::Output(ParameterType::TableString, "table", "Table"),
             Parameter::Output(ParameterType::OutputString, "secret", "Secret").SetHiddenFromGui()});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob&,
                 OrvSlotResult& result) const override {
        result.output[0].SetValue(std::string(kHostile) + ToString(static_cast<int>(file.GetBytes().size())));
        result.output[1].SetValue(TableString{{"#Label", kHostile},
                                              {TableCell("!kept"), MarkCell(CellMark::StandsOut, kHostile)},
                                              {TableCell("=1+1"), MarkCell(CellMark::Doubtful, "maybe")},
                                              {ThumbnailCell(3), TableCell("a\tb\nc")}});
        result.output[2].SetValue(std::string("not to be shown"));
        result.findings = {kHostile};
    }
};

std::set<std::string> TagsOf(const std::string& html) {
    std::set<std::string> tags;
    for (std::size_t at = html.find('<'); at != std::string::npos; at = html.find('<', at + 1)) {
        const std::size_t start = at + (html[at + 1] == '/' ? 2 : 1);
        tags.insert(html.substr(start, html.find_first_of(" >\n", start) - start));
    }
    return tags;
}

OrvReport MakeReport(const CaseFolder& folder, const OrvFilter& filter, bool both) {
    std::string name = kHostile;
    std::replace(name.begin(), name.end(), '/', '|');
    OrvReport report;
    OrvReportSection section;
    section.filter = &filter;
    section.result = RunFilter(filter, folder.WritePicture(name + "\xFF.png", 1),
                               both ? folder.WritePicture("b.png", 2, 40) : std::string());
    for (int slot = 0; slot < kFileSlots; ++slot) report.files[slot] = section.result->file[slot];
    report.sections = {section};
    return report;
}

}  // namespace

TEST(Report, NothingThatCameFromAFileBecomesMarkUp) {
    const CaseFolder folder;
    const HostileFilter filter;
    OrvReport report = MakeReport(folder, filter, true);
    OrvReportSection failed;
    failed.filter = &filter;
    failed.error = kHostile;
    report.sections.push_back(failed);
    report.project.SetPath(std::string("/cases/") + "<i>.zop");
    const std::string html = BuildHtmlReport(report);
    EXPECT_EQ(TagsOf(html), (std::set<std::string>{"!DOCTYPE", "html", "head", "meta", "title", "style",
                                                   "body", "h1", "h2", "p", "table", "tr", "th", "td"}));
    EXPECT_EQ(ToValidUtf8(html), html);
    for (const char* loaded : {"src=\"", "href", "@import", "url(", "<script"})
        EXPECT_THAT(html, Not(HasSubstr(loaded))) << "it loads nothing";
    EXPECT_THAT(html, Not(HasSubstr("not to be shown")));
}

TEST(Report, NamesFilesHashesFilterVersionAndParameters) {
    const CaseFolder folder;
    const FileFormatFilter filter;
    const OrvReport report = MakeReport(folder, filter, true);
    const std::string html = BuildHtmlReport(report);
    for (int slot = 0; slot < kFileSlots; ++slot)
        EXPECT_THAT(html, HasSubstr(report.files[slot]->GetSha256()));
    EXPECT_THAT(html, HasSubstr("Filter version 1. Parameters: none"));
    EXPECT_THAT(html, HasSubstr("class=\"odd\">40 x 40")) << "differences are marked";
    const std::string alone = BuildHtmlReport(MakeReport(folder, filter, false));
    EXPECT_THAT(alone, Not(HasSubstr("Reference</th>")));
    EXPECT_THAT(alone, Not(HasSubstr("class=\"odd\"")));
}

TEST(Report, TableMarksAreColoursAndNoText) {
    const CaseFolder folder;
    const HostileFilter filter;
    const OrvReport report = MakeReport(folder, filter, false);
    const std::string html = BuildHtmlReport(report);
    EXPECT_THAT(html, HasSubstr("<th>Label</th>"));
    EXPECT_THAT(html, HasSubstr("<td>!kept</td><td class=\"odd\">&lt;script"));
    EXPECT_THAT(html, HasSubstr("<td class=\"note\">maybe</td>"));
    EXPECT_THAT(html, Not(HasSubstr("*IMG*")));

    const std::string tsv = BuildTsv(report.sections[0]);
    EXPECT_THAT(tsv, HasSubstr("\nLabel\t"));
    EXPECT_THAT(tsv, HasSubstr("\n!kept\t<script>"));
    EXPECT_THAT(tsv, HasSubstr("\n'=1+1\tmaybe\n")) << "a formula is inert";
    EXPECT_THAT(tsv, HasSubstr("\n\ta\\tb\\nc\n"));
    EXPECT_THAT(tsv, Not(HasSubstr("not to be shown")));
}
