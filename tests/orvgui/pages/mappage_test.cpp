// What an image page makes of a result's maps, plots and reasons.

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/frame.h>
#include <wx/textctrl.h>

#include "orvcore/filter/mapimage.h"
#include "orvcore/report/resultpictures.h"
#include "orvgui/common/statictext.h"
#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/pages/plotdialog.h"
#include "orvgui/pages/plotlayers.h"
#include "orvgui/pages/plotpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "orvgui/viewer/mappanel.h"
#include "orvgui/viewer/selectorpanel.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/drawing.h"
#include "tests/support/guitest.h"
#include "tests/support/testcore.h"

namespace {

// A map of blocks of 10 pixels whose value is the column, off the picture's corner, and a plot.
class ColumnFilter : public OrvFilterImage {
  public:
    ColumnFilter() : OrvFilterImage("Columns", "columns") {
        Describe("Test", "Numbers the columns.");
        SetParameters({}, {}, {Parameter::Output(ParameterType::OutputString, "size", "Size")});
    }
    std::string WhyNot(const OrvLoadedFile& file, const VecParameter&) const override {
        return file.GetInfo().width < 20 ? "Smaller than two blocks" : "";
    }

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter&, const OrvJob& job,
                 OrvSlotResult& result) const override {
        const Image picture = file.GetDecoded(job)->image;
        OrvMap map;
        map.name = "Column";
        map.unit = "blocks";
        map.block = {10, 10};
        map.origin = {-5, -5};
        map.values.create((picture.GetHeight() + 14) / 10, (picture.GetWidth() + 14) / 10, CV_8U);
        for (int row = 0; row < map.values.rows; ++row)
            for (int column = 0; column < map.values.cols; ++column)
                map.values.at<std::uint8_t>(row, column) = static_cast<std::uint8_t>(column);
        map.floor = {0.0, 4.0};
        map.threshold = 2.0;
        map.thresholdSide = OrvMapSide::Above;
        map.regions.push_back({Roi(2, 2, 10, 10), "here"});
        result.AddMap(map);
        result.plot.x = {0, 1, 2};
        result.plot.curves = {{1, 2, 3}};
        result.plot.layerCount = 1;
    }
};

class MapPageTest : public testing::Test {
  protected:
    MapPageTest() {
        SetSharedWindowProperties(&m_shared);
        GetSmallImageRule().Reset();
        m_core.SetEventConsumer([](OrvCommandEvent&) {});
        m_filter =
            static_cast<ColumnFilter*>(m_core.GetContext().RegisterFilter(std::make_unique<ColumnFilter>()));
        m_frame = new wxFrame(nullptr, wxID_ANY, "maps", wxPoint(0, 0), wxSize(1200, 900));
        m_page = new OrvFilterGuiViewerDouble(m_frame, m_filter);
        m_frame->Show();
    }
    ~MapPageTest() override {
        m_frame->Destroy();
        Pump();
        m_core.WaitIdle();
        SetSharedWindowProperties(nullptr);
        GetSmallImageRule().Reset();
    }
    void Load(const std::string& evidence, const std::string& reference) {
        m_core.SetFile(PathToWx(evidence), OrvEvidence);
        m_core.SetFile(PathToWx(reference), OrvReference);
        m_core.Configure(m_filter, -1, {}, {}, false);
        m_core.WaitIdle();
    }
    void Build() {
        PumpFrames();
        m_page->SetSize(m_frame->GetClientSize());
        m_page->Init();
        m_page->Layout();
        m_page->SendSizeEvent();
        PumpFrames();
    }
    Canvas* Processed() { return static_cast<SplitterViewerPanel*>(m_page->GetViewerPanel())->GetCanvas2(); }
    static cv::Vec3b PixelOf(Canvas* canvas, int x, int y) {
        int red = 0, green = 0, blue = 0;
        canvas->GetRGB(red, green, blue, x, y);
        return cv::Vec3b(static_cast<uchar>(blue), static_cast<uchar>(green), static_cast<uchar>(red));
    }
    MapPanel& Maps() { return *m_page->GetMapPanel(); }

    CaseFolder m_folder;
    WindowProperties m_shared;
    OrvInterface m_core;
    ColumnFilter* m_filter;
    wxFrame* m_frame;
    OrvFilterGuiViewerDouble* m_page;
};

}  // namespace

