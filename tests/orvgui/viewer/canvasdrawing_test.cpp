// What lies over a picture on its canvas: marks of maps, the examiner's marks, the selection's outline; and what stands in its place.

#include <wx/dcscreen.h>

#include "orvgui/viewer/annotationpaint.h"
#include "orvgui/viewer/maplegend.h"
#include "tests/orvgui/drawing.h"
#include "tests/orvgui/viewer/canvasfixture.h"
#include "zorbase/text.h"

namespace {

using Items = std::vector<std::string>;
using Kind = OrvAnnotation::Kind;

class CanvasDrawingTest : public CanvasTest {
  protected:
    // A grey picture in a canvas of 400 x 300.
    void Open(int width, int height, double zoom, int scrollX = 0, int scrollY = 0) {
        Size(400, 300);
        Show(cv::Mat(height, width, CV_8UC3, cv::Scalar(90, 90, 90)));
        m_canvas->InitZoom();
        m_canvas->SetZoom(0, 0, zoom, 0, 0);
        m_canvas->ScrollTo(scrollX, scrollY);
        ASSERT_EQ(m_canvas->GetViewStart(), wxPoint(scrollX, scrollY));
    }
    Items DrawnOnCanvas() {
        return Drawn(
            [this](wxDC& dc) {
                m_canvas->DoPrepareDC(dc);
                m_canvas->Draw(dc);
            },
            m_canvas->GetFont());
    }
    wxSize Extent(const std::string& text) {
        wxScreenDC dc;
        dc.SetFont(m_canvas->GetFont());
        return dc.GetTextExtent(ToWx(text));
    }
};

std::string Text(int x, int y, const std::string& rest) {
    return "text " + std::to_string(x) + "," + std::to_string(y) + " " + rest;
}

std::string Box(int x, int y, int width, int height, const std::string& rest) {
    return "rect " + std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(width) + "x" +
           std::to_string(height) + " " + rest;
}

}  // namespace

TEST_F(CanvasDrawingTest, LinesOfAMapJoinTheMiddlesOfPixelsAtEveryZoom) {
    const struct {
        double zoom;
        int scrollX, scrollY;
        Items lines;
    } cases[] = {
        // Scrolled by 20 and 12 screen pixels; the canvas ends before column 420.
        {4.0, 5, 3, {"line 42,42 82,50", "line 362,30 482,30"}},
        // In the middle of the canvas: 250 and 200 image pixels of border.
        {0.5, 0, 0, {"line 130,105 135,106", "line 170,104 185,104", "line 180,104 185,104"}},
    };
    for (const auto& c : cases) {
        Open(300, 200, c.zoom, c.scrollX, c.scrollY);
        m_canvas->SetMarks({{{10, 10}, {20, 12}}, {{90, 7}, {120, 7}}, {{110, 7}, {120, 7}}}, {});
        Items expected;
        for (const std::string& line : c.lines) {
            expected.push_back(line + " #000000 3");
            expected.push_back(line + " #FFDC00 1");
        }
        EXPECT_EQ(Only(DrawnOnCanvas(), "line"), expected) << c.zoom;
    }
    // Only the newest marks, and none of them over another picture that is shown in place.
    m_canvas->SetMarks({{{1, 1}, {9, 9}}}, {});
    EXPECT_EQ(Only(DrawnOnCanvas(), "line").size(), 2U);
    m_canvas->ShowInstead(Image(cv::Mat(200, 300, CV_8UC3, cv::Scalar::all(5))));
    EXPECT_EQ(Only(DrawnOnCanvas(), "line").size(), 0U);
    m_canvas->ShowOwn();
    EXPECT_EQ(Only(DrawnOnCanvas(), "line").size(), 2U);
    m_canvas->SetMarks({}, {});
    EXPECT_EQ(Only(DrawnOnCanvas(), "line").size(), 0U);
    // One more than the most is one that is not drawn.
    for (const std::size_t count : {4999U, 5000U}) {
        std::vector<OrvMapLine> lines(count, {{10, 10}, {20, 12}});
        lines.push_back({{40, 99.5F}, {140, 99.5F}});
        m_canvas->SetMarks(lines, {});
        const wxImage painted = Paint();
        EXPECT_EQ(painted.GetRed(170, 150) == 255, count == 4999U) << count;
    }
}

