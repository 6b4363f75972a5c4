#include "tests/orvgui/framefixture.h"

#include <wx/weakref.h>

#include "orvgui/pages/filterguiviewer.h"
#include "orvgui/shell/filterspanel.h"

FrameTest::~FrameTest() {
    if (frame) CloseFrame();
    SetSelectorAnswer({});
    SetShellLauncher({});
}

void FrameTest::OpenFrame() {
    SetSelectorAnswer([this](OrvSelectorKind kind, const wxString& message, const wxString& start,
                             const wxString& name, const wxString& filter) {
        const char* const kinds[] = {"Load", "Save", "Folder"};
        asked.push_back(kinds[static_cast<int>(kind)] +
                        ("|" + message + "|" + start + "|" + name + "|" + filter).utf8_string());
        return ToWx(chosen);
    });
    SetShellLauncher([this](const wxString& address) {
        launched.push_back(address.utf8_string());
        return canLaunch;
    });
    core = new OrvInterface;
    auto filter = std::make_unique<ProbeFilter>();
    probe = static_cast<ProbeFilter*>(core->GetContext().RegisterFilter(std::move(filter)));
    frame = new OrvMainFrame(core, version, "Orvane");
    core->GetContext().SetActiveFilter(probe);
    frame->Show();
    Settle();
    // Until the window manager has told its borders, the toolkit holds the frame at no size at all.
    EXPECT_TRUE(PumpUntil([this] { return frame->GetClientSize().y > 100; }));
}

void FrameTest::CloseFrame() {
    const wxWeakRef<wxWindow> window(frame);
    frame->Close();
    EXPECT_TRUE(PumpUntil([&] { return !window; }));
    frame = nullptr;
    core = nullptr;
}

void FrameTest::Settle() {
    EXPECT_TRUE(PumpUntil([this] { return !core->IsBusy(); }, 60000));
    Pump();
}

void FrameTest::Load(const std::string& path, OrvFileId slot) {
    core->SetFile(PathToWx(path), slot);
    Settle();
    EXPECT_TRUE(PumpUntil([&] { return !core->IsListing(slot); }));
    Pump();
}

OrvFilterGuiViewer* FrameTest::ShowImagePage(const std::string& filterId) {
    OrvFilter* filter = core->GetContext().FindFilter(filterId);
    auto* page =
        filter != nullptr ? dynamic_cast<OrvFilterGuiViewer*>(filter->GetAnalsyisFilterGui()) : nullptr;
    if (page == nullptr) {
        ADD_FAILURE() << "no image page of " << filterId;
        return nullptr;
    }
    frame->GetFiltersPanel()->ActivateGui(page);
    Settle();
    return page;
}

void FrameTest::Command(int id) {
    wxCommandEvent event(wxEVT_MENU, id);
    event.SetEventObject(frame);
    frame->ProcessWindowEvent(event);
}

std::string FrameTest::Evidence() const {
    return PathFromWx(core->GetFilename(OrvEvidence));
}
