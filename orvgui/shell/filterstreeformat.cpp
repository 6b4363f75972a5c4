#include "orvgui/shell/filterstreeformat.h"

#include <wx/gdicmn.h>
#include <wx/translation.h>

#include "orvgui/common/visibletext.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kMostValues = 6;  // lines of a tip, which must not cover what it is about

wxString StatusSentence(FilterStatus status, bool enabled) {
    if (!enabled) return _("Disabled: left out of batch processing and reports.");
    switch (status) {
        case FilterStatus::Processed:
            return _("Run on the loaded files.");
        case FilterStatus::StandsOut:
            return _("Run on the loaded files: worth a look.");
        default:
            return _("Not run on the loaded files yet.");
    }
}

}  // namespace

OrvItemLook LookOf(FilterStatus status, bool enabled) {
    if (!enabled) return {};
    return {status != FilterStatus::NotProcessed, status == FilterStatus::StandsOut, true};
}

OrvItemLook Strongest(const OrvItemLook& a, const OrvItemLook& b) {
    if (!a.enabled) return b;
    if (!b.enabled) return a;
    return {a.bold || b.bold, a.red || b.red, true};
}

wxColour ColourOf(const OrvItemLook& look, bool isDark, const wxColour& plain) {
    if (!look.enabled) return *wxStockGDI::GetColour(wxStockGDI::COLOUR_LIGHTGREY);
    if (look.red) return *wxStockGDI::GetColour(wxStockGDI::COLOUR_RED);
    return isDark ? plain : *wxStockGDI::GetColour(wxStockGDI::COLOUR_BLACK);
}

wxString ConfigurationText(const VecParameter& parameters) {
    const std::string text = GetParametersString(parameters, true);
    return text.empty() ? _("Standard") : ToWx(text);
}

wxString FilterToolTip(const wxString& name, const wxString& description, FilterStatus status, bool enabled,
                       const wxString& whyNothing) {
    wxString text = wxGetTranslation(name);
    // One line; the page tells the rest.
    if (!description.empty()) {
        const wxString whole = wxGetTranslation(description);
        const std::size_t end = whole.find_first_of(".;:");
        text += "\n" + ShortLine(end == wxString::npos ? whole : whole.Left(end) + ".");
    }
    return text + "\n" + (whyNothing.empty() ? StatusSentence(status, enabled) : ShortLine(whyNothing));
}

wxString ConfigurationToolTip(const wxString& filterName, const VecParameter& parameters, FilterStatus status,
                              bool enabled) {
    wxString text = wxGetTranslation(filterName);
    std::size_t lines = 0;
    for (const Parameter& parameter : parameters) {
        const std::string line = GetParametersString(VecParameter{parameter}, true);
        if (line.empty()) continue;
        if (++lines <= kMostValues) text += "\n" + ShortLine(ToWx(line));
    }
    if (lines > kMostValues) text += "\n" + wxString::FromUTF8("\u2026");
    if (lines == 0) text += "\n" + _("Standard");
    return text + "\n" + StatusSentence(status, enabled);
}
