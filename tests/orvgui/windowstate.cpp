#include "tests/orvgui/windowstate.h"

#include <dlfcn.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/dcmemory.h>
#include <wx/grid.h>
#include <wx/slider.h>
#include <wx/spinctrl.h>
#include <wx/statusbr.h>
#include <wx/textctrl.h>
#include <wx/tglbtn.h>
#include <wx/treectrl.h>
#include <wx/version.h>

#include <algorithm>
#include <cmath>
#include <regex>
#include <sstream>

#include "zorbase/hash.h"
#include "zorbase/text.h"

namespace {

// Mean and centre of what is painted, so that a line more or less or elsewhere tells.
std::string Painted(const wxWindow* window) {
    // Asked of the window itself: what lies over it on the screen is of no account. The declaration comes with no package that the toolkit's
    // headers need.
    static const auto draw = reinterpret_cast<void (*)(void*, void*)>(dlsym(RTLD_DEFAULT, "gtk_widget_draw"));
    const wxSize area = window->GetSize();
    wxBitmap shot(area, 24);
    wxMemoryDC dc(shot);
    dc.SetBackground(*wxWHITE_BRUSH);
    dc.Clear();
    draw(window->GetHandle(), dc.GetImpl()->GetCairoContext());
    dc.SelectObject(wxNullBitmap);
    const wxImage image = shot.ConvertToImage();
    const unsigned char* pixel = image.GetData();
    std::int64_t sum = 0, across = 0, down = 0;
    for (int y = 0; y < area.y; ++y)
        for (int x = 0; x < area.x; ++x, pixel += 3) {
            const std::int64_t ink = 766 - pixel[0] - pixel[1] - pixel[2];
            sum += ink;
            across += ink * x;
            down += ink * y;
        }
    const auto whole = static_cast<double>(sum);
    std::ostringstream text;
    text.precision(7);
    text << "ink " << whole / area.x / area.y << " at " << static_cast<double>(across) / whole << " "
         << static_cast<double>(down) / whole;
    return text.str();
}

std::string Range(int low, int value, int high) {
    return ToString(low) + ".." + ToString(value) + ".." + ToString(high);
}

std::string Value(const wxWindow* window) {
    if (const auto* field = dynamic_cast<const wxTextCtrl*>(window)) return field->GetValue().utf8_string();
    if (const auto* box = dynamic_cast<const wxCheckBox*>(window))
        return std::string(box->GetValue() ? "on " : "off ") + box->GetLabel().utf8_string();
    if (const auto* button = dynamic_cast<const wxToggleButton*>(window))
        return std::string(button->GetValue() ? "down " : "up ") + button->GetLabel().utf8_string();
    if (const auto* slider = dynamic_cast<const wxSlider*>(window))
        return Range(slider->GetMin(), slider->GetValue(), slider->GetMax());
    if (const auto* spin = dynamic_cast<const wxSpinCtrl*>(window))
        return Range(spin->GetMin(), spin->GetValue(), spin->GetMax());
    if (const auto* items = dynamic_cast<const wxItemContainer*>(window)) {
        std::string text = ToString(items->GetSelection()) + " of";
        for (unsigned i = 0; i < items->GetCount(); ++i) text += " " + items->GetString(i).utf8_string();
        return text;
    }
    if (const auto* bar = dynamic_cast<const wxStatusBar*>(window)) {
        std::string text;
        for (int i = 0; i < bar->GetFieldsCount(); ++i) text += bar->GetStatusText(i).utf8_string() + " / ";
        return text;
    }
    if (const auto* grid = dynamic_cast<const wxGrid*>(window)) {
        std::string text = ToString(grid->GetNumberRows()) + " rows, columns";
        // The last one takes the rest, one more or less as the toolkit lays out twice or three times.
        for (int i = 0; i < grid->GetNumberCols(); ++i)
            text += " " + grid->GetColLabelValue(i).utf8_string() +
                    (i + 1 < grid->GetNumberCols() ? ":" + ToString(grid->GetColSize(i)) : std::string());
        return text;
    }
    if (const auto* tree = dynamic_cast<const wxTreeCtrl*>(window))
        return ToString(static_cast<int>(tree->GetCount())) + " entries";
    return window->GetLabel().utf8_string();
}

}  // namespace

std::string WindowState::Plain(std::string text) const {
    // What is another one in each run.
    static const std::regex date("20[0-9]{2}[-:][0-9]{2}[-:][0-9]{2} .*:");
    if (text.find(m_folder) != std::string::npos) text = "a path";
    if (std::regex_search(text, date)) text = "a date";
    std::replace(text.begin(), text.end(), '\n', '/');
    std::replace(text.begin(), text.end(), '\t', ' ');
    if (text.size() > 120) text = text.substr(0, 60) + "... " + Sha256(text).substr(0, 8);
    return text;
}

