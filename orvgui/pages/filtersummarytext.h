#pragma once

#include <wx/colour.h>
#include <wx/string.h>

#include <string>
#include <vector>

#include "orvcore/filter/filterresult.h"
#include "orvcore/model/fileid.h"

class OrvFilter;
class OrvInterface;

// What the summary says, without a window: from the newest results of the filters that give verdicts to
// status words, colours and sentences. It reports what was found; it never says what a photograph is.

// How one filter stands for one file.
enum class SummaryState { NotRun, Failed, NoVerdict, NotApplicable, NothingFound, WorthALook, StrongSign };

struct SummaryEntry {
    wxString filterName;  // translated
    SummaryState state = SummaryState::NotRun;
    wxString text;                   // what the filter says in a few words, or why it failed
    wxString settings;               // the parameters of the run, "" for none
    std::vector<wxString> findings;  // whole sentences
    OrvFilter* filter = nullptr;     // belongs to the core
};

// One loaded file with the entries of all filters that give verdicts.
struct SummaryFile {
    wxString title;  // "Evidence (name.jpg)"
    std::vector<SummaryEntry> entries;
    OrvFileId slot = OrvEvidence;
};

SummaryState StateOf(OrvVerdict verdict);
wxString StateText(SummaryState state);    // "not run yet", "nothing found" ...; translated
wxColour StateColour(SummaryState state);  // told apart by brightness too
// The whole status: what the field has no room for.
wxString StatusToolTip(const SummaryEntry& entry);

// isCurrent: the result is for the loaded files. error: of the last failed run. result may be null.
SummaryEntry MakeSummaryEntry(const wxString& filterName, const OrvFilterResult* result, bool isCurrent,
                              OrvFileId slot, const wxString& error);
// One per loaded file that analyses see, the evidence first; none while nothing is loaded.
std::vector<SummaryFile> ReadSummary(const OrvInterface& core, const std::vector<OrvFilter*>& filters);
// The filters that get a status line, in the core's order.
std::vector<OrvFilter*> FiltersWithVerdict(const OrvInterface& core);

// One thing that a filter found in one file.
struct SummaryFinding {
    OrvFilter* filter = nullptr;
    SummaryState state = SummaryState::WorthALook;
    OrvFileId slot = OrvEvidence;
    wxString filterName;
    wxString text;  // a sentence
};
// All findings, the strongest first, else in the order of the files and filters.
std::vector<SummaryFinding> ListFindings(const std::vector<SummaryFile>& files);

// The text below the status lines.
wxString GlobalResultText(const std::vector<SummaryFile>& files);
