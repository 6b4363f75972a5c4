#include "orvgui/pages/filtergui.h"

#include <wx/button.h>
#include <wx/gbsizer.h>
#include <wx/gdicmn.h>
#include <wx/intl.h>
#include <wx/wrapsizer.h>

#include <algorithm>
#include <cstdlib>

#include "orvcore/facade/foldertools.h"
#include "orvcore/facade/interface.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvgui/common/accessible.h"
#include "orvgui/common/fileselectors.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/statictext.h"
#include "orvgui/tables/listctrl.h"
#include "zorbase/text.h"

namespace {

constexpr int kBorder = 4;
constexpr int kScrollStep = 16;
// Until the page is laid out: scroll bars in a smaller window make the toolkit complain.
const wxSize kInitialSize(320, 240);
const int kAroundCell = wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM;

void ShowValues(const std::vector<std::unique_ptr<ParameterControl>>& controls,
                const VecParameter& parameters) {
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (controls[i]) controls[i]->SetControlValue(parameters[i]);
    }
}

void ReadValues(const std::vector<std::unique_ptr<ParameterControl>>& controls, VecParameter& parameters) {
    for (std::size_t i = 0; i < controls.size(); ++i) {
        if (controls[i]) parameters[i].Set(controls[i]->GetControlValue());
    }
}

// What can be done with a row that stands for a picture inside a file.
std::vector<OrvRowCommand> PictureCommands(const OrvListCtrl& list, int dataRow) {
    OrvInterface* core = GetInterface();
    const TableString& table = list.GetView().Table();
    if (core == nullptr || static_cast<std::size_t>(dataRow) + 1 >= table.size()) return {};
    const auto& labels = table.front();
    const auto column = std::find(labels.begin(), labels.end(), "Number");
    const auto& row = table[static_cast<std::size_t>(dataRow) + 1];
    const auto index = static_cast<std::size_t>(column - labels.begin());
    if (index >= row.size()) return {};
    const int number = std::atoi(ParseCell(row[index]).text.c_str());
    const bool hasBoth = core->HasFile(OrvEvidence) && core->HasFile(OrvReference);
    std::vector<OrvRowCommand> commands;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        if (!core->HasFile(slot)) continue;
        const wxString of = !hasBoth              ? wxString()
                            : slot == OrvEvidence ? " (" + _("from the evidence") + ")"
                                                  : " (" + _("from the reference") + ")";
        const wxString help = _("Takes the picture out of the file, into the documents folder");
        commands.push_back({_("Load Picture As Evidence") + of, help,
                            [core, slot, number] { core->LoadPicture(slot, number, OrvEvidence); }});
        commands.push_back({_("Load Picture As Reference") + of, help,
                            [core, slot, number] { core->LoadPicture(slot, number, OrvReference); }});
        commands.push_back(
            {_("Extract Picture") + of, help, [core, slot, number] { core->ExtractPicture(slot, number); }});
    }
    return commands;
}

}  // namespace

OrvFilterGui::OrvFilterGui(wxWindow* parent, OrvFilter* filter, bool scrolls)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, kInitialSize,
              wxTAB_TRAVERSAL | (scrolls ? wxVSCROLL | wxHSCROLL : 0)),
      wxScrollHelper(this),
      m_filter(filter) {
    // Not by SetScrollRate, which measures the scroll bars of a page that nobody sees yet. The first size adjusts them.
    if (scrolls) m_xScrollPixelsPerLine = m_yScrollPixelsPerLine = kScrollStep;
    if (filter != nullptr) {
        m_parametersInput = filter->GetParametersInput();
        m_parametersPostProcessing = filter->GetParametersPostProcessing();
        m_parametersOutput = filter->GetParametersOutput();
    }
}

OrvFilterGui::~OrvFilterGui() {
    if (m_filter != nullptr && m_filter->GetAnalsyisFilterGui() == this)
        m_filter->SetAnalysisFilterGui(nullptr);
    // The widgets hold pointers to their controls: they go first.
    DestroyChildren();
}

