// How much of the window the pictures get, and what stands in their way.

#include <wx/sizer.h>

#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/shell/filterspanel.h"
#include "orvgui/viewer/canvas.h"
#include "orvgui/viewer/toolpanel.h"
#include "orvgui/viewer/viewerpanel.h"
#include "tests/orvgui/framefixture.h"

namespace {

class PictureShareTest : public FrameTest {
  protected:
    void SetUp() override {
        Load(folder.WritePicture("evidence.png", 90, 600));
        Load(folder.WritePicture("reference.png", 120, 600), OrvReference);
        auto* filter = core->GetContext().FindFilter("error-level");
        ASSERT_NE(filter, nullptr);
        page = dynamic_cast<OrvFilterGuiViewer*>(filter->GetAnalsyisFilterGui());
        ASSERT_NE(page, nullptr);
        frame->GetFiltersPanel()->ActivateGui(page);
        Settle();
        ASSERT_TRUE(PumpUntil([this] { return page->GetCanvases().size() == 2 && page->IsShownOnScreen(); }));
    }

    // The outer size of the frame, as a user sets it.
    void Resize(int width, int height) {
        frame->SetSize(width, height);
        ASSERT_TRUE(PumpUntil([&] { return frame->GetSize() == wxSize(width, height); }));
        PumpFor(200);
    }

    // Of the client area, percent.
    double Share() const {
        double pixels = 0.0;
        for (Canvas* canvas : page->GetCanvases()) {
            const wxSize size = canvas->GetParent()->GetClientSize();
            if (canvas->IsShownOnScreen()) pixels += static_cast<double>(size.x) * size.y;
        }
        const wxSize client = frame->GetClientSize();
        return 100.0 * pixels / (static_cast<double>(client.x) * client.y);
    }

    OrvFilterGuiViewer* page = nullptr;
};

}  // namespace

TEST_F(PictureShareTest, ThePicturesGetTheRoom) {
    const struct {
        int width, height;
        double closed, open;  // least share, percent
        int rows;             // of the strip, at most
    } cases[] = {{1024, 768, 54.0, 34.0, 2}, {1280, 800, 60.0, 45.0, 1}, {1600, 1000, 60.0, 45.0, 1}};
    for (const auto& c : cases) {
        Resize(c.width, c.height);
        page->ShowSidePanel(true);
        PumpFor(100);
        EXPECT_GE(Share(), c.open) << c.width << " with the side panel";
        EXPECT_LE(page->GetOrvToolPanel()->CountRows(), c.rows) << c.width;
        page->ShowSidePanel(false);
        PumpFor(100);
        EXPECT_GE(Share(), c.closed) << c.width << " without the side panel";
        RecordProperty("share", std::to_string(Share()));
        page->ShowSidePanel(true);
    }
}
