#include "orvgui/pages/filterguiplot.h"

#include <gtest/gtest.h>
#include <wx/sizer.h>

#include "orvgui/common/statictext.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "orvgui/tables/listctrl.h"
#include "tests/orvgui/pagefixture.h"

namespace {

class PlotPageTest : public PageFixture {
  protected:
    void SetUp() override {
        PageFixture::SetUp();
        filter = Register<PlotTestFilter>();
        page = MakePage<OrvFilterGuiPlot>(filter);
        ShowFrame();
    }
    void Load(OrvFileId slot, int height) {
        LoadFile(slot, height);
        Pump();
    }
    bool ShowsEvidence() const { return page->GetEvidencePlot()->IsShown(); }
    bool ShowsReference() const { return page->GetReferencePlot()->IsShown(); }

    PlotTestFilter* filter = nullptr;
    OrvFilterGuiPlot* page = nullptr;
};

TEST_F(PlotPageTest, ShowsOnePlotPerLoadedFile) {
    EXPECT_FALSE(ShowsReference());
    Load(OrvEvidence, 16);
    EXPECT_TRUE(ShowsEvidence());
    EXPECT_FALSE(ShowsReference());
    const int full = page->GetEvidencePlot()->GetSize().GetHeight();
    EXPECT_GT(full, 350);
    Load(OrvReference, 20);
    EXPECT_TRUE(ShowsEvidence());
    EXPECT_TRUE(ShowsReference());
    EXPECT_NEAR(page->GetEvidencePlot()->GetSize().GetHeight(), full / 2, 2);
    EXPECT_NEAR(page->GetReferencePlot()->GetSize().GetHeight(), full / 2, 2);
    Load(OrvEvidence, 0);
    EXPECT_FALSE(ShowsEvidence());
    EXPECT_TRUE(ShowsReference());
    EXPECT_NEAR(page->GetReferencePlot()->GetSize().GetHeight(), full, 2);
    // The description stays on top.
    bool described = false;
    for (const wxWindow* child : page->GetChildren()) {
        const auto* text = dynamic_cast<const OrvStaticText*>(child);
        if (text == nullptr || !text->GetText().Contains("grey level")) continue;
        described = text->IsShown() &&
                    text->GetRect().GetBottom() <= page->GetReferencePlot()->GetRect().GetTop() + 4;
    }
    EXPECT_TRUE(described);
    page->ResetViewerPanel();
    EXPECT_FALSE(ShowsEvidence() || ShowsReference());
}

// A plot and a table of as many rows as the file has bytes, within reason.
class PlotTableFilter : public OrvFilterPlot {
  public:
    PlotTableFilter() : OrvFilterPlot("Plot and table", "plot-table") {
        Describe("Test", "Gives both.");
        SetParameters({}, {},
                      {Parameter::Output(ParameterType::OutputInt64, "peak", "Peak"),
                       Parameter::Output(ParameterType::TableString, "values", "Values")});
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob&,
                 OrvSlotResult& result) const override {
        result.plot.x = {0, 1, 2};
        result.plot.curves = {{1, 2, 3}};
        result.plot.layerCount = 1;
        TableString table{{"Row", "Value"}};
        for (int row = 0; row < 40; ++row)
            table.push_back({std::to_string(row), std::to_string(file.GetBytes().size())});
        result.Set("values", table);
        result.Set("peak", std::int64_t{3});
    }
};

TEST_F(PlotPageTest, TablesStandBesideThePlots) {
    EXPECT_EQ(page->GetTablePanel(), nullptr) << "no table, no panel";
    auto* tables = MakePage<OrvFilterGuiPlot>(Register<PlotTableFilter>());
    page->Hide();
    page = tables;
    Load(OrvEvidence, 16);
    wxWindow* panel = tables->GetTablePanel();
    ASSERT_NE(panel, nullptr);
    OrvListCtrl* list = nullptr;
    for (wxWindow* child : panel->GetChildren())
        if (auto* found = dynamic_cast<OrvListCtrl*>(child)) list = found;
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->GetNumberRows(), 40);
    ASSERT_TRUE(PumpUntil([&] { return tables->GetEvidencePlot()->GetSize().y > 300; }))
        << "the table takes no height from the plot";
    EXPECT_GE(panel->GetRect().GetLeft(), tables->GetEvidencePlot()->GetRect().GetRight());
    EXPECT_GT(list->GetSize().x, 200);
    for (const auto& [asked, least, most] : {std::tuple{500, 500, 500}, {10, 150, 250}, {5000, 400, 600}}) {
        tables->SetTableWidth(asked);
        Pump();
        EXPECT_GE(panel->GetSize().x, least) << asked;
        EXPECT_LE(panel->GetSize().x, most) << asked;
        EXPECT_GE(tables->GetEvidencePlot()->GetSize().x, 290) << asked;
    }
    // A new result comes into the same table.
    const wxString before = list->GetCellValue(0, 1);
    Load(OrvEvidence, 300);
    EXPECT_NE(list->GetCellValue(0, 1), before);
}

