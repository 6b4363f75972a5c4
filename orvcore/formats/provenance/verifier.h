#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "orvcore/formats/provenance/claims.h"
#include "orvcore/formats/provenance/provenance.h"

// Verifies the manifests of a file against each other and against its bytes, and fills the report's facts; verdicts,
// lineage and findings are put into words by Narrate.
namespace provenance {

class Verifier {
  public:
    Verifier(ByteSpan file, const ProvenanceTrust& trust, const Between& between, Report& report)
        : m_file(file), m_trust(trust), m_between(between), m_report(report) {}

    void Run(const StoreSearch& search);

  private:
    void Decode();
    void FollowIngredients();
    void VerifyManifest(std::size_t index);
    void CheckAssertions(std::size_t index);
    void CheckRules(std::size_t index);
    void CheckIngredients(std::size_t index);
    void CheckContent();
    void TakeThumbnails(std::size_t index);
    void CheckRedactions();
    void CollectStamps();

    void Tell(const std::string& code, std::size_t manifest, const JumbfBox* box = nullptr,
              const std::string& more = {}, const std::string& subject = {});
    bool HashFits(std::size_t manifest, const JumbfBox& box, HashMethod method, ByteSpan expected);
    std::optional<HashMethod> MethodOf(const HashedUri& uri, std::size_t manifest) const;
    bool IsRedacted(std::size_t manifest, const std::string& label) const;
    // The first standard manifest up the parents.
    std::optional<std::size_t> BoundManifest() const;

    ByteSpan m_file;
    const ProvenanceTrust& m_trust;
    const Between& m_between;
    Report& m_report;
    Budget m_budget;
    Container m_container = Container::Unknown;
    StoredManifests m_stored;
    std::vector<DecodedManifest> m_decoded;
    std::vector<std::size_t> m_order;  // of the manifests that are reached, the active one first
    std::set<std::pair<std::string, std::string>> m_redacted;    // manifest and assertion label
    std::set<std::pair<std::string, std::string>> m_recorded;    // code and manifest
    std::map<std::size_t, std::vector<ByteSpan>> m_laterStamps;  // of manifests, from records of others
    std::set<std::size_t> m_changed;         // manifests that are not as an ingredient's record states
    std::set<std::size_t> m_intactBindings;  // manifests whose binding is as it was signed
    std::map<std::pair<const JumbfBox*, HashMethod>, std::vector<std::uint8_t>> m_hashes;
};

// Verdicts, lineage, marks of the credentials and findings, from the facts.
void Narrate(Report& report);

}  // namespace provenance
