#include "orvcore/formats/structure/isobox.h"

#include <algorithm>
#include <map>

#include "orvcore/formats/structure/structurewriter.h"

namespace {

constexpr std::size_t kMaxReferences = 100000;

// Numbers of a box one after the other; zero past the end.
class BoxReader {
  public:
    BoxReader(ByteSpan bytes, std::size_t at, std::size_t end) : m_bytes(bytes), m_at(at), m_end(end) {}
    std::uint64_t Take(std::size_t size) {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = (value << 8) | (m_at + i < m_end ? ByteAt(m_bytes, m_at + i) : 0);
        m_at += size;
        return value;
    }
    std::string TakeText() {
        const ByteSpan rest = m_at < m_end ? Slice(m_bytes, m_at, m_end - m_at) : ByteSpan();
        const std::size_t length =
            static_cast<std::size_t>(std::find(rest.begin(), rest.end(), 0) - rest.begin());
        m_at += length + 1;
        return FieldText(rest.first(length));
    }
    bool IsOver() const { return m_at >= m_end; }
    std::size_t At() const { return m_at; }

  private:
    ByteSpan m_bytes;
    std::size_t m_at;
    std::size_t m_end;
};

class MetaReader {
  public:
    explicit MetaReader(ByteSpan bytes) : m_bytes(bytes) {}

    IsoItems Run() {
        for (std::size_t at = 0; at < m_bytes.size();) {
            const auto box = ReadIsoBox(m_bytes, at, m_bytes.size());
            if (!box) break;
            if (box->type == "meta") {
                ReadMeta(*box);
                break;
            }
            at = box->End();
        }
        return std::move(m_result);
    }

  private:
    template <typename Function>
    void ForEach(std::size_t at, std::size_t end, Function function) {
        for (std::size_t count = 0; at < end && count < kMaxReferences; ++count) {
            const auto box = ReadIsoBox(m_bytes, at, end);
            if (!box) break;
            function(*box);
            at = box->End();
        }
    }

    void ReadMeta(const IsoBox& meta) {
        // The order of boxes in it is free: locations need the data box, properties the items.
        ForEach(meta.Content() + 4, meta.End(), [&](const IsoBox& box) {
            if (box.type == "idat") m_data = box;
            if (box.type == "iinf") ReadInfos(box);
            if (box.type == "pitm") {
                BoxReader reader(m_bytes, box.Content(), box.End());
                const std::uint64_t version = reader.Take(4) >> 24;
                m_result.primary = static_cast<std::uint32_t>(reader.Take(version == 0 ? 2 : 4));
            }
        });
        ForEach(meta.Content() + 4, meta.End(), [&](const IsoBox& box) {
            if (box.type == "iloc") ReadLocations(box);
            if (box.type == "iref") ReadReferences(box);
            if (box.type == "iprp") ReadProperties(box);
        });
    }

    IsoItem* Find(std::uint64_t id) {
        const auto found = m_index.find(id);
        return found == m_index.end() ? nullptr : &m_result.items[found->second];
    }

    void ReadInfos(const IsoBox& box) {
        BoxReader reader(m_bytes, box.Content(), box.End());
        const std::uint64_t version = reader.Take(4) >> 24;
        reader.Take(version == 0 ? 2 : 4);
        ForEach(reader.At(), box.End(), [&](const IsoBox& info) {
            if (info.type != "infe") return;
            if (m_result.items.size() >= kMaxIsoItems) {
                if (m_result.warnings.empty())
                    m_result.warnings.push_back("There are too many items; the rest is left out.");
                return;
            }
            BoxReader entry(m_bytes, info.Content(), info.End());
            const std::uint64_t head = entry.Take(4);
            const std::uint64_t infoVersion = head >> 24;
            IsoItem item;
            item.isHidden = (head & 1) != 0;
            item.id = static_cast<std::uint32_t>(entry.Take(infoVersion >= 3 ? 4 : 2));
            item.isProtected = entry.Take(2) != 0;
            if (infoVersion >= 2) {
                item.type = FourCharacterText(m_bytes, entry.At());
                entry.Take(4);
            }
            item.name = entry.TakeText();
            if (item.type == "mime" || infoVersion < 2) item.contentType = entry.TakeText();
            if (!m_index.emplace(item.id, m_result.items.size()).second) return;
            m_result.items.push_back(std::move(item));
        });
    }

    void ReadLocations(const IsoBox& box) {
        BoxReader reader(m_bytes, box.Content(), box.End());
        const std::uint64_t version = reader.Take(4) >> 24;
        const std::uint64_t sizes = reader.Take(2);
        const std::size_t offsetSize = (sizes >> 12) & 15, lengthSize = (sizes >> 8) & 15;
        const std::size_t baseSize = (sizes >> 4) & 15, indexSize = version == 0 ? 0 : sizes & 15;
        const std::uint64_t count = reader.Take(version < 2 ? 2 : 4);
        for (std::uint64_t i = 0; i < count && !reader.IsOver(); ++i) {
            IsoItem* item = Find(reader.Take(version < 2 ? 2 : 4));
            const std::uint64_t method = version == 0 ? 0 : reader.Take(2) & 15;
            const std::uint64_t source = reader.Take(2);
            const std::uint64_t base = reader.Take(baseSize);
            const std::uint64_t extents = reader.Take(2);
            if (item != nullptr && (method > 1 || source != 0)) item->isLocated = false;
            for (std::uint64_t k = 0; k < extents && !reader.IsOver(); ++k) {
                reader.Take(indexSize);
                const std::uint64_t offset = reader.Take(offsetSize);
                const std::uint64_t length = reader.Take(lengthSize);
                if (item == nullptr || !item->isLocated || item->extents.size() > 10000) continue;
                AddExtent(*item, method, base, offset, length);
            }
        }
    }

