#include "orvcore/tools/batch/batchprocessing.h"

#include <wx/translation.h>

#include <memory>

#include "orvcore/report/report.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tools/folder/thumbnail.h"
#include "zorbase/appversion.h"
#include "zorbase/fileprotection.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr int kThumbnailSide = 96;             // pixels
constexpr std::size_t kMaxThumbnails = 10000;  // of the results behind, the table says that they have none

struct BatchTool {
    OrvFilter* filter = nullptr;
    int configuration = 0;
    VecParameter input;
    VecParameter post;
};

std::vector<BatchTool> ChooseTools(BatchTools choice, const std::vector<OrvFilter*>& filters,
                                   OrvFilter* active) {
    if (choice != BatchTools::AllFilters && active == nullptr) ZOR_THROW(Argument, "Choose a filter first.");
    std::vector<BatchTool> tools;
    if (choice == BatchTools::Active) {
        tools.push_back({active, active->GetActiveConfiguration(), active->GetParametersInput(),
                         active->GetParametersPostProcessing()});
        return tools;
    }
    for (OrvFilter* filter : filters) {
        if (choice == BatchTools::ActiveFilter && filter != active) continue;
        if (filter->GetPageKind() == OrvPageKind::Summary) continue;
        const std::vector<OrvFilterConfiguration> configurations = filter->GetConfigurations();
        for (std::size_t i = 0; i < configurations.size(); ++i)
            if (configurations[i].IsEnabled())
                tools.push_back({filter, static_cast<int>(i), configurations[i].GetParameters(),
                                 filter->GetParametersPostProcessing()});
    }
    if (tools.empty()) ZOR_THROW(Argument, "No configuration is enabled.");
    return tools;
}

// The report while it grows. What it has put on the disk is taken back unless it is finished.
class BatchReport {
  public:
    explicit BatchReport(const std::string& path) : m_page(path) {
        const std::string extension = PathExtension(path);
        m_isTable = extension == "tsv" || extension == "txt";
        const std::string stem = PathJoin(PathFolder(path), PathStem(path)) + "-images";
        m_imageFolder = stem;
        for (int i = 2; GetFileFacts(m_imageFolder); ++i) m_imageFolder = stem + "-" + ToString(i);
        if (m_isTable)
            Line({"Full Path", "SHA-256", "Filter", "Filter Version", "Parameters", "Result", "Evidence",
                  "Reference", "Program"});
        else
            m_page.Add(HtmlReportHead("Batch report", {}));
    }
    ~BatchReport() {
        if (m_isFinished || !m_hasFolder) return;
        try {
            RemoveFolder(m_imageFolder);
        } catch (const ZorException&) {
            // What could not be removed stays; the failure that led here is the one to tell.
        }
    }
    BatchReport(const BatchReport&) = delete;
    BatchReport& operator=(const BatchReport&) = delete;

    void BeginFile(const OrvFilePtr (&files)[kFileSlots]) {
        m_file = files[OrvEvidence] ? files[OrvEvidence] : files[OrvReference];
        ++m_fileNumber;
        if (m_isTable) return;
        OrvReport report;
        for (int slot = 0; slot < kFileSlots; ++slot) report.files[slot] = files[slot];
        m_page.Add("<h1>" + EscapeHtml(PathName(m_file->GetPath())) + "</h1>\n" + HtmlReportFiles(report));
    }
    void AddProblem(const std::string& path, const std::string& problem) {
        if (m_isTable)
            Line({FromWx(PathToWx(path)), "", "", "", "", "Not read", problem, "",
                  AppVersion().GetFullName()});
        else
            m_page.Add("<h1>" + EscapeHtml(PathName(path)) + "</h1>\n<p class=\"odd\">" +
                       EscapeHtml(problem) + "</p>\n");
    }
    void Add(const BatchTool& tool, const OrvReportSection& section) {
        if (!m_isTable) {
            m_page.Add(HtmlReportSection(section, [&](const OrvResultPicture& picture) {
                return PercentEncode(Keep(tool, picture), "/");
            }));
            return;
        }
        std::vector<std::string> images[kFileSlots];
        if (section.result)
            ForEachPicture(*tool.filter, *section.result, 0, [&](const OrvResultPicture& picture) {
                images[picture.slot].push_back(Keep(tool, picture));
            });
        AddLines(tool, section, images);
    }
    void Finish() {
        if (!m_isTable) m_page.Add(HtmlReportFoot());
        m_page.Finish();
        m_isFinished = true;
    }

