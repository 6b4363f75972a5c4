// The examiner's marks as the main window, the core and what is saved treat them.

#include <gtest/gtest.h>
#include <wx/dcmemory.h>
#include <wx/textdlg.h>

#include <filesystem>
#include <set>

#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/viewer/annotationpaint.h"
#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/zoompanel.h"
#include "tests/orvgui/framefixture.h"

namespace {

using Kind = OrvAnnotation::Kind;

class Annotations : public FrameTest {
  protected:
    Annotations() {
        filter = core->GetContext().FindFilter("visual-inspection");
        Load(folder.WritePicture("a.png", 90, 240));
        Load(folder.WritePicture("b.png", 160, 240), OrvReference);
        Show();
    }
    ~Annotations() override {
        if (!core->GetProject().HasUnsavedWork()) return;
        DialogAnswers answers{wxID_NO};
        CloseFrame();
    }
    void Show() {
        core->ActivateFilter(filter, -1);
        Settle();
        PumpFrames();
        page = dynamic_cast<OrvFilterGuiViewer*>(frame->GetViewerPanel()->GetShownPage());
        ASSERT_NE(page, nullptr);
        panel = FindAnnotationPanel(page->GetOrvToolPanel());
        // The page takes its size, and the file's marks, a little later.
        EXPECT_TRUE(PumpUntil(
            [this] { return Half(0)->GetClientSize().x > 150 && !GetMarkedFile(*Half(0)).empty(); }));
    }
    std::vector<OrvAnnotation> Marks() { return core->GetProject().GetAnnotations(); }
    Canvas* Half(std::size_t i) { return page->GetCanvases()[i]; }
    // The window point in the middle of an image pixel.
    wxPoint PointOf(Canvas* canvas, int x, int y) {
        const WindowProperties& shared = *frame->GetWindowProperties();
        return canvas->CalcScrolledPosition(
            wxPoint(static_cast<int>((x + shared.offset.x + 0.5) * shared.zoom),
                    static_cast<int>((y + shared.offset.y + 0.5) * shared.zoom)));
    }
    void Mouse(Canvas* canvas, wxEventType type, int x, int y, bool isDown) {
        wxMouseEvent event(type);
        event.SetEventObject(canvas);
        event.SetPosition(PointOf(canvas, x, y));
        event.SetLeftDown(isDown);
        page->ViewerMouseOn(event, canvas);
    }
    void Drag(Canvas* canvas, int x1, int y1, int x2, int y2) {
        Mouse(canvas, wxEVT_LEFT_DOWN, x1, y1, true);
        Mouse(canvas, wxEVT_MOTION, (x1 + x2) / 2, (y1 + y2) / 2, true);
        Mouse(canvas, wxEVT_MOTION, x2, y2, true);
        Mouse(canvas, wxEVT_LEFT_UP, x2, y2, false);
        Settle();
    }
    void Key(int code, int modifiers = wxMOD_NONE) {
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.m_keyCode = code;
        event.SetControlDown((modifiers & wxMOD_CONTROL) != 0);
        page->ViewerKey(event, Half(0));
        Settle();
    }
    std::string Sha(OrvFileId slot) { return core->GetFile(slot)->GetSha256(); }
    // Whether the marks' colour is painted within four screen pixels of an image point.
    bool IsInkNear(Canvas* canvas, int x, int y) {
        wxBitmap bitmap(canvas->GetClientSize());
        wxMemoryDC dc(bitmap);
        canvas->DoPrepareDC(dc);
        canvas->Draw(dc);
        dc.SelectObject(wxNullBitmap);
        const wxImage image = bitmap.ConvertToImage();
        const wxPoint point = PointOf(canvas, x, y);
        for (int dy = -4; dy <= 4; ++dy)
            for (int dx = -4; dx <= 4; ++dx) {
                const wxPoint at(point.x + dx, point.y + dy);
                if (!wxRect(image.GetSize()).Contains(at)) continue;
                const wxColour colour(image.GetRed(at.x, at.y), image.GetGreen(at.x, at.y),
                                      image.GetBlue(at.x, at.y));
                if (colour == wxColour(90, 220, 255)) return true;
            }
        return false;
    }

    OrvFilter* filter = nullptr;
    OrvFilterGuiViewer* page = nullptr;
    AnnotationPanel* panel = nullptr;
};

}  // namespace

