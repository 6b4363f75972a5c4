#include "orvcore/tables/tables.h"

#include <gtest/gtest.h>
#include <wx/arrstr.h>
#include <wx/translation.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tools/folder/copyfiles.h"
#include "tests/support/fulldisk.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"
#include "zorbase/zorexception.h"

namespace {

const std::vector<std::string> kHostile = {
    "<script>alert(1)</script>",
    "\"><img src=x onerror=alert(1)>",
    "' onmouseover='alert(1)",
    "</td></tr></table><h1>x</h1>",
    "<!-- open",
    "&lt;b&gt; & &amp;",
    "]]><![CDATA[ <b>",
    "=HYPERLINK(\"http://example.invalid\")",
    "@SUM(A1)",
    "two\nlines\tand a tab",
    "right \u202Egpj.exe",
    "\u05E9\u05DC\u05D5\u05DD",
    "%s%n%d",
    "!mark",
    "?mark",
    "*IMG*0",
    "\\!escaped",
    "C:\\x\\t",
    "</style><script>",
    "\" onload=\"alert(1)\" style=\"x:expression(alert(1))",
    "-1+1|cmd",
};

TableString HostileTable() {
    TableString table = {{"#Name", TableCell("<b>label</b>\"")}};
    for (const std::string& text : kHostile)
        table.push_back({TableCell(text), MarkCell(CellMark::StandsOut, text)});
    return table;
}

std::vector<std::string> ColumnOf(const TableString& table) {
    std::vector<std::string> cells;
    for (std::size_t i = 1; i < table.size(); ++i) cells.push_back(table[i][0]);
    return cells;
}

// Reads the page with the parser of another language's standard library: prints each element with its attributes,
// and the text of each cell in hexadecimal.
constexpr const char* kParser = R"(
import html.parser, sys
class P(html.parser.HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True); self.cell=None
    def handle_starttag(self, tag, attrs):
        print('E', tag, ' '.join(a+'='+(v or '').replace(chr(10),' ') for a, v in attrs))
        if tag in ('td','th','p','h3'): self.cell=''
    def handle_startendtag(self, tag, attrs): self.handle_starttag(tag, attrs)
    def handle_endtag(self, tag):
        if tag in ('td','th','p','h3'):
            print('T', self.cell.encode('utf-8').hex()); self.cell=None
    def handle_data(self, data):
        if self.cell is not None: self.cell += data
    def handle_comment(self, data): print('E comment')
p=P(); p.feed(open(sys.argv[1], encoding='utf-8', newline='').read()); p.close()
)";

struct Parsed {
    std::vector<std::string> elements;
    std::vector<std::string> texts;
};

Parsed Parse(const TemporaryFolder& folder, const std::string& page) {
    WriteFile(folder / "parse.py", std::string(kParser));
    Parsed parsed;
    FILE* pipe = popen(("python3 '" + folder / "parse.py" + "' '" + page + "'").c_str(), "r");
    std::string line;
    for (int c; (c = std::fgetc(pipe)) != EOF;) {
        if (c != '\n') {
            line += static_cast<char>(c);
            continue;
        }
        if (line.starts_with("E ")) parsed.elements.push_back(line.substr(2));
        if (line.starts_with("T")) {
            std::string text;
            for (std::size_t i = 2; i + 1 < line.size(); i += 2)
                text += static_cast<char>(std::stoi(line.substr(i, 2), nullptr, 16));
            parsed.texts.push_back(text);
        }
        line.clear();
    }
    EXPECT_EQ(pclose(pipe), 0);
    return parsed;
}

