// What the program says of itself, and where it says that its updates are.

#include "zorbase/gui/aboutdialog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <wx/button.h>
#include <wx/icon.h>
#include <wx/listctrl.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>

#include "tests/orvgui/children.h"
#include "tests/support/guitest.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/gui/shell.h"
#include "zorbase/gui/updatecheck.h"
#include "zorbase/licence.h"
#include "zorbase/text.h"

namespace {

void Press(wxWindow* button) {
    wxCommandEvent press(wxEVT_BUTTON, button->GetId());
    press.SetEventObject(button);
    button->ProcessWindowEvent(press);
}

TEST(AboutDialog, TellsWhatTheProgramIsAndStandsOn) {
    const AppVersion version;
    const std::string revision = version.GetRevision().empty() ? "" : ", revision " + version.GetRevision();
    for (const bool isTrial : {false, true}) {
        LicenceManager::Get().SetEdition(isTrial ? LicenceManager::Edition::Trial
                                                 : LicenceManager::Edition::Full);
        wxIcon icon;
        if (isTrial) icon.CopyFromBitmap(wxBitmap(16, 16));
        bool isTestWanted = false;
        bool restart = true;
        const DialogAnswers answers([&](wxDialog* dialog) {
            std::vector<std::string> texts;
            for (const wxStaticText* text : Children<wxStaticText>(dialog))
                texts.push_back(FromWx(text->GetLabelText()).substr(0, 28));
            std::vector<std::string> expected = {
                "Forensic analysis of images:", "Orvane",
                "Version " + version.GetVersion() + revision + (isTrial ? ", trial edition" : ""),
                "It stands on these libraries"};
            expected[2] = expected[2].substr(0, 28);
            if (isTrial) expected.emplace_back("Not tested yet.");
            EXPECT_EQ(texts, expected);
            EXPECT_EQ(Children<wxStaticBitmap>(dialog).size(), isTrial ? 1U : 0U);
            const auto* list = Children<wxListView>(dialog).at(0);
            EXPECT_EQ(list->GetColumnCount(), 3);
            EXPECT_GE(list->GetItemCount(), 20);
            const char* const first[] = {"wxWidgets", "Windows", "wxWindows Library Licence 3.1"};
            for (int column = 0; column < 3; ++column) {
                EXPECT_EQ(list->GetItemText(0, column), first[column]);
                for (int row = 0; row < list->GetItemCount(); ++row)
                    EXPECT_FALSE(list->GetItemText(row, column).empty()) << row << ' ' << column;
            }
            // What is left over goes to the list.
            dialog->Layout();
            const wxSize before = list->GetSize();
            dialog->SetClientSize(dialog->GetClientSize() + wxSize(60, 90));
            dialog->Layout();
            EXPECT_EQ(list->GetSize() - before, wxSize(60, 90));
            for (const wxWindow* child : dialog->GetChildren())
                EXPECT_TRUE(wxRect(dialog->GetClientSize()).Deflate(12).Contains(child->GetRect()));
            // Escape leaves it as OK does; so does the button of the check.
            EXPECT_EQ(dialog->GetEscapeId(), wxID_OK);
            dialog->CallAfter([&isTrial, dialog] {
                PumpFrames();
                EXPECT_EQ(wxWindow::FindFocus(), dialog->FindWindow(wxID_OK));
                Press(isTrial ? Children<wxButton>(dialog).at(0) : dialog->FindWindow(wxID_OK));
            });
            return wxID_NONE;
        });
        CreateAboutDialog(
            nullptr, version, icon, restart,
            isTrial ? AboutCheck{"Not tested yet.", "Run", &isTestWanted} : AboutCheck{"", "Run", nullptr});
        EXPECT_EQ(answers.Seen(), std::vector<std::string>{"About Orvane"});
        EXPECT_EQ(isTestWanted, isTrial);
        EXPECT_FALSE(restart);
    }
    LicenceManager::Get().SetEdition(LicenceManager::GetBuiltEdition());
}

TEST(UpdateCheck, AsksBeforeAPageIsOpened) {
    const std::string caption = "Check for Updates|";
    const std::string asked = caption + "The updates of Orvane are announced at:\n";
    const std::string open = "\n\nOpen the page in the browser?";
    const std::string newest = "\nThe newest one is named at:\nhttps://a.example/new.txt";
    const auto check = [](const std::vector<const char*>& texts, bool allowsDownload, bool canLaunch,
                          std::initializer_list<int> codes, const std::vector<std::string>& seen) {
        std::string launched;
        SetShellLauncher([&](const wxString& address) {
            launched += FromWx(address);
            return canLaunch;
        });
        const DialogAnswers answers(codes);
        CheckForUpdates(nullptr, texts[0], texts[1], texts[2], "Orvane", texts[3], allowsDownload);
        EXPECT_EQ(answers.Seen(), seen);
        return launched;
    };
    const std::string page = "https://a.example";
    EXPECT_EQ(check({"", "c.html", "new.txt", "r"}, true, true, {wxID_OK},
                    {caption + "This build of Orvane has no update service."}),
              "");
    EXPECT_EQ(check({page.c_str(), "", "", ""}, false, true, {wxID_YES}, {asked + page + open}), page);
    EXPECT_EQ(
        check({page.c_str(), "c.html", "", ""}, false, true, {wxID_NO}, {asked + page + "/c.html" + open}),
        "");
    EXPECT_EQ(check({"https://a.example/", "c.html", "new.txt", ""}, false, true, {wxID_YES},
                    {asked + page + "/c.html" + newest + open}),
              page + "/c.html");
    EXPECT_EQ(
        check({"https://a.example/", "c.html", "", "abc"}, true, false, {wxID_YES, wxID_OK},
              {asked + page + "/\n\nThis program is of revision abc." + open,
               caption + "The address https://a.example/ cannot be opened. Open it in a browser yourself."}),
        page + "/");
    SetShellLauncher({});
    // The desktop's own program gets the address as it is.
    const TemporaryFolder folder;
    WriteFile(folder / "xdg-open",
              "#!/bin/sh\nprintf '%s|%s' \"$#\" \"$1\" > '" + (folder / "opened") + "'\n");
    ASSERT_EQ(chmod((folder / "xdg-open").c_str(), 0700), 0);
    const ScopedVariable path("PATH", (folder.Path() + ":/usr/bin:/bin").c_str());
    EXPECT_TRUE(LaunchWebAddress("https://a.example/?b=$HOME"));
    EXPECT_TRUE(PumpUntil([&] {
        return FileExists(folder / "opened") && ReadFile(folder / "opened") == "1|https://a.example/?b=$HOME";
    }));
}

}  // namespace
