#pragma once

#include <string>
#include <vector>

#include "orvcore/model/actionid.h"
#include "orvcore/model/job.h"
#include "zorbase/parameter.h"

// What a filter's page offers to do with a folder of pictures: building the collection that the filter asks, or asking it about all of
// them. Texts are to be looked up.
struct OrvFolderTool {
    OrvActionId action;
    const char* filter;  // its id
    const char* label;
    const char* help;
    const char* question;  // of the folder's chooser
    const char* target;    // the filter's parameter that names the collection
};

// All of them, in the order of the pages' buttons.
const std::vector<OrvFolderTool>& GetFolderTools();

// The tool of an action; null for any other action.
const OrvFolderTool* FindFolderTool(OrvActionId action);

// A parameter of a tool's answer: one sentence to be told beside the table, or "".
inline constexpr const char* kFolderToolRemark = "remark";

// parameters: the folder, then the collection ("" the examiner's own, see collections.h). Answers a table ("files", with a row of column names) and kFolderToolRemark. Nothing in the folder is changed. Throws ZorException:
// kind Argument when nothing in the folder could be used, Aborted within 0.1 s, File.
VecParameter RunFolderTool(OrvActionId action, const VecParameter& parameters, bool includesSubfolders,
                           const OrvJob& job);