wxString OrvFilterGui::GetName() const {
    return m_filter != nullptr ? m_filter->GetName() : wxPanel::GetName();
}

void OrvFilterGui::Init() {
    CreateControls();
    NameControls(this);
    UpdateGui();
}

void OrvFilterGui::CreateControls() {
    CreateSizer();
    CreateControlsDescription();
    CreateControlsCustom();
    CreateControlsInput();
    CreateFolderTools();
    CreateControlsPostProcessing();
    CreateControlsCustom2();
    CreateControlsOutput();
}

void OrvFilterGui::AddToSizer(wxGridBagSizer* sizer, wxWindow* window, int row, int col, int colspan,
                              int rowspan) {
    sizer->Add(window, wxGBPosition(row, col), wxGBSpan(rowspan, colspan), wxEXPAND | kAroundCell, kBorder);
}

void OrvFilterGui::AddLabelToSizer(wxGridBagSizer* sizer, wxWindow* window, int row, int col, int colspan,
                                   int rowspan) {
    sizer->Add(window, wxGBPosition(row, col), wxGBSpan(rowspan, colspan), kAroundCell, kBorder);
}

void OrvFilterGui::CreateTitle(const wxString& text) {
    auto* title = new OrvStaticText(m_outputParent, text);
    title->SetBackgroundColour(*wxLIGHT_GREY);
    title->SetForegroundColour(*wxBLACK);
    const wxGBPosition position = CountCells(m_outputSizer);
    AddToSizer(m_outputSizer, title, position.GetRow(), 0, m_columnSpan, 1);
}

void OrvFilterGui::CreateSizer() {
    auto* sizer = new wxGridBagSizer(0, 0);
    SetSizer(sizer, true);
    m_mainSizer = m_descriptionSizer = m_inputSizer = m_outputSizer = sizer;
    sizer->SetFlexibleDirection(wxBOTH);
    sizer->SetEmptyCellSize(wxSize(0, 0));  // rows of hidden widgets take no room
    m_descriptionParent = m_inputParent = m_outputParent = this;
}

void OrvFilterGui::CreateControlsDescription() {
    const wxString description = m_filter->GetDescription();
    auto* text = new OrvStaticText(m_descriptionParent,
                                   description.empty() ? wxString() : wxGetTranslation(description));
    AddToSizer(m_descriptionSizer, text, CountCells(m_descriptionSizer).GetRow(), 0, m_columnSpan, 1);
}

void OrvFilterGui::CreateControlsInput() {
    for (const Parameter& parameter : m_parametersInput) {
        m_controlsInput.emplace_back(CreateParameterControl(m_inputParent, m_inputSizer, parameter));
        Bind(wxEVT_COMBOBOX, &OrvFilterGui::OnParameterChange, this);
    }
}

void OrvFilterGui::CreateFolderTools() {
    auto* row = new wxWrapSizer(wxHORIZONTAL, wxWRAPSIZER_DEFAULT_FLAGS);
    for (const OrvFolderTool& tool : GetFolderTools()) {
        if (m_filter == nullptr || tool.filter != m_filter->GetId()) continue;
        auto* button =
            new wxButton(m_inputParent, wxID_ANY, wxGetTranslation(wxString::FromUTF8(tool.label)));
        button->SetToolTip(wxGetTranslation(wxString::FromUTF8(tool.help)));
        button->Bind(wxEVT_BUTTON, [this, &tool](wxCommandEvent&) { RunFolderTool(tool); });
        row->Add(button, 0, wxRIGHT | wxBOTTOM, kBorder);
    }
    if (row->IsEmpty())
        delete row;
    else
        m_inputSizer->Add(row, wxGBPosition(CountCells(m_inputSizer).GetRow(), 0), wxGBSpan(1, m_columnSpan),
                          wxEXPAND | kAroundCell, kBorder);
}

