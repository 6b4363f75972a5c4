#include "orvcore/report/manualtext.h"

#include <gmock/gmock.h>

#include "orvcore/filters/filterlist.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/zorexception.h"

using testing::HasSubstr;
using testing::Not;

TEST(ManualText, EveryFilterHasItsPlaceInTheManual) {
    std::vector<std::pair<std::string, std::string>> filters;
    for (const auto& filter : CreateAllFilters())
        filters.emplace_back(filter->GetId(), filter->GetNameUtf8());
    const std::string html = ManualToHtml(PathJoin(GetAppDataPath(), "docs/en"), "1.2.3", filters);
    EXPECT_THAT(html, HasSubstr("Reference manual, version 1.2.3"));
    EXPECT_THAT(html, Not(HasSubstr("is missing.")));
    EXPECT_THAT(html, HasSubstr("<h2>Keyboard</h2>"));
    EXPECT_THAT(html, HasSubstr("<td><tt>Ctrl+O</tt></td><td>Open the evidence</td>"));
    if (!FolderExists(PathJoin(GetAppDataPath(), "docs/en/filters")))
        GTEST_SKIP() << "the filters have no texts of their own";
    for (const auto& [id, name] : filters) {
        const std::string anchor = "<a name=\"filter-" + id + "\"></a>";
        const std::size_t at = html.find(anchor);
        EXPECT_NE(at, std::string::npos) << name;
        EXPECT_EQ(html.find(anchor, at + 1), std::string::npos) << name << " has two places";
    }
}

TEST(ManualText, TheMarksOfLinesBecomeElementsAndTheRestStaysText) {
    const TemporaryFolder folder;
    WriteFile(
        folder / "manual.txt",
        std::string(
            "# Title\n=below @VERSION@\n\nOne & <b>two</b>\nthree\n## Head\n- first\n-- goes on\n- second\n"
            "| key|its meaning\n| lonely\n>cmd --x < y\n>  second\n!window.svg 206\n@own\n@gone\n@../manual\nEnd of Some Filter"));
    WriteFile(folder / "filters/own.txt", std::string("- Own Filter does <this>.\n@own\n"));
    const std::string html =
        ManualToHtml(folder / "", "9", {{"own", "Own Filter"}, {"some", "Some Filter"}, {"none", "No Such"}});
    EXPECT_EQ(
        html,
        "<html><body>\n<h1>Title</h1>\n<p><i>below 9</i></p>\n<p>One &amp; &lt;b&gt;two&lt;/b&gt; three </p>\n"
        "<h2>Head</h2>\n<ul>\n<li>first goes on</li>\n<li>second</li></ul>\n"
        "<table cellpadding=\"3\">\n<tr><td><tt>key</tt></td><td>its meaning</td></tr>\n"
        "<tr><td><tt>lonely</tt></td><td></td></tr>\n</table>\n<pre>cmd --x &lt; y\n  second\n</pre>\n"
        "<a name=\"filter-own\"></a>\n<ul>\n<li>Own Filter does &lt;this&gt;.</li></ul>\n<p>@own </p>\n"
        "<a name=\"filter-gone\"></a>\n<p>The text on gone is missing.</p>\n"
        "<p><a name=\"filter-some\"></a>End of Some Filter </p>\n</body></html>\n");
    EXPECT_THROW(ManualToHtml(folder / "nowhere", "9", {}), ZorException);
}
