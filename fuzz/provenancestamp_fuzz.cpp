#include "orvcore/formats/provenance/cose.h"
#include "orvcore/formats/provenance/timestamps.h"

// Certificates, signatures, time stamps and answers about revocation. The first byte says as what the rest is read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace provenance;
    if (size < 1) return 0;
    const ByteSpan bytes(data + 1, size - 1);
    static constexpr std::uint8_t kClaim[] = {0xA0};
    switch (data[0] % 4) {
        case 0: {
            const Certificate certificate = ReadCertificate(bytes);
            if (!certificate) return 0;
            ReadFacts(certificate.get());
            CheckSignerForm(certificate.get(), {});
            return 0;
        }
        case 1:
            CheckStamp(bytes, {kClaim});
            return 0;
        case 2: {
            std::size_t budget = kMaxCborItems;
            const CoseSignature signature = ReadSignature(bytes, kClaim, budget);
            VerifySignature(signature, kClaim);
            for (const ByteSpan& answer : signature.revocationAnswers)
                CheckRevocation(answer, signature.chain);
            for (const ByteSpan& stamp : signature.stampsOfClaim) CheckStamp(stamp, {kClaim});
            return 0;
        }
        default: {
            TrustStore anchors;
            anchors.AddPem(bytes, false);
            return 0;
        }
    }
}
