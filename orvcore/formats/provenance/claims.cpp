#include "orvcore/formats/provenance/claims.h"

#include <algorithm>

#include "zorbase/json.h"
#include "zorbase/text.h"

namespace provenance {

namespace {

constexpr std::size_t kMaxShownClaim = 64 * 1024;
constexpr std::size_t kMaxTextBytes = 1024;
constexpr std::size_t kMaxJsonBytes = std::size_t{256} << 10;
constexpr std::size_t kMaxSourceTypes = 100;

std::string Short(std::string_view text) {
    return ShortenText(ToValidUtf8(text), kMaxTextBytes);
}

// "name version" of a generator's or program's map, or a plain text.
std::string AgentText(const CborValue* agent) {
    if (agent == nullptr) return {};
    if (agent->Is(CborValue::Type::Text)) return Short(agent->Text());
    const std::string name = agent->TextOf("name");
    const std::string version = agent->TextOf("version");
    return Short(Trim(name + " " + version));
}

std::string TimeText(const CborValue* when) {
    if (when == nullptr) return {};
    if (when->Is(CborValue::Type::Tag) && !when->items.empty()) when = &when->items.front();
    return Short(when->Text());
}

bool IsSourceTypeKey(std::string_view key) {
    const std::size_t colon = key.rfind(':');
    return ToLower(std::string(colon == std::string_view::npos ? key : key.substr(colon + 1))) ==
           "digitalsourcetype";
}

void CollectSourceTypes(const CborValue& value, std::vector<std::string>& types) {
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        const bool isValue = value.IsMap() && i % 2 == 1;
        if (isValue && IsSourceTypeKey(value.items[i - 1].Text()) && types.size() < kMaxSourceTypes &&
            !value.items[i].Text().empty())
            types.push_back(Short(value.items[i].Text()));
        CollectSourceTypes(value.items[i], types);
    }
}

// Walks without recursion: JSON may be nested as deep as it is long.
void CollectSourceTypes(const Json& root, std::vector<std::string>& types) {
    std::vector<const Json*> waiting = {&root};
    while (!waiting.empty()) {
        const Json* json = waiting.back();
        waiting.pop_back();
        for (auto item = json->begin(); json->is_structured() && item != json->end(); ++item) {
            if (json->is_object() && item->is_string() && IsSourceTypeKey(item.key()) &&
                types.size() < kMaxSourceTypes)
                types.push_back(Short(item->get_ref<const std::string&>()));
            if (item->is_structured()) waiting.push_back(&*item);
        }
    }
}

class Decoder {
  public:
    Decoder(const StoredManifest& stored, Budget& budget, Manifest& shown)
        : m_stored(stored), m_budget(budget), m_shown(shown) {}

    DecodedManifest Run() {
        m_shown.label = m_stored.label;
        m_shown.isCompressed = m_stored.isCompressed;
        m_shown.place = m_stored.PlaceOf(*m_stored.outer);
        m_shown.kind = m_stored.IsUpdate()       ? ManifestKind::Update
                       : m_stored.box == nullptr ? ManifestKind::Unknown
                                                 : ManifestKind::Standard;
        if (m_stored.box == nullptr) {
            Fault("manifest.compressed.invalid", m_stored.unpackFault);
        } else if (m_stored.claims.empty()) {
            Fault("claim.missing");
        } else {
            if (m_stored.claims.size() > 1) Fault("claim.multiple");
            ReadClaim(*m_stored.claims.front());
        }
        return std::move(m_decoded);
    }

  private:
    void Fault(const char* code, const std::string& detail = {}) {
        m_decoded.faults.emplace_back(code);
        if (m_decoded.faultDetail.empty()) m_decoded.faultDetail = detail;
    }

