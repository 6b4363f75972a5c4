// The window in another language: the catalogue is found, and nothing in it is cut off.

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/menu.h>
#include <wx/stattext.h>
#include <wx/tglbtn.h>
#include <wx/translation.h>

#include "orvgui/common/language.h"
#include "orvgui/common/statictext.h"
#include "orvgui/dialogs/optionsgui.h"
#include "orvgui/dialogs/tooldialog.h"
#include "tests/orvgui/framefixture.h"

namespace {

// What is drawn narrower or lower than its text needs, by its label.
void FindClipped(wxWindow* window, std::string& clipped) {
    for (wxWindow* child : window->GetChildren()) {
        if (!child->IsShown() || child->IsTopLevel()) continue;
        const bool hasFixedText = dynamic_cast<wxStaticText*>(child) || dynamic_cast<wxButton*>(child) ||
                                  dynamic_cast<wxCheckBox*>(child) || dynamic_cast<wxToggleButton*>(child);
        // Those that break their lines ask for no width.
        const bool wraps = dynamic_cast<OrvStaticText*>(child) != nullptr;
        if (hasFixedText && !wraps && !child->GetLabel().empty()) {
            const wxSize best = child->GetBestSize();
            const wxSize size = child->GetSize();
            if (size.x < best.x || size.y < best.y)
                clipped += child->GetLabel().utf8_string() + " (" + std::to_string(size.x) + " of " +
                           std::to_string(best.x) + ")\n";
        }
        FindClipped(child, clipped);
    }
}

std::string Clipped(wxWindow* window) {
    std::string clipped;
    FindClipped(window, clipped);
    return clipped;
}

class Language : public FrameTest {
  protected:
    void Reopen(const std::string& language) {
        CloseFrame();
        UseLanguage(language);
        OpenFrame();
    }
    ~Language() override {
        CloseFrame();
        wxTranslations::Set(nullptr);
    }
};

}  // namespace

TEST_F(Language, GermanIsFoundAndCutsNothingOff) {
    Reopen("de");
    EXPECT_EQ("Datei", frame->GetMenuBar()->GetMenuLabelText(0));
    EXPECT_EQ("Beenden", frame->GetMenuBar()->FindItem(6010)->GetItemLabelText());
    Load(folder.WritePicture("a.png", 90, 300));
    Load(folder.WritePicture("b.png", 90, 300), OrvReference);
    for (const wxSize& size : {wxSize(1280, 800), wxSize(1024, 768)}) {
        frame->SetSize(size);
        for (const char* id : {"visual-inspection", "error-level", "histogram", "file-format", "summary"}) {
            OrvFilter* filter = core->GetContext().FindFilter(id);
            if (filter == nullptr) continue;
            core->ActivateFilter(filter, -1);
            Settle();
            PumpFrames();
            EXPECT_EQ("", Clipped(frame)) << id << " at " << size.x;
        }
    }
    std::vector<std::unique_ptr<wxDialog>> dialogs;
    dialogs.emplace_back(new OrvOptionsGui(frame, core->GetProgramOptions()));
    dialogs.emplace_back(CreateBatchProcessingDialog(frame, "a"));
    dialogs.emplace_back(CreateCameraForensicsDialog(frame, "a"));
    dialogs.emplace_back(CreateFlickrSettingsDialog(frame, "a"));
    dialogs.emplace_back(CreatePdfSettingsDialog(frame, "a"));
    dialogs.emplace_back(CreateWebSearchDialog(frame, "a"));
    for (const auto& dialog : dialogs) {
        dialog->Show();
        PumpFrames();
        EXPECT_EQ("", Clipped(dialog.get())) << dialog->GetTitle();
        dialog->Hide();
    }
}

TEST_F(Language, AnUnknownLanguageIsEnglish) {
    for (const char* language : {"en", "xx"}) {
        Reopen(language);
        EXPECT_EQ("File", frame->GetMenuBar()->GetMenuLabelText(0)) << language;
    }
}

TEST_F(Language, TheSystemsLanguageIsThatOfItsEnvironment) {
    const ScopedVariable language("LANGUAGE", "");
    const ScopedVariable all("LC_ALL", "");
    const ScopedVariable messages("LC_MESSAGES", "");
    const struct {
        const char* lang;
        bool needsCatalogue;
    } kCases[] = {{"de_DE.UTF-8", true}, {"en_GB.UTF-8", false}, {"C.UTF-8", false}, {"", false}};
    for (const auto& [lang, needsCatalogue] : kCases) {
        const ScopedVariable variable("LANG", lang);
        UseLanguage("");
        // Told by what is loaded: whether the system knows the language at all is its own affair.
        EXPECT_FALSE(!needsCatalogue && wxTranslations::Get()->IsLoaded("orvane")) << lang;
    }
    const ScopedVariable list("LANGUAGE", "de:en");
    UseLanguage("");
    EXPECT_TRUE(wxTranslations::Get()->IsLoaded("orvane"));
    EXPECT_EQ("Datei", wxGetTranslation("File"));
}

TEST_F(Language, AnotherLanguageIsOfferedWithTheNextStart) {
    EXPECT_EQ("", LanguageOf(core->GetProgramOptions()));
    EXPECT_EQ("", LanguageOf({}));
    const auto choose = [this](int language) {
        return [this, language](wxDialog* dialog) {
            EXPECT_NE(dynamic_cast<OrvOptionsGui*>(dialog), nullptr);
            VecVecParameter options = core->GetProgramOptions();
            for (VecParameter& group : options)
                if (Parameter* option = group.Find("language")) option->SetValue(language);
            core->SetProgramOptions(options);
            return wxID_OK;
        };
    };
    {
        DialogAnswers answers(choose(2));
        answers.Add([](wxDialog*) { return wxID_NO; });
        Command(wxID_PREFERENCES);
        ASSERT_EQ(2U, answers.Seen().size());
        EXPECT_EQ("Language|The language changes when the program starts anew.", answers.Seen()[1]);
    }
    EXPECT_EQ("de", LanguageOf(core->GetProgramOptions()));
    {
        DialogAnswers answers(choose(2));
        Command(wxID_PREFERENCES);
    }
    Settle();
    EXPECT_TRUE(frame->IsShown()) << "who keeps the language is asked nothing";
}
