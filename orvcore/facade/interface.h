#pragma once

#include <wx/string.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orvcore/facade/commandevent.h"
#include "orvcore/facade/context.h"
#include "orvcore/facade/progresshandler.h"
#include "orvcore/model/fileid.h"
#include "orvcore/model/options.h"
#include "orvcore/model/project.h"
#include "orvcore/model/recovery.h"
#include "orvcore/tools/web/webtransfer.h"

class OrvCommandQueue;
enum class OrvReportContents;  // orvcore/report/report.h
class OrvLog;
class OrvSlots;

// The readable files of a slot's folder in natural name order; a cheap copy of a shared immutable list.
class OrvFileList {
  public:
    OrvFileList() = default;
    explicit OrvFileList(std::shared_ptr<const std::vector<std::string>> paths) : m_paths(std::move(paths)) {}
    std::size_t size() const { return m_paths ? m_paths->size() : 0; }
    bool empty() const { return size() == 0; }
    wxString operator[](std::size_t i) const;  // full path
    const std::vector<std::string>* Paths() const { return m_paths.get(); }

  private:
    std::shared_ptr<const std::vector<std::string>> m_paths;
};

// The core's command facade. Every request is put on one queue and returns at once; one worker thread carries
// the requests out in order and reports each outcome as an OrvCommandEvent to the sink, waiting for
// PostResponse() (or for the event's end) before it goes on. Called on the GUI thread. One instance at a
// time; the frame owns it.
//
// A request that fails posts OrvEventActionCompleted with its error and text (generic actions:
// OrvEventCommandExecuted), and then the state is as before the request.
class OrvInterface {
  public:
    OrvInterface();
    ~OrvInterface();  // stops the running work, drops what waits, joins the worker
    OrvInterface(const OrvInterface&) = delete;
    OrvInterface& operator=(const OrvInterface&) = delete;

    // --- where outcomes go
    // ------------------------------------------------------------------------------------------------- A
    // handler that is also a wxEvtHandler becomes the event sink. Null takes it away again.
    void SetProgressHandler(OrvProgressHandler* handler);
    void SetEventSink(wxEvtHandler* sink);
    // Without windows: called on the worker thread with every event; its return acknowledges the event.
    void SetEventConsumer(std::function<void(OrvCommandEvent&)> consumer);
    // Acknowledges the event that is being handled. Without such an event it does nothing.
    void PostResponse();
    // Waits until nothing is queued and nothing runs; never call it on a GUI thread whose events the worker
    // waits for. timeoutMs < 0 waits for ever. False on time-out.
    bool WaitIdle(int timeoutMs = -1);
    bool IsBusy() const;

    // --- slots
    // -------------------------------------------------------------------------------------------------------------
    bool HasFile(OrvFileId slot) const;
    wxString GetFilename(OrvFileId slot) const;          // full path, "" when the slot is empty
    OrvFilePtr GetFile(OrvFileId slot) const;            // the snapshot itself
    void SetFile(const wxString& path, OrvFileId slot);  // "" empties the slot
    void SwitchFiles();                                  // exchanges the two slots
    // Takes the reference out of every analysis without forgetting it, and back in.
    void EnableReference(bool enabled);
    bool IsReferenceEnabled() const;
    OrvFileList GetFileList(OrvFileId slot) const;
    int GetFileId(
        OrvFileId slot) const;  // index of the slot's file in the list, -1 when it is not there (yet)
    bool IsListing(OrvFileId slot) const;
    wxString GetOutputDir(
        OrvFileId slot) const;  // the slot's cache folder, existing or not; "" for an empty slot
    wxString GetStringImageFormatsRead() const;

    // --- filters
    // -----------------------------------------------------------------------------------------------------------
    std::vector<OrvFilter*> GetFilters() const;
    OrvFilter* GetActiveFilter() const;
    // Runs the filter on the loaded files. configuration -1 keeps the active one; force computes even what is
    // known. When a run ends without a result and nothing newer was asked for, the filter's requested values are again those of
    // the result that it shows.
    void Configure(OrvFilter* filter, int configuration, const VecParameter& input,
                   const VecParameter& postProcessing, bool force);
    // Makes filter and configuration the active ones and asks for a run, which a held result answers without
    // computing. configuration -1 keeps the filter's newest requested values. True when a run was asked for.
    bool ActivateFilter(OrvFilter* filter, int configuration);
    // Stops the running work if it is the one of this number; 0: whichever runs.
    void AbortProcessing(std::uint64_t work = 0);
    // Number of the newest work of which the progress handler was told.
    std::uint64_t GetToldWork() const;
    // Computes the active filter's values anew for one slot's file; what was there before stands until then.
    void ReprocessCurrent(OrvFileId slot);
    void DeleteCache(OrvFileId slot);
    // All results kept on disk, of any file: how many bytes they take (looks through the folder), and their removal. What was extracted
    // stays.
    std::uint64_t GetCacheBytes() const;
    void EmptyCache();