    void ReadClaim(const JumbfBox& box) {
        const JumbfBox* content = box.Content(BoxCode("cbor"));
        if (content == nullptr) {
            Fault("claim.cbor.invalid", "It has no content.");
            return;
        }
        m_decoded.claimBytes = content->Payload(m_stored.bytes);
        CborResult decoded = DecodeCbor(m_decoded.claimBytes, m_budget.items);
        if (!decoded.value || !decoded.value->IsMap()) {
            Fault("claim.cbor.invalid", decoded.error);
            return;
        }
        m_decoded.claim = std::move(decoded.value);
        const CborValue& claim = *m_decoded.claim;
        m_shown.claimText = CborToText(claim, kMaxShownClaim);
        m_shown.claimVersion =
            box.label == "c2pa.claim.v2" || BaseLabel(box.label) == "c2pa.claim.v2" ? 2 : 1;
        m_shown.title = Short(claim.TextOf("dc:title"));
        m_shown.format = Short(claim.TextOf("dc:format"));
        m_decoded.method = claim.TextOf("alg");
        m_decoded.signatureUrl = claim.TextOf("signature");
        const CborValue* info = claim.Find("claim_generator_info");
        if (info != nullptr && info->IsArray()) info = info->items.empty() ? nullptr : &info->items.front();
        m_shown.generator = AgentText(info);
        if (m_shown.generator.empty()) m_shown.generator = Short(claim.TextOf("claim_generator"));

        bool isWhole = !m_decoded.signatureUrl.empty() && claim.Find("instanceID") != nullptr;
        if (m_shown.claimVersion == 2) {
            isWhole = ReadList(claim.Find("created_assertions"), false) && info != nullptr && isWhole;
            if (const CborValue* gathered = claim.Find("gathered_assertions"))
                isWhole = ReadList(gathered, true) && isWhole;
        } else {
            isWhole = ReadList(claim.Find("assertions"), false) && claim.Find("claim_generator") != nullptr &&
                      isWhole;
        }
        if (const CborValue* redacted = claim.Find("redacted_assertions"))
            for (const CborValue& url : redacted->items) m_decoded.redacted.emplace_back(url.Text());
        if (!isWhole) Fault("claim.malformed");
    }

    bool ReadList(const CborValue* list, bool isGathered) {
        if (list == nullptr || !list->IsArray()) return false;
        bool isWhole = true;
        for (const CborValue& item : list->items) {
            const auto uri = ReadHashedUri(&item);
            const auto address = uri ? ParseAddress(uri->url) : std::nullopt;
            if (!uri || !address || address->path.empty()) {
                isWhole = false;
                continue;
            }
            ListedAssertion listed{*uri, isGathered, address->path.back(), nullptr, false};
            listed.isForeign = !address->manifest.empty() && address->manifest != m_stored.label;
            if (!listed.isForeign) listed.box = Resolve(m_stored, address->path);
            m_shown.assertions.push_back(Short(listed.label));
            if (listed.box != nullptr) ReadAssertion(listed);
            m_decoded.listed.push_back(std::move(listed));
        }
        return isWhole;
    }

    void ReadAssertion(const ListedAssertion& listed) {
        const JumbfBox* box = listed.box;
        const std::string label = BaseLabel(listed.label);
        if (m_decoded.records.contains(box) || m_decoded.unreadable.contains(box)) return;
        if (IsBinding(listed.label)) m_decoded.bindings.push_back(box);
        if (const JumbfBox* json = box->Content(BoxCode("json"));
            json != nullptr && box->kind == BoxCode("json"))
            ReadJson(*json, box);
        const JumbfBox* content = box->Content(BoxCode("cbor"));
        if (content == nullptr || box->kind != BoxCode("cbor")) return;
        const ByteSpan payload = content->Payload(m_stored.bytes);
        CborResult decoded = DecodeCbor(payload, m_budget.items);
        if (!decoded.value) {
            // A record whose content was blanked is one that was removed; whether it may be is judged elsewhere.
            m_decoded.unreadable.insert(box);
            return;
        }
        const CborValue& record = m_decoded.records.emplace(box, std::move(*decoded.value)).first->second;
        const FileRange place = m_stored.PlaceOf(*box);
        if (label == "c2pa.actions" || label == "c2pa.actions.v2")
            ReadActions(record, place);
        else
            CollectSourceTypes(record, m_shown.otherSourceTypes);
        if (label == "c2pa.ingredient" || label == "c2pa.ingredient.v2" || label == "c2pa.ingredient.v3")
            ReadIngredient(record, *box, place);
    }