void WindowState::TakeTree(const std::string& name, const wxTreeCtrl* tree, const wxTreeItemId& parent) {
    wxTreeItemIdValue cookie;
    for (wxTreeItemId item = tree->GetFirstChild(parent, cookie); item.IsOk();
         item = tree->GetNextChild(parent, cookie)) {
        const wxColour colour = tree->GetItemTextColour(item);
        Add(name, "entry " + tree->GetItemText(item).utf8_string() + (tree->IsBold(item) ? " bold" : "") +
                      (tree->IsSelected(item) ? " selected" : "") +
                      (colour.IsOk() ? " " + colour.GetAsString(wxC2S_HTML_SYNTAX).utf8_string() : "") +
                      " sign " + ToString(tree->GetItemState(item)));
        TakeTree(name, tree, item);
    }
}

void WindowState::Walk(const std::string& name, const wxWindow* window, int depth) {
    if (!window->IsShown()) return;
    const std::string text = Plain(Value(window) + " | " + window->GetToolTipText().utf8_string());
    const wxPoint at = window->IsTopLevel() ? wxPoint() : window->GetPosition();
    const wxSize size = window->IsTopLevel() ? window->GetClientSize() : window->GetSize();
    std::ostringstream line;
    line << name << '\t' << std::string(static_cast<std::size_t>(depth), '.')
         << wxString(window->GetClassInfo()->GetClassName()).utf8_string() << '\t';
    if (name == kWholeWindow && (depth == 1 || dynamic_cast<const wxTreeCtrl*>(window)))
        line << at.x << ' ' << size.x;
    else
        line << at.x << ',' << at.y << ' ' << size.x << 'x' << size.y;
    line << (window->IsThisEnabled() ? "" : " grey");
    if (window->UseBgCol()) line << " on " << window->GetBackgroundColour().GetAsString(wxC2S_HTML_SYNTAX);
    if (window->UseForegroundColour())
        line << " in " << window->GetForegroundColour().GetAsString(wxC2S_HTML_SYNTAX);
    line << '\t' << text;
    const bool isDrawn = dynamic_cast<const wxControl*>(window) == nullptr && window->GetChildren().empty();
    if (isDrawn && window->IsShownOnScreen() && size.x > 1 && size.y > 1) line << '\t' << Painted(window);
    m_lines.push_back(line.str());
    if (const auto* tree = dynamic_cast<const wxTreeCtrl*>(window)) TakeTree(name, tree, tree->GetRootItem());
    if (const auto* grid = dynamic_cast<const wxGrid*>(window)) {
        std::string cells;
        for (int row = 0; row < std::min(grid->GetNumberRows(), 50); ++row)
            for (int column = 0; column < grid->GetNumberCols(); ++column)
                cells += Plain(grid->GetCellValue(row, column).utf8_string()) + "\t";
        Add(name, "cells " + cells.substr(0, 40) + " " + Sha256(cells).substr(0, 8));
    }
    for (const wxWindow* child : window->GetChildren())
        if (!child->IsTopLevel()) Walk(name, child, depth + 1);
}

std::string DrawnWith(const wxWindow* window) {
    const wxSize text = window->GetTextExtent("Handgloves 0123456789 %");
    const wxFont fixed(wxFontInfo(10).Family(wxFONTFAMILY_TELETYPE));
    int width = 0, height = 0;
    window->GetTextExtent("Handgloves 0123456789", &width, &height, nullptr, nullptr, &fixed);
    return ToString(text.x) + "x" + ToString(text.y) + ", " + ToString(width) + "x" + ToString(height) +
           ", " + wxGetLibraryVersionInfo().GetVersionString().utf8_string();
}

bool IsSameState(const std::string& kept, const std::string& found, double tolerance) {
    const std::size_t a = kept.find("\tink ");
    const std::size_t b = found.find("\tink ");
    if (a == std::string::npos || a != b || kept.compare(0, a, found, 0, b) != 0) return kept == found;
    std::istringstream before(kept.substr(a + 5));
    std::istringstream now(found.substr(b + 5));
    std::string word;
    for (const bool hasWord : {false, true, false}) {
        double x = 0, y = 0;
        if (hasWord && !(before >> word && now >> word)) return false;
        if (!(before >> x && now >> y) || std::abs(x - y) > tolerance * x) return false;
    }
    return true;
}
