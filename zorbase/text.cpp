#include "zorbase/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "zorbase/utf8.h"

namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD";

template <typename T>
bool ReadNumber(const std::string& text, T& value) {
    T result{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, result);
    if (error != std::errc() || stop != end) return false;
    value = result;
    return true;
}

template <typename T>
std::string WriteNumber(T value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The run of digits that starts at pos, without its leading zeros; pos moves behind it.
std::string_view TakeNumber(std::string_view text, std::size_t& pos) {
    while (pos < text.size() && text[pos] == '0') ++pos;
    const std::size_t start = pos;
    while (pos < text.size() && IsDigit(text[pos])) ++pos;
    return text.substr(start, pos - start);
}

// A decimal number as a person writes it: sign, digits, point, exponent; not "inf", not "0x1".
bool IsPlainNumber(std::string_view text) {
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) text.remove_prefix(1);
    if (text.empty() || !(IsDigit(text[0]) || text[0] == '.')) return false;
    double value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && stop == text.data() + text.size();
}

// Spreadsheets skip these before they decide what a cell is.
std::string_view SkipLeadingBlanks(std::string_view text) {
    constexpr std::string_view kBlanks[] = {" ", "\xC2\xA0", "\xE3\x80\x80", "\xEF\xBB\xBF"};
    for (bool found = true; found;) {
        found = false;
        for (const std::string_view blank : kBlanks) {
            if (!text.starts_with(blank)) continue;
            text.remove_prefix(blank.size());
            found = true;
        }
    }
    return text;
}

// Numbers, signed or not, with words or signs of units between them: "-33.9 151.2", "-2.5 dB". Nothing that a
// spreadsheet could work out.
bool AreNumbersAndUnits(std::string_view text) {
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view token = text.substr(0, end);
        const bool isWord = !isFirst && std::all_of(token.begin(), token.end(), [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '%';
        });
        if (!IsPlainNumber(token) && !isWord) return false;
        isFirst = false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

bool LooksLikeFormula(std::string_view text) {
    const std::string_view rest = SkipLeadingBlanks(text);
    if (rest.empty() || AreNumbersAndUnits(rest)) return false;
    // A quoted field is unquoted before it is read, so a quotation mark can hide a formula. The last four are
    // the wide forms of = + - @, which count as the narrow ones where such scripts are written.
    constexpr std::string_view kStarts[] = {"=",
                                            "+",
                                            "-",
                                            "@",
                                            "\t",
                                            "\r",
                                            "\"",
                                            "\v",
                                            "\f",
                                            "\xEF\xBC\x9D",
                                            "\xEF\xBC\x8B",
                                            "\xEF\xBC\x8D",
                                            "\xEF\xBC\xA0"};
    return std::any_of(std::begin(kStarts), std::end(kStarts),
                       [rest](std::string_view start) { return rest.starts_with(start); });
}

}  // namespace

std::string ToString(bool value) {
    return value ? "true" : "false";
}
std::string ToString(int value) {
    return WriteNumber(value);
}
std::string ToString(std::int64_t value) {
    return WriteNumber(value);
}
std::string ToString(double value) {
    return WriteNumber(value);
}

bool FromString(const std::string& text, bool& value) {
    if (text != "true" && text != "false") return false;
    value = text == "true";
    return true;
}

bool FromString(const std::string& text, int& value) {
    return ReadNumber(text, value);
}
bool FromString(const std::string& text, std::int64_t& value) {
    return ReadNumber(text, value);
}
bool FromString(const std::string& text, double& value) {
    return ReadNumber(text, value);
}

std::vector<std::string> StringToVecString(const std::string& text, const std::string& separator,
                                           SplitMode mode, bool trim) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = separator.empty() ? std::string::npos : text.find(separator, start);
        std::string piece = text.substr(start, end == std::string::npos ? end : end - start);
        if (trim) piece = Trim(piece);
        if (mode == SplitMode::KeepEmpty || !piece.empty()) pieces.push_back(std::move(piece));
        if (end == std::string::npos) return pieces;
        start = end + separator.size();
    }
}

std::string Join(const std::vector<std::string>& pieces, const std::string& separator) {
    std::string text;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) text += separator;
        text += pieces[i];
    }
    return text;
}

std::string Trim(const std::string& text) {
    const auto start = std::find_if_not(text.begin(), text.end(), IsBlank);
    const auto end = std::find_if_not(text.rbegin(), std::make_reverse_iterator(start), IsBlank).base();
    return std::string(start, end);
}

std::string ToLower(const std::string& text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return lower;
}

