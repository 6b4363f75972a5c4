// The tool dialogs as the user meets them: real windows, real keys, real questions.

#include "orvgui/dialogs/tooldialog.h"

#include <sys/stat.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/combobox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "orvcore/tools/toolsettings.h"
#include "orvcore/tools/web/keyfile.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvgui/common/webconsent.h"
#include "tests/orvgui/children.h"
#include "tests/orvgui/framefixture.h"
#include "tests/orvgui/keys.h"

namespace {

class ToolDialogTest : public FrameTest {
  protected:
    using Factory = OrvToolDialog* (*)(wxWindow*, const wxString&);
    using Script = std::function<void(OrvToolDialog&)>;

    // Shows the dialog for real and lets the script act; what ShowModal returned. A dialog that the script
    // leaves open is told by wxID_ABORT. boxes: the answers to the questions, in order.
    int Run(Factory factory, const Script& script, std::initializer_list<int> before = {},
            std::initializer_list<int> during = {}) {
        const std::unique_ptr<OrvToolDialog> dialog(factory(frame, "Title"));
        return RunDialog(*dialog, script, before, during);
    }
    int RunDialog(OrvToolDialog& dialog, const Script& script, std::initializer_list<int> before = {},
                  std::initializer_list<int> during = {}) {
        DialogAnswers answers(std::initializer_list<int>{});
        for (const int code : before) answers.Add([code](wxDialog*) { return code; });
        if (script) answers.Add(ShowAnd(script));
        for (const int code : during) answers.Add([code](wxDialog*) { return code; });
        const int code = dialog.ShowModal();
        seen = answers.Seen();
        last = dialog.GetParameters();
        return code;
    }
    static DialogAnswers::Answer ShowAnd(const Script& script) {
        return [script](wxDialog* shown) {
            auto* dialog = dynamic_cast<OrvToolDialog*>(shown);
            EXPECT_NE(dialog, nullptr);
            shown->CallAfter([dialog, script] {
                PumpUntilActive(dialog);
                script(*dialog);
                if (dialog->IsModal()) dialog->EndModal(wxID_ABORT);
            });
            return wxID_NONE;
        };
    }

    std::vector<std::string> seen;
    VecParameter last;
};

void Nothing(OrvToolDialog&) {}

}  // namespace

TEST_F(ToolDialogTest, EachKindAnswersTheKeyboard) {
    Load(folder.WritePicture("a.jpg"));
    const struct {
        Factory factory;
        const char* label;
        std::size_t parameters;
    } kinds[] = {{CreateBatchProcessingDialog, "Ok", 4},
                 {CreateCameraForensicsDialog, "Search", 7},
                 {CreateFlickrSettingsDialog, "Search", 8},
                 {CreatePdfSettingsDialog, "Extract", 7},
                 {CreateWebSearchDialog, "Ok", 4}};
    core->SetServiceKey("key");
    for (const auto& [factory, label, parameters] : kinds) {
        const auto look = [&, label = label](OrvToolDialog& dialog) {
            EXPECT_EQ(dialog.GetTitle(), "Title");
            EXPECT_EQ(dialog.FindWindow(wxID_OK)->GetLabel(), label);
            EXPECT_EQ(dialog.FindWindow(wxID_CANCEL)->GetLabel(), "Cancel");
            EXPECT_LE(dialog.GetSize().x, 760);
            EXPECT_LE(dialog.GetSize().y, 560);
            // A field is made before its label.
            EXPECT_EQ(wxWindow::FindFocus(), dialog.GetChildren()[0]) << label;
            for (wxWindow* child : dialog.GetChildren())
                if (child->IsFocusable() && dynamic_cast<wxButton*>(child) == nullptr) {
                    EXPECT_FALSE(child->GetToolTipText().empty()) << label;
                }
            PressKey(WXK_ESCAPE);
        };
        EXPECT_EQ(Run(factory, look), 5101) << label;
        EXPECT_EQ(last.size(), parameters);
    }
    // From a text field, which keeps Enter for itself elsewhere.
    EXPECT_EQ(Run(CreatePdfSettingsDialog, [](auto&) { PressKey(WXK_RETURN); }), 5100);
    // On the button that has the focus Enter means that button.
    EXPECT_EQ(Run(CreatePdfSettingsDialog,
                  [](OrvToolDialog& dialog) {
                      dialog.FindWindow(wxID_CANCEL)->SetFocus();
                      PressKey(WXK_RETURN);
                  }),
              5101);
}

