#include "orvcore/formats/provenance/manifests.h"

#include <brotli/decode.h>

#include <algorithm>

namespace provenance {

namespace {

constexpr std::size_t kMaxUrlBytes = 4096;

// The content of a Brotli stream, at most `maximum` bytes; empty on damage or when it is longer.
std::vector<std::uint8_t> Unpack(ByteSpan packed, std::size_t maximum) {
    constexpr std::size_t kStep = 256 * 1024;
    struct Free {
        void operator()(BrotliDecoderState* state) const { BrotliDecoderDestroyInstance(state); }
    };
    const std::unique_ptr<BrotliDecoderState, Free> state(
        BrotliDecoderCreateInstance(nullptr, nullptr, nullptr));
    std::vector<std::uint8_t> result;
    if (!state) return result;
    std::size_t left = packed.size();
    const std::uint8_t* in = packed.data();
    for (;;) {
        const std::size_t done = result.size();
        if (done >= maximum) return {};
        result.resize(std::min(maximum, done + kStep));
        std::size_t room = result.size() - done;
        std::uint8_t* out = result.data() + done;
        const BrotliDecoderResult step =
            BrotliDecoderDecompressStream(state.get(), &left, &in, &room, &out, nullptr);
        result.resize(result.size() - room);
        if (step == BROTLI_DECODER_RESULT_SUCCESS) {
            if (left != 0) result.clear();
            return result;
        }
        if (step != BROTLI_DECODER_RESULT_NEEDS_MORE_OUTPUT) return {};
    }
}

void UnpackManifest(StoredManifest& manifest, Budget& budget) {
    const JumbfBox* packed = manifest.outer->Content(BoxCode("brob"));
    if (packed == nullptr) {
        manifest.unpackFault = "The compressed manifest is empty.";
        return;
    }
    auto bytes = std::make_shared<std::vector<std::uint8_t>>(
        Unpack(packed->Payload(manifest.storeBytes), budget.unpackedBytes));
    if (bytes->empty()) {
        manifest.unpackFault = "The compressed manifest is damaged, or too long when it is unpacked.";
        return;
    }
    budget.unpackedBytes -= bytes->size();
    auto parse = std::make_shared<JumbfParse>(ParseJumbf(*bytes, budget.boxes));
    const bool isManifest = parse->root.kind == BoxCode("c2ma") || parse->root.kind == BoxCode("c2md") ||
                            parse->root.kind == BoxCode("c2um");
    if (!parse->isWhole || !parse->faults.empty() || !isManifest || parse->root.label != manifest.label ||
        parse->root.size != bytes->size()) {
        manifest.unpackFault =
            "What the compressed manifest holds is not the manifest that it is labelled as.";
        return;
    }
    manifest.kind = parse->root.kind;
    manifest.bytes = *bytes;
    manifest.box = &parse->root;
    manifest.unpacked = std::move(bytes);
    manifest.unpackedBoxes = std::move(parse);
}

void FindParts(StoredManifest& manifest) {
    if (manifest.box == nullptr) return;
    for (const JumbfBox& child : manifest.box->children) {
        if (child.IsSuperbox(BoxCode("c2cl"))) manifest.claims.push_back(&child);
        if (child.IsSuperbox(BoxCode("c2as")) && manifest.assertionStore == nullptr)
            manifest.assertionStore = &child;
    }
    if (manifest.assertionStore == nullptr) return;
    for (const JumbfBox& assertion : manifest.assertionStore->children)
        if (assertion.code == BoxCode("jumb")) manifest.assertions[assertion.label].push_back(&assertion);
}

}  // namespace

std::optional<HashedUri> ReadHashedUri(const CborValue* value) {
    if (value == nullptr) return {};
    const CborValue* hash = value->Find("hash");
    HashedUri uri{value->TextOf("url"), value->TextOf("alg"), {}};
    if (hash == nullptr || !hash->IsBytes() || uri.url.empty() || uri.url.size() > kMaxUrlBytes) return {};
    uri.hash = hash->content;
    return uri;
}

FileRange StoredManifest::PlaceOf(const JumbfBox& part) const {
    const std::size_t inStore = isCompressed ? outer->offset : part.offset;
    const std::size_t size = isCompressed ? outer->size : part.size;
    const std::size_t begin = store->FileOffset(inStore);
    return {begin, std::max<std::size_t>(store->FileOffset(inStore + size - 1) + 1, begin) - begin};
}

std::optional<std::size_t> StoredManifests::Find(const std::string& label) const {
    const auto found = byLabel.find(label);
    if (found == byLabel.end() || found->second.size() != 1) return {};
    return found->second.front();
}

StoredManifests ReadManifests(ByteSpan file, const std::vector<const FoundStore*>& stores, Budget& budget) {
    StoredManifests manifests;
    for (const FoundStore* store : stores) {
        manifests.faults.insert(manifests.faults.end(), store->faults.begin(), store->faults.end());
        manifests.buffers.push_back(std::make_unique<std::vector<std::uint8_t>>());
        const ByteSpan bytes = store->View(file, *manifests.buffers.back());
        auto parse = std::make_shared<JumbfParse>(ParseJumbf(bytes, budget.boxes));
        manifests.faults.insert(manifests.faults.end(), parse->faults.begin(), parse->faults.end());
        if (parse->isWhole && parse->root.kind != BoxCode("c2pa"))
            manifests.faults.emplace_back("The store is not one of content credentials.");
        if (!parse->isWhole || parse->root.kind != BoxCode("c2pa")) continue;
        for (const JumbfBox& box : parse->root.children) {
            const bool isCompressed = box.IsSuperbox(BoxCode("c2cm"));
            if (!isCompressed && !box.IsSuperbox(BoxCode("c2ma")) && !box.IsSuperbox(BoxCode("c2md")) &&
                !box.IsSuperbox(BoxCode("c2um")))
                continue;
            if (manifests.list.size() >= kMaxManifests) {
                manifests.faults.push_back("There are more than " + std::to_string(kMaxManifests) +
                                           " manifests; the others were not read.");
                break;
            }
            StoredManifest manifest;
            manifest.label = box.label;
            manifest.kind = box.kind;
            manifest.store = store;
            manifest.storeBytes = bytes;
            manifest.outer = &box;
            manifest.isCompressed = isCompressed;
            if (isCompressed) {
                UnpackManifest(manifest, budget);
            } else {
                manifest.bytes = bytes;
                manifest.box = &box;
            }
            FindParts(manifest);
            manifests.byLabel[manifest.label].push_back(manifests.list.size());
            manifests.list.push_back(std::move(manifest));
        }
        manifests.parses.push_back(std::move(parse));
    }
    return manifests;
}

std::optional<BoxAddress> ParseAddress(const std::string& url) {
    static const std::string kPrefix = "self#jumbf=";
    if (!url.starts_with(kPrefix) || url.size() > kMaxUrlBytes) return {};
    std::string_view rest = std::string_view(url).substr(kPrefix.size());
    BoxAddress address;
    // Some writers leave the first slash out.
    const bool isAbsolute = rest.starts_with('/') || rest.starts_with("c2pa/");
    if (rest.starts_with('/')) rest.remove_prefix(1);
    while (!rest.empty()) {
        const std::size_t slash = std::min(rest.find('/'), rest.size());
        address.path.emplace_back(rest.substr(0, slash));
        rest.remove_prefix(std::min(slash + 1, rest.size()));
    }
    if (isAbsolute) {
        if (address.path.size() < 2 || address.path[0] != "c2pa" || address.path[1].empty()) return {};
        address.manifest = address.path[1];
        address.path.erase(address.path.begin(), address.path.begin() + 2);
    }
    return address;
}

const JumbfBox* Resolve(const StoredManifest& manifest, const std::vector<std::string>& path) {
    const JumbfBox* box = manifest.box;
    for (const std::string& label : path) {
        if (box == nullptr) return nullptr;
        if (box == manifest.assertionStore && box != nullptr) {
            const auto found = manifest.assertions.find(label);
            box = found == manifest.assertions.end() || found->second.size() != 1 ? nullptr
                                                                                  : found->second.front();
            continue;
        }
        const JumbfBox* next = nullptr;
        for (const JumbfBox& child : box->children) {
            if (child.code != BoxCode("jumb") || child.label != label) continue;
            if (next != nullptr) return nullptr;
            next = &child;
        }
        box = next;
    }
    return box;
}

std::string BaseLabel(const std::string& label) {
    const std::size_t cut = label.rfind("__");
    if (cut == std::string::npos) return label;
    std::size_t end = cut + 2;
    while (end < label.size() && label[end] >= '0' && label[end] <= '9') ++end;
    if (end == cut + 2 || (end < label.size() && label[end] != '.')) return label;
    return label.substr(0, cut) + label.substr(end);
}

}  // namespace provenance
