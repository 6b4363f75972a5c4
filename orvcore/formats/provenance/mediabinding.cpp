#include <algorithm>
#include <array>
#include <map>
#include <optional>

#include "orvcore/formats/provenance/bindings.h"
#include "orvcore/formats/provenance/jumbf.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxExclusions = 1000;
constexpr std::size_t kMaxMatches = 100000;  // boxes that exclusions may name altogether
constexpr std::size_t kMaxLeaves = std::size_t{1} << 20;
constexpr std::size_t kMediaDataHead = 16;  // of a media data box, in front of what the tree covers

using Hash = std::vector<std::uint8_t>;

struct PathStep {
    std::uint32_t code = 0;
    std::size_t index = 0;  // from 1; 0 all
};

std::optional<std::vector<PathStep>> ParsePath(std::string_view path) {
    std::vector<PathStep> steps;
    while (!path.empty()) {
        if (path.front() != '/' || path.size() < 5 || steps.size() >= kMaxBoxDepth) return {};
        PathStep step;
        for (std::size_t i = 1; i <= 4; ++i)
            step.code = (step.code << 8) | static_cast<std::uint8_t>(path[i]);
        path.remove_prefix(5);
        if (path.starts_with('[')) {
            path.remove_prefix(1);
            while (!path.empty() && path.front() >= '0' && path.front() <= '9' && step.index < 1000000) {
                step.index = step.index * 10 + static_cast<std::size_t>(path.front() - '0');
                path.remove_prefix(1);
            }
            if (!path.starts_with(']') || step.index == 0) return {};
            path.remove_prefix(1);
        }
        steps.push_back(step);
    }
    if (steps.empty()) return {};
    return steps;
}

class MediaBinding {
  public:
    MediaBinding(const CborValue& record, const BoundFile& bound) : m_record(record), m_bound(bound) {}

    BindingResult Run(const std::string& outerMethod) {
        const std::string named = m_record.TextOf("alg");
        const auto method = HashMethodOf(named.empty() ? outerMethod : named);
        const CborValue* hash = m_record.Find("hash");
        const CborValue* tree = m_record.Find("merkle");
        if (!method || (hash == nullptr && tree == nullptr) || (hash != nullptr && !hash->IsBytes()))
            return Fail(BindingOutcome::Malformed,
                        "The record of the content's hash names no hash or no known hash method.");
        m_method = *method;
        m_boxes = ListMediaBoxes(m_bound.file, {0, m_bound.file.size()}, m_isWhole);
        if (!m_isWhole)
            return Fail(BindingOutcome::Mismatch,
                        "The file's boxes do not fill it: there are bytes that belong to no box.");
        if (!FindExclusions()) return m_result;
        if (hash != nullptr && !SameBytes(HashBoxes(), hash->content))
            return Fail(BindingOutcome::Mismatch,
                        "The file's boxes have another hash than the record states.");
        if (tree != nullptr && !CheckTree(*tree)) return m_result;
        // Without the hash over the boxes nothing but the media data is bound.
        if (hash == nullptr) m_excluded.push_back({0, m_bound.file.size()});
        m_result.outcome = BindingOutcome::Match;
        TellUncovered();
        return m_result;
    }

  private:
    BindingResult Fail(BindingOutcome outcome, const std::string& reason) {
        m_result.outcome = outcome;
        m_result.reason = reason;
        return m_result;
    }

    bool FindExclusions() {
        const CborValue* list = m_record.Find("exclusions");
        if (list == nullptr) return true;
        bool isSound = list->IsArray() && list->items.size() <= kMaxExclusions;
        for (std::size_t i = 0; isSound && i < list->items.size(); ++i) {
            const auto steps = ParsePath(list->items[i].TextOf("xpath"));
            isSound = steps && Walk(list->items[i], *steps, 0, m_boxes);
        }
        if (!isSound)
            Fail(BindingOutcome::Malformed,
                 "The list of boxes that the content's hash leaves out is not sound.");
        return isSound;
    }

    // Follows one path through the boxes of one level.
    bool Walk(const CborValue& exclusion, const std::vector<PathStep>& steps, std::size_t level,
              const std::vector<MediaBox>& boxes) {
        std::size_t index = 0;
        for (const MediaBox& box : boxes) {
            if (box.code != steps[level].code) continue;
            ++index;
            if (steps[level].index != 0 && index != steps[level].index) continue;
            if (++m_matches > kMaxMatches) return false;
            if (level + 1 < steps.size()) {
                // The full box "meta" has version and flags in front of its boxes.
                const std::size_t head = box.headerSize + (box.code == BoxCode("meta") ? 4 : 0);
                if (head > box.size) continue;
                bool isWhole = false;
                const std::vector<MediaBox> children =
                    ListMediaBoxes(m_bound.file, {box.offset + head, box.size - head}, isWhole);
                m_matches += children.size();
                if (!Walk(exclusion, steps, level + 1, children)) return false;
            } else if (Applies(exclusion, box) && !Exclude(exclusion, box)) {
                return false;
            }
        }
        return true;
    }

