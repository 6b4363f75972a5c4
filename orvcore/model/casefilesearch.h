#pragma once

#include <cstdint>
#include <string>

#include "orvcore/model/casedata.h"
#include "orvcore/model/job.h"
#include "orvcore/model/loadedfile.h"

// The file as a project remembers it; an empty record for null.
OrvCaseFile CaseFileOf(const OrvFilePtr& file);

// The SHA-256 of a file that is only read, in small pieces; "" when it cannot be read. Throws only Aborted.
std::string HashOfFile(const std::string& path, const OrvJob& job);

// Where a remembered file is now, when it is not at its old place with its old bytes: at the same place as seen from the project,
// beside the project under its name, or, up to three folders below the project, any file of its size and hash. Only a file with
// the remembered SHA-256 is the answer, "" when there is none. Looks at 20,000 names at most and follows no links to folders.
// Throws only Aborted.
std::string FindMovedFile(const OrvCaseFile& file, const std::string& projectFolder, const OrvJob& job);
