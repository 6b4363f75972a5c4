// Plots by what they draw: axes, bars, curves, marks and texts at exact places.

#include <gtest/gtest.h>
#include <wx/dcscreen.h>
#include <wx/frame.h>

#include <algorithm>
#include <cmath>

#include "orvgui/common/fileselectors.h"
#include "orvgui/pages/plotdialog.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "tests/orvgui/drawing.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"
#include "zorbase/text.h"

namespace {

using Items = std::vector<std::string>;

class PlotDrawingTest : public testing::Test {
  protected:
    PlotDrawingTest() {
        m_frame = new wxFrame(nullptr, wxID_ANY, "Plot", wxPoint(0, 0), wxSize(700, 600));
        // The plot's own client area is 580 x 500: 500 x 400 inside the margins of 30, 30, 70 and 50.
        auto* room = new wxPanel(m_frame);
        m_panel = new PlotPanel(room, wxID_ANY);
        m_panel->SetSize(580, 500);
        m_panel->Layout();
        m_panel->SetSize(wxSize(580, 500) + m_panel->GetSize() - m_panel->GetPlot()->GetClientSize());
        m_panel->Layout();
        // Nothing else can hold the mouse.
        m_frame->Show();
        EXPECT_TRUE(PumpUntil([this] { return m_frame->IsActive(); }));
    }
    ~PlotDrawingTest() override {
        m_frame->Destroy();
        Pump();
    }
    void Configure(const std::vector<float>& x, const std::vector<std::vector<float>>& curves,
                   std::vector<unsigned long long> counts = {}, int layerCount = 1, int visible = 0,
                   const std::vector<std::vector<float>>& marks = {},
                   const std::vector<std::vector<float>>& help = {}) {
        wxImage none;
        m_panel->ConfigurePlot(x, curves, layerCount, counts.empty() ? nullptr : counts.data(), none, visible,
                               marks, help);
    }
    PlotWindow& Plot() { return *m_panel->GetPlotWindow(); }
    Items Draw() {
        return Drawn([this](wxDC& dc) { Plot().Draw(dc); }, m_panel->GetFont(), wxSize(580, 500));
    }
    wxSize Extent(const wxString& text) {
        wxScreenDC dc;
        dc.SetFont(m_panel->GetFont());
        return dc.GetTextExtent(text);
    }
    void Send(wxEventType type, wxPoint point, int wheel = 0, bool control = false, bool shift = false) {
        wxMouseEvent event(type);
        event.SetPosition(point);
        event.m_wheelRotation = wheel;
        event.m_wheelDelta = 120;
        event.SetControlDown(control);
        event.SetShiftDown(shift);
        event.SetEventObject(&Plot());
        Plot().GetEventHandler()->ProcessEvent(event);
    }
    // What is in view: left, right, lower and upper end.
    std::vector<double> View() {
        const wxRect area = Plot().GetPlotArea();
        return {Plot().p2x(area.x), Plot().p2x(area.x + area.width), Plot().p2y(area.y + area.height),
                Plot().p2y(area.y)};
    }
    void ExpectView(const std::vector<double>& expected, const char* what) {
        const std::vector<double> view = View();
        for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(view[i], expected[i], 1e-9) << what << " end " << i;
    }

    wxFrame* m_frame;
    PlotPanel* m_panel;
};

std::string Place(int x, int y) {
    return std::to_string(x) + "," + std::to_string(y);
}
std::string Line(int x1, int y1, int x2, int y2, const char* colour) {
    return "line " + Place(x1, y1) + " " + Place(x2, y2) + " " + colour + " 1";
}
bool Has(const Items& items, const std::string& item) {
    return std::find(items.begin(), items.end(), item) != items.end();
}

}  // namespace