// The plots get the larger part, the tables as much as they need of the rest.
TEST_F(PlotPageTest, TablesAreAsWideAsTheirColumns) {
    auto* tables = MakePage<OrvFilterGuiPlot>(Register<PlotTableFilter>());
    page->Hide();
    page = tables;
    frame->SetClientSize(1300, 700);
    Load(OrvEvidence, 16);
    OrvListCtrl* list = nullptr;
    for (wxWindow* child : tables->GetTablePanel()->GetChildren())
        if (auto* found = dynamic_cast<OrvListCtrl*>(child)) list = found;
    ASSERT_NE(list, nullptr);
    for (const int width : {100, 190, 260}) {
        list->SetColumnWidths({width, width});
        tables->UpdateGui();
        PumpFrames();
        const int most = tables->GetClientSize().x * 45 / 100;
        EXPECT_GE(list->GetClientSize().x, std::min(2 * width, most - 60)) << width;
        EXPECT_LE(tables->GetTablePanel()->GetSize().x, std::max(most, 320)) << width;
    }
}

// A title that is too long ends in an ellipsis inside the plot; nothing of it lies under the edge.
TEST_F(PlotPageTest, LongTitlesAreCutWithASign) {
    for (const bool isSmall : {false, true}) {
        auto* plot = new PlotPanel(frame, wxID_ANY);
        if (isSmall) plot->GetPlotWindow()->SetSmall();
        plot->SetSize(260, 200);
        plot->Layout();
        wxImage none;
        plot->ConfigurePlot({0, 1, 2}, {{1, 2, 3}}, 1, nullptr, none, 0, {}, {});
        const auto render = [plot](const wxString& title) {
            plot->SetTexts("x", "Level", title);
            return plot->Render();
        };
        const Image brief = render("Evidence");
        const Image full = render("Evidence: " + wxString('w', 60));
        EXPECT_TRUE(full.IsEqual(render("Evidence: " + wxString('w', 80)))) << "cut at the same place";
        EXPECT_FALSE(full.IsEqual(brief));
        ASSERT_TRUE(full.IsValid());
        const int title = 24;  // rows that it stands in
        int lastInk = 0;
        for (int y = 0; y < title; ++y)
            for (int x = 0; x < full.GetWidth(); ++x)
                if (full.GetMat().at<cv::Vec3b>(y, x)[0] < 128) lastInk = std::max(lastInk, x);
        EXPECT_GT(lastInk, full.GetWidth() / 2) << isSmall;
        EXPECT_LT(lastInk, full.GetWidth() - 4) << isSmall;
        plot->Destroy();
    }
}

TEST_F(PlotPageTest, APageThatWasNeverSeenHasNoImage) {
    auto* unseen = new OrvFilterGuiPlot(page->GetParent(), filter);
    unseen->Hide();
    LoadFile(OrvEvidence, 16);
    EXPECT_FALSE(unseen->GetDisplayedImage().IsValid());
    unseen->ResetViewerPanel();
    unseen->Destroy();
}

