// The part of the main window that keeps its arrangement in a file, and its title.

#include <wx/aui/framemanager.h>
#include <wx/filename.h>
#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvgui/shell/frametexts.h"
#include "orvgui/shell/layoutfile.h"
#include "orvgui/shell/mainframe.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// What a perspective overwrites and must not.
struct FixedProperties {
    wxString caption;
    wxSize minSize;
    unsigned int flags;
};

// Flags of a pane that the user may change by dragging; everything else is the program's.
constexpr unsigned int kChangeableFlags = wxAuiPaneInfo::optionMaximized;

}  // namespace

void OrvMainFrame::LoadLayout() {
    std::vector<LayoutPane> panes;
    std::map<wxString, FixedProperties> fixed;
    wxAuiPaneInfoArray& all = m_auiManager->GetAllPanes();
    for (std::size_t i = 0; i < all.GetCount(); ++i) {
        panes.push_back({all[i].name, all[i].dock_direction == wxAUI_DOCK_CENTRE});
        fixed[all[i].name] = {all[i].caption, all[i].min_size, all[i].state};
    }

    std::optional<OrvLayout> layout;
    try {
        const std::string path = PathFromWx(m_layoutPath);
        if (FileExists(path)) layout = LayoutFromText(ToWx(ReadFile(path)), panes);
    } catch (const ZorException&) {
        // A file that cannot be read is treated as absent.
    }
    if (layout) {
        if (layout->maximised) {
            m_normalSize = wxSize(layout->width, layout->height);
            m_startMaximised = StartMaximised::Wanted;
            Maximize();
        } else {
            SetSize(wxSize(layout->width, layout->height));
        }
        m_auiManager->LoadPerspective(layout->perspective, false);
        for (const auto& [key, widths] : layout->columnWidths)
            if (!key.StartsWith("side-panel:")) m_columnWidths[key] = widths;  // once kept here, no columns
        for (std::size_t i = 0; i < all.GetCount(); ++i) {
            const FixedProperties& properties = fixed[all[i].name];
            all[i].caption = properties.caption;
            all[i].min_size = properties.minSize;
            all[i].state = (all[i].state & kChangeableFlags) | (properties.flags & ~kChangeableFlags);
        }
    }
    // A perspective that was saved under another language brings that language's caption.
    wxAuiPaneInfo& filters = m_auiManager->GetPane("Filters");
    if (filters.IsOk()) filters.Caption(_("Filters"));
    m_auiManager->Update();
}

void OrvMainFrame::SaveLayout() const {
    OrvLayout layout;
    layout.maximised = IsMaximized();
    const wxSize size = layout.maximised ? m_normalSize : GetSize();
    layout.width = size.x;
    layout.height = size.y;
    layout.perspective = m_auiManager->SavePerspective();
    layout.columnWidths = m_columnWidths;
    try {
        WriteFile(PathFromWx(m_layoutPath), FromWx(LayoutToText(layout)));
    } catch (const ZorException&) {
        // A layout that cannot be kept is no reason to keep the program from ending.
    }
}

// The size to come back to. A window that was maximised before it was ever shown has none for the toolkit, which would give it that
// of an empty one.
void OrvMainFrame::OnFrameSize(wxSizeEvent& event) {
    event.Skip();
    if (IsIconized() || IsFullScreen()) return;
    if (IsMaximized()) {
        if (m_startMaximised == StartMaximised::Wanted) m_startMaximised = StartMaximised::Seen;
    } else if (m_startMaximised == StartMaximised::Seen) {
        m_startMaximised = StartMaximised::No;
        CallAfter([this] { SetSize(m_normalSize); });
    } else if (m_startMaximised == StartMaximised::No) {
        m_normalSize = GetSize();
    }
}

wxString OrvMainFrame::SaveListControlsColumnsWidth() const {
    return ColumnWidthsToText(m_columnWidths);
}

std::vector<int> OrvMainFrame::GetListControlColumnsWidth(const wxString& key) const {
    const auto it = m_columnWidths.find(key);
    return it == m_columnWidths.end() ? std::vector<int>() : it->second;
}

void OrvMainFrame::SetListControlColumnsWidth(const wxString& key, const std::vector<int>& widths) {
    m_columnWidths[key] = widths;
}

void OrvMainFrame::UpdateTitle() {
    const OrvProject project = m_core->GetProject();
    const wxString title = MakeFrameTitle(project.GetFilename(), project.IsSaved(), m_baseTitle);
    if (GetTitle() != title) SetTitle(title);
}