TEST_F(MapPageTest, TheMapLiesOverThePictureAsMuchAsIsWanted) {
    Load(m_folder.WritePicture("a.png", 100, 64), "");
    Build();
    ASSERT_TRUE(Maps().IsShown());
    const cv::Vec3b alone = PixelOf(Processed(), 30, 30);
    Maps().SetDisplay({0, 0, false});
    EXPECT_EQ(PixelOf(Processed(), 30, 30), cv::Vec3b::all(100)) << "the picture alone";
    Maps().SetDisplay({0, 50, false});
    const cv::Vec3b half = PixelOf(Processed(), 30, 30);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(half[c], (100 * 50 + alone[c] * 50 + 50) / 100);
    Maps().SetDisplay({0, 100, true});
    EXPECT_EQ(PixelOf(Processed(), 20, 30), cv::Vec3b::all(100)) << "column 2 is not beyond the threshold";
    EXPECT_NE(PixelOf(Processed(), 30, 30), cv::Vec3b::all(100));
    Maps().SetDisplay({});
    EXPECT_EQ(PixelOf(Processed(), 30, 30), alone);
}

// Over the processed picture alone, whichever half it is in.
TEST_F(MapPageTest, TheMapsRegionsAreNamedOnTheProcessedPicture) {
    Load(m_folder.WritePicture("a.png", 100, 64), m_folder.WritePicture("b.png", 50, 64));
    Build();
    const struct {
        int mode;
        const char *first, *second;
    } cases[] = {{7, "here", "here"}, {6, "", ""}, {2, "", "here"}, {5, "", "here"}, {9, "", ""}};
    for (const auto& c : cases) {
        m_page->GetOrvToolPanel()->GetZoomPanel()->SetWindowSplitVal(c.mode);
        m_page->WindowSplit();
        Pump();
        const auto canvases = m_page->GetCanvases();
        for (const int i : {0, 1}) {
            Canvas& canvas = *canvases[static_cast<std::size_t>(i)];
            if (!canvas.HasImage()) continue;
            std::string names;
            for (const std::string& text :
                 Only(Drawn([&](wxDC& dc) { canvas.Draw(dc); }, canvas.GetFont()), "text"))
                names += text.substr(text.rfind(' ') + 1);
            EXPECT_EQ(names, i == 0 ? c.first : c.second) << "mode " << c.mode << " half " << i;
        }
    }
}

TEST_F(MapPageTest, LargePicturesAreOverlaidBesideTheWindow) {
    Load(m_folder.WritePicture("a.png", 100, 1600), "");
    Build();
    const cv::Vec3b alone = PixelOf(Processed(), 1500, 30);
    for (const int opacity : {10, 40, 70, 0}) Maps().SetDisplay({0, opacity, false});
    EXPECT_TRUE(PumpUntil([&] { return PixelOf(Processed(), 1500, 30) == cv::Vec3b::all(100); }))
        << "the newest wish counts";
    Maps().SetDisplay({0, 60, false});
    m_page->ResetViewerPanel();  // another page is chosen meanwhile
    Maps().SetDisplay({});
    m_page->UpdateGui();
    PumpFrames();
    EXPECT_EQ(PixelOf(Processed(), 1500, 30), alone);
}

TEST_F(MapPageTest, TheReadOutTellsTheMapsValueUnderEveryPixel) {
    Load(m_folder.WritePicture("a.png", 100, 64), "");
    Build();
    const struct {
        int x;
        const char* text;
    } cases[] = {{0, "Column 0 blocks"},
                 {4, "Column 0 blocks"},
                 {5, "Column 1 blocks"},
                 {14, "Column 1 blocks"},
                 {63, "Column 6 blocks"}};
    for (const auto& c : cases) EXPECT_EQ(m_page->DescribeMap(Processed(), c.x, 10), c.text) << c.x;
    EXPECT_EQ(m_page->DescribeMap(Processed(), 64, 10), "") << "beside the picture";
}

