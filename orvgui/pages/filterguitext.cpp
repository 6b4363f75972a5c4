#include "orvgui/pages/filterguitext.h"

#include <wx/gbsizer.h>
#include <wx/intl.h>
#include <wx/settings.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <utility>

#include "orvcore/facade/interface.h"
#include "orvgui/common/framehost.h"
#include "orvgui/common/statictext.h"
#include "orvgui/common/textfocus.h"
#include "orvgui/controls/parametercontroltext.h"
#include "orvgui/tables/listctrl.h"

namespace {

constexpr int kPairedFieldWidth = 120;  // least width in pixels of a field that shares its row
constexpr int kLongResultHeight = 150;  // least height of what takes the rest of the page
constexpr int kLeastColumn = 100;       // longer texts go on in the next line
constexpr int kShareThatStays = 3;      // of its width a longer text keeps this part at least,
constexpr int kLeastSentence = 2;       // or so many times the least width
constexpr int kLabelWidth = 140;
constexpr int kLongestCell = 1200;
constexpr int kPairGap = 12;
constexpr int kColumns = 4;      // two labels, each with its field
constexpr int kFewestLines = 3;  // of a text above the long result, and on a page that is higher than this
constexpr int kLowPage = 620;
constexpr int kHeightPerLine = 60;  // one more for so much

bool IsLong(const Parameter& parameter) {
    return parameter.Type() == ParameterType::TableString || parameter.Type() == ParameterType::OutputText ||
           parameter.Type() == ParameterType::OutputQuantizationTable;
}

bool IsTable(const Parameter& parameter) {
    return parameter.Type() == ParameterType::TableString;
}

wxSizerItem* ItemAt(wxGridBagSizer& grid, int row, int column) {
    return grid.FindItemAtPosition(wxGBPosition(row, column));
}

bool Holds(wxSizerItem* item, const wxWindow* window) {
    if (!item->IsSizer()) return item->GetWindow() == window;
    const wxSizerItemList& children = item->GetSizer()->GetChildren();
    return std::any_of(children.begin(), children.end(),
                       [window](wxSizerItem* child) { return Holds(child, window); });
}

wxGBSizerItem* FindHolder(const wxGridBagSizer& grid, const wxWindow* window) {
    for (wxSizerItem* item : grid.GetChildren())
        if (Holds(item, window)) return static_cast<wxGBSizerItem*>(item);
    return nullptr;
}

// The lowest first: two at a time in one cell are refused.
void InsertRow(wxGridBagSizer& grid, int row) {
    std::vector<wxGBSizerItem*> below;
    for (wxSizerItem* item : grid.GetChildren())
        if (auto* cell = static_cast<wxGBSizerItem*>(item); cell->GetPos().GetRow() >= row)
            below.push_back(cell);
    std::sort(below.begin(), below.end(), [](const wxGBSizerItem* a, const wxGBSizerItem* b) {
        return a->GetPos().GetRow() > b->GetPos().GetRow();
    });
    for (wxGBSizerItem* cell : below)
        cell->SetPos(wxGBPosition(cell->GetPos().GetRow() + 1, cell->GetPos().GetCol()));
}

void NarrowFields(wxSizerItem* item) {
    if (wxWindow* window = item->GetWindow(); window != nullptr) {
        if (dynamic_cast<wxTextCtrl*>(window) != nullptr)
            window->SetMinSize(wxSize(kPairedFieldWidth, window->GetMinSize().y));
    } else if (wxSizer* sizer = item->GetSizer(); sizer != nullptr) {
        for (wxSizerItem* child : sizer->GetChildren()) NarrowFields(child);
    }
}

// Every second one of the rows [first, first + short.size()) goes beside the one before it, where both are short.
void PairRows(wxGridBagSizer& grid, int first, const std::vector<bool>& isShort) {
    for (std::size_t i = 0; i + 1 < isShort.size();) {
        const int row = first + static_cast<int>(i);
        wxSizerItem* label = ItemAt(grid, row + 1, 0);
        wxSizerItem* field = ItemAt(grid, row + 1, 1);
        wxSizerItem* beside = ItemAt(grid, row, 1);
        if (!isShort[i] || !isShort[i + 1] || label == nullptr || field == nullptr || beside == nullptr) {
            ++i;
            continue;
        }
        label->SetBorder(kPairGap);
        label->SetFlag((label->GetFlag() & ~(wxRIGHT | wxTOP | wxBOTTOM)) | wxLEFT | wxRIGHT);
        static_cast<wxGBSizerItem*>(label)->SetPos(wxGBPosition(row, 2));
        static_cast<wxGBSizerItem*>(field)->SetPos(wxGBPosition(row, 3));
        NarrowFields(field);
        NarrowFields(beside);
        i += 2;
    }
}

// What has a row to itself reaches over both columns of fields.
void SpanUnpaired(wxGridBagSizer& grid, int first, int count) {
    for (int row = first; row < first + count; ++row) {
        wxSizerItem* item = ItemAt(grid, row, 1);
        if (item != nullptr && ItemAt(grid, row, 3) == nullptr)
            static_cast<wxGBSizerItem*>(item)->SetSpan(wxGBSpan(1, 3));
    }
}

}  // namespace

