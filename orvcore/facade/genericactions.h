#pragma once

#include <string>

#include "orvcore/facade/commandevent.h"
#include "orvcore/facade/context.h"
#include "orvcore/filter/resultcache.h"
#include "orvcore/model/options.h"

// Carries out one generic action on the worker and returns its results. Throws ZorException with a text for
// the user when the action fails, finds nothing to work on, or cannot be served.
VecParameter RunGenericAction(OrvActionId action, const std::string& name, const VecParameter& parameters,
                              const OrvFilePtr (&files)[kFileSlots], OrvContext& context,
                              const OrvOptions& options, const OrvResultCache& cache, const OrvJob& job);
