#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>

#include "orvcore/formats/consistency/consistency.h"
#include "orvcore/formats/provenance/provenance.h"
#include "tests/orvcore/formats/fields/fieldsupport.h"
#include "zorbase/text.h"

using namespace fieldsupport;
using namespace formatsupport;
using testing::HasSubstr;

namespace {

constexpr const char* kTaken = "2004:06:17 07:10:06";

// A file, field by field. Nothing that is not named is in it.
struct Sample {
    std::string make = {};
    std::string model = {};
    std::vector<Tag> main = {};  // beside make and model, numbers above theirs
    std::vector<Tag> photo = {};
    std::vector<Tag> gps = {};
    std::vector<Tag> second = {};
    Bytes behind = {};  // the second directory's
    std::string xmp = {};
    std::string xmpElements = {};
    JpegRecipe jpeg = {};
    bool hasJfif = false;
    Bytes after = {};     // behind the end
    std::size_t cut = 0;  // bytes taken from the end
    Bytes instead = {};   // the whole file
    std::string name = "photo.jpg";
    std::optional<std::int64_t> modified = {};
    provenance::Answer signature = provenance::Answer::NotThere;
    provenance::Answer content = provenance::Answer::NotThere;
    void (*changeTiff)(Bytes& tiff) = nullptr;
    void (*changeFile)(Bytes& file) = nullptr;
};

Bytes Build(const Sample& sample) {
    if (!sample.instead.empty()) return sample.instead;
    JpegRecipe recipe = sample.jpeg;
    std::vector<std::pair<int, Bytes>> segments;
    const bool hasExif = !sample.make.empty() || !sample.model.empty() || !sample.main.empty() ||
                         !sample.photo.empty() || !sample.gps.empty() || !sample.second.empty();
    if (hasExif) {
        TiffRecipe tiff{.main = {},
                        .photo = sample.photo,
                        .gps = sample.gps,
                        .second = sample.second,
                        .behind = sample.behind};
        if (!sample.make.empty()) tiff.main.push_back({0x010F, 2, {}, sample.make});
        if (!sample.model.empty()) tiff.main.push_back({0x0110, 2, {}, sample.model});
        tiff.main.insert(tiff.main.end(), sample.main.begin(), sample.main.end());
        Bytes block = Tiff(tiff);
        if (sample.changeTiff != nullptr) sample.changeTiff(block);
        segments.emplace_back(1, ToBytes(std::string("Exif\0\0", 6)) + block);
    }
    if (!sample.xmp.empty() || !sample.xmpElements.empty())
        segments.emplace_back(1, Xmp(sample.xmp, sample.xmpElements));
    recipe.segments.insert(recipe.segments.begin(), segments.begin(), segments.end());
    Bytes file = MakeJpeg(recipe);
    // The encoder puts its JFIF segment of 18 bytes in front.
    if (!sample.hasJfif) file.erase(file.begin() + 2, file.begin() + 2 + 18);
    if (sample.changeFile != nullptr) sample.changeFile(file);
    file.resize(file.size() - sample.cut);
    return file + sample.after;
}

RuleAnswer Ask(const std::string& rule, const Sample& sample) {
    const Bytes bytes = Build(sample);
    const ConsistencyParts parts = ReadConsistencyParts(bytes);
    ConsistencyInput input = ReadConsistencyInput(bytes, "/folder/" + sample.name, parts);
    input.modified = sample.modified;
    input.hasCredentials = sample.signature != provenance::Answer::NotThere;
    input.credentialSignature = sample.signature;
    input.credentialContent = sample.content;
    for (const ConsistencyResult& result : CheckConsistency(input))
        if (result.rule->id == rule) {
            EXPECT_LT(result.answer.offset.value_or(0), bytes.size() + 1) << rule;
            return result.answer;
        }
    ADD_FAILURE() << "no rule " << rule;
    return {};
}

std::size_t Find(const Bytes& bytes, const std::string& text) {
    const auto found = std::search(bytes.begin(), bytes.end(), text.begin(), text.end());
    EXPECT_NE(found, bytes.end()) << text;
    return static_cast<std::size_t>(found - bytes.begin());
}

// --- pieces ---

Tag Taken(const std::string& time = kTaken) {
    return {0x9003, 2, {}, time};
}
Tag Changed(const std::string& time) {
    return {0x0132, 2, {}, time};
}
Tag Text(int number, const std::string& text) {
    return {number, 2, {}, text};
}

// A camera's EXIF directory of a maker note and what follows it by number. The note's directory stands where its value comes to stand,
// or `moved` bytes from there.
std::vector<Tag> WithCanonNote(const std::vector<Tag>& note, std::vector<Tag> others = {},
                               std::size_t moved = 0) {
    // Of equal entries the values follow each other in their order: the note is put first, so its value stands right behind the entries.
    const std::size_t at = 1000 + 2 + 12 * (others.size() + 1) + 4;
    const Bytes content = Directory(note, at + moved);
    others.insert(others.begin(), Tag{0x927C, 7, {}, std::string(content.begin(), content.end())});
    return others;
}
std::vector<Tag> WithNote(const std::string& content, std::vector<Tag> others = {}) {
    others.insert(others.begin(), Tag{0x927C, 7, {}, content});
    return others;
}

const std::vector<Tag> kCanonNote = {Text(0x0006, "IMG:PowerShot S40 JPEG"),
                                     Text(0x0007, "Firmware Version 1.10"),
                                     Text(0x0009, "The owner of the camera")};

Sample Canon(const std::vector<Tag>& note, const std::string& name = "photo.jpg") {
    return {.make = "Canon", .model = "Canon PowerShot S40", .photo = WithCanonNote(note), .name = name};
}
Sample Moved() {
    return {.make = "Canon", .model = "Canon PowerShot S40", .photo = WithCanonNote(kCanonNote, {}, 1200)};
}

Sample Programs(const std::string& software, const std::string& xmp = {}) {
    return {.make = "Acme", .main = {Text(0x0131, software)}, .xmp = xmp};
}
Sample Times(const std::string& taken, const std::string& changed, const std::string& xmp = {}) {
    return {.make = "Acme", .main = {Changed(changed)}, .photo = {Taken(taken)}, .xmp = xmp};
}
Sample Thumbnail(int width, int height, std::vector<std::pair<int, Bytes>> segments = {}) {
    const Bytes thumbnail = MakeJpeg({.width = width, .height = height, .segments = std::move(segments)});
    return {.make = "Acme",
            .second = {{0x0103, 3, {6}},
                       {0x0201, 4, {3400}},
                       {0x0202, 4, {static_cast<std::uint32_t>(thumbnail.size())}}},
            .behind = thumbnail};
}
// A position at whole degrees north and east, with a fix at that date and hour.
std::vector<Tag> Place(std::uint32_t north, std::uint32_t east, const std::string& date = "2004:06:17",
                       std::uint32_t hour = 5) {
    return {{1, 2, {}, "N"},
            {2, 5, {north, 1, 0, 1, 0, 1}},
            {3, 2, {}, "E"},
            {4, 5, {east, 1, 0, 1, 0, 1}},
            {7, 5, {hour, 1, 10, 1, 0, 1}},
            {29, 2, {}, date}};
}
Sample WithProfile(const ProfileRecipe& recipe, std::vector<Tag> photo = {}) {
    return {.make = "Acme",
            .photo = std::move(photo),
            .jpeg = {.segments = ProfileSegments(MakeProfile(recipe))}};
}
// The colorants of a wide colour space.
const std::vector<double> kWide = {0.60974, 0.31111, 0.01947, 0.20528, 0.62567,
                                   0.06087, 0.14919, 0.06322, 0.74457};

Sample Extended(bool isWhole) {
    std::string identifier;
    const Bytes inner = Xmp("dc:format='x'");
    const std::string packet(inner.begin() + 29, inner.end());
    std::vector<std::pair<int, Bytes>> pieces = ExtendedXmpSegments(packet, 300, identifier);
    if (!isWhole) pieces.erase(pieces.begin() + 1);
    return {.xmp = "xmpNote:HasExtendedXMP='" + identifier + "'", .jpeg = {.segments = pieces}};
}

Sample Captions(bool agrees) {
    const Bytes iptc = Iptc({{120, "a caption"}});
    const std::string digest = Md5Bytes(agrees ? iptc : ToBytes("another"));
    return {.jpeg = {.segments = {{13, Resources({{0x0404, iptc}, {0x0425, ToBytes(digest)}})}}}};
}

// An index of two pictures; the second one stands behind the first, or is not there.
Bytes Index() {
    Bytes entries;
    for (int i = 0; i < 2; ++i) {
        AppendLittle(entries, i == 0 ? 0x030000 : 0x020002, 4);
        AppendLittle(entries, 500, 4);
        AppendLittle(entries, i == 0 ? 0 : 900000, 4);
        AppendLittle(entries, 0, 4);
    }
    Bytes index = ToBytes(std::string("MPF\0II*\0\x08\0\0\0", 12));
    return index + Directory({{0xB000, 7, {}, "0100"},
                              {0xB001, 4, {2}},
                              {0xB002, 7, {}, std::string(entries.begin(), entries.end())}},
                             8);
}
void AddSecondPicture(Bytes& file) {
    const std::size_t base = Find(file, std::string("MPF\0II*", 7)) + 4;
    const Bytes second = MakeJpeg({.width = 16, .height = 16});
    const std::size_t entries = base + 8 + 2 + 36 + 4;
    const auto put = [&file](std::size_t at, std::size_t value) {
        for (std::size_t i = 0; i < 4; ++i) file[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
    };
    put(entries + 4, file.size());
    put(entries + 16 + 4, second.size());
    put(entries + 16 + 8, file.size() - base);
    file = file + second;
}

void SpoilChrominance(Bytes& file) {
    const JpegStructure structure = ParseJpegStructure(file);
    std::size_t end = 0;
    for (const JpegSegment& segment : structure.segments)
        if (segment.name == "DQT") end = segment.PayloadOffset() + segment.PayloadSize();
    file[end - 1] ^= 1;
}
// The luminance table of an image editor, in zig-zag order.
void UseEditorsTable(Bytes& file) {
    static constexpr std::uint8_t kStart[] = {6,  4,  4,  4,  5,  4,  6,  5,  5,  6,  9,  6,
                                              5,  6,  9,  11, 8,  6,  6,  8,  11, 12, 10, 10,
                                              11, 10, 10, 12, 16, 12, 12, 12, 12, 12, 12, 16};
    const JpegStructure structure = ParseJpegStructure(file);
    for (const JpegSegment& segment : structure.segments) {
        if (segment.name != "DQT") continue;
        const std::size_t at = segment.PayloadOffset() + 1;
        for (std::size_t i = 0; i < 64; ++i) file[at + i] = i < std::size(kStart) ? kStart[i] : 12;
        return;
    }
}
template <int kDensity>
void StateDensity(Bytes& file) {
    const std::size_t at = Find(file, std::string("JFIF\0", 5));
    file[at + 7] = 1;
    file[at + 8] = kDensity / 256;
    file[at + 9] = kDensity % 256;
}

Sample TrailCamera(int day) {
    Bytes note;
    for (const int word : {0xF101, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 6, 10, 7, 6, day, 2004, 0, 0, 0, 0})
        AppendLittle(note, static_cast<std::uint64_t>(word), 2);
    return {.make = "RECONYX", .photo = WithNote(std::string(note.begin(), note.end()), {Taken()})};
}

struct Case {
    const char* rule;
    Sample breaks;
    const char* found;  // part of what is told
    Sample fits;
};

std::vector<Case> Cases() {
    const std::vector<Tag> exposed = {{0x829A, 5, {1, 60}}, Taken()};
    return {
        {"name-content", {.name = "photo.png"}, "it is JPEG", {.name = "photo.jpg"}},
        {"known-content", {.instead = Bytes(100, 0x17)}, "no known picture format", {}},
        {"sound-file", {.cut = 40}, "damaged", {}},
        {"bytes-after-end", {.after = ToBytes("hidden")}, "6 bytes follow", {}},
        {"indexed-pictures",
         {.jpeg = {.segments = {{2, Index()}}}},
         "names 2 pictures, of which 1 is",
         {.jpeg = {.segments = {{2, Index()}}}, .changeFile = AddSecondPicture}},
        {"taken-before-file",
         {.photo = {Taken()}, .modified = 1000000000},
         "Taken after the file system's",
         {.photo = {Taken()}, .modified = 1100000000}},
        {"file-number", Canon({{0x0008, 4, {1000073}}}, "IMG_0074.JPG"), "number 0073",
         Canon({{0x0008, 4, {1000073}}}, "IMG_0073.JPG")},
        {"chrominance-table", {.changeFile = SpoilChrominance}, "chrominance table is not", {}},
        {"camera-coding",
         {.make = "Acme", .jpeg = {.progressive = true}},
         "Progressive although",
         {.make = "Acme"}},
        {"editor-tables", {.make = "Acme", .changeFile = UseEditorsTable}, "are those of", {.make = "Acme"}},
        {"jfif-segment", {.make = "Acme", .hasJfif = true}, "JFIF segment", {.make = "Acme"}},
        {"adobe-segment",
         {.make = "Acme", .jpeg = {.segments = {{14, ToBytes(std::string("Adobe\0\x64\0\0\0\0\x01", 12))}}}},
         "Adobe segment",
         {.make = "Acme"}},
        {"photoshop-resources",
         {.make = "Acme", .jpeg = {.segments = {{13, Resources({{0x03ED, Bytes(16, 1)}})}}}},
         "1 block of Photoshop's",
         {.make = "Acme"}},
        {"program-comment",
         {.jpeg = {.comment = "CREATOR: gd-jpeg v1.0"}},
         "gd-jpeg",
         {.jpeg = {.comment = "A holiday"}}},
        {"resolution",
         {.main = {{0x011A, 5, {72, 1}}, {0x0128, 3, {2}}}, .hasJfif = true, .changeFile = StateDensity<300>},
         "JFIF states 300 pixels per inch, EXIF 72",
         {.main = {{0x011A, 5, {300, 1}}, {0x0128, 3, {2}}},
          .hasJfif = true,
          .changeFile = StateDensity<300>}},
        {"stated-size",
         {.photo = {{0xA002, 4, {32}}, {0xA003, 4, {48}}}},
         "states 32 x 48 pixels, the file holds a picture of 48 x 32 pixels. "
         "The picture was turned",
         {.photo = {{0xA002, 4, {48}}, {0xA003, 4, {32}}}}},
        {"xmp-size",
         {.xmp = "exif:PixelXDimension='640' exif:PixelYDimension='480'"},
         "XMP states 640 x 480",
         {.xmp = "exif:PixelXDimension='48' exif:PixelYDimension='32'"}},
        {"camera-size",
         {.photo = {{0xA005, 4, {3400}}},
          .second = {{0x0103, 3, {6}}},
          .behind = Directory({{0x1001, 4, {640}}}, 3400)},
         "640 pixels wide",
         {.photo = {{0xA005, 4, {3400}}},
          .second = {{0x0103, 3, {6}}},
          .behind = Directory({{0x1001, 4, {48}}}, 3400)}},
        {"extended-xmp", Extended(false), "missing or has holes", Extended(true)},
        {"iptc-digest", Captions(false), "digest", Captions(true)},
        {"profile-sound",
         {.jpeg = {.segments = ProfileSegments(Bytes(MakeProfile({.withIdentifier = true})) + Bytes())},
          .changeFile = [](Bytes& file) { file[Find(file, "Test RGB")] = 'B'; }},
         "not the one that its ID",
         WithProfile({.withIdentifier = true})},
        {"colour-space", WithProfile({.description = "Wide", .primaries = kWide}, {{0xA001, 3, {1}}}),
         "\"Wide\" has the primaries", WithProfile({}, {{0xA001, 3, {1}}})},
        {"exif-values",
         {.make = "A long maker", .changeTiff = [](Bytes& tiff) { tiff[8 + 2 + 8 + 2] = 0x7F; }},
         "Make in IFD0",
         {.make = "A long maker"}},
        {"exif-order",
         {.photo = {Taken(), {0x829A, 5, {1, 60}}}},
         "ExposureTime in Exif IFD stands too late",
         {.photo = exposed}},
        {"exif-version",
         {.photo = {Taken()}},
         "does not state the version",
         {.photo = {{0x9000, 7, {}, "0220"}, Taken()}}},
        {"windows-padding",
         {.photo = {Taken(), {0xEA1C, 7, {}, std::string(64, '\0')}}},
         "Windows",
         {.photo = {Taken()}}},
        {"maker-note-missing",
         {.make = "NIKON CORPORATION", .photo = {Taken()}},
         "there is none",
         {.make = "NIKON CORPORATION", .photo = WithNote("Nikon note", {Taken()})}},
        {"maker-note-moved", Moved(), "Of 3 values that the maker note points at, 3 lie outside",
         Canon(kCanonNote)},
        {"maker-note-maker",
         {.make = "Canon", .photo = WithNote(std::string("Apple iOS\0\0\x01MM\0\0", 16))},
         "kind \"Apple\"",
         {.make = "Apple", .photo = WithNote(std::string("Apple iOS\0\0\x01MM\0\0", 16))}},
        {"maker-note-model",
         {.make = "Canon", .model = "Canon PowerShot A80", .photo = WithCanonNote(kCanonNote)},
         "EXIF names \"Canon PowerShot A80\"",
         Canon(kCanonNote)},
        {"serial-number",
         {.make = "Acme", .photo = {Text(0xA431, "000123")}, .xmp = "aux:SerialNumber='124'"},
         "XMP as \"124\"",
         {.make = "Acme", .photo = {Text(0xA431, "000123")}, .xmp = "aux:SerialNumber='123'"}},
        {"maker-in-xmp",
         {.make = "Acme", .xmp = "tiff:Make='Other'"},
         "the maker differently",
         {.make = "ACME", .xmp = "tiff:Make='Acme'"}},
        {"exposure-time",
         {.photo = {{0x829A, 5, {1, 60}}, {0x9201, 10, {3, 1}}}},
         "0.125 s",
         {.photo = {{0x829A, 5, {1, 60}}, {0x9201, 10, {59069, 10000}}}}},
        {"aperture",
         {.photo = {{0x829D, 5, {28, 10}}, {0x9202, 5, {6, 1}}}},
         "f/8",
         {.photo = {{0x829D, 5, {28, 10}}, {0x9202, 5, {297, 100}}}}},
        {"exposure-missing",
         {.make = "Acme", .model = "One", .photo = {Taken()}},
         "neither exposure time",
         {.make = "Acme", .model = "One", .photo = exposed}},
        {"focal-length",
         {.photo = {{0x920A, 5, {200, 1}}, {0xA432, 5, {18, 1, 55, 1, 35, 10, 56, 10}}}},
         "18 to 55 mm",
         {.photo = {{0x920A, 5, {35, 1}}, {0xA432, 5, {18, 1, 55, 1, 35, 10, 56, 10}}}}},
        {"orientation",
         {.main = {{0x0112, 3, {6}}}, .xmp = "tiff:Orientation='1'"},
         "orientation 6, XMP orientation 1",
         {.main = {{0x0112, 3, {6}}}, .xmp = "tiff:Orientation='6'"}},
        {"thumbnail-turned", Thumbnail(16, 24), "the other way round", Thumbnail(24, 16)},
        {"thumbnail-shape", Thumbnail(32, 8), "shape is not that", Thumbnail(24, 16)},
        {"thumbnail-writer", Thumbnail(24, 16, {{13, Resources({{0x03ED, Bytes(16, 1)}})}}), "APP13",
         Thumbnail(24, 16)},
        {"taken-after-changed", Times(kTaken, "2004:06:17 07:10:05"), "Changed before",
         Times(kTaken, kTaken)},
        {"changed-after-taken", Times(kTaken, "2004:06:17 08:00:00"), "Changed after",
         Times(kTaken, "2004:06:17 07:10:50")},
        {"digitized",
         {.photo = {Taken(), Text(0x9004, "2004:06:18 07:10:06")}},
         "digitizing differ",
         {.photo = {Taken(), Text(0x9004, kTaken)}}},
        {"sub-seconds",
         {.main = {Changed(kTaken)}, .photo = {Taken(), Text(0x9004, kTaken), Text(0x9291, "61")}},
         "1 of the three",
         {.main = {Changed(kTaken)},
          .photo = {Taken(), Text(0x9004, kTaken), Text(0x9290, "61"), Text(0x9291, "61"),
                    Text(0x9292, "61")}}},
        {"taken-in-xmp",
         {.photo = {Taken()}, .xmp = "exif:DateTimeOriginal='2004-06-17T07:33:06'"},
         "EXIF and XMP state the time of taking",
         {.photo = {Taken()}, .xmp = "exif:DateTimeOriginal='2004-06-17T05:10:06Z'"}},
        {"changed-in-xmp", Times(kTaken, kTaken, "xmp:ModifyDate='2005-01-01T00:00:00'"),
         "last change differently", Times(kTaken, kTaken, "xmp:ModifyDate='2004-06-17T09:10:06+02:00'")},
        {"taken-in-iptc",
         {.photo = {Taken()}, .jpeg = {.segments = {{13, Resources({{0x0404, Iptc({{55, "20040620"}})}})}}}},
         "IPTC names the day",
         {.photo = {Taken()}, .jpeg = {.segments = {{13, Resources({{0x0404, Iptc({{55, "20040617"}})}})}}}}},
        {"taken-in-maker-note",
         {.make = "Acme", .photo = WithNote("NOTE 2003:01:01 12:31:00 END", {Taken()})},
         "2003:01:01 12:31:00",
         {.make = "Acme", .photo = WithNote("NOTE 2004:06:17 07:10:05 END", {Taken()})}},
        {"taken-in-maker-note", TrailCamera(20), "2004-6-20", TrailCamera(17)},
        {"zone-of-fix",
         {.photo = {Taken(), Text(0x9011, "-05:00")}, .gps = Place(48, 11)},
         "more than an hour apart",
         {.photo = {Taken(), Text(0x9011, "+02:00")}, .gps = Place(48, 11)}},
        {"clock-set", {.photo = {Taken("2003:01:01 00:02:17")}}, "never set", {.photo = {Taken()}}},
        {"declared-source",
         {.xmp =
              "Iptc4xmpExt:DigitalSourceType='http://cv.iptc.org/newscodes/digitalsourcetype/trainedAlgorithmicMedia'"},
         "by an algorithm",
         {.xmp =
              "Iptc4xmpExt:DigitalSourceType='http://cv.iptc.org/newscodes/digitalsourcetype/digitalCapture'"}},
        {"editing-program", Programs("GIMP 2.10.30"), "names \"GIMP 2.10.30\", a program",
         Programs("Ver 1.0")},
        {"two-programs", Programs("Ver 1.0", "xmp:CreatorTool='Another 2'"), "another, \"Another 2\"",
         Programs("Ver 1.0", "xmp:CreatorTool='Ver 1.0'")},
        {"xmp-history",
         {.xmpElements =
              "<xmpMM:History><rdf:Seq><rdf:li stEvt:action='created'/><rdf:li stEvt:action='saved' stEvt:softwareAgent='Tool 1'/>"
              "</rdf:Seq></xmpMM:History>"},
         "2 steps, the last by \"Tool 1\"",
         {.xmp = "xmp:Rating='1'"}},
        {"placed-documents",
         {.xmpElements =
              "<photoshop:DocumentAncestors><rdf:Bag><rdf:li>a</rdf:li><rdf:li>b</rdf:li></rdf:Bag></photoshop:DocumentAncestors>"},
         "2 other documents",
         {.xmp = "xmp:Rating='1'"}},
        {"derived",
         {.xmp = "xmpMM:DocumentID='xmp.did:2' xmpMM:OriginalDocumentID='xmp.did:1'"},
         "derived from another",
         {.xmp = "xmpMM:DocumentID='xmp.did:1' xmpMM:OriginalDocumentID='xmp.did:1'"}},
        {"local-corrections",
         {.xmp = "crs:Exposure='0'",
          .xmpElements = "<crs:RetouchInfo><rdf:Seq><rdf:li>x</rdf:li></rdf:Seq></crs:RetouchInfo>"},
         "RetouchInfo",
         {.xmp = "crs:Exposure='0'"}},
        {"program-profile", WithProfile({.creator = "ADBE"}), "\"ADBE\"", WithProfile({})},
        {"date-of-fix",
         {.photo = {Taken()}, .gps = Place(48, 11, "2004:06:19")},
         "more than a day apart",
         {.photo = {Taken()}, .gps = Place(48, 11)}},
        {"time-of-fix",
         {.gps = Place(48, 11, "2004:13:17")},
         "is no date. It is \"2004:13:17",
         {.gps = Place(48, 11)}},
        {"position-whole",
         {.gps = {{2, 5, {48, 1, 0, 1, 0, 1}}, {4, 5, {11, 1, 0, 1, 0, 1}}}},
         "without their hemisphere",
         {.gps = Place(48, 11)}},
        {"position-in-xmp",
         {.gps = Place(48, 11), .xmp = "exif:GPSLatitude='48,0.1N' exif:GPSLongitude='11,0E'"},
         "185 m apart",
         {.gps = Place(48, 11), .xmp = "exif:GPSLatitude='48,0.01N' exif:GPSLongitude='11,0E'"}},
        {"position-zero", {.gps = Place(0, 0)}, "zero meridian", {.gps = Place(48, 11)}},
        {"zone-of-place",
         {.photo = {Taken(), Text(0x9011, "-05:00")}, .gps = Place(48, 11)},
         "11 degrees",
         {.photo = {Taken(), Text(0x9011, "+02:00")}, .gps = Place(48, 11)}},
        {"altitude",
         {.gps = {{5, 1, {}, std::string(1, '\0')}, {6, 5, {12000, 1}}}},
         "12000 m",
         {.gps = {{5, 1, {}, std::string(1, '\0')}, {6, 5, {1200, 1}}}}},
        {"credential-signature",
         {.signature = provenance::Answer::No},
         "does not verify",
         {.signature = provenance::Answer::Yes}},
        {"credential-content",
         {.signature = provenance::Answer::Yes, .content = provenance::Answer::No},
         "not what its credentials",
         {.signature = provenance::Answer::Yes, .content = provenance::Answer::Yes}},
    };
}

}  // namespace

// Every rule has a file that breaks it and one that does not.
TEST(ConsistencyRules, EachIsBrokenWhereItIsBrokenAndHoldsWhereItHolds) {
    std::set<std::string> tested;
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.rule);
        tested.insert(c.rule);
        const RuleAnswer broken = Ask(c.rule, c.breaks);
        EXPECT_EQ(broken.state, RuleState::Broken);
        EXPECT_THAT(broken.found, HasSubstr(c.found));
        const RuleAnswer holds = Ask(c.rule, c.fits);
        EXPECT_EQ(holds.state, RuleState::Holds) << holds.found;
    }
    for (const ConsistencyRule& rule : ConsistencyRules()) {
        EXPECT_EQ(tested.count(rule.id), 1U) << rule.id;
        EXPECT_EQ(std::string(rule.meaning).back(), '.') << rule.id;
    }
    EXPECT_EQ(tested.size(), ConsistencyRules().size()) << "a rule comes twice";
}