std::vector<int> FitColumnWidths(std::vector<int> widths, int room, int least) {
    const auto limited = [least](int width, int most) {
        return std::min(width,
                        std::max(most, std::clamp(width / kShareThatStays, least, kLeastSentence * least)));
    };
    const auto sumWith = [&](int most) {
        int sum = 0;
        for (const int width : widths) sum += limited(width, most);
        return sum;
    };
    int most = widths.empty() ? 0 : *std::max_element(widths.begin(), widths.end());
    if (sumWith(most) <= room) return widths;
    // The largest width that all columns may have.
    int narrow = least;
    while (most - narrow > 1) {
        const int middle = narrow + (most - narrow) / 2;
        (sumWith(middle) <= room ? narrow : most) = middle;
    }
    for (int& width : widths) width = limited(width, narrow);
    return widths;
}

// Some results are for other readers than the page's.
int OrvFilterGuiText::LastShown() const {
    for (int i = static_cast<int>(m_parametersOutput.size()) - 1; i >= 0; --i)
        if (!m_parametersOutput[static_cast<std::size_t>(i)].IsHiddenFromGui()) return i;
    return -1;
}

bool OrvFilterGuiText::EndsInLongResult() const {
    const int last = LastShown();
    return last >= 0 && IsLong(m_parametersOutput[static_cast<std::size_t>(last)]);
}

void OrvFilterGuiText::CreateControlsInput() {
    if (m_parametersInput.empty()) return;
    const int first = m_firstInput = CountCells(m_inputSizer).GetRow();
    OrvFilterGui::CreateControlsInput();
    if (!EndsInLongResult()) return;
    std::vector<bool> isShort;
    for (const Parameter& parameter : m_parametersInput) isShort.push_back(!parameter.IsHiddenFromGui());
    PairRows(*m_inputSizer, first, isShort);
    SpanUnpaired(*m_inputSizer, first, static_cast<int>(m_parametersInput.size()));
}

void OrvFilterGuiText::CreateControlsOutput() {
    SetNotice(wxString());  // above the results, whose place it takes
    const int first = CountCells(m_outputSizer).GetRow();
    if (!m_parametersOutput.empty()) OrvFilterGui::CreateControlsOutput();
    if (EndsInLongResult()) {
        std::vector<bool> isShort;
        for (std::size_t i = 0; i < m_parametersOutput.size(); ++i)
            isShort.push_back(!IsLong(m_parametersOutput[i]) && !m_parametersOutput[i].IsHiddenFromGui());
        const int count = static_cast<int>(isShort.size());
        const int last = LastShown();
        if (IsTable(m_parametersOutput[static_cast<std::size_t>(last)]))
            PairRows(*m_outputSizer, first, isShort);
        SpanUnpaired(*m_outputSizer, first, count);
        OrderRows(first, first + last);
        GiveLongOnesRows();
        Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
            event.Skip();
            if (LimitTexts()) CallAfter([this] { FitContent(); });
        });
    }
    // Long labels would take the room from what they name.
    for (wxWindow* child : m_outputParent->GetChildren())
        if (auto* label = dynamic_cast<OrvStaticText*>(child);
            label != nullptr && EndsInLongResult() && IsLabel(label))
            label->SetMaximumTextWidth(TextWidth(*label, kLabelWidth));
    if (OrvListCtrl* table = FindTable()) {
        table->WrapTexts();
        table->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
            event.Skip();
            if (std::exchange(m_fittedWidth, event.GetSize().x) != event.GetSize().x) FitTableSoon();
        });
    }
    // The sizer counts its cells when it is laid out, and takes no growing ones before that which it does not know.
    m_outputSizer->SetCols(0);
    // Results get the width that labels leave.
    const int columns = CountCells(m_outputSizer).GetCol();
    if (columns > 1) m_outputSizer->AddGrowableCol(1, 1);
    if (columns > 3) m_outputSizer->AddGrowableCol(3, 1);
}

void OrvFilterGuiText::GiveLongOnesRows() {
    const int last = LastShown();
    for (int i = 0; i <= last; ++i) {
        const auto index = static_cast<std::size_t>(i);
        const bool isWide = IsTable(m_parametersOutput[index]) ||
                            m_parametersOutput[index].Type() == ParameterType::OutputQuantizationTable ||
                            i == last;
        const wxWindow* window = m_controlsOutput[index] ? m_controlsOutput[index]->GetControl() : nullptr;
        wxGBSizerItem* content = window != nullptr ? FindHolder(*m_outputSizer, window) : nullptr;
        if (!isWide || content == nullptr) continue;
        int row = content->GetPos().GetRow();
        if (wxSizerItem* label = ItemAt(*m_outputSizer, row, 0); label != nullptr && label != content) {
            auto* text = dynamic_cast<OrvStaticText*>(label->GetWindow());
            const bool isPlain = text != nullptr && text->GetText() == wxGetTranslation(m_filter->GetName());
            if (isPlain) {
                text->Destroy();  // who has chosen the page knows what it shows
            } else {
                InsertRow(*m_outputSizer, ++row);
            }
            content->SetSpan(wxDefaultSpan);
            content->SetPos(wxGBPosition(row, 0));
            content->SetSpan(wxGBSpan(1, kColumns));
            if (!isPlain) static_cast<wxGBSizerItem*>(label)->SetSpan(wxGBSpan(1, kColumns));
        }
        if (i != last) continue;
        // Aligned in its cell it would not be as high as it.
        content->SetFlag(content->GetFlag() & ~wxALIGN_CENTER_VERTICAL);
        m_outputSizer->SetRows(0);
        m_outputSizer->AddGrowableRow(static_cast<std::size_t>(row), 1);
    }
}

