#include "zorimage/jpegheader.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "zorimage/codec.h"
#include "zorimage/jpegnames.h"

using codec::JpegHeader;

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kIccLabel = "ICC_PROFILE\0"sv;

bool IsFrameMarker(int marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

void ReadFrame(ByteSpan body, int marker, JpegHeader& header) {
    if (body.size() < 6) return;
    header.frameMarker = marker;
    header.precision = body[0];
    header.height = static_cast<int>(Big16(body, 1));
    header.width = static_cast<int>(Big16(body, 3));
    header.components.clear();
    const std::size_t count = std::min<std::size_t>(body[5], (body.size() - 6) / 3);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* p = &body[6 + i * 3];
        header.components.push_back({p[0], p[1] >> 4, p[1] & 15});
    }
}

// How many pictures the index of an APP2 "MPF" segment counts, 0 when it does not fit.
int CountIndexed(ByteSpan body) {
    const ByteSpan tiff = body.subspan(std::min<std::size_t>(body.size(), 4));
    const ByteOrder order = TiffByteOrder(tiff);
    const auto get16 = [&](std::size_t at) { return NumberAt(tiff, at, 2, order); };
    const auto get32 = [&](std::size_t at) { return static_cast<std::size_t>(NumberAt(tiff, at, 4, order)); };
    const std::size_t directory = get32(4);
    for (std::size_t i = 0; i < std::min<std::size_t>(get16(directory), 64); ++i) {
        const std::size_t entry = directory + 2 + 12 * i;
        if (get16(entry) != 0xb002) continue;
        const std::size_t bytes = get32(entry + 4);
        const std::size_t table = get32(entry + 8);
        return table > tiff.size()
                   ? 0
                   : static_cast<int>(std::min({bytes, tiff.size() - table, std::size_t{4096}}) / 16);
    }
    return 0;
}

void ReadSegment(ByteSpan body, int marker, JpegHeader& header) {
    if (IsFrameMarker(marker) && header.frameMarker == 0) ReadFrame(body, marker, header);
    if (marker == 0xe0 && codec::HasText(body, 0, "JFIF\0"sv)) header.hasJfif = true;
    if (marker == 0xee && body.size() >= 12 && codec::HasText(body, 0, "Adobe"sv))
        header.adobeTransform = body[11];
    if (marker == 0xe2 && body.size() > 14 && codec::HasText(body, 0, kIccLabel))
        header.iccChunks.push_back(body);
    if (marker == 0xe2 && codec::HasText(body, 0, "MPF\0"sv) && header.indexedPictures == 0)
        header.indexedPictures = CountIndexed(body);
}

std::string Subsampling(const JpegHeader& header) {
    std::vector<JpegSampling> factors;
    for (const auto& component : header.components)
        factors.push_back({component.horizontal, component.vertical});
    return JpegSamplingName(factors);
}

std::string ColourModel(const JpegHeader& header) {
    const int count = static_cast<int>(header.components.size());
    switch (codec::JpegColourOf(header)) {
        case codec::JpegColour::Grey:
            return "Grey";
        case codec::JpegColour::YCbCr:
            return "YCbCr " + Subsampling(header);
        case codec::JpegColour::Rgb:
            return "RGB";
        case codec::JpegColour::Cmyk:
            return header.adobeTransform >= 0 ? "CMYK (Adobe, inverted)" : "CMYK";
        case codec::JpegColour::Ycck:
            return "YCCK " + Subsampling(header) + " (Adobe, inverted)";
        default:
            return count == 0 ? std::string() : std::to_string(count) + " components";
    }
}

