#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "orvcore/facade/commandqueue.h"
#include "orvcore/facade/eventport.h"
#include "orvcore/facade/interface.h"
#include "orvcore/filter/resultcache.h"
#include "orvcore/model/options.h"
#include "orvcore/model/slots.h"
#include "orvcore/tools/toolsettings.h"
#include "orvcore/tools/web/keyfile.h"

struct OrvReportSection;

// What stands behind the facade. Operations marked "worker" run inside a command and may post events and wait
// for them.
struct OrvInterface::Private {
    explicit Private(OrvContext& context);

    OrvContext& context;
    OrvOptions options;
    OrvToolSettings toolSettings;
    OrvKeyFile serviceKey;
    OrvResultCache cache;
    OrvEventPort port;
    OrvSlots slots;
    mutable std::mutex mutex;  // guards project and imageToSave
    OrvProject project;
    Image imageToSave;
    std::string startProblem;  // what the first window is told of the settings; GUI thread
    OrvCommandQueue queue;     // last: its thread ends before anything that it touches

    // Keeps a copy of a settings file of which something could not be read, and has the first window told of it, once
    // per content. GUI thread, before there is a window.
    void NoteSettings(const std::string& what, const std::string& path, const std::string& outcome,
                      const std::vector<std::string>& problems);

    void ApplyOptions();  // to memory and cache; GUI thread

    // Queues a request whose failure is told by an action-completed event.
    // mustRun: also when the program ends meanwhile.
    void Push(OrvCommand::Kind kind, std::function<void(const OrvJob&)> run, bool mustRun = false);

    // --- worker ---
    void Tell(OrvEventId id, const std::string& text = {});
    void TellFolder(const std::string& folder);  // of what was extracted; "" when nothing was found
    void TellFailure(int error, const std::string& message);
    void LoadSlot(OrvFileId slot, const std::string& path, const OrvJob& job);  // "" empties it; no events
    OrvFilePtr ReadForSlot(const std::string& path, const OrvJob& job) const;   // null for ""
    void SetSlot(OrvFileId slot, const OrvFilePtr& file);
    void TellFilters();  // which files count now; after every change of the slots
    // What is computed although it is known: nothing, one file's part, or all of it.
    struct Renewal {
        bool all = false;
        OrvFilePtr file;
        bool Concerns(const OrvFilePtr& other) const { return other && (all || other == file); }
        bool IsAny() const { return all || file; }
    };
    // Runs the filter and tells the window; never throws, a failure is told as an interrupted configuration.
    void RunFilter(OrvFilter& filter, const VecParameter& input, const VecParameter& post,
                   const Renewal& renewal, const OrvJob& job);
    // Runs the active filter after the slots have changed; without one, an action-completed event tells the
    // window.
    void RunActive(const Renewal& renewal, const OrvJob& job);
    // The result of a filter for the request's files and parameters, computed only as far as it is not held. It is published by
    // the caller, where it is what the filter is to show.
    OrvFilterResultPtr Compute(const OrvFilter& filter, const OrvFilterResult& request, const OrvJob& job);
    // Keeps on disk what was computed just now, where the filter's results are worth it and the user wants it.
    void KeepFresh(const OrvFilter& filter, const OrvFilterResult& result) const;
    // The same with the parts computed that are to be renewed; nothing that is held or kept on disk goes before this returns.
    OrvFilterResultPtr ComputeAnew(OrvFilter& filter, const OrvFilterResult& request, const Renewal& renewal,
                                   const OrvJob& job);

    // A filter with what was asked of it at a certain moment.
    struct Asked {
        OrvFilter* filter = nullptr;
        OrvFilterResult request;
    };
    Asked AskedNow(
        OrvFilter* filter) const;  // the filter's newest requested values and the files that are loaded now
    bool IsAskedNow(const Asked& asked) const;  // nothing else was asked for or loaded since
    struct ReportRequest {
        OrvFilePtr files[kFileSlots];     // as they are loaded
        OrvFilePtr analysed[kFileSlots];  // as analyses see them
        OrvProject project;
        std::vector<Asked> filters;  // those in use
    };
    ReportRequest ReportAskedNow() const;
    Asked AskedBy(const OrvBookmark& bookmark, const OrvJob& job) const;
    OrvReportSection ReportedSection(const Asked& asked, const OrvJob& job);
    void GenerateReport(std::string path, OrvReportContents contents, const ReportRequest& asked,
                        const OrvJob& job);
    void SaveResult(const Asked& asked, const Image& image, const std::string& path, const OrvJob& job);

    // The first dozen, one a line, and how many more there are.
    static std::string ListProblems(std::vector<std::string> problems);
    OrvFilterResult RequestFor(const VecParameter& input, const VecParameter& post) const;
    // Throws when the path is the evidence or the reference: these are never written to.
    void RefuseLoadedFile(const std::string& path) const;
    void ChangeProject(const std::function<void(OrvProject&)>& change);  // and marks it as not saved
};