bool OrvFilterGuiText::LimitTexts() {
    if (!EndsInLongResult()) return false;
    const int lines = kFewestLines + std::max(GetClientSize().y - kLowPage, 0) / kHeightPerLine;
    const auto last = static_cast<std::size_t>(LastShown());
    bool isOther = false;
    for (std::size_t i = 0; i < m_controlsOutput.size(); ++i)
        if (auto* text = dynamic_cast<ParameterControlOutputText*>(m_controlsOutput[i].get());
            text != nullptr && i != last)
            isOther = text->SetMaximumLines(lines) || isOther;
    return isOther;
}

// Beside a field, and not the sentence that stands in the place of results.
bool OrvFilterGuiText::IsLabel(wxWindow* window) const {
    const wxGBSizerItem* item = m_outputSizer->FindItem(window);
    return item != nullptr && item->GetSpan().GetColspan() == 1;
}

void OrvFilterGuiText::OrderRows(int firstOutput, int lastOutput) {
    const int inputs = static_cast<int>(m_parametersInput.size() + m_parametersPostProcessing.size());
    const int outputs = lastOutput - firstOutput;
    if (inputs == 0 || outputs == 0 || m_outputSizer != m_inputSizer) return;
    const auto rowAfter = [&](int row) {
        if (row < m_firstInput || row >= lastOutput) return row;
        return row < firstOutput ? row + outputs : m_firstInput + row - firstOutput;
    };
    // Two at a time in one cell are refused: by way of rows that nobody uses.
    const int away = CountCells(m_outputSizer).GetRow();
    for (const bool isBack : {false, true}) {
        for (wxSizerItem* child : m_outputSizer->GetChildren()) {
            auto* item = static_cast<wxGBSizerItem*>(child);
            const wxGBPosition place = item->GetPos();
            if (!isBack && rowAfter(place.GetRow()) != place.GetRow())
                item->SetPos(wxGBPosition(place.GetRow() + away, place.GetCol()));
            if (isBack && place.GetRow() >= away)
                item->SetPos(wxGBPosition(rowAfter(place.GetRow() - away), place.GetCol()));
        }
    }
}

OrvListCtrl* OrvFilterGuiText::FindTable() const {
    const int last = LastShown();
    if (last < 0 || !m_controlsOutput[static_cast<std::size_t>(last)]) return nullptr;
    return dynamic_cast<OrvListCtrl*>(m_controlsOutput[static_cast<std::size_t>(last)]->GetControl());
}

void OrvFilterGuiText::UpdateControlsOutput() {
    OrvFilterGui::UpdateControlsOutput();
    OrvListCtrl* table = FindTable();
    if (table == nullptr) return;
    // It scrolls by itself; the page need not be as high as its rows.
    table->SetMinSize(wxSize(table->GetMinSize().x, std::min(table->GetMinSize().y, kLongResultHeight)));
    FitTableSoon();
}

// When the page knows its width: all columns in sight, unless the user has sized them at some time.
void OrvFilterGuiText::FitTableSoon() {
    if (m_isFitting) return;
    m_isFitting = true;
    CallAfter([this] {
        m_isFitting = false;
        FitTable();
    });
}

void OrvFilterGuiText::FitTable() {
    OrvListCtrl* table = FindTable();
    const OrvFrameHost* frame = GetFrameHost();
    if (table == nullptr || frame == nullptr || !table->IsShownOnScreen() || table->GetNumDataRows() == 0)
        return;
    const int room = table->GetClientSize().x - wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, table);
    if (room <= kLeastColumn) return;
    table->FitLongestCells(kLongestCell);
    std::vector<int> widths;
    for (int column = 0; column < table->GetNumCols(); ++column) widths.push_back(table->GetColSize(column));
    table->SetColumnWidths(FitColumnWidths(widths, room, kLeastColumn));
}

void OrvFilterGuiText::UpdateControlsCustom() {
    wxString reason = m_filter->GetErrorMessage();
    if (reason.empty()) reason = HasAnyFile() ? GetAwaitedMessage() : GetNoDataMessage();
    bool isAll = false;
    const wxString silence = reason.empty() ? GetSilence(isAll) : wxString();
    SetNotice(reason + silence);
    for (const auto& control : m_controlsOutput) {
        if (control) control->Show(reason.empty() && !isAll);
    }
}