  private:
    // Returns the path from the report on.
    std::string Keep(const BatchTool& tool, const OrvResultPicture& picture) {
        const std::string name = ToString(m_fileNumber) + "-" + tool.filter->GetId() + "-" +
                                 ToString(tool.configuration + 1) + "-" + picture.name +
                                 (picture.svg.empty() ? ".png" : ".svg");
        m_hasFolder = true;
        const std::string path = PathJoin(m_imageFolder, name);
        if (picture.svg.empty())
            WriteImage(picture.image, path);
        else
            WriteFile(path, picture.svg);
        return PathJoin(PathName(m_imageFolder), name);
    }
    void Line(const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) m_page.Add((i > 0 ? "\t" : "") + EscapeTsv(cells[i]));
        m_page.Add("\n");
    }
    void AddLines(const BatchTool& tool, const OrvReportSection& section,
                  const std::vector<std::string> (&images)[kFileSlots]) {
        const auto line = [&](const std::string& name, const std::string& evidence,
                              const std::string& reference) {
            Line({FromWx(PathToWx(m_file->GetPath())), m_file->GetSha256(), tool.filter->GetNameUtf8(),
                  ToString(tool.filter->GetVersion()), GetParametersString(tool.input, false), name, evidence,
                  reference, AppVersion().GetFullName()});
        };
        if (!section.result) {
            line("No result", section.error, "");
            return;
        }
        for (const Parameter& output : section.result->output) {
            if (output.IsHiddenFromGui()) continue;
            if (output.Type() != ParameterType::TableString) {
                line(output.GetDescription(), output.GetValueAsString(false), output.GetValueAsString(true));
            } else if (output.IsSet()) {
                for (const std::vector<std::string>& row : output.Get<TableString>()) {
                    std::vector<std::string> texts;
                    for (const std::string& cell : row) texts.push_back(ParseCell(cell).text);
                    line(output.GetDescription(), Join(texts, "; "), "");
                }
            }
        }
        if (!images[OrvEvidence].empty() || !images[OrvReference].empty())
            line("Result image", Join(images[OrvEvidence], "; "), Join(images[OrvReference], "; "));
    }

    FileWriter m_page;
    bool m_isTable = false;
    std::string m_imageFolder;
    bool m_hasFolder = false;
    bool m_isFinished = false;
    OrvFilePtr m_file;
    int m_fileNumber = 0;
};

class Batch {
  public:
    Batch(const std::vector<BatchTool>& tools, BatchWork work, const OrvOptions& options,
          const OrvResultCache& cache)
        : m_tools(tools), m_work(work), m_options(options), m_cache(cache) {
        m_table.table.push_back(
            {"Thumbnail", "Name", "Filter", "Parameters", "Result", "Findings", "Full Path"});
    }

    // The job is the files' piece of the batch's.
    void Process(const OrvFilePtr (&files)[kFileSlots], const OrvJob& job, BatchReport* report) {
        if (report != nullptr) report->BeginFile(files);
        const double step = 1.0 / static_cast<double>(m_tools.size());
        double done = 0.0;
        for (const BatchTool& tool : m_tools) {
            const OrvJob piece = job.Piece(done, done + step, tool.filter->GetNameUtf8());
            piece.SetProgress(0.0, {});
            done += step;
            OrvReportSection section;
            section.filter = tool.filter;
            try {
                section.result = Compute(tool, files, piece);
            } catch (const ZorException& exception) {
                if (exception.GetKind() == ZorException::Kind::Aborted) throw;
                section.error = exception.GetMessage();
            } catch (const std::bad_alloc&) {
                // One enormous picture must not cost the results of all others.
                section.error = "There is not enough memory for the picture.";
            } catch (const std::exception& exception) {
                section.error = std::string("The picture could not be processed: ") + exception.what();
            }
            job.CheckAbort();
            if (report != nullptr) report->Add(tool, section);
            AddRow(tool, section, files);
        }
    }
    void AddProblem(const std::string& path, const std::string& problem) {
        m_table.table.push_back({"", TableCell(ToValidUtf8(PathName(path))), "", "",
                                 MarkCell(CellMark::StandsOut, problem), "",
                                 TableCell(FromWx(PathToWx(path)))});
    }
    FolderTable Take() { return std::move(m_table); }

