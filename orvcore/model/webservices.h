#pragma once

#include "orvcore/model/options.h"
#include "zorbase/parameter.h"

// The services on the network, as program options say them.
OrvWebServices ReadWebServices(const VecVecParameter& options);
