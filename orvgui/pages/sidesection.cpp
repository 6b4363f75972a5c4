#include "orvgui/pages/sidesection.h"

#include <wx/intl.h>
#include <wx/sizer.h>

#include <algorithm>
#include <utility>

#include "orvgui/common/dragedge.h"
#include "orvgui/common/wheel.h"

namespace {

constexpr int kGap = 4;
constexpr int kScrollStep = 16;

}  // namespace

SideSection::SideSection(wxWindow* parent, wxSizer& list, std::function<void(bool byUser)> changed)
    : QuietScroll(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL | wxTAB_TRAVERSAL),
      m_changed(std::move(changed)) {
    SetScrollRate(0, kScrollStep);
    PassWheelOn(this);
    m_edge = new DragEdge(
        parent, wxVERTICAL,
        [this] {
            m_heightBefore = GetSize().y;
            m_isMoved = false;
        },
        [this](int distance) {
            // A click is no choice.
            m_isMoved = m_isMoved || distance != 0;
            if (m_isMoved) Choose(std::max(m_heightBefore + distance, kLeast));
        });
    m_edge->SetToolTip(_("Drag: higher or lower; double click: as high as its content"));
    m_edge->Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent&) { Choose(0); });
    list.Add(this, 0, wxEXPAND | wxLEFT | wxRIGHT | wxTOP, kGap);
    list.Add(m_edge, 0, wxEXPAND);
}

void SideSection::SetContent(wxWindow* content) {
    m_content = content;
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(content, 1, wxEXPAND);
    SetSizer(sizer);
    content->Bind(wxEVT_SHOW, [this](wxShowEvent& event) {
        event.Skip();
        if (event.GetEventObject() == m_content) ShowWithContent(event.IsShown());
    });
    // A text that was given another width asks for another height.
    content->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        if (m_isAsking || m_chosenHeight > 0) return;
        m_isAsking = true;
        CallAfter([this] {
            m_isAsking = false;
            if (IsShown() && m_chosenHeight == 0 && GetSize().y != GetBestSize().y) m_changed(false);
        });
    });
    ShowWithContent(content->IsShown());
}

void SideSection::ShowWithContent(bool show) {
    Show(show);
    m_edge->Show(show);
}

void SideSection::SetChosenHeight(int height) {
    m_chosenHeight = height > 0 ? std::clamp(height, kLeast, kMost) : 0;
    SetMinSize(wxSize(-1, m_chosenHeight > 0 ? m_chosenHeight : -1));
}

void SideSection::Choose(int height) {
    SetChosenHeight(height);
    m_changed(true);
}

wxSize SideSection::DoGetBestSize() const {
    if (m_content == nullptr) return wxSize(0, 0);
    wxSize size = m_content->GetEffectiveMinSize();
    if (m_firstHeight > 0) size.y = m_firstHeight;
    return size;
}
