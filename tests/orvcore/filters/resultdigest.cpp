#include "tests/orvcore/filters/resultdigest.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <cstdlib>
#include <regex>
#include <sstream>

#include "orvcore/filter/mapimage.h"
#include "zorbase/files.h"
#include "zorbase/json.h"
#include "zorbase/text.h"

namespace {

std::string Sum(const std::string& text) {
    std::array<char, 12> sum{};
    std::snprintf(sum.data(), sum.size(), "#%08lx",
                  crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())));
    return sum.data();
}

std::string Number(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), " %.7g", value);
    return text.data();
}

// Count of what is a number, mean, mean times column and row, root of the mean square.
template <typename Values>
std::string Moments(std::size_t columns, std::size_t rows, const Values& at) {
    double count = 0;
    double sum = 0;
    double across = 0;
    double down = 0;
    double squares = 0;
    for (std::size_t y = 0; y < rows; ++y)
        for (std::size_t x = 0; x < columns; ++x) {
            const double value = at(x, y);
            if (!std::isfinite(value)) continue;
            count += 1;
            sum += value;
            across += value * static_cast<double>(x);
            down += value * static_cast<double>(y);
            squares += value * value;
        }
    const double size = std::max(count, 1.0);
    return Number(count) + Number(sum / size) + Number(across / size) + Number(down / size) +
           Number(std::sqrt(squares / size));
}

std::string MatMoments(const cv::Mat& mat) {
    if (mat.empty()) return " -";
    cv::Mat values;
    mat.reshape(1).convertTo(values, CV_64F);
    return " " + std::to_string(mat.cols) + "x" + std::to_string(mat.rows) + "/" +
           std::to_string(mat.type()) +
           Moments(static_cast<std::size_t>(values.cols), static_cast<std::size_t>(values.rows),
                   [&values](std::size_t x, std::size_t y) {
                       return values.at<double>(static_cast<int>(y), static_cast<int>(x));
                   });
}

template <typename T>
std::string ListMoments(const std::vector<T>& list) {
    return Moments(list.size(), 1,
                   [&list](std::size_t x, std::size_t) { return static_cast<double>(list[x]); });
}

std::string MapDigest(const OrvMap& map) {
    std::string names = map.name + '|' + map.unit;
    for (const std::string& name : map.classNames) names += '|' + name;
    std::ostringstream place;
    place << map.block << map.origin << map.image << static_cast<int>(map.scale) << map.isAutomatic
          << static_cast<int>(map.thresholdSide);
    std::string line = " map " + Sum(names + place.str()) + MatMoments(map.values) + MatMoments(map.mask);
    for (const double value : {map.range.low, map.range.high, map.floor.low, map.floor.high, map.threshold})
        line += Number(value);
    std::vector<double> ends;
    for (const OrvMapLine& one : map.lines)
        ends.insert(ends.end(), {one.from.x, one.from.y, one.to.x, one.to.y});
    std::string regions;
    for (const OrvMapRegion& region : map.regions) regions += ToString(region.box) + region.text + ';';
    return line + ListMoments(ends) + " " + Sum(regions);
}

std::string PlotDigest(const OrvPlotData& plot) {
    std::string line =
        " plot " + Sum(plot.text + '|' + plot.xLabel + '|' + plot.yLabel + std::to_string(plot.layerCount)) +
        ListMoments(plot.x) + ListMoments(plot.counts) + MatMoments(plot.image.GetMat());
    for (const auto* lists : {&plot.curves, &plot.marks, &plot.helpLines})
        for (const std::vector<float>& list : *lists) line += ListMoments(list);
    return line;
}

bool IsWriting() {
    return std::getenv("ORVANE_KEEP_RESULTS") != nullptr;
}

std::string KeptPath() {
    return std::string(ORVANE_SOURCES) + "/tests/orvcore/filters/results.tsv";
}

}  // namespace