// Bars at 0 to 9: from -0.5 to 9.5 and a hundredth of air on both sides, from 0 to 100 and three hundredths above.
TEST_F(PlotDrawingTest, AxesHaveTicksGridLinesNumbersAndNames) {
    ASSERT_EQ(Plot().GetPlotArea(), wxRect(50, 30, 500, 400));
    m_panel->SetTexts("Level", "Count", "Evidence");
    Configure({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {}, {0, 10, 20, 30, 40, 50, 60, 70, 80, 100});
    ExpectView({-0.6, 9.6, 0.0, 103.0}, "all of it");
    const Items items = Draw();
    EXPECT_EQ(items[0], "rect 0,0 580x500 no pen fill #FFFFFF");
    const auto x = [](double value) {
        return static_cast<int>(std::lround(50 + (value + 0.6) * 500 / 10.2));
    };
    const auto y = [](double value) { return static_cast<int>(std::lround(430 - value * 400 / 103.0)); };
    // 72 pixels are 1.47 along x: a number every 2. 32 pixels are 8.24 along y: every 10.
    for (int value = 0; value <= 8; value += 2) {
        const wxString number = wxString::Format("%d", value);
        EXPECT_TRUE(Has(items, Line(x(value), 30, x(value), 429, "#E4E4E4"))) << value;
        EXPECT_TRUE(Has(items, Line(x(value), 429, x(value), 434, "#606060"))) << value;
        EXPECT_TRUE(
            Has(items, "text " + Place(x(value) - Extent(number).x / 2, 438) + " #000000 " + FromWx(number)))
            << value;
    }
    for (int value = 10; value <= 100; value += 10) {
        const wxString number = wxString::Format("%d", value);
        EXPECT_TRUE(Has(items, Line(50, y(value), 549, y(value), "#E4E4E4"))) << value;
        EXPECT_TRUE(Has(items, Line(45, y(value), 50, y(value), "#606060"))) << value;
        const wxSize size = Extent(number);
        EXPECT_TRUE(
            Has(items, "text " + Place(41 - size.x, y(value) - size.y / 2) + " #000000 " + FromWx(number)))
            << value;
    }
    EXPECT_TRUE(Has(items, Line(50, 429, 550, 429, "#606060"))) << "the axis along x";
    EXPECT_TRUE(Has(items, Line(50, 30, 50, 429, "#606060"))) << "the axis along y";
    EXPECT_EQ(Only(items, "line").size(), 5U * 2 + 10 * 2 + 2) << "and no other lines";
    const wxSize level = Extent("Level");
    EXPECT_TRUE(Has(items, "text " + Place(50 + (500 - level.x) / 2, 446 + level.y) + " #000000 Level"));
    EXPECT_TRUE(Has(items, "text " + Place(8, (30 - Extent("Count").y) / 2) + " #000000 Count"));
    const wxSize title = Extent("Evidence");
    EXPECT_TRUE(Has(items, "text " + Place(549 - title.x, (30 - title.y) / 2) + " #000000 Evidence"));
}

TEST_F(PlotDrawingTest, ASmallPlotHasItsTitleAboveItsAxis) {
    Plot().SetSmall();
    m_panel->SetTexts("Level", "Count", "Evidence");
    Configure({0, 1, 2}, {}, {1, 2, 3});
    EXPECT_EQ(Plot().GetPlotArea(), wxRect(50, 46, 516, 398));
    const Items items = Draw();
    EXPECT_TRUE(Has(items, "text 8,4 #000000 Evidence"));
    EXPECT_TRUE(Has(items, "text " + Place(8, 46 - Extent("Count").y - 4) + " #000000 Count"));
}

TEST_F(PlotDrawingTest, BarsStandApartUntilSeveralShareAColumn) {
    Configure({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {}, {0, 10, 0, 30, 40, 50, 60, 70, 80, 100});
    const auto x = [](double value) {
        return static_cast<int>(std::lround(50 + (value + 0.6) * 500 / 10.2));
    };
    const auto y = [](double value) { return static_cast<int>(std::lround(430 - value * 400 / 103.0)); };
    Items bars = Only(Draw(), "rect");
    ASSERT_EQ(bars.size(), 1U + 8) << "none of no height";
    const int values[] = {1, 3, 4, 5, 6, 7, 8, 9};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        const int at = values[i];
        const int top = y(at == 9 ? 100 : 10 * at);
        EXPECT_EQ(bars[i + 1], "rect " + Place(x(at - 0.5), top) + " " +
                                   std::to_string(x(at + 0.5) - x(at - 0.5) - 1) + "x" +
                                   std::to_string(430 - top) + " no pen fill #708090")
            << at;
    }
    // 5000 bars in 500 columns: as high as the highest of each.
    std::vector<float> many(5000);
    std::vector<unsigned long long> heights(5000, 10);
    for (std::size_t i = 0; i < many.size(); ++i) many[i] = static_cast<float>(i);
    heights[2500] = 100;
    Configure(many, {}, heights);
    bars = Only(Draw(), "rect");
    EXPECT_LE(bars.size(), 502U);
    EXPECT_GE(bars.size(), 480U);
    int high = 0;
    for (const std::string& bar : bars)
        if (bar.find("," + std::to_string(y(100)) + " ") != std::string::npos) ++high;
    EXPECT_EQ(high, 1);
    // As wide as the least distance.
    Configure({0, 4, 5}, {}, {1, 1, 1});
    ExpectView({-0.56, 5.56, 0.0, 1.03}, "from -0.5 to 5.5");
}

TEST_F(PlotDrawingTest, CurvesMarksAndHelpLinesGoThroughTheirPoints) {
    Configure({0, 1, 2, 3}, {{-10, 20, 0, 10}, {0, 1, 2, 3}}, {}, 2, 0, {{1.0F, 2.0F}, {5.0F, 20.0F}},
              {{0, 10, 3, 10}, {}, {0, 0, 2, 20}});
    // A hundredth of air left and right, three hundredths of 30 below and above.
    ExpectView({-0.03, 3.03, -10.9, 20.9}, "all of it");
    const auto x = [](double value) {
        return static_cast<int>(std::lround(50 + (value + 0.03) * 500 / 3.06));
    };
    const auto y = [](double value) {
        return static_cast<int>(std::lround(30 + (20.9 - value) * 400 / 31.8));
    };
    const Items items = Draw();
    EXPECT_TRUE(Has(items, "line " + Place(x(0), y(-10)) + " " + Place(x(1), y(20)) + " " +
                               Place(x(2), y(0)) + " " + Place(x(3), y(10)) + " #000000 2"));
    EXPECT_TRUE(Has(items, "line " + Place(x(0), y(10)) + " " + Place(x(3), y(10)) + " #0080FF 3"));
    EXPECT_TRUE(Has(items, "line " + Place(x(0), y(0)) + " " + Place(x(2), y(20)) + " #FF00FF 3"));
    EXPECT_EQ(Only(items, "circle"), (Items{"circle " + Place(x(1), y(5)) + " 4 #000000 2",
                                            "circle " + Place(x(2), y(20)) + " 4 #000000 2"}));
    EXPECT_EQ(Only(items, "clip")[0], "clip 50,30 500x401");
    // The other curve.
    Configure({0, 1, 2, 3}, {{-10, 20, 0, 10}, {0, 1, 2, 3}}, {}, 2, 1);
    ExpectView({-0.03, 3.03, 0.0, 3.09}, "what starts at zero stands on the axis");
    // More than 500 marks are points.
    std::vector<std::vector<float>> cloud{{}, {}};
    for (int i = 0; i < 501; ++i) {
        cloud[0].push_back(static_cast<float>(i % 100));
        cloud[1].push_back(static_cast<float>(i / 100));
    }
    Configure({}, {}, {}, 1, 0, cloud);
    EXPECT_EQ(Only(Draw(), "point").size(), 501U);
    EXPECT_EQ(Only(Draw(), "circle").size(), 0U);
    for (auto& axis : cloud) axis.pop_back();
    Configure({}, {}, {}, 1, 0, cloud);
    EXPECT_EQ(Only(Draw(), "circle").size(), 500U);
}

// Several points on one column of pixels: where the curve enters, its lowest, its highest, where it leaves.
TEST_F(PlotDrawingTest, ADenseCurveKeepsItsExtremes) {
    std::vector<float> x;
    std::vector<float> y;
    for (int i = 0; i <= 100000; ++i) {
        x.push_back(static_cast<float>(i));
        y.push_back(50.0F);
    }
    // In the middle of one column of 204 samples: enters at 60, drops to 0, rises to 100, leaves at 40.
    const double perPixel = 102000.0 / 500.0;
    const int column = 250;
    const int first = static_cast<int>(std::ceil((column - 0.5) * perPixel - 1000.0));
    y[static_cast<std::size_t>(first)] = 60.0F;
    y[static_cast<std::size_t>(first + 50)] = 0.0F;
    y[static_cast<std::size_t>(first + 60)] = 100.0F;
    y[static_cast<std::size_t>(first + 203)] = 40.0F;
    Configure(x, {y});
    const auto at = [](double value) { return static_cast<int>(std::lround(430 - value * 400 / 103.0)); };
    std::string line;
    for (const std::string& item : Only(Draw(), "line "))
        if (item.ends_with("#000000 2")) line = item;
    const std::string expected = " " + Place(299, at(50)) + " " + Place(300, at(60)) + " " +
                                 Place(300, at(0)) + " " + Place(300, at(100)) + " " + Place(300, at(40)) +
                                 " " + Place(301, at(50)) + " ";
    EXPECT_NE(line.find(expected), std::string::npos);
    // A single point is a short line.
    Configure({5}, {{7}});
    bool isFound = false;
    for (const std::string& item : Only(Draw(), "line "))
        isFound = isFound || item == "line " + Place(55, 419) + " " + Place(56, 419) + " #000000 2";
    EXPECT_TRUE(isFound);
}

TEST_F(PlotDrawingTest, WithoutDataASentenceStandsInTheMiddle) {
    m_panel->SetTexts("Level", "Count", "Evidence");
    const wxSize size = Extent("No plot for this image");
    const Items expected = {"rect 0,0 580x500 no pen fill #FFFFFF",
                            "text " + Place(50 + (500 - size.x) / 2, 30 + (400 - size.y) / 2) +
                                " #000000 No plot for this image"};
    Configure({0, 1}, {{1, 2}});
    EXPECT_GT(Draw().size(), 5U);
    EXPECT_FALSE(Has(Draw(), expected[1]));
    Configure({}, {});
    EXPECT_EQ(Only(Draw(), "text"), Items{expected[1]}) << "the data has gone";
    Configure({}, {}, {}, 1, 0, {{1.0F}, {2.0F}});
    EXPECT_FALSE(Has(Draw(), expected[1])) << "marks alone are something";
    wxImage picture(4, 4);
    m_panel->ConfigurePlot({}, {}, 0, nullptr, picture, 0, {{0.0F, 10.0F}, {0.0F, 20.0F}}, {});
    // Over the extent of the data and the air around it, which is all of the area.
    EXPECT_EQ(Only(Draw(), "image"), Items{"image 50,30 500x400"});
    // Without a picture there is none left of the one before.
    Configure({0, 1}, {{1, 2}});
    EXPECT_EQ(Only(Draw(), "image"), Items{});
}

TEST_F(PlotDrawingTest, TheValueUnderThePointerStandsInTheCorner) {
    Configure({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {}, {0, 10, 20, 30, 40, 50, 60, 70, 80, 100});
    const auto text = [this] {
        return dynamic_cast<PlotCoordinates*>(Plot().GetLayerByName("InfoCoords"))->GetText();
    };
    const struct {
        wxPoint point;
        const char* text;
    } cases[] = {
        {{50, 430}, ""},  // one row below the area
        {{50, 429}, "x = -0.6\ny = 0.2575\n0: 0"},
        {{299, 30}, "x = 4.4796\ny = 103\n4: 40"},
        {{301, 30}, "x = 4.5204\ny = 103\n5: 50"},
        {{549, 230}, "x = 9.5796\ny = 51.5\n9: 100"},
        {{550, 230}, ""},
        {{49, 230}, ""},
    };
    for (const auto& c : cases) {
        Send(wxEVT_MOTION, c.point);
        EXPECT_EQ(text(), c.text) << c.point.x;
    }
    Send(wxEVT_MOTION, {299, 230});
    const Items before = Draw();
    wxCoord width = 0;
    for (const char* line : {"x = 4.4796", "y = 51.5", "4: 40"}) width = std::max(width, Extent(line).x);
    const int height = Extent("x").y;
    const int left = 549 - (width + 16) - 4;
    EXPECT_TRUE(Has(before, "rect " + Place(left, 34) + " " + std::to_string(width + 16) + "x" +
                                std::to_string(3 * height + 8) + " #000000 1 fill #FFFFFF"));
    EXPECT_TRUE(Has(before, "text " + Place(left + 8, 38) + " #000000 x = 4.4796"));
    EXPECT_TRUE(Has(before, "text " + Place(left + 8, 38 + height) + " #000000 y = 51.5"));
    Send(wxEVT_LEAVE_WINDOW, {299, 230});
    EXPECT_EQ(text(), "");
}

TEST_F(PlotDrawingTest, WheelDragsAndDoubleClickChangeTheView) {
    const std::vector<double> all = {-0.6, 9.6, 0.0, 103.0};
    Configure({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {}, {0, 10, 20, 30, 40, 50, 60, 70, 80, 100});
    // In by a quarter about the pointer, which is a quarter from the left and from the top.
    const double x = -0.6 + 10.2 / 4;
    const double y = 103.0 * 3 / 4;
    Send(wxEVT_MOUSEWHEEL, {175, 130}, 120);
    ExpectView({x - 10.2 / 5, x + 10.2 * 3 / 5, y - 103.0 * 3 / 5, y + 103.0 / 5}, "in");
    Send(wxEVT_MOUSEWHEEL, {175, 130}, -120);
    ExpectView(all, "out again");
    Send(wxEVT_MOUSEWHEEL, {175, 130}, 120, true);
    ExpectView({x - 10.2 / 5, x + 10.2 * 3 / 5, 0.0, 103.0}, "along x alone");
    Send(wxEVT_LEFT_DCLICK, {175, 130});
    ExpectView(all, "all of it");
    // Beside the area the wheel is about its edge.
    Send(wxEVT_MOUSEWHEEL, {3, 499}, 120);
    EXPECT_NEAR(View()[0], -0.6, 1e-9);
    Send(wxEVT_LEFT_DCLICK, {175, 130});

    // A rectangle, drawn in either direction; less than 6 pixels either way is a click.
    for (const auto& [from, to] :
         {std::pair{wxPoint(150, 130), wxPoint(300, 330)}, {wxPoint(300, 130), wxPoint(150, 330)}}) {
        Send(wxEVT_LEFT_DOWN, from);
        Send(wxEVT_MOTION, to);
        ExpectView(all, "nothing yet");
        Send(wxEVT_LEFT_UP, to);
        ExpectView({-0.6 + 10.2 / 5, -0.6 + 10.2 / 2, 103.0 / 4, 103.0 * 3 / 4}, "the rectangle");
        wxCommandEvent fit(wxEVT_MENU, mpID_FIT);
        Plot().ProcessWindowEvent(fit);
        ExpectView(all, "the menu's command");
    }
    for (const wxPoint& distance : {wxPoint(5, 100), wxPoint(100, 5), wxPoint(5, 5)}) {
        Send(wxEVT_LEFT_DOWN, {150, 130});
        Send(wxEVT_LEFT_UP, wxPoint(150, 130) + distance);
        ExpectView(all, "a click");
    }
    Send(wxEVT_LEFT_DOWN, {150, 130});
    Send(wxEVT_LEFT_UP, {156, 136});
    EXPECT_NEAR(View()[1] - View()[0], 6 * 10.2 / 500, 1e-9) << "six pixels are enough";
    Send(wxEVT_LEFT_DCLICK, {175, 130});
    // The middle button, or Shift, moves.
    for (const bool isMiddle : {true, false}) {
        Send(isMiddle ? wxEVT_MIDDLE_DOWN : wxEVT_LEFT_DOWN, {150, 130}, 0, false, !isMiddle);
        Send(wxEVT_MOTION, {170, 150});
        Send(wxEVT_MOTION, {200, 170});
        ExpectView({-0.6 - 1.02, 9.6 - 1.02, 10.3, 113.3}, "moved by a tenth");
        Send(isMiddle ? wxEVT_MIDDLE_UP : wxEVT_LEFT_UP, {200, 170});
        Send(wxEVT_MOTION, {400, 400});
        ExpectView({-0.6 - 1.02, 9.6 - 1.02, 10.3, 113.3}, "no longer held");
        Send(wxEVT_LEFT_DCLICK, {175, 130});
    }
    // So near that its digits run out, nothing goes on.
    for (int i = 0; i < 300; ++i) Send(wxEVT_MOUSEWHEEL, {300, 230}, 120);
    EXPECT_GT(View()[1] - View()[0], 1e-9);
    EXPECT_LT(View()[1] - View()[0], 1e-6);
}

TEST_F(PlotDrawingTest, TheTwinFollowsAlongXAndFitsToItsOwnData) {
    auto* other = new PlotPanel(m_panel->GetParent(), wxID_ANY);
    other->SetSize(m_panel->GetSize());
    other->Layout();
    PlotWindow& twin = *other->GetPlotWindow();
    for (PlotWindow* plot : {&Plot(), &twin}) {
        plot->SetTwins(&Plot(), &twin);
        EXPECT_EQ(plot->GetPopupMenu()->FindItem(mpID_HELP_MOUSE), nullptr) << "it tells of another mouse";
        EXPECT_EQ(plot->GetPopupMenu()->FindItem(mpID_LOCKASPECT), nullptr);
        EXPECT_NE(plot->GetPopupMenu()->FindItem(mpID_FIT), nullptr);
    }
    wxImage none;
    const auto fillTwin = [&] { other->ConfigurePlot({0, 1, 2}, {{0, 5, 10}}, 1, nullptr, none, 0, {}, {}); };
    Configure({0, 1, 2, 3, 4}, {{0, 50, 100, 50, 0}});
    fillTwin();
    const auto twinRange = [&] { return std::pair(twin.p2x(50), twin.p2x(550)); };
    const auto own = twinRange();
    EXPECT_NEAR(own.second, 2.02, 1e-9);
    Send(wxEVT_MOUSEWHEEL, {300, 230}, 120);
    EXPECT_NEAR(twinRange().first, View()[0], 1e-9);
    EXPECT_NEAR(twinRange().second, View()[1], 1e-9);
    EXPECT_NEAR(twin.p2y(30), 10.3, 1e-9) << "its own height";
    Send(wxEVT_LEFT_DCLICK, {300, 230});
    ExpectView({-0.04, 4.04, 0.0, 103.0}, "all of it");
    EXPECT_NEAR(twinRange().first, own.first, 1e-9);
    EXPECT_NEAR(twinRange().second, own.second, 1e-9);
}

TEST_F(PlotDrawingTest, ALargePlotIsSavedAsItIsSeen) {
    const CaseFolder folder;
    std::string chosen = folder / "plot.png";
    SetSelectorAnswer(
        [&](OrvSelectorKind, const wxString&, const wxString&, const wxString& name, const wxString&) {
            EXPECT_EQ(name, "plot.png");
            return ToWx(chosen);
        });
    OrvPlotData data;
    data.x = {0, 1, 2};
    data.curves = {{1, 2, 3}};
    data.layerCount = 1;
    data.text = "Levels";
    PlotDialog dialog(m_frame, "Title", data, OrvReference);
    dialog.Layout();
    EXPECT_EQ(dialog.GetEscapeId(), wxID_CLOSE);
    EXPECT_EQ(dialog.GetMinSize(), wxSize(400, 300));
    const Items texts = Only(
        Drawn([&](wxDC& dc) { dialog.GetPlot()->GetPlotWindow()->Draw(dc); }, m_frame->GetFont()), "text");
    EXPECT_TRUE(std::any_of(texts.begin(), texts.end(),
                            [](const std::string& text) { return text.ends_with(" Reference: Levels"); }));
    const auto save = [&dialog] {
        wxCommandEvent event(wxEVT_BUTTON, wxID_SAVE);
        dialog.FindWindow(wxID_SAVE)->ProcessWindowEvent(event);
    };
    save();
    const Image saved = DecodeImage(ReadFileBytes(chosen)).image;
    EXPECT_GT(saved.GetWidth(), 500);
    EXPECT_TRUE(saved.IsEqual(dialog.GetPlot()->Render()));
    chosen = folder / "plot.png/below.png";  // a file is no folder
    {
        DialogAnswers answers{wxID_OK};
        save();
        ASSERT_EQ(answers.Seen().size(), 1U);
        EXPECT_TRUE(answers.Seen()[0].starts_with("Error|")) << answers.Seen()[0];
    }
    chosen.clear();
    save();
    SetSelectorAnswer({});
}

TEST_F(PlotDrawingTest, AViewIsKeptAsLongAsTheDataReachesAsFar) {
    Configure({0, 1, 2}, {{0, 50, 100}});
    Send(wxEVT_MOUSEWHEEL, {300, 230}, 120);
    const std::vector<double> chosen = View();
    Configure({0, 1, 2}, {{0, 10, 100}});
    ExpectView(chosen, "the same extent");
    Configure({0, 1, 2}, {{0, 10, 50}});
    ExpectView({-0.02, 2.02, 0.0, 51.5}, "another extent");
    Plot().SetLeastRangeY(-10, 20);
    Plot().FitNewData();
    ExpectView({-0.02, 2.02, -11.8, 51.8}, "at least to -10");
    Plot().SetLeastRangeY(1, 0);
    Plot().FitNewData();
    ExpectView({-0.02, 2.02, 0.0, 51.5}, "the data alone again");
    // A single value has an extent of one.
    Configure({5}, {{7}});
    ExpectView({5 - 0.01, 6 + 0.01, 7 - 0.03, 8 + 0.03}, "one point");
}
