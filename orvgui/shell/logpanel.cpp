#include "orvgui/shell/logpanel.h"

#include <wx/datetime.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

namespace {

// More than a day's log; what is older goes.
constexpr long kLongestText = 200000;

class TextTarget : public wxLog {
  public:
    TextTarget(wxTextCtrl* text, wxLog* former) : m_text(text), m_former(former) {}

  protected:
    void DoLogRecord(wxLogLevel level, const wxString& message, const wxLogRecordInfo& info) override {
        if (m_former) m_former->LogRecord(level, message, info);
        if (level > wxLOG_Info) return;
        if (m_text->GetLastPosition() > kLongestText) m_text->Remove(0, kLongestText / 2);
        m_text->AppendText(wxDateTime(info.timestamp).FormatISOTime() + "  " + message + "\n");
    }
    void Flush() override {
        wxLog::Flush();
        if (m_former) m_former->Flush();
    }

  private:
    wxTextCtrl* m_text;
    wxLog* m_former;
};

}  // namespace

LogPanel::LogPanel(wxWindow* parent) : wxPanel(parent) {
    m_text = new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                            wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP | wxBORDER_NONE);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(m_text, 1, wxEXPAND);
    SetSizer(sizer);
    m_former = wxLog::GetActiveTarget();
    m_target = new TextTarget(m_text, m_former);
    wxLog::SetActiveTarget(m_target);
}

LogPanel::~LogPanel() {
    if (wxLog::GetActiveTarget() == m_target) wxLog::SetActiveTarget(m_former);
    delete m_target;
}
