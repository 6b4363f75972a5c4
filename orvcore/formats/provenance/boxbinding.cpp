#include <algorithm>

#include "orvcore/formats/jpegsegmenttext.h"
#include "orvcore/formats/jpegwalk.h"
#include "orvcore/formats/provenance/bindings.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxNamedBoxes = 200000;

struct NamedBox {
    std::string name;
    FileRange range;
};

const char kStoreName[] = "C2PA";

// Reserved markers have no name among signed boxes.
std::string JpegName(std::uint8_t marker) {
    using namespace jpegmarker;
    const bool isNamed = marker == kTem || (marker >= kSof0 && marker <= kApp15) || marker == kCom;
    return isNamed ? JpegMarkerName(marker) : "?";
}

bool IsInShell(const FoundStore& store, std::size_t offset) {
    auto range = std::upper_bound(store.shell.begin(), store.shell.end(), offset,
                                  [](std::size_t at, const FileRange& r) { return at < r.offset; });
    return range != store.shell.begin() && offset < (--range)->End();
}

void AddBox(std::vector<NamedBox>& boxes, const FoundStore& store, std::string name, FileRange range) {
    if (IsInShell(store, range.offset)) name = kStoreName;
    const bool goesOn = !boxes.empty() && name == kStoreName && boxes.back().name == kStoreName;
    if (goesOn)
        boxes.back().range.size += range.size;
    else
        boxes.push_back({std::move(name), range});
}

std::vector<NamedBox> JpegBoxes(const BoundFile& bound) {
    std::vector<NamedBox> boxes;
    JpegWalk walk(bound.file, 0);
    bool hasEnded = false;
    while (boxes.size() < kMaxNamedBoxes && !hasEnded) {
        const JpegPiece piece = walk.Next();
        if (piece.kind == JpegPiece::Kind::End) break;
        const FileRange range{piece.offset, piece.size};
        // Coded data belongs to its scan's header.
        if (piece.kind == JpegPiece::Kind::Entropy && !boxes.empty())
            boxes.back().range.size += range.size;
        else
            AddBox(boxes, *bound.store, piece.kind == JpegPiece::Kind::Segment ? JpegName(piece.marker) : "?",
                   range);
        hasEnded = piece.kind == JpegPiece::Kind::Segment && piece.marker == jpegmarker::kEoi;
    }
    const std::size_t end = boxes.empty() ? 0 : boxes.back().range.End();
    if (end < bound.file.size()) boxes.push_back({"?", {end, bound.file.size() - end}});
    return boxes;
}

// PNG and RIFF: a head of fixed size, then chunks. What does not fit is one last box without a name.
std::vector<NamedBox> ChunkBoxes(const BoundFile& bound, bool isPng) {
    const ByteSpan file = bound.file;
    std::vector<NamedBox> boxes;
    std::size_t position = isPng ? 8 : 12;
    boxes.push_back({isPng ? "PNGh" : "WEBP", {0, position}});
    while (file.size() - position >= 8 && boxes.size() < kMaxNamedBoxes) {
        const std::size_t length = isPng ? Big32(file, position) : Little32(file, position + 4);
        const std::size_t left = file.size() - position - 8;
        if (length > left || (isPng && left - length < 4)) break;
        const std::size_t tail = isPng ? 4 : std::min<std::size_t>(length & 1, left - length);
        const std::size_t size = 8 + length + tail;
        AddBox(boxes, *bound.store, TextOf(Slice(file, position + (isPng ? 4 : 0), 4)), {position, size});
        position += size;
    }
    if (position < file.size()) boxes.push_back({"?", {position, file.size() - position}});
    return boxes;
}

class BoxBinding {
  public:
    BoxBinding(const CborValue& record, const std::string& outerMethod, const BoundFile& bound)
        : m_record(record), m_outerMethod(outerMethod), m_bound(bound) {}

