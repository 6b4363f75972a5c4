#include "orvcore/tools/extract.h"

#include "zorbase/zorexception.h"

std::string ExtractEmbeddedJpegs(const std::string&, std::uint64_t, const OrvJob&) {
    ZOR_THROW(Argument, "Extraction is not available in this version of the program.");
}

std::string ExtractPdfImages(const std::string&, const VecParameter&, const OrvJob&) {
    ZOR_THROW(Argument, "Extraction is not available in this version of the program.");
}
