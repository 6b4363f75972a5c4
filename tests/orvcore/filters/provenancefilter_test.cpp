#include <gtest/gtest.h>

#include <cstring>

#include "orvcore/model/trust.h"
#include "orvcore/tables/byteplaces.h"
#include "orvcore/tables/tablemarkup.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/orvcore/formats/provenance/storemaker.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"

namespace {

class ProvenanceFilterTest : public ::testing::Test {
  protected:
    ~ProvenanceFilterTest() override { SetTrust({}, {}); }

    std::string Write(const std::string& name, const Bytes& content) {
        WriteFile(folder / name, content);
        return folder / name;
    }
    static bool HasRow(const ::TableString& table, std::size_t column, const std::string& text) {
        for (const auto& row : table)
            if (row[column].find(text) != std::string::npos) return true;
        return false;
    }

    CaseFolder folder;
    std::unique_ptr<OrvFilter> filter = MakeFilter("provenance");
    storemaker::Signer signer = storemaker::MakeSigner();
    Bytes picture = formatsupport::MakeJpeg();
};

TEST_F(ProvenanceFilterTest, ShowsBothFilesSideBySide) {
    storemaker::ManifestRecipe recipe;
    recipe.assertions = {
        {"c2pa.actions.v2",
         storemaker::Map({{"actions", storemaker::List({storemaker::Map(
                                          {{"action", storemaker::Text("c2pa.created")},
                                           {"digitalSourceType",
                                            storemaker::Text("http://cv.iptc.org/newscodes/digitalsourcetype/"
                                                             "trainedAlgorithmicMedia")}})})}})}};
    const Bytes sound = storemaker::SignedJpeg(picture, recipe, signer);
    Bytes changed = storemaker::SignedJpeg(picture, {}, signer);
    changed[changed.size() - 20] ^= 1;
    const auto result = RunFilter(*filter, Write("sound.jpg", sound), Write("changed.jpg", changed));
    EXPECT_EQ(OutputOf(result, "present"), "Present");
    EXPECT_EQ(OutputOf(result, "verdict"), "Content matches, signer not checked");
    EXPECT_EQ(OutputOf(result, "verdict", true), "Content differs");
    EXPECT_EQ(OutputOf(result, "generator"), "test maker");
    EXPECT_EQ(OutputOf(result, "signer"), "Test Signer (certificate of Test Issuer)");
    EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::StrongSign);
    EXPECT_EQ(result->slot[OrvEvidence]->verdictText, "Declared as generated");
    EXPECT_EQ(result->slot[OrvReference]->verdict, OrvVerdict::StrongSign);
    EXPECT_EQ(result->slot[OrvReference]->verdictText, "Content differs");
    EXPECT_EQ(result->status, FilterStatus::StandsOut);
    const auto& lineage = result->output.Find("lineage")->Get<::TableString>();
    EXPECT_EQ(lineage[0][0], "File");
    EXPECT_EQ(lineage[1][0], "Evidence");
    EXPECT_EQ(lineage.back()[0], "Reference");
    EXPECT_TRUE(HasRow(lineage, 2, "made.jpg"));
    EXPECT_TRUE(HasRow(lineage, 4, "made by a trained model"));
    const auto& checks = result->output.Find("checks")->Get<::TableString>();
    EXPECT_TRUE(HasRow(checks, 2, "claimSignature.validated"));
    EXPECT_TRUE(HasRow(checks, 2, "assertion.dataHash.mismatch"));
    // Of one file alone its tables are as they are.
    const auto alone = RunFilter(*filter, folder / "sound.jpg");
    EXPECT_EQ(alone->output.Find("lineage")->Get<::TableString>()[0][0], "What");
    EXPECT_NE(OutputOf(result, "claims").find("\"claim_generator_info\""), std::string::npos);
}

// Rows lead to the bytes that they tell of, thumbnails are shown, and texts of the file colour nothing.
TEST_F(ProvenanceFilterTest, ShowsThumbnailsAndLeadsToBytes) {
    using namespace storemaker;
    using formatsupport::operator+;
    ManifestRecipe recipe;
    recipe.title = "!loud.jpg";
    const Bytes small = formatsupport::MakeJpeg({.width = 20, .height = 10, .seed = 5});
    const Bytes type = Bytes{0} + formatsupport::ToBytes("image/jpeg") + Bytes{0};
    const Bytes box = Superbox("bfdb", "c2pa.thumbnail.claim", {Box("bfdb", type), Box("bidb", small)});
    recipe.boxes = {box};
    const Bytes signedFile = SignedJpeg(picture, recipe, signer);
    const auto result = RunFilter(*filter, Write("a.jpg", signedFile), Write("b.jpg", signedFile));
    ASSERT_EQ(result->slot[OrvEvidence]->thumbnails.size(), 1U);
    EXPECT_EQ(result->slot[OrvEvidence]->thumbnails[0].GetWidth(), 20);
    EXPECT_EQ(result->GetThumbnails().size(), 2U);
    EXPECT_EQ(result->MakeLight()->GetThumbnails().size(), 2U);
    const auto& shown = result->output.Find("thumbnails")->Get<::TableString>();
    ASSERT_EQ(shown.size(), 3U);
    EXPECT_EQ(ParseCell(shown[1][1]).thumbnail, 0);
    EXPECT_EQ(ParseCell(shown[2][1]).thumbnail, 1);
    EXPECT_EQ(shown[1][5], "20 x 10");
    const auto places = FindBytePlaces(shown, 1);
    ASSERT_EQ(places.size(), 1U);
    ASSERT_EQ(places[0].count, small.size());
    EXPECT_EQ(0, std::memcmp(signedFile.data() + places[0].offset, small.data(), small.size()));
    for (const char* name : {"lineage", "checks"}) {
        const auto& table = result->output.Find(name)->Get<::TableString>();
        for (std::size_t row = 1; row < table.size(); ++row) {
            ASSERT_EQ(FindBytePlaces(table, row).size(), 1U) << name << row;
            EXPECT_LT(FindBytePlaces(table, row)[0].offset, signedFile.size());
            EXPECT_EQ(FindBytePlaces(table, row)[0].isReference, table[row][0] == "Reference");
        }
    }
    const auto& lineage = result->output.Find("lineage")->Get<::TableString>();
    EXPECT_EQ(ParseCell(lineage[1][2]).text, "!loud.jpg");
    EXPECT_EQ(ParseCell(lineage[1][2]).mark, CellMark::None);
}

