#include "orvcore/formats/provenance/timestamps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "orvcore/formats/provenance/cbor.h"
#include "orvcore/formats/provenance/cose.h"
#include "orvcore/formats/provenance/provenance.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/orvcore/formats/provenance/storemaker.h"

// Time stamps of an authority that the test plays itself, and the one of a real file that stands in a later manifest.

using namespace provenance;
using namespace storemaker;
using formatsupport::operator+;
using Outcome = StampResult::Outcome;

namespace {

const Signer& TheSigner() {
    static const Signer signer = MakeSigner();
    return signer;
}

const Signer& TheAuthority() {
    static const Signer authority = [] {
        SignerRecipe recipe;
        recipe.usages = "critical,timeStamping";
        return MakeSigner(recipe);
    }();
    return authority;
}

const Bytes& Picture() {
    static const Bytes picture = formatsupport::MakeJpeg();
    return picture;
}

std::vector<Status> StampStatuses(const Report& report) {
    std::vector<Status> found;
    for (const Status& status : report.statuses)
        if (status.code.starts_with("timeStamp.")) found.push_back(status);
    return found;
}

// The imprint alone ties a stamp to what it was made for.
TEST(TimeStamp, FitsWhatItWasMadeOverAndNothingElse) {
    const Bytes mine = {1, 2, 3};
    const Bytes other = {1, 2, 4};
    for (const EVP_MD* method : {EVP_sha256(), EVP_sha384(), EVP_sha512()}) {
        SCOPED_TRACE(EVP_MD_get0_name(method));
        const Bytes stamp = MakeStamp(TheAuthority(), mine, method);
        const StampResult result = CheckStamp(stamp, {other, mine});
        ASSERT_EQ(result.outcome, Outcome::Intact) << result.reason;
        EXPECT_EQ(result.fitting, 1U);
        EXPECT_EQ(result.authority, "Test Signer");
        EXPECT_TRUE(result.isInsideValidity);
        EXPECT_NEAR(static_cast<double>(result.time), static_cast<double>(std::time(nullptr)), 60);
        EXPECT_EQ(CheckStamp(stamp, {other}).outcome, Outcome::Mismatch);
        EXPECT_EQ(CheckStamp(stamp, {}).outcome, Outcome::Mismatch);
    }
    // An old hash proves nothing either way.
    const StampResult old = CheckStamp(MakeStamp(TheAuthority(), mine, EVP_sha1()), {mine});
    EXPECT_EQ(old.outcome, Outcome::Malformed);
    EXPECT_NE(old.reason.find("could not be checked"), std::string::npos);

    // Fits, but the token's own signature is broken: that is the reason told, not that it was made for something else.
    Bytes broken = MakeStamp(TheAuthority(), mine);
    broken[broken.size() - 1] ^= 1;
    const StampResult result = CheckStamp(broken, {other, mine});
    EXPECT_EQ(result.outcome, Outcome::Mismatch);
    EXPECT_NE(result.reason.find("own signature"), std::string::npos) << result.reason;
}

// Of a manifest's signature, held by a later manifest: its bare value, the structure that stamps beside a signature are
// made over, or the whole record. Everything else is something else.
TEST(TimeStamp, OfALaterManifestIsTakenInEveryFormThatHoldsTheSignature) {
    ManifestRecipe first;
    first.label = "urn:c2pa:first";
    first.assertions = {{"c2pa.hash.data", DataHash({{2, 100}}, Sha(Picture()))}};
    const Bytes stamped = MakeManifest(first, TheSigner());
    const Bytes record = SignatureRecordOf(stamped);
    std::size_t budget = 1000;
    const CoseSignature parts = ReadSignature(record, {}, budget);
    ASSERT_EQ(parts.fault, "");
    const Bytes value(parts.signature.begin(), parts.signature.end());
    const Bytes structure = SignedBytes("CounterSignature", parts.protectedBytes, Bin(value));
    Bytes otherRecord = record;
    otherRecord.back() ^= 1;

    const struct {
        const char* what;
        Bytes over;
        const char* code;
        const char* words;
    } kCases[] = {
        {"bare value", value, "timeStamp.validated", "later manifest."},
        {"structure", structure, "timeStamp.validated", "later manifest."},
        {"whole record", record, "timeStamp.validated", "whole record"},
        {"record without its tag", Bytes(record.begin() + 1, record.end()), "timeStamp.mismatch", "else"},
        {"another record", otherRecord, "timeStamp.mismatch", "else"},
        {"the picture", Picture(), "timeStamp.mismatch", "else"},
        {"nothing", {}, "timeStamp.mismatch", "else"},
    };
    for (const auto& item : kCases) {
        SCOPED_TRACE(item.what);
        ManifestRecipe update;
        update.kind = "c2um";
        const Bytes parent =
            Map({{"relationship", Text("parentOf")},
                 {"activeManifest", MakeHashedUri("self#jumbf=/c2pa/" + first.label, PayloadSha(stamped))}});
        update.assertions = {
            {"c2pa.ingredient.v3", parent},
            {"c2pa.time-stamp", Map({{first.label, Bin(MakeStamp(TheAuthority(), item.over))}})}};
        const Bytes file = PutIntoJpeg(Picture(), Store({stamped, MakeManifest(update, TheSigner())}));
        ProvenanceTrust trust;
        trust.now = std::time(nullptr);
        const Report report = ReadProvenance(file, trust);
        const std::vector<Status> told = StampStatuses(report);
        ASSERT_EQ(told.size(), 1U);
        EXPECT_EQ(told[0].code, item.code);
        EXPECT_EQ(told[0].manifest, 0U);
        EXPECT_NE(told[0].sentence.find(item.words), std::string::npos) << told[0].sentence;
        ASSERT_TRUE(report.manifests[0].stamp);
        EXPECT_EQ(report.manifests[0].stamp->isIntact, told[0].code == std::string("timeStamp.validated"));
        EXPECT_FALSE(report.manifests[0].stamp->isTrusted);
        EXPECT_FALSE(report.HasFailures()) << "a time stamp decides nothing about signature and content";

        // Whom the examiner chose to trust: nobody, another one, this one.
        EXPECT_FALSE(report.manifests[0].stamp->isChecked);
        trust.anchors.AddPem(Pem(TheSigner().issuer), true);
        const TimeStamp foreign = *ReadProvenance(file, trust).manifests[0].stamp;
        EXPECT_EQ(foreign.isChecked, foreign.isIntact);
        EXPECT_FALSE(foreign.isTrusted);
        trust.anchors.AddPem(Pem(TheAuthority().issuer), true);
        EXPECT_EQ(ReadProvenance(file, trust).manifests[0].stamp->isTrusted,
                  report.manifests[0].stamp->isIntact);
    }
}

TEST(TimeStamp, OfTheRealLaterManifestHolds) {
    NEED_FIXTURES();
    const Bytes file = ReadFileBytes(formatsupport::Fixtures() + "/provenance/update_manifest.jpg");
    ProvenanceTrust trust;
    trust.now = 1750000000;
    const Report report = ReadProvenance(file, trust);
    const std::vector<Status> told = StampStatuses(report);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].code, "timeStamp.validated");
    EXPECT_EQ(told[0].manifest, 0U) << "the source's signature, not the file's own";
    EXPECT_NE(told[0].sentence.find("2025-05-28T13:50:03Z"), std::string::npos) << told[0].sentence;
    EXPECT_NE(told[0].sentence.find("whole record"), std::string::npos) << told[0].sentence;
    EXPECT_FALSE(report.Active()->stamp);
    EXPECT_EQ(told[0].sentence.find("nothing of the signature"), std::string::npos);
    // The older kind is made over the claim: nothing is said of the signature.
    const std::vector<Status> older = StampStatuses(
        ReadProvenance(ReadFileBytes(formatsupport::Fixtures() + "/provenance/adobe-20220124-C.jpg"), trust));
    ASSERT_FALSE(older.empty());
    EXPECT_EQ(older[0].code, "timeStamp.validated");
    EXPECT_NE(older[0].sentence.find("over the claim"), std::string::npos) << older[0].sentence;
    EXPECT_EQ(older[0].sentence.find("this signature"), std::string::npos) << older[0].sentence;
}

}  // namespace
