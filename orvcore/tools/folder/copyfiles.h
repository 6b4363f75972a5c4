#pragma once

#include <string>
#include <vector>

#include "orvcore/model/job.h"

// Copies files into a folder, each under its own name; a name that is taken gets " (2)", " (3)" … before its extension,
// nothing is ever overwritten. A copy that is not whole never stands under its final name. Files that cannot be copied
// are left out; what they were and why is told by a ZorException (kind File) at the end, after all others have been
// copied. Paths are bytes. Returns the number of copied files. Sets the progress, one step per file; an abort keeps
// the copies that are whole.
int CopyFiles(const std::vector<std::string>& paths, const std::string& folder, const OrvJob& job);