TEST_F(CanvasDrawingTest, RegionsOfAMapAreFramedAndNamed) {
    Open(300, 200, 4.0, 5, 3);
    m_canvas->SetMarks({}, {{Roi(15, 20, 10, 8), "ab"},
                            {Roi(0, 0, 10, 10), "top"},
                            {Roi(100, 50, 30, 5), ""},
                            {Roi(200, 20, 10, 8), "beyond"}});
    const wxSize ab = Extent("ab");
    const wxSize top = Extent("top");
    const std::string edge = "#000000 3 no fill";
    const std::string colour = "#FFDC00 1 no fill";
    const std::string ground = "no pen fill #000000";
    // Seen are columns from 20 and rows from 12 on; frames go on 8 pixels beyond.
    const int cut = 20 + m_canvas->GetClientSize().x + 8 - 400;
    const Items expected = {
        Box(60, 80, 41, 33, edge),
        Box(60, 80, 41, 33, colour),
        Box(60, 80 - ab.y - 2, ab.x + 6, ab.y + 2, ground),
        Text(63, 80 - ab.y - 1, "#FFDC00 ab"),
        Box(12, 4, 29, 37, edge),
        Box(12, 4, 29, 37, colour),
        Box(12, 4, top.x + 6, top.y + 2, ground),
        Text(15, 5, "#FFDC00 top"),
        Box(400, 200, cut, 21, edge),
        Box(400, 200, cut, 21, colour),
    };
    Items items;
    for (const std::string& item : DrawnOnCanvas())
        if (item.starts_with("text") || (item.starts_with("rect") && !item.ends_with("#C8C8C8")))
            items.push_back(item);
    EXPECT_EQ(items, expected);
    // A name goes above its box as soon as there is room for it, and not before.
    Open(400, 300, 1.0);
    for (const int room : {0, 1}) {
        const int box = ab.y + 1 + room;
        m_canvas->SetMarks({}, {{Roi(15, box, 10, 8), "ab"}});
        EXPECT_EQ(Only(DrawnOnCanvas(), "text"), Items{Text(18, room == 1 ? 1 : box + 1, "#FFDC00 ab")})
            << room;
    }
}

TEST_F(CanvasDrawingTest, TheOutlineHasItsCornersWhereTheSelectionHas) {
    Open(300, 200, 4.0, 5, 3);
    m_canvas->SetDrawRect(wxRect(10, 12, 20, 15), true);
    Items expected;
    for (const char* line :
         {"line 40,48 120,48", "line 40,108 120,108", "line 120,48 120,108", "line 40,48 40,108"}) {
        expected.push_back(std::string(line) + " #000000 1");
        expected.push_back(std::string(line) + " #FFFFFF 1 dashed");
    }
    EXPECT_EQ(Only(DrawnOnCanvas(), "line"), expected);
    // In a picture with borders they count.
    Open(300, 200, 0.5);
    m_canvas->SetDrawRect(wxRect(10, 12, 20, 15), true);
    EXPECT_EQ(Only(DrawnOnCanvas(), "line")[0], "line 130,106 140,106 #000000 1");
    EXPECT_EQ(Only(DrawnOnCanvas(), "line")[2], "line 130,114 140,114 #000000 1");
    EXPECT_EQ(Only(DrawnOnCanvas(), "line")[4], "line 140,106 140,114 #000000 1");
}

TEST_F(CanvasDrawingTest, TheMessageStandsInTheMiddle) {
    Size(400, 300);
    m_canvas->SetEmptyMessage("nothing\nto see here");
    const wxSize first = Extent("nothing");
    const wxSize second = Extent("to see here");
    EXPECT_EQ(DrawnOnCanvas(),
              (Items{"rect 0,0 400x300 #C0C0C0 1 fill #C0C0C0",
                     Text((400 - second.x) / 2 + (second.x - first.x) / 2, (300 - 2 * first.y) / 2,
                          "#000000 nothing"),
                     Text((400 - second.x) / 2, (300 - 2 * first.y) / 2 + first.y, "#000000 to see here")}));
}