// Every order that a column must have, written in it.
const std::vector<std::vector<std::string>> kOrders = {
    {"", "-10", "-2.5", "0", "1e-3", "9", "10", "1,000", "1,000.5", "2e4"},
    {"1/2000 s", "1/125 s", "1/60 s", "0.5 s", "2 s"},
    {"9 bytes", "10 bytes", "1,234 bytes (1.2 KB)", "12,345,678 bytes (11.8 MB)"},
    {"640 x 480", "4000 x 2250", "4000 x 3000"},
    {"1999:12:31 23:59:59", "2000-01-01", "02.01.2000", "2026-11-21 14:03:59 +0100",
     "2026-11-21 13:04:00 +0000", "2026-11-21T13:04:00.5Z"},
    {"5", "2001-02-03", "2001-02-03.jpg", "a"},  // numbers, dates, names
    {"a1.jpg", "a2.jpg", "A10.jpg", "a010b.jpg", "b1.jpg", "b1.jpg.bak", "z"},
    {"1.2.3", "1.2.10", "12abc", "IMG 2", "IMG 10"},
    {"!3", "?20", "100"},  // marks are no part of the text
    {"*IMG*3", "a"},
};

}  // namespace

TEST(TableSort, OrdersNumbersDatesAndNames) {
    std::mt19937 random(7);
    for (const auto& expected : kOrders) {
        for (int round = 0; round < 5; ++round) {
            TableString table = {{"label"}};
            std::vector<std::string> shuffled = expected;
            std::shuffle(shuffled.begin(), shuffled.end(), random);
            for (const std::string& cell : shuffled) table.push_back({cell});
            SortVecVecString(table, 0, true);
            EXPECT_EQ(ColumnOf(table), expected);
            SortVecVecString(table, 0, false);
            EXPECT_EQ(ColumnOf(table), std::vector<std::string>(expected.rbegin(), expected.rend()));
            EXPECT_EQ(table[0][0], "label");
        }
    }
}

TEST(TableSort, IsStableBothWaysAndToleratesShortRows) {
    TableString table = {{"a", "b"}, {"x", "1"}, {"y", "1.0"}, {"z"}, {"w", "1"}, {"v", "0"}};
    SortVecVecString(table, 1, true);
    EXPECT_EQ(ColumnOf(table), (std::vector<std::string>{"z", "v", "x", "y", "w"}));
    SortVecVecString(table, 1, false);
    EXPECT_EQ(ColumnOf(table), (std::vector<std::string>{"x", "y", "w", "v", "z"}));
    const TableString before = table;
    SortVecVecString(table, 2, true);
    SortVecVecString(table, -1, true);
    EXPECT_EQ(table, before);
    TableString empty;
    SortVecVecString(empty, 0, true);

    WxTable wide = {{"n"}, {"b"}, {"10"}, {"9"}};
    SortVecVecString(wide, 0, true);
    EXPECT_EQ(wide, (WxTable{{"n"}, {"9"}, {"10"}, {"b"}}));
}

// Sorting relies on the comparison being a strict weak order, whatever the cells are.
TEST(TableSort, ComparesAnyCellsConsistently) {
    const std::string alphabet = "01:-/.,+ eTZ!?a\\\xC3\xA9%";
    std::mt19937 random(11);
    std::vector<std::string> cells;
    for (const auto& order : kOrders) cells.insert(cells.end(), order.begin(), order.end());
    for (int i = 0; i < 60; ++i) {
        std::string cell;
        for (std::size_t length = random() % 12; length > 0; --length)
            cell += alphabet[random() % alphabet.size()];
        cells.push_back(cell);
    }
    for (const int size : {250, 256, 300}) {
        cells.push_back(std::string(static_cast<std::size_t>(size), '7'));
        cells.push_back("a" + std::string(static_cast<std::size_t>(size), '7') + "x");
        cells.push_back(std::string(static_cast<std::size_t>(size), 'q') + "1");
    }
    for (const auto& a : cells) {
        for (const auto& b : cells) {
            const int ab = CompareCells(a, b);
            ASSERT_EQ(ab<0, CompareCells(b, a)> 0) << a << " | " << b;
            TableString pair = {{""}, {a}, {b}};
            SortVecVecString(pair, 0, true);
            ASSERT_EQ(pair[1][0], ab > 0 ? b : a) << "keys disagree: " << a << " | " << b;
            for (const auto& c : cells)
                ASSERT_FALSE(ab <= 0 && CompareCells(b, c) <= 0 && CompareCells(a, c) > 0)
                    << a << " | " << b << " | " << c;
        }
    }
}

