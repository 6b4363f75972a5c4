#include "orvcore/facade/interface.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <utility>

#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/filter/filterstore.h"
#include "orvcore/model/casefilesearch.h"
#include "orvcore/model/memorybudget.h"
#include "orvcore/tools/batch/extract.h"
#include "zorbase/files.h"
#include "zorbase/progress.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageformat.h"

namespace {

std::atomic<OrvInterface*> theInterface{nullptr};

bool HoldsTheSame(const std::string& path, const std::string& other) {
    try {
        return ReadFile(path) == ReadFile(other);
    } catch (const ZorException&) {
        return false;
    }
}

enum class Kept { Now, Before, Not };

// Copies a settings file that the next change would overwrite, for the user alone: it may hold keys.
Kept KeepCopy(const std::string& path, std::string& copy) {
    constexpr int kMostCopies = 99;
    for (int i = 1; i <= kMostCopies; ++i) {
        copy = path + (i == 1 ? std::string() : "." + ToString(i)) + ".bak";
        if (GetFileFacts(copy)) {
            if (HoldsTheSame(path, copy)) return Kept::Before;
            continue;
        }
        try {
            WritePrivateFile(copy, ReadFile(path));
            return Kept::Now;
        } catch (const ZorException&) {
            return Kept::Not;
        }
    }
    return Kept::Not;
}

}  // namespace

OrvInterface* GetInterface() {
    return theInterface;
}

OrvContext* GetContext() {
    OrvInterface* interface = theInterface;
    return interface != nullptr ? &interface->GetContext() : nullptr;
}

wxString OrvFileList::operator[](std::size_t i) const {
    return i < size() ? PathToWx((*m_paths)[i]) : wxString();
}

OrvInterface::Private::Private(OrvContext& owner)
    : context(owner),
      log(LogFolder()),
      cache(PathJoin(GetAppDocumentsPath(), "cache")),
      slots([this](int slot) { port.PostFileList(slot); }),
      recovery(PathJoin(GetAppDocumentsPath(), "recovery")),
      queue([this](std::uint64_t work) { port.CreateProgress(work); }, [this] { port.DestroyProgress(); }) {
    ReturnLargeBlocks();
    toolSettings.Load();
}

OrvInterface::OrvInterface()
    : m_context(std::make_unique<OrvContext>()), m(std::make_unique<Private>(*m_context)) {
    theInterface = this;
    m->NoteSettings("The program options", OrvOptions::Path(), "were read only as far as they could be",
                    m->options.Load());
    m->ApplyOptions();
    LoadSettings();
    if (const std::string problem = m->log.GetProblem(); !problem.empty()) {
        if (!m->startProblem.empty()) m->startProblem += "\n\n";
        m->startProblem +=
            "The log cannot be written: " + problem +
            "\nThe program works without it; projects and reports of this session will name no log.";
    }
}

void OrvInterface::LoadSettings() {
    const std::string path = OrvFilterStore::SettingsPath();
    if (!FileExists(path)) return;
    std::vector<std::string> problems;
    std::string outcome = "were read only as far as they are known here";
    try {
        OrvFilterStore::FromJson(m_context->GetFilters(), JsonFromText(ReadFile(path)), problems);
        for (OrvFilter* filter : GetFilters())
            filter->SetRequested(filter->GetActiveConfiguration(),
                                 filter->GetConfigurationParams(filter->GetActiveConfiguration()),
                                 filter->GetPostProcessingPrototype());
    } catch (const ZorException& exception) {
        problems = {exception.GetMessage()};
        outcome = "could not be read, so the filters have their default ones";
    }
    m->NoteSettings("The filter configurations", path, outcome, problems);
}

void OrvInterface::Private::ApplyOptions() {
    OrvMemoryBudget::Get().SetLimit(options.GetMemoryBytes());
    cache.SetLimit(options.GetCacheBytes());
}

void OrvInterface::Private::NoteSettings(const std::string& what, const std::string& path,
                                         const std::string& outcome,
                                         const std::vector<std::string>& problems) {
    std::string copy;
    const Kept kept = problems.empty() ? Kept::Before : KeepCopy(path, copy);
    // A file that was kept before has been told of before.
    if (kept == Kept::Before) return;
    if (!startProblem.empty()) startProblem += "\n\n";
    startProblem += what + " in \"" + ToValidUtf8(path) + "\" " + outcome + ":\n" + ListProblems(problems) +
                    (kept == Kept::Now ? "\nThe file is kept as \"" + ToValidUtf8(copy) + "\"."
                                       : "\nNo copy of the file could be made.");
}

OrvInterface::~OrvInterface() {
    // The worker reaches everything through m, so it ends while m still stands.
    m->queue.Stop([this] { m->port.Shutdown(); });
    m.reset();
    theInterface = nullptr;
}

// --- where outcomes go ---

void OrvInterface::SetProgressHandler(OrvProgressHandler* handler) {
    m->port.SetSink(dynamic_cast<wxEvtHandler*>(handler), handler);
    if (handler == nullptr || m->startProblem.empty()) return;
    m->Push(OrvCommand::Kind::Other,
            [problem = std::exchange(m->startProblem, {})](const OrvJob&) { ZOR_THROW(Format, problem); });
}

