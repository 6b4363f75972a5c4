#include "orvcore/formats/jpegtables/compressionsignature.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdio>
#include <map>

#include "orvcore/formats/jpegtables/signaturecollection.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/threadtime.h"
#include "zorbase/zorexception.h"

using namespace formatsupport;

namespace {

std::string KeyOf(const Bytes& bytes) {
    return ReadCompressionSignature(bytes).key;
}

TEST(CompressionSignature, TellsWritersApartButNotPictures) {
    const JpegRecipe recipe{.optimised = true};
    JpegRecipe other = recipe;
    other.seed = 7;
    other.width = 96;
    const std::string key = KeyOf(MakeJpeg(recipe));
    EXPECT_EQ(key.size(), 32U);
    EXPECT_EQ(KeyOf(MakeJpeg(other)), key) << "content, size and codes made for it must not count";
    const std::pair<const char*, JpegRecipe> others[] = {
        {"quality", {.quality = 81, .optimised = true}},
        {"sampling", {.vertical = 1, .optimised = true}},
        {"codes", {}},
        {"process", {.progressive = true}},
        {"restarts", {.optimised = true, .restartRows = 1}},
        {"segments", {.optimised = true, .comment = "x"}},
        {"components", {.components = 1, .horizontal = 1, .vertical = 1, .optimised = true}}};
    for (const auto& [what, changed] : others) EXPECT_NE(KeyOf(MakeJpeg(changed)), key) << what;
    EXPECT_TRUE(ReadCompressionSignature(ToBytes("no picture")).key.empty());
}

TEST(CompressionSignature, ScansAreCountedAndNamedByEightDigits) {
    const auto scans = [](const Bytes& bytes) {
        for (const auto& [label, value] : ReadCompressionSignature(bytes).fields)
            if (label == "Scans") return value;
        return std::string("none");
    };
    EXPECT_EQ(scans(MakeJpeg({})), "1");
    const std::string progressive = scans(MakeJpeg({.progressive = true}));
    const std::size_t colon = progressive.find(':');
    ASSERT_NE(colon, std::string::npos) << progressive;
    EXPECT_EQ(progressive.substr(0, colon), "10");
    EXPECT_EQ(progressive.size() - colon, 9U) << progressive;
}

TEST(CompressionSignature, ComparisonNamesTheFieldsThatDiffer) {
    const auto first = ReadCompressionSignature(MakeJpeg({.quality = 80}));
    const auto second = ReadCompressionSignature(MakeJpeg({.quality = 70, .restartRows = 1}));
    std::string different;
    const auto list = CompareSignatures(first, second);
    for (const SignatureDifference& difference : list)
        if (!difference.isEqual) different += difference.label + ";";
    EXPECT_EQ(different, "Quantization;Markers;Restart interval;");
    EXPECT_EQ(list.size(), first.fields.size());
    EXPECT_TRUE(CompareSignatures(first, {}).empty());
}

TEST(CompressionSignature, RealCamerasHaveTheirOwn) {
    NEED_FIXTURES();
    std::map<std::string, std::vector<std::string>> files;
    std::size_t count = 0;
    for (const std::string& path : FilesBelow(Fixtures() + "/untouched")) {
        const auto signature = ReadCompressionSignature(ReadFileBytes(path));
        if (!signature.isJpeg) continue;
        files[signature.key].push_back(path);
        ++count;
    }
    EXPECT_GE(count, 36U);
    // Two sibling models of one maker write alike; all others have signatures of their own.
    EXPECT_EQ(files.size(), count - 1);
    for (const auto& [key, paths] : files)
        for (const std::string& path : paths)
            if (paths.size() > 1) {
                EXPECT_NE(path.find("Canon PowerShot S"), std::string::npos) << path;
            }
    // The same camera's file saved again by a program is not the camera's any more.
    const std::string batch = Fixtures() + "/synth/batch/";
    EXPECT_EQ(KeyOf(ReadFileBytes(batch + "A.jpg")), KeyOf(ReadFileBytes(batch + "A_copy_renamed.jpg")));
    EXPECT_NE(KeyOf(ReadFileBytes(batch + "A.jpg")), KeyOf(ReadFileBytes(batch + "A_prog.jpg")));
}

std::string Key(int number) {
    char text[40];
    std::snprintf(text, sizeof text, "%032x", static_cast<unsigned>(number));
    return text;
}

TEST(SignatureCollection, AddsFindsExportsAndImports) {
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/collection.db";
    std::string tsv;
    {
        SignatureCollection collection(path);
        EXPECT_TRUE(collection.Find(Key(1)).empty());
        collection.Add({{Key(1), "text one", "Maker", "Model A", "1.0", 2},
                        {Key(2), "text two", "=cmd()", "a\tb\\c\n", "-", 1}});
        collection.Add({{Key(1), "text one", "Maker", "Model A", "1.0", 3},
                        {Key(1), "text one", "Maker", "Model B", "", 9}});
        EXPECT_THROW(collection.Add({{Key(3), "", "good", "", "", 1}, {"short", "", "bad", "", "", 1}}),
                     ZorException);
        collection.Export([&](const std::string& line) { tsv += line + "\n"; });
    }
    SignatureCollection collection(path);
    const auto found = collection.Find(Key(1));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].model, "Model B");
    EXPECT_EQ(found[1].count, 5);
    EXPECT_TRUE(collection.Find(Key(3)).empty()) << "half of a refused change was kept";
    EXPECT_EQ(collection.CountRecords(), 3);
    EXPECT_EQ(collection.CountPictures(), 15);
    EXPECT_NE(tsv.find("'=cmd()"), std::string::npos);

    SignatureCollection copy(folder.Path() + "/copy.db");
    std::int64_t refused = 0;
    EXPECT_EQ(copy.Import(tsv + "nonsense\n" + Key(4) + "\ta\tb\tc\tnone\td\n", &refused), 3);
    EXPECT_EQ(refused, 2);
    std::string again;
    copy.Export([&](const std::string& line) { again += line + "\n"; });
    EXPECT_EQ(again, tsv);
    EXPECT_EQ(copy.Find(Key(2))[0].model, "a\tb\\c\n");
}

