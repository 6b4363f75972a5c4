// The part of the facade that deals with the project: new, load, save, what is known of the case, and what a crash must not take.

#include <algorithm>
#include <filesystem>

#include "orvcore/facade/interface.h"
#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/filter/filterstore.h"
#include "orvcore/filter/mapranges.h"
#include "orvcore/model/casefilesearch.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::uint64_t kMaxProjectBytes = 256 << 20;

std::string Quoted(const std::string& path) {
    return "\"" + ToValidUtf8(path) + "\"";
}

OrvProject ReadProject(const std::string& path) {
    const std::string name = Quoted(PathName(path));
    const auto facts = GetFileFacts(path);
    if (facts && !facts->isFolder && facts->size > kMaxProjectBytes)
        ZOR_THROW(Format, "The project " + name + " was not loaded: " + FormatFileSize(facts->size) +
                              " is more than a project has.");
    try {
        OrvProject project = OrvProject::FromText(ReadFile(path));
        project.SetPath(path);
        return project;
    } catch (const ZorException& exception) {
        if (exception.GetKind() == ZorException::Kind::File) throw;
        ZOR_THROW(Format, "The project " + name + " was not loaded: " + exception.GetMessage() + ".");
    }
}

std::string HolderText(const std::string& path, const std::string& holder) {
    return "The project " + Quoted(PathName(path)) + " is open in another window of the program (" + holder +
           ").";
}

}  // namespace

OrvProject OrvInterface::GetProject() const {
    const std::lock_guard lock(m->mutex);
    return m->project;
}

void OrvInterface::SetViewSource(std::function<OrvViewState()> source) {
    m->viewSource = std::move(source);
}

std::optional<OrvViewState> OrvInterface::TakeViewToShow(const OrvFilter* filter) {
    const std::lock_guard lock(m->mutex);
    if (!m->viewToShow || m->viewToShow->filter != filter) return {};
    const OrvViewState view = m->viewToShow->view;
    m->viewToShow.reset();
    return view;
}

OrvProjectState OrvInterface::Private::StateNow() const {
    OrvProjectState state;
    state.configurations = OrvFilterStore::ToJson(context.GetFilters());
    if (const OrvFilter* filter = context.GetActiveFilter()) {
        state.filterId = filter->GetId();
        state.input = filter->GetParametersInput().ToJson();
        state.postProcessing = filter->GetParametersPostProcessing().ToJson();
    }
    state.isReferenceEnabled = slots.IsReferenceEnabled();
    if (viewSource) state.view = viewSource();
    for (const OrvFilter* filter : context.GetFilters())
        if (const Json ranges = MapRangesOf(filter->GetId())->ToJson(); !ranges.empty())
            state.mapRanges[filter->GetId()] = ranges;
    state.programVersion = AppVersion().GetFullName();
    for (const OrvFilter* filter : context.GetFilters())
        state.filterVersions[filter->GetId()] = filter->GetVersion();
    return state;
}

void OrvInterface::NewProject() {
    m->Push(OrvCommand::Kind::Project, [this](const OrvJob& job) {
        for (const OrvFileId slot : {OrvEvidence, OrvReference}) m->slots.Set(slot, nullptr);
        m->SetMapRanges(Json::object());
        m->TellFilters();
        m->RestoreOwnConfigurations();
        m->projectLock.reset();
        {
            const std::lock_guard lock(m->mutex);
            m->project = OrvProject();
            m->bookmarkHistory.clear();
            m->viewToShow.reset();
        }
        m->ProtectProject();
        m->recovery.Clear();
        m->log.Note(OrvLogLevel::Info, "New project.");
        m->Tell(OrvEventNewProject);
        m->RunActive({}, job);
    });
}

void OrvInterface::LoadProject(const wxString& path) {
    const std::uint64_t choice = m_context->NoteChoice();
    m->Push(OrvCommand::Kind::Project, [this, choice, path = PathFromWx(path)](const OrvJob& job) {
        Private::OpenedProject opened;
        opened.project = ReadProject(path);
        opened.isLockedAlready = m->projectLock && m->projectLock->IsFor(path);
        if (!opened.isLockedAlready) {
            OrvProjectLock::Attempt attempt = OrvProjectLock::Take(path);
            opened.lock = std::move(attempt.lock);
            if (!attempt.holder.empty())
                opened.problems = HolderText(path, attempt.holder) +
                                  " Here it can be looked at, and saved under another name.\n";
        }
        m->OpenProject(std::move(opened), choice, job);
    });
}

