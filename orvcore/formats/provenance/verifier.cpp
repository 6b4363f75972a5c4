#include "orvcore/formats/provenance/verifier.h"

#include <algorithm>

#include "orvcore/formats/provenance/signers.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxStatuses = 20000;
constexpr std::size_t kMaxThumbnails = 64;
constexpr std::size_t kMaxLaterStamps = 8;  // for one signature

bool IsBlank(ByteSpan bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

// A removed record's box is either gone or has nothing but zeros left.
bool HasContent(const StoredManifest& stored, const JumbfBox& box) {
    return std::any_of(box.children.begin(), box.children.end(),
                       [&stored](const JumbfBox& child) { return !IsBlank(child.Payload(stored.bytes)); });
}

std::string BindingCode(const std::string& label, BindingOutcome outcome) {
    const std::string base = BaseLabel(label);
    const std::string kind = base == "c2pa.hash.data"    ? "assertion.dataHash."
                             : base == "c2pa.hash.boxes" ? "assertion.boxesHash."
                                                         : "assertion.bmffHash.";
    switch (outcome) {
        case BindingOutcome::Match:
            return kind + "match";
        case BindingOutcome::Mismatch:
            return kind + "mismatch";
        case BindingOutcome::Unknown:
            return kind + "unknownBox";
        case BindingOutcome::Unsupported:
            return "algorithm.unsupported";
        default:
            return kind + "malformed";
    }
}

}  // namespace

void Verifier::Run(const StoreSearch& search) {
    m_container = search.container;
    // What was added later follows what it was added to.
    std::vector<const FoundStore*> stores;
    for (const FoundStore& store : search.stores)
        stores.insert(store.purpose == "update" ? stores.end() : stores.begin(), &store);
    m_stored = ReadManifests(m_file, stores, m_budget);
    if (m_stored.list.empty()) {
        m_report.presence = Presence::Unreadable;
        m_report.warnings.insert(m_report.warnings.end(), m_stored.faults.begin(), m_stored.faults.end());
        return;
    }
    m_report.presence = Presence::Embedded;
    m_report.active = m_stored.list.size() - 1;
    Decode();
    for (const std::string& fault : m_stored.faults) Tell("general.error", m_report.active, nullptr, fault);
    FollowIngredients();
    CheckRedactions();
    CollectStamps();
    for (const std::size_t index : m_order) VerifyManifest(index);
    // Who signed the others is shown; what is wrong with them is nothing against this file.
    for (std::size_t i = 0; i < m_stored.list.size(); ++i)
        if (!m_report.manifests[i].isReached && m_decoded[i].claim)
            VerifySigner(m_stored.list[i], m_decoded[i], m_trust, {}, m_budget, m_report.manifests[i],
                         [](const char*, const std::string&) {});
    CheckContent();
}

void Verifier::Decode() {
    m_report.manifests.resize(m_stored.list.size());
    for (std::size_t i = 0; i < m_stored.list.size(); ++i) {
        m_decoded.push_back(DecodeManifest(m_stored.list[i], m_budget, m_report.manifests[i]));
        if (m_between) m_between();
    }
}

void Verifier::FollowIngredients() {
    m_order.push_back(m_report.active);
    m_report.manifests[m_report.active].isReached = true;
    for (std::size_t next = 0; next < m_order.size(); ++next) {
        const std::size_t index = m_order[next];
        for (std::size_t i = 0; i < m_decoded[index].links.size(); ++i) {
            const IngredientLink& link = m_decoded[index].links[i];
            m_recorded.insert(link.recorded.begin(), link.recorded.end());
            const auto found = m_stored.Find(link.manifestLabel);
            if (!link.manifest || !found) continue;
            m_report.manifests[index].ingredients[i].manifest = *found;
            if (m_report.manifests[*found].isReached) continue;
            m_report.manifests[*found].isReached = true;
            m_order.push_back(*found);
        }
    }
}

void Verifier::CheckRedactions() {
    for (const std::size_t index : m_order) {
        for (const std::string& url : m_decoded[index].redacted) {
            const auto address = ParseAddress(url);
            if (!address || address->path.empty()) continue;
            const std::string& label = address->path.back();
            const std::string base = BaseLabel(label);
            if (address->manifest.empty() || address->manifest == m_stored.list[index].label)
                Tell("assertion.selfRedacted", index, nullptr, {}, label);
            else if (base == "c2pa.actions" || base == "c2pa.actions.v2")
                Tell("assertion.action.redacted", index, nullptr, {}, label);
            else if (IsBinding(label))
                Tell("assertion.dataHash.redacted", index, nullptr, {}, label);
            else
                m_redacted.emplace(address->manifest, label);
        }
    }
}

