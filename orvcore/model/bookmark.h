#pragma once

#include <memory>
#include <string>

#include "orvcore/model/casedata.h"
#include "orvcore/model/fileid.h"
#include "zorbase/json.h"

// A remembered view: what was looked at, with which filter, in which files, and what the examiner says of it. A plain value.
struct OrvBookmark {
    std::string name;
    std::string note;      // many lines
    std::string filterId;  // "" when no filter was active
    Json input = Json::object();
    Json postProcessing = Json::object();
    OrvCaseFile file[kFileSlots];
    bool isReferenceEnabled = true;
    OrvViewState view;
    Json mapRanges;  // that were set by hand, as OrvMapRanges writes them; null where they were not kept

    // What it was made with, so that a later look can tell whether the same must come out.
    int filterVersion = 0;       // 0 where it was not kept
    std::string programVersion;  // "" where it was not kept
    std::string madeOn;          // "2026-11-22T07:33:08Z", "" where it was not kept

    std::shared_ptr<const std::string> thumbnail;  // a small JPEG of what was shown; null for none
};