// XMP states numbers as texts of any length.
TEST(ConsistencyRules, NumbersThatNoIntHoldsAreComparedAndTold) {
    const RuleAnswer size =
        Ask("xmp-size", {.xmp = "exif:PixelXDimension='100123000000' exif:PixelYDimension='1e300'"});
    EXPECT_EQ(size.state, RuleState::Broken);
    EXPECT_THAT(size.found, HasSubstr("XMP states 100123000000 x 1e+300 pixels"));
    const RuleAnswer turned =
        Ask("orientation", {.main = {{0x0112, 3, {6}}}, .xmp = "tiff:Orientation='-9e99'"});
    EXPECT_EQ(turned.state, RuleState::Broken);
    EXPECT_THAT(turned.found, HasSubstr("XMP orientation -9e+99"));
}

TEST(ConsistencyRules, AnOrdinaryCameraFileBreaksNone) {
    Sample camera = Canon(kCanonNote);
    camera.main = {Text(0x0131, "Firmware 1.2"), Changed(kTaken)};
    camera.photo = WithCanonNote(
        kCanonNote, {{0x9000, 7, {}, "0220"}, {0x829A, 5, {1, 60}}, Taken(), Text(0x9004, kTaken)});
    const Bytes bytes = Build(camera);
    const ConsistencyParts parts = ReadConsistencyParts(bytes);
    for (const ConsistencyResult& result :
         FindInconsistencies(ReadConsistencyInput(bytes, "photo.jpg", parts)))
        if (std::string(result.rule->id) != "exif-order") ADD_FAILURE() << result.Text();
}

