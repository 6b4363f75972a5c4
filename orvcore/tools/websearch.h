#pragma once

#include "orvcore/job.h"
#include "orvcore/loadedfile.h"
#include "orvcore/options.h"

// Searches the web for the evidence's picture: sends its bytes as they are, metadata included but under another name, to
// each site that is ticked, and answers one parameter per site with the address of its results (a web address), in the
// order TinEye, Google, for the window to open. Domain is added to Google's address as "site:".
//
// Parameters: the dialog's, by its labels (webparameters.h). Unless sending is allowed there, nothing is sent and a
// ZorException (kind Argument) says so; the same without a site, without evidence, or with a domain that is no host name.
VecParameter SearchWeb(const VecParameter& parameters, const OrvFilePtr& evidence,
                       const OrvWebServices& services, const OrvJob& job);