  private:
    OrvFilterResultPtr Compute(const BatchTool& tool, const OrvFilePtr (&files)[kFileSlots],
                               const OrvJob& job) const {
        OrvFilterResult request;
        request.input = tool.input;
        request.postProcessing = tool.post;
        for (int slot = 0; slot < kFileSlots; ++slot) request.file[slot] = files[slot];
        const bool usesCache = tool.filter->IsCacheable() && m_options.IsCacheEnabled();
        if (m_work == BatchWork::ReportFromCache && tool.filter->IsCacheable())
            for (const OrvFilePtr& file : files)
                if (file && !m_cache.Load(*tool.filter, *file, tool.input))
                    ZOR_THROW(Argument, "Not processed yet: the cache holds no result.");
        OrvFilterResultPtr result = tool.filter->Run(request, {}, job, usesCache ? &m_cache : nullptr);
        if (usesCache) tool.filter->KeepFresh(*result, m_cache);
        return result;
    }

    void AddRow(const BatchTool& tool, const OrvReportSection& section,
                const OrvFilePtr (&files)[kFileSlots]) {
        const OrvFilePtr& file = files[OrvEvidence] ? files[OrvEvidence] : files[OrvReference];
        std::string thumbnail;
        std::string result = MarkCell(CellMark::StandsOut, section.error);
        std::string findings;
        if (const OrvSlotResult* found = section.result ? section.result->slot[OrvEvidence].get() : nullptr) {
            const CellMark mark = found->verdict == OrvVerdict::StrongSign   ? CellMark::StandsOut
                                  : found->verdict == OrvVerdict::WorthALook ? CellMark::Doubtful
                                                                             : CellMark::None;
            result = MarkCell(mark, found->verdictText.empty() ? "Processed" : found->verdictText);
            findings = Join(found->findings, "\n");
            const bool hasPicture = found->outputImage.IsValid() || !found->maps.empty();
            if (hasPicture && m_table.thumbnails.size() >= kMaxThumbnails) {
                thumbnail = "Not made";
            } else if (hasPicture) {
                thumbnail = ThumbnailCell(static_cast<int>(m_table.thumbnails.size()));
                m_table.thumbnails.push_back(
                    ShrinkImage(section.result->GetPicture(OrvEvidence), kThumbnailSide));
            }
        }
        m_table.table.push_back({thumbnail, TableCell(ToValidUtf8(PathName(file->GetPath()))),
                                 TableCell(tool.filter->GetNameUtf8()),
                                 TableCell(GetParametersString(tool.input, false)), result,
                                 TableCell(findings), TableCell(FromWx(PathToWx(file->GetPath())))});
    }

    const std::vector<BatchTool>& m_tools;
    const BatchWork m_work;
    const OrvOptions& m_options;
    const OrvResultCache& m_cache;
    FolderTable m_table;
};

}  // namespace

VecParameter BatchProcessingParameters(const std::string& report) {
    const auto choice = [](const char* label, std::vector<std::string> entries, int selected) {
        return Parameter::Choice(label, label, selected, std::move(entries));
    };
    return {
        choice(wxTRANSLATE("Evidence Preprocessing"),
               {wxTRANSLATE("Evidence only"), wxTRANSLATE("All images in the evidence folder"),
                wxTRANSLATE("All images in the evidence folder and its subfolders"),
                wxTRANSLATE("Evidence and reference")},
               0),
        choice(wxTRANSLATE("Tools And Configurations To Preprocess"),
               {wxTRANSLATE("Active filter and configuration"),
                wxTRANSLATE("All enabled configurations of the active filter"),
                wxTRANSLATE("All enabled configurations of all filters")},
               0),
        choice(wxTRANSLATE("Processing Type"),
               {wxTRANSLATE("Fill the cache"), wxTRANSLATE("Write the report from the cache"),
                wxTRANSLATE("Fill the cache and write the report")},
               2),
        Parameter::Path(
            ParameterType::FileSave, "Output Filename", wxTRANSLATE("Output Filename"), report,
            wxTRANSLATE("HTML file (*.html)|*.html|TAB separated values (*.tsv)|*.tsv|All files (*.*)|*.*")),
    };
}