// What there is nothing to say about: empty files, texts, formats without metadata.
TEST(ConsistencyRules, WithoutStatementsNothingIsBroken) {
    for (const Bytes& bytes : {Bytes(), ToBytes("plain text"), Bytes(2000, 0xFF)}) {
        const ConsistencyParts parts = ReadConsistencyParts(bytes);
        EXPECT_TRUE(FindInconsistencies(ReadConsistencyInput(bytes, "file.bin", parts)).empty());
    }
    EXPECT_TRUE(FindInconsistencies(ConsistencyInput()).empty());
}

TEST(ConsistencyRules, TheSummaryTellsHintsFromFindings) {
    std::vector<ConsistencyResult> broken;
    const auto add = [&broken](const char* id) {
        for (const ConsistencyRule& rule : ConsistencyRules())
            if (std::string(rule.id) == id)
                broken.push_back({&rule, {RuleState::Broken, std::string(id) + ".", {}}});
        return ConsistencySummary(broken);
    };
    EXPECT_EQ(ConsistencySummary({}), "Nothing found");
    EXPECT_EQ(ConsistencyLines({}), "Nothing found");
    EXPECT_EQ(add("exif-order"), "Nothing found, but 1 hint");
    EXPECT_EQ(add("altitude"), "Nothing found, but 2 hints");
    EXPECT_THAT(ConsistencyLines(broken),
                testing::StartsWith("Nothing found, but 2 hints:\nHint: exif-order. "));
    EXPECT_EQ(add("editing-program"), "1 point to look at, 2 hints");
    EXPECT_THAT(ConsistencyLines(broken), testing::StartsWith("editing-program. "));
    EXPECT_EQ(add("digitized"), "2 points to look at, 2 hints");
    EXPECT_EQ(add("credential-content"), "Content credentials do not hold");
    EXPECT_EQ(add("declared-source"), "Declared by the file itself");
}

