#include "orvcore/formats/provenance/signers.h"

#include "orvcore/formats/provenance/cose.h"
#include "orvcore/formats/provenance/timestamps.h"
#include "zorbase/text.h"

namespace provenance {

namespace {

class Signer {
  public:
    Signer(const DecodedManifest& decoded, const ProvenanceTrust& trust,
           const std::vector<ByteSpan>& laterStamps, ByteSpan bytes, Manifest& shown, const Tell& tell)
        : m_decoded(decoded),
          m_trust(trust),
          m_laterStamps(laterStamps),
          m_bytes(bytes),
          m_shown(shown),
          m_tell(tell) {}

    void Run(Budget& budget) {
        m_signature = ReadSignature(m_bytes, m_decoded.claimBytes, budget.items);
        if (!m_signature.fault.empty()) {
            m_shown.signatureVerifies = false;
            m_tell("claimSignature.mismatch", m_signature.fault);
            return;
        }
        m_shown.algorithm = AlgorithmName(m_signature.algorithm);
        if (m_shown.algorithm.empty()) m_tell("algorithm.unsupported", {});
        if (m_signature.chain.empty()) {
            m_tell("signingCredential.invalid", m_signature.chainFault);
            return;
        }
        ShowCertificate();
        CheckSignature();
        CheckStamps();
        CheckForm();
        CheckValidity();
        CheckRevocations();
        CheckTrust();
    }

  private:
    void ShowCertificate() {
        m_facts = ReadFacts(m_signature.chain.front().get());
        m_shown.signerName = m_facts.commonName;
        m_shown.signerOrganisation = m_facts.organisation;
        m_shown.issuer = m_facts.issuer;
        m_shown.issuerCommonName = m_facts.issuerCommonName;
        m_shown.serial = m_facts.serial;
        m_shown.notBefore = m_facts.notBefore;
        m_shown.notAfter = m_facts.notAfter;
    }

    void CheckSignature() {
        switch (VerifySignature(m_signature, m_decoded.claimBytes)) {
            case SignatureOutcome::Verifies:
                m_shown.signatureVerifies = true;
                m_tell("claimSignature.validated", {});
                break;
            case SignatureOutcome::Fails:
                m_shown.signatureVerifies = false;
                m_tell("claimSignature.mismatch",
                       m_signature.hasForeignPayload
                           ? "The signature carries a claim of its own that is another one."
                           : std::string());
                break;
            case SignatureOutcome::Unsupported:
                if (!m_shown.algorithm.empty())
                    m_tell("algorithm.unsupported", "The signer's key is " + m_facts.key + ".");
        }
    }

    void CheckStamps() {
        const std::vector<std::uint8_t> ofClaim =
            SignedBytes("CounterSignature", m_signature.protectedBytes, m_decoded.claimBytes);
        for (const ByteSpan& stamp : m_signature.stampsOfClaim)
            TakeStamp(
                CheckStamp(stamp, {ofClaim}), {},
                "It was made over the claim with its headers: it shows that the claim was there by then, and nothing of "
                "the signature.");
        if (m_signature.stampsOfSignature.empty() && m_laterStamps.empty()) return;
        std::vector<std::uint8_t> payload;
        AppendCborBytes(payload, m_signature.signature);
        const std::vector<std::uint8_t> ofSignature =
            SignedBytes("CounterSignature", m_signature.protectedBytes, payload);
        for (const ByteSpan& stamp : m_signature.stampsOfSignature)
            TakeStamp(CheckStamp(stamp, {ofSignature}), {}, "It was made over the signature.");
        // Programs disagree on what a later manifest's stamp is made over. Each of the three holds the signature's value
        // whole, so each proves that the signature was there.
        for (const ByteSpan& stamp : m_laterStamps) {
            const StampResult result = CheckStamp(stamp, {m_signature.signature, ofSignature, m_bytes});
            TakeStamp(result, "It stands in a later manifest.",
                      result.fitting == 2
                          ? "It was made over the whole record of the signature, headers included."
                          : "It was made over the signature.");
        }
    }

    // where: in which manifest it stands, "" this one; over: what it was made over, should it hold.
    void TakeStamp(const StampResult& result, const std::string& where, const std::string& over) {
        TimeStamp stamp;
        stamp.time = result.time;
        stamp.authority = result.authority;
        stamp.isIntact = result.outcome == StampResult::Outcome::Intact;
        if (!stamp.isIntact) {
            m_tell(result.outcome == StampResult::Outcome::Mismatch ? "timeStamp.mismatch"
                                                                    : "timeStamp.malformed",
                   where.empty() ? result.reason : Join({result.reason, where}, " "));
        } else {
            m_tell("timeStamp.validated", "It says " + UtcText(result.time) + ", by " + result.authority +
                                              ". " + (where.empty() ? "" : where + " ") + over);
            if (!result.isInsideValidity) m_tell("timeStamp.outsideValidity", {});
            if (!m_trust.anchors.IsEmpty(CertificateRole::TimeStamp)) {
                std::string reason;
                stamp.isChecked = true;
                stamp.isTrusted =
                    m_trust.anchors.Leads(result.chain, CertificateRole::TimeStamp, result.time, reason);
                m_tell(stamp.isTrusted ? "timeStamp.trusted" : "timeStamp.untrusted",
                       stamp.isTrusted ? std::string() : "The reason given is: " + reason + ".");
            }
        }
        const bool isUsable = stamp.isIntact && result.isInsideValidity;
        const bool isBetter =
            isUsable && (!m_isStampUsable || (stamp.isTrusted && !m_shown.stamp->isTrusted));
        m_isStampUsable = m_isStampUsable || isUsable;
        if (!m_shown.stamp || isBetter || (stamp.isIntact && !m_shown.stamp->isIntact)) m_shown.stamp = stamp;
    }

