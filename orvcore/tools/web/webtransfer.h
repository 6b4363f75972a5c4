#pragma once

#include <string>
#include <vector>

#include "orvcore/model/actionid.h"
#include "orvcore/model/options.h"

// One place on the network that an action would ask, and what it would send there.
struct WebTransfer {
    std::string service;      // "Flickr"; of downloads "Download"
    std::string host;         // "api.flickr.com"; "" when no address, or none that can be used, is set
    std::string what;         // what goes there, words for the user without a full stop
    bool sendsImage = false;  // the evidence's bytes leave the machine
};

// What an action with these parameters would send where; empty for actions that use no network and where the parameters
// ask for nothing. Nothing is sent, resolved or looked up. Pure, quick, any thread; never throws.
std::vector<WebTransfer> DescribeWebTransfers(OrvActionId action, const VecParameter& parameters,
                                              const OrvWebServices& services);
