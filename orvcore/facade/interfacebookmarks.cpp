// The part of the facade that deals with bookmarks.

#include <algorithm>
#include <ctime>

#include "orvcore/facade/interface.h"
#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/filter/mapranges.h"
#include "orvcore/model/casefilesearch.h"
#include "orvcore/tools/folder/thumbnail.h"
#include "zorbase/appversion.h"
#include "zorbase/calendar.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kThumbnailSide = 96;
constexpr int kThumbnailQuality = 80;
constexpr std::size_t kMaxHistory = 100;

std::string UtcNow() {
    const CalendarTime now = UtcTime(std::time(nullptr));
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", now.year, now.month, now.day, now.hour,
                  now.minute, now.second);
    return text;
}

OrvBookmark& At(std::vector<OrvBookmark>& bookmarks, int index) {
    if (index < 0 || index >= static_cast<int>(bookmarks.size()))
        ZOR_THROW(Argument, "There is no such bookmark.");
    return bookmarks[static_cast<std::size_t>(index)];
}

// What is shown, small: the filter's picture, otherwise the file's own. Null where there is none.
std::shared_ptr<const std::string> MakeBookmarkThumbnail(const OrvFilterResultPtr& result,
                                                         const OrvFilePtr& file, const OrvJob& job) {
    try {
        Image picture;
        for (int slot = 0; result && slot < kFileSlots && !picture.IsValid(); ++slot)
            picture = result->GetPicture(slot);
        picture = picture.IsValid() ? ShrinkImage(picture, kThumbnailSide)
                  : file            ? MakeThumbnail(file->GetBytes(), kThumbnailSide, job)
                                    : Image();
        if (!picture.IsValid()) return nullptr;
        const auto jpeg = EncodeImage(picture, "jpg", kThumbnailQuality);
        return std::make_shared<const std::string>(jpeg.begin(), jpeg.end());
    } catch (const ZorException&) {
        // The bookmark is worth keeping without its picture, also when the work is stopped.
        return nullptr;
    }
}

// What has changed in the program since the bookmark was made, "" when nothing did.
std::string DescribeOlderVersion(const OrvBookmark& bookmark, const OrvFilter& filter) {
    if (bookmark.filterVersion == 0 || bookmark.filterVersion == filter.GetVersion()) return {};
    return "It was made with version " + ToString(bookmark.filterVersion) + " of the filter \"" +
           filter.GetNameUtf8() + "\"" +
           (bookmark.programVersion.empty() ? "" : " in " + ToValidUtf8(bookmark.programVersion)) +
           "; this is version " + ToString(filter.GetVersion()) + ", whose results can differ.\n";
}

}  // namespace

void OrvInterface::Private::ChangeBookmarks(const std::function<void(std::vector<OrvBookmark>&)>& change) {
    {
        const std::lock_guard lock(mutex);
        std::vector<OrvBookmark> changed = project.GetBookmarks();
        change(changed);
        bookmarkHistory.push_back(std::exchange(project.EditBookmarks(), std::move(changed)));
        if (bookmarkHistory.size() > kMaxHistory) bookmarkHistory.erase(bookmarkHistory.begin());
        project.SetSaved(false);
    }
    ProtectProject();
}

void OrvInterface::AddBookmark(const wxString& name, const wxString& note) {
    OrvBookmark bookmark;
    bookmark.name = FromWx(name);
    bookmark.note = FromWx(note);
    bookmark.programVersion = AppVersion().GetFullName();
    bookmark.madeOn = UtcNow();
    bookmark.isReferenceEnabled = m->slots.IsReferenceEnabled();
    if (m->viewSource) bookmark.view = m->viewSource();
    OrvFilterResultPtr result;
    if (const OrvFilter* filter = GetActiveFilter()) {
        bookmark.filterId = filter->GetId();
        bookmark.filterVersion = filter->GetVersion();
        bookmark.input = filter->GetParametersInput().ToJson();
        bookmark.postProcessing = filter->GetParametersPostProcessing().ToJson();
        bookmark.mapRanges = MapRangesOf(filter->GetId())->ToJson();
        result = filter->GetResult();
    }
    OrvFilePtr shown;
    for (const OrvFileId slot : {OrvReference, OrvEvidence}) {
        const OrvFilePtr file = m->slots.Get(slot);
        bookmark.file[slot] = CaseFileOf(file);
        if (file) shown = file;
    }
    m->Push(OrvCommand::Kind::Project, [this, bookmark, result, shown](const OrvJob& job) mutable {
        bookmark.thumbnail = MakeBookmarkThumbnail(result, shown, job);
        m->ChangeBookmarks([&bookmark](std::vector<OrvBookmark>& list) { list.push_back(bookmark); });
        m->Tell(OrvEventAddBookmark);
    });
}