TEST_F(Annotations, AreDrawnChangedDeletedAndTakenBack) {
    Half(0)->SetZoom(120, 120, 1.0, 0, 0);
    page->GetOrvToolPanel()->SetTool(kMarkTool);
    PumpFrames();
    Drag(Half(0), 40, 30, 120, 90);
    ASSERT_EQ(1U, Marks().size());
    EXPECT_EQ((OrvAnnotation{Kind::Rectangle, Sha(OrvEvidence), {40, 30, 81, 61}, ""}), Marks()[0]);
    EXPECT_FALSE(core->GetProject().IsSaved());

    Drag(Half(0), 80, 30, 90, 50);  // by its upper edge
    EXPECT_EQ(Roi(50, 50, 81, 61), Marks()[0].place);
    Drag(Half(0), 130, 110, 200, 200);  // by its corner
    EXPECT_EQ(Roi(50, 50, 151, 151), Marks()[0].place);
    Mouse(Half(0), wxEVT_LEFT_DOWN, 100, 100, true);  // a click draws nothing
    Mouse(Half(0), wxEVT_LEFT_UP, 100, 100, false);
    EXPECT_EQ(1U, Marks().size());

    panel->SetKind(Kind::Arrow);
    Drag(Half(0), 220, 30, 210, 20);
    ASSERT_EQ(2U, Marks().size());
    EXPECT_EQ(Roi(220, 30, -10, -10), Marks()[1].place);
    {
        DialogAnswers answers([](wxDialog* dialog) {
            dynamic_cast<wxTextEntryDialog*>(dialog)->SetValue(wxString::FromUTF8("  Kante \xC3\xA4 "));
            return wxID_OK;
        });
        Mouse(Half(0), wxEVT_LEFT_DCLICK, 215, 25, true);
        Settle();
        PumpFrames();
    }
    EXPECT_EQ("Kante \xC3\xA4", Marks()[1].text);
    EXPECT_EQ("Kante \xC3\xA4", Marks()[1].text);
    Key(WXK_DELETE);
    EXPECT_EQ(1U, Marks().size());
    Key('Z', wxMOD_CONTROL);
    ASSERT_EQ(2U, Marks().size());
    EXPECT_EQ("Kante \xC3\xA4", Marks()[1].text);
    {
        DialogAnswers answers([](wxDialog* dialog) {
            dynamic_cast<wxTextEntryDialog*>(dialog)->SetValue(" ");
            return wxID_OK;
        });
        Mouse(Half(0), wxEVT_LEFT_DCLICK, 215, 25, true);
        Settle();
        PumpFrames();
    }
    ASSERT_EQ(2U, Marks().size()) << "only a mark that is nothing but its text goes with it";
    EXPECT_EQ("", Marks()[1].text);
    Key('Z', wxMOD_CONTROL);
    for (int i = 0; i < 5; ++i) Key('Z', wxMOD_CONTROL);
    EXPECT_EQ(0U, Marks().size());
    Key('Z', wxMOD_CONTROL);
    EXPECT_EQ(0U, Marks().size()) << "nothing is left to take back";

    // Another tool leaves marks alone.
    core->SetAnnotations({{Kind::Rectangle, Sha(OrvEvidence), {40, 30, 81, 61}, ""}});
    page->GetOrvToolPanel()->SetTool(OrvTool::Navigate);
    Drag(Half(0), 80, 30, 90, 50);
    Key(WXK_DELETE);
    EXPECT_EQ(Roi(40, 30, 81, 61), Marks().at(0).place);
}

TEST_F(Annotations, EachPictureHasItsOwnInEveryView) {
    const std::vector<OrvAnnotation> marks = {{Kind::Rectangle, Sha(OrvEvidence), {40, 30, 81, 61}, "e"},
                                              {Kind::Rectangle, Sha(OrvReference), {10, 150, 30, 30}, "r"}};
    core->SetAnnotations(marks);
    panel->ShowMarks();
    const auto texts = [this](std::size_t half) {
        std::string all;
        for (const OrvAnnotation& mark : GetCanvasMarks(*Half(half))) all += mark.text;
        return all;
    };
    std::set<std::string> seen;
    for (int mode = 0; mode < page->GetOrvToolPanel()->GetZoomPanel()->GetWindowSplitChoices(); ++mode) {
        page->GetOrvToolPanel()->GetZoomPanel()->SetWindowSplitVal(mode);
        page->WindowSplit();
        PumpFrames();
        for (std::size_t half = 0; half < 2; ++half) {
            Canvas* canvas = Half(half);
            if (!canvas->HasImage()) continue;
            const std::string file = GetMarkedFile(*canvas);
            const std::string expected = file.empty() ? "" : file == Sha(OrvEvidence) ? "e" : "r";
            EXPECT_EQ(expected, texts(half)) << "mode " << mode << " half " << half;
            seen.insert(expected);
        }
    }
    EXPECT_EQ((std::set<std::string>{"", "e", "r"}), seen) << "differences have none, both files theirs";

    // Where the pictures are swapped the marks go with them.
    page->GetOrvToolPanel()->GetZoomPanel()->SetWindowSplitVal(0);
    page->WindowSplit();
    PumpFrames();
    const std::string before = texts(0) + texts(1);
    page->WindowSwap(1);
    EXPECT_EQ(std::string(before.rbegin(), before.rend()), texts(0) + texts(1));
    page->WindowSwap(2);
    EXPECT_EQ(before, texts(0) + texts(1));
}

