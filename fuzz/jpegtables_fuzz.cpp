#include "orvcore/formats/jpegtables/compressionsignature.h"
#include "orvcore/formats/jpegtables/jpegtables.h"

// Tables and signature of any bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteSpan bytes(data, size);
    const JpegTables tables = ReadJpegTables(bytes, ParseJpegStructure(bytes));
    for (const QuantizationTableUse& use : tables.quantization)
        if (use.offset >= size) __builtin_trap();
    for (const HuffmanTableUse& use : tables.huffman)
        if (use.offset >= size) __builtin_trap();
    const CompressionSignature signature = ReadCompressionSignature(bytes);
    for (const char c : SignatureText(signature))
        if (c < 0x20 || c > 0x7E) __builtin_trap();
    return 0;
}