void OrvInterface::RecoverProject(const OrvRecoveredProject& left) {
    const std::uint64_t choice = m_context->NoteChoice();
    m->Push(OrvCommand::Kind::Project, [this, choice, left](const OrvJob& job) {
        Private::OpenedProject opened;
        try {
            opened.project = OrvRecovery::Read(left.folder);
        } catch (const ZorException& exception) {
            ZOR_THROW(Format, "What was kept of the project cannot be read: " + exception.GetMessage() +
                                  "\nIt is in the folder " + Quoted(left.folder) + ".");
        }
        const std::string& path = opened.project.GetPath();
        if (!path.empty()) {
            OrvProjectLock::Attempt attempt = OrvProjectLock::Take(path);
            opened.lock = std::move(attempt.lock);
            if (!attempt.holder.empty()) opened.problems = HolderText(path, attempt.holder) + "\n";
        }
        m->OpenProject(std::move(opened), choice, job);
        // Ours is on disk before the other one goes.
        m->recovery.Keep(GetProject());
        m->recovery.Wait();
        if (m->recovery.GetProblem().empty()) OrvRecovery::Discard(left.folder);
    });
}

OrvInterface::Private::CaseFiles OrvInterface::Private::ReadCaseFiles(const OrvCaseFile (&files)[kFileSlots],
                                                                      const std::string& projectPath,
                                                                      const OrvJob& job) const {
    CaseFiles found;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        const OrvCaseFile& wanted = files[slot];
        if (wanted.IsEmpty()) continue;
        // What is loaded already need not be read once more.
        for (const OrvFileId loaded : {OrvEvidence, OrvReference})
            if (const OrvFilePtr file = slots.Get(loaded);
                file && file->GetPath() == wanted.path && file->GetSha256() == wanted.sha256)
                found.file[slot] = file;
        if (found.file[slot]) continue;
        std::string reason;
        OrvFilePtr file;
        try {
            file = ReadForSlot(wanted.path, job);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::Aborted) throw;
            reason = exception.GetMessage();
        }
        const bool isIt = file && (wanted.sha256.empty() || file->GetSha256() == wanted.sha256);
        if (!isIt) {
            job.SetProgress(0.0, "Looking for " + ToValidUtf8(PathName(wanted.path)));
            const std::string moved = FindMovedFile(wanted, PathFolder(projectPath), job);
            if (!moved.empty()) {
                file = ReadForSlot(moved, job);
            } else if (file) {
                found.problems += Quoted(wanted.path) +
                                  " has changed since it was remembered: its SHA-256 was " + wanted.sha256 +
                                  " and is now " + file->GetSha256() +
                                  ". What is shown is the changed file.\n";
            } else {
                found.problems += reason + (projectPath.empty() ? "\n" : " Nor is it beside the project.\n");
            }
        }
        found.file[slot] = file;
    }
    return found;
}

void OrvInterface::Private::OpenProject(OpenedProject opened, std::uint64_t choice, const OrvJob& job) {
    const OrvProject& project = opened.project;
    const OrvCaseFile wanted[kFileSlots] = {project.GetFile(OrvEvidence), project.GetFile(OrvReference)};
    const CaseFiles files = ReadCaseFiles(wanted, project.GetPath(), job);
    opened.problems += files.problems;

    // From here on nothing fails.
    const OrvProjectState& state = project.GetState();
    std::vector<std::string> left;
    if (!state.configurations.is_null()) {
        try {
            OrvFilterStore::FromJson(context.GetFilters(), state.configurations, left);
            hasProjectConfigurations = true;
        } catch (const ZorException& exception) {
            left.push_back(exception.GetMessage());
        }
    } else {
        RestoreOwnConfigurations();
    }
    OrvFilter* filter = context.FindFilter(state.filterId);
    if (filter == nullptr && !state.filterId.empty())
        left.push_back("unknown filter \"" + ToValidUtf8(state.filterId) + "\"");
    if (!left.empty())
        opened.problems +=
            "Its filter configurations are known here only in part:\n" + ListProblems(left) + "\n";
    for (const OrvFilePtr& file : files.file)
        if (file)
            if (const std::string problem = CheckExhibit(file, project.GetCaseData()); !problem.empty())
                opened.problems += problem + "\n";
    if (!opened.problems.empty())
        TellFailure(kErrorFailed, "The project " + Quoted(PathName(project.GetPath())) +
                                      " is opened, but:\n" + Trim(opened.problems));

    for (const OrvFileId slot : {OrvEvidence, OrvReference}) slots.Set(slot, files.file[slot]);
    slots.EnableReference(state.isReferenceEnabled);
    SetMapRanges(state.mapRanges);
    TellFilters();
    if (!opened.isLockedAlready) projectLock = std::move(opened.lock);
    if (filter != nullptr) {
        VecParameter input = filter->GetInputPrototype();
        VecParameter post = filter->GetPostProcessingPrototype();
        std::vector<std::string> unfit;
        input.FromJson(state.input, unfit);
        post.FromJson(state.postProcessing, unfit);
        context.SetActiveFilterFor(choice, filter, [&] { filter->SetRequested(-1, input, post); });
    }
    {
        const std::lock_guard lock(mutex);
        this->project = project;
        // Where a file was found elsewhere, that is where it is from now on.
        for (const OrvFileId slot : {OrvEvidence, OrvReference})
            if (files.file[slot] && files.file[slot]->GetSha256() == wanted[slot].sha256)
                this->project.SetFile(slot, CaseFileOf(files.file[slot]));
        bookmarkHistory.clear();
        viewToShow.reset();
        if (filter != nullptr) viewToShow = ViewToShow{filter, state.view};
    }
    ProtectProject();
    recovery.Clear();
    NoteFile("Project opened", project.GetPath());
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) NoteSlot(slot, files.file[slot]);
    Tell(OrvEventLoadProject);
    RunActive({}, job);
}

