#pragma once

#include "orvcore/formats/metadata.h"
#include "zorbase/parameter.h"

// The entries of one file as plain rows {group, key, name, value}, without labels and without mark-up.
// kinds: which to take; empty takes all. raw: values as stored instead of interpreted.
TableString MetadataRows(const MetadataSet& set, const std::vector<MetadataKind>& kinds, bool raw);

// One table of both files, marked for showing: labels Group, Name, and Evidence and Reference as far as the
// rows are given (null for a slot without file). Rows belong together by group, key and count of that key.
// Groups come in the evidence's order, then those that only the reference has. With both files, values that
// differ or stand in one file only are marked as doubtful. Empty when no file has a row.
TableString MergeMetadataRows(const TableString* evidence, const TableString* reference);
