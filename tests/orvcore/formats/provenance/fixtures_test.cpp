#include <gtest/gtest.h>

#include <algorithm>

#include "orvcore/formats/provenance/provenance.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "zorbase/hash.h"
#include "zorbase/json.h"

// Real files with known answers: $ORVANE_FIXTURES/provenance/truth.json has one entry for each.

using namespace provenance;

namespace {

std::string Folder() {
    return formatsupport::Fixtures() + "/provenance";
}

Report Read(const std::string& name, const TrustStore& anchors = {}) {
    const Bytes file = ReadFileBytes(Folder() + "/" + name);
    const MetadataSet metadata = ReadMetadata(file);
    ProvenanceTrust trust;
    trust.anchors = anchors;
    trust.now = 1750000000;
    ProvenanceOptions options;
    options.metadata = &metadata;
    return ReadProvenance(file, trust, options);
}

bool HasFailure(const Report& report, const std::string& code) {
    return std::any_of(report.statuses.begin(), report.statuses.end(), [&code](const Status& status) {
        return status.code == code && status.severity == Severity::Failure;
    });
}

std::vector<std::string> ActionNames(const Manifest& manifest) {
    std::vector<std::string> names;
    for (const Action& action : manifest.actions) names.push_back(action.name);
    return names;
}

std::vector<std::string> SourceTypes(const Manifest& manifest) {
    std::vector<std::string> types;
    for (const Action& action : manifest.actions)
        if (!action.sourceType.empty()) types.push_back(action.sourceType);
    std::sort(types.begin(), types.end());
    types.erase(std::unique(types.begin(), types.end()), types.end());
    return types;
}

void CompareActive(const Json& truth, const Report& report) {
    const Manifest& active = *report.Active();
    EXPECT_EQ(active.label, truth["active_manifest"]);
    EXPECT_EQ(active.signatureVerifies, std::optional(truth["signature_valid"].get<bool>()));
    EXPECT_EQ(report.signature.answer == Answer::Yes, truth["signature_valid"].get<bool>());
    for (const Json& code : truth.value("failure_codes", Json::array()))
        EXPECT_TRUE(HasFailure(report, code)) << code;
    if (!truth.contains("binding")) return;  // nothing else is known of it
    EXPECT_EQ(active.claimVersion, truth["claim_version"]);
    EXPECT_EQ(report.contentHashMatches, std::optional(truth["content_hash_matches"].get<bool>()));
    EXPECT_EQ(active.assertionsIntact, truth["assertion_hashes_intact"]);
    EXPECT_EQ(active.algorithm, truth["signature_algorithm"]);
    EXPECT_EQ(active.signerOrganisation, truth["signer_organisation"]);
    EXPECT_EQ(active.signerName, truth["signer_common_name"]);
    EXPECT_EQ(active.issuerCommonName, truth["certificate_issuer_common_name"]);
    EXPECT_EQ(active.serial, truth["certificate_serial"]);
    EXPECT_EQ(UtcText(active.notBefore), truth["certificate_not_before"]);
    EXPECT_EQ(UtcText(active.notAfter), truth["certificate_not_after"]);
    EXPECT_EQ(active.title, truth["title"].is_null() ? "" : truth["title"].get<std::string>());
    EXPECT_EQ(active.generator.rfind(truth["claim_generator"].get<std::string>(), 0), 0U) << active.generator;
    EXPECT_EQ(report.bindingLabel, truth["binding"]);
    EXPECT_EQ(Json(ActionNames(active)), truth["actions"]);
    EXPECT_EQ(Json(SourceTypes(active)), truth["digital_source_types"]);

    const Json& intact = truth["time_stamp_intact"];
    EXPECT_EQ(active.stamp.has_value(), !intact.is_null());
    if (active.stamp && intact.is_boolean()) {
        EXPECT_EQ(active.stamp->isIntact, intact.get<bool>());
        if (truth.contains("signing_time")) {
            EXPECT_EQ(UtcText(active.stamp->time), truth["signing_time"]);
        }
    }

    EXPECT_EQ(active.ingredients.size(), truth["ingredients"]);
    if (!truth.contains("ingredient_relationships")) return;
    std::vector<std::string> relationships;
    std::size_t withManifest = 0;
    for (const Ingredient& part : active.ingredients) {
        relationships.push_back(part.relationship);
        withManifest += part.manifestLabel.empty() ? 0 : 1;
    }
    std::sort(relationships.begin(), relationships.end());
    EXPECT_EQ(Json(relationships), truth["ingredient_relationships"]);
    EXPECT_EQ(withManifest, truth["ingredients_with_manifest"]);
}

void CompareOthers(const Json& truth, const Report& report) {
    for (const Json& other : truth.value("other_manifests", Json::array())) {
        const auto found =
            std::find_if(report.manifests.begin(), report.manifests.end(),
                         [&other](const Manifest& manifest) { return manifest.label == other["label"]; });
        ASSERT_NE(found, report.manifests.end()) << other["label"];
        EXPECT_EQ(Json(ActionNames(*found)), other["actions"]);
        EXPECT_EQ(Json(SourceTypes(*found)), other["digital_source_types"]);
        EXPECT_EQ(found->signerOrganisation, other["signer_organisation"]);
        EXPECT_EQ(found->signatureVerifies, std::optional(other["signature_valid"].get<bool>()));
    }
}

TEST(ProvenanceFixtures, EveryEntryAgrees) {
    NEED_FIXTURES();
    const Json truth = JsonFromText(ReadFile(Folder() + "/truth.json"));
    ASSERT_GE(truth.size(), 29U);
    for (const auto& [name, entry] : truth.items()) {
        SCOPED_TRACE(name);
        ASSERT_EQ(Sha256(ReadFileBytes(Folder() + "/" + name)), entry["sha256"])
            << "another file than the entry's";
        const Report report = Read(name);
        EXPECT_EQ(report.manifests.size(), entry["manifests"]);
        EXPECT_EQ(report.remoteReference, entry.value("remote_reference", ""));
        if (report.manifests.empty()) {
            // Nothing may be reported as valid.
            EXPECT_LE(report.signature.answer, Answer::Unknown);
            EXPECT_LE(report.content.answer, Answer::Unknown);
            EXPECT_EQ(report.presence,
                      entry["embedded_store"].is_boolean() ? Presence::Remote : Presence::Several);
            continue;
        }
        ASSERT_EQ(report.presence, Presence::Embedded);
        CompareActive(entry, report);
        CompareOthers(entry, report);
    }
}

TEST(ProvenanceFixtures, LeadsToTheTestRootsWhereTheEntrySaysSo) {
    NEED_FIXTURES();
    TrustStore roots;
    roots.AddPem(ReadFileBytes(Folder() + "/trust/test-roots.pem"), false);
    ASSERT_GT(roots.Size(), 0U);
    const Json truth = JsonFromText(ReadFile(Folder() + "/truth.json"));
    for (const auto& [name, entry] : truth.items()) {
        if (!entry.contains("chains_to_test_roots") || !entry["signature_valid"].get<bool>()) continue;
        SCOPED_TRACE(name);
        const Report report = Read(name, roots);
        EXPECT_EQ(report.trust.answer == Answer::Yes, entry["chains_to_test_roots"].get<bool>());
        EXPECT_EQ(Read(name).trust.answer, Answer::Unknown);
    }
}

// Verdicts, weights and words beyond what the entries state.
TEST(ProvenanceFixtures, SaysWhatEachFileShows) {
    NEED_FIXTURES();
    const struct {
        const char* file;
        const char* summary;
        std::size_t strong;
        std::size_t marks;
    } kCases[] = {
        {"adobe-20220124-C.jpg", "Content matches, signer not checked", 0, 0},
        {"adobe-20220124-CIE-sig-CA.jpg", "Content matches, signer not checked", 0, 0},
        {"adobe-20220124-E-dat-CA.jpg", "Content differs", 1, 0},
        {"adobe-20220124-E-sig-CA.jpg", "Signature does not verify", 1, 0},
        {"adobe-20220124-E-uri-CA.jpg", "Damaged records", 1, 0},
        {"bing_creator_cloud_surfing_puppy.jpg", "Content matches, signer not checked", 0, 0},
        {"DALL-E_cloud_surfing_puppy.webp", "Content matches, signer not checked", 1, 1},
        {"ocsp.jpg", "Content matches, signer not checked", 2, 2},
        {"redacted-es256.jpg", "Content matches, signer not checked", 0, 0},
        {"update_manifest.jpg", "Content matches, signer not checked", 0, 0},
        {"cards_trusted.avif", "Content matches in part, signer not checked", 0, 0},
        {"t-twostores-es256.png", "Several stores: none counts", 0, 0},
    };
    for (const auto& item : kCases) {
        SCOPED_TRACE(item.file);
        const Report report = Read(item.file);
        EXPECT_EQ(report.Summary(), item.summary);
        EXPECT_EQ(std::count_if(report.findings.begin(), report.findings.end(),
                                [](const Finding& finding) { return finding.isStrong; }),
                  static_cast<std::ptrdiff_t>(item.strong));
        EXPECT_EQ(report.marks.size(), item.marks);
    }
    const Report revocation = Read("ocsp.jpg");
    EXPECT_TRUE(std::any_of(revocation.statuses.begin(), revocation.statuses.end(), [](const Status& status) {
        return status.code == "signingCredential.ocsp.notRevoked";
    }));
    const Report generated = Read("DALL-E_cloud_surfing_puppy.webp");
    EXPECT_NE(generated.marks.front().where.find("from which this file was made"), std::string::npos);
    ASSERT_FALSE(generated.thumbnails.empty());
    EXPECT_EQ(generated.thumbnails.front().mediaType, "image/jpeg");
}

// A byte of a JPEG that is neither in the store nor left out of the hash cannot change unseen, and a file that is cut
// anywhere is never called sound.
TEST(ProvenanceFixtures, SeesChangedAndCutFiles) {
    NEED_FIXTURES();
    for (const char* name : {"adobe-20220124-C.jpg", "generated-es256.png", "capture-ed25519.webp",
                             "compressed-es256.jpg", "merkle5-es256.avif", "C.dng"}) {
        SCOPED_TRACE(name);
        const Bytes whole = ReadFileBytes(Folder() + "/" + name);
        const Report report = ReadProvenance(whole, {});
        ASSERT_EQ(report.content.answer, Answer::Yes);
        Bytes changed = whole;
        const bool isLast = report.store.End() + 100 >= whole.size();
        changed[isLast ? report.store.offset - 100 : whole.size() - 100] ^= 1;
        EXPECT_EQ(ReadProvenance(changed, {}).content.answer, Answer::No);
        for (std::size_t part = 1; part < 40; ++part) {
            const Bytes cut(whole.begin(),
                            whole.begin() + static_cast<std::ptrdiff_t>(whole.size() * part / 40));
            EXPECT_NE(ReadProvenance(cut, {}).content.answer, Answer::Yes) << part;
        }
        // The file grew.
        changed = whole;
        changed.insert(changed.end(), 10, 0);
        EXPECT_EQ(ReadProvenance(changed, {}).content.answer, Answer::No);
    }
}

}  // namespace
