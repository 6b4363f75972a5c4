#include "orvcore/tables/tablesort.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <numeric>
#include <optional>

#include "orvcore/tables/tablemarkup.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kLongestNumber = 64;  // bytes of a cell that are looked at for a number
constexpr std::size_t kLongestKey = 256;    // what is equal up to here is compared in full
constexpr std::size_t kStopInterval = 4096;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The cell's text. It lies in the cell itself, unless a mark or an escape has to be taken off: then in `storage`.
std::string_view CellText(std::string_view cell, std::string& storage) {
    if (cell.empty() || std::string_view("!?*\\").find(cell.front()) == std::string_view::npos) return cell;
    storage = ParseCell(cell).text;
    return storage;
}

enum class Rank : std::uint8_t { Empty, Number, Date, Text };

struct Value {
    Rank rank = Rank::Empty;
    double number = 0;      // of a date: seconds, in universal time where the date tells its zone
    std::string_view rest;  // the unit or the whole text: decides between equal numbers
};

std::size_t DigitsAt(std::string_view text, std::size_t from) {
    std::size_t end = from;
    while (end < text.size() && IsDigit(text[end])) ++end;
    return end - from;
}

// The plain number at the start, with its thousands separated by commas or not. Returns its length, 0 for none.
std::size_t ReadNumber(std::string_view text, double& number) {
    text = text.substr(0, kLongestNumber);
    std::string plain;
    std::size_t at = 0;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        if (text[at] == '-') plain += '-';
        ++at;
    }
    std::size_t digits = DigitsAt(text, at);
    if (digits == 0) return 0;
    plain.append(text, at, digits);
    at += digits;
    if (digits <= 3) {
        while (at < text.size() && text[at] == ',' && DigitsAt(text, at + 1) == 3) {
            plain.append(text, at + 1, 3);
            at += 4;
        }
    }
    if (at < text.size() && text[at] == '.' && DigitsAt(text, at + 1) > 0) {
        digits = DigitsAt(text, at + 1);
        plain.append(text, at, digits + 1);
        at += digits + 1;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        std::size_t exponent = at + 1;
        if (exponent < text.size() && (text[exponent] == '-' || text[exponent] == '+')) ++exponent;
        digits = DigitsAt(text, exponent);
        if (digits > 0 && digits <= 4) {
            plain += 'e';
            if (text[at + 1] == '-') plain += '-';
            plain.append(text, exponent, digits);
            at = exponent + digits;
        }
    }
    const auto result = std::from_chars(plain.data(), plain.data() + plain.size(), number);
    return result.ec == std::errc() && result.ptr == plain.data() + plain.size() ? at : 0;
}

std::optional<Value> ReadNumberCell(std::string_view text) {
    Value value;
    value.rank = Rank::Number;
    std::size_t at = ReadNumber(text, value.number);
    if (at == 0) return std::nullopt;
    if (at < text.size() && text[at] == '/') {
        double divisor = 0;
        const std::size_t length = ReadNumber(text.substr(at + 1), divisor);
        if (length == 0 || divisor <= 0) return std::nullopt;
        value.number /= divisor;
        at += length + 1;
    }
    // A unit stands after a blank, or is one of those that are written without. "12abc" is a name.
    value.rest = text.substr(at);
    if (value.rest.empty() || value.rest.front() == ' ' || value.rest.starts_with("%") ||
        value.rest.starts_with("\u00b0"))
        return value;
    return std::nullopt;
}

// Reads exactly `count` digits.
bool ReadDigits(std::string_view text, std::size_t& at, std::size_t count, int& number) {
    if (text.size() < at + count) return false;
    number = 0;
    for (std::size_t i = 0; i < count; ++i, ++at) {
        if (!IsDigit(text[at])) return false;
        number = number * 10 + (text[at] - '0');
    }
    return true;
}

// Days from 1970-01-01 in the Gregorian calendar.
std::int64_t DaysFromDate(int year, int month, int day) {
    const int y = year - (month <= 2 ? 1 : 0);
    const int era = (y >= 0 ? y : y - 399) / 400;
    const int yearOfEra = y - era * 400;
    const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return static_cast<std::int64_t>(era) * 146097 + dayOfEra - 719468;
}

