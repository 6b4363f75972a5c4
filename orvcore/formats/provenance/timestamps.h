#pragma once

#include <cstddef>
#include <ctime>
#include <initializer_list>
#include <string>
#include <vector>

#include "orvcore/formats/provenance/certificates.h"

// What others say about a signature and are carried beside it: time stamps (RFC 3161) and answers about revocation
// (RFC 6960). Read from the file alone, nothing is asked for. Any thread.
namespace provenance {

constexpr std::size_t kMaxStampBytes = 256 * 1024;

struct StampResult {
    enum class Outcome { Malformed, Mismatch, Intact };
    Outcome outcome = Outcome::Malformed;
    std::string reason;             // a sentence when not intact
    std::size_t fitting = 0;        // which of the candidates it was made over, when intact
    std::time_t time = 0;           // stated; counts when intact
    std::string authority;          // common name or whole name of the stamp's signer, hostile text
    CertificateChain chain;         // the authority's own certificate first, when intact
    bool isInsideValidity = false;  // the authority's certificate was valid at that time
};

// A time stamp as a whole response or the bare token. Intact: its imprint (SHA-2 of 256, 384 or 512 bits) is the hash of
// one of `candidates` and its own signature verifies. Who the authority is was not judged. An imprint by any other
// method says nothing of what was stamped: such a stamp is malformed, never a mismatch.
StampResult CheckStamp(ByteSpan bytes, std::initializer_list<ByteSpan> candidates);

struct RevocationResult {
    enum class Outcome { Unreadable, NotRevoked, Revoked, Unknown };
    Outcome outcome = Outcome::Unreadable;
    std::string reason;         // a sentence when unreadable or revoked
    std::time_t revokedAt = 0;  // when revoked
    std::time_t answeredAt = 0;
    std::time_t validUntil = 0;  // 0 not stated
    bool isKeyCompromised = false;
};

// An answer about the chain's first certificate, signed by its issuer (the chain's second) or by whom that one named.
RevocationResult CheckRevocation(ByteSpan response, const CertificateChain& chain);

}  // namespace provenance