void OrvInterface::EditBookmark(int index, const wxString& name, const wxString& note) {
    m->Push(OrvCommand::Kind::Project,
            [this, index, name = FromWx(name), note = FromWx(note)](const OrvJob&) {
                m->ChangeBookmarks([&](std::vector<OrvBookmark>& list) {
                    OrvBookmark& bookmark = At(list, index);
                    bookmark.name = name;
                    bookmark.note = note;
                });
                m->Tell(OrvEventEditBookmark);
            });
}

void OrvInterface::DeleteBookmark(int index) {
    m->Push(OrvCommand::Kind::Project, [this, index](const OrvJob&) {
        m->ChangeBookmarks([index](std::vector<OrvBookmark>& list) {
            At(list, index);
            list.erase(list.begin() + index);
        });
        m->Tell(OrvEventEditBookmark);
    });
}

void OrvInterface::MoveBookmark(int from, int to) {
    if (from == to) return;
    m->Push(OrvCommand::Kind::Project, [this, from, to](const OrvJob&) {
        m->ChangeBookmarks([from, to](std::vector<OrvBookmark>& list) {
            At(list, to);
            const OrvBookmark moved = At(list, from);
            list.erase(list.begin() + from);
            list.insert(list.begin() + to, moved);
        });
        m->Tell(OrvEventEditBookmark);
    });
}

void OrvInterface::UndoBookmarkChange() {
    m->Push(OrvCommand::Kind::Project, [this](const OrvJob&) {
        {
            const std::lock_guard lock(m->mutex);
            if (m->bookmarkHistory.empty()) return;
            m->project.EditBookmarks() = std::move(m->bookmarkHistory.back());
            m->bookmarkHistory.pop_back();
            m->project.SetSaved(false);
        }
        m->ProtectProject();
        m->Tell(OrvEventEditBookmark);
    });
}

bool OrvInterface::CanUndoBookmarkChange() const {
    const std::lock_guard lock(m->mutex);
    return !m->bookmarkHistory.empty();
}

void OrvInterface::ShowBookmark(int index) {
    const std::uint64_t choice = m_context->NoteChoice();
    m->Push(OrvCommand::Kind::Project, [this, choice, index](const OrvJob& job) {
        OrvProject project = GetProject();
        const OrvBookmark bookmark = At(project.EditBookmarks(), index);
        OrvFilter* filter = m_context->FindFilter(bookmark.filterId);
        if (filter == nullptr)
            ZOR_THROW(Argument, "The bookmark \"" + bookmark.name +
                                    "\" was made with a filter that is not known here (" +
                                    ToValidUtf8(bookmark.filterId) + ").");
        const Private::CaseFiles files = m->ReadCaseFiles(bookmark.file, project.GetPath(), job);
        VecParameter input = filter->GetInputPrototype();
        VecParameter post = filter->GetPostProcessingPrototype();
        std::vector<std::string> unfit;
        input.FromJson(bookmark.input, unfit);
        post.FromJson(bookmark.postProcessing, unfit);
        const std::string problems =
            files.problems + DescribeOlderVersion(bookmark, *filter) + Join(unfit, "\n");
        // A missing file leaves everything as it was.
        const std::string name = "The bookmark \"" + ToValidUtf8(bookmark.name) + "\" ";
        for (const OrvFileId slot : {OrvEvidence, OrvReference})
            if (!files.file[slot] && !bookmark.file[slot].IsEmpty())
                ZOR_THROW(File, name + "was not shown:\n" + Trim(problems));
        if (!problems.empty())
            m->TellFailure(kErrorFailed, name + "is not shown as it was made:\n" + Trim(problems));

        for (const OrvFileId slot : {OrvEvidence, OrvReference})
            if (files.file[slot] != m->slots.Get(slot)) m->SetSlot(slot, files.file[slot], true);
        m->slots.EnableReference(bookmark.isReferenceEnabled);
        m->TellFilters();
        const bool isNewest =
            m_context->SetActiveFilterFor(choice, filter, [&] { filter->SetRequested(-1, input, post); });
        // Who has gone on to something else since keeps that, for the bookmark's files.
        if (!isNewest) return m->RunActive({}, job);
        if (bookmark.mapRanges.is_object()) MapRangesOf(filter->GetId())->FromJson(bookmark.mapRanges);
        {
            const std::lock_guard lock(m->mutex);
            m->viewToShow = Private::ViewToShow{filter, bookmark.view};
        }
        m->RunFilter(*filter, input, post, {}, job);
    });
}