TEST_F(ToolDialogTest, AWrongFieldIsToldUntilItIsEdited) {
    const auto script = [](OrvToolDialog& dialog) {
        const auto fields = Children<wxTextCtrl>(&dialog);
        const int height = dialog.GetSize().y;
        fields[0]->SetFocus();
        TypeText("5");
        fields[1]->SetFocus();
        TypeText("4");
        Children<wxCheckBox>(&dialog)[0]->SetFocus();
        PressKey(WXK_RETURN);
        ASSERT_TRUE(dialog.IsModal()) << "it stays open";
        EXPECT_TRUE(dialog.GetProblem().StartsWith("\"Last page")) << dialog.GetProblem();
        EXPECT_EQ(wxWindow::FindFocus(), fields[1]);
        EXPECT_EQ(fields[1]->GetStringSelection(), "4") << "ready to be written over";
        EXPECT_GT(dialog.GetSize().y, height) << "room for the line";
        const auto isSeen = [&dialog] {
            for (const auto* line : Children<wxStaticText>(&dialog))
                if (line->IsShown() && line->GetLabelText().StartsWith("\"Last page")) return true;
            return false;
        };
        EXPECT_TRUE(isSeen());
        TypeText("12");
        EXPECT_EQ(dialog.GetProblem(), "");
        EXPECT_FALSE(isSeen());

        // A text that is no number at all never becomes an old value in silence.
        TypeText("last");
        PressKey(WXK_RETURN);
        ASSERT_TRUE(dialog.IsModal());
        EXPECT_NE(dialog.GetProblem(), "");
        TypeText("12");
        PressKey(WXK_RETURN);
    };
    EXPECT_EQ(Run(CreatePdfSettingsDialog, script), wxID_OK);
    EXPECT_EQ(last[0].Get<int>(), 5);
    EXPECT_EQ(last[1].Get<int>(), 12);
}

// The button takes what was typed and refuses what is wrong, like Enter in a field.
TEST_F(ToolDialogTest, TheButtonTakesWhatWasTyped) {
    const auto click = [](OrvToolDialog& dialog) {
        wxWindow* ok = dialog.FindWindow(wxID_OK);
        wxCommandEvent event(wxEVT_BUTTON, wxID_OK);
        event.SetEventObject(ok);
        ok->GetEventHandler()->ProcessEvent(event);
    };
    const auto script = [&click](OrvToolDialog& dialog) {
        const auto fields = Children<wxTextCtrl>(&dialog);
        fields[0]->SetValue("7");
        fields[1]->SetValue("6");
        click(dialog);
        ASSERT_TRUE(dialog.IsModal()) << "the last page is before the first";
        EXPECT_NE(dialog.GetProblem(), "");
        fields[1]->SetValue("9");
        click(dialog);
    };
    EXPECT_EQ(Run(CreatePdfSettingsDialog, script), wxID_OK);
    EXPECT_EQ(last[0].Get<int>(), 7);
    EXPECT_EQ(last[1].Get<int>(), 9);
}

TEST_F(ToolDialogTest, AReportIsReplacedOnlyWhenConfirmedTwice) {
    Load(folder.WritePicture("case/a.png"));
    const std::string report = folder / "documents/report/report.html";
    WriteFile(report, "an older report");
    const auto script = [](OrvToolDialog& dialog) {
        PressKey(WXK_RETURN);
        ASSERT_TRUE(dialog.IsModal());
        EXPECT_NE(dialog.GetProblem().Find("already"), wxNOT_FOUND);
        PressKey(WXK_RETURN);
    };
    EXPECT_EQ(Run(CreateBatchProcessingDialog, script), wxID_OK);
    EXPECT_EQ(last[3].Get<std::string>(), report);
}

