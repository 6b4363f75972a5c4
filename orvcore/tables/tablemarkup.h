#pragma once

#include <string>
#include <string_view>

// The mark-up of result tables. A cell may begin with a mark, which is not part of its text: "!" what stands
// out (shown red), "?" what deserves a look (orange), "*IMG*" and a number for the thumbnail of that number. A
// column label may begin with "#". Marks are the core's alone: a text that came from a file passes through
// TableCell or MarkCell, so that a name such as "!urgent.jpg" keeps its "!" and colours nothing.
//
// The escape is one backslash before a mark. Only backslashes that stand before a mark mean anything: "C:\x"
// and "\\server" need no escape and come back as they are. Pure functions, safe on any thread.

enum class CellMark { None, StandsOut, Doubtful, Thumbnail };

struct ParsedCell {
    std::string text;  // without mark and escape; "" for a thumbnail
    CellMark mark = CellMark::None;
    int thumbnail = -1;  // number of the thumbnail, -1 when it is none or the number cannot be read
};

// A cell or label that reads back as exactly this text, unmarked.
std::string TableCell(const std::string& value);
// The same, marked StandsOut or Doubtful; with None it is TableCell.
std::string MarkCell(CellMark mark, const std::string& value);
std::string ThumbnailCell(int number);
// The cell, its thumbnail's number raised by `by` when it is one; for tables whose pictures are put behind those of others.
std::string ShiftThumbnail(const std::string& cell, int by);

ParsedCell ParseCell(std::string_view cell);
// The text of a column label.
std::string ParseLabel(std::string_view label);
