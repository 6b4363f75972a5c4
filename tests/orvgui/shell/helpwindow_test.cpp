#include "orvgui/shell/helpwindow.h"

#include <wx/html/htmlwin.h>

#include "tests/orvgui/framefixture.h"
#include "tests/orvgui/keys.h"

namespace {

OrvHelpWindow* HelpOf(wxWindow* frame) {
    for (wxWindow* child : frame->GetChildren())
        if (auto* help = dynamic_cast<OrvHelpWindow*>(child)) return help;
    return nullptr;
}

int LineOf(const OrvHelpWindow& help) {
    int x = 0;
    int y = 0;
    help.GetPage()->GetViewStart(&x, &y);
    return y;
}

}  // namespace

TEST_F(FrameTest, HelpShowsTheManualAtThePartOnAFilter) {
    OrvHelpWindow* help = OrvHelpWindow::ShowHelp(frame, "jpeg-ghosts");
    ASSERT_TRUE(PumpUntil([&] { return help->IsShownOnScreen() && LineOf(*help) > 0; }))
        << "it has scrolled there";
    EXPECT_TRUE(help->GetPage()->ToText().Contains("JPEG Ghosts"));
    const int ghosts = LineOf(*help);
    EXPECT_EQ(OrvHelpWindow::ShowHelp(frame, "camera-noise-map"), help) << "one window is enough";
    EXPECT_NE(LineOf(*help), ghosts);
    OrvHelpWindow::ShowHelp(frame, "nonsense");
    EXPECT_EQ(LineOf(*help), 0);
    help->Close();
    EXPECT_FALSE(help->IsShown());
    EXPECT_EQ(OrvHelpWindow::ShowHelp(frame, ""), help) << "closing hides it";
    for (const int code : {static_cast<int>('A'), static_cast<int>(WXK_ESCAPE)}) {
        wxKeyEvent key(wxEVT_CHAR_HOOK);
        key.m_keyCode = code;
        help->ProcessWindowEvent(key);
        EXPECT_EQ(help->IsShown(), code == 'A');
    }
}

TEST_F(FrameTest, F1OpensTheHelpOnWhatIsShown) {
    EXPECT_EQ(HelpOf(frame), nullptr);
    PumpUntilActive(frame);
    for (const int modifier : {wxMOD_SHIFT, wxMOD_CONTROL}) {
        PressKey(WXK_F1, modifier);
        EXPECT_EQ(HelpOf(frame), nullptr) << "with another key it means something else";
    }
    wxUIActionSimulator().Char(WXK_F1);
    ASSERT_TRUE(PumpUntil([this] { return HelpOf(frame) != nullptr && HelpOf(frame)->IsShown(); }));
}