TEST(TableSort, GivesUpWhenAskedTo) {
    TableString table = {{"n"}};
    for (int i = 0; i < 10000; ++i) table.push_back({ToString(i)});
    std::stop_source source;
    source.request_stop();
    EXPECT_TRUE(SortRows(table, OwnOrder(table), 0, true, source.get_token()).empty());
    EXPECT_TRUE(FilterRows(table, OwnOrder(table), "1", source.get_token()).empty());
}

TEST(TableFilter, KeepsRowsWithEveryWord) {
    const TableString table = {
        {"a", "b"}, {"!IMG_1.JPG", "Canon"}, {"img_2.jpg", "Nikon"}, {"\u00C9t\u00E9", "?"}, {}};
    const auto kept = [&](const std::string& filter) { return FilterRows(table, OwnOrder(table), filter); };
    EXPECT_EQ(kept("img"), (TableOrder{0, 1}));
    EXPECT_EQ(kept("  nik  IMG "), TableOrder{1});
    EXPECT_EQ(kept("!"), TableOrder{}) << "marks are not searched";
    EXPECT_EQ(kept("t\u00E9"), TableOrder{2});
    EXPECT_EQ(kept(""), (TableOrder{0, 1, 2, 3}));
    EXPECT_FALSE(CellContains("abc", ""));
}

TEST(TableExport, HtmlHoldsNothingThatACellBrought) {
    const TemporaryFolder folder;
    const std::string page = folder / "<page> \"1\".html";
    const TableString table = HostileTable();
    SaveImageInfoTableAsHtml(page, table, true);
    EXPECT_TRUE(FileExists(folder / "style.css"));
    const Parsed parsed = Parse(folder, page);

    std::vector<std::string> texts = {"Name", "<b>label</b>\""};
    for (const std::string& text : kHostile) texts.insert(texts.end(), {text, text});
    EXPECT_EQ(parsed.texts, texts);
    // Head and body of the page, then for each row its element and its cells.
    std::vector<std::string> body;
    const auto start = std::find(parsed.elements.begin(), parsed.elements.end(), "tbody ");
    ASSERT_NE(start, parsed.elements.end());
    EXPECT_EQ(start - parsed.elements.begin(), 14);
    for (std::size_t i = 0; i < kHostile.size(); ++i) body.insert(body.end(), {"tr ", "td ", "td class=odd"});
    EXPECT_EQ(std::vector<std::string>(start + 1, parsed.elements.end()), body);
}

TEST(TableExport, ReportHoldsNothingThatACellBrought) {
    const TemporaryFolder folder;
    std::vector<TableReportEntry> entries;
    std::vector<std::string> texts;
    for (const std::string& text : kHostile) {
        entries.push_back({text, "/photos/" + text, 160, 120, {{"Label", text}}});
        texts.insert(texts.end(), {"Id " + text, "Label " + text});
    }
    SaveTableReport(folder / "report.html", entries.size(), [&](std::size_t i) { return entries[i]; });
    const Parsed parsed = Parse(folder, folder / "report.html");
    EXPECT_EQ(parsed.texts, texts);
    const auto start = std::find(parsed.elements.begin(), parsed.elements.end(), "h2 ");
    ASSERT_NE(start, parsed.elements.end());
    ASSERT_EQ(parsed.elements.end() - start, static_cast<std::ptrdiff_t>(1 + 3 * kHostile.size()));
    for (auto element = start + 1; element != parsed.elements.end(); element += 3) {
        EXPECT_EQ(*element, "h3 ");
        EXPECT_TRUE((element + 1)->starts_with("img src=file:///photos/")) << *(element + 1);
        EXPECT_TRUE((element + 1)->ends_with(" width=160 height=120")) << *(element + 1);
        EXPECT_EQ(*(element + 2), "p ");
    }
    const std::string page = ReadFile(folder / "report.html");
    EXPECT_NE(page.find("<h2>Exported Images</h2>\n<h3>Id &lt;script"), std::string::npos);
}