void OrvFilterGui::RunFolderTool(const OrvFolderTool& tool) {
    OrvInterface* core = GetInterface();
    const wxString folder = OrvDirSelector(wxGetTranslation(wxString::FromUTF8(tool.question)), wxString(),
                                           wxGetTranslation(m_filter->GetName()));
    if (core == nullptr || folder.empty()) return;
    const Parameter* target = m_parametersInput.Find(tool.target);
    core->CallGenericAction(
        tool.action, wxGetTranslation(wxString::FromUTF8(tool.label)).BeforeFirst('.'),
        {Parameter::Path(ParameterType::Folder, "folder", "Folder", PathFromWx(folder)),
         Parameter::Path(ParameterType::FileLoad, "collection", wxTRANSLATE("Collection"),
                         target != nullptr ? target->Get<std::string>() : std::string())});
}

void OrvFilterGui::CreateControlsPostProcessing() {
    for (const Parameter& parameter : m_parametersPostProcessing) {
        m_controlsPostProcessing.emplace_back(CreateParameterControl(m_inputParent, m_inputSizer, parameter));
        Bind(wxEVT_COMBOBOX, &OrvFilterGui::OnParameterChange, this);
    }
    if (m_parametersPostProcessing.empty()) return;
    auto* reset = new wxButton(m_inputParent, wxID_ANY, _("Reset"));
    reset->SetToolTip(_("Set these values back to their defaults"));
    m_inputSizer->Add(reset, wxGBPosition(0, CountCells(m_inputSizer).GetCol()), wxDefaultSpan, wxALL,
                      kBorder);
    reset->Bind(wxEVT_BUTTON, &OrvFilterGui::OnParametersPostProcessingReset, this);
}

void OrvFilterGui::CreateControlsOutput() {
    for (const Parameter& parameter : m_parametersOutput)
        m_controlsOutput.emplace_back(CreateParameterControl(m_outputParent, m_outputSizer, parameter));
    if (!m_filter->ListsPictures()) return;
    for (const auto& control : m_controlsOutput) {
        auto* list = control ? dynamic_cast<OrvListCtrl*>(control->GetControl()) : nullptr;
        if (list != nullptr)
            list->SetRowCommands([list](int dataRow) { return PictureCommands(*list, dataRow); });
    }
}

void OrvFilterGui::OnParameterChange(wxCommandEvent& event) {
    Apply();
    // Every input and post-processing parameter has its own binding, and each is to be called.
    event.Skip();
}

void OrvFilterGui::UpdateControlsInput() {
    ShowValues(m_controlsInput, m_parametersInput);
}

void OrvFilterGui::UpdateControlsPostProcessing() {
    ShowValues(m_controlsPostProcessing, m_parametersPostProcessing);
}

void OrvFilterGui::UpdateControlsOutput() {
    const OrvFilterResultPtr result = m_filter->GetResult();
    const std::vector<Image> thumbnails = result ? result->GetThumbnails() : std::vector<Image>();
    for (const auto& control : m_controlsOutput)
        if (control) control->SetThumbnails(thumbnails);
    ShowValues(m_controlsOutput, m_parametersOutput);
}

void OrvFilterGui::RefreshViewerPanel() {
    if (!IsShown()) Show();
}

void OrvFilterGui::ResetViewerPanel() {
    Hide();
}

void OrvFilterGui::UpdateGui() {
    // A result can arrive for a page that was never shown; it reads everything when it is built.
    if (m_mainSizer == nullptr) return;
    m_parametersOutput = m_filter->GetParametersOutput();
    m_parametersInput = m_filter->GetParametersInput();
    m_parametersPostProcessing = m_filter->GetParametersPostProcessing();
    UpdateControlsInput();
    UpdateControlsPostProcessing();
    UpdateControlsOutput();
    UpdateControlsCustom();
    UpdatePlotLayer();
    ConfigureViewer(-1, false);
    ConfigurePlots();
    RefreshControlsCustom();
    RefreshViewerPanel();
    FitContent();
}

void OrvFilterGui::Apply() {
    ReadValues(m_controlsInput, m_parametersInput);
    ReadValues(m_controlsPostProcessing, m_parametersPostProcessing);
    if (OrvInterface* core = GetInterface())
        core->Configure(m_filter, -1, m_parametersInput, m_parametersPostProcessing, false);
}

