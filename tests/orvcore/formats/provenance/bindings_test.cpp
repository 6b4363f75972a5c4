#include "orvcore/formats/provenance/bindings.h"

#include <gtest/gtest.h>

#include "orvcore/formats/provenance/provenance.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/orvcore/formats/provenance/storemaker.h"

using namespace provenance;
using namespace storemaker;
using formatsupport::AppendBig;
using formatsupport::ToBytes;
using formatsupport::operator+;

namespace {

const Bytes kBool = {0xF5};
const Bytes kNull = {0xF6};

Bytes CredentialBox(const std::string& purpose, const Bytes& content) {
    return Box("uuid", Bytes{0xD8, 0xFE, 0xC3, 0xD6, 0x1B, 0x0E, 0x48, 0x3C, 0x92, 0x97,
                             0x58, 0x28, 0x87, 0x7E, 0xC4, 0x81, 0,    0,    0,    0} +
                           ToBytes(purpose) + Bytes(9) + content);
}

// ftyp 0..15, credentials, meta with iloc inside, free, mdat of 16 + 50 bytes.
struct MediaFile {
    Bytes bytes;
    std::size_t meta = 0;
    std::size_t free = 0;
    std::size_t data = 0;
};
MediaFile MakeMedia() {
    MediaFile file;
    file.bytes = Box("ftyp", ToBytes("avifmif1")) + CredentialBox("manifest", Bytes(40, 7));
    file.meta = file.bytes.size();
    file.bytes = file.bytes + Box("meta", Bytes(4) + Box("hdlr", Bytes(5, 1)) + Box("iloc", Bytes(6, 2)));
    file.free = file.bytes.size();
    file.bytes = file.bytes + Box("free", Bytes(9, 3));
    file.data = file.bytes.size();
    Bytes media(8);
    for (int i = 0; i < 50; ++i) media.push_back(static_cast<std::uint8_t>(i));
    file.bytes = file.bytes + Box("mdat", media);
    return file;
}

Bytes Exclusion(const std::string& path, const std::vector<std::pair<std::string, Bytes>>& more = {}) {
    std::vector<std::pair<std::string, Bytes>> entries = {{"xpath", Text(path)}, {"length", kNull}};
    entries.insert(entries.end(), more.begin(), more.end());
    return Map(entries);
}

Bytes Part(const Bytes& file, std::size_t from, std::size_t to) {
    return Bytes(file.begin() + static_cast<std::ptrdiff_t>(from),
                 file.begin() + static_cast<std::ptrdiff_t>(to));
}

Bytes Place(std::size_t offset) {
    Bytes bytes;
    AppendBig(bytes, offset, 8);
    return bytes;
}

BindingResult Check(const Bytes& record, const Bytes& file) {
    std::size_t budget = 1000;
    const CborResult decoded = DecodeCbor(record, budget);
    EXPECT_TRUE(decoded.value) << decoded.error;
    const StoreSearch search = FindStores(file);
    const BoundFile bound{file, search.container, &search.stores.front(), false, {}};
    if (decoded.value->Find("boxes") != nullptr) return CheckBoxBinding(*decoded.value, "sha256", bound);
    return CheckMediaBinding(*decoded.value, "sha256", bound);
}

TEST(MediaBinding, HashesPlaceAndBytesOfEveryBoxThatIsNotLeftOut) {
    const MediaFile file = MakeMedia();
    const Bytes& all = file.bytes;
    const std::vector<Bytes> usual = {
        Exclusion("/uuid",
                  {{"data", List({Map({{"offset", Number(8)}, {"value", Bin(Part(all, 24, 40))}})})}}),
        Exclusion("/ftyp"), Exclusion("/free")};
    const Bytes hash = Sha(Place(file.meta) + Part(all, file.meta, file.free) + Place(file.data) +
                           Part(all, file.data, all.size()));
    const Bytes good = Map({{"exclusions", List(usual)}, {"hash", Bin(hash)}, {"alg", Text("sha256")}});
    const BindingResult result = Check(good, all);
    EXPECT_EQ(result.outcome, BindingOutcome::Match) << result.reason;
    for (const UncoveredRange& range : result.uncovered) EXPECT_TRUE(range.isUsual) << range.what;

    for (const std::size_t at : {file.meta + 20, file.data + 3, file.data + 30, all.size() - 1}) {
        Bytes changed = all;
        changed[at] ^= 1;
        EXPECT_EQ(Check(good, changed).outcome, BindingOutcome::Mismatch) << at;
    }
    // The same bytes one further: places count.
    Bytes moved = all;
    moved.insert(moved.begin() + static_cast<std::ptrdiff_t>(file.free) + 8, 0);
    moved[file.free + 3] += 1;
    EXPECT_EQ(Check(good, moved).outcome, BindingOutcome::Mismatch);
    EXPECT_EQ(Check(good, all + Bytes(5)).outcome, BindingOutcome::Mismatch);
}

TEST(MediaBinding, FollowsPathsIndicesAndParts) {
    const MediaFile file = MakeMedia();
    const Bytes& all = file.bytes;
    const std::size_t iloc = file.meta + 12 + 13;
    const Bytes kept = Place(file.meta) + Part(all, file.meta, iloc) + Place(file.free) +
                       Part(all, file.free, file.data) + Place(file.data) + Part(all, file.data, all.size());
    const struct {
        const char* what;
        Bytes exclusion;
        Bytes hashed;
    } kCases[] = {
        {"a box inside the full box", Exclusion("/meta/iloc"), kept},
        {"by index", Exclusion("/meta[1]/iloc[1]"), kept},
        {"no such index", Exclusion("/meta[2]/iloc"),
         Place(file.meta) + Part(all, file.meta, file.free) + Place(file.free) +
             Part(all, file.free, file.data) + Place(file.data) + Part(all, file.data, all.size())},
        {"a part",
         Exclusion("/mdat", {{"subset", List({Map({{"offset", Number(16)}, {"length", Number(0)}})})}}),
         Place(file.meta) + Part(all, file.meta, file.free) + Place(file.free) +
             Part(all, file.free, file.data) + Place(file.data) + Part(all, file.data, file.data + 16)},
    };
    for (const auto& item : kCases) {
        const Bytes record =
            Map({{"exclusions", List({Exclusion("/uuid"), Exclusion("/ftyp"), item.exclusion})},
                 {"hash", Bin(Sha(item.hashed))}});
        EXPECT_EQ(Check(record, all).outcome, BindingOutcome::Match) << item.what;
    }
    for (const char* path : {"meta", "/met", "/meta[0]", "/meta[x]", "/meta[1", ""})
        EXPECT_EQ(
            Check(Map({{"exclusions", List({Exclusion(path)})}, {"hash", Bin(Bytes(32))}}), all).outcome,
            BindingOutcome::Malformed)
            << path;
}

TEST(MediaBinding, ChecksTheTreeOfTheMediaData) {
    const MediaFile file = MakeMedia();
    const Bytes& all = file.bytes;
    const Bytes subset = List({Map({{"offset", Number(16)}, {"length", Number(0)}})});
    const Bytes exclusions = List({Exclusion("/uuid"), Exclusion("/ftyp"), Exclusion("/free"),
                                   Exclusion("/mdat", {{"subset", subset}})});
    const Bytes hash = Sha(Place(file.meta) + Part(all, file.meta, file.free) + Place(file.data) +
                           Part(all, file.data, file.data + 16));
    // 50 bytes in blocks of 20: three leaves.
    const std::size_t at = file.data + 16;
    const std::vector<Bytes> leaves = {Sha(Part(all, at, at + 20)), Sha(Part(all, at + 20, at + 40)),
                                       Sha(Part(all, at + 40, at + 50))};
    const Bytes top = Sha(Sha(leaves[0] + leaves[1]) + leaves[2]);
    const auto record = [&](const std::vector<std::pair<std::string, Bytes>>& row,
                            const std::vector<Bytes>& hashes) {
        std::vector<std::pair<std::string, Bytes>> entries = row;
        std::vector<Bytes> list;
        for (const Bytes& item : hashes) list.push_back(Bin(item));
        entries.emplace_back("localId", Number(0));
        entries.emplace_back("hashes", List(list));
        return Map({{"exclusions", exclusions}, {"hash", Bin(hash)}, {"merkle", List({Map(entries)})}});
    };
    const Bytes fixed = record({{"fixedBlockSize", Number(20)}, {"count", Number(3)}}, {top});
    const Bytes variable =
        record({{"variableBlockSizes", List({Number(20), Number(20), Number(10)})}}, leaves);
    const Bytes single = record({}, {Sha(Part(all, at, at + 50))});
    Bytes changed = all;
    changed[all.size() - 1] ^= 1;
    for (const Bytes& good : {fixed, variable, single}) {
        const BindingResult result = Check(good, all);
        EXPECT_EQ(result.outcome, BindingOutcome::Match) << result.reason;
        for (const UncoveredRange& range : result.uncovered) EXPECT_TRUE(range.isUsual) << range.what;
        EXPECT_EQ(Check(good, changed).outcome, BindingOutcome::Mismatch);
    }
    for (const Bytes& bad : {record({{"fixedBlockSize", Number(20)}, {"count", Number(4)}}, {top}),
                             record({{"fixedBlockSize", Number(0)}}, {top}),
                             record({{"variableBlockSizes", List({Number(20), Number(20)})}}, leaves),
                             record({{"variableBlockSizes", List({Number(~std::uint64_t{0})})}}, leaves)})
        EXPECT_EQ(Check(bad, all).outcome, BindingOutcome::Malformed);
    // The media data left out of the hash, and no tree: nothing covers it.
    const BindingResult bare = Check(Map({{"exclusions", exclusions}, {"hash", Bin(hash)}}), changed);
    EXPECT_EQ(bare.outcome, BindingOutcome::Match);
    ASSERT_FALSE(bare.uncovered.empty());
    EXPECT_EQ(bare.uncovered.back().range, (FileRange{at, 50}));
    EXPECT_FALSE(bare.uncovered.back().isUsual);
}

Bytes PngChunk(const std::string& code, const Bytes& data) {
    Bytes chunk;
    AppendBig(chunk, data.size(), 4);
    return chunk + ToBytes(code) + data + Bytes(4);
}

TEST(BoxBinding, NamesEveryChunkInOrder) {
    const Bytes head = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    const Bytes header = PngChunk("IHDR", Bytes(13, 1));
    const Bytes data = PngChunk("IDAT", Bytes(30, 2));
    const Bytes end = PngChunk("IEND", {});
    const Bytes file = head + header + PngChunk("caBX", Bytes(20, 5)) + data + end;
    const auto box = [](const std::vector<std::string>& names, const Bytes& bytes, bool isExcluded = false) {
        std::vector<Bytes> list;
        for (const std::string& name : names) list.push_back(Text(name));
        std::vector<std::pair<std::string, Bytes>> entries = {{"names", List(list)},
                                                              {"hash", Bin(Sha(bytes))}};
        if (isExcluded) entries.emplace_back("excluded", kBool);
        return Map(entries);
    };
    const auto record = [](const std::vector<Bytes>& boxes) {
        return Map({{"alg", Text("sha256")}, {"boxes", List(boxes)}});
    };
    const Bytes store = box({"C2PA"}, {});
    const Bytes good =
        record({box({"PNGh", "IHDR"}, head + header), store, box({"IDAT"}, data), box({"IEND"}, end)});
    EXPECT_EQ(Check(good, file).outcome, BindingOutcome::Match) << Check(good, file).reason;

    Bytes changed = file;
    changed[file.size() - 20] ^= 1;
    EXPECT_EQ(Check(good, changed).outcome, BindingOutcome::Mismatch);
    EXPECT_EQ(
        Check(good, head + header + PngChunk("caBX", Bytes(20)) + PngChunk("tEXt", Bytes(3)) + data + end)
            .outcome,
        BindingOutcome::Unknown);
    EXPECT_EQ(Check(good, file + Bytes(3)).outcome, BindingOutcome::Unknown) << "bytes behind the end";
    EXPECT_EQ(Check(good, head + header + PngChunk("caBX", Bytes(20)) + end).outcome,
              BindingOutcome::Mismatch);
    EXPECT_EQ(Check(record({store, store}), file).outcome, BindingOutcome::Unknown);
    EXPECT_EQ(Check(record({}), file).outcome, BindingOutcome::Malformed);

    const BindingResult open = Check(
        record({box({"PNGh", "IHDR"}, head + header), store, box({"IDAT"}, {}, true), box({"IEND"}, end)}),
        changed);
    EXPECT_EQ(open.outcome, BindingOutcome::Match);
    ASSERT_EQ(open.uncovered.size(), 1U);
    EXPECT_EQ(open.uncovered[0].range.size, data.size());
}

// Segments have the names of their markers, restart marks and coded data belong to their scan, reserved markers have no name.
TEST(BoxBinding, NamesEverySegmentOfAJpeg) {
    const auto segment = [](int marker) {
        return Bytes{0xFF, static_cast<std::uint8_t>(marker), 0, 4, 1, static_cast<std::uint8_t>(marker)};
    };
    const std::pair<int, const char*> segments[] = {{0xE0, "APP0"}, {0xE1, "APP1"}, {0xEF, "APP15"},
                                                    {0xFE, "COM"},  {0xDB, "DQT"},  {0xC0, "SOF0"},
                                                    {0xC4, "DHT"},  {0xDD, "DRI"}};
    Bytes file = {0xFF, 0xD8};
    std::vector<Bytes> boxes;
    const auto box = [](const std::string& name, const Bytes& bytes) {
        return Map({{"names", List({Text(name)})}, {"hash", Bin(Sha(bytes))}});
    };
    boxes.push_back(box("SOI", file));
    for (const auto& [marker, name] : segments) {
        file = file + segment(marker);
        boxes.push_back(box(name, segment(marker)));
    }
    const Bytes scan = segment(0xDA) + Bytes{1, 2, 3, 0xFF, 0, 4};
    const Bytes end = {0xFF, 0xD9};
    const auto record = [&](std::vector<Bytes> list) {
        list.push_back(box("SOS", scan));
        list.push_back(box("EOI", end));
        return Map({{"alg", Text("sha256")}, {"boxes", List(list)}});
    };
    const Bytes store = Store({Superbox("c2ma", "urn:c2pa:made", {})});
    boxes.insert(boxes.begin() + 1, box("C2PA", {}));
    const BindingResult good = Check(record(boxes), PutIntoJpeg(file + scan + end, store));
    EXPECT_EQ(good.outcome, BindingOutcome::Match) << good.reason;
    // A marker that the standard reserves.
    boxes.push_back(box("JPG0", segment(0xF0)));
    EXPECT_NE(Check(record(boxes), PutIntoJpeg(file + segment(0xF0) + scan + end, store)).outcome,
              BindingOutcome::Match);
}

TEST(StoreSearch, FindsTheStoreOfEveryContainer) {
    const Bytes store = Store({Superbox("c2ma", "urn:c2pa:made", {})});
    Bytes tiff = ToBytes(std::string("II*\0\x08\0\0\0", 8));
    formatsupport::AppendLittle(tiff, 1, 2);
    formatsupport::AppendLittle(tiff, 52545, 2);
    formatsupport::AppendLittle(tiff, 7, 2);
    formatsupport::AppendLittle(tiff, store.size(), 4);
    formatsupport::AppendLittle(tiff, 26, 4);
    formatsupport::AppendLittle(tiff, 8, 4);  // the next directory is this one again
    Bytes chunk = ToBytes("C2PA");
    formatsupport::AppendLittle(chunk, store.size(), 4);
    const Bytes pad(store.size() % 2);
    const struct {
        Container container;
        Bytes file;
        std::size_t storeAt;
        FileRange shell;
    } kCases[] = {
        {Container::Png,
         Bytes{0x89, 'P', 'N', 'G', 13, 10, 26, 10} + PngChunk("caBX", store),
         16,
         {8, store.size() + 12}},
        {Container::Webp,
         ToBytes("RIFF____WEBP") + chunk + store + pad,
         20,
         {12, store.size() + 8 + pad.size()}},
        {Container::Tiff, tiff + store, 26, {26, store.size()}},
        {Container::Bmff,
         Box("ftyp", Bytes(8)) + CredentialBox("manifest", store),
         16 + 8 + 20 + 17,
         {16, store.size() + 45}},
        {Container::Jpeg, PutIntoJpeg(formatsupport::MakeJpeg(), store), 14, {2, store.size() + 12}},
        {Container::Sidecar, store, 0, {0, store.size()}},
    };
    for (const auto& item : kCases) {
        const StoreSearch search = FindStores(item.file);
        EXPECT_EQ(search.container, item.container);
        ASSERT_EQ(search.stores.size(), 1U) << static_cast<int>(item.container);
        EXPECT_EQ(search.stores[0].FileOffset(0), item.storeAt);
        EXPECT_EQ(search.stores[0].shell.front(), item.shell);
        Bytes buffer;
        const ByteSpan view = search.stores[0].View(item.file, buffer);
        EXPECT_EQ(Bytes(view.begin(), view.end()), store);
        // Cut anywhere: found or not, never read beyond.
        for (std::size_t size = 0; size < item.file.size(); size += 3) {
            const Bytes cut = Part(item.file, 0, size);
            for (const FoundStore& found : FindStores(cut).stores)
                for (const FileRange& range : found.shell) EXPECT_LE(range.End(), size);
        }
    }
    const Bytes two =
        Box("ftyp", Bytes(8)) + CredentialBox("original", store) + CredentialBox("update", store);
    EXPECT_TRUE(FindStores(two).IsLegal());
    EXPECT_FALSE(FindStores(two + CredentialBox("update", store)).IsLegal());
}

// Stores that are there but not read are told, never taken for none.
TEST(StoreSearch, TellsWhatIsNotRead) {
    const Bytes head = ToBytes("GIF89a") + Bytes{2, 0, 1, 0, 0x80, 0, 0} + Bytes(6);
    const Bytes picture = Bytes{0x2C, 0, 0, 0, 0, 2, 0, 1, 0, 0, 2, 2, 0x44, 1, 0};
    const Bytes store = Bytes{0x21, 0xFF, 11} + ToBytes("C2PA_GIF") + Bytes{1, 0, 0, 4} + Bytes(4) + Bytes{0};
    const Bytes other = Bytes{0x21, 0xFF, 11} + ToBytes("NETSCAPE2.0") + Bytes{3, 1, 0, 0, 0};
    const Bytes end = {0x3B};
    const StoreSearch gif = FindStores(head + other + picture + store + end);
    EXPECT_TRUE(gif.stores.empty());
    ASSERT_EQ(gif.unread.size(), 1U);
    EXPECT_EQ(gif.unread[0].place, (FileRange{head.size() + other.size() + picture.size(), store.size()}));
    EXPECT_TRUE(FindStores(head + other + picture + end).unread.empty());
    const Bytes whole = head + picture + store;
    for (std::size_t size = 0; size <= whole.size(); ++size)
        for (const UnreadStore& found : FindStores(Part(whole, 0, size)).unread)
            EXPECT_LE(found.place.End(), size);

    const Bytes pdf = ToBytes("%PDF-1.7\n1 0 obj<</Type/Filespec/AFRelationship/C2PA_Manifest>>endobj\n");
    const Report report = ReadProvenance(pdf, {});
    EXPECT_EQ(report.presence, Presence::Unread);
    EXPECT_EQ(report.Summary(), "Present, not read");
    EXPECT_EQ(report.content.answer, Answer::Unknown);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_FALSE(report.findings[0].isStrong);
    EXPECT_TRUE(HasProvenance(pdf));
    EXPECT_FALSE(HasProvenance(ToBytes("%PDF-1.7\n1 0 obj<</Type/Catalog>>endobj\n")));
}

}  // namespace