FolderTable RunBatchProcessing(const VecParameter& parameters, const OrvFilePtr (&files)[kFileSlots],
                               const std::vector<OrvFilter*>& filters, OrvFilter* active,
                               const OrvOptions& options, const OrvResultCache& cache, const OrvJob& job) {
    if (parameters.size() < 4) ZOR_THROW(Argument, "The settings of the batch are incomplete.");
    const auto chosen = static_cast<BatchFiles>(parameters[0].Get<int>());
    const auto work = static_cast<BatchWork>(parameters[2].Get<int>());
    const std::string& output = parameters[3].Get<std::string>();
    if (!files[OrvEvidence]) ZOR_THROW(Argument, "You need to load an evidence image first.");
    if (chosen == BatchFiles::EvidenceAndReference && !files[OrvReference])
        ZOR_THROW(Argument, "You need to load a reference image first.");
    if (work != BatchWork::FillCache && output.empty()) ZOR_THROW(Argument, "The report needs a name.");
    if (work != BatchWork::FillCacheAndReport && !options.IsCacheEnabled())
        ZOR_THROW(Argument, "Keeping results on disk is switched off in the program options.");
    const std::vector<BatchTool> tools =
        ChooseTools(static_cast<BatchTools>(parameters[1].Get<int>()), filters, active);

    const bool isFolder =
        chosen == BatchFiles::EvidenceFolder || chosen == BatchFiles::EvidenceFolderAndBelow;
    std::vector<std::string> sources;
    std::vector<std::string> problems;
    if (isFolder)
        sources = ListFolderFiles(PathFolder(files[OrvEvidence]->GetPath()),
                                  chosen == BatchFiles::EvidenceFolderAndBelow, problems, job);
    // The loaded files protect themselves.
    std::vector<FileProtection> protections;
    for (const std::string& source : sources) protections.emplace_back(source);
    if (work != BatchWork::FillCache) RefuseProtectedFile(output);

    std::unique_ptr<BatchReport> report;
    if (work != BatchWork::FillCache) report = std::make_unique<BatchReport>(output);
    Batch batch(tools, work, options, cache);
    if (!isFolder) {
        const OrvFilePtr one[kFileSlots] = {
            files[OrvEvidence], chosen == BatchFiles::EvidenceAndReference ? files[OrvReference] : nullptr};
        const std::string name = ToValidUtf8(PathName(files[OrvEvidence]->GetPath()));
        batch.Process(one, job.Piece(0.0, 1.0, name), report.get());
    }
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const std::string position = "File " + std::to_string(i + 1) + " of " +
                                     std::to_string(sources.size()) + ": " +
                                     ToValidUtf8(PathName(sources[i]));
        const double step = 1.0 / static_cast<double>(sources.size());
        const double done = static_cast<double>(i) * step;
        const OrvJob piece = job.Piece(done, done + step, position);
        piece.SetProgress(0.0, {});
        OrvFilePtr file;
        try {
            file = OrvLoadedFile::Load(sources[i], options.GetMaximumFileBytes(), piece);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::Aborted) throw;
            batch.AddProblem(sources[i], exception.GetMessage());
            if (report) report->AddProblem(sources[i], exception.GetMessage());
            continue;
        }
        const OrvFilePtr one[kFileSlots] = {file, nullptr};
        if (file->GetBytes().empty()) {
            constexpr const char* kEmpty = "The file is empty.";
            batch.AddProblem(sources[i], kEmpty);
            if (report) report->AddProblem(sources[i], kEmpty);
        }
        if (IsReadableFormat(file->GetInfo().format)) batch.Process(one, piece, report.get());
    }
    for (const std::string& problem : problems) {
        batch.AddProblem({}, problem);
        if (report) report->AddProblem({}, problem);
    }
    if (report) report->Finish();
    return batch.Take();
}
