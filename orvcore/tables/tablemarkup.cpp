#include "orvcore/tables/tablemarkup.h"

#include <algorithm>

#include "zorbase/text.h"

namespace {

constexpr std::string_view kThumbnail = "*IMG*";

// Whether the text, after any number of backslashes, begins with what would be taken as a mark.
bool LooksMarked(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of('\\'), text.size()));
    return !text.empty() && (std::string_view("!?#").find(text.front()) != std::string_view::npos ||
                             text.starts_with(kThumbnail));
}

std::string Unescape(std::string_view text) {
    if (text.starts_with('\\') && LooksMarked(text)) text.remove_prefix(1);
    return std::string(text);
}

}  // namespace

std::string TableCell(const std::string& value) {
    return LooksMarked(value) ? "\\" + value : value;
}

std::string MarkCell(CellMark mark, const std::string& value) {
    switch (mark) {
        case CellMark::StandsOut:
            return "!" + value;
        case CellMark::Doubtful:
            return "?" + value;
        default:
            return TableCell(value);
    }
}

std::string ThumbnailCell(int number) {
    return std::string(kThumbnail) + ToString(number);
}

std::string ShiftThumbnail(const std::string& cell, int by) {
    const ParsedCell parsed = ParseCell(cell);
    return parsed.mark == CellMark::Thumbnail && parsed.thumbnail >= 0 ? ThumbnailCell(parsed.thumbnail + by)
                                                                       : cell;
}

ParsedCell ParseCell(std::string_view cell) {
    ParsedCell parsed;
    if (cell.starts_with(kThumbnail)) {
        parsed.mark = CellMark::Thumbnail;
        int number = -1;
        if (FromString(std::string(cell.substr(kThumbnail.size())), number) && number >= 0)
            parsed.thumbnail = number;
    } else if (cell.starts_with('!') || cell.starts_with('?')) {
        parsed.mark = cell.front() == '!' ? CellMark::StandsOut : CellMark::Doubtful;
        parsed.text = cell.substr(1);
    } else {
        parsed.text = Unescape(cell);
    }
    return parsed;
}

std::string ParseLabel(std::string_view label) {
    return label.starts_with('#') ? std::string(label.substr(1)) : Unescape(label);
}
