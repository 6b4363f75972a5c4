#include "orvcore/tables/tables.h"

#include <wx/translation.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "orvcore/tables/tablemarkup.h"
#include "zorbase/calendar.h"
#include "zorbase/text.h"
#include "zorbase/utf8.h"

namespace {

constexpr std::size_t kLongestFormatted = 20000;  // bytes of one cell in plain text

wxString TranslateCell(const wxString& cell, bool isLabel) {
    const std::string raw = FromWx(cell);
    const ParsedCell parsed = isLabel ? ParsedCell{ParseLabel(raw)} : ParseCell(raw);
    // The empty text stands for the catalogue's own header.
    if (parsed.text.empty()) return cell;
    const std::string translated = FromWx(wxGetTranslation(ToWx(parsed.text)));
    if (translated == parsed.text) return cell;
    if (isLabel) return ToWx(raw.front() == '#' ? "#" + translated : TableCell(translated));
    return ToWx(MarkCell(parsed.mark, translated));
}

// Code points of a text as far as they are shown in one column of a fixed-pitch font.
std::size_t CountCharacters(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

template <typename Table>
void Permute(Table& table, const TableOrder& order) {
    Table sorted;
    sorted.reserve(table.size());
    sorted.push_back(std::move(table[0]));
    for (const std::uint32_t row : order) sorted.push_back(std::move(table[row + 1]));
    table = std::move(sorted);
}

}  // namespace

TableString TableFromWx(const WxTable& table) {
    TableString rows;
    rows.reserve(table.size());
    for (const auto& cells : table) {
        auto& row = rows.emplace_back();
        row.reserve(cells.size());
        for (const wxString& cell : cells) row.push_back(FromWx(cell));
    }
    return rows;
}

std::string LabelText(std::string_view label) {
    const std::string text = ParseLabel(label);
    return text.empty() ? text : FromWx(wxGetTranslation(ToWx(text)));
}

std::string DisplayText(std::string_view text, bool keepLineFeeds, std::size_t maximum) {
    std::string shown;
    const bool isCut = text.size() > maximum;
    const std::size_t end = isCut ? maximum : text.size();
    for (std::size_t pos = 0; pos < end;) {
        const Utf8Step step = NextUtf8(text, pos);
        const char32_t c = step.valid ? step.codePoint : 0xFFFD;
        if (c == '\n') {
            shown += keepLineFeeds ? "\n" : "\u21b5";
        } else if (c == '\t') {
            shown += ' ';
        } else if (c < 0x20 || (c >= 0x7F && c < 0xA0) || IsDirectionMark(c)) {
            char sign[16];
            std::snprintf(sign, sizeof sign, "[U+%04X]", static_cast<unsigned>(c));
            shown += sign;
        } else if (!step.valid) {
            shown += "\uFFFD";
        } else {
            shown += text.substr(pos, step.length);
        }
        pos += step.length;
    }
    if (isCut) shown += "\u2026";
    return shown;
}

std::string FormatTable(const TableString& table) {
    TableString shown;
    std::vector<std::size_t> widths;
    for (std::size_t row = 0; row < table.size(); ++row) {
        auto& cells = shown.emplace_back();
        for (std::size_t i = 0; i < table[row].size(); ++i) {
            cells.push_back(DisplayText(row == 0 ? ParseLabel(table[row][i]) : ParseCell(table[row][i]).text,
                                        false, kLongestFormatted));
            if (widths.size() <= i) widths.push_back(0);
            widths[i] = std::max(widths[i], CountCharacters(cells[i]));
        }
    }
    std::string text;
    for (const auto& cells : shown) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            text += cells[i];
            if (i + 1 < cells.size()) text.append(widths[i] - CountCharacters(cells[i]) + 2, ' ');
        }
        text += '\n';
    }
    return text;
}

wxString FormatTable(const WxTable& table) {
    return ToWx(FormatTable(TableFromWx(table)));
}

WxTable TranslateTable(const WxTable& table, int rows) {
    WxTable translated = table;
    const std::size_t count =
        rows < 0 ? table.size() : std::min(table.size(), static_cast<std::size_t>(rows));
    for (std::size_t row = 0; row < count; ++row) {
        for (wxString& cell : translated[row]) cell = TranslateCell(cell, row == 0);
    }
    return translated;
}

void SortVecVecString(TableString& table, int column, bool ascending) {
    if (table.empty()) return;
    const TableOrder order = SortRows(table, OwnOrder(table), column, ascending);
    Permute(table, order);
}

void SortVecVecString(WxTable& table, int column, bool ascending) {
    if (table.empty() || column < 0 || static_cast<std::size_t>(column) >= table[0].size()) return;
    TableString keys;
    keys.reserve(table.size());
    for (const auto& cells : table) {
        const bool has = static_cast<std::size_t>(column) < cells.size();
        keys.push_back({has ? FromWx(cells[static_cast<std::size_t>(column)]) : std::string()});
    }
    Permute(table, SortRows(keys, OwnOrder(keys), 0, ascending));
}

std::string DateTimeNowAsString() {
    const CalendarTime now = LocalTime(std::time(nullptr));
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d-%02d%02d%02d", now.year, now.month, now.day, now.hour,
                  now.minute, now.second);
    return text;
}
