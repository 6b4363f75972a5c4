#include "orvcore/formats/structure/structurewriter.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "zorbase/text.h"

namespace {

constexpr std::size_t kMaxWarnings = 200;
constexpr std::size_t kMaxWarningBytes = 1000;  // of one row

}  // namespace

std::size_t StructureWriter::Add(std::size_t offset, std::size_t length, std::string name, std::string text,
                                 Kind kind) {
    if (m_depth == 0 && m_droppedOutermost) return kNone;
    if (m_result.rows.size() >= kMaxStructureRows) {
        m_dropped = true;
        if (m_depth == 0) m_droppedOutermost = true;
        return kNone;
    }
    StructureRow row;
    row.offset = std::min(offset, m_file.size());
    row.length = std::min(length, m_file.size() - row.offset);
    row.depth = m_depth;
    row.kind = kind;
    row.name = std::move(name);
    row.text = std::move(text);
    if (m_depth == 0) m_outermostEnd = row.offset + row.length;
    m_result.rows.push_back(std::move(row));
    Tick(offset);
    return m_result.rows.size() - 1;
}

void StructureWriter::Warn(std::size_t row, const std::string& sentence) {
    if (row >= m_result.rows.size()) return WarnWhole(sentence);
    StructureRow& target = m_result.rows[row];
    if (target.warning.size() < kMaxWarningBytes)
        target.warning += (target.warning.empty() ? "" : " ") + sentence;
}

void StructureWriter::WarnWhole(const std::string& sentence) {
    if (m_result.warnings.size() < kMaxWarnings) m_result.warnings.push_back(sentence);
}

void StructureWriter::SetText(std::size_t row, std::string text) {
    if (row < m_result.rows.size()) m_result.rows[row].text = std::move(text);
}

void StructureWriter::SetLength(std::size_t row, std::size_t length) {
    if (row >= m_result.rows.size()) return;
    StructureRow& target = m_result.rows[row];
    target.length = std::min(length, m_file.size() - target.offset);
    if (target.depth == 0) m_outermostEnd = target.offset + target.length;
}

void StructureWriter::Tick(std::size_t offset) const {
    if (m_progress && !m_file.empty())
        m_progress(std::min(1.0, static_cast<double>(offset) / static_cast<double>(m_file.size())));
}

FileStructure StructureWriter::Finish(FileFormat format, bool isRead) {
    m_depth = 0;
    m_result.format = format;
    m_result.isRead = isRead;
    if (m_dropped)
        WarnWhole("The file has more than " + std::to_string(kMaxStructureRows) +
                  " parts; the rest is not listed.");
    if (m_outermostEnd < m_file.size()) {
        StructureRow rest;
        rest.offset = m_outermostEnd;
        rest.length = m_file.size() - m_outermostEnd;
        rest.kind = Kind::NotListed;
        rest.name = "not listed";
        m_result.rows.push_back(std::move(rest));
    }
    for (const StructureRow& row : m_result.rows) {
        if (row.depth == 0 && row.kind == Kind::Gap) m_result.gapBytes += row.length;
        if (row.depth == 0 && row.kind == Kind::Trailing) m_result.trailingBytes += row.length;
        if (!row.warning.empty())
            WarnWhole(row.name + " at offset " + std::to_string(row.offset) + ": " + row.warning);
    }
    return std::move(m_result);
}

std::size_t StructureLevel::Add(std::size_t length, std::string name, std::string text,
                                StructureRow::Kind kind) {
    const std::size_t size = std::min(length, Left());
    const std::size_t row = m_writer.Add(m_position, size, std::move(name), std::move(text), kind);
    m_position += size;
    return row;
}

void StructureLevel::FillTo(std::size_t offset, const std::string& name, const std::string& text,
                            StructureRow::Kind kind) {
    const std::size_t end = std::min(offset, m_end);
    if (end <= m_position) return;
    const ByteSpan bytes = m_writer.Part(m_position, end);
    m_writer.Add(m_position, end - m_position, name, text.empty() ? GuessText(bytes) : text, kind);
    m_position = end;
}

std::size_t StructureLevel::Trail(const std::string& text) {
    if (m_position >= m_end) return StructureWriter::kNone;
    const ByteSpan bytes = m_writer.Part(m_position, m_end);
    const std::size_t row =
        m_writer.Add(m_position, m_end - m_position, "trailing data", text.empty() ? GuessText(bytes) : text,
                     StructureRow::Kind::Trailing);
    m_position = m_end;
    return row;
}

std::string CountText(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string HexText(std::uint64_t value, int digits) {
    char text[24];
    std::snprintf(text, sizeof text, "%0*llX", digits, static_cast<unsigned long long>(value));
    return text;
}

std::string FourCharacterText(ByteSpan bytes, std::size_t at) {
    std::string text;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::uint32_t byte = ByteAt(bytes, at + i);
        if (byte >= 0x20 && byte < 0x7F)
            text += static_cast<char>(byte);
        else
            text += "\\x" + HexText(byte, 2);
    }
    return text;
}

std::string GuessText(ByteSpan bytes) {
    if (bytes.empty()) return {};
    if (std::all_of(bytes.begin(), bytes.end(), [&](std::uint8_t b) { return b == bytes[0]; })) {
        if (bytes[0] == 0) return "zero bytes";
        if (bytes[0] == 0xFF) return "FF bytes";
        return "bytes of value " + HexText(bytes[0], 2);
    }
    const FileFormat format = DetectFormat(bytes);
    if (format != FileFormat::Unknown && format != FileFormat::Empty)
        return "looks like " + FormatName(format);
    return {};
}

std::string FieldText(ByteSpan bytes, std::size_t maximum) {
    const auto zero = std::find(bytes.begin(), bytes.end(), 0);
    const std::string_view whole(reinterpret_cast<const char*>(bytes.data()),
                                 static_cast<std::size_t>(zero - bytes.begin()));
    std::string text = ToValidUtf8(whole.substr(0, maximum * 4));
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::replace(text.begin(), text.end(), '\t', ' ');
    std::string shown = ShortenText(text, maximum);
    if (shown.size() < text.size() || whole.size() > maximum * 4) shown += "…";
    return Trim(shown);
}
