#pragma once

#include <string>

#include "orvcore/model/job.h"
#include "orvcore/model/options.h"

// Fetches files from the web into a folder, each under its name made safe; a taken name gets " (2)" …, nothing is
// overwritten, and no half file stands under its final name. Addresses are http or https and lead to the public network
// unless the option allows others. Beside the files goes "downloads.tsv": name, address, the address that answered
// after redirects, time (UTC), bytes, SHA-256, type, and why what failed has failed; it is written after an abort too.
//
// Parameters: "Photo-Id" (name, address, name, address, …) and "Folder". Progress is one step per file. A file that
// fails does not stop the others; the first failures are told at the end by a ZorException (kind Network). An abort, or
// a disk that cannot be written to, ends the work; what is whole stays.
void DownloadFiles(const VecParameter& parameters, const OrvWebServices& services, std::uint64_t maximumBytes,
                   const OrvJob& job);

// A name for a downloaded file, made of one that a server or a page chose: decoded, without folders, query, control and
// writing-direction characters, leading dots and characters that file systems refuse; at most 120 bytes; "image" when
// nothing is left. Where the type says that it is a picture and the name does not end like one, its extension is added.
std::string SafeDownloadName(const std::string& name, const std::string& contentType);
