#include <algorithm>
#include <set>

#include "orvcore/formats/provenance/verifier.h"
#include "zorbase/text.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxRows = 10000;
constexpr std::size_t kMaxFindings = 100;
constexpr std::size_t kMaxQuoted = 120;

std::string Quote(const std::string& text) {
    return "\"" + ShortenText(text, kMaxQuoted) + "\"";
}

std::string SignerText(const Manifest& manifest) {
    if (manifest.signerOrganisation.empty() || manifest.signerOrganisation == manifest.signerName)
        return manifest.signerName;
    return manifest.signerName.empty() ? manifest.signerOrganisation
                                       : manifest.signerName + ", " + manifest.signerOrganisation;
}

std::string NameOf(const Manifest& manifest) {
    if (!manifest.title.empty()) return Quote(manifest.title);
    return manifest.generator.empty() ? "a manifest without a name"
                                      : "the manifest of " + Quote(manifest.generator);
}

std::string SignatureWord(const Manifest& manifest) {
    if (manifest.isUnsigned) return "missing";
    if (!manifest.signatureVerifies) return "cannot be told";
    return *manifest.signatureVerifies ? "verifies" : "does not verify";
}

class Narrator {
  public:
    explicit Narrator(Report& report) : m_report(report) {}

    void Run() {
        switch (m_report.presence) {
            case Presence::None:
                break;
            case Presence::Remote:
                TellAll(Answer::Unknown, "The credentials are kept elsewhere and were not fetched.");
                break;
            case Presence::Several:
                TellAll(
                    Answer::Unknown,
                    "The file holds more than one store of credentials. Which of them belongs to it cannot be "
                    "told, so none of them counts.");
                Add(false,
                    "The file holds more than one store of content credentials; the standard allows one, and none of "
                    "them counts. Joining files by hand does this, a careless program too.",
                    m_report.store);
                break;
            case Presence::Unreadable:
                TellAll(Answer::Unknown, "The credentials are damaged: no manifest can be read.");
                Add(false, "The file's content credentials are damaged: no manifest can be read from them.",
                    m_report.store);
                break;
            case Presence::Unread:
                TellAll(Answer::Unknown, m_report.warnings.front());
                Add(false, m_report.warnings.front(), m_report.store);
                break;
            case Presence::Embedded:
                JudgeSignature();
                JudgeContent();
                JudgeTrust();
                TellLineage();
                CollectMarks();
                FindFaults();
        }
    }

  private:
    void TellAll(Answer answer, const std::string& sentence) {
        m_report.signature = m_report.content = m_report.trust = {answer, sentence};
    }

    void Add(bool isStrong, const std::string& text, std::optional<FileRange> place = {}) {
        if (m_report.findings.size() < kMaxFindings) m_report.findings.push_back({isStrong, text, place});
    }

    const Manifest& Active() const { return *m_report.Active(); }

    void JudgeSignature() {
        const auto& verifies = Active().signatureVerifies;
        if (!verifies)
            m_report.signature = {
                Answer::Unknown, "The signature was made in a way, or with a key, that is not checked here."};
        else if (*verifies)
            m_report.signature = {Answer::Yes,
                                  "The signature verifies: the claim is as it was when it was signed."};
        else if (Active().isUnsigned)
            m_report.signature = {
                Answer::No,
                "There is no signature where the claim says that it has one: nothing in the "
                "credentials is vouched for."};
        else
            m_report.signature = {
                Answer::No, "The signature does not verify: nothing in the credentials is vouched for."};
    }

    void JudgeContent() {
        Verdict& verdict = m_report.content;
        if (!m_report.contentHashMatches) {
            verdict = {Answer::Unknown, "Whether the credentials belong to this file cannot be checked."};
        } else if (!*m_report.contentHashMatches) {
            verdict = {Answer::No, "The file's content is not what the credentials were made for."};
        } else if (!m_report.isBindingSigned) {
            verdict = {
                Answer::Unknown,
                "The file's bytes agree with what the credentials state, but no sound signature vouches for "
                "that statement."};
        } else {
            std::size_t bytes = 0;
            std::vector<std::string> places;
            for (const UncoveredRange& range : m_report.uncovered) {
                if (range.isUsual) continue;
                bytes += range.range.size;
                if (places.size() < 5)
                    places.push_back(std::to_string(range.range.offset) + " to " +
                                     std::to_string(range.range.End() - 1) + " (" + range.what + ")");
            }
            if (bytes == 0) {
                verdict = {Answer::Yes, "The file's content is what was signed."};
            } else {
                verdict = {
                    Answer::Partly,
                    "The signed part of the file is unchanged, but " + std::to_string(bytes) +
                        " of its bytes are not covered by the signature and may have changed unseen: " +
                        Join(places, ", ") + "."};
            }
        }
    }

