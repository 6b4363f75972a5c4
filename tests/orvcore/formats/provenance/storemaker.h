#pragma once

#include <openssl/evp.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zorbase/files.h"

// Small stores of content credentials, made and signed in memory.
namespace storemaker {

// Encoded CBOR items.
Bytes Text(const std::string& text);
Bytes Number(
    std::uint64_t number);  // always in nine bytes, so that its value does not change a record's size
Bytes Bin(const Bytes& bytes);
Bytes List(const std::vector<Bytes>& items);
Bytes Map(const std::vector<std::pair<std::string, Bytes>>& entries);

Bytes Box(const char* code, const Bytes& payload);
Bytes Superbox(const char* kind, const std::string& label, const std::vector<Bytes>& contents);
Bytes Sha(const Bytes& bytes);  // SHA-256
// Of a superbox: of what lies behind its header.
Bytes PayloadSha(const Bytes& box);
Bytes MakeHashedUri(const std::string& url, const Bytes& hash);

struct Signer {
    std::shared_ptr<EVP_PKEY> key;
    Bytes certificate;  // DER
    Bytes issuer;       // DER
    int algorithm = -7;
};
struct SignerRecipe {
    const char* usages = "1.3.6.1.5.5.7.3.4";
    long validFrom = -86400;     // seconds from now
    long validTo = 86400 * 365;  // seconds from now
    int rsaBits = 0;             // of a public key that nobody holds the private one of; 0: the curve
    bool isCa = false;
};
Signer MakeSigner(const SignerRecipe& recipe = {});
// PEM of a certificate.
Bytes Pem(const Bytes& der);

struct ManifestRecipe {
    std::string label = "urn:c2pa:made";
    std::string title = "made.jpg";
    const char* kind = "c2ma";
    std::vector<std::pair<std::string, Bytes>> assertions = {};  // label and CBOR
    std::vector<Bytes> boxes =
        {};  // further assertions, as whole superboxes that the claim lists by their labels
    std::vector<std::string> redacted = {};
    std::vector<Bytes> extraAssertionBoxes = {};  // in the store, not in the claim
    std::vector<std::string> removed = {};        // in the claim, not in the store
    bool isUnsigned = false;
};
// The manifest's superbox; its label as the address of it is "self#jumbf=/c2pa/LABEL".
Bytes MakeManifest(const ManifestRecipe& recipe, const Signer& signer);
Bytes Store(const std::vector<Bytes>& manifests);
// Content of a manifest's signature box: the whole COSE record.
Bytes SignatureRecordOf(const Bytes& manifest);

// A time stamp (RFC 3161, the bare token) of now over these bytes. The authority needs "critical,timeStamping" as its usage.
Bytes MakeStamp(const Signer& authority, const Bytes& stamped, const EVP_MD* method = EVP_sha256());

// Behind SOI, in packets of at most so many bytes of the store each.
Bytes PutIntoJpeg(const Bytes& jpeg, const Bytes& store, std::size_t packet = 60000);

Bytes DataHash(const std::vector<std::pair<std::uint64_t, std::uint64_t>>& exclusions, const Bytes& hash);
// A JPEG with one manifest, bound to its bytes; `extra` ranges (in the finished file) are left out of the hash too.
Bytes SignedJpeg(const Bytes& jpeg, const ManifestRecipe& recipe, const Signer& signer,
                 const std::vector<std::pair<std::uint64_t, std::uint64_t>>& extra = {},
                 std::size_t packet = 60000);

}  // namespace storemaker
