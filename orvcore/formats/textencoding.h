#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Character sets in which metadata texts are written that neither are UTF-8 nor say what they are.
enum class TextEncoding {
    Western,
    CentralEuropean,
    Cyrillic,
    Greek,
    Turkish,
    Japanese,
    SimplifiedChinese,
    TraditionalChinese,
    Korean,
    JisComment  // what an EXIF comment with the character code "JIS" holds; not offered as a choice
};

// "Western (ISO 8859-1)".
std::string TextEncodingName(TextEncoding encoding);
// Those that a user may choose from, in the order of the enumeration.
std::vector<std::string> TextEncodingNames();

// The bytes as UTF-8. A character that is cut off at the end is left out, one that is no valid one becomes U+FFFD. Nothing where
// the system lacks the conversion. Any thread.
std::optional<std::string> DecodeText(std::string_view bytes, TextEncoding encoding);
