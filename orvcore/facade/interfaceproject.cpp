// The part of the facade that deals with projects, bookmarks, reports, extraction and generic actions.

#include <filesystem>

#include "orvcore/facade/genericactions.h"
#include "orvcore/facade/interface.h"
#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/tools/batch/extract.h"
#include "orvcore/tools/folder/copyfiles.h"
#include "zorbase/files.h"
#include "zorbase/progress.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

OrvProject OrvInterface::GetProject() const {
    const std::lock_guard lock(m->mutex);
    return m->project;
}

void OrvInterface::NewProject() {
    m->Push(OrvCommand::Kind::Project, [this](const OrvJob& job) {
        for (const OrvFileId slot : {OrvEvidence, OrvReference}) m->slots.Set(slot, nullptr);
        m->TellFilters();
        {
            const std::lock_guard lock(m->mutex);
            m->project = OrvProject();
        }
        m->Tell(OrvEventNewProject);
        m->RunActive({}, job);
    });
}

void OrvInterface::LoadProject(const wxString& path) {
    m->Push(OrvCommand::Kind::Project, [this, path = PathFromWx(path)](const OrvJob& job) {
        const std::string name = "\"" + ToValidUtf8(PathName(path)) + "\"";
        OrvProject loaded;
        try {
            loaded = OrvProject::FromText(ReadFile(path));
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::File) throw;
            ZOR_THROW(Format, "The project " + name + " was not loaded: " + exception.GetMessage() + ".");
        }
        loaded.SetPath(path);

        // A file that is missing or has changed does not keep the rest of the case from being opened, but it
        // is told.
        std::string problems;
        OrvFilePtr files[kFileSlots];
        for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
            OrvFilePtr& file = files[slot];
            const std::string& filePath = loaded.GetFilePath(slot);
            try {
                file = m->ReadForSlot(filePath, job);
            } catch (const ZorException& exception) {
                if (exception.GetKind() == ZorException::Kind::Aborted) throw;
                problems += exception.GetMessage() + "\n";
            }
            if (file && !loaded.GetFileSha256(slot).empty() &&
                file->GetSha256() != loaded.GetFileSha256(slot))
                problems += "\"" + ToValidUtf8(filePath) +
                            "\" has changed since the project was saved: its SHA-256 was " +
                            loaded.GetFileSha256(slot) + " and is now " + file->GetSha256() + ".\n";
        }
        for (const OrvFileId slot : {OrvEvidence, OrvReference}) m->slots.Set(slot, files[slot]);
        m->slots.EnableReference(true);
        m->TellFilters();
        {
            const std::lock_guard lock(m->mutex);
            m->project = loaded;
        }
        m->Tell(OrvEventLoadProject);
        m->RunActive({}, job);
        if (!problems.empty())
            ZOR_THROW(File, "The project " + name + " was loaded, but:\n" + Trim(problems));
    });
}

void OrvInterface::SaveProject(const wxString& path) {
    m->Push(
        OrvCommand::Kind::Project,
        [this, path = PathFromWx(path)](const OrvJob&) {
            m->RefuseLoadedFile(path);
            OrvProject saved = GetProject();
            WriteFile(path, saved.ToText());
            {
                const std::lock_guard lock(m->mutex);
                m->project.SetPath(path);
                m->project.SetSaved(true);
            }
            m->Tell(OrvEventSaveProject);
        },
        true);
}

void OrvInterface::AddBookmark(const wxString& name, const wxString& note) {
    OrvBookmark bookmark;
    bookmark.name = FromWx(name);
    bookmark.note = FromWx(note);
    if (const OrvFilter* filter = GetActiveFilter()) {
        bookmark.filterId = filter->GetId();
        bookmark.input = filter->GetParametersInput().ToJson();
        bookmark.postProcessing = filter->GetParametersPostProcessing().ToJson();
    }
    for (const OrvFileId slot : {OrvEvidence, OrvReference})
        if (const OrvFilePtr file = m->slots.Get(slot)) bookmark.path[slot] = file->GetPath();
    m->Push(OrvCommand::Kind::Project, [this, bookmark](const OrvJob&) {
        m->ChangeProject([&bookmark](OrvProject& project) { project.EditBookmarks().push_back(bookmark); });
        m->Tell(OrvEventAddBookmark);
    });
}

void OrvInterface::EditBookmark(int index, const wxString& name, const wxString& note) {
    m->Push(OrvCommand::Kind::Project,
            [this, index, name = FromWx(name), note = FromWx(note)](const OrvJob&) {
                m->ChangeProject([&](OrvProject& project) {
                    auto& bookmarks = project.EditBookmarks();
                    if (index < 0 || index >= static_cast<int>(bookmarks.size()))
                        ZOR_THROW(Argument, "There is no such bookmark.");
                    bookmarks[static_cast<std::size_t>(index)].name = name;
                    bookmarks[static_cast<std::size_t>(index)].note = note;
                });
                m->Tell(OrvEventEditBookmark);
            });
}