    void JudgeTrust() {
        const Manifest& active = Active();
        const std::string signer =
            SignerText(active).empty() ? "nobody who can be named" : Quote(SignerText(active));
        if (active.isUnsigned) {
            m_report.trust = {Answer::Unknown, "There is no signature, and so no signer."};
        } else if (!active.signatureVerifies.has_value() && SignerText(active).empty()) {
            m_report.trust = {Answer::Unknown, "No signer is named, and no signature could be checked."};
        } else if (active.signatureVerifies != true) {
            m_report.trust = {Answer::Unknown, "Signer named, signature not proved: " + signer + "."};
        } else if (!active.signerTrusted) {
            m_report.trust = {Answer::Unknown,
                              "Signer named, trust not checked: " + signer +
                                  ". No trusted certificates were chosen in the program options."};
        } else if (*active.signerTrusted) {
            m_report.trust = {Answer::Yes, "The signer is trusted by your choice: " + signer + "."};
        } else {
            m_report.trust = {Answer::No, "The signer is not trusted: " + signer + "."};
        }
    }

    void Row(int depth, const std::string& what, const std::string& name, const std::string& detail,
             const std::string& status, const FileRange& place, const std::string& sourceType = {}) {
        if (m_report.lineage.size() == kMaxRows)
            m_report.warnings.emplace_back("The lineage is longer than what is shown of it.");
        if (m_report.lineage.size() <= kMaxRows)
            m_report.lineage.push_back({depth, what, name, detail, sourceType, status, place});
    }

    void TellLineage() {
        for (std::size_t i = 0; i < m_report.statuses.size(); ++i)
            if (m_report.statuses[i].severity == Severity::Failure)
                m_faults.emplace(m_report.statuses[i].manifest, i);
        TellManifest(m_report.active, 0);
        for (const Manifest& manifest : m_report.manifests)
            if (!manifest.isReached)
                Row(0, "Manifest", manifest.title.empty() ? manifest.label : manifest.title,
                    manifest.generator, "not part of the lineage; signature " + SignatureWord(manifest),
                    manifest.place);
    }

    void TellManifest(std::size_t index, int depth) {
        const Manifest& manifest = m_report.manifests[index];
        const char* kind = manifest.kind == ManifestKind::Update ? "Update manifest" : "Manifest";
        const std::string name = manifest.title.empty() ? manifest.label : manifest.title;
        if (!m_told.insert(index).second) {
            Row(depth, kind, name, manifest.generator, "told above", manifest.place);
            return;
        }
        const bool hasFault =
            std::any_of(m_faults.lower_bound({index, 0}), m_faults.lower_bound({index + 1, 0}),
                        [this](const auto& fault) { return !m_report.statuses[fault.second].wasRecorded; });
        Row(depth, kind, name, manifest.generator + (manifest.isCompressed ? " (compressed)" : ""),
            hasFault ? "has faults" : "unchanged", manifest.place);
        std::string when = manifest.algorithm;
        if (manifest.stamp && manifest.stamp->isIntact) when += ", stamped " + UtcText(manifest.stamp->time);
        Row(depth + 1, "Signature", SignerText(manifest), when, SignatureWord(manifest),
            manifest.signaturePlace.size > 0 ? manifest.signaturePlace : manifest.place);
        for (auto fault = m_faults.lower_bound({index, 0}); fault != m_faults.lower_bound({index + 1, 0});
             ++fault) {
            const Status& status = m_report.statuses[fault->second];
            Row(depth + 1, "Fault", status.subject, status.sentence,
                status.code + (status.wasRecorded ? " (seen by the later signer)" : ""), status.place);
        }
        for (const Action& action : manifest.actions) {
            std::string detail = action.softwareAgent;
            for (const std::string& part : {action.description, action.when})
                if (!part.empty()) detail += (detail.empty() ? "" : "; ") + part;
            Row(depth + 1, "Action", action.name, detail, "", action.place,
                action.sourceType.empty() ? std::string() : DescribeSource(action.sourceType));
        }
        for (const std::string& type : manifest.otherSourceTypes)
            Row(depth + 1, "Record", "digital source type", "", "", manifest.place, DescribeSource(type));
        for (const Ingredient& part : manifest.ingredients) {
            Row(depth + 1, "Ingredient", part.title.empty() ? part.label : part.title,
                part.relationship + (part.format.empty() ? "" : ", " + part.format), part.status, part.place);
            if (part.manifest) TellManifest(*part.manifest, depth + 2);
        }
    }

