#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

// The interval of Wilson, 95 %, in percent.
inline std::string RateText(int hits, int all) {
    if (all == 0) return "-";
    constexpr double z = 1.96;
    const double n = all;
    const double p = hits / n;
    const double middle = (p + z * z / (2 * n)) / (1 + z * z / n);
    const double half = z * std::sqrt(p * (1 - p) / n + z * z / (4 * n * n)) / (1 + z * z / n);
    char text[64];
    std::snprintf(text, sizeof text, "%5.1f (%.1f-%.1f)", 100 * p, 100 * std::max(middle - half, 0.0),
                  100 * std::min(middle + half, 1.0));
    return text;
}
