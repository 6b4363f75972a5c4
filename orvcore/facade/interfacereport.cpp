// The part of the facade that writes reports and single results.

#include <algorithm>

#include "orvcore/facade/interface.h"
#include "orvcore/facade/interfaceprivate.h"
#include "orvcore/filter/mappictures.h"
#include "orvcore/model/memorybudget.h"
#include "orvcore/report/report.h"
#include "orvcore/report/reportpdf.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

void OrvInterface::GenerateReport(const wxString& path) {
    GenerateReport(path, OrvReportContents::Everything);
}

void OrvInterface::GenerateReport(const wxString& path, OrvReportContents contents) {
    m->Push(OrvCommand::Kind::Project,
            [this, path = PathFromWx(path), contents, asked = m->ReportAskedNow()](const OrvJob& job) {
                m->GenerateReport(path, contents, asked, job);
            });
}

// --- worker ---

namespace {

// Whether the filter is in use with the values it would be run with: those of a configuration that is switched on, or values of
// the user's own in a filter that has any configuration switched on.
bool IsWanted(const OrvFilter& filter) {
    const VecParameter requested = filter.GetParametersInput();
    bool isAnyEnabled = false;
    for (const OrvFilterConfiguration& configuration : filter.GetConfigurations()) {
        if (configuration.GetParameters() == requested) return configuration.IsEnabled();
        isAnyEnabled = isAnyEnabled || configuration.IsEnabled();
    }
    return isAnyEnabled;
}

}  // namespace

OrvInterface::Private::ReportRequest OrvInterface::Private::ReportAskedNow() const {
    ReportRequest asked;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        asked.files[slot] = slots.Get(slot);
        asked.analysed[slot] = slots.GetActive(slot);
    }
    {
        const std::lock_guard lock(mutex);
        asked.project = project;
    }
    for (OrvFilter* filter : context.GetFilters())
        if (filter->GetPageKind() != OrvPageKind::Summary && IsWanted(*filter))
            asked.filters.push_back(AskedNow(filter));
    return asked;
}

namespace {

// A report asks every filter in turn and looks at each result once: what is held of them may not add up to all of the memory.
class SmallerBudget {
  public:
    explicit SmallerBudget(const OrvOptions& options) : m_options(options) {
        constexpr std::size_t kBytes = std::size_t{256} << 20;
        OrvMemoryBudget& budget = OrvMemoryBudget::Get();
        budget.SetLimit(std::min(budget.GetLimit(), kBytes));
    }
    ~SmallerBudget() { OrvMemoryBudget::Get().SetLimit(m_options.GetMemoryBytes()); }
    SmallerBudget(const SmallerBudget&) = delete;
    SmallerBudget& operator=(const SmallerBudget&) = delete;

  private:
    const OrvOptions& m_options;
};

// The same result with its maps drawn over ranges of its own.
OrvFilterResultPtr DrawnOver(const Json& ranges, const OrvFilterResult& result) {
    const auto own = std::make_shared<OrvMapRanges>();
    own->FromJson(ranges);
    auto drawn = std::make_shared<OrvFilterResult>(result);
    drawn->pictures = std::make_shared<OrvMapPictures>(own);
    return drawn;
}

}  // namespace

OrvInterface::Private::Asked OrvInterface::Private::AskedBy(const OrvBookmark& bookmark,
                                                            const std::string& projectPath, const OrvJob& job,
                                                            std::string* problem) const {
    OrvFilter* filter = context.FindFilter(bookmark.filterId);
    if (filter == nullptr)
        ZOR_THROW(Argument, "It was made with a filter that is not known here (" +
                                ToValidUtf8(bookmark.filterId) + ").");
    VecParameter input = filter->GetInputPrototype();
    VecParameter post = filter->GetPostProcessingPrototype();
    std::vector<std::string> problems;
    input.FromJson(bookmark.input, problems);
    post.FromJson(bookmark.postProcessing, problems);
    if (!problems.empty()) ZOR_THROW(Format, "Not all of its values fit: " + Join(problems, " "));
    Asked asked{filter, RequestFor(input, post)};
    const CaseFiles files = ReadCaseFiles(bookmark.file, projectPath, job);
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) {
        if (!files.file[slot] && !bookmark.file[slot].IsEmpty()) ZOR_THROW(File, Trim(files.problems));
        asked.request.file[slot] =
            bookmark.isReferenceEnabled || slot == OrvEvidence ? files.file[slot] : nullptr;
    }
    if (!files.problems.empty()) *problem = Trim(files.problems);
    return asked;
}

void OrvInterface::Private::DescribeCase(OrvReport& report) const {
    const OrvCaseData& data = report.project.GetCaseData();
    report.logo = options.GetLogo();
    report.caseData = {{"Organisation", options.GetOrganisation()},
                       {"Case", data.title},
                       {"Examiner", data.examiner.empty() ? options.GetExaminer() : data.examiner},
                       {"Reviewer", data.reviewer},
                       {"Question", data.question},
                       {"Limits of the examination", data.limits}};
    if (data.exhibits.empty()) return;
    report.exhibits = {{"Number", "File", "Received from", "Received on", "SHA-256", "Expected hash"}};
    for (const OrvExhibit& exhibit : data.exhibits) {
        FileHashes hashes{{}, {}, exhibit.file.sha256};
        {
            const std::lock_guard lock(mutex);
            if (const auto known = knownHashes.find(exhibit.file.sha256); known != knownHashes.end())
                hashes = known->second;
        }
        const std::string check = HashCheckText(exhibit.expectedHash, hashes);
        report.exhibits.push_back({exhibit.number, PathName(exhibit.file.path), exhibit.receivedFrom,
                                   exhibit.receivedOn, exhibit.file.sha256,
                                   check.empty() ? "none given" : check});
    }
}