void OrvInterface::DeleteBookmark(int index) {
    m->Push(OrvCommand::Kind::Project, [this, index](const OrvJob&) {
        m->ChangeProject([&](OrvProject& project) {
            auto& bookmarks = project.EditBookmarks();
            if (index < 0 || index >= static_cast<int>(bookmarks.size()))
                ZOR_THROW(Argument, "There is no such bookmark.");
            bookmarks.erase(bookmarks.begin() + index);
        });
        m->Tell(OrvEventEditBookmark);
    });
}

void OrvInterface::ShowBookmark(int index) {
    const std::uint64_t choice = m_context->NoteChoice();
    m->Push(OrvCommand::Kind::Slot, [this, index, choice](const OrvJob& job) {
        const OrvProject project = GetProject();
        if (index < 0 || index >= static_cast<int>(project.GetBookmarks().size()))
            ZOR_THROW(Argument, "There is no such bookmark.");
        const OrvBookmark& bookmark = project.GetBookmarks()[static_cast<std::size_t>(index)];
        OrvFilter* filter = m_context->FindFilter(bookmark.filterId);
        if (filter == nullptr)
            ZOR_THROW(Argument, "The bookmark \"" + bookmark.name +
                                    "\" was made with a filter that is not known here (" +
                                    ToValidUtf8(bookmark.filterId) + ").");
        // Both files are read before either slot changes: a missing one leaves everything as it was.
        OrvFilePtr files[kFileSlots];
        for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
            files[slot] = m->slots.Get(slot);
            if ((files[slot] ? files[slot]->GetPath() : std::string()) != bookmark.path[slot])
                files[slot] = m->ReadForSlot(bookmark.path[slot], job);
        }
        for (const OrvFileId slot : {OrvEvidence, OrvReference})
            if (files[slot] != m->slots.Get(slot)) m->SetSlot(slot, files[slot]);
        VecParameter input = filter->GetInputPrototype();
        VecParameter post = filter->GetPostProcessingPrototype();
        std::vector<std::string> problems;
        input.FromJson(bookmark.input, problems);
        post.FromJson(bookmark.postProcessing, problems);
        const bool isNewest =
            m_context->SetActiveFilterFor(choice, filter, [&] { filter->SetRequested(-1, input, post); });
        // Who has gone on to something else since keeps that, for the bookmark's files.
        if (!isNewest) return m->RunActive({}, job);
        m->RunFilter(*filter, input, post, {}, job);
        if (!problems.empty())
            ZOR_THROW(Format, "The bookmark \"" + bookmark.name + "\" was shown, but not as it was made:\n" +
                                  Join(problems, "\n"));
    });
}

void OrvInterface::DumpEmbeddedJpgs(const wxString& path) {
    m->Push(OrvCommand::Kind::Other, [this, path = PathFromWx(path)](const OrvJob& job) {
        m->TellFolder(ExtractEmbeddedJpegs(path, m->options.GetMaximumFileBytes(), job));
    });
}

void OrvInterface::DumpImagesFromPdf(const wxString& path, const VecParameter& parameters) {
    m->Push(OrvCommand::Kind::Other, [this, path = PathFromWx(path), parameters](const OrvJob& job) {
        m->TellFolder(ExtractPdfImages(path, parameters, m->options.GetMaximumFileBytes(), job));
    });
}

void OrvInterface::CopyFilesTo(const std::vector<std::string>& paths, const wxString& folder) {
    m->Push(OrvCommand::Kind::Other, [this, paths, folder = PathFromWx(folder)](const OrvJob& job) {
        const int count = CopyFiles(paths, folder, job);
        auto event = std::make_unique<OrvCommandEvent>(OrvEventDumpEmbeddedJpgs);
        event->SetError(0, ToString(count) + (count == 1 ? " file" : " files") + " copied to the folder " +
                               ToValidUtf8(folder) + ".");
        m->port.Post(std::move(event), true);
    });
}

void OrvInterface::CallGenericAction(OrvActionId action, const wxString& name,
                                     const VecParameter& parameters) {
    OrvCommand command;
    const auto tell = [this, action](int error, const std::string& message, const VecParameter& results) {
        auto event = std::make_unique<OrvCommandEvent>(OrvEventCommandExecuted);
        event->SetActionId(action);
        event->SetError(error, message);
        event->SetParameters(results);
        m->port.Post(std::move(event), true);
    };
    command.run = [this, action, name = FromWx(name), parameters, tell](const OrvJob& job) {
        const OrvFilePtr files[kFileSlots] = {m->slots.Get(OrvEvidence), m->slots.Get(OrvReference)};
        tell(0, {}, RunGenericAction(action, name, parameters, files, *m_context, m->options, m->cache, job));
    };
    command.fail = [tell](int error, const std::string& message) { tell(error, message, {}); };
    m->queue.Push(std::move(command));
}

std::vector<WebTransfer> OrvInterface::GetWebTransfers(OrvActionId action,
                                                       const VecParameter& parameters) const {
    return DescribeWebTransfers(action, parameters, m->options.GetWebServices());
}
