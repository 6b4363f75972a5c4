#pragma once

#include <cstdint>
#include <string>

#include "orvcore/model/job.h"
#include "zorbase/parameter.h"

// Extraction of pictures out of any file into a folder "extracted/<name>-<part of the SHA-256>" below the documents
// folder, never beside the file itself. What could not be searched or taken out is listed in "warnings.txt" in that
// folder. Both return the folder (bytes), or "" when nothing was found without a problem. They throw
// ZorException with a text that names the file when they fail, also when nothing was found and a part could not be
// searched.
std::string ExtractEmbeddedJpegs(const std::string& path, std::uint64_t maximumBytes, const OrvJob& job);

// Whether the folder that one of them returned tells of problems.
bool HasExtractionWarnings(const std::string& folder);

// parameters: those of the PDF settings dialog, in its order.
std::string ExtractPdfImages(const std::string& path, const VecParameter& parameters,
                             std::uint64_t maximumBytes, const OrvJob& job);
