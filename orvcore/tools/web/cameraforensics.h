#pragma once

#include "orvcore/model/job.h"
#include "orvcore/model/options.h"

// Asks CameraForensics for pictures of a camera: their table as of a camera search, at most as many as wanted.
// Parameters: the dialog's, by its labels (webparameters.h). The key goes in a header, never in the address.
//
// The request is one POST of JSON with the header "Authorization: Bearer KEY":
//   {"make": text, "model": text, "count": number, "software": text, "width": number, "height": number,
//    "quantizationTables": [MD5 of the luminance table, …]}
// of which the last four are there only where they restrict the search. The answer is
//   {"images": [{"title", "make", "model", "software", "dateTaken", "width", "height", "format", "link", "page"}, …]}
// with any of the members missing. {"error": text} in an answer that is no success is told to the user.
//
// Throws ZorException: kind Argument for what is missing, kind Network for what the service says.
TableString SearchCameraForensics(const VecParameter& parameters, const OrvWebServices& services,
                                  const OrvJob& job);