    void AddFilterConfiguration(OrvFilter* filter, const VecParameter& parameters, int index);
    void DeleteFilterConfiguration(OrvFilter* filter, int index);
    void DeleteAllFilterConfigurations(OrvFilter* filter);
    void ResetDefaultFilterConfigurations(OrvFilter* filter);
    void MoveFilterConfiguration(OrvFilter* filter, int from, int to);
    void EnableFilterConfiguration(OrvFilter* filter, int index, bool enabled);
    // All configurations of all filters as a file (.zof). Loading takes what is known; what is not is named
    // in one failure message, and nothing already configured is lost.
    void SaveConfigurations(const wxString& path);
    void LoadConfigurations(const wxString& path);
    void ResetAllConfigurations();
    // Writes the configurations to the settings file (on the worker). Called by the operations above.
    void StoreSettings();

    // --- project, report, extraction
    // ---------------------------------------------------------------------------------------
    OrvProject GetProject() const;
    // A loaded project brings its filter configurations with it; while it is open, changes of configurations are the project's, not
    // the user's settings. A new project has the user's own again. A file that moved is looked for; what has changed or cannot be
    // found is told before anything is shown.
    void NewProject();
    void LoadProject(const wxString& path);
    void SaveProject(const wxString& path);  // with what the program shows now
    void SetCaseData(const OrvCaseData& data);
    // Hashes of a file of the case as far as they were worked out, "" each that was not. MD5 and SHA-1 are, where an exhibit
    // expects them and the file is or was loaded.
    FileHashes GetKnownHashes(const OrvCaseFile& file) const;
    void SetAnnotations(const std::vector<OrvAnnotation>& annotations);
    void AddBookmark(const wxString& name, const wxString& note);
    void EditBookmark(int index, const wxString& name, const wxString& note);
    void DeleteBookmark(int index);
    void MoveBookmark(int from, int to);
    // Takes back the newest of the last hundred changes of the list of bookmarks; nothing where there is none.
    void UndoBookmarkChange();
    bool CanUndoBookmarkChange() const;
    void ShowBookmark(int index);  // loads its files, runs its filter and has its view shown
    // What a page shows at the moment; asked whenever that is to be kept. GUI thread.
    void SetViewSource(std::function<OrvViewState()> source);
    // The view that a bookmark or a project wants to be shown with this filter's result; once.
    std::optional<OrvViewState> TakeViewToShow(const OrvFilter* filter);
    // Keeps unsaved work where it is found after a crash, on a thread of its own; cheap where there is none. Failures are told once.
    void Autosave();
    OrvRecovery& GetRecovery();
    // Opens what another run of the program left behind, as unsaved work under its old name, and removes it from there.
    void RecoverProject(const OrvRecoveredProject& left);
    // HTML, or PDF for a path that ends in ".pdf"; "" is a new HTML file in the documents folder.
    void GenerateReport(const wxString& path = wxString());
    void GenerateReport(const wxString& path, OrvReportContents contents);
    void DumpEmbeddedJpgs(const wxString& path);
    // One picture of a slot's file (number counts those of ReadPicturesInFile from 1) into a file of its own, told like an
    // extraction; or, with a slot to load it into, loaded there.
    void ExtractPicture(OrvFileId slot, int number);
    void LoadPicture(OrvFileId slot, int number, OrvFileId target);
    void DumpImagesFromPdf(const wxString& path, const VecParameter& parameters);
    // Copies files (paths are bytes) into a folder under their own names, overwriting nothing; told like an
    // extraction.
    void CopyFilesTo(const std::vector<std::string>& paths, const wxString& folder);
    void CallGenericAction(OrvActionId action, const wxString& name, const VecParameter& parameters);
    // What that action would send where, to be asked about before it is called. Answers at once, from the options.
    std::vector<WebTransfer> GetWebTransfers(OrvActionId action, const VecParameter& parameters) const;

    wxString GetFilterFileSelectorString() const;  // of the active filter's kind of result
    wxString GetExportFilename() const;
    // What the next SaveFilterResult writes, with these marks drawn into it by the worker.
    void SetImageToSave(const Image& image, const std::vector<OrvAnnotation>& marks = {});
    void SaveFilterResult(const wxString& path);

    // --- options
    // -----------------------------------------------------------------------------------------------------------
    // One group per vector; OrvOptions::GroupTitles names them.
    VecVecParameter GetProgramOptions() const;
    void SetProgramOptions(const VecVecParameter& options);
    const OrvOptions& GetOptions() const;  // the same, one by one; any thread

    // --- what the tools' dialogs remember
    // ----------------------------------------------------------------------------------------------------
    // One JSON object per name; an empty one when there is none. Set keeps it on disk, by the worker.
    Json GetToolSettings(const std::string& name) const;
    void SetToolSettings(const std::string& name, const Json& record);
    // The key of the CameraForensics service, "" when there is none; see OrvKeyFile.
    std::string GetServiceKey() const;
    void SetServiceKey(const std::string& key);

    // What the program did since it was started; any thread.
    OrvLog& GetLog();
    // A file that the window wrote itself, a table say, for the log. Any thread.
    void NoteExport(const std::string& what, const std::string& path);

    OrvContext& GetContext() { return *m_context; }

  private:
    void LoadSettings();

    struct Private;
    std::unique_ptr<OrvContext> m_context;
    std::unique_ptr<Private> m;
};

// The living instance, null when there is none.
OrvInterface* GetInterface();