    void ReadJson(const JumbfBox& json, const JumbfBox* assertion) {
        const ByteSpan payload = json.Payload(m_stored.bytes);
        // A tree of it takes many times its bytes.
        if (payload.size() > std::min(kMaxJsonBytes, m_budget.jsonBytes)) return;
        m_budget.jsonBytes -= payload.size();
        const Json parsed = Json::parse(payload.begin(), payload.end(), nullptr, false);
        if (parsed.is_discarded())
            m_decoded.unreadable.insert(assertion);
        else
            CollectSourceTypes(parsed, m_shown.otherSourceTypes);
    }

    void ReadActions(const CborValue& record, const FileRange& place) {
        const CborValue* list = record.Find("actions");
        if (list == nullptr || !list->IsArray()) return;
        for (const CborValue& item : list->items) {
            Action action;
            action.name = Short(item.TextOf("action"));
            action.when = TimeText(item.Find("when"));
            action.softwareAgent = AgentText(item.Find("softwareAgent"));
            action.sourceType = Trim(Short(item.TextOf("digitalSourceType")));
            action.sourceKind = KindOfSource(action.sourceType);
            action.description = Short(item.TextOf("description"));
            action.place = place;
            m_shown.actions.push_back(std::move(action));
        }
    }

    void ReadIngredient(const CborValue& record, const JumbfBox& box, const FileRange& place) {
        Ingredient ingredient;
        IngredientLink link;
        ingredient.label = box.label;
        ingredient.title = Short(record.TextOf("dc:title"));
        ingredient.format = Short(record.TextOf("dc:format"));
        ingredient.relationship = Short(record.TextOf("relationship"));
        ingredient.place = place;
        const CborValue* manifest = record.Find("activeManifest");
        if (manifest == nullptr) manifest = record.Find("c2pa_manifest");
        link.manifest = ReadHashedUri(manifest);
        link.signature = ReadHashedUri(record.Find("claimSignature"));
        if (manifest != nullptr) {
            const auto address = ParseAddress(manifest->TextOf("url"));
            link.manifestLabel = address ? address->manifest : Short(manifest->TextOf("url"));
            ingredient.manifestLabel = link.manifestLabel.empty() ? "?" : link.manifestLabel;
        }
        if (const CborValue* list = record.Find("validationStatus")) ReadRecorded(*list, link);
        if (const CborValue* results = record.Find("validationResults")) {
            if (const CborValue* own = results->Find("activeManifest"))
                if (const CborValue* list = own->Find("failure")) ReadRecorded(*list, link);
            if (const CborValue* deltas = results->Find("ingredientDeltas"))
                for (const CborValue& delta : deltas->items)
                    if (const CborValue* part = delta.Find("validationDeltas"))
                        if (const CborValue* list = part->Find("failure")) ReadRecorded(*list, link);
        }
        m_shown.ingredients.push_back(std::move(ingredient));
        m_decoded.links.push_back(std::move(link));
        m_decoded.ingredientBoxes.push_back(&box);
    }

    static void ReadRecorded(const CborValue& list, IngredientLink& link) {
        for (const CborValue& item : list.items) {
            const CborValue* success = item.Find("success");
            if (success != nullptr && success->number != 0) continue;
            const auto address = ParseAddress(item.TextOf("url"));
            const bool isElsewhere = address && !address->manifest.empty();
            link.recorded.emplace(item.TextOf("code"), isElsewhere ? address->manifest : link.manifestLabel);
        }
    }

    const StoredManifest& m_stored;
    Budget& m_budget;
    Manifest& m_shown;
    DecodedManifest m_decoded;
};

}  // namespace

bool IsBinding(const std::string& label) {
    const std::string base = BaseLabel(label);
    return base == "c2pa.hash.data" || base == "c2pa.hash.boxes" || base == "c2pa.hash.bmff" ||
           base == "c2pa.hash.bmff.v2" || base == "c2pa.hash.bmff.v3";
}

DecodedManifest DecodeManifest(const StoredManifest& stored, Budget& budget, Manifest& shown) {
    return Decoder(stored, budget, shown).Run();
}

}  // namespace provenance