void OrvInterface::Private::SetMapRanges(const Json& ofFilters) {
    for (const OrvFilter* filter : context.GetFilters())
        MapRangesOf(filter->GetId())->FromJson(ofFilters.value(filter->GetId(), Json::object()));
}

// The settings file holds what the user had before the project was opened.
void OrvInterface::Private::RestoreOwnConfigurations() {
    if (!hasProjectConfigurations.exchange(false)) return;
    for (OrvFilter* filter : context.GetFilters()) OrvFilterStore::ResetToDefaults(*filter);
    const std::string path = OrvFilterStore::SettingsPath();
    if (!FileExists(path)) return;
    try {
        std::vector<std::string> problems;  // were told when the program started
        OrvFilterStore::FromJson(context.GetFilters(), JsonFromText(ReadFile(path)), problems);
    } catch (const ZorException&) {
        // Then the defaults it is, as at the start.
    }
}

void OrvInterface::SaveProject(const wxString& path) {
    m->Push(
        OrvCommand::Kind::Project,
        [this, path = PathFromWx(path), state = m->StateNow()](const OrvJob&) {
            m->RefuseLoadedFile(path);
            std::unique_ptr<OrvProjectLock> lock;
            if (!m->projectLock || !m->projectLock->IsFor(path)) {
                OrvProjectLock::Attempt attempt = OrvProjectLock::Take(path);
                if (!attempt.holder.empty())
                    ZOR_THROW(File, HolderText(path, attempt.holder) +
                                        " It was not saved: save it under another name.");
                lock = std::move(attempt.lock);
            }
            OrvProject saved = GetProject();
            saved.SetPath(path);
            saved.FollowMovedFiles();
            saved.SetRelativePaths(PathFolder(path));
            m->log.Note(OrvLogLevel::Info, "Saving the project " + Quoted(path) + ".");
            OrvProjectState withPlace = state;
            withPlace.logPlace = m->log.GetPlace();
            saved.SetState(withPlace);
            WriteFile(path, saved.ToText());
            m->NoteFile("Project saved", path);
            if (lock) m->projectLock = std::move(lock);
            saved.SetSaved(true);
            {
                const std::lock_guard guard(m->mutex);
                // Marks are set while this runs, too.
                if (m->project.GetAnnotations() != saved.GetAnnotations()) {
                    saved.SetAnnotations(m->project.GetAnnotations());
                    saved.SetSaved(false);
                }
                m->project = std::move(saved);
            }
            m->recovery.Clear();
            m->Tell(OrvEventSaveProject);
        },
        true);
}

void OrvInterface::SetCaseData(const OrvCaseData& data) {
    m->Push(OrvCommand::Kind::Project, [this, data](const OrvJob&) {
        if (GetProject().GetCaseData() == data) return;
        m->ChangeProject([&data](OrvProject& project) { project.SetCaseData(data); });
        std::string problems;
        for (const OrvFileId slot : {OrvEvidence, OrvReference})
            if (const OrvFilePtr file = m->slots.Get(slot))
                if (const std::string problem = m->CheckExhibit(file, data); !problem.empty())
                    problems += problem + "\n";
        m->Tell(OrvEventEditBookmark);
        if (!problems.empty()) ZOR_THROW(File, Trim(problems));
    });
}

// Marks follow the mouse: the change holds at once, whatever the worker does, and the window is told of it later.
void OrvInterface::SetAnnotations(const std::vector<OrvAnnotation>& annotations) {
    {
        const std::lock_guard lock(m->mutex);
        if (m->project.GetAnnotations() == annotations) return;
        m->project.SetAnnotations(annotations);
        m->project.SetSaved(false);
    }
    m->Push(OrvCommand::Kind::Project, [this](const OrvJob&) { m->Tell(OrvEventEditBookmark); });
}

void OrvInterface::Autosave() {
    const std::string problem = m->recovery.GetProblem();  // of the time before
    OrvProject project = GetProject();
    if (project.HasUnsavedWork()) {
        project.SetState(m->StateNow());
        m->recovery.Keep(project);
    }
    if (problem.empty()) {
        m->wasAutosaveProblemTold = false;
    } else if (!m->wasAutosaveProblemTold) {
        m->wasAutosaveProblemTold = true;
        m->Push(OrvCommand::Kind::Other, [problem](const OrvJob&) {
            ZOR_THROW(File,
                      "Unsaved work cannot be kept against a crash: " + problem + " Save the project soon.");
        });
    }
}

OrvRecovery& OrvInterface::GetRecovery() {
    return m->recovery;
}
