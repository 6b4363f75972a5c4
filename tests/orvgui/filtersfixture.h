#pragma once

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/treectrl.h>

#include <memory>
#include <string>
#include <vector>

#include "orvcore/facade/interface.h"
#include "orvgui/shell/filterspanel.h"
#include "tests/orvgui/fakefilters.h"
#include "tests/support/temporaryfolder.h"

// A core with fake filters, a frame with filters tree and viewer area, and a sink that does with the core's
// events what the main frame does for the tree.
class FiltersFixture : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
    void BuildPanels();

    // Writes a file and waits until it is the evidence.
    void LoadEvidence(const std::string& content);
    std::string MakeFile(const std::string& name);
    // Until the core has nothing to do and its events are handled.
    void Settle();
    // As the user does it.
    void Select(wxTreeItemId item);
    // Sends a command to the panel and answers the message box that follows; returns its text, "" for none.
    wxString Send(int command, int answer = wxID_OK);
    // Drags one item to another; whether the tree let the drag begin.
    bool Drag(wxTreeItemId from, wxTreeItemId to);
    wxString ToolTip(wxTreeItemId item);

    wxTreeItemId FilterItem(const OrvFilter* filter) const;
    wxTreeItemId Child(const OrvFilter* filter, std::size_t index) const;
    std::vector<wxString> ChildTexts(const OrvFilter* filter) const;
    OrvItemData* Data(wxTreeItemId item) const;
    OrvFilterGui* Page(const OrvFilter* filter) const;
    // "plain", "bold", "bold red" or "grey"; "?" for anything else.
    std::string Look(wxTreeItemId item) const;

    template <typename Visit>
    void ForEachChild(wxTreeItemId parent, Visit visit) const {
        wxTreeItemIdValue cookie;
        for (wxTreeItemId item = tree->GetFirstChild(parent, cookie); item.IsOk();
             item = tree->GetNextChild(parent, cookie))
            visit(item);
    }

    TemporaryFolder folder;
    std::unique_ptr<OrvInterface> core;
    wxFrame* frame = nullptr;
    OrvViewerPanel* viewer = nullptr;
    OrvFiltersPanel* panel = nullptr;
    wxTreeCtrl* tree = nullptr;
};
