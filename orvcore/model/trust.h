#pragma once

#include <memory>
#include <string>

#include "orvcore/formats/provenance/provenance.h"

// Whom the examiner trusts, as the program options say: the certificates in a folder, and further uses of certificates that may
// sign. The options tell this one place; whoever verifies asks it. Any thread.

// folder: a path as bytes, "" none. usages: dotted numbers with blanks or commas between them.
void SetTrust(const std::string& folder, const std::string& usages);

// The certificates as they are in the folder now, and this day (UTC, midnight) as the time of judgement. Read again only when a file
// of the folder has changed. warnings of the reading stand beside it.
struct Trust {
    ProvenanceTrust settings;
    std::string folder;
    std::vector<std::string> warnings;
};
std::shared_ptr<const Trust> GetTrust();

// Changes whenever GetTrust would answer something else. Looks at the folder's list, reads no certificate.
std::string GetTrustState();