TEST(SignatureCollection, RefusesWhatIsNotACollection) {
    const TemporaryFolder folder;
    const std::string text = folder.Path() + "/text.db";
    WriteFile(text,
              std::string(
                  "no database at all, but long enough to be looked at as one by the library ............."));
    EXPECT_THROW(SignatureCollection{text}, ZorException);
    const std::string foreign = folder.Path() + "/foreign.db";
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(foreign.c_str(), &database), SQLITE_OK);
    sqlite3_exec(database, "CREATE TABLE other (a)", nullptr, nullptr, nullptr);
    sqlite3_close(database);
    const std::string before = ReadFile(foreign);
    EXPECT_THROW(SignatureCollection{foreign}, ZorException);
    EXPECT_EQ(ReadFile(foreign), before);
    WriteFile(folder.Path() + "/empty.jpg", std::string());
    EXPECT_THROW(SignatureCollection(folder.Path() + "/empty.jpg"), ZorException);
    EXPECT_EQ(ReadFile(folder.Path() + "/empty.jpg"), "");
    EXPECT_THROW(SignatureCollection(folder.Path() + "/none/collection.db"), ZorException);
}

TEST(SignatureCollection, LooksUpAmongAHundredThousand) {
    const TemporaryFolder folder;
    SignatureCollection collection(folder.Path() + "/large.db");
    std::vector<SignatureRecord> records;
    for (int i = 0; i < 100000; ++i)
        records.push_back({Key(i), "signature", "Maker", "Model", std::to_string(i), 1});
    collection.Add(records);
    const double start = ThreadSeconds();
    EXPECT_EQ(collection.Find(Key(77777)).size(), 1U);
    EXPECT_TRUE(collection.Find(Key(100001)).empty());
    EXPECT_LT(ThreadSeconds() - start, 0.05) << "without an index it reads them all";
}

}  // namespace