TEST_F(ToolDialogTest, ValuesAreThereAgainAfterARestart) {
    const auto enter = [](OrvToolDialog& dialog) {
        const auto fields = Children<wxTextCtrl>(&dialog);
        fields[0]->SetFocus();
        TypeText("5");
        fields[3]->SetFocus();
        TypeText("s3cret");
        Children<wxCheckBox>(&dialog)[0]->SetValue(true);
        PressKey(WXK_RETURN);
    };
    EXPECT_EQ(Run(CreatePdfSettingsDialog, enter), wxID_OK);
    EXPECT_EQ(last[6].Get<std::string>(), "s3cret");
    CloseFrame();
    EXPECT_EQ(ReadFile(OrvToolSettings::Path()).find("s3cret"), std::string::npos);
    OpenFrame();
    EXPECT_EQ(Run(CreatePdfSettingsDialog, [](auto&) { PressKey(WXK_ESCAPE); }), wxID_CANCEL);
    EXPECT_EQ(last[0].Get<int>(), 5);
    EXPECT_TRUE(last[2].Get<bool>());
    EXPECT_EQ(last[6].Get<std::string>(), "");

    // Cancelled values are not remembered, and the permission never is.
    EXPECT_EQ(Run(CreateWebSearchDialog,
                  [](OrvToolDialog& dialog) {
                      const auto boxes = Children<wxCheckBox>(&dialog);
                      boxes[0]->SetValue(true);
                      PressKey(WXK_ESCAPE);
                  }),
              wxID_CANCEL);
    EXPECT_EQ(Run(CreateWebSearchDialog,
                  [](OrvToolDialog& dialog) {
                      const auto boxes = Children<wxCheckBox>(&dialog);
                      EXPECT_FALSE(boxes[0]->GetValue());
                      boxes[2]->SetValue(true);
                      PressKey(WXK_RETURN);
                  }),
              wxID_OK);
    EXPECT_EQ(Run(CreateWebSearchDialog, Nothing), wxID_ABORT);
    EXPECT_FALSE(last[3].Get<bool>());
}