// The profile's chunks put together in the order of their numbers; empty and a warning when one is missing or
// doubled.
std::vector<std::uint8_t> JoinProfile(const std::vector<ByteSpan>& chunks,
                                      std::vector<std::string>& warnings) {
    std::vector<std::uint8_t> profile;
    const std::size_t total = chunks.empty() ? 0 : chunks[0][kIccLabel.size() + 1];
    std::vector<ByteSpan> ordered(total);
    bool isWhole = total == chunks.size();
    for (const ByteSpan chunk : chunks) {
        const std::size_t number = chunk[kIccLabel.size()];
        const bool fits = number >= 1 && number <= total && chunk[kIccLabel.size() + 1] == total &&
                          ordered[number - 1].empty();
        isWhole = isWhole && fits;
        if (fits) ordered[number - 1] = chunk.subspan(kIccLabel.size() + 2);
    }
    if (!isWhole) {
        warnings.emplace_back("The colour profile is not whole: its " + std::to_string(chunks.size()) +
                              " segments do not fit together.");
        return profile;
    }
    for (const ByteSpan part : ordered) profile.insert(profile.end(), part.begin(), part.end());
    return profile;
}

}  // namespace

namespace codec {

JpegHeader ReadJpegHeader(ByteSpan bytes) {
    JpegHeader header;
    std::size_t at = 2;
    while (at < bytes.size()) {
        // Like every decoder, skip to the next marker when something stands between two segments.
        if (bytes[at] != 0xff) {
            header.hasGarbage = true;
            ++at;
            continue;
        }
        while (at < bytes.size() && bytes[at] == 0xff) ++at;
        if (at >= bytes.size()) break;
        const int marker = bytes[at++];
        if (marker == 0xd9) break;
        if (marker == 0 || marker == 1 || (marker >= 0xd0 && marker <= 0xd8)) continue;
        if (at + 2 > bytes.size()) break;
        const std::size_t length = Big16(bytes, at);
        if (length < 2 || length > bytes.size() - at) break;
        if (marker == 0xda) {
            header.hasScan = true;
            break;
        }
        ReadSegment(bytes.subspan(at + 2, length - 2), marker, header);
        at += length;
    }
    return header;
}

JpegColour JpegColourOf(const JpegHeader& header) {
    const auto& components = header.components;
    const auto hasIds = [&](int a, int b, int c) {
        return components[0].id == a && components[1].id == b && components[2].id == c;
    };
    switch (components.size()) {
        case 1:
            return JpegColour::Grey;
        case 3:
            if (header.hasJfif) return JpegColour::YCbCr;
            if (header.adobeTransform >= 0)
                return header.adobeTransform == 0 ? JpegColour::Rgb : JpegColour::YCbCr;
            return hasIds('R', 'G', 'B') ? JpegColour::Rgb : JpegColour::YCbCr;
        case 4:
            return header.adobeTransform == 2 ? JpegColour::Ycck : JpegColour::Cmyk;
        default:
            return JpegColour::Other;
    }
}

void ReadJpegInfo(ByteSpan bytes, ImageInfo& info) {
    const JpegHeader header = ReadJpegHeader(bytes);
    info.width = header.width;
    info.height = header.height;
    info.bitsPerSample = header.precision;
    info.channels = static_cast<int>(header.components.size());
    if (header.frameMarker != 0)
        info.compression = "JPEG: " + JpegProcessName(static_cast<std::uint8_t>(header.frameMarker));
    info.frames = std::max(1, header.indexedPictures);
    info.colourModel = ColourModel(header);
    info.iccProfile = JoinProfile(header.iccChunks, info.warnings);
    const JpegColour colour = JpegColourOf(header);
    info.recipe = "Accurate integer inverse transform, smooth chroma upsampling, no colour management.";
    if (colour == JpegColour::Cmyk || colour == JpegColour::Ycck) {
        info.recipe +=
            " Ink becomes RGB by R = (255 - C)(255 - K) / 255, rounded, and likewise for green and blue.";
    }
    if (header.frameMarker == 0)
        info.warnings.emplace_back("The file has no frame header: its size is not known.");
    if (!header.hasScan)
        info.warnings.emplace_back("The file ends, or is damaged, before the picture data begins.");
    if (header.hasGarbage)
        info.warnings.emplace_back("There are bytes between the segments that belong to none.");
}

}  // namespace codec
