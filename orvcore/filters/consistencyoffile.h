#pragma once

#include <memory>
#include <vector>

#include "orvcore/filter/filterresult.h"
#include "orvcore/formats/consistency/consistency.h"
#include "orvcore/model/loadedfile.h"

// The one engine of consistency on a loaded file, shared by the pages that tell of its findings.

// Metadata with their places, tables, structure and thumbnail; worked out once per file. Points into the file's bytes.
std::shared_ptr<const ConsistencyParts> GetConsistencyParts(const OrvLoadedFile& file);

// What the rules compare; parts and file must outlive it. Headers and metadata only: no pixel is decoded. Reads the content credentials
// where wantsCredentials.
ConsistencyInput ConsistencyInputOf(const OrvLoadedFile& file, const ConsistencyParts& parts,
                                    bool wantsCredentials, const OrvJob& job);

// The verdict that follows from what is broken, with the sentences of what deserves a look as findings; hints alone are none. All of it,
// hints too, becomes the output "findings".
void JudgeConsistency(const std::vector<ConsistencyResult>& broken, OrvSlotResult& result);
