#include "orvcore/formats/provenance/jumbf.h"

#include <algorithm>

#include "zorbase/text.h"

namespace provenance {

namespace {

constexpr std::uint32_t kSuperbox = BoxCode("jumb");
constexpr std::uint32_t kDescription = BoxCode("jumd");
constexpr std::size_t kMaxFaults = 20;
constexpr std::size_t kMaxLabelBytes = 1024;

// The second part of every type that is written as four letters.
constexpr std::uint8_t kLetterSuffix[12] = {0x00, 0x11, 0x00, 0x10, 0x80, 0x00,
                                            0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
// Embedded file.
constexpr std::uint8_t kEmbeddedFile[16] = {0x40, 0xCB, 0x0C, 0x32, 0xBB, 0x8A, 0x48, 0x9D,
                                            0xA7, 0x0B, 0x2A, 0xD6, 0xF4, 0x7F, 0x43, 0x69};

class Parser {
  public:
    Parser(ByteSpan bytes, std::size_t& budget, JumbfParse& parse)
        : m_bytes(bytes), m_budget(budget), m_parse(parse) {}

    void Run() {
        if (!ReadHeader(0, m_bytes.size(), m_parse.root)) return;
        if (m_parse.root.code != kSuperbox) {
            Fault("The store does not begin with a superbox", 0);
            return;
        }
        m_parse.isWhole = true;
        ReadChildren(m_parse.root, 0);
    }

  private:
    void Fault(const std::string& text, std::size_t offset) {
        if (m_parse.faults.size() < kMaxFaults)
            m_parse.faults.push_back(text + " (at byte " + std::to_string(offset) + " of the store).");
    }

    // A box that lies wholly before `end`.
    bool ReadHeader(std::size_t offset, std::size_t end, JumbfBox& box) {
        if (m_budget == 0) {
            Fault("There are more boxes than are read", offset);
            return false;
        }
        --m_budget;
        const std::size_t left = end - offset;
        std::uint64_t size = left >= 8 ? Big32(m_bytes, offset) : 0;
        box.offset = offset;
        box.headerSize = 8;
        box.code = Big32(m_bytes, offset + 4);
        if (left >= 16 && size == 1) {
            size = Big64(m_bytes, offset + 8);
            box.headerSize = 16;
        } else if (left >= 8 && size == 0) {
            size = left;
        }
        if (left < 8 || size < box.headerSize || size > left) {
            Fault("A box's length does not fit what it lies in", offset);
            return false;
        }
        box.size = static_cast<std::size_t>(size);
        return true;
    }

    void ReadChildren(JumbfBox& parent, int depth) {
        if (depth >= kMaxBoxDepth) {
            Fault("Boxes are nested too deeply", parent.offset);
            return;
        }
        const std::size_t end = parent.offset + parent.size;
        std::size_t position = parent.PayloadOffset();
        bool isFirst = true;
        while (position < end) {
            JumbfBox box;
            if (!ReadHeader(position, end, box)) return;
            position += box.size;
            if (isFirst) {
                isFirst = false;
                if (!Describe(box, parent)) return;
                continue;
            }
            if (box.code == kSuperbox) ReadChildren(box, depth + 1);
            parent.children.push_back(std::move(box));
        }
        if (isFirst) Fault("A superbox has no description", parent.offset);
    }

    bool Describe(const JumbfBox& box, JumbfBox& parent) {
        const ByteSpan payload = box.Payload(m_bytes);
        if (box.code != kDescription || payload.size() < 17) {
            Fault("A superbox does not begin with its description", box.offset);
            return false;
        }
        if (std::equal(std::begin(kLetterSuffix), std::end(kLetterSuffix), payload.begin() + 4))
            parent.kind = Big32(payload, 0);
        else if (std::equal(std::begin(kEmbeddedFile), std::end(kEmbeddedFile), payload.begin()))
            parent.kind = BoxCode("file");
        if ((payload[16] & 2) == 0) return true;
        const ByteSpan rest = payload.subspan(17);
        const auto zero = std::find(rest.begin(), rest.end(), std::uint8_t{0});
        const auto length = static_cast<std::size_t>(zero - rest.begin());
        const std::string label = TextOf(rest.first(length));
        if (zero == rest.end() || length > kMaxLabelBytes || ToValidUtf8(label) != label) {
            Fault("A box's label is not sound", box.offset);
            return false;
        }
        parent.label = label;
        return true;
    }

    ByteSpan m_bytes;
    std::size_t& m_budget;
    JumbfParse& m_parse;
};

}  // namespace

const JumbfBox* JumbfBox::Content(std::uint32_t wantedCode) const {
    for (const JumbfBox& child : children)
        if (child.code == wantedCode) return &child;
    return nullptr;
}

JumbfParse ParseJumbf(ByteSpan bytes, std::size_t& budget) {
    JumbfParse parse;
    Parser(bytes, budget, parse).Run();
    return parse;
}

}  // namespace provenance
