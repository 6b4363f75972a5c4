#include "orvgui/common/visibletext.h"

#include <algorithm>
#include <string_view>

#include "orvcore/tables/tables.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"

wxString VisibleText(const std::string& bytes) {
    wxString text;
    // Columns keep their tabs.
    for (std::size_t start = 0;;) {
        const std::size_t end = std::min(bytes.find('\t', start), bytes.size());
        text +=
            ToWx(DisplayText(std::string_view(bytes).substr(start, end - start), true, std::string::npos));
        if (end == bytes.size()) return text;
        text += '\t';
        start = end + 1;
    }
}

wxString VisibleText(const wxString& text) {
    return VisibleText(FromWx(text));
}

wxString ShortLine(const wxString& text) {
    constexpr std::size_t kMost = 72;  // letters; a tip must not cover what it is about
    const wxString line = text.BeforeFirst('\n');
    if (line.length() <= kMost && line.length() == text.length()) return line;
    wxString start = line.Left(kMost);
    if (line.length() > kMost && start.Find(' ', true) != wxNOT_FOUND) start = start.BeforeLast(' ');
    return start.Trim() + wxString::FromUTF8("\u2026");
}

wxString EditablePath(const std::string& path) {
    const wxString text = PathToWx(path);
    const bool hasMark = std::any_of(text.begin(), text.end(), [](const wxUniChar& c) {
        return IsDirectionMark(static_cast<char32_t>(c.GetValue()));
    });
    return hasMark ? VisibleText(path) : text;
}
