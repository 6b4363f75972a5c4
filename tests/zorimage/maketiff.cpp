#include "tests/zorimage/maketiff.h"

#include <algorithm>

namespace samples {

namespace {

// Numbers in the file's order.
class Writer {
  public:
    explicit Writer(bool isBig) : m_isBig(isBig) {}
    Bytes bytes;
    void Put(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i)
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * (m_isBig ? size - 1 - i : i))));
    }

  private:
    bool m_isBig;
};

// A row of samples, byte by byte from the highest bit on; whole numbers of 16, 24 and 32 bits in the file's order.
class RowPacker {
  public:
    RowPacker(Writer& writer, int bits) : m_writer(writer), m_bits(bits) {}
    ~RowPacker() {
        if (m_count > 0) m_writer.Put(m_pending << (8 - m_count), 1);
    }
    void Put(std::uint32_t value) {
        if (m_bits == 16 || m_bits == 24 || m_bits == 32) return m_writer.Put(value, m_bits / 8);
        for (int i = m_bits - 1; i >= 0; --i) {
            m_pending = m_pending << 1 | (value >> i & 1U);
            if (++m_count < 8) continue;
            m_writer.Put(m_pending & 255U, 1);
            m_count = 0;
            m_pending = 0;
        }
    }

  private:
    Writer& m_writer;
    int m_bits;
    std::uint32_t m_pending = 0;
    int m_count = 0;
};

}  // namespace

int LevelOf(int x, int y, int sample) {
    return 40 * sample + 7 * x + y;
}

Bytes MakeTiff(const TiffLayout& layout) {
    Writer writer(layout.isBigEndian);
    writer.bytes =
        layout.isBigEndian ? Bytes{'M', 'M', 0, 42, 0, 0, 0, 0} : Bytes{'I', 'I', 42, 0, 0, 0, 0, 0};
    std::vector<std::uint32_t> offsets;
    std::vector<std::uint32_t> counts;
    const auto value = [&layout](int x, int y, int sample) {
        if (layout.value) return layout.value(x, y, sample);
        return static_cast<std::uint32_t>(LevelOf(x, y, sample)) * (layout.bits == 16 ? 257U : 1U);
    };
    const bool isTiled = layout.tileWidth > 0;
    const int planes = layout.isPlanar ? layout.samples : 1;
    const int together = layout.isPlanar ? 1 : layout.samples;
    const int partRows = isTiled ? layout.tileHeight : layout.stripRows;
    const int partColumns = isTiled ? layout.tileWidth : layout.width;
    for (int plane = 0; plane < planes; ++plane)
        for (int top = 0; top < layout.height; top += partRows)
            for (int left = 0; left < layout.width; left += partColumns) {
                offsets.push_back(static_cast<std::uint32_t>(writer.bytes.size()));
                const int end = layout.isEmpty ? top
                                : isTiled      ? top + partRows
                                               : std::min(top + partRows, layout.height);
                for (int y = top; y < end; ++y) {
                    RowPacker row(writer, layout.bits);
                    for (int x = left; x < left + partColumns; ++x)
                        for (int i = 0; i < together; ++i) row.Put(value(x, y, plane + i));
                }
                counts.push_back(static_cast<std::uint32_t>(writer.bytes.size()) - offsets.back());
            }
    if (writer.bytes.size() % 2 != 0) writer.bytes.push_back(0);
    using Values = std::vector<std::uint32_t>;
    const auto one = [](int number) { return Values{static_cast<std::uint32_t>(number)}; };
    struct Entry {
        std::uint32_t tag;
        Values values;
    };
    std::vector<Entry> entries = {
        {256, one(layout.width)},
        {257, one(layout.height)},
        {258, Values(static_cast<std::size_t>(layout.samples), static_cast<std::uint32_t>(layout.bits))},
        {259, one(layout.compression)},
        {262, one(layout.photometric)}};
    if (!isTiled) entries.push_back({273, offsets});
    entries.push_back({277, one(layout.samples)});
    if (!isTiled) {
        entries.push_back({278, one(layout.stripRows)});
        entries.push_back({279, counts});
    }
    entries.push_back({284, one(layout.isPlanar ? 2 : 1)});
    if (!layout.palette.empty()) entries.push_back({320, layout.palette});
    if (isTiled) {
        entries.push_back({322, one(layout.tileWidth)});
        entries.push_back({323, one(layout.tileHeight)});
        entries.push_back({324, offsets});
        entries.push_back({325, counts});
    }
    if (!layout.extra.empty()) entries.push_back({338, Values(layout.extra.begin(), layout.extra.end())});
    if (layout.format > 0)
        entries.push_back({339, Values(static_cast<std::size_t>(layout.samples),
                                       static_cast<std::uint32_t>(layout.format))});
    if (!layout.subsampling.empty()) entries.push_back({530, layout.subsampling});
    Writer directory(layout.isBigEndian);
    directory.Put(static_cast<std::uint32_t>(entries.size()), 2);
    for (const Entry& entry : entries) {
        // Short numbers where the standard wants them; a list that does not fit into its entry stands before the directory.
        const bool isShort = entry.tag != 273 && entry.tag != 279 && entry.tag != 324 && entry.tag != 325;
        const int size = isShort ? 2 : 4;
        directory.Put(entry.tag, 2);
        directory.Put(isShort ? 3 : 4, 2);
        directory.Put(static_cast<std::uint32_t>(entry.values.size()), 4);
        if (entry.values.size() * static_cast<std::size_t>(size) <= 4) {
            for (const std::uint32_t number : entry.values) directory.Put(number, size);
            for (std::size_t i = entry.values.size() * static_cast<std::size_t>(size); i < 4; ++i)
                directory.Put(0, 1);
            continue;
        }
        directory.Put(static_cast<std::uint32_t>(writer.bytes.size()), 4);
        for (const std::uint32_t number : entry.values) writer.Put(number, size);
        if (writer.bytes.size() % 2 != 0) writer.Put(0, 1);
    }
    directory.Put(0, 4);
    Writer start(layout.isBigEndian);
    start.Put(static_cast<std::uint32_t>(writer.bytes.size()), 4);
    std::copy(start.bytes.begin(), start.bytes.end(), writer.bytes.begin() + 4);
    writer.bytes.insert(writer.bytes.end(), directory.bytes.begin(), directory.bytes.end());
    return writer.bytes;
}

}  // namespace samples
