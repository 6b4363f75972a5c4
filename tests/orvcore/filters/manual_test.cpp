// What is written about the filters, held against the filters.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "orvcore/filters/filterlist.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

std::string Text(const std::string& path) {
    return ReadFile(std::string(ORVANE_SOURCES) + "/" + path);
}

bool HasLine(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

}  // namespace

// Each filter's text is a file of its own, stands once in the manual, tells the filter's name, fits the page, and has a place for the
// measured rates where the filter judges.
TEST(Manual, EveryFilterHasItsText) {
    const std::string manual = Text("data/docs/en/manual.txt");
    std::set<std::string> ids;
    for (const auto& filter : CreateAllFilters()) {
        const std::string id = filter->GetId();
        ids.insert(id);
        const std::string path = "data/docs/en/filters/" + id + ".txt";
        ASSERT_TRUE(FileExists(std::string(ORVANE_SOURCES) + "/" + path)) << path;
        const std::string text = Text(path);
        EXPECT_TRUE(text.starts_with("- " + filter->GetNameUtf8() + " ")) << path;
        EXPECT_TRUE(text.ends_with("\n")) << path;
        for (const std::string& line : StringToVecString(text, "\n")) {
            EXPECT_LE(line.size(), 122U) << path << ": " << line;
            EXPECT_TRUE(line.empty() || line.starts_with("- ") || line.starts_with("-- ") || line == "@rates")
                << path << ": " << line;
        }
        EXPECT_TRUE(HasLine(manual, "@" + id)) << id << " is missing in the manual";
        const std::string group = filter->GetAnalysisTypeUtf8();
        // What the file says is no guess: only filters on traces have rates.
        const bool isTrace = group != "File" && group != "JPEG" && group != "Looking";
        if (isTrace) {
            EXPECT_EQ(HasLine(text, "@rates"), filter->GivesVerdict()) << path;
        }
    }
    for (const std::string& line : StringToVecString(manual, "\n")) {
        if (!line.starts_with("@")) continue;
        EXPECT_EQ(ids.erase(line.substr(1)), 1U) << line << " is no filter, or stands there twice";
    }
}
