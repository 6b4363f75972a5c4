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
    // Runs the filter and tells the window; never throws, a failure is told as an interrupted configuration.
    void RunFilter(OrvFilter& filter, const VecParameter& input, const VecParameter& post, bool force,
                   const OrvJob& job);
    // Runs the active filter after the slots have changed; without one, an action-completed event tells the
    // window.
    void RunActive(bool force, const OrvJob& job);
    // The result of a filter for the loaded files and these parameters, computed only as far as it is not
    // held.
    OrvFilterResultPtr Compute(OrvFilter& filter, const VecParameter& input, const VecParameter& post,
                               const OrvJob& job);
    void GenerateReport(std::string path, const OrvJob& job);
    void SaveResult(OrvFilter* filter, const Image& image, const std::string& path, const OrvJob& job);

    // The first dozen, one a line, and how many more there are.
    static std::string ListProblems(std::vector<std::string> problems);
    OrvFilterResult RequestFor(const VecParameter& input, const VecParameter& post) const;
    // Throws when the path is the evidence or the reference: these are never written to.
    void RefuseLoadedFile(const std::string& path) const;
    void ChangeProject(const std::function<void(OrvProject&)>& change);  // and marks it as not saved
};
