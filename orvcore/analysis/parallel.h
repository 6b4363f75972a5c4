#pragma once

#include <functional>

// The one way in which analyses share work out among threads, and the one thread policy of all of them. Results never depend on
// the number of threads: each piece writes to a place of its own, and whoever sums pieces up does so in their order.

// How far an analysis is (0..1). Called on the thread that called the analysis, at least every 50 ms while pieces are
// short enough for that; leaves by exception to stop.
using AnalysisProgress = std::function<void(double done)>;

// How many threads an analysis may use: as many as there are processors, at most eight, or what was set.
int GetAnalysisThreads();
// 0: back to the number that the machine suggests. For tests and the command line; not while an analysis runs.
void SetAnalysisThreads(int threads);

// Calls work(piece) once for each piece 0..count-1, in any order, on several threads, and returns when all are done. progress
// is called on the calling thread. An exception of work or progress stops what has not begun, waits for what has, and is
// thrown to the caller. Pieces should last 1..50 ms. One level only: work must not call it again.
void ForEachPiece(int count, const AnalysisProgress& progress, const std::function<void(int piece)>& work);

// The same for rows 0..rows-1 in strips of stripRows (the last may be shorter): work(firstRow, endRow).
void ForEachStrip(int rows, int stripRows, const AnalysisProgress& progress,
                  const std::function<void(int firstRow, int endRow)>& work);

// The part from..to of a longer progress, for an analysis of several steps; empty when progress is empty.
AnalysisProgress PartOf(const AnalysisProgress& progress, double from, double to);