TEST_F(Annotations, ArePaintedAtEveryZoomAndNeverBurntInUnasked) {
    core->SetAnnotations({{Kind::Rectangle, Sha(OrvEvidence), {100, 100, 40, 40}, ""}});
    panel->ShowMarks();
    for (const double zoom : {1.0, 3.0}) {
        Half(0)->SetZoom(120, 120, zoom, 0, 0);
        PumpFrames();
        EXPECT_TRUE(IsInkNear(Half(0), 100, 120)) << zoom;
        EXPECT_FALSE(IsInkNear(Half(0), 120, 120)) << zoom;
    }
    const auto savedPixel = [this](const std::string& name, int answer) {
        chosen = folder / name;
        DialogAnswers answers{answer};
        Command(6003);
        Settle();
        EXPECT_EQ(1U, answers.Seen().size());
        return std::filesystem::exists(chosen)
                   ? DecodeImage(ReadFileBytes(chosen)).image.ToColor().GetMat().at<cv::Vec3b>(120, 100)
                   : cv::Vec3b(1, 2, 3);
    };
    EXPECT_EQ(cv::Vec3b(90, 90, 90), savedPixel("plain.png", wxID_NO));
    EXPECT_EQ(cv::Vec3b(255, 220, 90), savedPixel("marked.png", wxID_YES));
    EXPECT_EQ(cv::Vec3b(1, 2, 3), savedPixel("none.png", wxID_CANCEL)) << "nothing is saved";
}

TEST_F(Annotations, AreKeptByTheProjectWhateverRuns) {
    page->GetOrvToolPanel()->SetTool(kMarkTool);
    // A change waits for no analysis.
    probe->sleepMs = 300;
    core->ActivateFilter(probe, -1);
    ASSERT_TRUE(PumpUntil([this] { return probe->started > 0; }));
    core->SetAnnotations({{Kind::Text, Sha(OrvEvidence), {7, 8, 0, 0}, "while"}});
    EXPECT_EQ(1U, Marks().size());
    // What is drawn while the project is being saved is not lost, and not taken for saved.
    const std::string path = folder / "case.zop";
    core->SaveProject(PathToWx(path));
    std::vector<OrvAnnotation> more = Marks();
    more.push_back({Kind::Text, Sha(OrvReference), {1, 2, 0, 0}, "later"});
    core->SetAnnotations(more);
    Settle();
    probe->sleepMs = 0;
    EXPECT_EQ(2U, Marks().size());
    core->SaveProject(PathToWx(path));
    Settle();
    core->NewProject();
    Settle();
    EXPECT_TRUE(Marks().empty());
    core->LoadProject(PathToWx(path));
    Settle();
    EXPECT_EQ(more, Marks());
    Show();
    EXPECT_EQ(1U, GetCanvasMarks(*Half(0)).size());
}

// A spectrum as large as the picture has no places of it; where a filter found nothing to draw it shows the picture itself.
TEST_F(Annotations, AreOnPlacesOfThePhotographOnly) {
    const struct {
        const char* filter;
        bool processed, original;
    } cases[] = {{"fourier-spectrum", false, true},
                 {"double-jpeg-shifted", true, true},
                 {"error-level", true, true},
                 {"visual-inspection", true, true}};
    for (const auto& c : cases) {
        core->ActivateFilter(core->GetContext().FindFilter(c.filter), -1);
        Settle();
        ASSERT_TRUE(PumpUntil([&] {
            page = dynamic_cast<OrvFilterGuiViewer*>(frame->GetViewerPanel()->GetShownPage());
            return page != nullptr && page->GetFilter()->GetId() == c.filter;
        }));
        for (const bool isProcessed : {false, true}) {
            page->GetOrvToolPanel()->GetZoomPanel()->SetWindowSplitVal(isProcessed ? 1 : 0);
            page->WindowSplit();
            PumpFrames();
            const Canvas* canvas = Half(isProcessed ? 1 : 0);
            EXPECT_TRUE(canvas->HasImage()) << c.filter << isProcessed;
            const std::string expected =
                (isProcessed ? c.processed : c.original) ? Sha(OrvEvidence) : std::string();
            EXPECT_EQ(GetMarkedFile(*canvas), expected) << c.filter << isProcessed;
        }
    }
}
