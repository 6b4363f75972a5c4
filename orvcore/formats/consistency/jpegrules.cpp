#include <algorithm>
#include <cmath>
#include <cstdio>

#include "orvcore/formats/consistency/rulehelp.h"
#include "orvcore/formats/editingsoftware.h"
#include "zorbase/text.h"

// How the file was written, against who is said to have written it.

namespace {

// What libraries and services leave in comments, lower case.
constexpr const char* kCommentWriters[] = {
    "gd-jpeg",         "lead technologies", "lavc",
    "intel(r) jpeg",   "imagemagick",       "handmade software",
    "jpegmini",        "processed by ebay", "applemark",
    "xv version",      "created with",      "compressed by",
    "file written by", "optimized by",      "ulead",
    "jpeg-optimizer",  "mozjpeg",           "vips",
};

const JpegSegment* FindSegment(const JpegStructure& jpeg, int app, const char* identifier) {
    for (const JpegSegment& segment : jpeg.segments)
        if (segment.marker == 0xE0 + app && segment.identifier.starts_with(identifier)) return &segment;
    return nullptr;
}

std::string Size(double width, double height) {
    return ToString(static_cast<std::int64_t>(width)) + " x " + ToString(static_cast<std::int64_t>(height));
}

}  // namespace

namespace rules {

RuleAnswer ChrominanceTable(const ConsistencyInput& input) {
    if (input.format != FileFormat::Jpeg) return NotStated();
    return Unless(!input.chrominanceAgrees,
                  "The chrominance table is not the one that belongs to the luminance table.");
}

RuleAnswer CameraCoding(const ConsistencyInput& input) {
    if (input.coding.empty() || !NamesCamera(input)) return NotStated();
    return Unless(input.coding.find("rogressive") != std::string::npos,
                  "Progressive although a camera is named.");
}

RuleAnswer EditorsTables(const ConsistencyInput& input) {
    if (input.tables == nullptr || !NamesCamera(input) || input.tables->quantization.empty())
        return NotStated();
    for (const QuantizationTableUse& use : input.tables->quantization)
        if (use.origin.family == QuantizationFamily::Known)
            return Broken(
                "A camera is named, the quantization tables are those of " + Quote(use.origin.name) + ".",
                use.offset);
    return Holds();
}

RuleAnswer JfifBesideExif(const ConsistencyInput& input) {
    if (input.jpeg == nullptr || !input.jpeg->isJpeg || !NamesCamera(input)) return NotStated();
    const JpegSegment* jfif = FindSegment(*input.jpeg, 0, "JFIF");
    if (jfif == nullptr || FindSegment(*input.jpeg, 1, "Exif") == nullptr) return Holds();
    return Broken("The file holds a JFIF segment beside EXIF, and a camera is named.", jfif->offset);
}

RuleAnswer AdobeSegment(const ConsistencyInput& input) {
    if (input.jpeg == nullptr || !input.jpeg->isJpeg || !NamesCamera(input)) return NotStated();
    const JpegSegment* adobe = FindSegment(*input.jpeg, 14, "Adobe");
    return adobe == nullptr
               ? Holds()
               : Broken("The file holds an Adobe segment (APP14), and a camera is named.", adobe->offset);
}

RuleAnswer PhotoshopResources(const ConsistencyInput& input) {
    if (input.metadata == nullptr || !NamesCamera(input)) return NotStated();
    const MetadataPlaces& places = input.metadata->places;
    return Unless(places.photoshop.has_value() && !places.resources.empty(),
                  "The file holds " + std::to_string(places.resources.size()) +
                      (places.resources.size() == 1 ? " block" : " blocks") +
                      " of Photoshop's image resources, and a camera is named.",
                  places.photoshop);
}

RuleAnswer CommentOfLibrary(const ConsistencyInput& input) {
    if (input.jpeg == nullptr || input.jpeg->comments.empty()) return NotStated();
    for (const std::string& comment : input.jpeg->comments) {
        const std::string lower = ToLower(comment);
        const bool isNamed =
            std::any_of(std::begin(kCommentWriters), std::end(kCommentWriters),
                        [&lower](const char* name) { return lower.find(name) != std::string::npos; });
        if (isNamed || IsEditingSoftware(comment)) {
            std::optional<std::size_t> offset;
            for (const JpegSegment& segment : input.jpeg->segments)
                if (segment.name == "COM" && !offset) offset = segment.offset;
            return Broken("A comment names a program: " + Quote(comment) + ".", offset);
        }
    }
    return Holds();
}

RuleAnswer Resolution(const ConsistencyInput& input) {
    if (input.jpeg == nullptr || !input.jpeg->isJpeg) return NotStated();
    const JpegSegment* jfif = FindSegment(*input.jpeg, 0, "JFIF");
    const auto exif = NumberOf(input, "Exif.Image.XResolution");
    const auto unit = NumberOf(input, "Exif.Image.ResolutionUnit");
    if (jfif == nullptr || !exif || jfif->PayloadSize() < 12) return NotStated();
    const std::uint32_t jfifUnit = ByteAt(input.bytes, jfif->PayloadOffset() + 7);
    if (jfifUnit != 1 && jfifUnit != 2) return NotStated();
    const double stated = Big16(input.bytes, jfif->PayloadOffset() + 8);
    const double inJfif = jfifUnit == 2 ? stated * 2.54 : stated;
    const double inExif = unit.value_or(2) == 3 ? *exif * 2.54 : *exif;
    char text[160];
    std::snprintf(text, sizeof text, "JFIF states %.0f pixels per inch, EXIF %.0f.", inJfif, inExif);
    return Unless(std::abs(inJfif - inExif) > 1.5, text, jfif->offset);
}

RuleAnswer StatedSize(const ConsistencyInput& input) {
    const int x = input.facts.pixelXDimension;
    const int y = input.facts.pixelYDimension;
    if (input.format != FileFormat::Jpeg || x <= 0 || y <= 0 || input.width <= 0 || input.height <= 0)
        return NotStated();
    const bool isTurned = x == input.height && y == input.width;
    return Unless(x != input.width || y != input.height,
                  "The EXIF block states " + Size(x, y) + " pixels, the file holds a picture of " +
                      Size(input.width, input.height) + " pixels." +
                      (isTurned ? " The picture was turned, and the entry kept." : ""),
                  OffsetOf(input, "Exif.Photo.PixelXDimension"));
}

RuleAnswer XmpSize(const ConsistencyInput& input) {
    if (input.format != FileFormat::Jpeg || input.width <= 0) return NotStated();
    for (const auto& [first, second] : {std::pair{"Xmp.exif.PixelXDimension", "Xmp.exif.PixelYDimension"},
                                        {"Xmp.tiff.ImageWidth", "Xmp.tiff.ImageLength"}}) {
        const auto x = NumberOf(input, first);
        const auto y = NumberOf(input, second);
        if (!x || !y) continue;
        // Any number may stand there, also one that no int holds.
        char stated[64];
        std::snprintf(stated, sizeof stated, "%.12g x %.12g", std::trunc(*x), std::trunc(*y));
        return Unless(std::trunc(*x) != input.width || std::trunc(*y) != input.height,
                      "XMP states " + std::string(stated) + " pixels, the file holds a picture of " +
                          Size(input.width, input.height) + " pixels.",
                      OffsetOf(input, first));
    }
    return NotStated();
}

RuleAnswer ExtendedXmpWhole(const ConsistencyInput& input) {
    if (input.metadata == nullptr) return NotStated();
    switch (input.metadata->set.extendedXmp) {
        case ExtendedXmpState::Whole:
            return Holds();
        case ExtendedXmpState::Incomplete:
            return Broken("The XMP packet goes on in an extended packet that is missing or has holes.",
                          input.metadata->places.xmp);
        case ExtendedXmpState::Altered:
            return Broken("The extended XMP packet is not the one that its identifier (MD5) was made for.",
                          input.metadata->places.xmp);
        default:
            return NotStated();
    }
}

RuleAnswer IptcDigest(const ConsistencyInput& input) {
    if (input.metadata == nullptr) return NotStated();
    const MetadataPlaces& places = input.metadata->places;
    if (places.statedIptcDigest.empty() || places.iptcDigest.empty() ||
        places.statedIptcDigest.find_first_not_of('0') == std::string::npos)
        return NotStated();
    return Unless(
        places.statedIptcDigest != places.iptcDigest,
        "The digest (MD5) that was stored for the IPTC block is not that of the IPTC block in the file.",
        places.iptcBlock);
}

RuleAnswer ProfileSound(const ConsistencyInput& input) {
    if (input.metadata == nullptr || !input.metadata->icc.isProfile) return NotStated();
    return Unless(!input.metadata->icc.damage.empty(), input.metadata->icc.damage,
                  input.metadata->places.icc);
}

RuleAnswer ColourSpace(const ConsistencyInput& input) {
    if (input.metadata == nullptr || input.metadata->icc.primaries.empty()) return NotStated();
    const std::string space = ValueOf(input, "Exif.Photo.ColorSpace");
    if (space != "1") return NotStated();
    return Unless(!HasPrimariesOfSrgb(input.metadata->icc),
                  "EXIF states sRGB, the embedded profile " + Quote(input.metadata->icc.description) +
                      " has the primaries of another colour space.",
                  OffsetOf(input, "Exif.Photo.ColorSpace"));
}

}  // namespace rules
