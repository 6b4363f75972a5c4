#include "orvgui/shell/helpwindow.h"

#include <wx/html/htmlcell.h>
#include <wx/html/htmlwin.h>
#include <wx/intl.h>
#include <wx/sizer.h>

#include "orvcore/facade/interface.h"
#include "orvcore/report/manualtext.h"
#include "orvgui/common/screenplace.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr const char* kName = "help";

wxString ManualPage() {
    std::vector<std::pair<std::string, std::string>> filters;
    if (const OrvInterface* core = GetInterface())
        for (const OrvFilter* filter : core->GetFilters())
            filters.emplace_back(filter->GetId(), filter->GetNameUtf8());
    try {
        return ToWx(ManualToHtml(PathJoin(GetAppDataPath(), "docs/en"), AppVersion().GetVersion(), filters));
    } catch (const ZorException& exception) {
        return ToWx("<html><body><p>" + EscapeHtml(exception.GetMessage()) + "</p></body></html>");
    }
}

}  // namespace

OrvHelpWindow* OrvHelpWindow::ShowHelp(wxWindow* parent, const std::string& filterId) {
    OrvHelpWindow* window = nullptr;
    for (wxWindow* child : parent->GetChildren())
        if (auto* help = dynamic_cast<OrvHelpWindow*>(child)) window = help;
    if (window == nullptr) window = new OrvHelpWindow(parent);
    window->Show();
    window->Raise();
    window->ShowSection(filterId);
    return window;
}

OrvHelpWindow::OrvHelpWindow(wxWindow* parent)
    : wxFrame(parent, wxID_ANY, _("Program Reference Manual"), wxDefaultPosition,
              parent->FromDIP(wxSize(640, 700)), wxDEFAULT_FRAME_STYLE, kName),
      m_page(new wxHtmlWindow(this)) {
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(m_page, 1, wxEXPAND);
    SetSizer(sizer);
    PlaceOnParent(*this);
    m_page->SetStandardFonts(parent->GetFont().GetPointSize());
    // Its figures lie beside the manual.
    m_page->GetParser()->GetFS()->ChangePathTo(PathToWx(PathJoin(GetAppDataPath(), "docs/en/")), true);
    m_page->SetPage(ManualPage());
    // Before it is painted for the first time the page has no size, and nowhere to scroll.
    m_page->Bind(wxEVT_PAINT, [this](wxPaintEvent& event) {
        event.Skip();
        if (m_isPainted) return;
        m_isPainted = true;
        CallAfter([this] { ShowSection(m_filterId); });
    });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
        if (!event.CanVeto()) return event.Skip();
        event.Veto();
        Hide();
    });
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE)
            Close();
        else
            event.Skip();
    });
}

void OrvHelpWindow::ShowSection(const std::string& filterId) {
    m_filterId = filterId;
    const wxString anchor = ToWx("filter-" + filterId);
    const wxHtmlContainerCell* cells = m_page->GetInternalRepresentation();
    if (cells != nullptr && cells->Find(wxHTML_COND_ISANCHOR, &anchor) != nullptr)
        m_page->LoadPage("#" + anchor);
    else
        m_page->Scroll(0, 0);
}
