#pragma once

#include <cstdint>
#include <string>

#include "orvcore/model/job.h"
#include "orvcore/model/loadedfile.h"
#include "zorbase/parameter.h"

// Extraction of pictures out of any file into a folder "extracted/<name>-<part of the SHA-256>" below the documents
// folder, never beside the file itself. What could not be searched or taken out is listed in "warnings.txt" in that
// folder. Both return the folder (bytes), or "" when nothing was found without a problem. They throw
// ZorException with a text that names the file when they fail, also when nothing was found and a part could not be
// searched.
std::string ExtractEmbeddedJpegs(const std::string& path, std::uint64_t maximumBytes, const OrvJob& job);

// One picture of a loaded file (number counts those of ReadPicturesInFile from 1) as a file of its own in such a folder, under a
// name that tells the file, number, kind and offset. Nothing is overwritten: what stands there with the same bytes is taken as it
// is, otherwise the name gets a number. Returns its path (bytes). Throws ZorException that names the file: kind Argument for a
// number that it has not and for the file's own picture, Format for one that cannot be taken out, File.
std::string ExtractPictureInFile(const OrvLoadedFile& file, int number, const OrvJob& job);

// Whether the folder that one of them returned tells of problems.
bool HasExtractionWarnings(const std::string& folder);

// parameters: those of the PDF settings dialog, in its order.
std::string ExtractPdfImages(const std::string& path, const VecParameter& parameters,
                             std::uint64_t maximumBytes, const OrvJob& job);
