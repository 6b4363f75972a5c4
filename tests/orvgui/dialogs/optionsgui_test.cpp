// The program options as the user answers them.

#include "orvgui/dialogs/optionsgui.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/textctrl.h>

#include <set>

#include "tests/orvgui/framefixture.h"

namespace {

class OptionsTest : public FrameTest {
  protected:
    using Script = std::function<void(OrvOptionsGui&)>;

    // Shows the dialog for real and lets the script act; wxID_ABORT when the script leaves it open.
    int Run(const Script& script, std::initializer_list<int> boxes = {}) {
        OrvOptionsGui dialog(frame, core->GetProgramOptions());
        DialogAnswers answers([&](wxDialog* shown) {
            shown->CallAfter([&] {
                PumpFrames();
                script(dialog);
                if (dialog.IsModal()) dialog.EndModal(wxID_ABORT);
            });
            return wxID_NONE;
        });
        for (const int code : boxes) answers.Add([code](wxDialog*) { return code; });
        const int code = dialog.ShowModal();
        seen = answers.Seen();
        Settle();
        return code;
    }
    static void Press(OrvOptionsGui& dialog, int id) {
        wxCommandEvent press(wxEVT_BUTTON, id);
        press.SetEventObject(dialog.FindWindow(id));
        dialog.FindWindow(id)->ProcessWindowEvent(press);
    }
    // The field that shows this text; the dialog's values are all different.
    static wxTextCtrl* Field(OrvOptionsGui& dialog, const char* text) {
        for (wxWindow* child : dialog.GetEmptyButton()->GetParent()->GetChildren())
            if (auto* field = dynamic_cast<wxTextCtrl*>(child); field && field->GetValue() == text)
                return field;
        ADD_FAILURE() << "no field shows " << text;
        return nullptr;
    }
    template <typename T>
    T Option(const char* name) const {
        for (const VecParameter& group : core->GetProgramOptions())
            if (const Parameter* option = group.Find(name)) return option->Get<T>();
        ADD_FAILURE() << name;
        return {};
    }
    void SetMemory(int mebibytes) {
        VecVecParameter options = core->GetProgramOptions();
        for (VecParameter& group : options)
            if (Parameter* option = group.Find("memoryMiB")) option->SetValue(mebibytes);
        core->SetProgramOptions(options);
        Settle();
    }

    std::vector<std::string> seen;
};

}  // namespace

TEST_F(OptionsTest, OnlyOkTakesWhatWasEntered) {
    SetMemory(777);
    const auto edit = [](OrvOptionsGui& dialog) { Field(dialog, "777")->SetValue("555"); };
    EXPECT_EQ(Run([&](OrvOptionsGui& dialog) {
                  edit(dialog);
                  Press(dialog, wxID_CANCEL);
              }),
              wxID_CANCEL);
    EXPECT_EQ(Option<int>("memoryMiB"), 777);
    EXPECT_EQ(Run([&](OrvOptionsGui& dialog) {
                  edit(dialog);  // and neither Enter nor another field
                  Press(dialog, wxID_OK);
              }),
              wxID_OK);
    EXPECT_EQ(Option<int>("memoryMiB"), 555);
    EXPECT_EQ(Option<int>("cacheMiB"), 2048) << "the others are as they were";
    EXPECT_TRUE(Option<bool>("useCache"));
}

TEST_F(OptionsTest, FieldsOfAllGroupsStandInOneColumnAboveTheButtons) {
    const OrvOptionsGui dialog(frame, core->GetProgramOptions());
    const wxWindow* body = dialog.GetEmptyButton()->GetParent();
    const wxWindow* ok = dialog.FindWindow(wxID_OK);
    EXPECT_GE(body->GetSize().x, body->GetMinSize().x);
    EXPECT_GE(body->GetSize().y, body->GetMinSize().y);
    EXPECT_GE(ok->GetPosition().y, body->GetRect().GetBottom());
    EXPECT_LE(ok->GetRect().GetBottom(), dialog.GetClientSize().y);
    std::set<int> edges;
    for (const wxWindow* child : body->GetChildren())
        if (dynamic_cast<const wxTextCtrl*>(child) != nullptr) edges.insert(child->GetPosition().x);
    EXPECT_EQ(edges.size(), 1U);
}

TEST_F(OptionsTest, AWrongFieldKeepsItOpenUntilItIsMended) {
    SetMemory(777);
    for (const char* wrong : {"", "x", "-1", "1048577", "1.5"}) {
        EXPECT_EQ(Run([&](OrvOptionsGui& dialog) {
                      wxTextCtrl* field = Field(dialog, "777");
                      field->SetValue(wrong);
                      Press(dialog, wxID_OK);
                      EXPECT_TRUE(dialog.IsModal()) << wrong;
                      EXPECT_TRUE(PumpUntil([&] { return wxWindow::FindFocus() == field; }, 2000)) << wrong;
                  }),
                  wxID_ABORT);
        EXPECT_EQ(Option<int>("memoryMiB"), 777) << wrong;
    }
    EXPECT_EQ(Run([&](OrvOptionsGui& dialog) {
                  wxTextCtrl* field = Field(dialog, "777");
                  field->SetValue("x");
                  Press(dialog, wxID_OK);
                  field->SetValue("1048576");
                  Press(dialog, wxID_OK);
              }),
              wxID_OK);
    EXPECT_EQ(Option<int>("memoryMiB"), 1048576);
}

TEST_F(OptionsTest, TheCacheIsEmptiedOnlyAfterAYes) {
    probe->cacheable = true;
    Load(folder.WritePicture("a.png"));
    ASSERT_TRUE(PumpUntil([this] { return core->GetCacheBytes() > 0; }));
    const std::uint64_t before = core->GetCacheBytes();
    const auto isCounted = [](OrvOptionsGui& dialog) {
        return PumpUntil([&] { return dialog.GetCacheText().Contains("bytes"); });
    };
    for (const int no : {wxID_NO, wxID_CANCEL}) {
        Run(
            [&](OrvOptionsGui& dialog) {
                ASSERT_TRUE(isCounted(dialog));
                EXPECT_EQ(dialog.GetCacheText(), "Results on disk: " + FormatFileSize(before));
                Press(dialog, dialog.GetEmptyButton()->GetId());
            },
            {no});
        EXPECT_EQ(core->GetCacheBytes(), before);
    }
    Run(
        [&](OrvOptionsGui& dialog) {
            ASSERT_TRUE(isCounted(dialog));
            Press(dialog, dialog.GetEmptyButton()->GetId());
            EXPECT_FALSE(dialog.GetEmptyButton()->IsEnabled());
            EXPECT_TRUE(PumpUntil([&] { return dialog.GetCacheText().Contains(FormatFileSize(0)); }));
            EXPECT_FALSE(dialog.GetEmptyButton()->IsEnabled()) << "there is nothing to empty";
        },
        {wxID_YES});
    EXPECT_EQ(seen[1].substr(0, seen[1].find('|')), "Empty The Cache");
    EXPECT_EQ(core->GetCacheBytes(), 0u);
}
