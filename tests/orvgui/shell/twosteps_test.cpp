// What a second step makes of what a first one left behind: every case begins where another test would have ended.

#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "tests/orvgui/framefixture.h"

namespace {

class TwoStepsTest : public FrameTest {
  protected:
    void Configure(int value, int gain) {
        VecParameter input = probe->GetInputPrototype();
        VecParameter post = probe->GetPostProcessingPrototype();
        input[0].SetValue(value);
        post[0].SetValue(gain);
        core->Configure(probe, -1, input, post, false);
        Settle();
    }
    // Whether a result field of the shown page says this.
    bool PageSays(const std::string& text) const {
        bool says = false;
        const std::function<void(const wxWindow*)> look = [&](const wxWindow* window) {
            const auto* field = dynamic_cast<const wxTextCtrl*>(window);
            says = says || (field != nullptr && field->GetValue() == ToWx(text));
            for (const wxWindow* child : window->GetChildren()) look(child);
        };
        look(frame->GetViewerPanel()->GetShownPage());
        return says;
    }
    std::string Reference() const { return PathFromWx(core->GetFilename(OrvReference)); }
    std::string PanelName(OrvFileId slot) const {
        return FromWx(frame->GetFilePanel(slot)->GetFilenameField()->GetValue());
    }
    bool PanelTitleIs(OrvFileId slot, const char* title) const {
        for (const wxWindow* child : frame->GetFilePanel(slot)->GetChildren())
            if (const auto* text = dynamic_cast<const wxStaticText*>(child);
                text && text->GetLabelText() == title)
                return true;
        return false;
    }
    void Press(OrvFileId slot, int commandId) {
        EXPECT_TRUE(frame->GetFilePanel(slot)->RunCommand(commandId));
        Settle();
    }
};

}  // namespace

TEST_F(TwoStepsTest, ASliderThatGoesOnShowsItsNewestValue) {
    Load(folder.WritePicture("a.png"));
    const auto bytes = static_cast<long>(core->GetFile(OrvEvidence)->GetBytes().size());
    const int runs = probe->runs;
    for (const int gain : {2, 5, 2, 1, 5}) {
        Configure(0, gain);
        EXPECT_TRUE(PageSays(std::to_string(bytes * gain))) << "gain " << gain;
    }
    EXPECT_EQ(probe->runs, runs) << "only the second stage ran";
    for (const auto& [value, gain] : {std::pair{10, 5}, {0, 5}, {10, 2}, {10, 5}}) {
        Configure(value, gain);
        EXPECT_TRUE(PageSays(std::to_string((bytes + value) * gain))) << value << ", gain " << gain;
    }
}

TEST_F(TwoStepsTest, SwitchedFilesAreSavedAndLoadedSwitched) {
    const std::string one = folder.WritePicture("one.png", 10, 16);
    const std::string other = folder.WritePicture("other.png", 20, 24);
    Load(one);
    Load(other, OrvReference);
    Press(OrvReference, 6058);
    core->SaveProject(PathToWx(folder / "case.zop"));
    Settle();
    core->NewProject();
    Settle();
    EXPECT_EQ(PanelName(OrvEvidence) + PanelName(OrvReference), "");
    core->LoadProject(PathToWx(folder / "case.zop"));
    Settle();
    EXPECT_EQ(Evidence(), other);
    EXPECT_EQ(Reference(), one);
    EXPECT_EQ(PanelName(OrvEvidence), "other.png");
    EXPECT_EQ(PanelName(OrvReference), "one.png");
    EXPECT_TRUE(PageSays("other.png / one.png"));
    EXPECT_EQ(frame->GetTitle(), "case.zop - Orvane") << "nothing has changed since it was saved";
}

TEST_F(TwoStepsTest, AReferenceThatWasOffIsOnInTheNextProject) {
    Load(folder.WritePicture("one.png"));
    Load(folder.WritePicture("two.png"), OrvReference);
    core->SaveProject(PathToWx(folder / "case.zop"));
    Settle();
    Press(OrvReference, 6060);
    ASSERT_FALSE(core->HasFile(OrvReference));
    EXPECT_TRUE(PanelTitleIs(OrvReference, "Reference (off)"));
    EXPECT_TRUE(PageSays("one.png")) << "without the reference";
    core->LoadProject(PathToWx(folder / "case.zop"));
    Settle();
    EXPECT_TRUE(core->HasFile(OrvReference));
    EXPECT_TRUE(PanelTitleIs(OrvReference, "Reference"));
    EXPECT_TRUE(PageSays("one.png / two.png"));
}

TEST_F(TwoStepsTest, ReprocessingComputesAlthoughTheDiskKnows) {
    probe->cacheable = true;
    const std::string path = folder.WritePicture("a.png");
    Load(path);
    ASSERT_TRUE(PumpUntil([this] { return core->GetCacheBytes() > 0; }));
    Load("");
    const int runs = probe->runs;
    Load(path);
    ASSERT_EQ(probe->runs, runs) << "from the disk";
    Press(OrvEvidence, 6047);
    EXPECT_EQ(probe->runs, runs + 1);
    Press(OrvEvidence, 6047);
    EXPECT_EQ(probe->runs, runs + 2);
    Load("");
    Load(path);
    EXPECT_EQ(probe->runs, runs + 2) << "what was computed last is kept";
}

TEST_F(TwoStepsTest, NextGoesOnFromTheNewFile) {
    std::filesystem::create_directory(folder / "second");
    for (const char* name : {"1.png", "2.png", "3.png", "second/a.png", "second/b.png"})
        folder.WritePicture(name);
    Load(folder / "1.png");
    Press(OrvEvidence, 6043);
    ASSERT_EQ(PanelName(OrvEvidence), "2.png");
    Load(folder / "second/a.png");
    Press(OrvEvidence, 6043);
    EXPECT_EQ(Evidence(), folder / "second/b.png");
    Press(OrvEvidence, 6043);
    EXPECT_EQ(Evidence(), folder / "second/b.png") << "the last one of its folder";
    Load(folder / "3.png");
    Press(OrvEvidence, 6042);
    EXPECT_EQ(Evidence(), folder / "2.png");
    // A file that came meanwhile is in the list once the folder was read again.
    folder.WritePicture("2b.png");
    Load(folder / "1.png");
    Press(OrvEvidence, 6044);
    EXPECT_EQ(Evidence(), folder / "3.png");
}
