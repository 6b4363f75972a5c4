#pragma once

// The two file slots of the workstation.
enum OrvFileId : int { OrvEvidence = 0, OrvReference = 1 };
constexpr int kFileSlots = 2;