    void CollectMarks() {
        for (std::size_t i = 0; i < m_report.manifests.size(); ++i) {
            const Manifest& manifest = m_report.manifests[i];
            if (!manifest.isReached) continue;
            const bool isSigned = manifest.signatureVerifies == true && manifest.assertionsIntact;
            const std::string where = i == m_report.active ? "in the credentials of this file"
                                                           : "in the credentials of " + NameOf(manifest) +
                                                                 ", from which this file was made";
            std::set<std::string> told;
            const auto add = [&](const std::string& type, const std::string& place, const FileRange& range) {
                const SourceKind kind = KindOfSource(type);
                if (kind != SourceKind::Generated && kind != SourceKind::PartlyGenerated) return;
                if (!told.insert(Trim(type)).second) return;
                m_report.marks.push_back({DescribeSource(type), place + " " + where, manifest.generator,
                                          "content credentials", kind, isSigned, range});
            };
            for (const Action& action : manifest.actions)
                add(action.sourceType, "action " + action.name, action.place);
            for (const std::string& type : manifest.otherSourceTypes) add(type, "a record", manifest.place);
        }
    }

    void FindFaults() {
        if (Active().isUnsigned)
            Add(true,
                "The file's content credentials have no signature where their claim says that they have one: nobody "
                "vouches for anything in them. The signature was taken away or never made; damage in transfer does "
                "this too.",
                Active().place);
        else if (m_report.signature.answer == Answer::No)
            Add(true,
                "The signature of the file's content credentials does not verify. They were changed after they were "
                "signed, or the signature was taken from elsewhere; damage in transfer does this too.",
                Active().signaturePlace.size > 0 ? Active().signaturePlace : Active().place);
        if (m_report.content.answer == Answer::No)
            Add(true,
                "The file's content is not what its credentials were made for. Whoever changed the picture or its "
                "metadata, or put another picture's credentials in, leaves this; so does saving it again with a "
                "program that knows nothing of credentials.",
                m_report.bindingPlace);
        if (m_report.content.answer == Answer::Partly)
            Add(false, m_report.content.sentence, m_report.bindingPlace);
        for (const Mark& mark : m_report.marks)
            Add(true,
                std::string(mark.kind == SourceKind::Generated
                                ? "The picture is declared as generated"
                                : "The picture is declared as generated in part") +
                    " (" + mark.text + "), by " + mark.where + ". " +
                    (mark.isSigned
                         ? "That record is as its signer left it."
                         : "No sound signature vouches for that record: anybody can have written it."),
                mark.place);
        FindRecords();
        FindSigner();
    }

    // One finding per kind of fault, with how often it occurs.
    void FindRecords() {
        std::set<std::string> told;
        for (const Status& status : m_report.statuses) {
            if (status.severity != Severity::Failure || status.wasRecorded) continue;
            const bool isActive = status.manifest == m_report.active;
            const bool isBinding =
                m_report.contentHashMatches == false && status.code.find("Hash.") != std::string::npos;
            const bool isOfSignature =
                status.code == "claimSignature.mismatch" || status.code == "claimSignature.missing";
            if (isBinding || (isActive && isOfSignature)) continue;
            if (!told.insert(status.code + (isActive ? "@active" : "@source")).second) continue;
            const auto count =
                std::count_if(m_report.statuses.begin(), m_report.statuses.end(), [&](const Status& other) {
                    return other.code == status.code && !other.wasRecorded &&
                           (other.manifest == m_report.active) == isActive;
                });
            const bool isChange = status.code.ends_with("mismatch") ||
                                  status.code == "assertion.undeclared" ||
                                  status.code == "assertion.notRedacted";
            Add(isChange,
                std::string(isActive ? "In the file's credentials" : "In the credentials of a source") +
                    (status.subject.empty() ? "" : " (" + ShortenText(status.subject, kMaxQuoted) + ")") +
                    ": " + status.sentence +
                    (count > 1 ? " This occurs " + std::to_string(count) + " times." : ""),
                status.place);
        }
    }

    void FindSigner() {
        for (const Status& status : m_report.statuses) {
            if (status.manifest != m_report.active) continue;
            const bool isAboutSigner =
                status.code == "signingCredential.untrusted" || status.code == "signingCredential.expired" ||
                status.code == "signingCredential.invalid" ||
                status.code == "claimSignature.outsideValidity" || status.code.starts_with("timeStamp.m");
            if (isAboutSigner) Add(false, status.sentence, status.place);
        }
    }

    Report& m_report;
    std::set<std::size_t> m_told;
    std::set<std::pair<std::size_t, std::size_t>> m_faults;  // manifest, index of the status
};

}  // namespace

void Narrate(Report& report) {
    Narrator(report).Run();
}

}  // namespace provenance
