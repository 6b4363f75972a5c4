#include "orvcore/analysis/fingerprintfile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

#include "zorbase/files.h"
#include "zorbase/folders.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"
#include "zorbase/zorexception.h"

namespace {

static_assert(std::endian::native == std::endian::little, "values are written as they stand in memory");

constexpr std::string_view kMagic = "ORVFPRT1";
constexpr std::size_t kHashLength = 64;  // hex digits
constexpr std::size_t kLargestDescription = 1U << 16;
constexpr std::int64_t kLargestSide = 100'000;
constexpr std::int64_t kMostPixels = 500'000'000;

[[noreturn]] void Refuse(const std::string& name, const std::string& reason) {
    ZOR_THROW(Format, "\"" + name + "\" cannot be used as a camera fingerprint: " + reason);
}

std::string_view View(const cv::Mat& pattern, int row) {
    return {reinterpret_cast<const char*>(pattern.ptr(row)),
            static_cast<std::size_t>(pattern.cols) * sizeof(float)};
}

std::span<const std::uint8_t> AsBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string TextOf(const Json& json, const char* key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::int64_t NumberOf(const Json& json, const char* key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_number_integer() ? found->get<std::int64_t>() : -1;
}

}  // namespace

void WriteFingerprint(const FingerprintRecord& record, const std::string& path) {
    const CameraFingerprint& fingerprint = record.fingerprint;
    Json json = {{"name", record.name},
                 {"make", record.make},
                 {"model", record.model},
                 {"serialNumber", record.serialNumber},
                 {"madeWith", record.madeWith},
                 {"pictures", fingerprint.pictures},
                 {"width", fingerprint.pattern.cols},
                 {"height", fingerprint.pattern.rows}};
    if (std::isfinite(fingerprint.agreement)) json["agreement"] = fingerprint.agreement;
    const std::string description = JsonToText(json, 0);
    if (description.size() > kLargestDescription)
        ZOR_THROW(Argument, "The fingerprint's description is too long.");
    const auto length = static_cast<std::uint32_t>(description.size());
    std::array<char, 4> lengthBytes{};
    std::memcpy(lengthBytes.data(), &length, 4);
    FileWriter writer(path);
    Sha256Stream hash;
    const auto add = [&](std::string_view piece) {
        hash.Add(AsBytes(piece));
        writer.Add(piece);
    };
    add(kMagic);
    add({lengthBytes.data(), lengthBytes.size()});
    add(description);
    for (int y = 0; y < fingerprint.pattern.rows; ++y) add(View(fingerprint.pattern, y));
    writer.Add(hash.Finish());
    writer.Finish();
}

FingerprintRecord ParseFingerprint(std::span<const std::uint8_t> bytes, const std::string& name) {
    const std::size_t head = kMagic.size() + 4;
    if (bytes.size() < head + kHashLength || std::memcmp(bytes.data(), kMagic.data(), kMagic.size()) != 0)
        Refuse(name, "it is no fingerprint file.");
    std::uint32_t length = 0;
    std::memcpy(&length, bytes.data() + kMagic.size(), 4);
    if (length > kLargestDescription || length > bytes.size() - head - kHashLength)
        Refuse(name, "it is cut short.");
    Json json;
    try {
        json = JsonFromText(std::string(reinterpret_cast<const char*>(bytes.data()) + head, length));
    } catch (const ZorException&) {
        Refuse(name, "its description cannot be read.");
    }
    if (!json.is_object()) Refuse(name, "its description cannot be read.");
    const std::int64_t width = NumberOf(json, "width");
    const std::int64_t height = NumberOf(json, "height");
    if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide ||
        width * height > kMostPixels)
        Refuse(name, "its size is impossible.");
    const std::size_t content = bytes.size() - head - length - kHashLength;
    const std::size_t expected = static_cast<std::size_t>(width * height) * sizeof(float);
    if (content != expected)
        Refuse(name, content < expected ? "it is cut short." : "it is longer than it says.");
    FingerprintRecord record;
    record.hash.assign(reinterpret_cast<const char*>(bytes.data() + bytes.size() - kHashLength), kHashLength);
    if (Sha256(bytes.first(bytes.size() - kHashLength)) != record.hash)
        Refuse(name, "it was changed or damaged (hash).");
    record.name = TextOf(json, "name");
    record.make = TextOf(json, "make");
    record.model = TextOf(json, "model");
    record.serialNumber = TextOf(json, "serialNumber");
    record.madeWith = TextOf(json, "madeWith");
    record.fingerprint.pictures =
        static_cast<int>(std::clamp<std::int64_t>(NumberOf(json, "pictures"), 0, 1'000'000));
    const auto agreement = json.find("agreement");
    record.fingerprint.agreement = agreement != json.end() && agreement->is_number()
                                       ? agreement->get<double>()
                                       : std::numeric_limits<double>::quiet_NaN();
    cv::Mat& pattern = record.fingerprint.pattern;
    pattern.create(static_cast<int>(height), static_cast<int>(width), CV_32F);
    std::memcpy(pattern.data, bytes.data() + head + length, expected);
    // A sum of squares is finite only where every value is: squares of the largest usable values stay far below what a double holds.
    double energy = 0.0;
    for (int y = 0; y < pattern.rows; ++y) {
        const float* row = pattern.ptr<float>(y);
        double sum = 0.0;
        for (int x = 0; x < pattern.cols; ++x) sum += static_cast<double>(row[x]) * row[x];
        energy += sum;
    }
    if (!std::isfinite(energy) || energy > 1e12)
        Refuse(name, "it holds values that are not finite or far too large.");
    if (!(energy > 0.0)) Refuse(name, "its pattern has no energy.");
    return record;
}

FingerprintRecord ReadFingerprint(const std::string& path) {
    return ParseFingerprint(ReadFileBytes(path), path);
}

std::vector<std::string> ListFingerprints(const std::string& folder) {
    std::vector<std::string> paths = ListFiles(folder);
    std::erase_if(paths,
                  [](const std::string& path) { return PathExtension(path) != kFingerprintExtension; });
    return paths;
}
