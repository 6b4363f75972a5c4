#include "orvgui/shell/layoutfile.h"

#include <wx/tokenzr.h>

#include <array>
#include <cstdlib>
#include <set>

#include "zorbase/gui/sizejson.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

// Sizes beyond these are damage, not a window.
constexpr int kSmallestFrame = 100;
constexpr int kLargestFrame = 32767;
constexpr long kLargestNumber = 1000000000;

// Bits of a pane's state in the perspective.
constexpr long kStateFloating = 1 << 0;
constexpr long kStateHidden = 1 << 1;

constexpr long kDirectionCentre = 5;

constexpr std::array kPaneNumbers = {"state",  "dir",    "layer",  "row",   "pos",  "prop",
                                     "bestw",  "besth",  "minw",   "minh",  "maxw", "maxh",
                                     "floatx", "floaty", "floatw", "floath"};

bool ParseNumber(const wxString& text, long& number) {
    return text.ToCLong(&number) && number >= -kLargestNumber && number <= kLargestNumber;
}

// Splits at a separator that is not escaped by a backslash; the pieces keep their escapes.
std::vector<wxString> SplitUnescaped(const wxString& text, wxUniChar separator) {
    std::vector<wxString> pieces(1);
    for (auto it = text.begin(); it != text.end(); ++it) {
        const wxUniChar c = *it;
        if (c == '\\' && it + 1 != text.end()) {
            pieces.back() += c;
            ++it;
            pieces.back() += *it;
        } else if (c == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    return pieces;
}

struct PaneFields {
    std::map<wxString, wxString> values;
    bool Read(const wxString& part) {
        for (const wxString& field : SplitUnescaped(part, ';')) {
            wxString value;
            const wxString key = field.BeforeFirst('=', &value);
            if (!values.emplace(key, value).second) return false;  // a field twice
        }
        return values.size() == kPaneNumbers.size() + 2 && values.count("name") == 1 &&
               values.count("caption") == 1;
    }
    bool Number(const char* key, long& number) const {
        const auto it = values.find(key);
        return it != values.end() && ParseNumber(it->second, number);
    }
};

bool IsPaneValid(const wxString& part, const std::vector<LayoutPane>& panes, std::set<wxString>& seen) {
    PaneFields fields;
    if (!fields.Read(part)) return false;
    for (const char* key : kPaneNumbers) {
        long number = 0;
        if (!fields.Number(key, number)) return false;
    }
    const LayoutPane* known = nullptr;
    for (const LayoutPane& pane : panes) {
        if (pane.name == fields.values["name"]) known = &pane;
    }
    if (known == nullptr || !seen.insert(known->name).second) return false;

    long state = 0, direction = 0, layer = 0, row = 0, position = 0, proportion = 0;
    fields.Number("state", state);
    fields.Number("dir", direction);
    fields.Number("layer", layer);
    fields.Number("row", row);
    fields.Number("pos", position);
    fields.Number("prop", proportion);
    if ((state & (kStateFloating | kStateHidden)) != 0) return false;
    if (direction < 1 || direction > kDirectionCentre || (direction == kDirectionCentre) != known->isCentre)
        return false;
    return layer >= 0 && layer < 100 && row >= 0 && row < 1000 && position >= 0 && proportion >= 0;
}

// "dock_size(4,0,0)=240"
bool IsDockSizeValid(const wxString& part) {
    wxString inside, size;
    if (!part.StartsWith("dock_size(", &inside)) return false;
    inside = inside.BeforeFirst(')', &size);
    long number = 0;
    if (!size.StartsWith("=", &size) || !ParseNumber(size, number) || number < 0 || number > kLargestFrame)
        return false;
    wxStringTokenizer numbers(inside, ",", wxTOKEN_RET_EMPTY_ALL);
    int count = 0;
    for (; numbers.HasMoreTokens(); ++count) {
        if (!ParseNumber(numbers.GetNextToken(), number) || number < 0) return false;
    }
    return count == 3;
}

int WidthFromToken(const wxString& token) {
    const long number = std::wcstol(token.wc_str(), nullptr, 10);
    return static_cast<int>(std::max(-kLargestNumber, std::min(number, kLargestNumber)));
}

bool SizeFromText(const wxString& text, OrvLayout& layout) {
    wxSize size;
    try {
        if (!FromJson(JsonFromText(FromWx(text)), size)) return false;
    } catch (const ZorException&) {
        return false;
    }
    layout.width = size.x;
    layout.height = size.y;
    return size.x >= kSmallestFrame && size.x <= kLargestFrame && size.y >= kSmallestFrame &&
           size.y <= kLargestFrame;
}

}  // namespace

wxString LayoutToText(const OrvLayout& layout) {
    wxString text = ToWx(ToString(layout.maximised)) + "\n";
    text += ToWx(JsonToText(ToJson(wxSize(layout.width, layout.height)), 0)) + "\n";
    text += layout.perspective + "\n";
    return text + ColumnWidthsToText(layout.columnWidths);
}

std::optional<OrvLayout> LayoutFromText(const wxString& text, const std::vector<LayoutPane>& panes) {
    const wxArrayString lines = wxStringTokenize(text, "\n", wxTOKEN_RET_EMPTY_ALL);
    if (lines.size() < 3) return std::nullopt;
    OrvLayout layout;
    if (!FromString(FromWx(lines[0]), layout.maximised)) return std::nullopt;
    // Of a maximised window nobody asks for the size.
    if (!SizeFromText(lines[1], layout) && !layout.maximised) return std::nullopt;
    layout.perspective = lines[2];
    if (!IsPerspectiveValid(layout.perspective, panes)) return std::nullopt;
    for (std::size_t i = 3; i < lines.size(); ++i) ColumnWidthsFromText(lines[i], layout.columnWidths);
    return layout;
}

bool IsPerspectiveValid(const wxString& perspective, const std::vector<LayoutPane>& panes) {
    std::vector<wxString> parts = SplitUnescaped(perspective, '|');
    // The text ends with a separator: without it something is missing.
    if (parts.size() < 3 || parts.front() != "layout2" || !parts.back().empty()) return false;
    parts.erase(parts.begin());
    parts.pop_back();

    std::set<wxString> seen;
    bool hasDock = false;
    for (const wxString& part : parts) {
        if (part.StartsWith("dock_size")) {
            if (!IsDockSizeValid(part)) return false;
            hasDock = true;
        } else if (hasDock || !IsPaneValid(part, panes, seen)) {
            return false;
        }
    }
    return hasDock && seen.size() == panes.size();
}

wxString ColumnWidthsToText(const ColumnWidths& widths) {
    wxString text;
    for (const auto& [key, list] : widths) {
        text += key + "=";
        for (int width : list) text += ToWx(ToString(width)) + ";";
        text.RemoveLast();  // the last ";", or the "=" of a table without widths
        text += "|";
    }
    if (!text.empty()) text.RemoveLast();
    return text;
}

void ColumnWidthsFromText(const wxString& text, ColumnWidths& widths) {
    wxStringTokenizer entries(text, "|", wxTOKEN_RET_EMPTY);
    while (entries.HasMoreTokens()) {
        wxString list;
        const wxString key = entries.GetNextToken().BeforeFirst('=', &list);
        if (key.empty()) continue;
        list = list.BeforeFirst('=');
        std::vector<int> numbers;
        wxStringTokenizer tokens(list, ";", wxTOKEN_RET_EMPTY);
        while (tokens.HasMoreTokens()) numbers.push_back(WidthFromToken(tokens.GetNextToken()));
        widths[key] = std::move(numbers);
    }
}
