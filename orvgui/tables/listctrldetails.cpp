#include "orvgui/tables/listctrldetails.h"

#include <wx/button.h>
#include <wx/clipbrd.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tables/tables.h"
#include "zorbase/text.h"

RowDetailsDialog::RowDetailsDialog(wxWindow* parent, const wxString& text)
    : wxDialog(parent, wxID_ANY, _("Row Details"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER) {
    m_text = new wxTextCtrl(this, wxID_ANY, wxString(), wxDefaultPosition, wxSize(760, 440),
                            wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP);
    m_text->SetFont(wxFont(wxFontInfo(m_text->GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE)));
    m_text->ChangeValue(text);

    auto* copy = new wxButton(this, wxID_ANY, _("Copy All"));
    copy->SetToolTip(_("Copy details to clipboard"));
    copy->Bind(wxEVT_BUTTON, &RowDetailsDialog::OnCopyAll, this);
    auto* ok = new wxButton(this, wxID_OK, _("OK"));
    ok->SetDefault();
    SetEscapeId(wxID_OK);

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(copy);
    buttons->AddStretchSpacer();
    buttons->Add(ok);
    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(m_text, 1, wxEXPAND | wxALL, 8);
    column->Add(buttons, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, 8);
    SetSizerAndFit(column);
    ok->SetFocus();
}

wxString RowDetailsDialog::GetText() const {
    return m_text->GetValue();
}

void RowDetailsDialog::OnCopyAll(wxCommandEvent&) {
    const wxClipboardLocker locker;
    if (!locker) return;
    wxTheClipboard->SetData(new wxTextDataObject(GetText()));
}

wxString RowDetailsText(const TableString& table, int dataRow) {
    if (dataRow < 0 || static_cast<std::size_t>(dataRow) + 1 >= table.size()) return wxString();
    const auto& cells = table[static_cast<std::size_t>(dataRow) + 1];
    TableString lines;
    for (std::size_t i = 0; i < table[0].size(); ++i) {
        const std::string value = i < cells.size() ? ParseCell(cells[i]).text : std::string();
        lines.push_back({TableCell(LabelText(table[0][i])), TableCell(value)});
    }
    return ToWx(FormatTable(lines));
}

void ShowRowDetails(wxWindow* parent, const TableString& table, int dataRow) {
    RowDetailsDialog dialog(wxGetTopLevelParent(parent), RowDetailsText(table, dataRow));
    dialog.CentreOnParent();
    dialog.ShowModal();
}
