#pragma once

#include <wx/string.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Texts between threads are std::string in UTF-8, paths are bytes. wxString is made where a window needs one.

// Text forms of plain values and back. The numbers are in the C locale; FromString answers false and leaves the value alone
// when the whole text is not such a value. bool is "true" / "false".
std::string ToString(bool value);
std::string ToString(int value);
std::string ToString(std::int64_t value);
std::string ToString(double value);  // shortest text that reads back equal
bool FromString(const std::string& text, bool& value);
bool FromString(const std::string& text, int& value);
bool FromString(const std::string& text, std::int64_t& value);
bool FromString(const std::string& text, double& value);

enum class SplitMode { KeepEmpty, SkipEmpty };

// The pieces of text between separators, in order. trim removes blanks around each piece.
std::vector<std::string> StringToVecString(const std::string& text, const std::string& separator,
                                           SplitMode mode = SplitMode::KeepEmpty, bool trim = false);
std::string Join(const std::vector<std::string>& pieces, const std::string& separator);
std::string Trim(const std::string& text);
std::string ToLower(const std::string& text);  // ASCII letters only

// Order in which a person lists names: digits compare as numbers, letters without regard to case, ties byte by byte.
// Less than zero, zero or more than zero, like strcmp; total and stable.
int CompareNatural(std::string_view a, std::string_view b);

// UTF-8 text to the toolkit's string. Bytes that are not UTF-8 become U+FFFD: for showing, not for opening files.
wxString ToWx(const std::string& utf8);
std::string FromWx(const wxString& text);

// A path as bytes to the toolkit's string and back without loss, whatever the bytes are.
wxString PathToWx(const std::string& path);
std::string PathFromWx(const wxString& path);

// Valid UTF-8 made of arbitrary bytes: what is not UTF-8 becomes U+FFFD, control characters other than tab and line feed too.
std::string ToValidUtf8(std::string_view bytes);

// The beginning of a text of at most so many bytes; UTF-8 is cut between two characters.
std::string ShortenText(const std::string& text, std::size_t maximumBytes);

// Text that came from a file, made harmless inside HTML text and double-quoted attributes.
std::string EscapeHtml(std::string_view text);

// Text made inert in one cell of a TSV that a spreadsheet opens: tab, line feed, carriage return and backslash are written
// \t \n \r \\ ; a cell that a spreadsheet would take as a formula gets a leading apostrophe.
std::string EscapeTsv(std::string_view text);

// Text of one byte per letter (ISO 8859-1).
std::string Latin1ToUtf8(const std::string& bytes);

// Bytes as an address has them: letters, digits, "-._~" and those of `kept` as they are, others as %XX.
std::string PercentEncode(std::string_view text, std::string_view kept = {});
std::string PercentDecode(const std::string& text);  // what is no escape stays as it is

// "12,345,678 bytes (11.8 MB)".
std::string FormatFileSize(std::uint64_t bytes);
