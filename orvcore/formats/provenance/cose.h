#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvcore/formats/provenance/cbor.h"
#include "orvcore/formats/provenance/certificates.h"

// The signature over a claim: COSE_Sign1 (RFC 9052) with a detached payload. Any thread.
namespace provenance {

struct CoseSignature {
    std::string fault;        // a sentence when the bytes are no such signature; the rest is empty then
    CborValue record;         // keeps what the spans below point into
    ByteSpan protectedBytes;  // content of the protected header's byte string
    ByteSpan signature;
    std::int64_t algorithm = 0;               // COSE number; 0 none
    CertificateChain chain;                   // the signer's first
    std::string chainFault;                   // why there is no chain
    bool hasForeignPayload = false;           // carries a payload that differs from the claim
    std::vector<ByteSpan> stampsOfClaim;      // RFC 3161 over the claim ("sigTst")
    std::vector<ByteSpan> stampsOfSignature;  // over the signature ("sigTst2")
    std::vector<ByteSpan> revocationAnswers;  // OCSP responses
};

// bytes: content of the signature's box; they must outlive the result.
CoseSignature ReadSignature(ByteSpan bytes, ByteSpan claim, std::size_t& budget);

// "ES256", "PS384", "Ed25519"; "" for what is not used here.
std::string AlgorithmName(std::int64_t algorithm);

enum class SignatureOutcome { Verifies, Fails, Unsupported };

// Whether the chain's first key made the signature over protected header and claim.
SignatureOutcome VerifySignature(const CoseSignature& signature, ByteSpan claim);

// The bytes that are signed or stamped: ["Signature1" or "CounterSignature", protected, h'', payload].
std::vector<std::uint8_t> SignedBytes(const char* context, ByteSpan protectedBytes, ByteSpan payload);

}  // namespace provenance