    BindingResult Run() {
        const CborValue* list = m_record.Find("boxes");
        if (list == nullptr || !list->IsArray() || list->items.empty())
            return Fail(BindingOutcome::Malformed, "The record of the signed boxes is not sound.");
        if (m_bound.container == Container::Jpeg)
            m_boxes = JpegBoxes(m_bound);
        else if (m_bound.container == Container::Png || m_bound.container == Container::Webp)
            m_boxes = ChunkBoxes(m_bound, m_bound.container == Container::Png);
        else
            return Fail(BindingOutcome::Unsupported,
                        "A list of signed boxes is checked in JPEG, PNG and WebP files only.");
        bool hasStore = false;
        for (const CborValue& entry : list->items) {
            const CborValue* names = entry.Find("names");
            if (names == nullptr || !names->IsArray() || names->items.empty())
                return Fail(BindingOutcome::Malformed, "The record of the signed boxes names no boxes.");
            const std::size_t first = m_next;
            for (const CborValue& name : names->items)
                if (!Take(std::string(name.Text()))) return m_result;
            const bool isStore = names->items.size() == 1 && names->items[0].Text() == kStoreName;
            if (isStore && hasStore)
                return Fail(BindingOutcome::Malformed,
                            "The record of the signed boxes names the store twice.");
            hasStore = hasStore || isStore;
            if (!isStore && !CheckHash(entry, first)) return m_result;
        }
        if (m_next < m_boxes.size()) return Unlisted();
        m_result.outcome = BindingOutcome::Match;
        return m_result;
    }

  private:
    BindingResult Fail(BindingOutcome outcome, const std::string& reason) {
        m_result.outcome = outcome;
        m_result.reason = reason;
        return m_result;
    }

    BindingResult Unlisted() {
        const NamedBox& box = m_boxes[m_next];
        return Fail(BindingOutcome::Unknown,
                    "The record of the signed boxes does not name what lies at byte " +
                        std::to_string(box.range.offset) + " of the file" +
                        (box.name == "?" ? "." : " (" + box.name + ")."));
    }

    // The next box of the file must be the next one of the record.
    bool Take(const std::string& name) {
        if (m_next < m_boxes.size() && m_boxes[m_next].name == name && name != "?") {
            ++m_next;
            return true;
        }
        const bool isLater = std::any_of(m_boxes.begin() + static_cast<std::ptrdiff_t>(m_next), m_boxes.end(),
                                         [&name](const NamedBox& box) { return box.name == name; });
        if (isLater)
            Unlisted();
        else
            Fail(BindingOutcome::Mismatch,
                 "The record of the signed boxes names one that is not in its place in the file.");
        return false;
    }

    bool CheckHash(const CborValue& entry, std::size_t first) {
        const FileRange range{m_boxes[first].range.offset,
                              m_boxes[m_next - 1].range.End() - m_boxes[first].range.offset};
        const CborValue* excluded = entry.Find("excluded");
        if (excluded != nullptr && excluded->Is(CborValue::Type::Bool) && excluded->number != 0) {
            m_result.uncovered.push_back({range, m_boxes[first].name, false});
            return true;
        }
        std::string named = entry.TextOf("alg");
        if (named.empty()) named = m_record.TextOf("alg");
        const auto method = HashMethodOf(named.empty() ? m_outerMethod : named);
        const CborValue* hash = entry.Find("hash");
        if (!method || hash == nullptr || !hash->IsBytes()) {
            Fail(BindingOutcome::Malformed,
                 "The record of the signed boxes names no hash or no known method.");
            return false;
        }
        if (SameBytes(HashOf(*method, m_bound.file.subspan(range.offset, range.size), m_bound.between),
                      hash->content))
            return true;
        Fail(BindingOutcome::Mismatch, "What lies at byte " + std::to_string(range.offset) +
                                           " of the file (" + m_boxes[first].name +
                                           ") has another hash than the record states.");
        return false;
    }

    const CborValue& m_record;
    const std::string& m_outerMethod;
    const BoundFile& m_bound;
    std::vector<NamedBox> m_boxes;
    std::size_t m_next = 0;
    BindingResult m_result;
};

}  // namespace

BindingResult CheckBoxBinding(const CborValue& record, const std::string& outerMethod,
                              const BoundFile& bound) {
    return BoxBinding(record, outerMethod, bound).Run();
}

}  // namespace provenance
