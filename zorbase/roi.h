#pragma once

#include <string>

// A rectangle in image pixels: origin at the top left pixel, x to the right, y down. Width and height count pixels, so the
// last column is x + width - 1. A region without width or height is empty.
struct Roi {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    Roi() = default;
    Roi(int left, int top, int w, int h) : x(left), y(top), width(w), height(h) {}
    bool IsEmpty() const { return width <= 0 || height <= 0; }
    bool operator==(const Roi&) const = default;
};

// "x, y, width, height" in decimal.
std::string ToString(const Roi& roi);

// Reads what ToString writes (blanks are free). False, and roi unchanged, when the text is not four whole numbers or a side is
// negative.
bool FromString(const std::string& text, Roi& roi);