std::string WithoutPlaceAndDates(std::string text, const std::string& folder) {
    static const std::regex dates(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d( [+-]\d{4})?)");
    for (std::size_t at = text.find(folder); !folder.empty() && at != std::string::npos;
         at = text.find(folder))
        text.replace(at, folder.size(), "@");
    return std::regex_replace(text, dates, "(date)");
}

std::string DigestOf(const OrvFilterResult& result, const std::string& folder) {
    const auto plain = [&folder](const std::string& text) { return WithoutPlaceAndDates(text, folder); };
    std::string line;
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!result.slot[slot]) continue;
        const OrvSlotResult& found = *result.slot[slot];
        Json outputs = found.output.ToJson();
        // Not every file system knows all of them.
        for (const char* date : {"modified", "created", "accessed", "changed"}) outputs.erase(date);
        std::string words = found.verdictText;
        for (const std::string& finding : found.findings) words += '|' + finding;
        line += (line.empty() ? "" : " ") + std::string("slot") +
                std::to_string(static_cast<int>(found.verdict)) + Sum(plain(words)) + " out" +
                Sum(plain(JsonToText(outputs, 0)));
        if (found.inputImage.IsValid()) line += " in" + MatMoments(found.inputImage.GetMat());
        if (found.outputImage.IsValid()) line += " picture" + MatMoments(found.outputImage.GetMat());
        for (const OrvMap& map : result.GetMaps(slot)) line += MapDigest(map);
        if (!found.plot.IsEmpty()) line += PlotDigest(found.plot);
        for (const OrvPlotData& plot : found.morePlots) line += PlotDigest(plot);
        for (const Image& small : found.thumbnails) line += " small" + MatMoments(small.GetMat());
    }
    return line;
}

std::string DifferenceOf(const std::string& kept, const std::string& found) {
    std::istringstream before(kept);
    std::istringstream now(found);
    std::string a;
    std::string b;
    std::string section;
    for (int word = 1;; ++word) {
        const bool hasA = static_cast<bool>(before >> a);
        const bool hasB = static_cast<bool>(now >> b);
        if (!hasA && !hasB) return {};
        if (hasA != hasB) return "one says more than the other, from word " + std::to_string(word) + " on";
        if (std::isalpha(static_cast<unsigned char>(a[0])) != 0) section = a.substr(0, a.find('#'));
        if (a == b) continue;
        char* endA = nullptr;
        char* endB = nullptr;
        const double x = std::strtod(a.c_str(), &endA);
        const double y = std::strtod(b.c_str(), &endB);
        const bool areNumbers = *endA == 0 && *endB == 0;
        if (areNumbers && std::abs(x - y) <= 1e-4 * std::max(std::abs(x), std::abs(y)) + 1e-9) continue;
        return section + ", word " + std::to_string(word) + ": " + a + " was kept, " + b + " was found";
    }
}

KeptResults::KeptResults(const std::string& beginning) {
    std::istringstream lines(ReadFile(KeptPath()));
    for (std::string line; std::getline(lines, line);)
        if (const std::size_t tab = line.find('\t');
            tab != std::string::npos && !(IsWriting() && line.starts_with(beginning)))
            m_kept[line.substr(0, tab)] = line.substr(tab + 1);
}

KeptResults::~KeptResults() {
    if (!IsWriting()) return;
    std::string text;
    for (const auto& [name, digest] : m_kept) text += name + '\t' + digest + '\n';
    WriteFile(KeptPath(), text);
}

void KeptResults::Check(const std::string& name, const std::string& digest) {
    if (IsWriting()) {
        m_kept[name] = digest;
        return;
    }
    const auto kept = m_kept.find(name);
    ASSERT_NE(kept, m_kept.end()) << name << " has no result that was kept";
    EXPECT_EQ(DifferenceOf(kept->second, digest), "") << name;
}

bool KeptResults::Knows(const std::string& name) const {
    return IsWriting() || m_kept.contains(name);
}
