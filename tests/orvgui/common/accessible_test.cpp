#include "orvgui/common/accessible.h"

#include <gtest/gtest.h>
#include <wx/artprov.h>
#include <wx/bmpbuttn.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/frame.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "orvgui/dialogs/tooldialog.h"
#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/framefixture.h"

namespace {

// What a screen reader would pass over in silence: "wxTextCtrl under wxPanel" each.
void CollectNameless(const wxWindow* root, std::vector<std::string>& nameless, int& named) {
    for (const wxWindow* child : root->GetChildren()) {
        if (child->IsTopLevel()) continue;
        if (NeedsAccessibleName(child)) {
            // An unnamed choice answers with its value.
            const auto* choice = dynamic_cast<const wxChoice*>(child);
            const wxString value = choice != nullptr ? choice->GetStringSelection() : wxString();
            const wxString name = GetAccessibleName(child);
            if (name.empty() || (choice != nullptr && name == value))
                nameless.push_back((wxString(child->GetClassInfo()->GetClassName()) + " under " +
                                    root->GetName() + ", tool tip " + child->GetToolTipText())
                                       .utf8_string());
            else
                ++named;
        }
        CollectNameless(child, nameless, named);
    }
}

std::string List(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

}  // namespace

TEST(AccessibleNames, ComeFromWhatStandsBesideAControl) {
    auto* frame = new wxFrame(nullptr, wxID_ANY, "names");
    auto* panel = new wxPanel(frame);
    const auto label = [panel](const char* text) { new wxStaticText(panel, wxID_ANY, text); };
    label("&Quality:");
    auto* spin = new wxSpinCtrl(panel, wxID_ANY);
    auto* slider = new wxSlider(panel, wxID_ANY, 5, 0, 10);
    label("%");  // a unit belongs to what stands before it
    auto* field = new wxTextCtrl(panel, wxID_ANY);
    label("Notes");
    auto* notes = new wxTextCtrl(panel, wxID_ANY, "", wxDefaultPosition, wxDefaultSize, wxTE_MULTILINE);
    label("Channel");
    auto* choice = new wxChoice(panel, wxID_ANY);
    choice->Append("Red");
    choice->SetSelection(0);
    auto* combo = new wxComboBox(panel, wxID_ANY, "one");
    auto* box = new wxCheckBox(panel, wxID_ANY, wxString());
    auto* button = new wxBitmapButton(panel, wxID_ANY, wxArtProvider::GetBitmap(wxART_NEW));
    button->SetToolTip("New file (Ctrl+N)");
    auto* given = new wxBitmapButton(panel, wxID_ANY, wxArtProvider::GetBitmap(wxART_NEW));
    given->SetToolTip("long explanation");
    SetAccessibleName(given, "Short");
    NameControls(frame);
    const struct {
        wxWindow* window;
        const char* name;
    } cases[] = {{spin, "Quality:"}, {slider, "Quality:"},          {field, "Quality:"},
                 {notes, "Notes"},   {choice, "Channel"},           {combo, "Channel"},
                 {box, "Channel"},   {button, "New file (Ctrl+N)"}, {given, "Short"}};
    for (const auto& c : cases)
        EXPECT_EQ(GetAccessibleName(c.window), c.name) << c.window->GetClassInfo()->GetClassName();
    frame->Destroy();
}

TEST_F(FrameTest, EveryControlOfTheWindowAndOfEveryPageHasAName) {
    std::vector<std::string> nameless;
    int named = 0;
    CollectNameless(frame, nameless, named);
    EXPECT_GT(named, 30);
    for (OrvFilterGui* page : frame->GetFiltersPanel()->GetPages()) {
        frame->GetViewerPanel()->ShowPage(page, true);
        Pump();
        std::vector<std::string> here;
        CollectNameless(page, here, named);
        for (const std::string& line : here) nameless.push_back(page->GetName().utf8_string() + ": " + line);
    }
    EXPECT_TRUE(nameless.empty()) << List(nameless);
    EXPECT_GT(named, 300);
}

TEST_F(FrameTest, EveryControlOfTheToolDialogsHasAName) {
    Load(folder.WritePicture("evidence.jpg", 90, 64));
    const std::pair<const char*, std::function<OrvToolDialog*()>> dialogs[] = {
        {"batch", [this] { return CreateBatchProcessingDialog(frame, "Batch"); }},
        {"flickr", [this] { return CreateFlickrSettingsDialog(frame, "Flickr"); }},
        {"cameras", [this] { return CreateCameraForensicsDialog(frame, "Cameras"); }},
        {"pdf", [this] { return CreatePdfSettingsDialog(frame, "PDF"); }},
        {"web", [this] { return CreateWebSearchDialog(frame, "Web"); }},
    };
    for (const auto& [what, make] : dialogs) {
        OrvToolDialog* dialog = make();
        ASSERT_NE(dialog, nullptr) << what;
        NameControls(dialog);  // as happens when it is shown
        std::vector<std::string> nameless;
        int named = 0;
        CollectNameless(dialog, nameless, named);
        EXPECT_TRUE(nameless.empty()) << what << ":\n" << List(nameless);
        EXPECT_GT(named, 0) << what;
        dialog->Destroy();
    }
}