TEST(TableExport, TsvHasOneLinePerRowAndNoFormulas) {
    const TableString table = HostileTable();
    const std::vector<std::string> lines = StringToVecString(TableToTsv(table), "\n");
    ASSERT_EQ(lines.size(), table.size() + 1);
    EXPECT_EQ(lines[0], "Name\t<b>label</b>\"");
    for (std::size_t i = 0; i < kHostile.size(); ++i) {
        const std::vector<std::string> cells = StringToVecString(lines[i + 1], "\t");
        ASSERT_EQ(cells.size(), 2u) << lines[i + 1];
        EXPECT_EQ(cells[0], EscapeTsv(kHostile[i]));
        EXPECT_EQ(cells[1], cells[0]) << "a mark is no text";
        EXPECT_EQ(std::string("=+-@").find(cells[0][0]), std::string::npos);
    }
    const TableOrder order = {2, 0};
    EXPECT_EQ(TableToTsv({{"#a", "b"}, {"1", "2"}, {"3", "4"}, {"5"}}, &order), "a\tb\n5\t\n1\t2\n");
    EXPECT_EQ(TableToTsv({}), "");
}

TEST(TableExport, IsWholeOrNotThere) {
    const TemporaryFolder folder;
    WriteFile(folder / "style.css", std::string("mine"));
    SaveImageInfoTableAsHtml(PathToWx(folder / "a.html"), WxTable{{"a"}, {"1"}}, true);
    EXPECT_EQ(ReadFile(folder / "style.css"), "mine") << "a style sheet of the user stays";
    EXPECT_TRUE(FileExists(folder / "a.html"));
    std::filesystem::create_directory(folder / "taken.tsv");
    EXPECT_THROW(SaveImageInfoTableAsTsv(folder / "taken.tsv", {{"a"}}), ZorException);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 3)
        << "nothing half-written";
    SaveImageInfoTableAsTsv(PathToWx(folder / "t.tsv"), WxTable{{"a"}, {"!x"}});
    EXPECT_EQ(ReadFile(folder / "t.tsv"), "a\nx\n");
}

// Whatever ends a write early, a full disk or the user: the old file stays, and nothing else.
TEST(TableExport, AWriteThatEndsEarlyLeavesWhatWasThere) {
    const TemporaryFolder folder;
    TableString table = {{"a", "Full Path"}};
    for (int i = 0; i < 3000; ++i) table.push_back({std::string(100, 'x'), "/photos/" + ToString(i)});
    const auto entry = [&](std::size_t i) {
        return TableReportEntry{ToString(static_cast<int>(i)), table[i + 1][1], 1, 1, {}};
    };
    using Save = std::function<void(const std::string&, const TableProgress&)>;
    const std::vector<Save> saves = {
        [&](const auto& path, const auto& progress) {
            SaveImageInfoTableAsTsv(path, table, nullptr, progress);
        },
        [&](const auto& path, const auto& progress) {
            SaveImageInfoTableAsHtml(path, table, true, nullptr, progress);
        },
        [&](const auto& path, const auto& progress) { SaveTableReport(path, 3000, entry, progress); },
    };
    for (std::size_t i = 0; i < saves.size(); ++i) {
        const std::string path = folder / (ToString(static_cast<int>(i)) + "/export");
        WriteFile(path, std::string("old"));
        const auto expectOld = [&](const char* when) {
            EXPECT_EQ(ReadFile(path), "old") << i << when;
            EXPECT_EQ(std::distance(std::filesystem::directory_iterator(PathFolder(path)), {}), 1)
                << i << when;
        };
        try {
            const FullDisk full(100000);
            saves[i](path, {});
            FAIL() << i << ": everything fitted";
        } catch (const ZorException& exception) {
            EXPECT_NE(std::string(exception.GetMessage()).find(path + "\": File too large"),
                      std::string::npos)
                << exception.GetMessage();
        }
        expectOld(" on a full disk");
        double told = 0;
        EXPECT_THROW(saves[i](path,
                              [&told](double done) {
                                  EXPECT_GT(done, told);
                                  told = done;
                                  if (done > 0.5) ZOR_THROW(Aborted, "Stopped.");
                              }),
                     ZorException);
        EXPECT_LT(told, 0.51);
        expectOld(" when it was stopped");
        saves[i](path, [&told](double done) { told = done; });
        EXPECT_EQ(told, 1.0);
        EXPECT_GT(ReadFile(path).size(), 200000u);
    }
}

