#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvcore/formats/structure/filestructure.h"
#include "zorbase/bytes.h"

// Collects the rows of a file while its parsers walk through it, and keeps what every structure promises:
// rows inside the file, a depth with an end, a number with an end. One thread, one file.
class StructureWriter {
  public:
    using Kind = StructureRow::Kind;
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    StructureWriter(ByteSpan file, const std::function<void(double)>& progress)
        : m_file(file), m_progress(progress) {}

    ByteSpan File() const { return m_file; }
    // The bytes from begin up to end, as far as they exist.
    ByteSpan Part(std::size_t begin, std::size_t end) const {
        return end > begin ? Slice(m_file, begin, end - begin) : ByteSpan();
    }

    // Adds a row at the present depth; what lies outside the file is cut off. The answer names it for Warn
    // and SetText until the next call of Finish; kNone when there are too many rows.
    std::size_t Add(std::size_t offset, std::size_t length, std::string name, std::string text = {},
                    Kind kind = Kind::Part);
    void Warn(std::size_t row, const std::string& sentence);
    void WarnWhole(const std::string& sentence);
    void SetText(std::size_t row, std::string text);
    // For a row whose end is known only after its own parts have been written.
    void SetLength(std::size_t row, std::size_t length);

    bool CanNest() const { return m_depth + 1 < kMaxStructureDepth; }
    // Rows added while one of these lives are one level deeper.
    class Nest {
      public:
        explicit Nest(StructureWriter& writer) : m_writer(writer) { ++m_writer.m_depth; }
        ~Nest() { --m_writer.m_depth; }
        Nest(const Nest&) = delete;
        Nest& operator=(const Nest&) = delete;

      private:
        StructureWriter& m_writer;
    };

    // Tells how far the work is and lets the caller stop it by throwing.
    void Tick(std::size_t offset) const;

    FileStructure Finish(FileFormat format, bool isRead);

  private:
    friend class Nest;
    ByteSpan m_file;
    const std::function<void(double)>& m_progress;
    FileStructure m_result;
    int m_depth = 0;
    bool m_dropped = false;
    bool m_droppedOutermost = false;
    std::size_t m_outermostEnd = 0;
};

// The parts of one level in the order of their offsets: whatever lies between them becomes a gap row, so the
// level has no holes.
class StructureLevel {
  public:
    StructureLevel(StructureWriter& writer, std::size_t begin, std::size_t end)
        : m_writer(writer), m_position(begin), m_end(end) {}

    std::size_t Position() const { return m_position; }
    std::size_t End() const { return m_end; }
    std::size_t Left() const { return m_end - m_position; }

    // The next `length` bytes, fewer where the level ends.
    std::size_t Add(std::size_t length, std::string name, std::string text = {},
                    StructureRow::Kind kind = StructureRow::Kind::Part);
    // Everything up to `offset` that has not been added yet, as a gap.
    void FillTo(std::size_t offset, const std::string& name = "gap", const std::string& text = {},
                StructureRow::Kind kind = StructureRow::Kind::Gap);
    // Everything that is left, as trailing data; answers its row or kNone.
    std::size_t Trail(const std::string& text = {});

  private:
    StructureWriter& m_writer;
    std::size_t m_position;
    std::size_t m_end;
};

// Words that many parsers need.
std::string CountText(std::size_t count, const char* one,
                      const char* many);                        // "1 byte", "1,234 bytes" without comma
std::string HexText(std::uint64_t value, int digits);           // "00FF"
std::string FourCharacterText(ByteSpan bytes, std::size_t at);  // "ftyp"; unprintable ones as \xNN
// "zero bytes", "FF bytes", "looks like JPEG"...: what bytes outside every part seem to be; "" when nothing is known.
std::string GuessText(ByteSpan bytes);
// Printable part of a text field up to its first zero byte, valid UTF-8, shortened.
std::string FieldText(ByteSpan bytes, std::size_t maximum = 80);