bool ReadDay(std::string_view text, std::size_t& at, int& year, int& month, int& day) {
    std::size_t start = at;
    if (text.size() >= 10 && IsDigit(text[2])) {
        const char separator = text[4];
        if (std::string_view("-:/.").find(separator) == std::string_view::npos || text[7] != separator)
            return false;
        if (!ReadDigits(text, start, 4, year) || !ReadDigits(text, ++start, 2, month) ||
            !ReadDigits(text, ++start, 2, day))
            return false;
    } else if (text.size() >= 10 && text[2] == '.' && text[5] == '.') {
        if (!ReadDigits(text, start, 2, day) || !ReadDigits(text, ++start, 2, month) ||
            !ReadDigits(text, ++start, 4, year))
            return false;
    } else {
        return false;
    }
    at = start;
    return month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

std::optional<Value> ReadDateCell(std::string_view text) {
    std::size_t at = 0;
    int year = 0;
    int month = 0;
    int day = 0;
    if (!ReadDay(text, at, year, month, day)) return std::nullopt;
    Value value;
    value.rank = Rank::Date;
    value.number = static_cast<double>(DaysFromDate(year, month, day)) * 86400;
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::size_t clock = at + 1;
    if (at < text.size() && (text[at] == ' ' || text[at] == 'T') && ReadDigits(text, clock, 2, hour) &&
        clock < text.size() && text[clock] == ':' && ReadDigits(text, ++clock, 2, minute)) {
        at = clock;
        if (clock < text.size() && text[clock] == ':' && ReadDigits(text, ++clock, 2, second)) at = clock;
        value.number += hour * 3600 + minute * 60 + second;
        if (at < text.size() && text[at] == '.' && DigitsAt(text, at + 1) > 0) {
            double fraction = 0;
            const std::size_t digits = std::min<std::size_t>(DigitsAt(text, at + 1), 9);
            for (std::size_t i = digits; i > 0; --i) fraction = (fraction + (text[at + i] - '0')) / 10;
            value.number += fraction;
            at += DigitsAt(text, at + 1) + 1;
        }
        std::size_t zone = at;
        if (zone < text.size() && text[zone] == ' ') ++zone;
        if (zone < text.size() && (text[zone] == '+' || text[zone] == '-')) {
            const int sign = text[zone] == '-' ? -1 : 1;
            int hours = 0;
            int minutes = 0;
            std::size_t end = zone + 1;
            if (ReadDigits(text, end, 2, hours)) {
                if (end < text.size() && text[end] == ':') ++end;
                if (ReadDigits(text, end, 2, minutes)) {
                    value.number -= sign * (hours * 3600 + minutes * 60);
                    at = end;
                }
            }
        } else if (zone < text.size() && text[zone] == 'Z') {
            at = zone + 1;
        }
    }
    value.rest = text.substr(at);
    if (!value.rest.empty() && value.rest.front() != ' ') return std::nullopt;
    return value;
}

Value ReadValue(std::string_view text) {
    if (text.empty()) return {};
    if (IsDigit(text.front()))
        if (const auto date = ReadDateCell(text)) return *date;
    if (IsDigit(text.front()) || text.front() == '-' || text.front() == '+')
        if (const auto number = ReadNumberCell(text)) return *number;
    return {Rank::Text, 0, text};
}

// Bytes whose plain order is the natural order: a run of digits becomes its length and its digits. Digits sort among
// the other characters as '0' does.
void AppendKey(std::string& keys, std::string_view text) {
    const std::size_t end = keys.size() + kLongestKey;
    for (std::size_t i = 0; i < text.size() && keys.size() < end;) {
        if (!IsDigit(text[i])) {
            keys += Lower(text[i++]);
            continue;
        }
        while (i < text.size() && text[i] == '0') ++i;
        const std::size_t digits = DigitsAt(text, i);
        keys += '0';
        keys += static_cast<char>(std::min<std::size_t>(digits, 255));
        if (digits >= 255) break;  // too long for a key: equal ones are compared in full
        keys.append(text, i, digits);
        i += digits;
    }
}

struct Key {
    double number;
    std::size_t start;
    std::uint32_t length;
    std::uint32_t row;
    Rank rank;
};

int CompareValues(const Value& a, const Value& b) {
    if (a.rank != b.rank) return a.rank < b.rank ? -1 : 1;
    if (a.number != b.number) return a.number < b.number ? -1 : 1;
    return a.rest == b.rest ? 0 : CompareNatural(a.rest, b.rest);
}

std::string_view CellAt(const TableString& table, std::uint32_t row, int column) {
    const auto& cells = table[row + 1];
    return static_cast<std::size_t>(column) < cells.size()
               ? std::string_view(cells[static_cast<std::size_t>(column)])
               : std::string_view();
}

struct Stopped {};

}  // namespace