// Time stamps that a manifest holds for the signatures of others: a map of label and token. A stamp proves itself, whoever carries it.
void Verifier::CollectStamps() {
    bool isAnyLost = false;
    for (const std::size_t index : m_order) {
        for (const auto& [box, record] : m_decoded[index].records) {
            if (BaseLabel(box->label) != "c2pa.time-stamp" || !record.IsMap()) continue;
            for (std::size_t i = 0; i + 1 < record.items.size(); i += 2) {
                const auto found = m_stored.Find(std::string(record.items[i].Text()));
                if (!found || !record.items[i + 1].IsBytes()) {
                    isAnyLost = true;
                    continue;
                }
                std::vector<ByteSpan>& stamps = m_laterStamps[*found];
                if (stamps.size() < kMaxLaterStamps) stamps.push_back(record.items[i + 1].content);
            }
        }
    }
    if (isAnyLost)
        m_report.warnings.emplace_back(
            "A time stamp is held for a manifest that is not in the file, or is none.");
}

void Verifier::Tell(const std::string& code, std::size_t manifest, const JumbfBox* box,
                    const std::string& more, const std::string& subject) {
    if (m_report.statuses.size() >= kMaxStatuses) return;
    const StoredManifest& stored = m_stored.list[manifest];
    const StatusText& text = TextOfStatus(code);
    Status status{code, text.severity, text.sentence, subject, manifest, {}, false};
    if (status.subject.empty() && box != nullptr) status.subject = box->label;
    if (!more.empty()) status.sentence += " " + more;
    status.place = box == nullptr ? m_report.manifests[manifest].place : stored.PlaceOf(*box);
    status.wasRecorded = status.severity == Severity::Failure && manifest != m_report.active &&
                         m_recorded.contains({code, stored.label});
    m_report.statuses.push_back(std::move(status));
}

std::optional<HashMethod> Verifier::MethodOf(const HashedUri& uri, std::size_t manifest) const {
    return HashMethodOf(uri.method.empty() ? m_decoded[manifest].method : uri.method);
}

bool Verifier::HashFits(std::size_t manifest, const JumbfBox& box, HashMethod method, ByteSpan expected) {
    const auto [entry, isNew] = m_hashes.try_emplace({&box, method});
    if (isNew) {
        const StoredManifest& stored = m_stored.list[manifest];
        const bool isOuter = stored.isCompressed && &box == stored.outer;
        entry->second = HashOf(method, box.Payload(isOuter ? stored.storeBytes : stored.bytes), m_between);
    }
    return SameBytes(entry->second, expected);
}

bool Verifier::IsRedacted(std::size_t manifest, const std::string& label) const {
    return m_redacted.contains({m_stored.list[manifest].label, label});
}

void Verifier::VerifyManifest(std::size_t index) {
    if (m_between) m_between();
    const DecodedManifest& decoded = m_decoded[index];
    for (const std::string& fault : decoded.faults)
        Tell(fault, index, nullptr, fault == decoded.faults.front() ? decoded.faultDetail : std::string());
    if (!decoded.claim) return;
    const std::size_t before = m_report.statuses.size();
    VerifySigner(
        m_stored.list[index], decoded, m_trust, m_laterStamps[index], m_budget, m_report.manifests[index],
        [this, index](const char* code, const std::string& more) { Tell(code, index, nullptr, more); });
    if (const FileRange& place = m_report.manifests[index].signaturePlace; place.size > 0)
        for (std::size_t i = before; i < m_report.statuses.size(); ++i) m_report.statuses[i].place = place;
    CheckAssertions(index);
    CheckRules(index);
    CheckIngredients(index);
    TakeThumbnails(index);
}

