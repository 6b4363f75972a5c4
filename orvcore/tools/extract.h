#pragma once

#include <cstdint>
#include <string>

#include "orvcore/job.h"
#include "zorbase/parameter.h"

// Extraction of pictures out of any file into a new folder "extracted/<name>" below the documents folder,
// never beside the file itself. Both return the folder (bytes), or "" when nothing was found, and throw
// ZorException when they fail.
std::string ExtractEmbeddedJpegs(const std::string& path, std::uint64_t maximumBytes, const OrvJob& job);

// parameters: those of the PDF settings dialog, in its order. What could not be taken out is listed in "warnings.txt" in the folder.
std::string ExtractPdfImages(const std::string& path, const VecParameter& parameters,
                             std::uint64_t maximumBytes, const OrvJob& job);