TEST(ConsistencyRules, AHostileTextIsQuotedShortAndOnOneLine) {
    std::string text = "photoshop\n";
    for (int i = 0; i < 3000; ++i) text += "ä";
    ConsistencyInput input;
    input.facts.software = text;
    const std::vector<ConsistencyResult> found = FindInconsistencies(input);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_LT(found[0].answer.found.size(), 200U);
    EXPECT_EQ(ToValidUtf8(found[0].answer.found), found[0].answer.found) << "cut between characters";
    EXPECT_EQ(found[0].answer.found.find('\n'), std::string::npos);
}

// Files as cameras wrote them: hints at most, and how often each rule speaks; the counts were judged one by one.
TEST(ConsistencyRulesFixtures, UntouchedPhotographsGiveHintsAtMost) {
    NEED_FIXTURES();
    std::map<std::string, int> counts;
    int files = 0;
    for (const std::string& path : FilesBelow(Fixtures() + "/untouched")) {
        if (!path.ends_with(".jpg") && !path.ends_with(".JPG")) continue;
        const Bytes bytes = ReadFileBytes(path);
        const ConsistencyParts parts = ReadConsistencyParts(bytes);
        ++files;
        for (const ConsistencyResult& result :
             FindInconsistencies(ReadConsistencyInput(bytes, path, parts))) {
            EXPECT_EQ(result.rule->severity, RuleSeverity::Hint) << path << ": " << result.Text();
            ++counts[result.rule->id];
        }
    }
    EXPECT_EQ(files, 36);
    for (const auto& [rule, count] : counts) RecordProperty(rule, count);
}
