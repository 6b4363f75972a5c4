#include <algorithm>

#include "orvcore/formats/provenance/bindings.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxExclusions = 10000;

BindingResult Malformed(const std::string& reason) {
    return {BindingOutcome::Malformed, reason, {}};
}

std::string NameOf(const FileRange& range, const BoundFile& bound, bool& isUsual) {
    const FileRange& field = bound.store->countField;
    isUsual = field.size > 0 && range.offset >= field.offset && range.End() <= field.End();
    if (isUsual) return "store length field";
    const std::vector<FileRange>& shell = bound.store->shell;
    if (range.End() <= shell.front().offset) return "before the store";
    return range.offset >= shell.back().End() ? "after the store" : "between the store's parts";
}

}  // namespace

std::vector<FileRange> RangesLeft(FileRange whole, std::vector<FileRange> covered) {
    std::sort(covered.begin(), covered.end(),
              [](const FileRange& a, const FileRange& b) { return a.offset < b.offset; });
    std::vector<FileRange> left;
    std::size_t position = whole.offset;
    for (const FileRange& range : covered) {
        const std::size_t begin = std::min(std::max(range.offset, position), whole.End());
        if (begin > position) left.push_back({position, begin - position});
        position = std::max(position, std::min(range.End(), whole.End()));
    }
    if (position < whole.End()) left.push_back({position, whole.End() - position});
    return left;
}

BindingResult CheckDataBinding(const CborValue& record, const std::string& outerMethod,
                               const BoundFile& bound) {
    const std::string named = record.TextOf("alg");
    const auto method = HashMethodOf(named.empty() ? outerMethod : named);
    const CborValue* hash = record.Find("hash");
    if (!method || hash == nullptr || !hash->IsBytes())
        return Malformed("The record of the content's hash names no hash or no known hash method.");
    const std::size_t fileSize = bound.file.size();

    std::vector<FileRange> left;  // out of the hash
    if (const CborValue* list = record.Find("exclusions")) {
        if (!list->IsArray() || list->items.size() > kMaxExclusions)
            return Malformed("The list of ranges that the content's hash leaves out is not sound.");
        std::size_t end = 0;
        for (const CborValue& item : list->items) {
            const auto start = item.UnsignedOf("start");
            const auto length = item.UnsignedOf("length");
            if (!start || !length)
                return Malformed("A range that the content's hash leaves out has no bounds.");
            const std::uint64_t from = *start;
            // The store has grown since by the records that were added to it.
            const bool isGrown = bound.isUpdated && from == bound.store->shell.front().offset;
            const std::uint64_t size = isGrown ? bound.store->shell.front().size : *length;
            if (from > fileSize || size > fileSize - from)
                return {BindingOutcome::Mismatch,
                        "A range that the content's hash leaves out reaches beyond the file's end.",
                        {}};
            if (from < end) return Malformed("Ranges that the content's hash leaves out overlap.");
            left.push_back({static_cast<std::size_t>(from), static_cast<std::size_t>(size)});
            end = left.back().End();
        }
    }

    Digest digest(*method);
    for (const FileRange& range : RangesLeft({0, fileSize}, left))
        digest.Add(bound.file.subspan(range.offset, range.size), bound.between);
    BindingResult result;
    const bool isEqual = SameBytes(digest.Finish(), hash->content);
    result.outcome = isEqual ? BindingOutcome::Match : BindingOutcome::Mismatch;
    if (!isEqual) result.reason = "The file's bytes have another hash than the record states.";

    std::vector<FileRange> covered = RangesLeft({0, fileSize}, left);
    covered.insert(covered.end(), bound.store->shell.begin(), bound.store->shell.end());
    // A left-out range that lies partly before and partly behind the store is told as two.
    for (const FileRange& range : RangesLeft({0, fileSize}, covered)) {
        UncoveredRange uncovered{range, {}, false};
        uncovered.what = NameOf(range, bound, uncovered.isUsual);
        result.uncovered.push_back(uncovered);
    }
    return result;
}

}  // namespace provenance