    // Length, data, version and flags narrow down which of the named boxes are meant.
    bool Applies(const CborValue& exclusion, const MediaBox& box) const {
        if (const CborValue* length = exclusion.Find("length"))
            if (length->Unsigned() != box.size) return false;
        if (const CborValue* data = exclusion.Find("data")) {
            for (const CborValue& item : data->items) {
                const CborValue* value = item.Find("value");
                const auto offset = item.UnsignedOf("offset");
                if (value == nullptr || !value->IsBytes() || !offset || *offset > box.size ||
                    value->content.size() > box.size - *offset)
                    return false;
                if (!SameBytes(Slice(m_bound.file, box.offset + static_cast<std::size_t>(*offset),
                                     value->content.size()),
                               value->content))
                    return false;
            }
        }
        const std::uint32_t versionAndFlags = Big32(m_bound.file, box.offset + box.headerSize);
        if (const CborValue* version = exclusion.Find("version"))
            if (version->Unsigned() != versionAndFlags >> 24) return false;
        if (const CborValue* flags = exclusion.Find("flags")) {
            if (!flags->IsBytes() || flags->content.size() != 3) return false;
            const std::uint32_t wanted = (ByteAt(flags->content, 0) << 16) | Big16(flags->content, 1);
            const std::uint32_t present = versionAndFlags & 0xFFFFFF;
            const CborValue* exact = exclusion.Find("exact");
            const bool isMask = exact != nullptr && exact->Is(CborValue::Type::Bool) && exact->number == 0;
            if (isMask ? (present & wanted) != wanted : present != wanted) return false;
        }
        return true;
    }

    bool Exclude(const CborValue& exclusion, const MediaBox& box) {
        const CborValue* subset = exclusion.Find("subset");
        if (subset == nullptr) {
            m_excluded.push_back({box.offset, box.size});
            m_whole.push_back(box.offset);
            return true;
        }
        if (!subset->IsArray() || subset->items.empty()) return false;
        for (const CborValue& item : subset->items) {
            const auto offset = item.UnsignedOf("offset");
            const auto length = item.UnsignedOf("length");
            if (!offset || !length) return false;
            if (*offset >= box.size) continue;
            const std::uint64_t left = box.size - *offset;
            const std::uint64_t size = *length == 0 ? left : std::min(*length, left);
            if (++m_matches > kMaxMatches) return false;
            m_excluded.push_back(
                {box.offset + static_cast<std::size_t>(*offset), static_cast<std::size_t>(size)});
        }
        return true;
    }

    // Of each top-level box its place in the file, then its bytes.
    Hash HashBoxes() {
        std::sort(m_whole.begin(), m_whole.end());
        std::vector<FileRange> kept = RangesLeft({0, m_bound.file.size()}, m_excluded);
        Digest digest(m_method);
        std::size_t next = 0;
        for (const MediaBox& box : m_boxes) {
            const std::size_t end = box.offset + box.size;
            if (!std::binary_search(m_whole.begin(), m_whole.end(), box.offset)) {
                std::array<std::uint8_t, 8> place{};
                for (std::size_t i = 0; i < 8; ++i)
                    place[i] = static_cast<std::uint8_t>(std::uint64_t{box.offset} >> (56 - 8 * i));
                digest.Add(place);
            }
            while (next < kept.size() && kept[next].offset < end) {
                FileRange& range = kept[next];
                const std::size_t size = std::min(range.End(), end) - range.offset;
                digest.Add(m_bound.file.subspan(range.offset, size), m_bound.between);
                range = {range.offset + size, range.size - size};
                if (range.size > 0) break;
                ++next;
            }
        }
        return digest.Finish();
    }

    bool CheckTree(const CborValue& tree) {
        std::vector<MediaBox> data;
        for (const MediaBox& box : m_boxes)
            if (box.code == BoxCode("mdat")) data.push_back(box);
        const auto malformed = [this] {
            Fail(BindingOutcome::Malformed, "The hash tree of the media data is not sound.");
            return false;
        };
        if (!tree.IsArray() || tree.items.size() > data.size()) return malformed();
        std::vector<bool> isDone(data.size());
        for (const CborValue& row : tree.items) {
            const auto number = row.UnsignedOf("localId");
            const CborValue* hashes = row.Find("hashes");
            const std::string named = row.TextOf("alg");
            const auto method = named.empty() ? std::optional(m_method) : HashMethodOf(named);
            if (!number || *number >= data.size() || isDone[*number] || hashes == nullptr ||
                !hashes->IsArray() || hashes->items.empty() || !method)
                return malformed();
            const MediaBox& box = data[static_cast<std::size_t>(*number)];
            isDone[static_cast<std::size_t>(*number)] = true;
            std::vector<Hash> leaves;
            if (box.size < kMediaDataHead || !HashLeaves(row, box, *method, leaves)) return malformed();
            const std::vector<Hash> top = HashTreeRow(std::move(leaves), hashes->items.size(), *method);
            bool isEqual = top.size() == hashes->items.size();
            for (std::size_t i = 0; isEqual && i < top.size(); ++i)
                isEqual = hashes->items[i].IsBytes() && SameBytes(top[i], hashes->items[i].content);
            if (!isEqual) {
                Fail(BindingOutcome::Mismatch, "The media data has other hashes than the record states.");
                return false;
            }
            m_covered.push_back({box.offset + kMediaDataHead, box.size - kMediaDataHead});
        }
        return true;
    }