    void CheckForm() {
        const std::vector<std::string> faults =
            CheckSignerForm(m_signature.chain.front().get(), m_trust.usages);
        m_isFormSound = faults.empty();
        if (!m_isFormSound) m_tell("signingCredential.invalid", Join(faults, " "));
    }

    // The stamp's time counts when the authority is trusted, or as long as nobody is: then it is said.
    void CheckValidity() {
        const bool isUnchecked = m_trust.anchors.IsEmpty(CertificateRole::TimeStamp);
        const bool counts = m_isStampUsable && (m_shown.stamp->isTrusted || isUnchecked);
        m_time = counts ? m_shown.stamp->time : m_trust.now;
        m_isValid = m_facts.IsValidAt(m_time);
        const std::string span =
            "It is valid from " + UtcText(m_facts.notBefore) + " to " + UtcText(m_facts.notAfter) + "; ";
        const std::string judged =
            counts && m_shown.stamp->isTrusted ? "the trusted time stamp says " + UtcText(m_time) + "."
            : counts ? "the time stamp, whose authority was not checked, says " + UtcText(m_time) + "."
                     : "without a time stamp that counts it is judged on " + UtcText(m_time) + ".";
        m_tell(m_isValid ? "claimSignature.insideValidity"
               : counts  ? "claimSignature.outsideValidity"
                         : "signingCredential.expired",
               span + judged);
    }

    void CheckRevocations() {
        if (m_signature.revocationAnswers.empty()) {
            m_tell("signingCredential.ocsp.skipped", {});
            return;
        }
        for (const ByteSpan& bytes : m_signature.revocationAnswers) {
            const RevocationResult answer = CheckRevocation(bytes, m_signature.chain);
            const std::string asOf = "The answer was made at " + UtcText(answer.answeredAt) + ".";
            switch (answer.outcome) {
                case RevocationResult::Outcome::NotRevoked:
                    m_tell("signingCredential.ocsp.notRevoked", asOf);
                    break;
                case RevocationResult::Outcome::Revoked: {
                    // What was signed before stays signed, unless the key itself had been lost.
                    const bool isLater = m_isStampUsable && m_shown.stamp->isTrusted &&
                                         answer.revokedAt > m_shown.stamp->time && !answer.isKeyCompromised;
                    if (!isLater) m_isRevoked = true;
                    m_tell(isLater ? "signingCredential.ocsp.unknown" : "signingCredential.ocsp.revoked",
                           "It was revoked at " + UtcText(answer.revokedAt) + ".");
                    break;
                }
                case RevocationResult::Outcome::Unknown:
                    m_tell("signingCredential.ocsp.unknown", asOf);
                    break;
                case RevocationResult::Outcome::Unreadable:
                    m_tell("signingCredential.ocsp.skipped", answer.reason);
            }
        }
    }

    void CheckTrust() {
        m_shown.isCredentialSound = m_isFormSound && m_isValid && !m_isRevoked;
        if (m_trust.anchors.IsEmpty(CertificateRole::Signer)) return;
        std::string reason;
        const bool leads = m_trust.anchors.Leads(m_signature.chain, CertificateRole::Signer, m_time, reason);
        m_shown.signerTrusted = leads && m_shown.isCredentialSound;
        m_tell(leads ? "signingCredential.trusted" : "signingCredential.untrusted",
               leads ? std::string() : "The reason given is: " + reason + ".");
    }

    const DecodedManifest& m_decoded;
    const ProvenanceTrust& m_trust;
    const std::vector<ByteSpan>& m_laterStamps;
    ByteSpan m_bytes;  // content of the signature's box
    Manifest& m_shown;
    const Tell& m_tell;
    CoseSignature m_signature;
    CertificateFacts m_facts;
    bool m_isStampUsable = false;
    bool m_isFormSound = false;
    bool m_isValid = false;
    bool m_isRevoked = false;
    std::time_t m_time = 0;
};

}  // namespace

void VerifySigner(const StoredManifest& stored, const DecodedManifest& decoded, const ProvenanceTrust& trust,
                  const std::vector<ByteSpan>& laterStamps, Budget& budget, Manifest& shown,
                  const Tell& tell) {
    const auto address = ParseAddress(decoded.signatureUrl);
    const bool isOwn = address && (address->manifest.empty() || address->manifest == stored.label);
    const JumbfBox* box = isOwn && !address->path.empty() ? Resolve(stored, address->path) : nullptr;
    const JumbfBox* content =
        box != nullptr && box->IsSuperbox(BoxCode("c2cs")) ? box->Content(BoxCode("cbor")) : nullptr;
    if (content == nullptr) {
        shown.signatureVerifies = false;
        shown.isUnsigned = true;
        tell("claimSignature.missing", {});
        return;
    }
    shown.signaturePlace = stored.PlaceOf(*box);
    Signer(decoded, trust, laterStamps, content->Payload(stored.bytes), shown, tell).Run(budget);
}

}  // namespace provenance