void OrvInterface::SetEventSink(wxEvtHandler* sink) {
    m->port.SetSink(sink, nullptr);
}

void OrvInterface::SetEventConsumer(std::function<void(OrvCommandEvent&)> consumer) {
    m->port.SetConsumer(std::move(consumer));
}

void OrvInterface::PostResponse() {
    m->port.PostResponse();
}

bool OrvInterface::WaitIdle(int timeoutMs) {
    return m->queue.WaitIdle(timeoutMs);
}

bool OrvInterface::IsBusy() const {
    return m->queue.IsBusy();
}

void OrvInterface::AbortProcessing(std::uint64_t work) {
    m->queue.Abort(work);
}

std::uint64_t OrvInterface::GetToldWork() const {
    return m->port.GetToldWork();
}

// --- slots ---

bool OrvInterface::HasFile(OrvFileId slot) const {
    return m->slots.GetActive(slot) != nullptr;
}

wxString OrvInterface::GetFilename(OrvFileId slot) const {
    const OrvFilePtr file = m->slots.Get(slot);
    return file ? PathToWx(file->GetPath()) : wxString();
}

OrvFilePtr OrvInterface::GetFile(OrvFileId slot) const {
    return m->slots.Get(slot);
}

void OrvInterface::SetFile(const wxString& path, OrvFileId slot) {
    OrvCommand command;
    command.kind = OrvCommand::Kind::Slot;
    // Holding down a navigation key asks for the same file many times.
    command.replacesSlot = slot;
    command.run = [this, path = PathFromWx(path), slot](const OrvJob& job) {
        const OrvFilePtr file = m->ReadForSlot(path, job);
        // What is not the expected file is told before it is shown.
        const std::string problem = file ? m->CheckExhibit(file, GetProject().GetCaseData()) : std::string();
        if (!problem.empty()) m->TellFailure(kErrorFailed, problem);
        m->SetSlot(slot, file);
        m->RunActive({}, job);
    };
    command.fail = [this](int error, const std::string& message) { m->TellFailure(error, message); };
    m->queue.Push(std::move(command));
}

void OrvInterface::SwitchFiles() {
    m->Push(OrvCommand::Kind::Slot, [this](const OrvJob& job) {
        m->slots.Switch();
        m->TellFilters();
        m->log.Note(OrvLogLevel::Info, "Evidence and reference changed places.");
        m->ChangeProject([](OrvProject& project) {
            const OrvCaseFile evidence = project.GetFile(OrvEvidence);
            project.SetFile(OrvEvidence, project.GetFile(OrvReference));
            project.SetFile(OrvReference, evidence);
        });
        m->RunActive({}, job);
    });
}

void OrvInterface::EnableReference(bool enabled) {
    m->Push(OrvCommand::Kind::Slot, [this, enabled](const OrvJob& job) {
        m->slots.EnableReference(enabled);
        m->TellFilters();
        m->log.Note(OrvLogLevel::Info, enabled ? "Reference switched on." : "Reference switched off.");
        m->RunActive({}, job);
    });
}

bool OrvInterface::IsReferenceEnabled() const {
    return m->slots.IsReferenceEnabled();
}

OrvFileList OrvInterface::GetFileList(OrvFileId slot) const {
    return OrvFileList(m->slots.GetList(slot));
}

int OrvInterface::GetFileId(OrvFileId slot) const {
    return m->slots.GetIndex(slot);
}

bool OrvInterface::IsListing(OrvFileId slot) const {
    return m->slots.IsListing(slot);
}

wxString OrvInterface::GetOutputDir(OrvFileId slot) const {
    const OrvFilePtr file = m->slots.Get(slot);
    return file ? PathToWx(m->cache.FolderOf(*file)) : wxString();
}

wxString OrvInterface::GetStringImageFormatsRead() const {
    return ToWx(ImageFormatsReadFilter());
}

void OrvInterface::DeleteCache(OrvFileId slot) {
    m->Push(OrvCommand::Kind::Other, [this, slot](const OrvJob&) {
        if (const OrvFilePtr file = m->slots.Get(slot)) RemoveFolder(m->cache.FolderOf(*file));
        m->Tell(OrvEventDeleteCache);
    });
}

std::uint64_t OrvInterface::GetCacheBytes() const {
    return m->cache.GetSize();
}

void OrvInterface::EmptyCache() {
    m->Push(OrvCommand::Kind::Other, [this](const OrvJob&) {
        m->cache.Clear();
        m->Tell(OrvEventDeleteCache);
    });
}

// --- options ---

VecVecParameter OrvInterface::GetProgramOptions() const {
    return m->options.Get();
}

const OrvOptions& OrvInterface::GetOptions() const {
    return m->options;
}