TEST_F(MapPageTest, NumbersInsideAndOutsideTheSelection) {
    Load(m_folder.WritePicture("a.png", 100, 64), m_folder.WritePicture("b.png", 50, 64));
    Build();
    ASSERT_TRUE(PumpUntil([this] { return !Maps().IsCounting(); }));
    EXPECT_TRUE(Maps().GetNumbersText().Contains("Whole map")) << Maps().GetNumbersText();
    EXPECT_TRUE(Maps().GetNumbersText().Contains("Reference"));
    SelectorPanel* selector = m_page->GetOrvToolPanel()->GetSelectorPanel();
    selector->SetSelector(IntPair{25, 0}, IntPair{35, 64}, true, Processed());  // exactly column 3
    ASSERT_TRUE(PumpUntil([this] { return Maps().GetNumbersText().Contains("Inside"); }));
    ASSERT_TRUE(PumpUntil([this] { return !Maps().IsCounting(); }));
    EXPECT_TRUE(Maps().GetNumbersText().Contains(
        "Inside the selection: mean 3, median 3, deviation 0, 100 % beyond the threshold"))
        << Maps().GetNumbersText();
    wxCommandEvent remove(wxEVT_BUTTON);
    selector->OnRemoveSelection(remove);
    EXPECT_TRUE(PumpUntil([this] { return !Maps().GetNumbersText().Contains("Inside"); }));
}

TEST_F(MapPageTest, PlotsStandBesideThePictureAndOpenLarge) {
    Load(m_folder.WritePicture("a.png", 100, 64), m_folder.WritePicture("b.png", 50, 64));
    Build();
    std::vector<PlotPanel*> plots;
    const std::function<void(wxWindow*)> collect = [&](wxWindow* window) {
        if (auto* plot = dynamic_cast<PlotPanel*>(window); plot != nullptr && plot->IsShown())
            plots.push_back(plot);
        for (wxWindow* child : window->GetChildren()) collect(child);
    };
    collect(m_page);
    ASSERT_EQ(plots.size(), 2U);
    // Beside the picture a wheel turn belongs to the panel that scrolls.
    auto* plot = plots[0]->GetPlotWindow();
    const double scale = plot->GetScaleX();
    wxMouseEvent wheel(wxEVT_MOUSEWHEEL);
    wheel.SetEventObject(plot);
    wheel.m_wheelRotation = 120;
    wheel.m_wheelDelta = 120;
    wheel.m_linesPerAction = 3;
    plot->ProcessWindowEvent(wheel);
    EXPECT_EQ(scale, plot->GetScaleX());
    EXPECT_TRUE(plot->IsSmall());
    DialogAnswers answers([](wxDialog* dialog) {
        auto* large = dynamic_cast<PlotDialog*>(dialog);
        EXPECT_TRUE(large != nullptr && large->GetPlot()->Render().IsValid());
        return wxID_CLOSE;
    });
    wxMouseEvent click(wxEVT_LEFT_DCLICK);
    click.SetEventObject(plots[0]->GetChildren()[0]);
    plots[0]->GetChildren()[0]->ProcessWindowEvent(click);
    EXPECT_EQ(answers.Seen().size(), 1U);
    // One file less is one plot less.
    Load(m_folder.WritePicture("a.png", 100, 64), "");
    m_page->UpdateGui();
    plots.clear();
    collect(m_page);
    EXPECT_EQ(plots.size(), 1U);
}

TEST_F(MapPageTest, AReasonIsToldWhereTheFilterSaysNothing) {
    Load(m_folder.WritePicture("small.png", 100, 16), "");
    Build();
    const auto says = [this](const wxString& text) {
        bool isFound = false;
        const std::function<void(wxWindow*)> look = [&](wxWindow* window) {
            const auto* label = dynamic_cast<OrvStaticText*>(window);
            isFound = isFound || (label != nullptr && label->IsShown() && label->GetText().Contains(text));
            for (wxWindow* child : window->GetChildren()) look(child);
        };
        look(m_page);
        return isFound;
    };
    EXPECT_TRUE(says("Smaller than two blocks"));
    EXPECT_FALSE(Maps().IsShown());
    EXPECT_TRUE(m_filter->GetErrorMessage().empty()) << "it is no error";
    Load(m_folder.WritePicture("a.png", 100, 64), m_folder.WritePicture("small.png", 100, 16));
    m_page->UpdateGui();
    EXPECT_TRUE(says("Reference: Smaller than two blocks"));
    EXPECT_TRUE(Maps().IsShown());
    Load(m_folder.WritePicture("a.png", 100, 64), "");
    m_page->UpdateGui();
    EXPECT_FALSE(says("Smaller than two blocks"));
}

