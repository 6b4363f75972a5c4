#include "orvgui/controls/parametercontrol.h"

#include <wx/combobox.h>
#include <wx/debug.h>
#include <wx/intl.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/window.h>

#include "orvgui/common/accessible.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/wheel.h"
#include "orvgui/controls/parametercontrolchoice.h"
#include "orvgui/controls/parametercontrolfile.h"
#include "orvgui/controls/parametercontrolnumber.h"
#include "orvgui/controls/parametercontrolquantization.h"
#include "orvgui/controls/parametercontrolroi.h"
#include "orvgui/controls/parametercontroltable.h"
#include "orvgui/controls/parametercontroltext.h"
#include "zorbase/text.h"

namespace {

constexpr int kBorder = 4;
constexpr int kColumnGap = 12;  // beside the border, between parameters that stand side by side

// A failed debug assertion that names the function as a reader of the log will look for it.
void FailIn([[maybe_unused]] const char* function) {
#if wxDEBUG_LEVEL
    if (wxTheAssertHandler != nullptr) wxOnAssert(__FILE__, __LINE__, function, "false");
#endif
}

}  // namespace

ParameterControl::ParameterControl(wxWindow* parent, const Parameter& parameter)
    : m_parent(parent), m_parameter(parameter) {}

ParameterControl::~ParameterControl() {
    for (wxWindow* window : m_windows) {
        if (window != nullptr) window->SetEvtHandlerEnabled(false);
    }
}

void ParameterControl::Show(bool show) {
    for (wxWindow* window : m_windows) {
        if (window != nullptr) window->Show(show && !m_parameter.IsHiddenFromGui());
    }
}

wxGBPosition ParameterControl::GetControlPosition(wxGridBagSizer* sizer) {
    const wxGBPosition cells = CountCells(sizer);
    switch (sizer->GetFlexibleDirection()) {
        case wxHORIZONTAL:
            return wxGBPosition(0, cells.GetCol());
        case wxBOTH:
            return wxGBPosition(cells.GetRow(), 0);
        default:
            FailIn("ParameterControl::GetControlPosition");
            return wxGBPosition(0, 0);
    }
}

wxString ParameterControl::GetParameterAsString(const Parameter& parameter, bool reference) {
    switch (parameter.Type()) {
        case ParameterType::Int:
        case ParameterType::Text:
        case ParameterType::String:
            return ToWx(parameter.GetValueAsString());
        default:
            break;
    }
    const bool set = reference ? parameter.IsRefSet() : parameter.IsSet();
    switch (parameter.Type()) {
        case ParameterType::OutputImageResolution: {
            if (!set) return wxString();
            const auto& size = parameter.Get<ImageResolution>(reference);
            return wxString::Format("%d x %d", size.width, size.height);
        }
        case ParameterType::OutputString:
        case ParameterType::OutputDateTime:
            return set ? ToWx(parameter.Get<std::string>(reference)) : wxString();
        case ParameterType::OutputInt64:
            return set ? ToWx(ToString(parameter.Get<std::int64_t>(reference))) : wxString();
        default:
            FailIn("ParameterControl::GetParameterAsString");
            return wxString();
    }
}

wxString ParameterControl::GetPlaceholder() {
    return "-";
}

void ParameterControl::AddControl(wxGridBagSizer* sizer, wxWindow* window, const wxGBPosition& position,
                                  const wxGBSpan& span) {
    sizer->Add(window, position, span, wxEXPAND | wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM,
               kBorder);
}

void ParameterControl::AddLabel(wxGridBagSizer* sizer, wxWindow* window, const wxGBPosition& position,
                                const wxGBSpan& span) {
    sizer->Add(window, position, span, wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM, kBorder);
}

void ParameterControl::AddLabelTop(wxGridBagSizer* sizer, wxWindow* window, const wxGBPosition& position,
                                   const wxGBSpan& span) {
    sizer->Add(window, position, span, wxRIGHT | wxTOP | wxBOTTOM, kBorder);
}

wxString ParameterControl::GetLabelText() const {
    const std::string& text =
        m_parameter.GetDescription().empty() ? m_parameter.Name() : m_parameter.GetDescription();
    return text.empty() ? wxString() : wxGetTranslation(ToWx(text));
}

wxWindow* ParameterControl::CreateLabel() {
    auto* label = new OrvStaticText(m_parent, GetLabelText());
    Adopt(label);
    return label;
}

void ParameterControl::Place(wxGridBagSizer* sizer, wxWindow* window, Height height) {
    Adopt(window);
    if (sizer->GetFlexibleDirection() == wxHORIZONTAL) {
        auto* content = new wxBoxSizer(wxVERTICAL);
        content->Add(window, height == Height::Tall ? 1 : 0, wxEXPAND);
        PlaceColumn(sizer, content, height);
        return;
    }
    const wxGBPosition position = PlaceLabel(sizer, height);
    AddControl(sizer, window, wxGBPosition(position.GetRow(), position.GetCol() + 1));
}

