#include "orvcore/formats/printablestrings.h"

// Strings of any bytes: inside them, by growing offset, without overlap.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::size_t minimum = 1 + data[0] % 8;
    std::size_t end = 0;
    for (const PrintableString& found : FindPrintableStrings({data, size}, minimum).strings) {
        if (found.offset < end || found.size == 0 || found.size > size - found.offset) __builtin_trap();
        end = found.offset + found.size;
    }
    return 0;
}