TEST_F(MapPageTest, ARangeSetByHandIsDrawnToldAndTakenBack) {
    Load(m_folder.WritePicture("a.png", 100, 64), m_folder.WritePicture("b.png", 50, 64));
    Build();
    const auto update = [this] {
        m_core.WaitIdle();
        m_page->UpdateGui();
        Pump();
    };
    const auto type = [&](wxTextCtrl* field, const char* text) {
        field->SetValue(text);
        wxCommandEvent enter(wxEVT_TEXT_ENTER);
        enter.SetEventObject(field);
        field->ProcessWindowEvent(enter);
        update();
    };
    const auto note = [this](OrvFileId slot) {
        std::string notes;
        const OrvFilterResultPtr result = m_filter->GetResult();
        ForEachPicture(*m_filter, *result, 0, [&](const OrvResultPicture& picture) {
            if (picture.slot == slot && picture.svg.empty()) notes += picture.caption;
        });
        return notes;
    };
    EXPECT_EQ(Maps().GetLowField()->GetValue(), "0");
    EXPECT_EQ(Maps().GetHighField()->GetValue(), "6");
    EXPECT_FALSE(Maps().GetResetButton()->IsEnabled());
    EXPECT_TRUE(Maps().GetRangeText().Contains("0 to 6 blocks, automatic"));
    const cv::Vec3b automatic = PixelOf(Processed(), 30, 30);

    type(Maps().GetHighField(), "3");
    EXPECT_TRUE(Maps().GetRangeText().Contains("0 to 3 blocks, set by hand")) << Maps().GetRangeText();
    EXPECT_TRUE(Maps().GetResetButton()->IsEnabled());
    // Column 3, half way up the range of 0 to 6, now has the colour of the highest end; both files share the range.
    const MapColour& top = ColoursOfScale(OrvMapScale::Sequential)[255];
    EXPECT_NE(PixelOf(Processed(), 30, 30), automatic);
    EXPECT_EQ(PixelOf(Processed(), 30, 30), cv::Vec3b(top[0], top[1], top[2]));
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        EXPECT_EQ(m_filter->GetResult()->GetMaps(slot)[0].range, (OrvRange{0.0, 3.0}));
        EXPECT_NE(note(slot).find("Scale 0 to 3 blocks, set by hand."), std::string::npos) << note(slot);
    }
    // Not computed anew, and another file is drawn over it too.
    Load(m_folder.WritePicture("c.png", 10, 80), "");
    update();
    EXPECT_TRUE(Maps().GetRangeText().Contains("0 to 3 blocks, set by hand"));

    const struct {
        const char* low;
        const char* high;
        const char* shown;
    } refused[] = {{"0", "x", "0 to 3"}, {"3", "3", "0 to 3"}, {"", "3", "0 to 3"}, {"nan", "3", "0 to 3"}};
    for (const auto& c : refused) {
        Maps().GetLowField()->SetValue(c.low);
        type(Maps().GetHighField(), c.high);
        EXPECT_TRUE(Maps().GetRangeText().Contains(c.shown)) << c.low << " " << c.high;
        EXPECT_EQ(Maps().GetLowField()->GetValue(), "0") << "taken back";
        EXPECT_EQ(Maps().GetHighField()->GetValue(), "3") << "taken back";
    }
    type(Maps().GetLowField(), "5");
    EXPECT_TRUE(Maps().GetRangeText().Contains("3 to 5 blocks, set by hand")) << "ends in either order";

    // Leaving a field is as good as Enter.
    Maps().GetHighField()->SetValue("4");
    wxFocusEvent leave(wxEVT_KILL_FOCUS);
    Maps().GetHighField()->ProcessWindowEvent(leave);
    update();
    EXPECT_TRUE(Maps().GetRangeText().Contains("3 to 4 blocks"));

    wxCommandEvent press(wxEVT_BUTTON);
    Maps().GetResetButton()->ProcessWindowEvent(press);
    update();
    EXPECT_TRUE(Maps().GetRangeText().Contains(", automatic")) << Maps().GetRangeText();
    EXPECT_EQ(note(OrvEvidence).find("by hand"), std::string::npos);
    EXPECT_FALSE(Maps().GetResetButton()->IsEnabled());
}