void OrvFilterGui::OnParametersPostProcessingReset(wxCommandEvent&) {
    m_parametersPostProcessing.Reset();
    for (const auto& control : m_controlsPostProcessing) {
        if (control) control->DiscardEdit();
    }
    UpdateControlsPostProcessing();
    Apply();
}

void OrvFilterGui::ApplySelection(const Roi& region) {
    bool changed = false;
    for (std::size_t i = 0; i < m_controlsInput.size(); ++i) {
        if (m_parametersInput[i].Type() != ParameterType::OrvRoi || !m_controlsInput[i]) continue;
        Parameter value = m_controlsInput[i]->GetControlValue();
        if (value.Get<Roi>() == region || !value.SetValue(region)) continue;
        m_controlsInput[i]->SetControlValue(value);
        changed = true;
    }
    if (changed) Apply();
}

bool OrvFilterGui::IsTopWindow() {
    return IsMainWindowActive();
}

void OrvFilterGui::SetNotice(const wxString& text) {
    if (m_notice == nullptr) {
        m_notice = new OrvStaticText(m_descriptionParent, text);
        AddToSizer(m_descriptionSizer, m_notice, CountCells(m_descriptionSizer).GetRow(), 0, m_columnSpan, 1);
    }
    m_notice->SetText(text);
    m_notice->Show(!text.empty());
}

bool OrvFilterGui::Layout() {
    wxSizer* sizer = GetSizer();
    if (sizer == nullptr) return ScrollLayout();
    const wxPoint origin = CalcScrolledPosition(wxPoint(m_margin, m_margin));
    const wxSize room = m_xScrollPixelsPerLine != 0 ? GetVirtualSize() : GetClientSize();
    const wxSize size = room - wxSize(2 * m_margin, 2 * m_margin);
    sizer->SetDimension(origin, wxSize(std::max(0, size.GetWidth()), std::max(0, size.GetHeight())));
    return true;
}

wxSize OrvFilterGui::GetBestVirtualSize() const {
    wxSize size = GetClientSize();
    if (wxSizer* sizer = GetSizer()) size.IncTo(sizer->CalcMin() + wxSize(2 * m_margin, 2 * m_margin));
    return size;
}

void OrvFilterGui::FitContent() {
    wxSizer* sizer = GetSizer();
    if (sizer == nullptr) return;
    const wxSize content = sizer->CalcMin();
    if (content == m_fittedSize) return;
    m_fittedSize = content;
    FitInside();
}

wxString OrvFilterGui::GetSilence(bool& isAll) const {
    isAll = false;
    const OrvFilterResultPtr result = m_filter->GetResult();
    if (!result) return {};
    const bool hasBoth = result->slot[OrvEvidence] && result->slot[OrvReference];
    wxString text;
    int speaking = 0;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        const OrvSlotResultPtr& found = result->slot[slot];
        if (!found) continue;
        if (!found->SaysNothing()) {
            ++speaking;
            continue;
        }
        if (!text.empty()) text += "\n";
        if (hasBoth) text += (slot == OrvEvidence ? _("Evidence") : _("Reference")) + ": ";
        text += found->verdictText.empty() ? wxString(_("Not applicable to this file."))
                                           : wxGetTranslation(ToWx(found->verdictText));
    }
    isAll = !text.empty() && speaking == 0;
    return text;
}

bool OrvFilterGui::HasAnyFile() {
    const OrvInterface* core = GetInterface();
    return core != nullptr && (core->HasFile(OrvEvidence) || core->HasFile(OrvReference));
}

wxString OrvFilterGui::GetAwaitedMessage() const {
    if (!HasAnyFile() || m_filter->GetResult() || !m_filter->GetErrorMessage().empty()) return {};
    return _("Working out the result...");
}

wxString OrvFilterGui::GetNoDataMessage() {
    const OrvContext* context = GetContext();
    const wxString message = context != nullptr ? context->GetNoDataAvailableMessage() : wxString();
    return message.empty() ? message : wxGetTranslation(message);
}