TEST(TableExport, AFileOfTheTableIsRefusedUnderAnyName) {
    const TemporaryFolder folder;
    const std::string photo = folder / "a \xFF.jpg";
    WriteFile(photo, std::string("x"));
    std::filesystem::create_symlink(photo, folder / "link");
    const TableString table = {{"Name", "Full Path"}, {"short"}, {"", "/gone"}, {"", PathToUtf8(photo)}};
    for (const std::string& path :
         {photo, folder / "link", folder / "../" + PathName(folder.Path()) + "/link"})
        EXPECT_THROW(RefuseListedFile(path, table, 1), ZorException) << path;
    RefuseListedFile(folder / "new", table, 1);
    RefuseListedFile(photo, table, -1);
    RefuseListedFile(photo, table, 0);
}

TEST(TableExport, TakesACellOfTenMegabytes) {
    const std::string text(10 << 20, '<');
    const TableString table = {{"a", "b"}, {text, "x"}};
    EXPECT_EQ(TableToTsv(table).size(), text.size() + 7);
    EXPECT_NE(TableToHtml(table).find("&lt;</td><td>x</td>"), std::string::npos);
    EXPECT_LT(FormatTable(table).size(), 100000u);
    EXPECT_LT(DisplayText(text, true).size(), 1100u);
}

TEST(TableText, IsAlignedAndInert) {
    EXPECT_EQ(FormatTable(TableString{{"#Name", "\u00E9t\u00E9"}, {"!x", "?y"}, {"long name", "two\nlines"}}),
              "Name       \u00E9t\u00E9\nx          y\nlong name  two\u21b5lines\n");
    const struct {
        std::string text;
        std::string shown;
    } cases[] = {
        {"a\nb", "a\nb"},           {"a\tb", "a b"},
        {"x\u202Ey", "x[U+202E]y"}, {std::string("a\0b", 3), "a[U+0000]b"},
        {"\xFF", "\uFFFD"},         {"\u05E9", "\u05E9"},
    };
    for (const auto& each : cases) EXPECT_EQ(DisplayText(each.text, true), each.shown);
    EXPECT_EQ(DisplayText("ab\u00E9cd", true, 3), "ab\u00E9\u2026") << "characters are never cut in two";
}

// A catalogue of a few texts, one of which becomes what looks like a mark.
class TestCatalogue : public wxTranslationsLoader {
  public:
    wxMsgCatalog* LoadCatalog(const wxString& domain, const wxString&) override {
        const std::vector<std::pair<std::string, std::string>> texts = {
            {"Name", "Nom"}, {"Size", "!Taille"}, {"Yes", "?Oui"}, {"a.jpg", "b.jpg"}};
        std::string file("\xDE\x12\x04\x95\0\0\0\0", 8);
        const auto add = [&file](std::size_t number) {
            for (int shift = 0; shift < 32; shift += 8) file += static_cast<char>(number >> shift);
        };
        for (const std::size_t number : {texts.size(), std::size_t{28}, 28 + 8 * texts.size()}) add(number);
        add(0);
        add(0);
        std::string strings;
        const std::size_t start = 28 + 16 * texts.size();
        for (const bool isTranslation : {false, true}) {
            for (const auto& [from, to] : texts) {
                const std::string& text = isTranslation ? to : from;
                add(text.size());
                add(start + strings.size());
                strings += text + '\0';
            }
        }
        file += strings;
        return wxMsgCatalog::CreateFromData(wxScopedCharBuffer::CreateNonOwned(file.data(), file.size()),
                                            domain);
    }
    wxArrayString GetAvailableTranslations(const wxString&) const override {
        wxArrayString languages;
        languages.Add("fr");
        return languages;
    }
};

