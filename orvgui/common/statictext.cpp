#include "orvgui/common/statictext.h"

#include <wx/dcclient.h>
#include <wx/tokenzr.h>

// The toolkit's own label knows no vertical alignment; this one is that of the library it draws with, whose headers come with no
// package that the toolkit's headers need.
extern "C" {
struct _GtkLabel;
void gtk_label_set_yalign(_GtkLabel* label, float alignment);
}

namespace {
constexpr int kLayoutSlack = 4;
constexpr int kMostTurns = 4;
}  // namespace

std::vector<wxString> WrapLines(const wxString& text, int width,
                                const std::function<std::vector<int>(const wxString&)>& extents) {
    std::vector<wxString> lines;
    wxStringTokenizer paragraphs(text, "\n", wxTOKEN_RET_EMPTY_ALL);
    while (paragraphs.HasMoreTokens()) {
        const wxString paragraph = paragraphs.GetNextToken();
        const std::vector<int> ends = extents(paragraph);
        const std::size_t length = std::min(paragraph.length(), ends.size());
        std::size_t start = 0;
        do {
            const int offset = start == 0 ? 0 : ends[start - 1];
            std::size_t end = start;
            while (end < length && ends[end] - offset <= width) ++end;
            if (end == length) {
                lines.push_back(paragraph.Mid(start));
                break;
            }
            // A blank that no longer fits may end the line; otherwise go back to the last blank in it.
            std::size_t breakAt = end;
            while (breakAt > start && paragraph[breakAt] != ' ') --breakAt;
            if (breakAt == start) breakAt = std::max(end, start + 1);
            lines.push_back(paragraph.Mid(start, breakAt - start));
            start = breakAt;
            while (start < length && paragraph[start] == ' ') ++start;
        } while (start < length);
    }
    if (lines.empty()) lines.emplace_back();
    return lines;
}

OrvStaticText::OrvStaticText(wxWindow* parent, const wxString& text, int id)
    : wxStaticText(parent, id, wxString(), wxDefaultPosition, wxDefaultSize, wxST_NO_AUTORESIZE),
      m_text(text) {
    Rewrap();
    Bind(wxEVT_SIZE, &OrvStaticText::OnSize, this);
}

void OrvStaticText::SetText(const wxString& text) {
    if (text == m_text) return;
    m_text = text;
    Rewrap();
}

void OrvStaticText::SetMaximumTextWidth(int pixels) {
    m_maximumWidth = pixels;
    Rewrap();
}

void OrvStaticText::CentreVertically() {
    gtk_label_set_yalign(reinterpret_cast<_GtkLabel*>(GetHandle()), 0.5F);
}

bool OrvStaticText::SetFont(const wxFont& font) {
    const bool changed = wxStaticText::SetFont(font);
    if (changed) Rewrap();
    return changed;
}

void OrvStaticText::OnSize(wxSizeEvent& event) {
    event.Skip();
    const int width = event.GetSize().GetWidth();
    if (width == m_wrapWidth || width <= 1) return;
    const bool sameLines = width >= m_naturalWidth && m_wrapWidth >= m_naturalWidth;
    m_wrapWidth = width;
    if (sameLines) return;
    const int height = GetMinHeight();
    Rewrap();
    // The sizer is at work right now: it learns of the new height afterwards.
    if (GetMinHeight() != height) GetParent()->PostSizeEvent();
}

void OrvStaticText::Rewrap() {
    int lineHeight = 0;
    m_naturalWidth = 0;
    if (m_text.find('\n') == wxString::npos) {
        GetTextExtent(m_text, &m_naturalWidth, &lineHeight);
    } else {
        wxStringTokenizer lines(m_text, "\n");
        while (lines.HasMoreTokens())
            m_naturalWidth = std::max(m_naturalWidth, GetTextExtent(lines.GetNextToken()).GetWidth());
    }
    if (lineHeight == 0) lineHeight = GetCharHeight();

    const int minimumWidth = std::min(m_naturalWidth, m_maximumWidth);
    const int width = m_wrapWidth > 0 ? std::max(m_wrapWidth, minimumWidth) : minimumWidth;
    wxString label = m_text;
    int lineCount = 1 + static_cast<int>(m_text.Freq('\n'));
    if (m_naturalWidth > width) {
        wxClientDC dc(this);
        dc.SetFont(GetFont());
        // The label lays out whole lines, whose widths differ from the measured ends of their letters by a few pixels.
        int room = std::max(width - kLayoutSlack, 1);
        std::vector<wxString> lines;
        for (int turn = 0; turn < kMostTurns; ++turn) {
            lines = WrapLines(m_text, room, [&dc](const wxString& paragraph) {
                wxArrayInt widths;
                dc.GetPartialTextExtents(paragraph, widths);
                return std::vector<int>(widths.begin(), widths.end());
            });
            // The more letters, the more they differ: a line that is too long after all would be broken once more.
            int widest = 0;
            for (const wxString& line : lines) widest = std::max(widest, GetTextExtent(line).GetWidth());
            if (widest < width) break;
            room = std::max(room - (widest - width) - kLayoutSlack, 1);
        }
        label.clear();
        for (const wxString& line : lines)
            label += (label.empty() && &line == &lines.front() ? "" : "\n") + line;
        lineCount = static_cast<int>(lines.size());
    }
    SetLabelText(label);
    SetMinSize(wxSize(minimumWidth, lineCount * lineHeight));
}