    void AddExtent(IsoItem& item, std::uint64_t method, std::uint64_t base, std::uint64_t offset,
                   std::uint64_t length) {
        const std::uint64_t begin = method == 1 ? m_data.Content() : 0;
        const std::uint64_t end = method == 1 ? m_data.End() : m_bytes.size();
        if (base > end || offset > end - base || begin > end - base - offset) {
            m_result.warnings.push_back("Item " + std::to_string(item.id) + " would lie outside the file.");
            return;
        }
        const std::uint64_t at = begin + base + offset;
        // A length of zero means everything from there on.
        if (length == 0) length = end - at;
        if (length > end - at) {
            m_result.warnings.push_back("Item " + std::to_string(item.id) + " ends outside the file.");
            length = end - at;
        }
        item.extents.push_back({static_cast<std::size_t>(at), static_cast<std::size_t>(length)});
    }

    void ReadReferences(const IsoBox& box) {
        const std::size_t width = ByteAt(m_bytes, box.Content()) == 0 ? 2 : 4;
        ForEach(box.Content() + 4, box.End(), [&](const IsoBox& reference) {
            BoxReader reader(m_bytes, reference.Content(), reference.End());
            IsoItem* item = Find(reader.Take(width));
            const std::uint64_t count = reader.Take(2);
            IsoItem::Reference result{reference.type, {}};
            for (std::uint64_t i = 0; i < count && !reader.IsOver(); ++i)
                result.to.push_back(static_cast<std::uint32_t>(reader.Take(width)));
            m_references += result.to.size();
            if (item != nullptr && m_references < kMaxReferences)
                item->references.push_back(std::move(result));
        });
    }

    void ReadProperties(const IsoBox& box) {
        std::vector<IsoBox> properties;
        ForEach(box.Content(), box.End(), [&](const IsoBox& part) {
            if (part.type == "ipco")
                ForEach(part.Content(), part.End(),
                        [&](const IsoBox& property) { properties.push_back(property); });
        });
        ForEach(box.Content(), box.End(), [&](const IsoBox& part) {
            if (part.type == "ipma") ReadAssociations(part, properties);
        });
    }

    void ReadAssociations(const IsoBox& box, const std::vector<IsoBox>& properties) {
        BoxReader reader(m_bytes, box.Content(), box.End());
        const std::uint64_t head = reader.Take(4);
        const bool isWide = (head & 1) != 0;
        const std::uint64_t count = reader.Take(4);
        for (std::uint64_t i = 0; i < count && !reader.IsOver(); ++i) {
            IsoItem* item = Find(reader.Take((head >> 24) == 0 ? 2 : 4));
            const std::uint64_t links = reader.Take(1);
            for (std::uint64_t k = 0; k < links && !reader.IsOver(); ++k) {
                const std::uint64_t index = reader.Take(isWide ? 2 : 1) & (isWide ? 0x7FFF : 0x7F);
                if (item != nullptr && index >= 1 && index <= properties.size())
                    Apply(*item, properties[static_cast<std::size_t>(index - 1)]);
            }
        }
    }

    void Apply(IsoItem& item, const IsoBox& property) {
        const std::size_t at = property.Content();
        if (property.type == "ispe") {
            item.width = Big32(m_bytes, at + 4);
            item.height = Big32(m_bytes, at + 8);
        } else if (property.type == "irot") {
            item.quarterTurns = static_cast<int>(ByteAt(m_bytes, at) & 3);
        } else if (property.type == "auxC" && property.End() > at + 4) {
            item.auxiliary = FieldText(Slice(m_bytes, at + 4, property.End() - at - 4));
        }
    }

    ByteSpan m_bytes;
    IsoItems m_result;
    std::map<std::uint64_t, std::size_t> m_index;
    IsoBox m_data;
    std::size_t m_references = 0;
};

}  // namespace

std::optional<IsoBox> ReadIsoBox(ByteSpan bytes, std::size_t at, std::size_t end) {
    end = std::min(end, bytes.size());
    if (at >= end || end - at < 8) return std::nullopt;
    IsoBox box;
    box.offset = at;
    box.headerSize = 8;
    box.type = FourCharacterText(bytes, at + 4);
    std::uint64_t size = Big32(bytes, at);
    if (size == 1) {
        if (end - at < 16) return std::nullopt;
        size = Big64(bytes, at + 8);
        box.headerSize = 16;
    } else if (size == 0) {
        size = end - at;  // up to the end of the file
    }
    if (box.type == "uuid" && end - at >= box.headerSize + 16) {
        for (std::size_t i = 0; i < 16; ++i) box.userType += HexText(bytes[at + box.headerSize + i], 2);
        box.headerSize += 16;
    }
    if (size < box.headerSize) return std::nullopt;
    box.isCut = size > end - at;
    box.size = static_cast<std::size_t>(std::min<std::uint64_t>(size, end - at));
    return box;
}

const IsoItem* IsoItems::Find(std::uint32_t id) const {
    for (const IsoItem& item : items)
        if (item.id == id) return &item;
    return nullptr;
}

IsoItems ReadIsoItems(ByteSpan file) {
    return MetaReader(file).Run();
}
