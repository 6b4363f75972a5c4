#include <algorithm>
#include <cctype>

#include "orvcore/formats/consistency/rulehelp.h"
#include "zorbase/text.h"

// The file as a whole: its name, its soundness, its place in time.

namespace rules {

RuleAnswer NameAgrees(const ConsistencyInput& input) {
    const bool isPicture = input.format != FileFormat::Unknown && input.format != FileFormat::Empty &&
                           input.format != FileFormat::Text;
    if (!isPicture) return NotStated();
    return Unless(!input.nameAgrees, "The content is not what the name's extension says: it is " +
                                         FormatName(input.format) + ".");
}

RuleAnswer KnownContent(const ConsistencyInput& input) {
    if (!input.isPictureName || input.format == FileFormat::Empty) return NotStated();
    return Unless(input.format == FileFormat::Unknown || input.format == FileFormat::Text,
                  "The name is that of a picture; the content is of no known picture format.");
}

RuleAnswer Sound(const ConsistencyInput& input) {
    if (!IsReadableFormat(input.format)) return NotStated();
    if (input.damage.empty()) return Holds();
    return Broken("The file is damaged or departs from its format's standard: " +
                  ToValidUtf8(input.damage.front()));
}

RuleAnswer NothingAfterEnd(const ConsistencyInput& input) {
    if (input.format != FileFormat::Jpeg) return NotStated();
    const bool isOne = input.bytesAfterEnd == 1;
    std::optional<std::size_t> offset;
    if (!input.bytes.empty() && input.bytesAfterEnd <= input.bytes.size())
        offset = input.bytes.size() - static_cast<std::size_t>(input.bytesAfterEnd);
    return Unless(input.bytesAfterEnd > 0,
                  ToString(static_cast<std::int64_t>(input.bytesAfterEnd)) +
                      (isOne ? " byte follows" : " bytes follow") + " the end of the picture.",
                  offset);
}

RuleAnswer PicturesOfIndex(const ConsistencyInput& input) {
    if (input.jpeg == nullptr || input.jpeg->pictures.empty()) return NotStated();
    std::size_t missing = 0;
    for (const JpegPictureEntry& picture : input.jpeg->pictures) {
        const bool isInside =
            picture.offset <= input.bytes.size() && picture.size <= input.bytes.size() - picture.offset;
        if (!isInside || !StartsWith(input.bytes, picture.offset, "\xFF\xD8", 2)) ++missing;
    }
    return Unless(missing > 0, "The file's index names " + std::to_string(input.jpeg->pictures.size()) +
                                   " pictures, of which " + std::to_string(missing) +
                                   (missing == 1 ? " is" : " are") + " not where it says.");
}

RuleAnswer TakenBeforeFile(const ConsistencyInput& input) {
    const MetadataFacts exif = input.facts.FromExif();
    const auto taken = ParseMetadataTime(exif.dateTimeOriginal);
    if (!taken || !input.modified) return NotStated();
    return Unless(
        *taken > *input.modified + kSecondsADay,
        "Taken after the file system's date of the last change: " + Quote(exif.dateTimeOriginal) + ".",
        OffsetOf(input, "Exif.Photo.DateTimeOriginal"));
}

// A name after the rule of camera file systems: four characters and four digits ("IMG_0702.JPG").
RuleAnswer FileNumber(const ConsistencyInput& input) {
    const std::string number = ValueOf(input, "Exif.Canon.FileNumber");
    const std::size_t dot = input.name.rfind('.');
    const std::string stem = input.name.substr(0, dot);
    const auto isDigit = [](unsigned char c) { return std::isdigit(c) != 0; };
    const bool isCameraName = stem.size() == 8 && std::all_of(stem.begin() + 4, stem.end(), isDigit) &&
                              std::none_of(stem.begin(), stem.begin() + 4, isDigit);
    if (!isCameraName || number.size() < 5 || !std::all_of(number.begin(), number.end(), isDigit))
        return NotStated();
    const std::string inNote = number.substr(number.size() - 4);
    return Unless(inNote != stem.substr(4),
                  "The maker note counts the picture as number " + inNote + ", the file is named " +
                      Quote(input.name) + ".",
                  OffsetOf(input, "Exif.Canon.FileNumber"));
}

}  // namespace rules
