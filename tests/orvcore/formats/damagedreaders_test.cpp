// What each reader of a file's bytes says of small files in all the ways in which they can be damaged, as sums (tests/support/damage.h): a limit
// moved by one, a field taken for another, a lost warning shows in them. What the readings should be is tested beside each reader.

#include <gtest/gtest.h>

#include <algorithm>

#include "orvcore/formats/damage.h"
#include "orvcore/formats/embeddedjpegs.h"
#include "orvcore/formats/evidencefacts.h"
#include "orvcore/formats/exifscan.h"
#include "orvcore/formats/fields/gpsfacts.h"
#include "orvcore/formats/fields/iccfacts.h"
#include "orvcore/formats/fields/makernote.h"
#include "orvcore/formats/fields/metadataplaces.h"
#include "orvcore/formats/hexdump.h"
#include "orvcore/formats/jpegcarver.h"
#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/jpegtables/compressionsignature.h"
#include "orvcore/formats/jpegtables/jpegtables.h"
#include "orvcore/formats/printablestrings.h"
#include "orvcore/formats/provenance/cbor.h"
#include "orvcore/formats/provenance/jumbf.h"
#include "orvcore/formats/provenance/provenance.h"
#include "orvcore/formats/structure/picturesinfile.h"
#include "orvcore/formats/zipreader.h"
#include "orvcore/tools/folder/fileexamination.h"
#include "orvcore/tools/folder/foldertable.h"
#include "tests/orvcore/formats/fields/fieldsupport.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/orvcore/formats/provenance/storemaker.h"
#include "tests/orvcore/formats/structure/structuresupport.h"
#include "tests/support/damage.h"
#include "zorbase/text.h"

namespace {

using formatsupport::AppendBig;
using formatsupport::ToBytes;
using formatsupport::operator+;

// Numbers and texts, one behind the other.
class Line {
  public:
    template <typename... T>
    Line& Add(const T&... parts) {
        (Put(parts), ...);
        return *this;
    }
    std::string text;

