#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/model/job.h"

// The self-test: every filter is run on pictures that come with the program and whose answers are known from how they were made, not from
// what the program once said. The list of answers, answers.tsv beside the pictures, has one line per answer:
//   filter, evidence, reference ("" for none), settings ("name=value" separated by ';'; "@" is the folder), what, relation, expected, why
// what: "verdict" (None, NotApplicable, NothingFound, WorthALook, StrongSign); "result", the verdict's words; "tables", all tables'
//   cells; "row:LABEL" or "row:LABEL:N", column N (from 1, evidence first) of the first table row that begins with LABEL; "out:LABEL", the
//   text of that output; "map:X,Y,W,H", the first map's mean size inside these pixels over that outside; "picture:X,Y", red, green
//   and blue of the shown picture there; "spread", the standard deviation of the shown picture's luminance over the file's;
//   "plot:X", the first curve's value at abscissa X.
// relation: "is", "has", "lacks" for texts; "from" (expected "A to B", inclusive) for numbers.

struct SelfTestAnswer {
    std::string filter;
    std::string file;
    std::string what;
    std::string relation;
    std::string expected;
    std::string found;  // or why there is no answer
    bool isRight = false;
};

struct SelfTestRun {
    std::vector<SelfTestAnswer> answers;
    std::vector<std::string> untested;  // filters without a known answer
    std::string date;                   // "2026-11-22 10:00:00 +0100"
    std::string program;                // "Orvane 0.1.0"
    bool IsGood() const;
};

// Runs all lines of the folder's list, those of one filter and file together. told is called with each answer. Throws ZorException
// (File, Format) when the folder has no list or the list cannot be read; a filter that fails is an answer that is wrong. folder "": the
// installed one. Any thread.
SelfTestRun RunSelfTest(std::string folder, const OrvJob& job,
                        const std::function<void(const SelfTestAnswer&)>& told);

// Runs a filter on files of the folder (names relative to it, "" for none) with settings as an answer's line has them. Throws
// ZorException: kind Format for a setting that does not fit, File, Aborted.
OrvFilterResultPtr RunOnSelfTestFiles(const OrvFilter& filter, const std::string& settings,
                                      const std::string (&files)[kFileSlots], const std::string& folder,
                                      const OrvJob& job);

// Keeps the outcome as that of the last self-test (see selftestrecord.h). Throws ZorException (File).
void KeepSelfTest(const SelfTestRun& run);
// One line per answer, then versions and how many are right.
std::string SelfTestText(const SelfTestRun& run);
std::string SelfTestLine(const SelfTestAnswer& answer);
