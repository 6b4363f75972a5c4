#include "orvgui/common/textdialog.h"

#include <wx/button.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

TextDialog::TextDialog(wxWindow* parent, const wxString& title, const wxString& text, bool fixedPitch)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxSize(720, 420),
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER) {
    auto* field = new wxTextCtrl(this, wxID_ANY, text, wxDefaultPosition, wxDefaultSize,
                                 wxTE_MULTILINE | wxTE_READONLY);
    if (fixedPitch)
        field->SetFont(wxFont(wxFontInfo(field->GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE)));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(field, 1, wxEXPAND | wxALL, 8);
    sizer->Add(CreateSeparatedButtonSizer(wxCLOSE), 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, 8);
    SetSizer(sizer);
    SetEscapeId(wxID_CLOSE);
    SetMinSize(wxSize(320, 200));
    if (auto* close = FindWindow(wxID_CLOSE)) close->SetFocus();
    CentreOnParent();
}
