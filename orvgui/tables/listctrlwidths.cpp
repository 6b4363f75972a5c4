#include "orvgui/tables/listctrlwidths.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kIgnoredWidth = 3;
constexpr int kRoom = 20;
constexpr int kScreenful = 40;
constexpr int kLargestScreenful = 120;

int ColumnsOf(wxUniChar letter) {
    constexpr wxUint32 kFirstWide = 0x2E80;
    return letter.GetValue() >= kFirstWide ? 2 : 1;
}

// The letters of a line that go into so many columns, at least one.
std::size_t CountFitting(const wxString& line, int columns) {
    int used = 0;
    std::size_t count = 0;
    for (const wxUniChar letter : line) {
        used += ColumnsOf(letter);
        if (used > columns && count > 0) break;
        ++count;
    }
    return count;
}

}  // namespace

RowRange RowsToMeasure(int rows, int firstVisible, int visible) {
    if (rows <= kExactWidthRows) return {0, rows};
    const int count = std::clamp(visible, kScreenful, kLargestScreenful);
    return {std::clamp(firstVisible, 0, rows - count), count};
}

int ColumnWidth(const std::vector<int>& bestWidths, int defaultWidth, int minimalWidth) {
    std::int64_t sum = 0;
    std::int64_t count = 0;
    for (const int width : bestWidths) {
        if (width <= kIgnoredWidth) continue;
        sum += width;
        ++count;
    }
    const int average = static_cast<int>(sum / std::max<std::int64_t>(count, 1));
    return std::max(minimalWidth, average == 0 ? defaultWidth : average) + kRoom;
}

int ToggledWidth(int width) {
    if (width <= 0) return width;
    return width % 2 != 0 ? width + 1 : width - 1;
}

wxString WrapText(const wxString& text, int columns, int lines) {
    wxString wrapped;
    wxString rest = text;
    for (int line = 1; line <= lines; ++line) {
        const wxString paragraph = rest.BeforeFirst('\n');
        const bool isLastParagraph = paragraph.length() == rest.length();
        std::size_t count = CountFitting(paragraph, columns);
        const bool isWhole = count == paragraph.length();
        if (line == lines && !(isWhole && isLastParagraph)) {
            if (count > 1 && CountFitting(paragraph + "x", columns) <= paragraph.length()) --count;
            return wrapped + paragraph.Left(count) + wxString::FromUTF8("\u2026");
        }
        std::size_t next = count;
        if (!isWhole) {
            // After the last blank that leaves something before it; a blank at the break itself is not drawn.
            const std::size_t blank = paragraph.rfind(' ', count);
            if (blank != wxString::npos && blank > 0) {
                count = blank;
                next = blank + 1;
            }
        }
        wrapped += paragraph.Left(count);
        if (isWhole && isLastParagraph) return wrapped;
        wrapped += '\n';
        rest = rest.Mid(isWhole ? paragraph.length() + 1 : next);
    }
    return wrapped;
}