int CompareNatural(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (IsDigit(a[i]) && IsDigit(b[j])) {
            const std::string_view x = TakeNumber(a, i);
            const std::string_view y = TakeNumber(b, j);
            if (x.size() != y.size()) return x.size() < y.size() ? -1 : 1;
            if (const int order = x.compare(y); order != 0) return order;
            continue;
        }
        const auto x = static_cast<unsigned char>(Lower(a[i++]));
        const auto y = static_cast<unsigned char>(Lower(b[j++]));
        if (x != y) return x < y ? -1 : 1;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return a.compare(b);
}

wxString ToWx(const std::string& utf8) {
    std::wstring wide;
    wide.reserve(utf8.size());
    for (std::size_t pos = 0; pos < utf8.size();) {
        const Utf8Step step = NextUtf8(utf8, pos);
        wide.push_back(static_cast<wchar_t>(step.valid ? step.codePoint : 0xFFFD));
        pos += step.length;
    }
    return wxString(wide);
}

std::string FromWx(const wxString& text) {
    std::string utf8;
    utf8.reserve(text.length());
    for (const wxUniChar character : text) {
        const auto code = static_cast<char32_t>(character.GetValue());
        const bool isScalar = code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
        AppendUtf8(utf8, isScalar ? code : 0xFFFD);
    }
    return utf8;
}

wxString PathToWx(const std::string& path) {
    return ToWx(PathToUtf8(path));
}

std::string PathFromWx(const wxString& path) {
    std::string bytes;
    bytes.reserve(path.length());
    for (const wxUniChar character : path)
        AppendPathCharacter(bytes, static_cast<char32_t>(character.GetValue()));
    return bytes;
}

std::string ToValidUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t pos = 0; pos < bytes.size();) {
        const Utf8Step step = NextUtf8(bytes, pos);
        const char32_t code = step.codePoint;
        const bool isControl = (code < 0x20 && code != '\t' && code != '\n') || (code >= 0x7F && code < 0xA0);
        if (step.valid && !isControl) {
            text.append(bytes.substr(pos, step.length));
        } else {
            text += kReplacement;
        }
        pos += step.length;
    }
    return text;
}

std::string ShortenText(const std::string& text, std::size_t maximumBytes) {
    if (text.size() <= maximumBytes) return text;
    // Continuation bytes are taken back, three at most: what is longer is no UTF-8.
    std::size_t end = maximumBytes;
    while (end > 0 && maximumBytes - end < 3 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    const bool isCharacter = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
    return text.substr(0, isCharacter ? end : maximumBytes);
}

std::string EscapeHtml(std::string_view text) {
    std::string html;
    html.reserve(text.size());
    for (const char c : ToValidUtf8(text)) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += c;
        }
    }
    return html;
}

std::string EscapeTsv(std::string_view text) {
    std::string cell;
    cell.reserve(text.size() + 1);
    if (LooksLikeFormula(text)) cell += '\'';
    for (const char c : text) {
        switch (c) {
            case '\t':
                cell += "\\t";
                break;
            case '\n':
                cell += "\\n";
                break;
            case '\r':
                cell += "\\r";
                break;
            case '\\':
                cell += "\\\\";
                break;
            default:
                cell += c;
        }
    }
    return ToValidUtf8(cell);
}

std::string Latin1ToUtf8(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

std::string PercentEncode(std::string_view text, std::string_view kept) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const bool isPlain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                             c == '-' || c == '.' || c == '_' || c == '~' ||
                             kept.find(c) != std::string_view::npos;
        const auto byte = static_cast<unsigned char>(c);
        if (isPlain) {
            result += c;
        } else {
            result += {'%', kDigits[byte >> 4], kDigits[byte & 0xF]};
        }
    }
    return result;
}

std::string PercentDecode(const std::string& text) {
    const auto digit = [&text](std::size_t i) {
        const char c = i < text.size() ? text[i] : '\0';
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
    };
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '%' && digit(i + 1) >= 0 && digit(i + 2) >= 0;
        result += isEscape ? static_cast<char>(digit(i + 1) * 16 + digit(i + 2)) : text[i];
        if (isEscape) i += 2;
    }
    return result;
}

std::string FormatFileSize(std::uint64_t bytes) {
    std::string text = std::to_string(bytes);
    for (std::size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, ",");
    text += bytes == 1 ? " byte" : " bytes";
    if (bytes < 1024) return text;

    constexpr const char* kUnits[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    // 1023.95 would be written as 1024.0.
    while (size >= 1023.95 && unit + 1 < std::size(kUnits)) {
        size /= 1024;
        ++unit;
    }
    char buffer[32];
    // Rounded to tenths by integers: printf would take the decimal point of the user's locale.
    const auto tenths = static_cast<long long>(std::llround(size * 10));
    std::snprintf(buffer, sizeof buffer, " (%lld.%lld %s)", tenths / 10, tenths % 10, kUnits[unit]);
    return text + buffer;
}
