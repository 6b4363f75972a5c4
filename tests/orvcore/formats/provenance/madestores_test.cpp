#include <brotli/encode.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>

#include "orvcore/formats/provenance/jumbf.h"
#include "orvcore/formats/provenance/provenance.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/orvcore/formats/provenance/storemaker.h"

// Credentials that were made for the test: what must hold, and everything that must not be taken for sound.

using namespace provenance;
using formatsupport::AppendBig;
using formatsupport::ToBytes;
using formatsupport::operator+;
using namespace storemaker;

namespace {

const Signer& TheSigner() {
    static const Signer signer = MakeSigner();
    return signer;
}

const Bytes& Picture() {
    static const Bytes picture = formatsupport::MakeJpeg();
    return picture;
}

Report Read(const Bytes& file, const Bytes& root = {}) {
    ProvenanceTrust trust;
    trust.now = std::time(nullptr);
    if (!root.empty()) trust.anchors.AddPem(Pem(root), false);
    return ReadProvenance(file, trust);
}

bool Has(const Report& report, const std::string& code) {
    return std::any_of(report.statuses.begin(), report.statuses.end(),
                       [&code](const Status& status) { return status.code == code; });
}

bool IsSound(const Report& report) {
    return report.signature.answer == Answer::Yes && report.content.answer == Answer::Yes &&
           !report.HasFailures();
}

TEST(MadeStore, HoldsInOneAndInManyPackets) {
    for (const std::size_t packet : {60000, 400, 100}) {
        const Bytes file = SignedJpeg(Picture(), {}, TheSigner(), {}, packet);
        const Report report = Read(file);
        EXPECT_TRUE(IsSound(report)) << packet;
        EXPECT_EQ(report.Active()->title, "made.jpg");
        EXPECT_EQ(report.trust.answer, Answer::Unknown);
        EXPECT_TRUE(HasProvenance(file));
    }
    EXPECT_FALSE(HasProvenance(Picture()));
    EXPECT_EQ(Read(Picture()).presence, Presence::None);
}

TEST(MadeStore, SeesEveryChangedByteOutsideOfTheStore) {
    const Bytes file = SignedJpeg(Picture(), {}, TheSigner());
    const Report report = Read(file);
    ASSERT_TRUE(IsSound(report));
    const std::size_t storeEnd = report.store.End();
    // The finding leads to the record that states the content's hash, the signature's row to the signature.
    Bytes spoilt = file;
    spoilt[storeEnd + 20] ^= 1;
    const Report other = Read(spoilt);
    const auto labelAt = [&spoilt](const FileRange& place) {
        const std::string text(spoilt.begin() + static_cast<std::ptrdiff_t>(place.offset),
                               spoilt.begin() + static_cast<std::ptrdiff_t>(place.End()));
        return text.find("c2pa.hash.data") == 33   ? "binding"
               : text.find("c2pa.signature") == 33 ? "signature"
                                                   : "";
    };
    ASSERT_FALSE(other.findings.empty());
    ASSERT_TRUE(other.findings[0].place);
    EXPECT_STREQ(labelAt(*other.findings[0].place), "binding");
    for (const LineageRow& row : other.lineage) {
        const char* expected = row.what == "Fault" ? "binding" : row.what == "Signature" ? "signature" : "";
        EXPECT_STREQ(labelAt(row.place), expected) << row.what;
    }
    for (std::size_t i = storeEnd; i < file.size(); i += 7) {
        Bytes changed = file;
        changed[i] ^= 0x10;
        ASSERT_EQ(Read(changed).content.answer, Answer::No) << i;
    }
}

// A byte of the store that may change without notice would have to be one that nothing protects.
TEST(MadeStore, NeverStaysSoundWhenSignedPartsOfTheStoreChange) {
    const Bytes file = SignedJpeg(Picture(), {}, TheSigner(), {}, 300);
    const Report report = Read(file);
    const auto marker =
        std::search(file.begin(), file.end(), std::begin("c2pa.signature"), std::end("c2pa.signature"));
    const auto signedEnd = static_cast<std::size_t>(marker - file.begin());
    for (std::size_t i = report.store.offset; i < signedEnd; ++i) {
        Bytes changed = file;
        changed[i] ^= 0x01;
        const Report after = Read(changed);
        if (after.presence != Presence::Embedded || after.Active() == nullptr) continue;
        // Box toggles and the segments' own packet repeats carry no statement.
        if (IsSound(after)) {
            EXPECT_EQ(after.Active()->title, report.Active()->title) << i;
            EXPECT_EQ(after.Active()->assertions, report.Active()->assertions) << i;
        }
    }
}

TEST(MadeStore, TellsWhatTheHashLeavesOut) {
    const Bytes plain = SignedJpeg(Picture(), {}, TheSigner());
    const std::uint64_t size = plain.size() + 200;
    Bytes file = SignedJpeg(Picture(), {}, TheSigner(), {{0, 2}});
    Report report = Read(file);
    EXPECT_EQ(report.content.answer, Answer::Partly);
    ASSERT_EQ(report.uncovered.size(), 1U);
    EXPECT_EQ(report.uncovered.front().range, (FileRange{0, 2}));
    EXPECT_NE(report.content.sentence.find("0 to 1"), std::string::npos);
    EXPECT_EQ(report.Summary(), "Content matches in part, signer not checked");
    // Beyond the end of the file.
    file = SignedJpeg(Picture(), {}, TheSigner(), {{size * 2, 5}});
    report = Read(file);
    EXPECT_EQ(report.content.answer, Answer::No);
    EXPECT_TRUE(Has(report, "assertion.dataHash.mismatch"));
    // From inside the file to beyond its end, also by a sum that wraps around. The record's size does not change with the range.
    const std::uint64_t end = file.size();
    for (const std::uint64_t length : {std::uint64_t{11}, ~std::uint64_t{0} - 5}) {
        file = SignedJpeg(Picture(), {}, TheSigner(), {{end - 10, length}});
        ASSERT_EQ(file.size(), end);
        EXPECT_EQ(Read(file).content.answer, Answer::No);
    }
    // Overlapping ranges.
    file = SignedJpeg(Picture(), {}, TheSigner(), {{0, 3}, {1, 1}});
    EXPECT_TRUE(Has(Read(file), "assertion.dataHash.malformed"));
}

TEST(MadeStore, CountsNoneOfSeveralStores) {
    const Bytes store = Store({MakeManifest({}, TheSigner())});
    const Bytes file = PutIntoJpeg(PutIntoJpeg(Picture(), store, 200), store, 200);
    const Report report = Read(file);
    EXPECT_EQ(report.presence, Presence::Several);
    EXPECT_TRUE(report.manifests.empty());
}

TEST(MadeStore, TellsMissingAndRepeatedPackets) {
    const Bytes store = Store({MakeManifest({}, TheSigner())});
    const Bytes file = PutIntoJpeg(Picture(), store, 200);
    const std::size_t segment = 2 + 2 + 8 + 200;
    Bytes missing = file;
    missing.erase(missing.begin() + 2 + static_cast<std::ptrdiff_t>(segment),
                  missing.begin() + 2 + static_cast<std::ptrdiff_t>(2 * segment));
    EXPECT_FALSE(IsSound(Read(missing)));
    EXPECT_TRUE(Read(missing).presence == Presence::Unreadable || Has(Read(missing), "general.error"));
    Bytes repeated = file;
    repeated.insert(repeated.begin() + 2 + static_cast<std::ptrdiff_t>(segment),
                    file.begin() + 2 + static_cast<std::ptrdiff_t>(segment),
                    file.begin() + 2 + static_cast<std::ptrdiff_t>(2 * segment));
    EXPECT_FALSE(IsSound(Read(repeated)));
}

TEST(MadeStore, JudgesTheSignersCertificateApart) {
    const struct {
        const char* what;
        SignerRecipe recipe;
        const char* code;
        Answer trust;
    } kCases[] = {
        {"sound", {}, "signingCredential.trusted", Answer::Yes},
        {"expired", {"1.3.6.1.5.5.7.3.4", -86400 * 30, -86400}, "signingCredential.expired", Answer::No},
        {"not yet valid", {"1.3.6.1.5.5.7.3.4", 86400, 86400 * 9}, "signingCredential.expired", Answer::No},
        {"for anything", {"1.3.6.1.5.5.7.3.4,anyExtendedKeyUsage"}, "signingCredential.invalid", Answer::No},
        {"for servers", {"serverAuth"}, "signingCredential.invalid", Answer::No},
        {"issues others", {"1.3.6.1.5.5.7.3.4", -9, 86400, 0, true}, "signingCredential.invalid", Answer::No},
    };
    for (const auto& item : kCases) {
        SCOPED_TRACE(item.what);
        const Signer signer = MakeSigner(item.recipe);
        const Bytes file = SignedJpeg(Picture(), {}, signer);
        const Report report = Read(file, signer.issuer);
        EXPECT_EQ(report.signature.answer, Answer::Yes) << "whether it verifies is another question";
        EXPECT_EQ(report.content.answer, Answer::Yes);
        EXPECT_TRUE(Has(report, item.code));
        EXPECT_EQ(report.trust.answer, item.trust);
        // Somebody else's root.
        EXPECT_EQ(Read(file, TheSigner().issuer).trust.answer, Answer::No);
    }
}

TEST(MadeStore, SaysNothingOfKeysOfUnreasonableLength) {
    for (const int bits : {1024, 16384}) {
        SignerRecipe recipe;
        recipe.rsaBits = bits;
        const Signer signer = MakeSigner(recipe);
        const Report report = Read(SignedJpeg(Picture(), {}, signer), signer.issuer);
        EXPECT_EQ(report.signature.answer, Answer::Unknown) << bits;
        EXPECT_NE(report.trust.answer, Answer::Yes) << bits;
        EXPECT_NE(report.content.answer, Answer::Yes) << bits;
        EXPECT_TRUE(Has(report, "algorithm.unsupported")) << bits;
    }
}

TEST(MadeStore, TakesNoOtherBytesForCertificates) {
    Signer signer = TheSigner();
    signer.certificate = ToBytes("not a certificate");
    EXPECT_TRUE(Has(Read(SignedJpeg(Picture(), {}, signer)), "signingCredential.invalid"));
    EXPECT_NE(Read(SignedJpeg(Picture(), {}, signer)).signature.answer, Answer::Yes);
    // Another's certificate beside the signature.
    signer.certificate = MakeSigner().certificate;
    EXPECT_TRUE(Has(Read(SignedJpeg(Picture(), {}, signer)), "claimSignature.mismatch"));
}

TEST(MadeStore, DemandsWhatEveryManifestMustHave) {
    ManifestRecipe recipe;
    recipe.isUnsigned = true;
    const Report bare = Read(SignedJpeg(Picture(), recipe, TheSigner()));
    EXPECT_TRUE(Has(bare, "claimSignature.missing"));
    EXPECT_EQ(bare.signature.answer, Answer::No);
    EXPECT_EQ(bare.Summary(), "No signature");
    ASSERT_EQ(bare.findings.size(), 1U) << "told once";
    EXPECT_NE(bare.findings[0].text.find("no signature where"), std::string::npos);
    for (const std::string& text : {bare.findings[0].text, bare.signature.sentence, bare.trust.sentence})
        EXPECT_EQ(text.find("verif"), std::string::npos) << text;
    recipe = {};
    recipe.extraAssertionBoxes = {Superbox("cbor", "c2pa.actions", {Box("cbor", Map({}))})};
    EXPECT_TRUE(Has(Read(SignedJpeg(Picture(), recipe, TheSigner())), "assertion.undeclared"));
    recipe = {};
    recipe.redacted = {"self#jumbf=/c2pa/urn:c2pa:made/c2pa.assertions/c2pa.note"};
    EXPECT_TRUE(Has(Read(SignedJpeg(Picture(), recipe, TheSigner())), "assertion.selfRedacted"));
    recipe = {};
    recipe.assertions = {{"c2pa.hash.boxes", Map({{"boxes", List({})}})}};
    EXPECT_TRUE(Has(Read(SignedJpeg(Picture(), recipe, TheSigner())), "assertion.multipleHardBindings"));
    const Report unbound = Read(PutIntoJpeg(Picture(), Store({MakeManifest({}, TheSigner())})));
    EXPECT_TRUE(Has(unbound, "claim.hardBindings.missing"));
    EXPECT_EQ(unbound.content.answer, Answer::Unknown);
}

Bytes IngredientOf(const std::string& label, const Bytes& hash) {
    return Map({{"relationship", Text("parentOf")},
                {"dc:title", Text("source")},
                {"activeManifest", MakeHashedUri("self#jumbf=/c2pa/" + label, hash)}});
}

TEST(MadeStore, FollowsIngredientsAndEndsInCircles) {
    const auto action = [](const std::string& type) {
        return Map({{"actions",
                     List({Map({{"action", Text("c2pa.created")}, {"digitalSourceType", Text(type)}})})}});
    };
    ManifestRecipe first;
    first.label = "urn:c2pa:first";
    first.title = "first";
    first.assertions = {{"c2pa.actions.v2",
                         action(" http://cv.iptc.org/newscodes/digitalsourcetype/trainedAlgorithmicMedia")},
                        {"c2pa.hash.data", DataHash({}, Bytes(32))}};
    const Bytes source = MakeManifest(first, TheSigner());
    ManifestRecipe second;
    second.assertions = {{"c2pa.ingredient.v3", IngredientOf("urn:c2pa:first", PayloadSha(source))}};
    const Report report = Read(PutIntoJpeg(Picture(), Store({source, MakeManifest(second, TheSigner())})));
    EXPECT_TRUE(Has(report, "ingredient.manifest.validated"));
    EXPECT_TRUE(report.manifests[0].isReached);
    ASSERT_EQ(report.marks.size(), 1U) << "the mark stands in the source alone, with a leading blank";
    EXPECT_EQ(report.marks[0].kind, SourceKind::Generated);
    EXPECT_TRUE(report.marks[0].isSigned);
    EXPECT_NE(report.marks[0].where.find("\"first\""), std::string::npos);

    // Each names the other as its source; a hash that closes the circle cannot exist.
    first.assertions.emplace_back("c2pa.ingredient.v3", IngredientOf("urn:c2pa:made", Bytes(32)));
    const Bytes circle = MakeManifest(first, TheSigner());
    second.assertions = {{"c2pa.ingredient.v3", IngredientOf("urn:c2pa:first", PayloadSha(circle))}};
    const Report round = Read(PutIntoJpeg(Picture(), Store({circle, MakeManifest(second, TheSigner())})));
    EXPECT_TRUE(Has(round, "ingredient.manifest.mismatch"));
    EXPECT_TRUE(std::any_of(round.lineage.begin(), round.lineage.end(),
                            [](const LineageRow& row) { return row.status == "told above"; }));

    // Two manifests of one name: nobody can say which is meant.
    const Report twins =
        Read(PutIntoJpeg(Picture(), Store({source, source, MakeManifest(second, TheSigner())})));
    EXPECT_TRUE(Has(twins, "ingredient.manifest.missing"));
}

// The content is bound by the first manifest; what was added later says that it left the content alone.
TEST(MadeStore, FollowsUpdatesToTheManifestThatIsBound) {
    ManifestRecipe bound;
    bound.label = "urn:c2pa:first";
    bound.assertions = {{"c2pa.hash.data", DataHash({{2, 100}}, Sha(Picture()))}};
    const Bytes first = MakeManifest(bound, TheSigner());
    const auto updated = [&](const char* kind, const Bytes& hash, const Bytes& picture) {
        ManifestRecipe update;
        update.kind = kind;
        update.assertions = {{"c2pa.ingredient.v3", IngredientOf("urn:c2pa:first", hash)}};
        return Read(PutIntoJpeg(picture, Store({first, MakeManifest(update, TheSigner())})));
    };
    EXPECT_TRUE(IsSound(updated("c2um", PayloadSha(first), Picture())));
    Bytes changed = Picture();
    changed[changed.size() - 9] ^= 1;
    EXPECT_EQ(updated("c2um", PayloadSha(first), changed).content.answer, Answer::No);
    // The first manifest is another than the one that was updated: it says nothing of this file.
    const Report other = updated("c2um", Bytes(32), Picture());
    EXPECT_TRUE(Has(other, "ingredient.manifest.mismatch"));
    EXPECT_EQ(other.contentHashMatches, std::optional(true));
    EXPECT_EQ(other.content.answer, Answer::Unknown);
    // Only an update may go without a binding of its own.
    EXPECT_TRUE(Has(updated("c2ma", PayloadSha(first), Picture()), "claim.hardBindings.missing"));
}

// A kind of binding that is too old to be checked is told, and nothing is called sound or changed for it.
TEST(MadeStore, TellsOldBindingsThatAreNotChecked) {
    ManifestRecipe recipe;
    recipe.assertions = {{"c2pa.hash.bmff", Map({{"alg", Text("sha256")}, {"hash", Bin(Bytes(32))}})}};
    const Report report = Read(PutIntoJpeg(Picture(), Store({MakeManifest(recipe, TheSigner())})));
    EXPECT_TRUE(Has(report, "algorithm.unsupported"));
    EXPECT_EQ(report.signature.answer, Answer::Yes);
    EXPECT_EQ(report.content.answer, Answer::Unknown);
    EXPECT_FALSE(report.contentHashMatches);
}

// A time stamp that another manifest holds and that is none is told as such; one for nobody is a warning.
TEST(MadeStore, LooksAtTimeStampsThatLaterManifestsHold) {
    ManifestRecipe first;
    first.label = "urn:c2pa:first";
    first.assertions = {{"c2pa.hash.data", DataHash({{2, 100}}, Sha(Picture()))}};
    const Bytes stamped = MakeManifest(first, TheSigner());
    const auto read = [&](const std::string& label) {
        ManifestRecipe update;
        update.kind = "c2um";
        update.assertions = {{"c2pa.ingredient.v3", IngredientOf("urn:c2pa:first", PayloadSha(stamped))},
                             {"c2pa.time-stamp", Map({{label, Bin(Bytes(40, 7))}})}};
        return Read(PutIntoJpeg(Picture(), Store({stamped, MakeManifest(update, TheSigner())})));
    };
    const Report report = read("urn:c2pa:first");
    EXPECT_TRUE(IsSound(report));
    const auto told = std::find_if(report.statuses.begin(), report.statuses.end(),
                                   [](const Status& status) { return status.code == "timeStamp.malformed"; });
    ASSERT_NE(told, report.statuses.end());
    EXPECT_EQ(told->manifest, 0U);
    EXPECT_NE(told->sentence.find("later manifest"), std::string::npos);
    EXPECT_TRUE(report.warnings.empty());
    EXPECT_FALSE(Has(read("urn:c2pa:nobody"), "timeStamp.malformed"));
    EXPECT_EQ(read("urn:c2pa:nobody").warnings.size(), 1U);
}

Bytes SignatureSha(const Bytes& manifest) {
    std::size_t budget = 100;
    const JumbfParse parse = ParseJumbf(manifest, budget);
    for (const JumbfBox& box : parse.root.children)
        if (box.IsSuperbox(BoxCode("c2cs"))) {
            const ByteSpan payload = box.Payload(manifest);
            return Sha(Bytes(payload.begin(), payload.end()));
        }
    return {};
}

TEST(MadeStore, LetsRecordsOfSourcesBeRemovedOpenly) {
    const auto read = [](const std::vector<std::string>& removed, const std::vector<std::string>& told) {
        ManifestRecipe source;
        source.label = "urn:c2pa:first";
        source.assertions = {{"test.place", Map({{"town", Text("a town")}})},
                             {"c2pa.hash.data", DataHash({}, Bytes(32))}};
        source.removed = removed;
        const Bytes first = MakeManifest(source, TheSigner());
        ManifestRecipe second;
        for (const std::string& label : told)
            second.redacted.push_back("self#jumbf=/c2pa/urn:c2pa:first/c2pa.assertions/" + label);
        second.assertions = {
            {"c2pa.ingredient.v3",
             Map({{"relationship", Text("parentOf")},
                  {"activeManifest", MakeHashedUri("self#jumbf=/c2pa/urn:c2pa:first", Bytes(32))},
                  {"claimSignature",
                   MakeHashedUri("self#jumbf=/c2pa/urn:c2pa:first/c2pa.signature", SignatureSha(first))}})}};
        return Read(PutIntoJpeg(Picture(), Store({first, MakeManifest(second, TheSigner())})));
    };
    const Report open = read({"test.place"}, {"test.place"});
    EXPECT_TRUE(Has(open, "ingredient.claimSignature.validated"));
    EXPECT_FALSE(Has(open, "assertion.missing"));
    EXPECT_TRUE(open.manifests[0].assertionsIntact);
    const Report secret = read({"test.place"}, {});
    EXPECT_TRUE(Has(secret, "assertion.missing"));
    EXPECT_TRUE(Has(secret, "ingredient.manifest.mismatch"));
    EXPECT_TRUE(Has(read({}, {"test.place"}), "assertion.notRedacted"));
    EXPECT_TRUE(Has(read({"c2pa.hash.data"}, {"c2pa.hash.data"}), "assertion.dataHash.redacted"));
}

TEST(MadeStore, KeepsDeepAndLyingBoxesBounded) {
    // Built from the outside: each header states all that follows.
    Bytes nested;
    constexpr std::uint32_t kLevels = 100000;
    constexpr std::uint32_t kEach = 8 + 25;
    for (std::uint32_t i = 0; i < kLevels; ++i) {
        AppendBig(nested, std::uint64_t{kLevels - i} * kEach, 4);
        nested.insert(nested.end(),
                      {'j', 'u', 'm', 'b', 0, 0, 0, 25, 'j', 'u', 'm', 'd', 'c', '2', 'p', 'a'});
        nested.insert(nested.end(),
                      {0x00, 0x11, 0x00, 0x10, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71, 0});
    }
    EXPECT_FALSE(IsSound(Read(PutIntoJpeg(Picture(), nested))));
    const Bytes store = Store({MakeManifest({}, TheSigner())});
    for (std::size_t i = 0; i < store.size(); i += 3) {
        for (const int bit : {0, 7}) {
            Bytes lying = store;
            lying[i] = static_cast<std::uint8_t>(lying[i] ^ (1 << bit));
            EXPECT_FALSE(IsSound(Read(PutIntoJpeg(Picture(), lying))));
        }
    }
}

Bytes Packed(const Bytes& bytes) {
    std::size_t size = BrotliEncoderMaxCompressedSize(bytes.size());
    Bytes packed(size);
    BrotliEncoderCompress(1, 22, BROTLI_MODE_GENERIC, bytes.size(), bytes.data(), &size, packed.data());
    packed.resize(size);
    return packed;
}

TEST(MadeStore, UnpacksManifestsUpToALimit) {
    const Bytes manifest = MakeManifest({}, TheSigner());
    const auto packedStore = [](const Bytes& content) {
        return PutIntoJpeg(Picture(), Store({Superbox("c2cm", "urn:c2pa:made", {Box("brob", content)})}));
    };
    const Report good = Read(packedStore(Packed(manifest)));
    EXPECT_EQ(good.signature.answer, Answer::Yes);
    EXPECT_TRUE(good.Active()->isCompressed);
    const Bytes bomb = Packed(manifest + Bytes(std::size_t{70} << 20));
    EXPECT_LT(bomb.size(), 60000U);
    const struct {
        const char* what;
        Bytes content;
    } kCases[] = {{"a bomb", bomb},
                  {"not packed", manifest},
                  {"cut", Bytes(bomb.begin(), bomb.begin() + 200)},
                  {"another manifest", Packed(MakeManifest({.label = "urn:c2pa:other"}, TheSigner()))}};
    for (const auto& item : kCases) {
        const Report report = Read(packedStore(item.content));
        EXPECT_TRUE(Has(report, "manifest.compressed.invalid")) << item.what;
        EXPECT_NE(report.signature.answer, Answer::Yes) << item.what;
    }
}

// Whatever the bytes are: an end, and no more than is there.
TEST(MadeStore, SurvivesRandomDamage) {
    ManifestRecipe recipe;
    recipe.assertions = {{"c2pa.ingredient.v3", IngredientOf("urn:c2pa:made", Bytes(32))}};
    const Bytes file = SignedJpeg(Picture(), recipe, TheSigner(), {}, 500);
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        Bytes damaged = file;
        for (std::uint32_t i = 0; i <= random() % 6; ++i)
            damaged[random() % 4000 % damaged.size()] = static_cast<std::uint8_t>(random());
        if (round % 3 == 0) damaged.resize(random() % damaged.size());
        const Report report = Read(damaged);
        for (const LineageRow& row : report.lineage) ASSERT_LE(row.place.End(), damaged.size());
        for (const Thumbnail& thumbnail : report.thumbnails)
            ASSERT_LE(thumbnail.bytes.size(), damaged.size());
    }
}

