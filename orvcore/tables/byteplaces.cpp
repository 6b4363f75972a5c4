#include "orvcore/tables/byteplaces.h"

#include <charconv>
#include <string>

#include "orvcore/tables/tablemarkup.h"

namespace {

constexpr const char* kCounts[] = {"Length", "Bytes", "Size (bytes)"};

std::optional<std::size_t> FindLabel(const TableString& table, const std::string& label) {
    if (table.empty()) return {};
    for (std::size_t i = 0; i < table[0].size(); ++i)
        if (ParseLabel(table[0][i]) == label) return i;
    return {};
}

std::string TextAt(const TableString& table, std::size_t row, std::optional<std::size_t> column) {
    if (!column || *column >= table[row].size()) return {};
    return ParseCell(table[row][*column]).text;
}

std::optional<std::uint64_t> NumberAt(const TableString& table, std::size_t row,
                                      std::optional<std::size_t> column) {
    const std::string text = TextAt(table, row, column);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

}  // namespace

std::vector<BytePlace> FindBytePlaces(const TableString& table, std::size_t row) {
    std::vector<BytePlace> places;
    if (row == 0 || row >= table.size()) return places;
    const bool isOfReference = TextAt(table, row, FindLabel(table, "File")) == "Reference";
    for (const char* file : {"", " (evidence)", " (reference)"}) {
        const auto offset = NumberAt(table, row, FindLabel(table, std::string("Offset") + file));
        if (!offset) continue;
        BytePlace place{isOfReference || file == std::string(" (reference)"), *offset, {}};
        for (const char* count : kCounts)
            if (!place.count) place.count = NumberAt(table, row, FindLabel(table, std::string(count) + file));
        places.push_back(place);
    }
    return places;
}

bool NamesBytePlaces(const TableString& table) {
    return FindLabel(table, "Offset") || FindLabel(table, "Offset (evidence)") ||
           FindLabel(table, "Offset (reference)");
}
