// The part of the facade that writes the log: every file that is loaded, every run of a filter, every file that is written.

#include "orvcore/facade/interface.h"
#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/filter/libraryversions.h"
#include "orvcore/model/casefilesearch.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

const char* SlotName(int slot) {
    return slot == OrvEvidence ? "evidence" : "reference";
}

std::string ParametersText(const VecParameter& input, const VecParameter& post) {
    std::string text = JsonToText(input.ToJson(), 0);
    if (!post.empty()) text += " " + JsonToText(post.ToJson(), 0);
    return text;
}

}  // namespace

OrvLog& OrvInterface::GetLog() {
    return m->log;
}

void OrvInterface::NoteExport(const std::string& what, const std::string& path) {
    m->NoteFile(what, path);
}

void OrvInterface::Private::NoteSlot(OrvFileId slot, const OrvFilePtr& file) {
    if (!file) return log.Note(OrvLogLevel::Info, std::string("Loaded as ") + SlotName(slot) + ": nothing.");
    log.Note(OrvLogLevel::Info, std::string("Loaded as ") + SlotName(slot) + ": \"" +
                                    ToValidUtf8(file->GetPath()) + "\", " +
                                    ToString(static_cast<std::int64_t>(file->GetBytes().size())) +
                                    " bytes, SHA-256 " + file->GetSha256() + ".");
    if (file->HasChanged())
        log.Note(OrvLogLevel::Warning, "\"" + ToValidUtf8(file->GetPath()) + "\" changed while it was read.");
}

std::string OrvInterface::Private::CheckExhibit(const OrvFilePtr& file, const OrvCaseData& data) {
    const OrvExhibit* exhibit = data.Find(CaseFileOf(file));
    if (exhibit == nullptr || Trim(exhibit->expectedHash).empty()) return {};
    const OrvExpectedHash expected = ParseExpectedHash(exhibit->expectedHash);
    FileHashes hashes{{}, {}, file->GetSha256()};
    const bool needsMore =
        expected.kind == OrvExpectedHash::Kind::Md5 || expected.kind == OrvExpectedHash::Kind::Sha1;
    if (needsMore) hashes = file->GetHashes(OrvJob());
    {
        const std::lock_guard lock(mutex);
        knownHashes[file->GetSha256()] = hashes;
    }
    const std::string text =
        "Exhibit " + (exhibit->number.empty() ? std::string("without number") : exhibit->number) + " (\"" +
        ToValidUtf8(PathName(file->GetPath())) + "\"): " + HashCheckText(exhibit->expectedHash, hashes);
    const bool isGood = CheckExpectedHash(expected, hashes) == OrvHashCheck::Matches;
    log.Note(isGood ? OrvLogLevel::Info : OrvLogLevel::Error, text);
    return isGood ? std::string() : text;
}

FileHashes OrvInterface::GetKnownHashes(const OrvCaseFile& file) const {
    const std::lock_guard lock(m->mutex);
    const auto known = m->knownHashes.find(file.sha256);
    return known != m->knownHashes.end() ? known->second : FileHashes{{}, {}, file.sha256};
}

void OrvInterface::Private::NoteRun(const OrvFilter& filter, const OrvFilterResult& request,
                                    const std::string& outcome) {
    std::call_once(librariesNoted,
                   [this] { log.Note(OrvLogLevel::Info, "Libraries: " + LibraryVersionsText() + "."); });
    std::string text = "Filter " + filter.GetId() + ", version " + ToString(filter.GetVersion()) + ", " +
                       ParametersText(request.input, request.postProcessing);
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (request.file[slot])
            text += std::string(", ") + SlotName(slot) + " SHA-256 " + request.file[slot]->GetSha256();
    log.Note(OrvLogLevel::Info, text + ": " + outcome);
}

void OrvInterface::Private::NoteFile(const std::string& what, const std::string& path) {
    const auto facts = GetFileFacts(path);
    if (!facts) return;
    std::string text = what + ": \"" + ToValidUtf8(path) + "\"";
    if (!facts->isFolder)
        text += ", " + ToString(static_cast<std::int64_t>(facts->size)) + " bytes, SHA-256 " +
                HashOfFile(path, OrvJob());
    log.Note(OrvLogLevel::Info, text + ".");
}
