#pragma once

#include "orvcore/analysis/copymove.h"
#include "orvcore/filter/filterresult.h"

// What both searches for copies show of their result: the map with one class per pair, lines between twins, a table, and numbers.
// The filter's outputs are tables of strings called "numbers" and "pairs".
void ShowCopies(const CopyMoveResult& copies, OrvSlotResult& result);

// The verdict; measured: how the quantity is called in a sentence.
void JudgeCopies(const CopyMoveResult& copies, const CopyMoveVerdict& verdict, OrvSlotResult& result);