void ParameterControl::Place(wxGridBagSizer* sizer, wxSizer* content, Height height) {
    if (sizer->GetFlexibleDirection() == wxHORIZONTAL) {
        PlaceColumn(sizer, content, height);
        return;
    }
    const wxGBPosition position = PlaceLabel(sizer, height);
    sizer->Add(content, wxGBPosition(position.GetRow(), position.GetCol() + 1), wxDefaultSpan,
               wxEXPAND | wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM, kBorder);
}

wxGBPosition ParameterControl::PlaceLabel(wxGridBagSizer* sizer, Height height) {
    const wxGBPosition position = GetControlPosition(sizer);
    if (height == Height::Tall)
        AddLabelTop(sizer, CreateLabel(), position);
    else
        AddLabel(sizer, CreateLabel(), position);
    return position;
}

void ParameterControl::PlaceColumn(wxGridBagSizer* sizer, wxSizer* content, Height height) {
    auto* column = new wxBoxSizer(wxVERTICAL);
    column->Add(CreateLabel(), 0, wxBOTTOM | wxRIGHT, kBorder);
    column->Add(content, height == Height::Tall ? 1 : 0, wxEXPAND | wxRIGHT, kColumnGap);
    sizer->Add(column, GetControlPosition(sizer), wxDefaultSpan, wxEXPAND | wxRIGHT | wxTOP | wxBOTTOM,
               kBorder);
}

void ParameterControl::PlaceCompact(wxGridBagSizer* sizer, wxWindow* window) {
    Adopt(window);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(window, 0, wxALIGN_CENTER_VERTICAL);
    Place(sizer, row);
}

void ParameterControl::Adopt(wxWindow* window) {
    m_windows.emplace_back(window);
    if (!m_parameter.GetToolTip().empty())
        window->SetToolTip(wxGetTranslation(ToWx(m_parameter.GetToolTip())));
    if (m_parameter.IsHiddenFromGui()) window->Hide();
    if (NeedsAccessibleName(window)) SetAccessibleName(window, GetLabelText());
    if (dynamic_cast<wxComboBox*>(window) != nullptr || dynamic_cast<wxSlider*>(window) != nullptr ||
        dynamic_cast<wxSpinCtrl*>(window) != nullptr)
        LeaveWheelToPage(window);
}

void ParameterControl::PostControlEvent() {
    wxCommandEvent event(wxEVT_COMBOBOX);
    event.SetEventObject(m_parent);
    m_parent->GetEventHandler()->ProcessEvent(event);
}

wxGBPosition CountCells(const wxGridBagSizer* sizer) {
    int rows = 0;
    int columns = 0;
    for (wxSizerItem* child : sizer->GetChildren()) {
        int row = 0;
        int column = 0;
        static_cast<wxGBSizerItem*>(child)->GetEndPos(row, column);
        rows = std::max(rows, row + 1);
        columns = std::max(columns, column + 1);
    }
    return wxGBPosition(rows, columns);
}

ParameterControl* CreateParameterControl(wxWindow* parent, wxGridBagSizer* sizer,
                                         const Parameter& parameter) {
    switch (parameter.GetType()) {
        case 0:
            return new ParameterControlInputCheckBox(parent, sizer, parameter);
        case 1:
            return new ParameterControlInputInt(parent, sizer, parameter);
        case 2:
        case 3:
        case 12:
            return new ParameterControlInputSpinSlider(parent, sizer, parameter);
        case 4:
        case 10:
            return new ParameterControlInputComboBox(parent, sizer, parameter, false);
        case 14:
            return new ParameterControlInputInt64(parent, sizer, parameter);
        case 21:
            return new ParameterControlInputDouble(parent, sizer, parameter);
        case 28:
            return new ParameterControlInputString(parent, sizer, parameter);
        case 29:
            return new ParameterControlInputFolder(parent, sizer, parameter);
        case 36:
        case 42:
            return new ParameterControlInputFilenameFullPath(parent, sizer, parameter,
                                                             parameter.GetFileType(), false);
        case 45:
            return new ParameterControlInputFilenameFullPath(parent, sizer, parameter,
                                                             parameter.GetFileType(), true);
        case 48:
            return new ParameterControlRoi(parent, sizer, parameter);
        case 49:
            return new ParameterControlOrvRoi(parent, sizer, parameter);
        case 57:
            return new ParameterControlVectorString(parent, sizer, parameter);
        case 65:
            return new ParameterControlInputVectorRoi(parent, sizer, parameter);
        case 69:
            return new ParameterControlOutputQuantizationTable(parent, sizer, parameter);
        case 85:
            return new ParameterControlOutputImageResolution(parent, sizer, parameter);
        case 86:
            return new ParameterControlOutputString(parent, sizer, parameter);
        case 87:
            return new ParameterControlOutputText(parent, sizer, parameter);
        case 88:
            return new ParameterControlOutputInt64(parent, sizer, parameter);
        case 89:
            return new ParameterControlOutputDateTime(parent, sizer, parameter);
        case 90:
            return new ParameterControlTableString(parent, sizer, parameter);
        default:
            FailIn("CreateParameterControl");
            return nullptr;
    }
}
