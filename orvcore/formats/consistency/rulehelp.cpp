#include "orvcore/formats/consistency/rulehelp.h"

#include <algorithm>
#include <cmath>

#include "zorbase/text.h"

namespace {
constexpr std::size_t kQuotedBytes = 80;
}

std::string Quote(const std::string& text) {
    std::string line = Trim(ToValidUtf8(text));
    std::replace(line.begin(), line.end(), '\n', ' ');
    if (line.size() > kQuotedBytes) line = ShortenText(line, kQuotedBytes) + "…";
    return "\"" + line + "\"";
}

const MetadataEntry* EntryOf(const ConsistencyInput& input, const char* key) {
    return input.metadata == nullptr ? nullptr : FindMetadata(input.metadata->set, key);
}

std::string ValueOf(const ConsistencyInput& input, const char* key) {
    const MetadataEntry* entry = EntryOf(input, key);
    return entry == nullptr ? std::string() : Trim(entry->raw);
}

std::optional<std::size_t> OffsetOf(const ConsistencyInput& input, const char* key) {
    const MetadataEntry* entry = EntryOf(input, key);
    return entry == nullptr ? std::nullopt : entry->offset;
}

std::optional<double> NumberOf(const ConsistencyInput& input, const char* key) {
    const std::string text = ValueOf(input, key);
    const std::string first = text.substr(0, text.find(' '));
    const std::size_t slash = first.find('/');
    double above = 0;
    double below = 1;
    if (!FromString(first.substr(0, slash), above)) return std::nullopt;
    if (slash != std::string::npos && (!FromString(first.substr(slash + 1), below) || below == 0))
        return std::nullopt;
    const double value = above / below;
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}