TEST_F(PlotPageTest, TheDisplayedImageHoldsBothPlotsOneRowApart) {
    EXPECT_FALSE(page->GetDisplayedImage().IsValid());
    Load(OrvEvidence, 16);
    const Image one = page->GetDisplayedImage();
    EXPECT_TRUE(one.IsEqual(page->GetEvidencePlot()->Render()));
    Load(OrvReference, 20);
    const Image evidence = page->GetEvidencePlot()->Render();
    const Image reference = page->GetReferencePlot()->Render();
    const Image both = page->GetDisplayedImage();
    ASSERT_EQ(both.GetHeight(), evidence.GetHeight() + reference.GetHeight());
    ASSERT_EQ(both.GetWidth(), evidence.GetWidth());
    EXPECT_FALSE(evidence.IsEqual(reference)) << "two files with two results";
    const int second = evidence.GetHeight() - 1;
    const int rows = std::min(evidence.GetHeight(), reference.GetHeight());
    const auto part = [&both](const Image& image, int top, int height) {
        return Image(image.GetMat()(cv::Rect(0, top, both.GetWidth(), height)).clone());
    };
    EXPECT_TRUE(part(both, 0, second).IsEqual(part(evidence, 0, second)));
    EXPECT_TRUE(part(both, second, rows).IsEqual(part(reference, 0, rows)));
}

TEST_F(PlotPageTest, TheChosenChannelIsShown) {
    Load(OrvEvidence, 16);
    const Image red = page->GetEvidencePlot()->Render();
    VecParameter post = filter->GetParametersPostProcessing();
    post.Find("layer")->SetValue(2);
    const OrvFilterResultPtr before = filter->GetResult();
    core->Configure(filter, -1, filter->GetParametersInput(), post, false);
    Settle();
    EXPECT_EQ(filter->GetResult()->computed[OrvEvidence], before->computed[OrvEvidence])
        << "nothing is computed again";
    EXPECT_FALSE(red.IsEqual(page->GetEvidencePlot()->Render()));
}

TEST_F(PlotPageTest, PlotsHaveTheirNamesTheirTwinsAndTheirLayers) {
    PlotWindow* evidence = page->GetEvidencePlot()->GetPlotWindow();
    PlotWindow* reference = page->GetReferencePlot()->GetPlotWindow();
    EXPECT_EQ(evidence->GetName(), "Evidence Image Value");
    EXPECT_EQ(reference->GetName(), "Reference Image Value");
    EXPECT_EQ(page->GetEvidencePlot()->GetId(), 6000);
    EXPECT_EQ(page->GetReferencePlot()->GetId(), 6001);
    for (const PlotWindow* plot : {evidence, reference}) {
        EXPECT_EQ(plot->GetEvidencePlot(), evidence);
        EXPECT_EQ(plot->GetReferencePlot(), reference);
    }
    const struct {
        const char* name;
        wxColour colour;
        int width;
    } layers[] = {{"X", wxNullColour, 0},
                  {"Y", wxNullColour, 0},
                  {"blueHelpLine", wxColour(0, 128, 255), 3},
                  {"greenHelpLine", *wxGREEN, 3},
                  {"purpleHelpLine", wxColour(255, 0, 255), 3},
                  {"Histogram", wxNullColour, 0},
                  {"Line", *wxBLACK, 2},
                  {"Points", *wxBLACK, 2},
                  {"InfoCoords", *wxBLACK, 1}};
    ASSERT_EQ(evidence->CountAllLayers(), std::size(layers) + 1);
    for (std::size_t i = 0; i < std::size(layers); ++i) {
        mpLayer* layer = evidence->GetLayer(static_cast<int>(i));
        EXPECT_EQ(layer->GetName(), layers[i].name);
        if (layers[i].width == 0) continue;
        EXPECT_EQ(layer->GetPen().GetColour(), layers[i].colour) << layers[i].name;
        EXPECT_EQ(layer->GetPen().GetWidth(), layers[i].width) << layers[i].name;
    }
    EXPECT_NE(dynamic_cast<mpText*>(evidence->GetLayer(static_cast<int>(std::size(layers)))), nullptr);
}

