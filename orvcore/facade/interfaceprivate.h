#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/facade/commandqueue.h"
#include "orvcore/facade/eventport.h"
#include "orvcore/facade/interface.h"
#include "orvcore/filter/resultcache.h"
#include "orvcore/model/log.h"
#include "orvcore/model/options.h"
#include "orvcore/model/projectlock.h"
#include "orvcore/model/recovery.h"
#include "orvcore/model/slots.h"
#include "orvcore/tools/toolsettings.h"
#include "orvcore/tools/web/keyfile.h"
#include "zorbase/fileprotection.h"

struct OrvReport;
struct OrvReportSection;

// What stands behind the facade. Operations marked "worker" run inside a command and may post events and wait
// for them.
struct OrvInterface::Private {
    explicit Private(OrvContext& context);

    OrvContext& context;
    OrvLog log;
    OrvOptions options;
    OrvToolSettings toolSettings;
    OrvKeyFile serviceKey;
    OrvResultCache cache;
    OrvEventPort port;
    OrvSlots slots;
    mutable std::mutex mutex;  // guards the project and what belongs to it, and imageToSave
    OrvProject project;
    std::vector<std::vector<OrvBookmark>> bookmarkHistory;  // lists before a change, the newest last
    struct ViewToShow {
        const OrvFilter* filter = nullptr;
        OrvViewState view;
    };
    std::optional<ViewToShow> viewToShow;
    std::map<std::string, FileHashes> knownHashes;  // by SHA-256, of exhibits with an expected hash
    std::vector<FileProtection> projectFiles;       // worker
    Image imageToSave;
    std::vector<OrvAnnotation> marksToSave;
    std::function<OrvViewState()> viewSource;           // GUI thread
    bool wasAutosaveProblemTold = false;                // GUI thread
    std::atomic<bool> hasProjectConfigurations{false};  // the filters' configurations came with the project
    std::unique_ptr<OrvProjectLock> projectLock;        // worker
    OrvRecovery recovery;
    std::string startProblem;  // what the first window is told of the settings; GUI thread
    OrvCommandQueue queue;     // last: its thread ends before anything that it touches

    // Keeps a copy of a settings file of which something could not be read, and has the first window told of it, once
    // per content. GUI thread, before there is a window.
    void NoteSettings(const std::string& what, const std::string& path, const std::string& outcome,
                      const std::vector<std::string>& problems);

    void ApplyOptions();  // to memory and cache; GUI thread

    // Lines of the log; any thread. The first run also tells the libraries that pixels come from.
    void NoteSlot(OrvFileId slot, const OrvFilePtr& file);
    // Works out what an exhibit's expected hash is held against, and writes down how that went; a sentence where it is not the
    // expected one, "" otherwise. Worker.
    std::string CheckExhibit(const OrvFilePtr& file, const OrvCaseData& data);
    void NoteRun(const OrvFilter& filter, const OrvFilterResult& request, const std::string& outcome);
    void NoteFile(const std::string& what,
                  const std::string& path);  // with size and SHA-256 of what is there now
    std::once_flag librariesNoted;

    // Queues a request whose failure is told by an action-completed event.
    // mustRun: also when the program ends meanwhile.
    void Push(OrvCommand::Kind kind, std::function<void(const OrvJob&)> run, bool mustRun = false);

    // --- worker ---
    void Tell(OrvEventId id, const std::string& text = {});
    void TellFolder(const std::string& folder);  // of what was extracted; "" when nothing was found
    void TellFailure(int error, const std::string& message);
    OrvFilePtr ReadForSlot(const std::string& path, const OrvJob& job) const;  // null for ""
    // isLooking: the files of a bookmark are shown, which changes nothing in the project.
    void SetSlot(OrvFileId slot, const OrvFilePtr& file, bool isLooking = false);
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
    // OrvFilter::Run with a line in the log. What is held already is no run.
    OrvFilterResultPtr RunNoted(const OrvFilter& filter, const OrvFilterResult& request,
                                const std::vector<OrvFilterResultPtr>& held, const OrvJob& job,
                                const OrvResultCache* kept);
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
    // A bookmark's files and values as a request. problem: what is otherwise than when it was made, "" for nothing. Throws what keeps
    // it from being repeated.
    Asked AskedBy(const OrvBookmark& bookmark, const std::string& projectPath, const OrvJob& job,
                  std::string* problem) const;
    void DescribeCase(OrvReport& report) const;  // the examiner's texts on case and exhibits
    OrvReportSection ReportedSection(const Asked& asked, const OrvJob& job);
    void GenerateReport(std::string path, OrvReportContents contents, const ReportRequest& asked,
                        const OrvJob& job);
    // Computes what each filter in use is asked for and is not held yet. A filter that fails keeps the others from nothing; its
    // error is its own. What was computed before a stop stays.
    void RunAll(const ReportRequest& asked, const OrvJob& job);
    void SaveResult(const Asked& asked, const Image& image, const std::string& path, const OrvJob& job);

    // The first dozen, one a line, and how many more there are.
    static std::string ListProblems(std::vector<std::string> problems);
    OrvFilterResult RequestFor(const VecParameter& input, const VecParameter& post) const;
    // Throws when the path is the evidence, the reference or another file that the project names: these are never written to.
    void RefuseLoadedFile(const std::string& path);
    // Nothing writes to the files that the project names, loaded or not. Called after every change of the project.
    void ProtectProject();
    void ChangeProject(const std::function<void(OrvProject&)>& change);  // and marks it as not saved
    // The same for the list of bookmarks, which can be taken back; the window is told.
    void ChangeBookmarks(const std::function<void(std::vector<OrvBookmark>&)>& change);

    OrvProjectState StateNow() const;  // GUI thread
    // Files of a project or bookmark for both slots. problems: what has changed and what is missing, in sentences.
    struct CaseFiles {
        OrvFilePtr file[kFileSlots];
        std::string problems;
    };
    CaseFiles ReadCaseFiles(const OrvCaseFile (&files)[kFileSlots], const std::string& projectPath,
                            const OrvJob& job) const;
    // Makes a project the current one; its files are read already.
    struct OpenedProject {
        OrvProject project;
        std::unique_ptr<OrvProjectLock> lock;
        bool isLockedAlready = false;  // it is the one that is open
        std::string problems;          // told before anything is shown
    };
    void OpenProject(OpenedProject opened, std::uint64_t choice, const OrvJob& job);
    void RestoreOwnConfigurations();
    // Those set by hand, by the filter's id; the maps of every other filter have their own again.
    void SetMapRanges(const Json& ofFilters);
};