  private:
    void Put(const std::string& part) { text += part + ';'; }
    void Put(const char* part) { text += part; }
    void Put(double number) { Put(ToString(number)); }
    template <typename T>
    requires std::is_integral_v<T> || std::is_enum_v<T>
    void Put(T number) { Put(std::to_string(static_cast<long long>(number))); }
    template <typename T>
    void Put(const std::vector<T>& list) {
        for (const T& one : list) Put(one);
        text += '/';
    }
};

std::string Structure(ByteSpan bytes) {
    Line line;
    const FileStructure found = ReadFileStructure(bytes);
    line.Add(found.format, found.isRead, found.gapBytes, found.trailingBytes, found.warnings);
    for (const StructureRow& row : found.rows)
        line.Add(row.offset, row.length, row.depth, row.kind, row.name, row.text, row.warning);
    for (const std::size_t offset : {std::size_t{0}, std::size_t{30}, bytes.size() / 2, bytes.size()})
        line.Add(FindStructureRow(found, offset), StructurePath(found, offset));
    for (const FilePicture& picture : ReadPicturesInFile(bytes, found)) {
        line.Add(picture.kind, picture.access, picture.index, picture.offset, picture.size, picture.width,
                 picture.height, picture.format, picture.where, picture.role);
        if (const auto extracted = ExtractFilePicture(bytes, picture))
            line.Add(extracted->size(), Sha256(*extracted));
    }
    return line.text;
}

std::string Jpeg(ByteSpan bytes) {
    Line line;
    const JpegStructure found = ParseJpegStructure(bytes);
    line.Add(found.isJpeg, found.complete, found.start, found.end, found.restartInterval, found.entropyBytes,
             found.gapBytes, found.trailingBytes, found.frameCount, found.comments, found.warnings,
             found.damage, found.trailingWarning, JpegSubsampling(found.frame), found.frame.process,
             found.frame.precision, found.frame.width, found.frame.height);
    for (const JpegSegment& one : found.segments)
        line.Add(one.offset, one.fill, one.marker, one.length, one.size, one.name, one.identifier, one.text);
    for (const JpegScan& scan : found.scans)
        line.Add(scan.headerOffset, scan.components, scan.spectralStart, scan.spectralEnd,
                 scan.approximationHigh, scan.approximationLow, scan.dataOffset, scan.dataSize,
                 scan.restarts);
    for (const JpegPictureEntry& one : found.pictures)
        line.Add(one.offset, one.size, one.attributes, one.text);
    const JpegTables tables = ReadJpegTables(bytes, found);
    line.Add(tables.isArithmetic, tables.setText);
    for (const auto& one : tables.quantization)
        line.Add(one.offset, one.components, one.isRedefined, one.isRepeated, one.table.id, one.table.values);
    for (const auto& one : tables.huffman)
        line.Add(one.offset, one.family, one.standardName, one.uses, one.isRedefined, one.table.counts);
    line.Add(SignatureText(ReadCompressionSignature(bytes)));
    const ImageInfo info = ReadImageInfo(bytes);
    line.Add(FindDamage(bytes, info, &found).All(), FindDamage(bytes, info).All());
    const EvidenceFacts facts = ReadEvidenceFacts(bytes, info);
    line.Add(facts.make, facts.model, facts.software, facts.tableHashes, facts.width, facts.height);
    CarveJpegs(
        bytes, [&line](const CarvedJpeg& one) { line.Add(one.offset, one.size, one.width, one.height); },
        [](double) {});
    return line.text;
}

std::string Exif(ByteSpan bytes) {
    Line line;
    const ExifScan scan = ScanExif(bytes);
    const MetadataFacts& facts = scan.facts;
    line.Add(scan.isPresent, scan.hasPosition, scan.thumbnail.size(), scan.hasOtherThumbnail, facts.make,
             facts.model, facts.software, facts.dateTimeOriginal, facts.dateTime, facts.dateTimeDigitized,
             facts.lens, facts.serial, facts.orientation, facts.pixelXDimension, facts.pixelYDimension);
    return line.text;
}

std::string Note(ByteSpan bytes) {
    Line line;
    for (const char* make : {"Canon", "NIKON CORPORATION", "Apple", "SONY", "FUJIFILM", "OLYMPUS CORPORATION",
                             "Panasonic", "nobody"}) {
        const MakerNote note = ReadMakerNote(bytes, true, 8, bytes.size() < 8 ? 0 : bytes.size() - 8, make);
        line.Add(note.kind, note.offset, note.size, note.isRead, note.little, note.isDirectoryOnly,
                 note.isAbsolute);
        for (const MakerNoteEntry& one : note.entries)
            line.Add(one.tag, one.type, one.count, one.valueOffset, one.valueSize, one.isInline, one.isInNote,
                     one.isInBlock, MakerNoteTagName(note.kind, one.tag), MakerNoteValue(bytes, note, one));
    }
    return line.text;
}

std::string Profile(ByteSpan bytes) {
    Line line;
    const IccFacts facts = ReadIccFacts(bytes);
    line.Add(facts.isProfile, facts.description, facts.space, facts.creator, facts.cmm, facts.primaries,
             facts.curves, facts.damage, HasPrimariesOfSrgb(facts));
    for (const IccField& one : facts.header) line.Add(one.label, one.value, one.raw, one.offset, one.size);
    for (const IccTag& one : facts.tags)
        line.Add(one.signature, one.offset, one.size, one.isInside, one.type, one.label, one.value, one.raw);
    return line.text;
}

std::string Metadata(ByteSpan bytes) {
    Line line;
    const DetailedMetadata found = ReadDetailedMetadata(bytes, {});
    for (const MetadataEntry& one : found.set.entries)
        line.Add(one.kind, one.group, one.key, one.label, one.value, one.raw, one.type, one.tag, one.size,
                 one.offset.value_or(0));
    line.Add(found.set.reading, found.set.extendedXmp, found.set.warnings, found.places.statedIptcDigest,
             found.places.iptcDigest, found.places.resources, found.places.photoshop.value_or(0),
             found.places.xmp.value_or(0), found.places.iptcBlock.value_or(0));
    for (const IptcPlace& one : found.places.iptc) line.Add(one.record, one.number, one.offset, one.size);
    const GpsFacts gps = ReadGpsFacts(found.set);
    line.Add(gps.isPresent, gps.whyNoPosition, gps.altitude.value_or(-1), gps.altitudeReference,
             gps.speed.value_or(-1), gps.time, gps.timeProblem, gps.datum, gps.method, gps.status,
             gps.seconds.value_or(-1), gps.imageDirection ? gps.imageDirection->reference : "",
             gps.position ? GpsInDegrees(*gps.position) : "");
    return line.text;
}

std::string Zip(ByteSpan bytes) {
    Line line;
    if (const auto directory = ReadZipDirectory(bytes)) {
        line.Add(directory->warnings);
        for (const ZipMember& one : directory->members) {
            const UnpackedMember unpacked = UnpackZipMember(bytes, one, 4000, [] {});
            line.Add(one.name, one.headerOffset, one.dataOffset, one.packedSize, one.size, one.crc,
                     one.method, one.encrypted, one.crcKnown, unpacked.bytes.size(), unpacked.problem,
                     unpacked.limitReached);
        }
    }
    std::vector<std::string> warnings;
    for (const EmbeddedJpeg& one : FindEmbeddedJpegs(bytes, {}, &warnings))
        line.Add(one.offset, one.container, one.sha256, one.width, one.height);
    return line.Add(warnings).text;
}

std::string Strings(ByteSpan bytes) {
    Line line;
    for (const std::size_t least : {3U, 5U}) {
        const PrintableStrings found = FindPrintableStrings(bytes, least);
        line.Add(found.isTruncated);
        for (const PrintableString& one : found.strings)
            line.Add(one.offset, one.size, one.encoding, one.text, one.isShortened);
    }
    return line.Add(HexDump(bytes, 3, 40, 8)).text;
}

std::string Cbor(ByteSpan bytes) {
    std::size_t budget = 60;
    const provenance::CborResult found = provenance::DecodeCbor(bytes, budget);
    return Line()
        .Add(found.error, found.position, budget,
             found.value ? provenance::CborToText(*found.value, 400) : std::string())
        .text;
}

void AddBox(Line& line, const provenance::JumbfBox& box) {
    line.Add(box.code, box.offset, box.headerSize, box.size, box.kind, box.label);
    for (const auto& child : box.children) AddBox(line, child);
}

std::string Boxes(ByteSpan bytes) {
    Line line;
    std::size_t budget = 40;
    const provenance::JumbfParse found = provenance::ParseJumbf(bytes, budget);
    line.Add(found.isWhole, found.faults, budget);
    AddBox(line, found.root);
    return line.text;
}

std::string Credentials(ByteSpan bytes) {
    ProvenanceTrust trust;
    trust.now = 1795266239;
    const provenance::Report report = ReadProvenance(bytes, trust);
    Line line;
    line.Add(report.presence, report.warnings, report.store.offset, report.store.size);
    for (const provenance::Verdict* verdict : {&report.signature, &report.content, &report.trust})
        line.Add(verdict->answer, verdict->sentence);
    for (const provenance::Status& status : report.statuses)
        line.Add(status.code, status.sentence, status.subject, status.place.offset, status.place.size);
    for (const provenance::Finding& finding : report.findings) line.Add(finding.isStrong, finding.text);
    for (const provenance::LineageRow& row : report.lineage)
        line.Add(row.depth, row.what, row.name, row.detail, row.sourceType, row.status, row.place.offset,
                 row.place.size);
    line.Add(report.Summary());
    return line.text;
}

std::string Row(ByteSpan bytes) {
    return Line().Add(FolderTableRow(ExamineFile("folder/picture.jpg", bytes))).text;
}

// A JPEG with a segment of every usual kind and a multi-picture index, restarts and bytes behind its end.
Bytes FullJpeg(bool isProgressive) {
    using formatsupport::Tag;
    std::vector<Tag> photo = {{0x829a, 5, {1, 60}},
                              {0x9003, 2, {}, "2004:06:17 07:10:06"},
                              {0x927c, 7, {}, "Note of nobody"},
                              {0xa002, 4, {48}},
                              {0xa003, 3, {32}},
                              {0xa434, 2, {}, "Lens"}};
    const Bytes exif = formatsupport::Tiff({.main = {{0x010f, 2, {}, "Maker"},
                                                     {0x0110, 2, {}, "Model 7"},
                                                     {0x0112, 3, {6}},
                                                     {0x0131, 2, {}, "Painter"},
                                                     {0x0132, 2, {}, "2005:01:02 03:04:05"}},
                                            .photo = photo,
                                            .gps = formatsupport::Position()});
    Bytes index = ToBytes(std::string("MPF\0MM\0\x2a\0\0\0\x08\0\1", 14)) + Bytes{0xb0, 2, 0, 7};
    AppendBig(index, 32, 4);
    AppendBig(index, 26, 4);
    AppendBig(index, 0, 4);
    for (const std::uint32_t number : {0x20030000U, 900U, 0U, 0U, 0x00010001U, 100U, 900U, 0U})
        AppendBig(index, number, 4);
    auto segments = fieldsupport::ProfileSegments(fieldsupport::MakeProfile({}), 300);
    segments.insert(segments.begin(),
                    {{1, ToBytes(std::string("Exif\0\0", 6)) + exif},
                     {1, formatsupport::XmpPayload("xmp:CreatorTool='Tool' exif:GPSLatitude='1,2.5N'")},
                     {13, fieldsupport::Resources({{1028, fieldsupport::Iptc({{5, "Title"}, {80, "Author"}})},
                                                   {1061, Bytes(16, 7)}})},
                     {2, index},
                     {14, ToBytes(std::string("Adobe\0\x64\0\0\0\0\1", 12))},
                     {9, ToBytes(std::string("unknown\0with content", 20))}});
    Bytes jpeg = formatsupport::MakeJpeg({.progressive = isProgressive,
                                          .restartRows = isProgressive ? 0 : 1,
                                          .comment = "said",
                                          .segments = segments});
    return jpeg + formatsupport::MakeJpeg({.width = 16, .height = 8}) + Bytes{1, 2, 3};
}

struct Case {
    const char* name;
    Bytes file;
    std::string (*describe)(ByteSpan);
    std::size_t first;  // of what is changed
    std::size_t end;
    std::size_t step;  // of what is cut
    const char* sum;
};

void Expect(const std::vector<Case>& cases) {
    for (const Case& one : cases)
        EXPECT_EQ(SumOfDamage(one.file, one.describe, one.first, one.end, one.step), one.sum) << one.name;
}

TEST(DamagedReaders, Structures) {
    using namespace structuresupport;
    Bytes tiff = TiffHeader(false, 8);
    AppendDirectory(tiff,
                    {{0x0100, 3, 1, 6},
                     {0x0101, 3, 1, 4},
                     {0x0102, 3, 3, 200},
                     {0x0103, 3, 1, 1},
                     {0x010e, 2, 9, 208},
                     {0x0111, 4, 2, 220},
                     {0x0117, 4, 2, 228},
                     {0x011a, 5, 1, 236},
                     {0x014a, 4, 1, 250},
                     {0x8769, 4, 1, 300}},
                    0);
    tiff.resize(400, 0x21);
    Bytes big = TiffHeader(true, 16);
    AppendDirectory(big, {{0x0100, 3, 1, 6}, {0x0101, 16, 1, 4}, {0x0144, 16, 1, 150}, {0x0145, 4, 1, 8}}, 0);
    big.resize(180, 3);
    Expect({{"png", MakePng(), Structure, 0, 400, 1, "b7094358de008942"},
            {"tiff", tiff, Structure, 0, 400, 1, "131b769c3ba9b7e9"},
            {"large tiff", big, Structure, 0, 180, 1, "41ba1d96aa195c72"},
            {"heif", MakeHeif(), Structure, 0, 1000, 1, "d3842f07200d32cb"},
            {"gif", MakeGif(2), Structure, 0, 400, 1, "433e2c1ca26c13d5"},
            {"webp", MakeWebp(false), Structure, 0, 400, 1, "59cc60b6aef0b8dc"},
            {"animation", MakeWebp(true), Structure, 0, 400, 1, "c01ff7441d06fd9b"},
            {"bmp", MakeBmp(5, -3), Structure, 0, 100, 1, "21b98f976a010403"},
            {"jpeg", FullJpeg(false), Structure, 0, 60, 11, "13e80ae8dfd94734"}});
}

TEST(DamagedReaders, VariantsOfEveryFormat) {
    const std::string folder = std::string(ORVANE_SOURCES) + "/tests/zorimage/variants/";
    const std::pair<const char*, const char*> sums[] = {
        {"anim.webp", "1ecde3fc43b0a474"},       {"offset.gif", "77ad8c25b0064100"},
        {"palette.png", "3aee7aa49fc2af6a"},     {"tiles.jp2", "1a9fd75889335f98"},
        {"deep.j2k", "e5528ffc31a0f12c"},        {"icc.avif", "057ea5cc64da2994"},
        {"deep.heic", "4f8bf9af3327cda2"},       {"cmyk.tif", "4d12761e9449d1ad"},
        {"tiledplanar.tif", "5f4275ca9596ea3a"}, {"bigtiff.tif", "b7f7117b50e0bb46"},
        {"jpeg.tif", "bcd8e317d94c9760"},        {"pages.tif", "9ed2c38460daaec6"},
        {"alpha.jp2", "6b5a825a5e1c0423"}};
    for (const auto& [name, sum] : sums)
        Expect({{name, ReadFileBytes(folder + name), Structure, 0, 500, 3, sum}});
}

TEST(DamagedReaders, JpegFiles) {
    const Bytes small = formatsupport::MakeJpeg({.width = 17, .height = 9, .comment = "x"});
    const Bytes full = FullJpeg(false);
    const Bytes scans = FullJpeg(true);
    Expect({{"small", small, Jpeg, 0, 330, 3, "809f3ab72c466256"},
            {"full", full, Jpeg, full.size() - 700, full.size() - 500, 97, "d7bd200f1b552629"},
            {"progressive", scans, Jpeg, scans.size() - 900, scans.size() - 800, 97, "9bd5296c4e540177"}});
}

TEST(DamagedReaders, BlocksOfMetadata) {
    using formatsupport::Tag;
    const std::vector<Tag> thumbnail = {{0x0103, 3, {6}}, {0x0201, 4, {3400}}, {0x0202, 4, {20}}};
    const Bytes exif =
        formatsupport::Tiff({.main = {{0x010f, 2, {}, "Maker"}, {0x0110, 2, {}, "M7"}, {0x0112, 3, {6}}},
                             .photo = {{0x9003, 2, {}, "2004:06:17 07:10:06"}, {0xa002, 4, {48}}},
                             .gps = formatsupport::Position(),
                             .second = thumbnail,
                             .behind = Bytes{0xff, 0xd8, 0xff, 0xd9} + Bytes(16)});
    Bytes note = ToBytes("II*\0\x08\0\0\0");
    note.resize(8);
    const Bytes apple = note + ToBytes(std::string("Apple iOS\0\0\1MM\0\2", 16)) +
                        Bytes{0, 1, 0, 9, 0, 0, 0,  1, 0, 0, 0, 12,  0,   2,   0,   2,   0,
                              0, 0, 6, 0, 0, 0, 44, 0, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 0};
    const Bytes canon =
        note + formatsupport::Directory({{1, 3, {1, 2, 3, 4}}, {6, 2, {}, "IMG:photo"}, {9, 2, {}, "me"}}, 8);
    Expect({{"exif", exif, Exif, 0, 110, 7, "c9e53e8579f85ad1"},
            {"camera's directory", exif, Exif, 1000, 1060, 50, "56bf070b58902346"},
            {"position", exif, Exif, 2000, 2080, 50, "93101ac60a1fc043"},
            {"thumbnail", exif, Exif, 2998, 3050, 50, "d559c1caf7b17b1f"},
            {"note with a name", apple, Note, 8, 90, 1, "555bb3064f9f5cce"},
            {"plain note", canon, Note, 8, 90, 1, "4ff83dfe1500c64a"},
            {"profile", fieldsupport::MakeProfile({}), Profile, 0, 320, 1, "7bd98158a802673b"}});
    const Bytes full = FullJpeg(false);
    const auto resources =
        std::search(full.begin(), full.end(), std::begin("Photoshop"), std::end("Photoshop") - 1);
    const auto at = static_cast<std::size_t>(resources - full.begin());
    Expect({{"metadata's beginning", full, Metadata, 20, 60, 211, "b59372904a23a02e"},
            {"resources", full, Metadata, at, at + 110, 1000, "801c1d85c3143b8a"}});
}

TEST(DamagedReaders, Containers) {
    const Bytes jpeg = formatsupport::MakeJpeg({.width = 16, .height = 8, .optimised = true});
    const Bytes zip = formatsupport::MakeZip({{"a/one.jpg", jpeg}, {"two.txt", ToBytes("text"), false}});
    const Bytes outer = formatsupport::MakeZip({{"inner.zip", zip, false}, {"x.jpg", jpeg, false}});
    Expect({{"zip's beginning", zip, Zip, 0, 60, 13, "233e5f6445fbbfb6"},
            {"zip's end", zip, Zip, zip.size() - 150, zip.size(), 97, "aec792afb4925c9d"},
            {"zip in zip", outer, Zip, outer.size() - 80, outer.size(), 61, "a41065d8517a0a73"}});
    constexpr char kWords[] =
        "ab\0abc\0caf\xC3\xA9\0\xC3x123\t45\nw\0i\0d\0e\0\0\0w\0\0a\0b\0c\0d\xE2\x82\xAC"
        "euro\xF0\x9F\x93\xB7pic\x7F~~~ A\4B\4C\4D\4";
    const Bytes words = Bytes(std::begin(kWords), std::end(kWords)) + ToBytes(std::string(1005, 'l'));
    Expect({{"strings", words, Strings, 0, 90, 7, "69748268dd07a3b8"}});
}

TEST(DamagedReaders, RecordsOfProvenance) {
    using namespace storemaker;
    const Bytes item =
        Map({{"a", Number(5)}, {"list", List({Text("x\"y"), Bin({1, 2, 255}), Number(70000)})}});
    const Bytes mixed = Bytes{0x88, 0xf4, 0xf6, 0xf9, 0x3e, 0, 0xfb, 0x3f, 0xf1, 0x99, 0x99, 0x99,
                              0x99, 0x99, 0x9a, 0x39, 1,    0, 0xc1, 0x1a, 0,    1,    0,    0,
                              0x5f, 0x41, 7,    0x42, 8,    9, 0xff, 0x7f, 0x61, 'q',  0xff} +
                        item;
    const Signer nobody;
    ManifestRecipe recipe;
    recipe.isUnsigned = true;
    recipe.assertions = {{"c2pa.actions", Map({{"actions", List({Map({{"action", Text("c2pa.opened")}})})}})},
                         {"stds.made", Map({{"key", Text("value")}})}};
    const Bytes store = Store({MakeManifest(recipe, nobody)});
    const Bytes file = PutIntoJpeg(formatsupport::MakeJpeg({.width = 16, .height = 8}), store, 300);
    Expect({{"cbor", mixed, Cbor, 0, 200, 1, "5ebfb64b6896ad1d"},
            {"boxes", store, Boxes, 0, 300, 3, "b44f08a576dcfae2"},
            {"credentials", file, Credentials, 0, 260, 17, "d43e78fd28f6d264"},
            {"claim", file, Credentials, 500, 760, 400, "b9da11f6855e00c1"}});
}

TEST(DamagedReaders, RowsOfAFoldersTable) {
    const Bytes full = FullJpeg(false);
    Expect({{"jpeg", full, Row, 0, 30, 89, "aea52ee459ca59c4"},
            {"small jpeg", formatsupport::MakeJpeg({.width = 17, .height = 9}), Row, 0, 200, 9,
             "7639c3c50c723236"},
            {"png", structuresupport::MakePng(), Row, 0, 200, 1, "8d8403df3ee70cfd"},
            {"gif", structuresupport::MakeGif(2), Row, 0, 100, 1, "b5048385aec0c35d"}});
}

TEST(DamagedReaders, PositionsEndWhereTheEarthDoes) {
    using formatsupport::Tag;
    const struct {
        std::uint32_t latitude, longitude;
        bool isPosition;
    } rows[] = {{90, 180, true}, {91, 180, false}, {90, 181, false}, {0, 0, true}};
    for (const auto& row : rows) {
        const std::vector<Tag> gps = {{1, 2, {}, "N"},
                                      {2, 5, {row.latitude, 1, 0, 1, 0, 1}},
                                      {3, 2, {}, "E"},
                                      {4, 5, {row.longitude, 1, 0, 1, 0, 1}}};
        EXPECT_EQ(ScanExif(formatsupport::Tiff({.gps = gps})).hasPosition, row.isPosition)
            << row.latitude << ' ' << row.longitude;
    }
}

}  // namespace
