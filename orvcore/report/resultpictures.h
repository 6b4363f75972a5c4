#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvcore/filter/filter.h"

// The pictures of a result as reports, batch runs and the command line show them: what was found as a picture, each map with its legend,
// lines and regions, and each plot.

struct OrvResultPicture {
    int slot = OrvEvidence;
    std::string name;     // tells it from the result's others: "evidence-error-level"; a-z, 0-9 and '-' only
    std::string caption;  // one sentence for the reader, with scale, unit and what "automatic" means
    std::string alternative;  // for who cannot see it
    Image image;              // or
    std::string svg;          // a plot, as a drawing
};

// take is called for each picture in turn, which lives no longer than the call. longestSide: of pictures, in pixels; larger ones are scaled
// down (classes without mixing colours); 0 keeps their size. Throws what take throws.
void ForEachPicture(const OrvFilter& filter, const OrvFilterResult& result, int longestSide,
                    const std::function<void(const OrvResultPicture&)>& take);

// Writes all of them into the folder (made when it is missing) as "STEM-FILTER-NAME.png" or ".svg", and returns their paths. An existing
// file is never replaced: a number is added to the name. stem: bytes. Throws ZorException (kind File).
std::vector<std::string> WritePictures(const OrvFilter& filter, const OrvFilterResult& result,
                                       const std::string& folder, const std::string& stem);
