#include "orvgui/tables/listctrlwidths.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kIgnoredWidth = 3;
constexpr int kRoom = 20;
constexpr int kScreenful = 40;
constexpr int kLargestScreenful = 120;

}  // namespace

RowRange RowsToMeasure(int rows, int firstVisible, int visible) {
    if (rows <= kExactWidthRows) return {0, rows};
    const int count = std::clamp(visible, kScreenful, kLargestScreenful);
    return {std::clamp(firstVisible, 0, rows - count), count};
}

int ColumnWidth(const std::vector<int>& bestWidths, int defaultWidth, int minimalWidth) {
    std::int64_t sum = 0;
    std::int64_t count = 0;
    for (const int width : bestWidths) {
        if (width <= kIgnoredWidth) continue;
        sum += width;
        ++count;
    }
    const int average = static_cast<int>(sum / std::max<std::int64_t>(count, 1));
    return std::max(minimalWidth, average == 0 ? defaultWidth : average) + kRoom;
}

int ToggledWidth(int width) {
    if (width <= 0) return width;
    return width % 2 != 0 ? width + 1 : width - 1;
}
