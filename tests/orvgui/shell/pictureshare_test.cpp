// How much of the window the pictures get, and what stands in their way.

#include <wx/bmpbuttn.h>
#include <wx/sizer.h>
#include <wx/treectrl.h>

#include <cstring>

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
        page = ShowImagePage("error-level");
        ASSERT_NE(page, nullptr);
        ASSERT_TRUE(PumpUntil([this] { return page->GetCanvases().size() == 2 && page->IsShownOnScreen(); }));
    }

    // The outer size of the frame, as a user sets it.
    void Resize(int width, int height) {
        frame->SetSize(width, height);
        ASSERT_TRUE(PumpUntil([&] { return frame->GetSize() == wxSize(width, height); }));
        PumpFrames();
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
        PumpFrames();
        EXPECT_GE(Share(), c.open) << c.width << " with the side panel";
        EXPECT_LE(page->GetOrvToolPanel()->CountRows(), c.rows) << c.width;
        page->ShowSidePanel(false);
        PumpFrames();
        EXPECT_GE(Share(), c.closed) << c.width << " without the side panel";
        RecordProperty("share", std::to_string(Share()));
        page->ShowSidePanel(true);
    }
}

// All names are in sight in the width that the pane has of itself, and there is nothing to scroll sideways: the bold one of a filter
// that has run may lose its last letters, and ends in a sign.
TEST_F(PictureShareTest, TheFiltersNeedNoScrollBarBelow) {
    Resize(1024, 768);
    wxTreeCtrl* tree = frame->GetFiltersPanel()->GetTree();
    std::vector<wxTreeItemId> items;
    wxTreeItemIdValue cookie;
    for (wxTreeItemId group = tree->GetFirstChild(tree->GetRootItem(), cookie); group.IsOk();
         group = tree->GetNextSibling(group)) {
        wxTreeItemIdValue inner;
        for (wxTreeItemId item = tree->GetFirstChild(group, inner); item.IsOk();
             item = tree->GetNextSibling(item)) {
            tree->Collapse(item);
            wxRect text;
            if (tree->GetBoundingRect(item, text, true)) {
                EXPECT_LE(text.GetRight(), tree->GetClientSize().x) << tree->GetItemText(item);
            }
            frame->GetFiltersPanel()->FormatItem(item, true, false, true);
        }
    }
    PumpFrames();
    EXPECT_LT(tree->GetSize().y - tree->GetClientSize().y, 8);
    // Nor does a text that does not fit bring one.
    const wxTreeItemId item = tree->GetFirstChild(tree->GetFirstChild(tree->GetRootItem(), cookie), cookie);
    tree->SetItemText(item, wxString('M', 60));
    PumpFrames();
    EXPECT_LT(tree->GetSize().y - tree->GetClientSize().y, 8);
}

TEST_F(PictureShareTest, NoTwoCommandsSideBySideLookAlike) {
    std::vector<wxBitmapButton*> buttons;
    std::vector<wxWindow*> windows{frame};
    for (std::size_t i = 0; i < windows.size(); ++i) {
        for (wxWindow* child : windows[i]->GetChildren()) windows.push_back(child);
        auto* button = dynamic_cast<wxBitmapButton*>(windows[i]);
        if (button != nullptr && button->IsShownOnScreen()) buttons.push_back(button);
    }
    EXPECT_GT(buttons.size(), 30U);
    constexpr int kBeside = 40;  // pixels from one to the next
    for (const wxBitmapButton* a : buttons) {
        for (const wxBitmapButton* b : buttons) {
            const wxPoint apart = b->GetScreenPosition() - a->GetScreenPosition();
            if (a == b || apart.y != 0 || apart.x <= 0 || apart.x > kBeside) continue;
            const wxImage first = a->GetBitmapLabel().ConvertToImage();
            const wxImage second = b->GetBitmapLabel().ConvertToImage();
            if (first.GetSize() != second.GetSize()) continue;
            const auto bytes = static_cast<std::size_t>(first.GetWidth() * first.GetHeight());
            const bool isSame = std::memcmp(first.GetData(), second.GetData(), 3 * bytes) == 0 &&
                                (!first.HasAlpha() || !second.HasAlpha() ||
                                 std::memcmp(first.GetAlpha(), second.GetAlpha(), bytes) == 0);
            EXPECT_FALSE(isSame) << a->GetName() << " and " << b->GetName();
        }
    }
}
