// The part of the facade that deals with extraction and generic actions.

#include <filesystem>
#include <memory>

#include "orvcore/facade/genericactions.h"
#include "orvcore/facade/interface.h"
#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/tools/batch/extract.h"
#include "orvcore/tools/folder/copyfiles.h"
#include "zorbase/files.h"
#include "zorbase/progress.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

void OrvInterface::DumpEmbeddedJpgs(const wxString& path) {
    m->Push(OrvCommand::Kind::Other, [this, path = PathFromWx(path)](const OrvJob& job) {
        m->TellFolder(ExtractEmbeddedJpegs(path, m->options.GetMaximumFileBytes(), job));
    });
}

namespace {

OrvFilePtr NeedFile(const OrvFilePtr& file) {
    if (!file) ZOR_THROW(Argument, "No file is loaded there.");
    return file;
}

}  // namespace

void OrvInterface::ExtractPicture(OrvFileId slot, int number) {
    m->Push(OrvCommand::Kind::Other, [this, slot, number](const OrvJob& job) {
        m->TellFolder(PathFolder(ExtractPictureInFile(*NeedFile(m->slots.Get(slot)), number, job)));
    });
}

void OrvInterface::LoadPicture(OrvFileId slot, int number, OrvFileId target) {
    m->Push(OrvCommand::Kind::Slot, [this, slot, number, target](const OrvJob& job) {
        const std::string path = ExtractPictureInFile(*NeedFile(m->slots.Get(slot)), number, job);
        m->SetSlot(target, m->ReadForSlot(path, job));
        m->RunActive({}, job);
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
        m->log.Note(OrvLogLevel::Info, ToString(count) + " files copied to \"" + ToValidUtf8(folder) + "\".");
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
    const auto all =
        action == OrvActionRunAll ? std::make_shared<Private::ReportRequest>(m->ReportAskedNow()) : nullptr;
    command.run = [this, action, name = FromWx(name), parameters, tell, all](const OrvJob& job) {
        if (all) {
            m->RunAll(*all, job);
            return tell(0, {}, {});
        }
        const OrvFilePtr files[kFileSlots] = {m->slots.Get(OrvEvidence), m->slots.Get(OrvReference)};
        // Without the parameters: they may hold keys.
        m->log.Note(OrvLogLevel::Info, "Tool started: " + name + ".");
        const VecParameter results =
            RunGenericAction(action, name, parameters, files, *m_context, m->options, m->cache, job);
        if (const Parameter* summary = results.Find("summary"))
            m->log.Note(OrvLogLevel::Info, name + ": " + summary->GetValueAsString());
        tell(0, {}, results);
    };
    command.fail = [this, tell, name = FromWx(name)](int error, const std::string& message) {
        m->log.Note(OrvLogLevel::Error, "Tool " + name + ": " + message);
        tell(error, message, {});
    };
    m->queue.Push(std::move(command));
}

std::vector<WebTransfer> OrvInterface::GetWebTransfers(OrvActionId action,
                                                       const VecParameter& parameters) const {
    return DescribeWebTransfers(action, parameters, m->options.GetWebServices());
}