TEST(TableText, TranslationKeepsMarks) {
    const WxTable table = {{"#Name", "", "Size"}, {"!Yes", "?unknown", "\\!x"}, {"Yes", "*IMG*3", "#Size"}};
    EXPECT_EQ(TranslateTable(table, -1), table) << "without a catalogue a text stands as it is";

    auto* translations = new wxTranslations;
    translations->SetLoader(new TestCatalogue);
    translations->SetLanguage("fr");
    ASSERT_TRUE(translations->AddCatalog("test"));
    wxTranslations::Set(translations);
    EXPECT_EQ(
        TranslateTable(table, -1),
        (WxTable{{"#Nom", "", "\\!Taille"}, {"!?Oui", "?unknown", "\\!x"}, {"\\?Oui", "*IMG*3", "#Size"}}));
    EXPECT_EQ(TranslateTable(table, 1)[1], table[1]);
    // Exports translate the labels alone: cells hold what files say.
    EXPECT_EQ(TableToTsv({{"#Name", "Size"}, {"a.jpg", "Yes"}}), "Nom\t!Taille\na.jpg\tYes\n");
    wxTranslations::Set(nullptr);
}

TEST(CopyFiles, CopiesEachUnderItsNameAndOverwritesNothing) {
    const TemporaryFolder folder;
    for (const char* name : {"a/x.jpg", "b/x.jpg", "a/.hidden"}) WriteFile(folder / name, std::string(name));
    const std::string target = folder / "out";
    WriteFile(target + "/x.jpg", std::string("old"));
    const std::vector<std::string> paths = {folder / "a/x.jpg", folder / "b/x.jpg", folder / "a/.hidden"};
    EXPECT_EQ(CopyFiles(paths, target, OrvJob()), 3);
    EXPECT_EQ(ReadFile(target + "/x.jpg"), "old");
    EXPECT_EQ(ReadFile(target + "/x (2).jpg"), "a/x.jpg");
    EXPECT_EQ(ReadFile(target + "/x (3).jpg"), "b/x.jpg");
    EXPECT_EQ(ReadFile(target + "/.hidden"), "a/.hidden");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(target), {}), 4);
}

TEST(CopyFiles, TellsWhatItCouldNotCopyAfterTheOthers) {
    const TemporaryFolder folder;
    WriteFile(folder / "good", std::string(3 << 20, 'g'));
    std::filesystem::create_symlink("/dev/zero", folder / "endless");
    // What an interrupted program of the same number left behind is in nobody's way.
    std::filesystem::create_directory(folder / "out");
    for (int i = 0; i < 1000; ++i)
        std::ofstream(folder / "out/.orvane-new-" + ToString(getpid()) + "-" + ToString(i) + ".tmp");
    try {
        CopyFiles({folder / "gone", folder.Path(), folder / "endless", folder / "good"}, folder / "out",
                  OrvJob());
        FAIL() << "nothing was told";
    } catch (const ZorException& exception) {
        EXPECT_NE(std::string(exception.GetMessage()).find("3 of 4 files were not copied:\n\"gone\""),
                  std::string::npos)
            << exception.GetMessage();
    }
    EXPECT_EQ(ReadFile(folder / "out/good"), std::string(3 << 20, 'g'));

    {
        const FullDisk full(1 << 20);
        EXPECT_THROW(CopyFiles({folder / "good"}, folder / "full", OrvJob()), ZorException);
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder / "full"));

    std::stop_source source;
    source.request_stop();
    EXPECT_THROW(CopyFiles({folder / "good"}, folder / "aborted", OrvJob(source.get_token())), ZorException);
    EXPECT_TRUE(std::filesystem::is_empty(folder / "aborted"));
}
