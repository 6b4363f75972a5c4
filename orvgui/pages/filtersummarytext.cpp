#include "orvgui/pages/filtersummarytext.h"

#include <wx/filename.h>
#include <wx/translation.h>

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvgui/common/loadedfiles.h"
#include "orvgui/common/visibletext.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

bool IsFinding(SummaryState state) {
    return state == SummaryState::WorthALook || state == SummaryState::StrongSign;
}

// A run that said something: a verdict, or that it has none to give.
bool WasRun(SummaryState state) {
    return state != SummaryState::NotRun && state != SummaryState::Failed;
}

// A name of a file or a text out of one stays on its line.
wxString OnOneLine(const std::string& text) {
    wxString line = ToWx(ToValidUtf8(text));
    line.Replace("\r", " ");
    line.Replace("\n", " ");
    line.Replace("\t", " ");
    return VisibleText(line).Trim().Trim(false);
}

wxString Names(const SummaryFile& file, SummaryState state) {
    wxString names;
    for (const SummaryEntry& entry : file.entries)
        if (entry.state == state) {
            names += (names.empty() ? "" : ", ") + entry.filterName;
            // Why is as good as a result.
            if (state == SummaryState::NotApplicable && !entry.text.empty()) names += " (" + entry.text + ")";
            // Hints alone are no finding, and no silence either.
            wxString hints;
            if (entry.text.StartsWith("Nothing found, ", &hints)) names += " (" + hints + ")";
        }
    return names;
}

void AppendNames(wxString& text, const wxString& label, const wxString& names) {
    if (!names.empty()) text += label + " " + names + ".\n";
}

void AppendFindings(wxString& text, const SummaryEntry& entry) {
    const wxString lead =
        wxString::FromUTF8("\u2022 ") + entry.filterName + " (" + StateText(entry.state) + "): ";
    if (entry.findings.empty())
        text += lead + (entry.text.empty() ? _("The filter gives no details.") : entry.text) + "\n";
    for (const wxString& finding : entry.findings) text += lead + finding + "\n";
}

void AppendFile(wxString& text, const SummaryFile& file) {
    text += file.title + "\n";
    const auto hasFinding = std::any_of(file.entries.begin(), file.entries.end(),
                                        [](const SummaryEntry& entry) { return IsFinding(entry.state); });
    const auto wasAnyRun = std::any_of(file.entries.begin(), file.entries.end(),
                                       [](const SummaryEntry& entry) { return WasRun(entry.state); });
    for (const SummaryState state : {SummaryState::StrongSign, SummaryState::WorthALook})
        for (const SummaryEntry& entry : file.entries)
            if (entry.state == state) AppendFindings(text, entry);
    if (!wasAnyRun)
        text += _("No filter with a verdict has been run on this file yet.") + "\n";
    else if (!hasFinding)
        text += _("No filter that was run found anything that stands out.") + "\n";
    AppendNames(text, _("Nothing found by:"), Names(file, SummaryState::NothingFound));
    AppendNames(text, _("Not applicable to this file:"), Names(file, SummaryState::NotApplicable));
    AppendNames(text, _("Run, but gave no verdict:"), Names(file, SummaryState::NoVerdict));
    AppendNames(text, _("Could not be run:"), Names(file, SummaryState::Failed));
    if (wasAnyRun) AppendNames(text, _("Not run yet:"), Names(file, SummaryState::NotRun));
    text += "\n";
}

}  // namespace

SummaryState StateOf(OrvVerdict verdict) {
    switch (verdict) {
        case OrvVerdict::NotApplicable:
            return SummaryState::NotApplicable;
        case OrvVerdict::NothingFound:
            return SummaryState::NothingFound;
        case OrvVerdict::WorthALook:
            return SummaryState::WorthALook;
        case OrvVerdict::StrongSign:
            return SummaryState::StrongSign;
        default:
            return SummaryState::NoVerdict;
    }
}

wxString StateText(SummaryState state) {
    switch (state) {
        case SummaryState::NotRun:
            return _("not run yet");
        case SummaryState::Failed:
            return _("failed");
        case SummaryState::NoVerdict:
            return _("no verdict");
        case SummaryState::NotApplicable:
            return _("not applicable");
        case SummaryState::NothingFound:
            return _("nothing found");
        case SummaryState::WorthALook:
            return _("worth a look");
        case SummaryState::StrongSign:
            return _("strong sign");
    }
    return {};
}