TEST_F(PlotPageTest, WheelAndDragZoomAndTheTwinFollows) {
    Load(OrvEvidence, 16);
    Load(OrvReference, 20);
    PlotWindow* plot = page->GetEvidencePlot()->GetPlotWindow();
    PlotWindow* twin = page->GetReferencePlot()->GetPlotWindow();
    const wxRect area = plot->GetPlotArea();
    const wxPoint middle = area.GetTopLeft() + wxSize(area.GetWidth() / 2, area.GetHeight() / 2);
    const auto send = [plot](wxEventType type, const wxPoint& point, int rotation = 0) {
        wxMouseEvent event(type);
        event.SetPosition(point);
        event.m_wheelRotation = rotation;
        event.m_wheelDelta = 120;
        event.SetEventObject(plot);
        plot->GetEventHandler()->ProcessEvent(event);
    };
    const double whole = plot->GetScaleX();
    const double under = plot->p2x(middle.x);
    send(wxEVT_MOUSEWHEEL, middle, 120);
    EXPECT_NEAR(plot->GetScaleX(), whole * 1.25, whole * 0.01);
    EXPECT_NEAR(plot->p2x(middle.x), under, 1) << "the point under the mouse stays";
    EXPECT_NEAR(twin->GetScaleX(), plot->GetScaleX(), whole * 0.01);

    const double zoomed = plot->GetScaleX();
    page->UpdateGui();
    Pump();
    EXPECT_EQ(plot->GetScaleX(), zoomed) << "the same extent keeps the view";

    const double left = plot->p2x(middle.x);
    const double right = plot->p2x(middle.x + 100);
    send(wxEVT_LEFT_DOWN, middle);
    send(wxEVT_MOTION, middle + wxSize(100, 50));
    send(wxEVT_LEFT_UP, middle + wxSize(100, 50));
    EXPECT_NEAR(plot->p2x(area.GetLeft()), left, 1);
    EXPECT_NEAR(plot->p2x(area.GetRight()), right, 1);

    send(wxEVT_LEFT_DCLICK, middle);
    EXPECT_NEAR(plot->GetScaleX(), whole, whole * 0.001);
    EXPECT_NEAR(twin->GetScaleX(), whole, whole * 0.001);

    // The value under the mouse is the bar's, not the pixel's.
    auto* coordinates = dynamic_cast<PlotCoordinates*>(plot->GetLayerByName("InfoCoords"));
    ASSERT_NE(coordinates, nullptr);
    send(wxEVT_MOTION, wxPoint(plot->x2p(240) + 1, middle.y));
    EXPECT_TRUE(coordinates->GetText().Contains("\n240: 20000")) << coordinates->GetText();
    send(wxEVT_LEAVE_WINDOW, wxPoint(-1, -1));
}

TEST(PlotPanelTest, BarsCurvesMarksAndHelpLinesAreDrawnWhereTheyBelong) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "Plot");
    auto* panel = new PlotPanel(frame, wxID_ANY);
    panel->SetSize(500, 400);
    panel->Layout();
    unsigned long long counts[] = {10, 0, 5, 0, 0, 10};
    wxImage none;
    PlotWindow* plot = panel->GetPlotWindow();
    const auto at = [&](const Image& image, double x, double y) {
        const auto& pixel = image.GetMat().at<cv::Vec3b>(plot->y2p(y), plot->x2p(x));
        return wxColour(pixel[2], pixel[1], pixel[0]);
    };
    panel->ConfigurePlot({0, 1, 2}, {}, 2, counts, none, 0, {}, {});
    Image image = panel->Render();
    EXPECT_NE(at(image, 0, 7.3), *wxWHITE);
    EXPECT_EQ(at(image, 1.1, 7.3), *wxWHITE);
    EXPECT_EQ(at(image, 2.1, 7.3), *wxWHITE);
    EXPECT_NE(at(image, 2.1, 2.3), *wxWHITE);
    panel->ConfigurePlot({0, 1, 2}, {}, 2, counts, none, 5, {}, {});  // beyond the last layer: the last
    image = panel->Render();
    EXPECT_EQ(at(image, 0.1, 7.3), *wxWHITE);
    EXPECT_NE(at(image, 2, 7.3), *wxWHITE);
    panel->ConfigurePlot({0, 1, 2}, {{0, 10, 0}}, 0, nullptr, none, 0, {{2.0F}, {10.0F}},
                         {{0, 5, 2, 5}, {}, {0, 2, 2, 2}});
    image = panel->Render();
    EXPECT_EQ(at(image, 0.5, 5 + 0.0), *wxBLACK) << "the curve crosses the help line and lies on it";
    EXPECT_EQ(at(image, 1.2, 5), wxColour(0, 128, 255));
    EXPECT_EQ(at(image, 1.2, 2), wxColour(255, 0, 255));
    // Hostile data: not numbers, of different lengths, enormous.
    panel->ConfigurePlot({0, 1, 2, 3}, {{NAN, INFINITY, 1e30F}}, 3, nullptr, none, 2, {{1.0F}}, {{1}});
    EXPECT_TRUE(panel->Render().IsValid());
    frame->Destroy();
    Pump();
}