TEST_F(CanvasDrawingTest, TheRightAndLowerEdgeAreCorrectedByAStripAsThickAsAPixel) {
    const auto corrections = [this](double zoom, int width, int height) {
        Open(width, height, zoom);
        return Drawn([this](wxDC& dc) { m_canvas->CorrectBorders(&dc); }, m_canvas->GetFont());
    };
    const std::string grey = "no pen fill #C8C8C8";
    EXPECT_EQ(corrections(2.0, 300, 200), (Items{Box(0, 299, 400, 3, grey), Box(399, 0, 3, 300, grey)}));
    EXPECT_EQ(corrections(1.0, 500, 200), (Items{Box(399, 0, 2, 300, grey)})) << "borders above and below";
    EXPECT_EQ(corrections(1.0, 300, 400), (Items{Box(0, 299, 400, 2, grey)}));
}

TEST_F(CanvasDrawingTest, TheExaminersMarksAreDrawnInInkOnADarkEdge) {
    Open(300, 200, 2.0, 10, 20);  // 20 and 40 screen pixels
    const auto mark = [](Kind kind, Roi place, const char* text) {
        OrvAnnotation annotation;
        annotation.kind = kind;
        annotation.sha256 = "ab";
        annotation.place = place;
        annotation.text = text;
        return annotation;
    };
    const std::vector<OrvAnnotation> marks = {mark(Kind::Rectangle, {30, 40, 50, 25}, ""),
                                              mark(Kind::Arrow, {100, 60, 40, 0}, ""),
                                              mark(Kind::Text, {60, 100, 0, 0}, "here")};
    const auto drawn = [&](int selected) {
        SetCanvasMarks(*m_canvas, marks, selected);
        return Drawn(
            [this](wxDC& dc) {
                m_canvas->DoPrepareDC(dc);
                DrawAnnotationMarks(dc, *m_canvas, m_shared);
            },
            m_canvas->GetFont());
    };
    const wxSize here = Extent("here");
    Items expected;
    for (const std::string pen : {"#000000 4", "#5ADCFF 2"})
        expected.push_back("rect 60,80 100x50 " + pen + " no fill");
    // The shaft joins middles of pixels; the barbs are 14 long, 0.45 from it: 12.6 back and 6.1 aside.
    for (const std::string pen : {"#000000 4", "#5ADCFF 2"})
        for (const std::string line :
             {"line 201,121 281,121 ", "line 281,121 268,127 ", "line 281,121 268,115 "})
            expected.push_back(line + pen);
    expected.push_back(Box(120, 200, here.x + 6, here.y + 2, "no pen fill #000000"));
    expected.push_back(Text(123, 201, "#5ADCFF here"));
    EXPECT_EQ(drawn(-1), expected);
    // The chosen one has handles of 7 pixels about its corners or ends.
    const auto handles = [&](int selected) {
        Items found;
        for (const std::string& item : Only(drawn(selected), "rect"))
            if (item.ends_with("7x7 #000000 1 fill #FFFFFF"))
                found.push_back(item.substr(5, item.find(' ', 5) - 5));
        return found;
    };
    EXPECT_EQ(handles(0), (Items{"57,77", "157,127", "157,77", "57,127"}));
    EXPECT_EQ(handles(1), (Items{"198,118", "278,118"}));
    EXPECT_EQ(handles(2), (Items{"117,197"}));
    EXPECT_EQ(MarkLabelSize(*m_canvas, marks[2]), (IntPair{here.x + 6, here.y + 2}));
    EXPECT_EQ(MarkLabelSize(*m_canvas, marks[0]), IntPair());
    // What is not seen costs nothing: the frame is cut 14 pixels beyond the canvas, a label that is out of sight left out.
    SetCanvasMarks(*m_canvas, {mark(Kind::Rectangle, {30, 40, 900, 900}, "far")}, -1);
    const Items far = Drawn(
        [this](wxDC& dc) {
            m_canvas->DoPrepareDC(dc);
            DrawAnnotationMarks(dc, *m_canvas, m_shared);
        },
        m_canvas->GetFont());
    const wxSize client = m_canvas->GetClientSize();
    EXPECT_EQ(far[0], Box(60, 80, client.x - 26, client.y - 26, "#000000 4 no fill"));
    EXPECT_EQ(Only(far, "text").size(), 1U);
    SetCanvasMarks(*m_canvas, {mark(Kind::Text, {290, 10, 0, 0}, "far")}, -1);
    EXPECT_TRUE(DrawnOnCanvas().size() > 0 && Only(DrawnOnCanvas(), "text").empty());
}

