#pragma once

#include "orvgui/dialogs/tooldialogparameters.h"
#include "zorbase/json.h"

// What is remembered of the values that a tool dialog was confirmed with, decided without a window; the core keeps
// the record. Left out are passwords, the key (which has a file of its own), the permission to send images,
// and what the evidence itself says. Of choices what the entry stands for is kept, not its place.

// The name under which the core keeps the record of a dialog.
const char* ToolRecordName(ToolKind kind);

Json RememberToolValues(const VecParameter& parameters, const EvidenceFacts& evidence);

// Puts the record's values into the parameters. What is unknown, of the wrong kind, out of range or no longer
// offered is passed over: the default stays.
void RecallToolValues(const Json& record, const EvidenceFacts& evidence, VecParameter& parameters);
