#include "orvcore/formats/jpegsegmenttext.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "orvcore/formats/jpegwalk.h"
#include "zorbase/text.h"

namespace {

constexpr std::size_t kMaxCommentBytes = 4096;
constexpr std::size_t kMaxIdentifier = 40;

std::string Number(std::size_t value) {
    return std::to_string(value);
}

std::string Hex(std::uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

std::string ByteOrderText(ByteSpan tiff) {
    if (StartsWith(tiff, 0, "II", 2)) return "little endian";
    if (StartsWith(tiff, 0, "MM", 2)) return "big endian";
    return "no valid byte order";
}

std::string JfifText(ByteSpan p) {
    static const char* const kUnits[] = {"without unit", "dpi", "dots per cm"};
    std::string text =
        "version " + Number(ByteAt(p, 5)) + "." + (ByteAt(p, 6) < 10 ? "0" : "") + Number(ByteAt(p, 6));
    text += ", density " + Number(Big16(p, 8)) + " x " + Number(Big16(p, 10)) + " ";
    text += ByteAt(p, 7) < 3 ? kUnits[ByteAt(p, 7)] : "in an unknown unit";
    if (ByteAt(p, 12) != 0 && ByteAt(p, 13) != 0)
        text += ", thumbnail " + Number(ByteAt(p, 12)) + " x " + Number(ByteAt(p, 13));
    return text;
}

std::string AdobeText(ByteSpan p) {
    static const char* const kTransforms[] = {"none (RGB or CMYK)", "YCbCr", "YCCK"};
    const std::uint32_t transform = ByteAt(p, 11);
    return "version " + Number(Big16(p, 5)) + ", flags " + Hex(Big16(p, 7), 4) + " " + Hex(Big16(p, 9), 4) +
           ", transform " + Number(transform) + " " + (transform < 3 ? kTransforms[transform] : "unknown");
}

// The blocks of an image-resource segment, by number.
std::string ResourceText(ByteSpan p) {
    std::string numbers;
    std::size_t count = 0;
    std::size_t at = 14;
    while (StartsWith(p, at, "8BIM", 4)) {
        const std::uint32_t number = Big16(p, at + 4);
        std::size_t size = at + 6;
        size += (1 + ByteAt(p, size) + 1) & ~std::size_t{1};  // padded name
        const std::size_t length = Big32(p, size);
        if (count < 12)
            numbers +=
                (count == 0 ? "" : ", ") + ("0x" + Hex(number, 4)) + (number == 0x0404 ? " (IPTC)" : "");
        ++count;
        if (length > p.size()) break;
        at = size + 4 + ((length + 1) & ~std::size_t{1});
    }
    if (count == 0) return "part of a longer block";
    return Number(count) + (count == 1 ? " resource: " : " resources: ") + numbers + (count > 12 ? "…" : "");
}

std::string AppText(std::uint8_t marker, const std::string& id, ByteSpan p) {
    if (id == "JFIF") return JfifText(p);
    if (id == "JFXX") {
        const std::uint32_t code = ByteAt(p, 5);
        return code == 0x10   ? "thumbnail as JPEG"
               : code == 0x11 ? "thumbnail with palette"
                              : "thumbnail as RGB";
    }
    if (id == "Exif") return "TIFF structure, " + ByteOrderText(Slice(p, 6, 2));
    if (id == "http://ns.adobe.com/xap/1.0/")
        return "XMP packet of " + Number(p.size() - std::min<std::size_t>(p.size(), 29)) + " bytes";
    if (id == "http://ns.adobe.com/xmp/extension/")
        return "part of an extended XMP packet of " + Number(Big32(p, 67)) + " bytes, at " +
               Number(Big32(p, 71));
    if (id == "ICC_PROFILE") return "part " + Number(ByteAt(p, 12)) + " of " + Number(ByteAt(p, 13));
    if (id == "MPF") return "index of several pictures, " + ByteOrderText(Slice(p, 4, 2));
    if (id == "Adobe" && marker == 0xEE) return AdobeText(p);
    if (id == "Photoshop 3.0") return ResourceText(p);
    if (marker == 0xEB && StartsWith(p, 0, "JP", 2)) {
        std::string text = "JUMBF box, instance " + Number(Big16(p, 2)) + ", part " + Number(Big32(p, 4));
        const char kLabel[] = "c2pa";
        if (std::search(p.begin(), p.end(), kLabel, kLabel + 4) != p.end())
            text += ", content credentials (C2PA)";
        return text;
    }
    return {};
}

std::string QuantizationText(ByteSpan p) {
    std::string text;
    for (std::size_t at = 0; at < p.size();) {
        const bool wide = (p[at] >> 4) != 0;
        text += text.empty() ? "table " : ", table ";
        text += Number(p[at] & 15);
        text += wide ? " (16 bit)" : " (8 bit)";
        at += 1 + (wide ? 128 : 64);
        if (text.size() > 200) break;
    }
    return text;
}

std::string HuffmanText(ByteSpan p) {
    std::string text;
    for (std::size_t at = 0; at + 17 <= p.size();) {
        std::size_t codes = 0;
        for (std::size_t i = 1; i <= 16; ++i) codes += p[at + i];
        if (!text.empty()) text += ", ";
        text += (p[at] >> 4) == 0 ? "DC " : "AC ";
        text += Number(p[at] & 15);
        text += " (";
        text += Number(codes);
        text += " codes)";
        at += 17 + codes;
        if (text.size() > 200) break;
    }
    return text;
}

std::string FrameText(std::uint8_t marker, ByteSpan p) {
    JpegFrame frame;
    for (std::size_t i = 0; i < ByteAt(p, 5) && 9 + 3 * i <= p.size(); ++i)
        frame.components.push_back({p[6 + 3 * i], p[7 + 3 * i] >> 4, p[7 + 3 * i] & 15, p[8 + 3 * i]});
    return JpegProcessName(marker) + ", " + Number(Big16(p, 3)) + " x " + Number(Big16(p, 1)) + ", " +
           Number(ByteAt(p, 0)) + " bit, " + Number(ByteAt(p, 5)) + " components, sampling " +
           JpegSubsampling(frame);
}

std::string ScanText(ByteSpan p) {
    const std::size_t count = ByteAt(p, 0);
    std::string ids;
    for (std::size_t i = 0; i < count && i < 4; ++i)
        ids += (i == 0 ? "" : ", ") + Number(ByteAt(p, 1 + 2 * i));
    const std::size_t at = 1 + 2 * count;
    return "components " + ids + "; Ss " + Number(ByteAt(p, at)) + ", Se " + Number(ByteAt(p, at + 1)) +
           ", Ah " + Number(ByteAt(p, at + 2) >> 4) + ", Al " + Number(ByteAt(p, at + 2) & 15);
}

// Reads numbers of a TIFF structure in its own byte order.
struct TiffReader {
    ByteSpan tiff;
    ByteOrder order = ByteOrder::Big;
    std::uint32_t Get16(std::size_t at) const {
        return static_cast<std::uint32_t>(NumberAt(tiff, at, 2, order));
    }
    std::uint32_t Get32(std::size_t at) const {
        return static_cast<std::uint32_t>(NumberAt(tiff, at, 4, order));
    }
};

std::string PictureText(std::uint32_t attributes) {
    std::string text;
    switch (attributes & 0xFFFFFF) {
        case 0x030000:
            text = "primary image";
            break;
        case 0x010001:
            text = "large thumbnail (VGA)";
            break;
        case 0x010002:
            text = "large thumbnail (full HD)";
            break;
        case 0x020001:
            text = "panorama";
            break;
        case 0x020002:
            text = "disparity";
            break;
        case 0x020003:
            text = "multi-angle";
            break;
        case 0:
            text = "undefined";
            break;
        default:
            text = "type 0x" + Hex(attributes & 0xFFFFFF, 6);
            break;
    }
    if ((attributes & 0x80000000U) != 0) text += ", parent";
    if ((attributes & 0x40000000U) != 0) text += ", child";
    if ((attributes & 0x20000000U) != 0) text += ", representative";
    return text;
}

}  // namespace

std::string JpegMarkerName(std::uint8_t marker) {
    using namespace jpegmarker;
    switch (marker) {
        case kTem:
            return "TEM";
        case kDht:
            return "DHT";
        case kJpg:
            return "JPG";
        case kDac:
            return "DAC";
        case kSoi:
            return "SOI";
        case kEoi:
            return "EOI";
        case kSos:
            return "SOS";
        case kDqt:
            return "DQT";
        case kDnl:
            return "DNL";
        case kDri:
            return "DRI";
        case kDhp:
            return "DHP";
        case kExp:
            return "EXP";
        case kSof55:
            return "SOF55";
        case kCom:
            return "COM";
        default:
            break;
    }
    if (IsRestart(marker)) return "RST" + std::to_string(marker - kRst0);
    if (IsFrame(marker)) return "SOF" + std::to_string(marker - kSof0);
    if (marker >= kApp0 && marker <= kApp15) return "APP" + std::to_string(marker - kApp0);
    if (marker >= 0xF0) return "JPG" + std::to_string(marker - 0xF0);
    return "RES " + Hex(marker, 2);
}

std::string JpegAppIdentifier(ByteSpan payload) {
    // Two identifiers in use are not closed by a zero byte.
    if (StartsWith(payload, 0, "Adobe", 5) && ByteAt(payload, 5) < 0x20) return "Adobe";
    if (StartsWith(payload, 0, "JP", 2) && payload.size() > 12 && StartsWith(payload, 12, "jumb", 4))
        return "JP";
    std::size_t end = 0;
    while (end < payload.size() && end < kMaxIdentifier && payload[end] >= 0x20 && payload[end] < 0x7F) ++end;
    if (end < 2 || (end < payload.size() && end < kMaxIdentifier && payload[end] != 0)) return {};
    return TextOf(payload.first(end));
}

std::string JpegSegmentText(std::uint8_t marker, const std::string& identifier, ByteSpan payload) {
    using namespace jpegmarker;
    if (marker >= kApp0 && marker <= kApp15) return AppText(marker, identifier, payload);
    if (marker == kDqt) return QuantizationText(payload);
    if (marker == kDht) return HuffmanText(payload);
    if (IsFrame(marker)) return FrameText(marker, payload);
    if (marker == kSos) return ScanText(payload);
    if (marker == kDri) return "every " + Number(Big16(payload, 0)) + " MCUs";
    if (marker == kDnl) return Number(Big16(payload, 0)) + " lines";
    if (marker == kCom) return JpegCommentText(payload);
    return {};
}

std::string JpegCommentText(ByteSpan payload) {
    std::string text = TextOf(Slice(payload, 0, kMaxCommentBytes));
    while (!text.empty() && text.back() == '\0') text.pop_back();
    text = ToValidUtf8(text);
    if (payload.size() > kMaxCommentBytes) text += "… (" + Number(payload.size()) + " bytes in all)";
    return text;
}

std::vector<JpegPictureEntry> ReadPictureIndex(ByteSpan payload, std::size_t payloadOffset,
                                               std::size_t imageStart) {
    std::vector<JpegPictureEntry> pictures;
    if (!StartsWith(payload, 0, "MPF\0", 4)) return pictures;
    TiffReader reader{Slice(payload, 4, payload.size()), TiffByteOrder(Slice(payload, 4, 2))};
    const std::size_t base = payloadOffset + 4;
    const std::size_t directory = reader.Get32(4);
    const std::size_t entries = std::min<std::size_t>(reader.Get16(directory), 64);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t at = directory + 2 + 12 * i;
        if (reader.Get16(at) != 0xB002) continue;
        const std::size_t table = reader.Get32(at + 8);
        const std::size_t count = std::min<std::size_t>(reader.Get32(at + 4) / 16, 256);
        for (std::size_t k = 0; k < count && table + 16 * (k + 1) <= reader.tiff.size(); ++k) {
            JpegPictureEntry entry;
            entry.attributes = reader.Get32(table + 16 * k);
            entry.size = reader.Get32(table + 16 * k + 4);
            const std::size_t offset = reader.Get32(table + 16 * k + 8);
            entry.offset = k == 0 && offset == 0 ? imageStart : base + offset;
            entry.text = PictureText(entry.attributes);
            pictures.push_back(std::move(entry));
        }
        break;
    }
    return pictures;
}