TEST_F(CanvasDrawingTest, TheLegendShowsClassesOrARangeWithItsThreshold) {
    auto* legend = new MapLegend(m_frame);
    const int line = legend->GetCharHeight() + 2;
    const auto draw = [legend](wxDC& dc) { legend->Draw(dc, wxSize(212, 90)); };
    const std::string ground = "rect 0,0 212x90 no pen fill #FFFFFF";
    EXPECT_EQ(Drawn(draw, legend->GetFont()), Items{ground}) << "no map yet";

    OrvMap map;
    map.values = cv::Mat(2, 2, CV_8U, cv::Scalar(1));
    map.image = {2, 2};
    map.scale = OrvMapScale::Classes;
    map.classNames = {"calm", "odd"};
    legend->SetMap(map);
    EXPECT_EQ(legend->GetMinSize().y, 12 + 2 * line);
    Items items = Drawn(draw, legend->GetFont());
    ASSERT_EQ(items.size(), 5U);
    EXPECT_EQ(items[2], Text(6 + line, 6, "#000000 calm"));
    EXPECT_EQ(items[4], Text(6 + line, 6 + line, "#000000 odd"));
    EXPECT_TRUE(items[1].starts_with(Box(6, 7, line - 3, line - 3, "#000000 1 fill "))) << items[1];
    EXPECT_TRUE(items[3].starts_with(Box(6, 7 + line, line - 3, line - 3, "#000000 1 fill "))) << items[3];
    EXPECT_NE(items[1].substr(items[1].size() - 6), items[3].substr(items[3].size() - 6));
    map.classNames.assign(20, "many");
    legend->SetMap(map);
    EXPECT_EQ(legend->GetMinSize().y, 12 + 12 * line) << "the first twelve";

    // Colour pictures have a grey scale: 200 columns from black to white.
    map.scale = OrvMapScale::Sequential;
    map.classNames.clear();
    map.values = cv::Mat(2, 2, CV_8UC3, cv::Scalar::all(1));
    map.range = {0.0, 100.0};
    map.threshold = 20.0;
    map.thresholdSide = OrvMapSide::Above;
    legend->SetMap(map);
    EXPECT_EQ(legend->GetMinSize().y, 12 + 14 + 8 + 2 * line);
    items = Drawn(draw, legend->GetFont());
    const int top = 6 + line + 4;
    const auto column = [top](int x, int from, int to, const char* colour) {
        return "line " + std::to_string(x) + "," + std::to_string(top + from) + " " + std::to_string(x) +
               "," + std::to_string(top + to) + " " + colour + " 1";
    };
    const Items lines = Only(items, "line");
    ASSERT_GE(lines.size(), 204U);
    EXPECT_EQ(lines[0], column(6, 0, 14, "#000000"));
    EXPECT_EQ(lines[100], column(106, 0, 14, "#808080"));
    EXPECT_EQ(lines[199], column(205, 0, 14, "#FFFFFF"));
    EXPECT_EQ(lines[200], column(6, 14, 18, "#000000")) << "the lowest number";
    EXPECT_EQ(lines.back(), column(6 + 39, -4, 14, "#000000")) << "a fifth of the way: the threshold";
    const Items texts = Only(items, "text");
    EXPECT_EQ(texts.front(), Text(std::max(6 - Extent("0").x / 2, 0), top + 18, "#000000 0"));
    EXPECT_EQ(texts.back(), Text(45 - Extent("20").x / 2, 6, "#000000 20"));
    EXPECT_EQ(texts[texts.size() - 2], Text(212 - Extent("100").x, top + 18, "#000000 100"));
    // A value map has its scale's own colours.
    map.values = cv::Mat(2, 2, CV_8U, cv::Scalar(1));
    legend->SetMap(map);
    const Items coloured = Only(Drawn(draw, legend->GetFont()), "line");
    EXPECT_NE(coloured[100], lines[100]);
}