OrvReportSection OrvInterface::Private::ReportedSection(const Asked& asked, const OrvJob& job) {
    OrvFilter& filter = *asked.filter;
    OrvReportSection section;
    section.filter = &filter;
    try {
        section.result = Compute(filter, asked.request, job);
        // The window shows it too, where it is still what the window asks for.
        const bool isNew = filter.FindHeld(asked.request) != section.result;
        if (IsAskedNow(asked)) filter.Publish(section.result);
        if (isNew) KeepFresh(filter, *section.result);
        ReturnFreeMemory();
    } catch (const ZorException& exception) {
        // One filter that cannot say anything about a file does not keep the others from being reported.
        if (exception.GetKind() == ZorException::Kind::Aborted) throw;
        section.error = exception.GetMessage();
    }
    return section;
}

void OrvInterface::Private::GenerateReport(std::string path, OrvReportContents contents,
                                           const ReportRequest& asked, const OrvJob& job) {
    const OrvFilePtr& file = asked.files[OrvEvidence] ? asked.files[OrvEvidence] : asked.files[OrvReference];
    if (!file) ZOR_THROW(Argument, "There is nothing to report: load an evidence image first.");
    const bool isDefault = path.empty();
    if (isDefault) {
        const std::string folder = options.GetReportFolder();
        const std::string stem = PathJoin(folder, PathStem(file->GetPath()) + "-report");
        path = stem + ".html";
        for (int i = 2; GetFileFacts(path); ++i) path = stem + "-" + ToString(i) + ".html";
    }
    RefuseLoadedFile(path);

    const SmallerBudget budget(options);
    OrvReport report;
    for (const OrvFileId slot : {OrvEvidence, OrvReference}) report.files[slot] = asked.analysed[slot];
    report.project = asked.project;
    report.contents = contents;
    DescribeCase(report);
    report.logPlace = LogPlaceText(log.GetPlace());
    // The place is tried before hours of work, and nothing stands there before all of it is done.
    FileWriter page(path);
    ReportBuilder builder(report, job);
    const std::vector<OrvBookmark>& bookmarks = report.project.GetBookmarks();
    const std::size_t filters = contents == OrvReportContents::Bookmarks ? 0 : asked.filters.size();
    const double step = 0.9 / static_cast<double>(std::max<std::size_t>(bookmarks.size() + filters, 1));
    double done = 0.0;
    const auto piece = [&](const std::string& name) {
        const OrvJob part = job.Piece(done, done + step, name);
        part.SetProgress(0.0, {});
        done += step;
        return part;
    };
    for (const OrvBookmark& bookmark : bookmarks) {
        const OrvJob part = piece(bookmark.name);
        try {
            std::string problem;
            OrvReportSection section =
                ReportedSection(AskedBy(bookmark, report.project.GetPath(), part, &problem), part);
            if (section.result && bookmark.mapRanges.is_object())
                section.result = DrawnOver(bookmark.mapRanges, *section.result);
            section.isBookmark = true;
            section.title = bookmark.name;
            section.note = bookmark.note;
            if (!problem.empty()) section.note += (section.note.empty() ? "" : "\n") + problem;
            builder.Add(section);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::Aborted) throw;
            builder.AddProblem(bookmark.name, bookmark.note, exception.GetMessage());
        }
    }
    for (std::size_t i = 0; i < filters; ++i)
        builder.Add(ReportedSection(asked.filters[i], piece(asked.filters[i].filter->GetNameUtf8())));
    const ReportDocument document = builder.Finish();
    const OrvJob writing = job.Piece(0.9, 1.0, "Report");
    if (PathExtension(path) == "pdf")
        WriteReportPdf(
            document,
            [&page](const char* data, std::size_t size) {
                page.Add({data, size});
            },
            writing);
    else
        page.Add(DocumentToHtml(document));
    page.Finish();
    NoteFile("Report written", path);
    auto event = std::make_unique<OrvCommandEvent>(OrvEventGenerateReport);
    // The string asks for the report to be opened; a report that is not is told as a message.
    const bool opens = !isDefault || options.OpensReports();
    event->SetPath(opens ? path : std::string());
    event->SetError(0, opens ? std::string() : ToValidUtf8(path));
    port.Post(std::move(event), true);
}

void OrvInterface::Private::SaveResult(const Asked& asked, const Image& image, const std::string& path,
                                       const OrvJob& job) {
    const OrvFilter* filter = asked.filter;
    RefuseLoadedFile(path);
    const std::string extension = PathExtension(path);
    if (extension == "html" || extension == "htm" || extension == "tsv" || extension == "txt") {
        if (filter == nullptr) ZOR_THROW(Argument, "There is no result to save: choose a filter first.");
        OrvReportSection section;
        section.filter = filter;
        section.result = Compute(*filter, asked.request, job);
        if (extension == "tsv" || extension == "txt") {
            WriteFile(path, BuildTsv(section));
        } else {
            OrvReport report;
            for (int slot = 0; slot < kFileSlots; ++slot) report.files[slot] = section.result->file[slot];
            report.sections.push_back(section);
            WriteFile(path, BuildHtmlReport(report));
        }
        return;
    }
    Image shown = image;
    if (!shown.IsValid() && filter != nullptr && filter->GetPageKind() != OrvPageKind::Text) {
        const OrvFilterResultPtr result = Compute(*filter, asked.request, job);
        for (int slot = 0; slot < kFileSlots && !shown.IsValid(); ++slot) shown = result->GetPicture(slot);
    }
    if (!shown.IsValid())
        ZOR_THROW(Argument, "This filter shows no image. Save its result as an HTML page or a table.");
    WriteImage(shown, path, options.GetJpegQuality());
}
