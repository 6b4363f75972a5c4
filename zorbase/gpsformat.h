#pragma once

#include <string>

// Reads one part (latitude or longitude) of a position as metadata writes it. Any thread; no state.
class GPSFormat {
  public:
    // Degrees; south and west are negative. One to three numbers (degrees, minutes, seconds), each decimal or
    // a fraction
    // ("48/1 51/1 2991/100"), with or without unit signs, with a sign in front or one of N S E W at either
    // end. NaN when the text is anything else, names a division by zero, has 60 or more minutes or seconds,
    // or lies beyond 180 degrees (90 for N and S).
    static double ConvertToDeg(const std::string& text);
};