TEST_F(ProvenanceFilterTest, FindsNothingInTheAbsenceOfCredentials) {
    const auto plain =
        RunFilter(*filter, Write("plain.jpg", picture), Write("note.txt", formatsupport::ToBytes("text")));
    EXPECT_EQ(plain->slot[OrvEvidence]->verdict, OrvVerdict::NotApplicable);
    EXPECT_EQ(plain->slot[OrvEvidence]->verdictText, "No credentials, which proves nothing: most files have none");
    EXPECT_TRUE(plain->slot[OrvEvidence]->findings.empty());
    EXPECT_EQ(OutputOf(plain, "present"), "None");
    EXPECT_NE(OutputOf(plain, "findings").find("proves nothing"), std::string::npos);
    EXPECT_NE(OutputOf(plain, "verdict").find("proves nothing"), std::string::npos);
    EXPECT_EQ(plain->slot[OrvReference]->verdictText, "Not a picture");
    EXPECT_EQ(plain->status, FilterStatus::Processed);
}

// A result that rests on the options is not taken for one under others.
TEST_F(ProvenanceFilterTest, JudgesAnewWhenOtherCertificatesAreTrusted) {
    const std::string path = Write("sound.jpg", storemaker::SignedJpeg(picture, {}, signer));
    OrvFilterResult request;
    request.input = filter->GetInputPrototype();
    request.file[OrvEvidence] = LoadForTest(path);
    const auto first = filter->Run(request, {}, OrvJob(), nullptr);
    EXPECT_EQ(OutputOf(first, "verdict"), "Content matches, signer not checked");
    EXPECT_EQ(first->slot[OrvEvidence]->verdict, OrvVerdict::NothingFound);

    Write("roots/one.pem", storemaker::Pem(signer.issuer));
    SetTrust(folder / "roots", {});
    const auto second = filter->Run(request, {first}, OrvJob(), nullptr);
    EXPECT_EQ(OutputOf(second, "verdict"), "Content matches, signer trusted");
    EXPECT_EQ(OutputOf(second, "anchors").rfind("1 of ", 0), 0U);
    EXPECT_EQ(filter->Run(request, {second}, OrvJob(), nullptr)->computed[OrvEvidence],
              second->computed[OrvEvidence]);

    // Another's certificate; one for time stamps says nothing of signers.
    const storemaker::Signer other = storemaker::MakeSigner();
    Write("roots/one.pem", storemaker::Pem(other.issuer));
    const auto third = filter->Run(request, {second}, OrvJob(), nullptr);
    EXPECT_EQ(OutputOf(third, "verdict"), "Content matches, signer not trusted");
    EXPECT_EQ(third->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
    RemoveFolder(folder / "roots");
    Write("roots/tsa-list.pem", storemaker::Pem(signer.issuer));
    const auto fourth = filter->Run(request, {third}, OrvJob(), nullptr);
    EXPECT_EQ(OutputOf(fourth, "verdict"), "Content matches, signer not checked");
    // A folder that is not there.
    SetTrust(folder / "nowhere", {});
    EXPECT_NE(OutputOf(filter->Run(request, {fourth}, OrvJob(), nullptr), "warnings").find("cannot be read"),
              std::string::npos);
}

TEST_F(ProvenanceFilterTest, AcceptsFurtherUsesOnRequest) {
    storemaker::SignerRecipe recipe;
    recipe.usages = "1.3.6.1.4.1.311.76.59.1.9";
    const storemaker::Signer special = storemaker::MakeSigner(recipe);
    const std::string path = Write("special.jpg", storemaker::SignedJpeg(picture, {}, special));
    Write("roots/one.pem", storemaker::Pem(special.issuer));
    SetTrust(folder / "roots", {});
    EXPECT_EQ(OutputOf(RunFilter(*filter, path), "verdict"), "Content matches, signer not trusted");
    SetTrust(folder / "roots", "1.2.3, 1.3.6.1.4.1.311.76.59.1.9");
    EXPECT_EQ(OutputOf(RunFilter(*filter, path), "verdict"), "Content matches, signer trusted");
}

TEST_F(ProvenanceFilterTest, LendsItsAnswerToTheMetadata) {
    const auto metadata = MakeFilter("metadata");
    Bytes changed = storemaker::SignedJpeg(picture, {}, signer);
    changed[changed.size() - 20] ^= 1;
    const auto result = RunFilter(*metadata, Write("changed.jpg", changed), Write("plain.jpg", picture));
    EXPECT_EQ(OutputOf(result, "credentials"), "Present: Content differs");
    EXPECT_EQ(OutputOf(result, "credentials", true), "None");
}

}  // namespace
