#pragma once

#include "orvcore/model/job.h"
#include "orvcore/model/loadedfile.h"
#include "orvcore/model/options.h"

// Searches the web for the evidence's picture: sends its bytes as they are, metadata included but under another name, to
// each site that is ticked, and answers one parameter per site with the address of its results (a web address), in the
// order TinEye, Google, for the window to open. Domain is added to Google's address as "site:".
//
// Where one of the sites fails, the others are asked all the same; a last parameter kWebResultIncomplete says what
// failed. When all fail, that is thrown (kind Network).
//
// Parameters: the dialog's, by its labels (webparameters.h). Unless sending is allowed there, nothing is sent and a
// ZorException (kind Argument) says so; the same without a site, without evidence or an address, or with a domain that is no host name.
VecParameter SearchWeb(const VecParameter& parameters, const OrvFilePtr& evidence,
                       const OrvWebServices& services, const OrvJob& job);