TEST(PlotPanelTest, PlotsOfTwoFilesShareOneScale) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "Plots");
    PlotPanel* panels[] = {new PlotPanel(frame, wxID_ANY), new PlotPanel(frame, wxID_ANY)};
    unsigned long long low[] = {3, 10, 5};
    unsigned long long high[] = {40, 100, 7};
    wxImage none;
    const auto fill = [&](PlotPanel* panel, unsigned long long* counts) {
        panel->SetSize(400, 300);
        panel->Layout();
        panel->ConfigurePlot({0, 1, 2}, {}, 1, counts, none, 0, {}, {});
    };
    fill(panels[0], low);
    fill(panels[1], high);
    PlotWindow& first = *panels[0]->GetPlotWindow();
    PlotWindow& second = *panels[1]->GetPlotWindow();
    EXPECT_NE(first.y2p(10), second.y2p(10));
    ShareScaleY(first, second);
    for (const double value : {0.0, 10.0, 100.0}) EXPECT_EQ(first.y2p(value), second.y2p(value)) << value;
    EXPECT_GT(first.y2p(100), 0) << "the larger one is in sight";
    // Data that shrinks takes the common scale with it; alone a plot has its own again.
    fill(panels[1], low);
    ShareScaleY(first, second);
    const int common = first.y2p(10);
    first.SetLeastRangeY(1, 0);
    first.FitNewData();
    EXPECT_EQ(first.y2p(10), common);
    frame->Destroy();
    Pump();
}

TEST(PlotAxis, StepsAndNumbersAreRound) {
    const std::pair<double, double> steps[] = {{0.7, 1}, {1, 1},       {1.1, 2},   {2.1, 5},
                                               {6, 10},  {0.03, 0.05}, {1e7, 1e7}, {0, 1}};
    for (const auto& [gap, step] : steps) EXPECT_NEAR(ChooseTickStep(gap), step, step * 1e-9) << gap;
    const struct {
        double value;
        double step;
        const char* text;
    } numbers[] = {{0, 0.5, "0"},         {1.5, 0.5, "1.5"}, {250, 50, "250"},      {250000, 50000, "250k"},
                   {12500, 500, "12.5k"}, {3e6, 1e6, "3M"},  {-0.02, 0.01, "-0.02"}};
    for (const auto& test : numbers) EXPECT_EQ(FormatTick(test.value, test.step), test.text);
}

}  // namespace

TEST(PlotPageFlow, WhatDoesNotFitGoesOnBelow) {
    EXPECT_EQ(FlowColumns({}, 100), 1);
    EXPECT_EQ(FlowColumns({40, 40, 20}, 100), 3);
    EXPECT_EQ(FlowColumns({40, 40, 20}, 99), 2) << "the third below the first";
    EXPECT_EQ(FlowColumns({40, 90, 20}, 99), 1);
    EXPECT_EQ(FlowColumns({10, 60, 60, 10, 10, 60}, 130), 3) << "60, 60, 60 do not; 10, 60, 60 do";
}