void Verifier::CheckAssertions(std::size_t index) {
    const StoredManifest& stored = m_stored.list[index];
    const DecodedManifest& decoded = m_decoded[index];
    std::set<const JumbfBox*> declared;
    bool isIntact = true;
    for (const ListedAssertion& listed : decoded.listed) {
        const auto fail = [&](const char* code) {
            Tell(code, index, listed.box, {}, listed.label);
            isIntact = false;
        };
        declared.insert(listed.box);
        if (listed.isForeign) {
            fail("assertion.outsideManifest");
        } else if (IsRedacted(index, listed.label)) {
            if (listed.box != nullptr && HasContent(stored, *listed.box)) fail("assertion.notRedacted");
        } else if (listed.box == nullptr) {
            fail("assertion.missing");
        } else if (const auto method = MethodOf(listed.uri, index); !method) {
            fail("algorithm.unsupported");
        } else if (!HashFits(index, *listed.box, *method, listed.uri.hash)) {
            fail("assertion.hashedURI.mismatch");
        } else {
            Tell("assertion.hashedURI.match", index, listed.box, {}, listed.label);
            if (decoded.unreadable.contains(listed.box))
                fail(listed.box->kind == BoxCode("json") ? "assertion.json.invalid"
                                                         : "assertion.cbor.invalid");
            else if (IsBinding(listed.label) && !listed.isGathered)
                m_intactBindings.insert(index);
        }
    }
    if (stored.assertionStore != nullptr) {
        for (const JumbfBox& box : stored.assertionStore->children) {
            if (box.code != BoxCode("jumb") || declared.contains(&box)) continue;
            if (IsRedacted(index, box.label) && !HasContent(stored, box)) continue;
            Tell("assertion.undeclared", index, &box);
        }
    }
    m_report.manifests[index].assertionsIntact = isIntact;
}

void Verifier::CheckRules(std::size_t index) {
    const Manifest& shown = m_report.manifests[index];
    const DecodedManifest& decoded = m_decoded[index];
    const auto parents =
        std::count_if(shown.ingredients.begin(), shown.ingredients.end(),
                      [](const Ingredient& part) { return part.relationship == "parentOf"; });
    if (shown.kind == ManifestKind::Update) {
        if (parents != 1) Tell("manifest.update.wrongParents", index);
        const bool hasThumbnail =
            std::any_of(shown.assertions.begin(), shown.assertions.end(),
                        [](const std::string& label) { return label.starts_with("c2pa.thumbnail"); });
        if (!decoded.bindings.empty() || hasThumbnail) Tell("manifest.update.invalid", index);
        return;
    }
    if (parents > 1) Tell("manifest.multipleParents", index);
    if (decoded.bindings.empty()) Tell("claim.hardBindings.missing", index);
    if (decoded.bindings.size() > 1) Tell("assertion.multipleHardBindings", index);
}

void Verifier::CheckIngredients(std::size_t index) {
    for (std::size_t i = 0; i < m_decoded[index].links.size(); ++i) {
        const IngredientLink& link = m_decoded[index].links[i];
        const JumbfBox* box = m_decoded[index].ingredientBoxes[i];
        Ingredient& shown = m_report.manifests[index].ingredients[i];
        if (shown.manifestLabel.empty()) {
            Tell("ingredient.unknownProvenance", index, box);
            shown.status = "without credentials";
            continue;
        }
        if (!shown.manifest) {
            Tell("ingredient.manifest.missing", index, box);
            shown.status = "manifest missing";
            continue;
        }
        const StoredManifest& target = m_stored.list[*shown.manifest];
        const auto method = MethodOf(*link.manifest, index);
        if (!method) {
            Tell("algorithm.unsupported", index, box);
            shown.status = "cannot be checked";
            continue;
        }
        // Programs before version 1.3 of the standard hashed the claim instead of the whole manifest.
        const JumbfBox* claim =
            target.claims.empty() ? nullptr : target.claims.front()->Content(BoxCode("cbor"));
        const bool isEqual = HashFits(*shown.manifest, *target.outer, *method, link.manifest->hash) ||
                             (!link.signature && claim != nullptr &&
                              HashFits(*shown.manifest, *claim, *method, link.manifest->hash));
        const auto redacted = m_redacted.lower_bound({target.label, {}});
        const bool isThinned = redacted != m_redacted.end() && redacted->first == target.label;
        if (!isEqual && isThinned && link.signature) {
            const auto address = ParseAddress(link.signature->url);
            const auto signatureMethod = MethodOf(*link.signature, index);
            const JumbfBox* signature =
                address && address->manifest == target.label ? Resolve(target, address->path) : nullptr;
            const bool fits = signature != nullptr && signatureMethod &&
                              HashFits(*shown.manifest, *signature, *signatureMethod, link.signature->hash);
            Tell(fits ? "ingredient.claimSignature.validated" : "ingredient.claimSignature.mismatch", index,
                 box);
            shown.status = fits ? "unchanged but for what was removed openly" : "changed";
            if (!fits) m_changed.insert(*shown.manifest);
            continue;
        }
        Tell(isEqual ? "ingredient.manifest.validated" : "ingredient.manifest.mismatch", index, box);
        shown.status = isEqual ? "unchanged" : "changed";
        if (!isEqual) m_changed.insert(*shown.manifest);
    }
}

