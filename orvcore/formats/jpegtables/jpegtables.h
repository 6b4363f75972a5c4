#pragma once

#include <string>
#include <vector>

#include "orvcore/formats/jpegstructure.h"
#include "orvcore/formats/jpegtables/quantizationfamily.h"
#include "zorbase/bytes.h"

// Every quantization and Huffman table that a JPEG holds, with the place where it is defined and what uses it.
// Pure functions, any thread; offsets count bytes of the span that was handed in.

struct QuantizationTableUse {
    QuantizationTable table;
    std::size_t offset = 0;       // of the table's first byte (precision and number)
    std::vector<int> components;  // identifiers of the components whose scans read it while it was in force
    bool isRedefined = false;     // its number was defined before
    bool isRepeated = false;      // ... with the same values
    QuantizationOrigin origin;
};

// What a Huffman table is, as far as its codes alone tell.
enum class HuffmanFamily {
    Standard,  // one of the four typical tables of the standard (ITU-T T.81, K.3)
    Complete,  // other codes, but for every symbol that a baseline scan can ask for: made for no picture in particular
    Optimised,  // codes for a part of the symbols: made for the picture it stands in
    Damaged     // no valid set of codes
};

struct HuffmanTableUse {
    JpegHuffmanTable table;
    std::size_t offset = 0;  // of the table's first byte (class and number)
    HuffmanFamily family = HuffmanFamily::Damaged;
    std::string standardName;  // Standard: "luminance DC"...
    std::size_t uses = 0;      // scans that select it while it is in force
    bool isRedefined = false;  // its class and number were defined before
    bool isRepeated = false;   // ... with the same codes
};

struct JpegTables {
    std::vector<QuantizationTableUse> quantization;  // in file order
    std::vector<HuffmanTableUse> huffman;            // in file order
    bool isArithmetic = false;                       // then no Huffman table is needed
    // Kornblum's classes of the whole set: "standard", "extended standard" (a third table repeats the second), "standard, two
    // qualities", "own"; "" without tables.
    std::string setText;
};

// structure must be ParseJpegStructure's of the same bytes. Only the picture's own segments count, not those of embedded pictures.
JpegTables ReadJpegTables(ByteSpan bytes, const JpegStructure& structure);

HuffmanFamily FindHuffmanFamily(const JpegHuffmanTable& table, std::string* standardName = nullptr);
std::string HuffmanFamilyText(HuffmanFamily family);
