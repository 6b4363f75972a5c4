#include "orvgui/controls/parametercontrolquantization.h"

#include <wx/intl.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "orvgui/common/wheel.h"
#include "zorbase/text.h"

namespace {

constexpr int kSide = 8;
constexpr std::size_t kEntries = kSide * kSide;
constexpr int kBetween = 4;  // blanks between the two slots

// A file may define a table several times: the number and which of its definitions, from 1.
using TableKey = std::pair<int, int>;
using TableMap = std::map<TableKey, const QuantizationTable*>;

TableMap NumberTables(const QuantizationTables* tables) {
    TableMap numbered;
    if (tables == nullptr) return numbered;
    std::map<int, int> definitions;
    for (const QuantizationTable& table : *tables) numbered[{table.id, ++definitions[table.id]}] = &table;
    return numbered;
}

const QuantizationTable* FindTable(const TableMap& tables, const TableKey& key) {
    const auto found = tables.find(key);
    return found == tables.end() ? nullptr : found->second;
}

wxString TableTitle(const TableKey& key) {
    const auto& [id, definition] = key;
    if (definition == 1) return wxString::Format(_("Table %d"), id);
    if (definition == 2) return wxString::Format(_("Table %d (2nd definition)"), id);
    if (definition == 3) return wxString::Format(_("Table %d (3rd definition)"), id);
    return wxString::Format(_("Table %d (definition %d)"), id, definition);
}

bool HasEntry(const QuantizationTable* table, std::size_t i) {
    return table != nullptr && i < table->values.size();
}

}  // namespace

QuantizationText FormatQuantizationTables(const QuantizationTables& evidence,
                                          const QuantizationTables* reference) {
    const TableMap numbered[] = {NumberTables(&evidence), NumberTables(reference)};
    std::set<TableKey> keys;
    std::size_t digits = 2;
    for (const QuantizationTables* tables : {&evidence, reference}) {
        if (tables == nullptr) continue;
        for (const QuantizationTable& table : *tables) {
            for (const std::uint16_t value : table.values)
                digits = std::max(digits, std::to_string(value).size());
        }
    }

    for (const TableMap& tables : numbered)
        for (const auto& [key, table] : tables) keys.insert(key);

    QuantizationText result;
    std::vector<std::vector<std::pair<wxString, bool>>>
        lines;                                      // pieces of each line, and whether they differ
    const int cell = static_cast<int>(digits) + 2;  // a blank, the number, a blank or star
    const int slotWidth = kSide * cell;
    for (const TableKey& key : keys) {
        const QuantizationTable* tables[] = {FindTable(numbered[0], key), FindTable(numbered[1], key)};
        const int slots = reference != nullptr ? 2 : 1;
        if (!lines.empty()) lines.emplace_back();
        std::size_t differences = 0;
        if (slots == 2) {
            for (std::size_t i = 0; i < kEntries; ++i) {
                const bool both = HasEntry(tables[0], i) && HasEntry(tables[1], i);
                if (both ? tables[0]->values[i] != tables[1]->values[i]
                         : HasEntry(tables[0], i) != HasEntry(tables[1], i))
                    ++differences;
            }
        }
        wxString title = TableTitle(key);
        for (const QuantizationTable* table : tables) {
            if (table == nullptr || table->precision == 8) continue;
            title += wxString::Format(_(", %d bits"), table->precision);
            break;
        }
        std::vector<std::pair<wxString, bool>> heading{{title, false}};
        if (slots == 2) {
            const wxString verdict = differences == 0 ? wxString(_("equal"))
                                                      : wxString::Format(_("%d of 64 values differ"),
                                                                         static_cast<int>(differences));
            heading.push_back({": ", false});
            heading.push_back({verdict, differences != 0});
        }
        lines.push_back(heading);
        if (slots == 2) {
            const wxString names[] = {_("Evidence"), _("Reference")};
            wxString line = " " + names[0];
            line.Pad(static_cast<std::size_t>(
                std::max(1, slotWidth + kBetween - static_cast<int>(line.length()))));
            lines.push_back({{line + " " + names[1], false}});
        }
        for (int row = 0; row < kSide; ++row) {
            std::vector<std::pair<wxString, bool>> line;
            for (int slot = 0; slot < slots; ++slot) {
                if (slot == 1) line.push_back({wxString(' ', kBetween), false});
                for (int column = 0; column < kSide; ++column) {
                    const auto i = static_cast<std::size_t>(row * kSide + column);
                    const bool here = HasEntry(tables[slot], i);
                    const wxString number =
                        here ? wxString::Format("%d", tables[slot]->values[i]) : wxString("-");
                    const wxString pad(' ', static_cast<std::size_t>(cell) - 1 - number.length());
                    const bool other = HasEntry(tables[1 - slot], i);
                    const bool differs =
                        slots == 2 &&
                        (here != other || (here && tables[0]->values[i] != tables[1]->values[i]));
                    line.push_back({pad, false});
                    line.push_back({number + (differs ? "*" : " "), differs});
                }
            }
            lines.push_back(line);
        }
    }
    for (const auto& line : lines) {
        if (result.lines++ > 0) result.text += '\n';
        const std::size_t lineStart = result.text.length();
        for (const auto& [piece, differs] : line) {
            const long start = static_cast<long>(result.text.length());
            result.text += piece;
            if (differs) result.differing.emplace_back(start, static_cast<long>(result.text.length()));
        }
        result.columns = std::max(result.columns, static_cast<int>(result.text.length() - lineStart));
    }
    return result;
}

ParameterControlOutputQuantizationTable::ParameterControlOutputQuantizationTable(wxWindow* parent,
                                                                                 wxGridBagSizer* sizer,
                                                                                 const Parameter& parameter)
    : ParameterControl(parent, parameter) {
    m_field = new wxTextCtrl(parent, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP | wxTE_RICH2);
    m_field->SetBackgroundColour(*wxWHITE);
    m_field->SetForegroundColour(*wxBLACK);
    m_field->SetFont(wxFont(wxFontInfo(parent->GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE)));
    PassWheelOn(m_field);
    Place(sizer, m_field, Height::Tall);
    ParameterControlOutputQuantizationTable::SetControlValue(parameter);
}

wxWindow* ParameterControlOutputQuantizationTable::GetControl() {
    return m_field;
}

void ParameterControlOutputQuantizationTable::SetControlValue(const Parameter& parameter) {
    if (m_filled && parameter == m_parameter) return;
    m_filled = true;
    m_parameter = parameter;
    const QuantizationTables none;
    const QuantizationTables& evidence = parameter.IsSet() ? parameter.Get<QuantizationTables>() : none;
    const QuantizationTables* reference =
        parameter.IsRefSet() ? &parameter.Get<QuantizationTables>(true) : nullptr;
    QuantizationText shown = FormatQuantizationTables(evidence, reference);
    if (shown.text.empty()) shown = QuantizationText{GetPlaceholder(), {}, 1, 20};
    m_field->ChangeValue(shown.text);
    m_field->SetStyle(0, static_cast<long>(shown.text.length()), wxTextAttr(*wxBLACK));
    for (const auto& [start, end] : shown.differing) m_field->SetStyle(start, end, wxTextAttr(*wxRED));

    constexpr int kMaximumLines = 24;
    constexpr int kInset = 24;
    const int lines = std::min(shown.lines, kMaximumLines);
    m_field->SetMinSize(wxSize((shown.columns + 2) * m_field->GetCharWidth() + kInset,
                               lines * m_field->GetCharHeight() + kInset));
}