    bool HashLeaves(const CborValue& row, const MediaBox& box, HashMethod method, std::vector<Hash>& leaves) {
        ByteSpan left = m_bound.file.subspan(box.offset + kMediaDataHead, box.size - kMediaDataHead);
        const CborValue* fixed = row.Find("fixedBlockSize");
        const CborValue* variable = row.Find("variableBlockSizes");
        const CborValue* count = row.Find("count");
        const auto add = [&](std::uint64_t size) {
            const ByteSpan block =
                left.first(static_cast<std::size_t>(std::min<std::uint64_t>(size, left.size())));
            leaves.push_back(HashOf(method, block, m_bound.between));
            if (m_bound.between && leaves.size() % 4096 == 0) m_bound.between();
            left = left.subspan(block.size());
        };
        if (variable != nullptr) {
            if (fixed != nullptr || !variable->IsArray() || variable->items.size() > kMaxLeaves) return false;
            for (const CborValue& item : variable->items) {
                const auto size = item.Unsigned();
                if (!size || *size > left.size()) return false;
                add(*size);
            }
            if (!left.empty()) return false;
        } else if (fixed != nullptr) {
            const auto size = fixed->Unsigned();
            if (!size || *size == 0 || left.size() / *size >= kMaxLeaves) return false;
            while (!left.empty()) add(*size);
        } else {
            add(left.size());
        }
        return !leaves.empty() && (count == nullptr || count->Unsigned() == leaves.size());
    }

    void TellUncovered() {
        std::vector<FileRange> covered = m_covered;
        const std::vector<FileRange> hashed = RangesLeft({0, m_bound.file.size()}, m_excluded);
        covered.insert(covered.end(), hashed.begin(), hashed.end());
        for (const MediaBox& box : m_boxes)
            if (IsCredentialBox(m_bound.file, box)) covered.push_back({box.offset, box.size});
        static constexpr std::array<std::uint32_t, 4> kUsual = {BoxCode("ftyp"), BoxCode("mfra"),
                                                                BoxCode("free"), BoxCode("skip")};
        std::vector<FileRange> left = RangesLeft({0, m_bound.file.size()}, covered);
        std::size_t next = 0;
        for (const MediaBox& box : m_boxes) {
            const std::size_t end = box.offset + box.size;
            while (next < left.size() && left[next].offset < end) {
                const FileRange range{left[next].offset, std::min(left[next].End(), end) - left[next].offset};
                const bool isUsual = std::find(kUsual.begin(), kUsual.end(), box.code) != kUsual.end();
                // The head of the media data says where its bytes begin, no more.
                const bool isHead = box.code == BoxCode("mdat") && range.offset == box.offset &&
                                    range.size <= kMediaDataHead && !m_covered.empty();
                m_result.uncovered.push_back({range, NameOf(box), isUsual || isHead});
                left[next] = {range.End(), left[next].End() - range.End()};
                if (left[next].size > 0) break;
                ++next;
            }
        }
    }

    static std::string NameOf(const MediaBox& box) {
        std::string name;
        for (int shift = 24; shift >= 0; shift -= 8) {
            const auto c = static_cast<char>((box.code >> shift) & 0xFF);
            name += c >= 0x20 && c < 0x7F ? c : '?';
        }
        return name;
    }

    const CborValue& m_record;
    const BoundFile& m_bound;
    HashMethod m_method = HashMethod::Sha256;
    bool m_isWhole = false;
    std::vector<MediaBox> m_boxes;
    std::vector<FileRange> m_excluded;
    std::vector<std::size_t> m_whole;  // offsets of boxes that are left out as a whole
    std::vector<FileRange> m_covered;  // by hash trees
    std::size_t m_matches = 0;
    BindingResult m_result;
};

}  // namespace

std::vector<Hash> HashTreeRow(std::vector<Hash> row, std::size_t count, HashMethod method) {
    while (row.size() > count && row.size() > 1) {
        std::vector<Hash> above;
        for (std::size_t i = 0; i + 1 < row.size(); i += 2) {
            Digest digest(method);
            digest.Add(row[i]);
            digest.Add(row[i + 1]);
            above.push_back(digest.Finish());
        }
        if (row.size() % 2 == 1) above.push_back(row.back());
        row = std::move(above);
    }
    return row;
}

BindingResult CheckMediaBinding(const CborValue& record, const std::string& outerMethod,
                                const BoundFile& bound) {
    if (bound.container != Container::Bmff)
        return {BindingOutcome::Mismatch, "The record is one for media boxes, and the file has none.", {}};
    return MediaBinding(record, bound).Run(outerMethod);
}

}  // namespace provenance
