#include "orvgui/pages/orvviewerpanel.h"

#include <wx/stattext.h>
#include <wx/translation.h>
#include <wx/wupdlock.h>

#include <algorithm>
#include <utility>

#include "orvcore/facade/interface.h"
#include "orvgui/common/filedrop.h"
#include "orvgui/pages/filtergui.h"

namespace {

constexpr int kHintMargin = 8;  // pixels above and below the hint when it is a line

bool IsAnyFileLoaded() {
    const OrvInterface* core = GetInterface();
    return core != nullptr && (core->HasFile(OrvEvidence) || core->HasFile(OrvReference));
}

}  // namespace

OrvEmptyHint ChooseEmptyHint(bool anyFileLoaded, bool hasPage, bool browsed) {
    if (anyFileLoaded) return OrvEmptyHint::None;
    return hasPage && browsed ? OrvEmptyHint::Line : OrvEmptyHint::Alone;
}

OrvViewerPanel::OrvViewerPanel(wxWindow* parent) : wxPanel(parent, wxID_ANY) {
    m_hintText = new wxStaticText(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                  wxALIGN_CENTRE_HORIZONTAL | wxST_NO_AUTORESIZE);
    m_hintText->SetLabelText(_("Drop a photograph here, or press Ctrl+O"));
    m_hintText->SetFont(m_hintText->GetFont().Scaled(1.25F));
    m_hintText->Hide();
    SetDropTarget(new FilePanelDropTarget(OrvEvidence));
    Bind(wxEVT_SIZE, &OrvViewerPanel::OnSize, this);
    Bind(wxEVT_UPDATE_UI, &OrvViewerPanel::OnUpdateUi, this, GetId());
    Present(true);
}

// The pages tell when they go, so they go first.
OrvViewerPanel::~OrvViewerPanel() {
    DestroyChildren();
}

void OrvViewerPanel::AddPage(OrvFilterGui* page) {
    wxCHECK_RET(page != nullptr && page->GetParent() == this, "page");
    if (std::find(m_pages.begin(), m_pages.end(), page) != m_pages.end()) return;
    page->Hide();
    m_pages.push_back(page);
    page->Bind(wxEVT_SHOW, &OrvViewerPanel::OnPageShow, this);
    page->Bind(wxEVT_DESTROY, &OrvViewerPanel::OnPageDestroyed, this);
}

bool OrvViewerPanel::IsPageBuilt(const OrvFilterGui* page) const {
    return std::find(m_built.begin(), m_built.end(), page) != m_built.end();
}

void OrvViewerPanel::ShowPage(OrvFilterGui* page, bool byUser) {
    wxCHECK_RET(page == nullptr || std::find(m_pages.begin(), m_pages.end(), page) != m_pages.end(),
                "page was not added");
    if (byUser && !std::exchange(m_expectsFile, false) && !IsAnyFileLoaded()) m_browsed = true;
    const bool isOther = page != m_current;
    if (isOther) {
        OrvFilterGui* before = m_current;
        m_current = page;
        if (before != nullptr && IsPageBuilt(before)) before->ResetViewerPanel();
        if (before != nullptr) before->Hide();
    }
    Present(!isOther);
}

void OrvViewerPanel::UpdateEmptyHint() {
    const bool anyLoaded = IsAnyFileLoaded();
    if (anyLoaded) m_browsed = false;
    if (ChooseEmptyHint(anyLoaded, m_current != nullptr, m_browsed) != m_hint) Present(true);
}

bool OrvViewerPanel::MayBeSeen(const wxWindow* page) const {
    return page == m_current && m_hint != OrvEmptyHint::Alone;
}

// upToDate: the current page was the current one before, so it has been refreshed whenever that was needed.
void OrvViewerPanel::Present(bool upToDate) {
    const bool anyLoaded = IsAnyFileLoaded();
    if (anyLoaded) m_browsed = false;
    const OrvEmptyHint before = m_hint;
    m_hint = ChooseEmptyHint(anyLoaded, m_current != nullptr, m_browsed);
    if (upToDate && before == m_hint && m_hintText->IsShown() == (m_hint != OrvEmptyHint::None) &&
        (m_current == nullptr || m_current->IsShown() == MayBeSeen(m_current)))
        return;

    const wxWindowUpdateLocker freeze(this);
    m_hintText->Show(m_hint != OrvEmptyHint::None);
    LayOut();
    if (m_current == nullptr) return;
    if (!MayBeSeen(m_current)) {
        m_current->Hide();
        return;
    }
    // Shown before it is filled: a page that lays out what it holds then knows its size.
    m_current->Show();
    if (!IsPageBuilt(m_current)) {
        m_built.push_back(m_current);
        m_current->Init();
        m_current->Layout();
    } else if (!upToDate || before == OrvEmptyHint::Alone) {
        m_current->UpdateGui();
    }
    LayOut();
}

void OrvViewerPanel::LayOut() {
    const wxSize size = GetClientSize();
    int top = 0;
    if (m_hint != OrvEmptyHint::None) {
        const int height = m_hintText->GetBestSize().y;
        const int y = m_hint == OrvEmptyHint::Alone ? (size.y - height) / 2 : kHintMargin;
        m_hintText->SetSize(0, std::max(0, y), size.x, height);
        top = height + 2 * kHintMargin;
    }
    if (m_current != nullptr && MayBeSeen(m_current))
        m_current->SetSize(0, top, size.x, std::max(0, size.y - top));
}

void OrvViewerPanel::OnSize(wxSizeEvent&) {
    LayOut();
}

// A page shows itself whenever it is refreshed, also when another one is current.
void OrvViewerPanel::OnPageShow(wxShowEvent& event) {
    event.Skip();
    auto* page = dynamic_cast<wxWindow*>(event.GetEventObject());
    if (event.IsShown() && page != nullptr && page->GetParent() == this && !MayBeSeen(page)) page->Hide();
}

void OrvViewerPanel::OnUpdateUi(wxUpdateUIEvent& event) {
    event.Skip();
    UpdateEmptyHint();
}

void OrvViewerPanel::OnPageDestroyed(wxWindowDestroyEvent& event) {
    event.Skip();
    const wxObject* page = event.GetEventObject();
    const auto isPage = [page](const OrvFilterGui* candidate) {
        return static_cast<const wxObject*>(candidate) == page;
    };
    if (m_current != nullptr && isPage(m_current)) m_current = nullptr;
    std::erase_if(m_pages, isPage);
    std::erase_if(m_built, isPage);
}
