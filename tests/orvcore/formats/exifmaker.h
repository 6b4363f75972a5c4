#pragma once

#include <string>

#include "tests/orvcore/formats/formatsupport.h"

namespace formatsupport {

// An EXIF block with one directory for the camera and one for the picture, in the given byte order.
class ExifMaker {
  public:
    explicit ExifMaker(bool isLittle) : m_isLittle(isLittle) {}

    Bytes Segment(const std::string& make, const std::string& model, const std::string& software,
                  const std::string& changed, const std::string& taken, int width, int height) {
        m_block = ToBytes(m_isLittle ? "II" : "MM");
        Add(42, 2);
        Add(8, 4);
        // Texts stand behind both directories.
        std::size_t textAt = 8 + (2 + 12 * 5 + 4) + (2 + 12 * 3 + 4);
        Add(5, 2);
        for (const auto& [tag, text] :
             {std::pair{0x10F, &make}, {0x110, &model}, {0x131, &software}, {0x132, &changed}})
            AddText(tag, *text, textAt);
        AddField(0x8769, 4, 1, 8 + 2 + 12 * 5 + 4);
        Add(0, 4);
        Add(3, 2);
        AddText(0x9003, taken, textAt);
        AddField(0xA002, 4, 1, static_cast<std::size_t>(width));
        AddField(0xA003, 4, 1, static_cast<std::size_t>(height));
        Add(0, 4);
        return ToBytes(std::string("Exif\0\0", 6)) + (m_block + ToBytes(m_texts));
    }

  private:
    void Add(std::size_t value, int bytes) {
        if (m_isLittle)
            AppendLittle(m_block, value, bytes);
        else
            AppendBig(m_block, value, bytes);
    }
    void AddField(int tag, int type, std::size_t count, std::size_t value) {
        Add(static_cast<std::size_t>(tag), 2);
        Add(static_cast<std::size_t>(type), 2);
        Add(count, 4);
        Add(value, 4);
    }
    void AddText(int tag, const std::string& text, std::size_t& textAt) {
        const std::string stored = text + std::string(5, '\0');
        AddField(tag, 2, stored.size(), textAt);
        textAt += stored.size();
        m_texts += stored;
    }

    bool m_isLittle;
    Bytes m_block;
    std::string m_texts;
};

}  // namespace formatsupport
