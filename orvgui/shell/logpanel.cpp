#include "orvgui/shell/logpanel.h"

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/clipbrd.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/translation.h>

#include "orvcore/facade/interface.h"
#include "orvcore/model/log.h"
#include "orvgui/common/accessible.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/messagebox.h"
#include "orvgui/common/visibletext.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr long kLongestText = 2000000;  // what is older goes from the panel; the file keeps it
constexpr int kRefreshMs = 500;

class LogTarget : public wxLog {
  public:
    explicit LogTarget(wxLog* former) : m_former(former) {}

  protected:
    void DoLogRecord(wxLogLevel level, const wxString& message, const wxLogRecordInfo& info) override {
        if (m_former) m_former->LogRecord(level, message, info);
        OrvInterface* core = GetInterface();
        if (level > wxLOG_Info || core == nullptr) return;
        const OrvLogLevel kind = level <= wxLOG_Error     ? OrvLogLevel::Error
                                 : level == wxLOG_Warning ? OrvLogLevel::Warning
                                                          : OrvLogLevel::Info;
        core->GetLog().Note(kind, FromWx(message));
    }
    void Flush() override {
        wxLog::Flush();
        if (m_former) m_former->Flush();
    }

  private:
    wxLog* m_former;
};

wxString LineText(const OrvLogLine& line) {
    return ToWx(line.time + " " + line.zone + "  " + LogLevelName(line.level) + "  ") +
           VisibleText(line.text) + "\n";
}

}  // namespace

LogPanel::LogPanel(wxWindow* parent) : wxPanel(parent), m_timer(this) {
    m_former = wxLog::GetActiveTarget();
    m_target = new LogTarget(m_former);
    wxLog::SetActiveTarget(m_target);
    parent->Bind(wxEVT_SHOW, &LogPanel::OnParentShow, this);
    Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
        if (IsShownOnScreen()) Update(false);
    });
    m_timer.Start(kRefreshMs);
}

LogPanel::~LogPanel() {
    if (wxLog::GetActiveTarget() == m_target) wxLog::SetActiveTarget(m_former);
    delete m_target;
}

void LogPanel::CreateControls() {
    if (m_text != nullptr) return;
    m_levels = new wxChoice(this, wxID_ANY);
    m_levels->Append(_("Everything"));
    m_levels->Append(_("Warnings and errors"));
    m_levels->Append(_("Errors"));
    m_levels->SetSelection(0);
    m_levels->SetName(_("What is shown"));
    m_levels->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { Update(true); });
    auto* copy = new wxButton(this, wxID_COPY, _("Copy"));
    auto* save = new wxButton(this, wxID_SAVE, _("Save..."));
    copy->Bind(wxEVT_BUTTON, &LogPanel::OnCopy, this);
    save->Bind(wxEVT_BUTTON, &LogPanel::OnSave, this);
    m_text = new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                            wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP | wxBORDER_NONE);
    m_text->SetName(_("Log"));

    auto* strip = new wxBoxSizer(wxHORIZONTAL);
    strip->Add(m_levels, 0, wxALIGN_CENTRE_VERTICAL | wxALL, 4);
    strip->AddStretchSpacer();
    strip->Add(copy, 0, wxTOP | wxBOTTOM | wxRIGHT, 4);
    strip->Add(save, 0, wxTOP | wxBOTTOM | wxRIGHT, 4);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(strip, 0, wxEXPAND);
    sizer->Add(m_text, 1, wxEXPAND);
    SetSizer(sizer);
    NameControls(this);
    Layout();
}

void LogPanel::OnParentShow(wxShowEvent& event) {
    event.Skip();
    if (event.IsShown()) Update(false);
}

wxTextCtrl* LogPanel::GetText() {
    Update(false);
    return m_text;
}

wxChoice* LogPanel::GetLevels() {
    CreateControls();
    return m_levels;
}

void LogPanel::Update(bool afresh) {
    CreateControls();
    OrvInterface* core = GetInterface();
    if (core == nullptr) return;
    if (afresh) m_shown = 0;
    if (!afresh && core->GetLog().GetLastNumber() == m_shown) return;
    const int selected = m_levels->GetSelection();
    wxString added;
    for (const OrvLogLine& line : core->GetLog().GetLines(m_shown)) {
        m_shown = line.number;
        if (static_cast<int>(line.level) >= selected) added += LineText(line);
    }
    if (afresh) {
        m_text->ChangeValue(added);
        m_text->ShowPosition(m_text->GetLastPosition());
        return;
    }
    if (m_text->GetLastPosition() > kLongestText) m_text->Remove(0, kLongestText / 2);
    if (!added.empty()) m_text->AppendText(added);
}

void LogPanel::OnCopy(wxCommandEvent&) {
    const wxString selected = m_text->GetStringSelection();
    if (!wxTheClipboard->Open()) return;
    wxTheClipboard->SetData(new wxTextDataObject(selected.empty() ? GetText()->GetValue() : selected));
    wxTheClipboard->Close();
}

void LogPanel::OnSave(wxCommandEvent&) {
    const std::string log = GetInterface()->GetLog().GetPath();
    const wxString path = OrvFileSaveSelector(
        _("Choose a file to save"), log.empty() ? wxString("orvane.txt") : PathToWx(PathStem(log) + ".txt"),
        _("Text (*.txt)|*.txt|All files (*.*)|*.*"));
    if (path.empty()) return;
    try {
        WriteFile(PathFromWx(path), FromWx(GetText()->GetValue()));
        GetInterface()->NoteExport("Log saved as text", PathFromWx(path));
    } catch (const ZorException& exception) {
        OrvMessageBox(ToWx(exception.GetMessage()), _("Error"), wxOK | wxICON_ERROR, this);
    }
}
