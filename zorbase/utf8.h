#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8, one character at a time, and the lossless form of paths. The rules of text.h stand on these.

struct Utf8Step {
    char32_t codePoint = 0;  // only when valid
    std::size_t length =
        1;  // bytes to go on by, at least 1; for invalid bytes the longest piece that starts a character
    bool valid = false;
};

// The character at pos (pos < text.size()). Overlong forms, surrogates and values above U+10FFFF are invalid.
Utf8Step NextUtf8(std::string_view text, std::size_t pos);

// Appends one code point of at most U+10FFFF; surrogates are written as the three bytes they would take.
void AppendUtf8(std::string& text, char32_t codePoint);

// The invisible characters that change the writing direction of what follows, by which a name can be made to look like another.
bool IsDirectionMark(char32_t codePoint);

// A path as valid UTF-8 and back without loss: every byte that is no UTF-8 becomes the private-use character
// U+100000 + byte, and so does every byte of a character that is itself one of U+100000..U+1000FF. The
// toolkit's own conversion of file names uses the same characters.
std::string PathToUtf8(std::string_view path);
std::string PathFromUtf8(std::string_view text);

// Appends to a path what one character of that form stands for.
void AppendPathCharacter(std::string& path, char32_t codePoint);
