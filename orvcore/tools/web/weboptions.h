#pragma once

#include "orvcore/model/actionid.h"
#include "orvcore/model/options.h"

// Throws ZorException (kind Argument) that names the first address or key in the program options that the action needs and does not
// find; actions that need none pass. Asked before anything else, so that nobody is asked whether something may be sent that cannot
// be. Any thread.
void RequireWebOptions(OrvActionId action, const OrvWebServices& services);