Bytes PngChunk(const std::string& code, const Bytes& data) {
    Bytes chunk;
    AppendBig(chunk, data.size(), 4);
    return chunk + ToBytes(code) + data + Bytes(4);
}

TEST(GeneratorMarks, AreFoundWithTheirPlaceAndWeighedAsText) {
    const Bytes head = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};
    const std::string kSettings = "a dog\nSteps: 20, Sampler: Euler a, CFG scale: 7, Seed: 1, Size: 512x512";
    const struct {
        Bytes chunk;
        const char* writer;  // "" no mark
    } kCases[] = {
        {PngChunk("tEXt", ToBytes("parameters") + Bytes{0} + ToBytes(kSettings)), "Stable Diffusion"},
        {PngChunk("iTXt", ToBytes("prompt") + Bytes(5) +
                              ToBytes(R"({"3": {"class_type": "KSampler", "inputs": {}}})")),
         "ComfyUI"},
        {PngChunk("tEXt", ToBytes("Software") + Bytes{0} + ToBytes("NovelAI")), "NovelAI"},
        {PngChunk("tEXt", ToBytes("invokeai_metadata") + Bytes{0} + ToBytes("{}")), "InvokeAI"},
        {PngChunk("tEXt", ToBytes("Comment") + Bytes{0} + ToBytes("Steps: 20 to the museum")), ""},
        {PngChunk("tEXt", ToBytes("Software") + Bytes{0} + ToBytes("GIMP")), ""},
        {PngChunk("zTXt", ToBytes("parameters") + Bytes{0, 0} + Bytes(50, 0xAB)), ""},
        // The standard's longest keyword, and one that is longer.
        {PngChunk("tEXt", Bytes(79, 'k') + Bytes{0} + ToBytes(kSettings)), "Stable Diffusion"},
        {PngChunk("tEXt", Bytes(80, 'k') + Bytes{0} + ToBytes(kSettings)), ""},
    };
    for (const auto& item : kCases) {
        const Bytes png = head + PngChunk("IHDR", Bytes(13)) + item.chunk + PngChunk("IEND", {});
        const MetadataSet none;
        ProvenanceOptions options;
        options.metadata = &none;
        const Report report = ReadProvenance(png, {}, options);
        const std::string writer = item.writer;
        ASSERT_EQ(report.marks.size(), writer.empty() ? 0U : 1U) << writer;
        if (writer.empty()) continue;
        EXPECT_EQ(report.marks[0].writer.rfind(writer, 0), 0U);
        EXPECT_EQ(report.marks[0].place, (FileRange{33, item.chunk.size()}));
        ASSERT_EQ(report.findings.size(), 1U);
        EXPECT_FALSE(report.findings[0].isStrong);
        EXPECT_EQ(
            report.findings[0].text.rfind("A text in the file says that the picture was generated: ", 0), 0U)
            << report.findings[0].text;
    }
    MetadataSet metadata;
    MetadataEntry entry;
    entry.kind = MetadataKind::Xmp;
    entry.key = "Xmp.iptcExt.DigitalSourceType";
    entry.raw = "http://cv.iptc.org/newscodes/digitalsourcetype/compositeWithTrainedAlgorithmicMedia";
    metadata.entries.push_back(entry);
    ProvenanceOptions options;
    options.metadata = &metadata;
    const Report report = ReadProvenance(Picture(), {}, options);
    ASSERT_EQ(report.marks.size(), 1U);
    EXPECT_EQ(report.marks[0].kind, SourceKind::PartlyGenerated);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(
        report.findings[0].text.rfind("A text in the file says that the picture was generated in part: ", 0),
        0U)
        << report.findings[0].text;
}

TEST(SourceTypes, AreToldApartByTheirLastPart) {
    EXPECT_EQ(KindOfSource("http://cv.iptc.org/newscodes/digitalsourcetype/trainedAlgorithmicMedia"),
              SourceKind::Generated);
    EXPECT_EQ(KindOfSource(" trainedalgorithmicmedia "), SourceKind::Generated);
    EXPECT_EQ(KindOfSource("http://c2pa.org/digitalsourcetype/trainedAlgorithmicData"),
              SourceKind::Generated);
    EXPECT_EQ(KindOfSource("…/compositeSynthetic"), SourceKind::PartlyGenerated);
    EXPECT_EQ(KindOfSource("…/algorithmicMedia"), SourceKind::NotGenerated);
    EXPECT_EQ(KindOfSource("…/composite"), SourceKind::Undecided);
    EXPECT_EQ(KindOfSource("…/notKnownYet"), SourceKind::Undecided);
    EXPECT_EQ(KindOfSource(""), SourceKind::None);
}

}  // namespace
