#include "tests/orvgui/filtersfixture.h"

#include <wx/modalhook.h>
#include <wx/msgdlg.h>

#include <fstream>

#include "orvgui/pages/filtergui.h"
#include "orvgui/pages/orvviewerpanel.h"
#include "orvgui/pages/pagefactory.h"
#include "orvgui/shell/commandregistry.h"
#include "tests/support/guitest.h"

namespace {

// Answers message boxes as long as it lives and remembers the last one's text.
class BoxAnswer : public wxModalDialogHook {
  public:
    explicit BoxAnswer(int answer) : m_answer(answer) { Register(); }
    ~BoxAnswer() override { Unregister(); }
    const wxString& Text() const { return m_text; }

  private:
    int Enter(wxDialog* dialog) override {
        const auto* box = dynamic_cast<wxMessageDialogBase*>(dialog);
        if (box == nullptr) return wxID_NONE;
        m_text = box->GetMessage();
        return m_answer;
    }

    int m_answer;
    wxString m_text;
};

}  // namespace

void FiltersFixture::SetUp() {
    core = std::make_unique<OrvInterface>();
    RegisterPageFactory();
    OrvGuiCommandRegistry::Init();
    frame = new wxFrame(nullptr, wxID_ANY, "Filters", wxDefaultPosition, wxSize(1000, 700));
}

void FiltersFixture::TearDown() {
    core->SetEventSink(nullptr);
    frame->Destroy();
    Pump();
    core.reset();
}

void FiltersFixture::BuildPanels() {
    viewer = new OrvViewerPanel(frame);
    panel = new OrvFiltersPanel(frame, viewer);
    panel->SetSettleTime(0);
    tree = panel->GetTree();
    auto* sizer = new wxBoxSizer(wxHORIZONTAL);
    panel->SetMinSize(wxSize(260, -1));
    sizer->Add(panel, 0, wxEXPAND);
    sizer->Add(viewer, 1, wxEXPAND);
    frame->SetSizer(sizer);
    frame->Layout();

    frame->Bind(wxEVT_ORV_COMMAND, [this](OrvCommandEvent& event) {
        auto* page = dynamic_cast<OrvFilterGui*>(event.GetPage());
        const int configuration = page != nullptr ? page->GetFilter()->GetActiveConfiguration() : -1;
        switch (event.GetId()) {
            case OrvEventConfigureStarted:
                panel->ChangePage(page, configuration);
                return;
            case OrvEventConfigureCompleted:
            case OrvEventConfigureInterrupted:
                page->UpdateGui();
                panel->UpdateTreebook(false);
                core->PostResponse();
                panel->ChangePage(page, page->GetFilter()->GetActiveConfiguration());
                return;
            case OrvEventDeleteCache:
                core->PostResponse();
                panel->UpdateTreebook(true);
                return;
            default:
                core->PostResponse();
        }
    });
    core->SetEventSink(frame);
    panel->InitTreebook();
    frame->Show();
    Pump();
}

std::string FiltersFixture::MakeFile(const std::string& name) {
    const std::string path = folder / (name + ".jpg");
    std::ofstream(path) << "the file " << name;
    return path;
}

void FiltersFixture::LoadEvidence(const std::string& content) {
    core->SetFile(wxString::FromUTF8(MakeFile(content)), OrvEvidence);
    Settle();
    ASSERT_TRUE(core->HasFile(OrvEvidence));
}

void FiltersFixture::Settle() {
    ASSERT_TRUE(PumpUntil([this] { return !core->IsBusy(); })) << "the core does not come to rest";
    Pump();
}

void FiltersFixture::Select(wxTreeItemId item) {
    tree->SelectItem(item);
    Pump();
}

wxString FiltersFixture::Send(int command, int answer) {
    const BoxAnswer box(answer);
    wxCommandEvent event(wxEVT_MENU, command);
    EXPECT_TRUE(panel->GetEventHandler()->ProcessEvent(event)) << command;
    return box.Text();
}

bool FiltersFixture::Drag(wxTreeItemId from, wxTreeItemId to) {
    wxTreeEvent begin(wxEVT_TREE_BEGIN_DRAG, tree, from);
    begin.Veto();
    tree->GetEventHandler()->ProcessEvent(begin);
    wxTreeEvent end(wxEVT_TREE_END_DRAG, tree, to);
    tree->GetEventHandler()->ProcessEvent(end);
    return begin.IsAllowed();
}

wxString FiltersFixture::ToolTip(wxTreeItemId item) {
    wxTreeEvent event(wxEVT_TREE_ITEM_GETTOOLTIP, tree, item);
    tree->GetEventHandler()->ProcessEvent(event);
    return event.GetLabel();
}

wxTreeItemId FiltersFixture::FilterItem(const OrvFilter* filter) const {
    return panel->FindItem(tree->GetRootItem(), Page(filter), -1);
}

wxTreeItemId FiltersFixture::Child(const OrvFilter* filter, std::size_t index) const {
    std::vector<wxTreeItemId> items;
    ForEachChild(FilterItem(filter), [&](wxTreeItemId item) { items.push_back(item); });
    return index < items.size() ? items[index] : wxTreeItemId();
}

std::vector<wxString> FiltersFixture::ChildTexts(const OrvFilter* filter) const {
    std::vector<wxString> texts;
    ForEachChild(FilterItem(filter), [&](wxTreeItemId item) { texts.push_back(tree->GetItemText(item)); });
    return texts;
}

OrvItemData* FiltersFixture::Data(wxTreeItemId item) const {
    return dynamic_cast<OrvItemData*>(tree->GetItemData(item));
}

OrvFilterGui* FiltersFixture::Page(const OrvFilter* filter) const {
    for (OrvFilterGui* page : panel->GetPages())
        if (page->GetFilter() == filter) return page;
    return nullptr;
}

std::string FiltersFixture::Look(wxTreeItemId item) const {
    if (!item.IsOk()) return "no item";
    const wxColour colour = tree->GetItemTextColour(item);
    const bool isBold = tree->IsBold(item);
    const bool hasSign = tree->GetItemState(item) != wxTREE_ITEMSTATE_NONE;
    if (colour == *wxLIGHT_GREY && !isBold && !hasSign) return "grey";
    if (colour == *wxRED && isBold && hasSign) return "bold red";
    if (colour == *wxBLACK && !hasSign) return isBold ? "bold" : "plain";
    return "?";
}
