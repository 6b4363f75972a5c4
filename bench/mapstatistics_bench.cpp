// What a selection costs over a map, and drawing one: statistics inside and outside of maps of 4 and 24 million values, of every kind
// of value that is common. Needs no display.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <tuple>
#include <vector>

#include "orvcore/filter/mapimage.h"
#include "orvcore/filter/mapstatistics.h"

namespace {

double MedianMilliseconds(const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < 9; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

OrvMap MakeMap(int type, cv::Size size) {
    OrvMap map;
    map.name = "Noise";
    map.values.create(size, type);
    cv::randn(map.values, 20, 8);
    map.image = size;
    map.range = map.floor = {0, 40};
    map.threshold = 30;
    map.thresholdSide = OrvMapSide::Above;
    return map;
}

}  // namespace

int main() {
    const struct {
        const char* name;
        int type;
    } types[] = {
        {"8 bits", CV_8U}, {"16 bits", CV_16S}, {"floating point", CV_32F}, {"three channels", CV_8UC3}};
    bool isGood = true;
    for (const auto& [megapixels, size, limit] :
         {std::tuple{4, cv::Size(2400, 1667), 20.0}, std::tuple{24, cv::Size(6000, 4000), 100.0}}) {
        for (const auto& type : types) {
            const OrvMap map = MakeMap(type.type, size);
            const Roi region(size.width / 4, size.height / 4, size.width / 2, size.height / 3);
            const double statistics = MedianMilliseconds([&] { MeasureMap(map, region); });
            const double drawing = MedianMilliseconds([&] { DrawMap(map); });
            const double samples = megapixels * map.values.channels();
            // The limits are for so many values; three channels hold three times as many.
            const double allowed = limit * samples / megapixels;
            std::printf("%2d MP, %-15s statistics %6.1f ms (at most %.0f)  drawn %6.1f ms%s\n", megapixels,
                        type.name, statistics, allowed, drawing, statistics <= allowed ? "" : "  TOO SLOW");
            isGood = isGood && statistics <= allowed;
        }
    }
    return isGood ? 0 : 1;
}
