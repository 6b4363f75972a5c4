#pragma once

#include "orvcore/model/actionid.h"
#include "orvcore/model/job.h"
#include "orvcore/model/options.h"

// Looks for pictures of the same camera on Flickr (OrvActionSearchFlickr) or Google (OrvActionSearchGoogle): their table,
// row 0 the labels, only row 0 when nothing fits. Texts of the services are hostile: cells are escaped, links are web
// addresses or empty.
//
// Parameters: the search dialog's, by its labels (webparameters.h). Flickr is asked for pictures taken since the given
// day, oldest first, whose title, description or tags name make and model; then for the metadata of each, by which the
// two exclusions work: a picture that does not tell its camera counts as a different one. Google tells no metadata;
// there the exclusions do nothing and the days restrict when a page was found. A size also fits turned by 90 degrees.
// The search ends when enough pictures are found, or a thousand were looked at.
//
// Throws ZorException: kind Argument for what is missing (key, address, make …), kind Network for what the service says.
// When the network or the service fails after something was found, that is answered, and `incomplete` says what
// happened; otherwise it becomes "".
TableString SearchCamera(OrvActionId action, const VecParameter& parameters, const OrvWebServices& services,
                         const OrvJob& job, std::string& incomplete);