TableOrder OwnOrder(const TableString& table) {
    TableOrder order(table.empty() ? 0 : table.size() - 1);
    std::iota(order.begin(), order.end(), 0u);
    return order;
}

int CompareCells(std::string_view a, std::string_view b) {
    std::string storageA;
    std::string storageB;
    return CompareValues(ReadValue(CellText(a, storageA)), ReadValue(CellText(b, storageB)));
}

bool IsNumberCell(std::string_view cell) {
    std::string storage;
    return ReadValue(CellText(cell, storage)).rank == Rank::Number;
}

TableOrder SortRows(const TableString& table, TableOrder order, int column, bool ascending,
                    const std::stop_token& stop) {
    if (table.empty() || column < 0 || static_cast<std::size_t>(column) >= table[0].size()) return order;

    std::string bytes;
    std::vector<Key> keys;
    keys.reserve(order.size());
    std::string storage;
    for (const std::uint32_t row : order) {
        if (keys.size() % kStopInterval == 0 && stop.stop_requested()) return {};
        const Value value = ReadValue(CellText(CellAt(table, row, column), storage));
        const std::size_t start = bytes.size();
        AppendKey(bytes, value.rest);
        keys.push_back(
            {value.number, start, static_cast<std::uint32_t>(bytes.size() - start), row, value.rank});
    }

    const auto compare = [&](const Key& a, const Key& b) {
        if (a.rank != b.rank) return a.rank < b.rank ? -1 : 1;
        if (a.number != b.number) return a.number < b.number ? -1 : 1;
        const int order =
            std::memcmp(bytes.data() + a.start, bytes.data() + b.start, std::min(a.length, b.length));
        if (order != 0) return order;
        // Keys that were cut, or that differ in case or leading zeros only.
        if (a.length != b.length && a.length < kLongestKey && b.length < kLongestKey)
            return a.length < b.length ? -1 : 1;
        const std::string_view cellA = CellAt(table, a.row, column);
        const std::string_view cellB = CellAt(table, b.row, column);
        return cellA == cellB ? 0 : CompareCells(cellA, cellB);
    };
    std::size_t compared = 0;
    const auto less = [&](const Key& a, const Key& b) {
        if (++compared % kStopInterval == 0 && stop.stop_requested()) throw Stopped();
        return ascending ? compare(a, b) < 0 : compare(a, b) > 0;
    };
    try {
        std::stable_sort(keys.begin(), keys.end(), less);
    } catch (const Stopped&) {
        return {};
    }
    for (std::size_t i = 0; i < keys.size(); ++i) order[i] = keys[i].row;
    return order;
}

bool CellContains(std::string_view cell, std::string_view text) {
    if (text.empty()) return false;
    std::string storage;
    const std::string_view shown = CellText(cell, storage);
    const bool isAscii = std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
    if (!isAscii) {
        return ToWx(std::string(shown)).Lower().Contains(ToWx(std::string(text)).Lower());
    }
    return std::search(shown.begin(), shown.end(), text.begin(), text.end(),
                       [](char a, char b) { return Lower(a) == Lower(b); }) != shown.end();
}

TableOrder FilterRows(const TableString& table, const TableOrder& order, std::string_view filter,
                      const std::stop_token& stop) {
    const std::vector<std::string> words =
        StringToVecString(std::string(filter), " ", SplitMode::SkipEmpty, true);
    if (words.empty()) return order;
    TableOrder kept;
    std::size_t seen = 0;
    for (const std::uint32_t row : order) {
        if (++seen % kStopInterval == 0 && stop.stop_requested()) return {};
        const auto& cells = table[row + 1];
        const bool isKept = std::all_of(words.begin(), words.end(), [&cells](const std::string& word) {
            return std::any_of(cells.begin(), cells.end(),
                               [&word](const std::string& cell) { return CellContains(cell, word); });
        });
        if (isKept) kept.push_back(row);
    }
    return kept;
}