wxColour StateColour(SummaryState state) {
    switch (state) {
        case SummaryState::NothingFound:
            return {86, 180, 233};
        case SummaryState::WorthALook:
            return {240, 200, 50};
        case SummaryState::StrongSign:
            return {160, 20, 30};
        case SummaryState::Failed:
            return {60, 60, 60};
        case SummaryState::NotApplicable:
        case SummaryState::NoVerdict:
            return {150, 150, 150};
        case SummaryState::NotRun:
            break;
    }
    return {235, 235, 235};
}

wxString StatusToolTip(const SummaryEntry& entry) {
    wxString text = entry.filterName + ": " + StateText(entry.state);
    if (!entry.text.empty()) text += "\n" + entry.text;
    if (!entry.settings.empty()) text += "\n" + wxString::Format(_("Settings: %s"), entry.settings);
    return text;
}

SummaryEntry MakeSummaryEntry(const wxString& filterName, const OrvFilterResult* result, bool isCurrent,
                              OrvFileId slot, const wxString& error) {
    SummaryEntry entry;
    entry.filterName = filterName;
    if (!error.empty()) {
        entry.state = SummaryState::Failed;
        // The core's message begins with the filter's name already.
        entry.text = error;
        if (entry.text.StartsWith(filterName + ": ")) entry.text.erase(0, filterName.length() + 2);
        return entry;
    }
    if (result == nullptr || !isCurrent || !result->slot[slot]) return entry;
    const OrvSlotResult& found = *result->slot[slot];
    entry.state = StateOf(found.verdict);
    entry.text = OnOneLine(found.verdictText);
    entry.settings = ToWx(GetParametersString(result->input, true));
    for (const std::string& finding : found.findings) entry.findings.push_back(OnOneLine(finding));
    return entry;
}

std::vector<OrvFilter*> FiltersWithVerdict(const OrvInterface& core) {
    std::vector<OrvFilter*> filters = core.GetFilters();
    std::erase_if(filters, [](const OrvFilter* filter) { return !filter->GivesVerdict(); });
    return filters;
}

std::vector<SummaryFile> ReadSummary(const OrvInterface& core, const std::vector<OrvFilter*>& filters) {
    std::vector<SummaryFile> files;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        const OrvFilePtr loaded = core.HasFile(slot) ? core.GetFile(slot) : nullptr;
        if (!loaded) continue;
        SummaryFile& file = files.emplace_back();
        file.slot = slot;
        file.title = (slot == OrvEvidence ? _("Evidence") : _("Reference")) + " (" +
                     OnOneLine(PathName(loaded->GetPath())) + ")";
        for (OrvFilter* filter : filters) {
            const OrvFilterResultPtr result = filter->GetResult();
            file.entries.push_back(MakeSummaryEntry(wxGetTranslation(filter->GetName()), result.get(),
                                                    IsForLoadedFiles(result, core), slot,
                                                    filter->GetErrorMessage()));
            file.entries.back().filter = filter;
        }
    }
    return files;
}

std::vector<SummaryFinding> ListFindings(const std::vector<SummaryFile>& files) {
    std::vector<SummaryFinding> findings;
    for (const SummaryState state : {SummaryState::StrongSign, SummaryState::WorthALook}) {
        for (const SummaryFile& file : files) {
            for (const SummaryEntry& entry : file.entries) {
                if (entry.state != state) continue;
                std::vector<wxString> texts = entry.findings;
                if (texts.empty()) texts.push_back(entry.text);
                for (const wxString& text : texts)
                    findings.push_back({entry.filter, state, file.slot, entry.filterName, text});
            }
        }
    }
    return findings;
}

wxString GlobalResultText(const std::vector<SummaryFile>& files) {
    const wxString how = _(
        "To run a filter, choose it in the filters tree on the left. Its result shows on its own page, and what "
        "it found is gathered here.");
    if (files.empty()) return _("No photograph is loaded: drop one here, or press Ctrl+O.") + "\n\n" + how;

    bool wasAnyRun = false;
    for (const SummaryFile& file : files)
        for (const SummaryEntry& entry : file.entries) wasAnyRun = wasAnyRun || WasRun(entry.state);

    wxString text;
    for (const SummaryFile& file : files) AppendFile(text, file);
    if (!wasAnyRun) return text + how;
    return text +
           _("A finding is not a proof. It says that something in the file differs from what is usual, and where "
             "to look; ordinary steps such as resizing, sharpening or saving again can be the cause. Nothing found "
             "is not a proof either: it says only that these filters, with these settings, saw nothing unusual. "
             "Compare several findings, and read each filter's own page, before you conclude anything.");
}
