#include "orvgui/shell/layoutfile.h"

#include <gtest/gtest.h>

namespace {

const std::vector<LayoutPane> kPanes = {{"Evidence", false}, {"Viewer", true}};

// As the docking manager writes it.
wxString Pane(const wxString& name, const wxString& direction, const wxString& state = "2044") {
    return "name=" + name + ";caption=Some\\;thing;state=" + state + ";dir=" + direction +
           ";layer=0;row=0;pos=0;prop=100000;bestw=200;besth=60;minw=200;minh=-1;maxw=-1;maxh=-1;floatx=-1;floaty=-1;"
           "floatw=-1;floath=-1|";
}

wxString Perspective(const wxString& evidence, const wxString& viewer) {
    return "layout2|" + evidence + viewer + "dock_size(5,0,0)=22|dock_size(1,0,0)=62|";
}

wxString GoodPerspective() {
    return Perspective(Pane("Evidence", "1"), Pane("Viewer", "5", "768"));
}

wxString File(const wxString& maximised, const wxString& size, const wxString& perspective,
              const wxString& rest = "\n") {
    return maximised + "\n" + size + "\n" + perspective + rest;
}

const wxString kSize = "{\"height\":600,\"width\":800}";

}  // namespace

TEST(LayoutFile, ReadsBackWhatItWrites) {
    OrvLayout layout;
    layout.maximised = true;
    layout.width = 1111;
    layout.height = 777;
    layout.perspective = GoodPerspective();
    layout.columnWidths = {{"grid", {80, 120}}, {wxString::FromUTF8("Übersicht"), {40}}};
    const wxString text = LayoutToText(layout);
    EXPECT_EQ(4u, text.Freq('\n') + 1u);

    const auto read = LayoutFromText(text, kPanes);
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->maximised);
    EXPECT_EQ(1111, read->width);
    EXPECT_EQ(777, read->height);
    EXPECT_EQ(layout.perspective, read->perspective);
    EXPECT_EQ(layout.columnWidths, read->columnWidths);
}

TEST(LayoutFile, TakesDamagedFilesAsAbsent) {
    ASSERT_TRUE(LayoutFromText(File("false", kSize, GoodPerspective()), kPanes));
    EXPECT_TRUE(LayoutFromText(File("false", kSize, GoodPerspective(), ""), kPanes)) << "widths are optional";
    EXPECT_TRUE(LayoutFromText(File("true", "800x600", GoodPerspective()), kPanes)) << "the screen's size";
    const struct {
        const char* what;
        wxString text;
    } cases[] = {
        {"empty", ""},
        {"one line", "false"},
        {"two lines", "false\n" + kSize},
        {"maximised, no panes", File("true", kSize, "")},
        {"no bool", File("yes", kSize, GoodPerspective())},
        {"no JSON", File("false", "800x600", GoodPerspective())},
        {"no size", File("false", "[800,600]", GoodPerspective())},
        {"size of nothing", File("false", "{\"width\":0,\"height\":0}", GoodPerspective())},
        {"huge size", File("false", "{\"width\":100000,\"height\":600}", GoodPerspective())},
        {"foreign", File("false", kSize, "layout1|something")},
        {"empty perspective", File("false", kSize, "")},
    };
    for (const auto& c : cases) EXPECT_FALSE(LayoutFromText(c.text, kPanes)) << c.what;
}

TEST(LayoutFile, TakesSizesFrom100To32767) {
    for (const auto& [side, isTaken] : {std::pair{99, false}, {100, true}, {32767, true}, {32768, false}}) {
        const wxString sizes[] = {wxString::Format("{\"height\":%d,\"width\":500}", side),
                                  wxString::Format("{\"height\":500,\"width\":%d}", side)};
        for (const wxString& size : sizes)
            EXPECT_EQ(LayoutFromText(File("false", size, GoodPerspective()), kPanes).has_value(), isTaken)
                << size;
    }
}

TEST(LayoutFile, RefusesEveryTruncatedPerspective) {
    const wxString whole = GoodPerspective();
    ASSERT_TRUE(IsPerspectiveValid(whole, kPanes));
    const std::size_t firstDock = whole.find("dock_size(1");
    for (std::size_t length = 0; length < whole.length(); ++length) {
        // Only a text cut exactly after a complete dock entry cannot be told from a whole one, and does no harm.
        EXPECT_EQ(length == firstDock, IsPerspectiveValid(whole.Left(length), kPanes)) << length;
    }
}

TEST(LayoutFile, RefusesPerspectivesThatWouldHideOrMisplacePanes) {
    const wxString evidence = Pane("Evidence", "1"), viewer = Pane("Viewer", "5");
    const struct {
        const char* what;
        wxString evidence, viewer;
        bool valid;
    } cases[] = {
        {"moved to the bottom", Pane("Evidence", "3"), viewer, true},
        {"pane missing", "", viewer, false},
        {"pane twice", evidence + evidence, viewer, false},
        {"unknown pane", evidence + Pane("Other", "1"), viewer, false},
        {"centre not in the centre", evidence, Pane("Viewer", "4"), false},
        {"two panes in the centre", Pane("Evidence", "5"), viewer, false},
        {"no direction", Pane("Evidence", "0"), viewer, false},
        {"direction that does not exist", Pane("Evidence", "6"), viewer, false},
        {"hidden", Pane("Evidence", "1", "2046"), viewer, false},
        {"floating", Pane("Evidence", "1", "2045"), viewer, false},
        {"no number", Pane("Evidence", "1", "many"), viewer, false},
        {"huge number", Pane("Evidence", "1", "99999999999999999999"), viewer, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.valid, IsPerspectiveValid(Perspective(c.evidence, c.viewer), kPanes)) << c.what;
    }
    EXPECT_FALSE(IsPerspectiveValid("layout2|" + evidence + viewer, kPanes)) << "no dock sizes";
    EXPECT_FALSE(IsPerspectiveValid(GoodPerspective() + "dock_size(5,0)=1|", kPanes));
    EXPECT_FALSE(IsPerspectiveValid(GoodPerspective() + "dock_size(1,0,0)=-5|", kPanes));
    EXPECT_FALSE(IsPerspectiveValid(GoodPerspective() + "dock_size(1,0,0)=62", kPanes));
}

TEST(LayoutFile, ColumnWidths) {
    const struct {
        ColumnWidths widths;
        wxString text;
    } writes[] = {
        {{}, ""},
        {{{"b", {5}}, {"a", {10, 20}}}, "a=10;20|b=5"},
        {{{"a", {}}}, "a"},
        {{{"a", {}}, {"b", {1}}}, "a|b=1"},
    };
    for (const auto& c : writes) {
        EXPECT_EQ(c.text, ColumnWidthsToText(c.widths));
        ColumnWidths read;
        ColumnWidthsFromText(c.text, read);
        EXPECT_EQ(c.widths, read) << c.text;
    }
    ColumnWidths widths = {{"summary", {1, 2}}, {"kept", {7}}};
    ColumnWidthsFromText("grid=80;x;12px;;-3|summary=40|", widths);
    const ColumnWidths expected = {{"grid", {80, 0, 12, 0, -3}}, {"kept", {7}}, {"summary", {40}}};
    EXPECT_EQ(expected, widths);
}
