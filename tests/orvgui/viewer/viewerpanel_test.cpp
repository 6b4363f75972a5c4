// One or two canvases and what stands around them, on a page that only writes down what it is asked for.

#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textdlg.h>
#include <wx/tglbtn.h>

#include "orvgui/common/accessible.h"
#include "orvgui/viewer/annotationpaint.h"
#include "orvgui/viewer/annotationpanel.h"
#include "orvgui/viewer/inspectorpanel.h"
#include "tests/orvgui/viewer/fakehost.h"

namespace {

using Asked = std::vector<std::string>;
using ViewerPanels = FakeHostTest;

cv::Mat Grey(int width, int height, int level = 90) {
    return {height, width, CV_8UC3, cv::Scalar::all(level)};
}

}  // namespace

TEST_F(ViewerPanels, PicturesAreSwappedAndBroughtBack) {
    Image dark{Grey(300, 200, 10)};
    Image light{Grey(300, 200, 240)};
    host->viewer->ConfigureViewer(dark, light);
    const auto level = [](Canvas* canvas) {
        int red = 0, green = 0, blue = 0;
        canvas->GetRGB(red, green, blue, 5, 5);
        return red;
    };
    OrvToolPanel* strip = host->strip;
    EXPECT_TRUE(strip->WindowSwap(first, second, 1, true));
    EXPECT_EQ(level(first), 240);
    EXPECT_EQ(level(second), 240);
    EXPECT_TRUE(strip->WindowSwap(first, second, 1, true)) << "still";
    EXPECT_EQ(level(first), 240);
    EXPECT_TRUE(strip->WindowSwap(first, second, 2, true));
    EXPECT_EQ(level(first), 10);
    EXPECT_FALSE(strip->WindowSwap(first, second, 2, true)) << "nothing was swapped";
    EXPECT_TRUE(strip->WindowSwap(first, second));
    EXPECT_EQ(level(first), 240);
    EXPECT_EQ(level(second), 10);
    EXPECT_TRUE(strip->WindowSwap(first, second));
    EXPECT_EQ(level(first), 10);
    EXPECT_EQ(level(second), 240);
    EXPECT_FALSE(strip->WindowSwap(nullptr, second, 1, true));
    EXPECT_FALSE(strip->WindowSwap(first, nullptr));
    second->Reset();
    EXPECT_FALSE(strip->WindowSwap(first, second, 1, true));
    EXPECT_EQ(level(first), 10);
}

TEST_F(ViewerPanels, HalvesAreEqualAndAnOddPixelLiesBetween) {
    const int caption = host->viewer->GetCanvasWin1()->GetPosition().y;
    const struct {
        ViewLayout layout;
        int width;
        wxRect first, second;  // without the caption's height
    } cases[] = {{ViewLayout::Split, 804, {0, 0, 400, 300}, {404, 0, 400, 300}},
                 {ViewLayout::Split, 805, {0, 0, 400, 300}, {405, 0, 400, 300}},
                 {ViewLayout::First, 805, {0, 0, 805, 300}, {0, 0, 1, 1}},
                 {ViewLayout::Second, 805, {0, 0, 1, 1}, {0, 0, 805, 300}}};
    for (const auto& c : cases) {
        host->viewer->SetLayout(c.layout);
        host->viewer->SetSize(0, 100, c.width, 300 + caption);
        const auto expect = [&](const wxWindow* half, wxRect rect) {
            rect.y += caption;
            EXPECT_EQ(half->GetRect(), rect) << c.width;
        };
        expect(host->viewer->GetCanvasWin1(), c.first);
        expect(host->viewer->GetCanvasWin2(), c.second);
        const auto captions = All<wxStaticText>(host->viewer);
        EXPECT_EQ(captions[0]->IsShown(), c.first.width > 1);
        EXPECT_EQ(captions[1]->IsShown(), c.second.width > 1);
        EXPECT_EQ(captions[1]->GetPosition(), wxPoint(c.second.x, 0));
    }
    host->viewer->SetCaption(0, "left");
    host->viewer->SetCaption(1, "right");
    EXPECT_EQ(host->viewer->GetCaption(0), "left");
    EXPECT_EQ(host->viewer->GetCaption(1), "right");
    EXPECT_EQ(host->viewer->FindCanvas(6000), first);
    EXPECT_EQ(host->viewer->FindCanvas(6001), second);
    EXPECT_EQ(host->viewer->FindCanvas(6002), nullptr);
    Image images[] = {Image(Grey(1, 1)), Image(Grey(2, 1)), Image(Grey(3, 1)), Image(Grey(4, 1))};
    host->viewer->SetInputOutputImages(images[0], images[1], images[2], images[3]);
    EXPECT_EQ(host->viewer->GetCanvasProp1()->GetImage1().GetWidth(), 1);
    EXPECT_EQ(host->viewer->GetCanvasProp1()->GetImage2().GetWidth(), 3);
    EXPECT_EQ(host->viewer->GetCanvasProp2()->GetImage1().GetWidth(), 2);
    EXPECT_EQ(host->viewer->GetCanvasProp2()->GetImage2().GetWidth(), 4);
}

TEST_F(ViewerPanels, OneCanvasShowsTheFirstPicture) {
    auto* single = new SingleViewerPanel(host, false);
    single->SetSize(0, 0, 400, 330);
    const int caption = single->GetCanvasWin()->GetPosition().y;
    EXPECT_EQ(single->GetCanvasWin()->GetRect(), wxRect(0, caption, 400, 330 - caption));
    EXPECT_EQ(single->FindCanvas(6000), single->GetCanvas());
    EXPECT_EQ(single->FindCanvas(6001), nullptr);
    single->SetCaption(0, "what");
    single->SetCaption(1, "not this");
    EXPECT_EQ(single->GetCaption(0), "what");
    EXPECT_EQ(single->GetCaption(1), "");
    Image images[] = {Image(Grey(500, 400)), Image(Grey(2, 1)), Image()};
    frame->shared.syncViews = true;
    single->ConfigureViewer(images[0], images[1]);
    EXPECT_EQ(single->GetCanvasProp()->GetWidth(), 500);
    EXPECT_FALSE(frame->shared.syncViews);
    EXPECT_EQ(frame->shared.imageSize, (IntPair{500, 400}));
    single->SetInputOutputImages(images[0], images[1], images[2], images[2]);
    EXPECT_EQ(single->GetCanvasProp()->GetImage1().GetWidth(), 500);
    EXPECT_EQ(single->GetCanvasProp()->GetImage2().GetWidth(), 2);
    single->ConfigureViewer(images[2], images[1]);
    EXPECT_FALSE(single->GetCanvas()->HasImage());
}