std::optional<std::size_t> Verifier::BoundManifest() const {
    std::size_t index = m_report.active;
    std::set<std::size_t> seen;
    while (m_stored.list[index].IsUpdate()) {
        if (!seen.insert(index).second) return {};
        const auto& parts = m_report.manifests[index].ingredients;
        const auto parent = std::find_if(parts.begin(), parts.end(), [](const Ingredient& part) {
            return part.relationship == "parentOf" && part.manifest;
        });
        if (parent == parts.end()) return {};
        index = *parent->manifest;
    }
    return index;
}

void Verifier::CheckContent() {
    const auto index = BoundManifest();
    if (!index || m_decoded[*index].bindings.empty()) return;
    const DecodedManifest& decoded = m_decoded[*index];
    const JumbfBox& box = *decoded.bindings.front();
    m_report.bindingLabel = BaseLabel(box.label);
    m_report.bindingPlace = m_stored.list[*index].PlaceOf(box);
    if (m_container == Container::Sidecar || m_container == Container::JpegXl) {
        m_report.warnings.emplace_back(
            "Whether content belongs to these credentials is not checked in this kind of file.");
        return;
    }
    const auto record = decoded.records.find(&box);
    BindingResult result;
    result.reason = "It cannot be read.";
    if (record != decoded.records.end()) {
        const BoundFile bound{m_file, m_container, m_stored.list[*index].store, *index != m_report.active,
                              m_between};
        if (m_report.bindingLabel == "c2pa.hash.data")
            result = CheckDataBinding(record->second, decoded.method, bound);
        else if (m_report.bindingLabel == "c2pa.hash.boxes")
            result = CheckBoxBinding(record->second, decoded.method, bound);
        else if (m_report.bindingLabel == "c2pa.hash.bmff")
            result = {
                BindingOutcome::Unsupported, "This old kind of binding of media boxes is not checked.", {}};
        else
            result = CheckMediaBinding(record->second, decoded.method, bound);
    }
    Tell(BindingCode(box.label, result.outcome), *index, &box, result.reason);
    if (result.outcome != BindingOutcome::Unsupported)
        m_report.contentHashMatches = result.outcome == BindingOutcome::Match;
    if (result.outcome == BindingOutcome::Match) m_report.uncovered = std::move(result.uncovered);

    // The record vouches for the bytes only as far as a signature vouches for the record.
    bool isVouchedFor =
        m_intactBindings.contains(*index) && decoded.bindings.size() == 1 && !m_changed.contains(*index);
    for (const std::size_t part : {*index, m_report.active})
        isVouchedFor = isVouchedFor && m_report.manifests[part].signatureVerifies == true;
    m_report.isBindingSigned = isVouchedFor;
}

void Verifier::TakeThumbnails(std::size_t index) {
    const StoredManifest& stored = m_stored.list[index];
    std::set<const JumbfBox*> taken;
    for (const ListedAssertion& listed : m_decoded[index].listed) {
        if (listed.box == nullptr || !listed.label.starts_with("c2pa.thumbnail")) continue;
        const JumbfBox* description = listed.box->Content(BoxCode("bfdb"));
        const JumbfBox* content = listed.box->Content(BoxCode("bidb"));
        if (content == nullptr || description == nullptr || !taken.insert(listed.box).second) continue;
        if (m_report.thumbnails.size() >= kMaxThumbnails) return;
        const ByteSpan bytes = content->Payload(stored.bytes);
        const ByteSpan type = Slice(description->Payload(stored.bytes), 1, 100);
        const auto zero = std::find(type.begin(), type.end(), std::uint8_t{0});
        Thumbnail thumbnail;
        thumbnail.label = listed.label;
        thumbnail.mediaType = TextOf(type.first(static_cast<std::size_t>(zero - type.begin())));
        thumbnail.bytes.assign(bytes.begin(), bytes.end());
        thumbnail.manifest = index;
        thumbnail.place = stored.PlaceOf(*content);
        // The picture itself, where the box lies in one piece.
        const std::size_t head = thumbnail.place.size - std::min(thumbnail.place.size, bytes.size());
        if (!stored.isCompressed && (head == 8 || head == 16))
            thumbnail.place = {thumbnail.place.offset + head, bytes.size()};
        m_report.thumbnails.push_back(std::move(thumbnail));
    }
}

}  // namespace provenance
