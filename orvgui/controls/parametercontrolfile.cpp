#include "orvgui/controls/parametercontrolfile.h"

#include <wx/button.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include "orvgui/common/fileselectors.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/common/visibletext.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {
constexpr int kPathWidth = 240;
constexpr int kGap = 4;
}  // namespace

ParameterControlInputFilename::ParameterControlInputFilename(wxWindow* parent, wxGridBagSizer* sizer,
                                                             const Parameter& parameter,
                                                             const std::string& fileType, bool save)
    : ParameterControlInputFilename(parent, sizer, parameter, fileType, save, Shown::Name) {}

ParameterControlInputFilename::ParameterControlInputFilename(wxWindow* parent, wxGridBagSizer* sizer,
                                                             const Parameter& parameter,
                                                             const std::string& fileType, bool save,
                                                             Shown shown)
    : ParameterControlEntry(parent, parameter), m_fileType(ToWx(fileType)), m_save(save), m_shown(shown) {
    CreateField(shown == Shown::Name ? wxTE_READONLY : 0, nullptr);
    m_field->SetMinSize(FieldSize(*m_field, kPathWidth));
    m_field->SetHint(GetPlaceholder());
    m_buttonBrowse = new wxButton(parent, wxID_ANY, _("Browse"));
    m_buttonBrowse->Bind(wxEVT_BUTTON, &ParameterControlInputFilename::OnButtonBrowse, this);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(m_field, 1, wxALIGN_CENTER_VERTICAL);
    row->Add(m_buttonBrowse, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, kGap);
    Adopt(m_field);
    Adopt(m_buttonBrowse);
    Place(sizer, row);
    ParameterControlEntry::SetControlValue(parameter);
}

wxString ParameterControlInputFilename::FormatText(const Parameter& parameter) const {
    const auto& path = parameter.Get<std::string>();
    return m_shown == Shown::Name ? VisibleText(PathName(path)) : EditablePath(path);
}

bool ParameterControlInputFilename::ParseText(const wxString& text, Parameter& parameter) const {
    return m_shown == Shown::FullPath && parameter.SetValue(PathFromWx(text));
}

wxString ParameterControlInputFilename::Choose(const wxString& path) {
    return m_save ? OrvFileSaveSelector(_("Choose a file to save to"), path, m_fileType)
                  : OrvFileLoadSelector(_("Choose a file to load"), path, m_fileType);
}

void ParameterControlInputFilename::OnButtonBrowse(wxCommandEvent&) {
    const wxString path = Choose(PathToWx(m_parameter.Get<std::string>()));
    if (path.empty()) return;
    Parameter value = m_parameter;
    value.SetValue(PathFromWx(path));
    Enter(value);
}

wxString ParameterControlInputFolder::Choose(const wxString& path) {
    return OrvDirSelector(_("Choose a folder"), path, wxString());
}