void OrvInterface::SetProgramOptions(const VecVecParameter& options) {
    m->options.Set(options);
    m->ApplyOptions();
    m->Push(
        OrvCommand::Kind::Other, [this](const OrvJob&) { m->options.Save(); }, true);
    // What is shown may rest on an option.
    OrvFilter* active = GetActiveFilter();
    const OrvFilterResultPtr shown = active != nullptr ? active->GetResult() : nullptr;
    if (shown && shown->surroundings != active->GetSurroundings())
        m->Push(OrvCommand::Kind::Other, [this](const OrvJob& job) { m->RunActive({}, job); });
}

// --- what the tools' dialogs remember ---

Json OrvInterface::GetToolSettings(const std::string& name) const {
    return m->toolSettings.Get(name);
}

void OrvInterface::SetToolSettings(const std::string& name, const Json& record) {
    m->toolSettings.Set(name, record);
    m->Push(
        OrvCommand::Kind::Other, [this](const OrvJob&) { m->toolSettings.Save(); }, true);
}

std::string OrvInterface::GetServiceKey() const {
    return m->serviceKey.Get();
}

void OrvInterface::SetServiceKey(const std::string& key) {
    if (key == m->serviceKey.Get()) return;
    m->serviceKey.Set(key);
    m->Push(
        OrvCommand::Kind::Other, [this](const OrvJob&) { m->serviceKey.Save(); }, true);
}

// --- worker ---

void OrvInterface::Private::Push(OrvCommand::Kind kind, std::function<void(const OrvJob&)> run,
                                 bool mustRun) {
    OrvCommand command;
    command.mustRun = mustRun;
    command.kind = kind;
    command.run = std::move(run);
    command.fail = [this](int error, const std::string& message) { TellFailure(error, message); };
    queue.Push(std::move(command));
}

void OrvInterface::Private::Tell(OrvEventId id, const std::string& text) {
    auto event = std::make_unique<OrvCommandEvent>(id);
    event->SetText(text);
    port.Post(std::move(event), true);
}

void OrvInterface::Private::TellFolder(const std::string& folder) {
    if (!folder.empty()) NoteFile("Pictures extracted to", folder);
    auto event = std::make_unique<OrvCommandEvent>(OrvEventDumpEmbeddedJpgs);
    event->SetPath(folder);
    if (!folder.empty() && HasExtractionWarnings(folder))
        event->SetError(0, "Embedded images saved in folder " + ToValidUtf8(folder) +
                               "\nThere were problems; they stand in warnings.txt there.");
    port.Post(std::move(event), true);
}

void OrvInterface::Private::TellFailure(int error, const std::string& message) {
    log.Note(error == kErrorAborted ? OrvLogLevel::Warning : OrvLogLevel::Error, message);
    auto event = std::make_unique<OrvCommandEvent>(OrvEventActionCompleted);
    event->SetError(error, message);
    event->SetFilter(context.GetActiveFilter(), false);
    port.Post(std::move(event), true);
}

OrvFilePtr OrvInterface::Private::ReadForSlot(const std::string& path, const OrvJob& job) const {
    if (path.empty()) return nullptr;
    job.SetProgress(0.0, "Reading " + ToValidUtf8(PathName(path)));
    OrvFilePtr file = OrvLoadedFile::Load(path, options.GetMaximumFileBytes(), job);
    // Here, because the tools' dialogs ask on the GUI thread.
    file->GetEvidenceFacts();
    return file;
}

void OrvInterface::Private::SetSlot(OrvFileId slot, const OrvFilePtr& file, bool isLooking) {
    slots.Set(slot, file);
    // Choosing a reference means wanting to see it.
    if (slot == OrvReference && file) slots.EnableReference(true);
    {
        const std::lock_guard lock(mutex);
        project.SetFile(slot, CaseFileOf(file));
        if (!isLooking) project.SetSaved(false);
    }
    TellFilters();
    NoteSlot(slot, file);
}

void OrvInterface::Private::TellFilters() {
    const OrvFilePtr files[kFileSlots] = {slots.GetActive(OrvEvidence), slots.GetActive(OrvReference)};
    for (OrvFilter* filter : context.GetFilters()) filter->SetFiles(files);
}

void OrvInterface::Private::RefuseLoadedFile(const std::string& path) {
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        const OrvFilePtr file = slots.Get(slot);
        std::error_code error;
        if (file && (file->GetPath() == path || std::filesystem::equivalent(file->GetPath(), path, error)))
            ZOR_THROW(File, "\"" + ToValidUtf8(PathName(path)) + "\" is the " +
                                (slot == OrvEvidence ? "evidence" : "reference") +
                                ", which is never written to. Choose another name.");
    }
    ProtectProject();  // a file may have come or been replaced since
    RefuseProtectedFile(path);
}

void OrvInterface::Private::ProtectProject() {
    std::vector<OrvCaseFile> named;
    {
        const std::lock_guard lock(mutex);
        named = project.GetAllFiles();
    }
    std::vector<FileProtection> files;
    for (const OrvCaseFile& file : named)
        if (!file.path.empty()) files.emplace_back(file.path);
    projectFiles.swap(files);
}

void OrvInterface::Private::ChangeProject(const std::function<void(OrvProject&)>& change) {
    {
        const std::lock_guard lock(mutex);
        change(project);
        project.SetSaved(false);
    }
    ProtectProject();
}