TEST_F(ToolDialogTest, WithoutAKeyItIsAskedFor) {
    const auto factory = CreateCameraForensicsDialog;
    EXPECT_EQ(Run(factory, {}, {wxID_CANCEL}), wxID_CANCEL) << "closed: nothing more is asked";
    EXPECT_EQ(
        seen,
        std::vector<std::string>{
            "CameraForensics API Key needed|In order to use this function you need to have an active "
            "CameraForensics subscription.\nIf you have an API key, please click \"Insert Key\" and insert it "
            "in the proper field, otherwise click \"Get A Trial\" if you want to go to the Camera Forensics "
            "website to get a trial."});
    EXPECT_TRUE(launched.empty());
    EXPECT_EQ(Run(factory, {}, {wxID_NO}), wxID_CANCEL);
    EXPECT_EQ(launched, std::vector<std::string>{"https://www.cameraforensics.com/"});
    canLaunch = false;
    EXPECT_EQ(Run(factory, {}, {wxID_NO, wxID_OK}), wxID_CANCEL);
    EXPECT_EQ(seen.back(),
              "Error|The browser cannot be opened. The address is:\nhttps://www.cameraforensics.com/");
    canLaunch = true;
    launched.pop_back();

    Load(folder.WritePicture("a.jpg"));
    const auto insert = [](OrvToolDialog& dialog) {
        const auto fields = Children<wxTextCtrl>(&dialog);
        EXPECT_EQ(wxWindow::FindFocus(), fields[0]);
        TypeText("two words");
        PressKey(WXK_RETURN);
        EXPECT_TRUE(dialog.GetProblem().StartsWith("\"CameraForensics API Key")) << dialog.GetProblem();
        TypeText("my-key-1");
        PressKey(WXK_RETURN);
        EXPECT_TRUE(dialog.GetProblem().StartsWith("\"Camera Make")) << dialog.GetProblem();
        TypeText("Maker");
        fields[2]->SetFocus();
        TypeText("Model");
        PressKey(WXK_RETURN);
    };
    EXPECT_EQ(Run(factory, insert, {wxID_YES}), wxID_OK);
    Settle();
    EXPECT_EQ(ReadFile(OrvKeyFile::Path()), "my-key-1\n");
    struct stat facts {};
    ASSERT_EQ(stat(OrvKeyFile::Path().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600U);

    // The key is there now; whoever clears it is asked again, and may go back.
    const auto clear = [this](OrvToolDialog& dialog) {
        EXPECT_EQ(Children<wxTextCtrl>(&dialog)[0]->GetValue(), "my-key-1");
        PressKey('A', wxMOD_CONTROL);
        PressKey(WXK_DELETE);
        PressKey(WXK_RETURN);
        EXPECT_TRUE(dialog.IsModal());
        EXPECT_EQ(launched.size(), 1U);
    };
    EXPECT_EQ(Run(factory, clear, {}, {wxID_CANCEL}), wxID_ABORT);
    EXPECT_EQ(seen.size(), 2U);
    EXPECT_EQ(ReadFile(OrvKeyFile::Path()), "my-key-1\n") << "nothing was confirmed";
}

TEST_F(ToolDialogTest, LongEntriesDoNotWidenIt) {
    Load(folder.WritePicture("a.jpg"));
    core->SetServiceKey("key");
    const auto look = [](OrvToolDialog& dialog) {
        const auto boxes = Children<wxComboBox>(&dialog);
        ASSERT_EQ(boxes.size(), 3U);
        EXPECT_EQ(boxes[1]->GetCount(), 3U);
        EXPECT_EQ(boxes[0]->GetSize().x, boxes[1]->GetSize().x);
        EXPECT_LT(boxes[1]->GetSize().x, boxes[1]->GetTextExtent(boxes[1]->GetString(2)).x);
        boxes[1]->SetFocus();
        PressKey(WXK_DOWN);
        PressKey(WXK_DOWN);
        EXPECT_TRUE(boxes[1]->GetStringSelection().StartsWith("Luma and Chroma ("));
        EXPECT_TRUE(boxes[1]->GetToolTipText().StartsWith(boxes[1]->GetStringSelection()));
    };
    Run(CreateCameraForensicsDialog, look);
}

TEST_F(ToolDialogTest, NothingIsSentThatTheUserDoesNotAgreeTo) {
    Load(folder.WritePicture("a.png"));
    VecVecParameter options = core->GetProgramOptions();
    for (VecParameter& group : options)
        if (Parameter* address = group.Find("googlePictureAddress"))
            address->SetValue(std::string("http://127.0.0.1:1/"));  // where nobody listens
    core->SetProgramOptions(options);
    Settle();
    const auto allow = ShowAnd([](OrvToolDialog& dialog) {
        PressKey(WXK_RETURN);
        EXPECT_TRUE(dialog.GetProblem().StartsWith("\"Allow To Send Images")) << dialog.GetProblem();
        PressKey(WXK_SPACE);
        PressKey(WXK_RETURN);
    });
    const auto search = [&](std::initializer_list<int> answers) {
        DialogAnswers dialogs(allow);
        for (const int answer : answers) dialogs.Add([answer](wxDialog*) { return answer; });
        Command(6026);
        Settle();
        return dialogs.Seen();
    };
    for (const int no : {wxID_NO, wxID_CANCEL}) {
        const auto asked = search({no});
        ASSERT_EQ(asked.size(), 2U) << "no outcome: nothing was started";
        EXPECT_NE(asked[1].find("Google (127.0.0.1)"), std::string::npos) << asked[1];
        EXPECT_NE(asked[1].find("picture itself"), std::string::npos) << asked[1];
    }
    EXPECT_EQ(search({wxID_YES, wxID_OK}).size(), 3U) << "the question, then what came of it";
    EXPECT_EQ(search({wxID_OK}).size(), 2U) << "asked once";

    // Another address is another question.
    for (VecParameter& group : options)
        if (Parameter* address = group.Find("googlePictureAddress"))
            address->SetValue(std::string("http://localhost:1/"));
    core->SetProgramOptions(options);
    EXPECT_NE(search({wxID_NO})[1].find("Google (localhost)"), std::string::npos);
}

TEST_F(ToolDialogTest, NobodyIsAskedAboutWhatCannotBeSent) {
    const auto set = [this](const char* name, const char* value) {
        VecVecParameter options = core->GetProgramOptions();
        for (VecParameter& group : options)
            if (Parameter* option = group.Find(name)) option->SetValue(std::string(value));
        core->SetProgramOptions(options);
        Settle();
    };
    const struct {
        OrvActionId action;
        std::vector<std::pair<const char*, const char*>> missing;  // option, and what the message calls it
    } services[] = {
        {OrvActionSearchFlickr, {{"flickrKey", "Flickr API key"}, {"flickrAddress", "Flickr address"}}},
        {OrvActionSearchGoogle,
         {{"googleKey", "Google API key"},
          {"googleEngine", "Google search engine ID"},
          {"googleAddress", "Google search address"}}},
        {OrvActionCameraForensics, {{"cameraForensicsAddress", "CameraForensics address"}}},
    };
    for (const auto& service : services) {
        for (const auto& [option, label] : service.missing) set(option, "https://127.0.0.1/");
        {
            DialogAnswers answers{wxID_NO};
            EXPECT_FALSE(AskBeforeSending(frame, *core, service.action, {}));
            EXPECT_TRUE(answers.Seen()[0].starts_with("Send To The Web|")) << answers.Seen()[0];
        }
        for (const auto& [option, label] : service.missing) {
            set(option, " ");
            DialogAnswers answers{wxID_OK};
            EXPECT_FALSE(AskBeforeSending(frame, *core, service.action, {}));
            EXPECT_TRUE(answers.Seen()[0].starts_with("Error|")) << answers.Seen()[0];
            EXPECT_NE(answers.Seen()[0].find(label), std::string::npos) << answers.Seen()[0];
            set(option, "https://127.0.0.1/");
        }
    }
}
