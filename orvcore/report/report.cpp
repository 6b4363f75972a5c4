#include "orvcore/report/report.h"

#include <ctime>

#include "orvcore/filter/libraryversions.h"
#include "orvcore/report/reportblocks.h"
#include "orvcore/report/reportmarks.h"
#include "orvcore/report/selftestrecord.h"
#include "orvcore/tables/tablemarkup.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr const char* kReading =
    "Values that differ between evidence and reference are red. A finding is an observation, not a proof: it says what was "
    "found, and each filter's description says what that can mean. \"Not applicable\" says nothing about the picture. Pictures "
    "are scaled down, and those with much grain saved as JPEG: for looking, not for measuring.";

std::string ProgramText(const std::string& project) {
    const AppVersion version;
    std::string text = "Program: " + version.GetFullName() +
                       (version.GetRevision().empty() ? std::string() : " (" + version.GetRevision() + ")") +
                       ".";
    if (!project.empty()) text += " Project: " + ToValidUtf8(project) + ".";
    return text;
}

std::string DateLine() {
    return "Written on " + FormatTime(std::time(nullptr)) + ".";
}

void Append(std::vector<ReportBlock>& blocks, std::vector<ReportBlock> more) {
    for (ReportBlock& block : more) blocks.push_back(std::move(block));
}

std::vector<ReportBlock> Introduction(const std::string& project) {
    return {ReportParagraph{ProgramText(project), ReportTone::Quiet},
            ReportParagraph{kReading, ReportTone::Quiet}};
}

ReportTable TextTable(const std::vector<std::vector<std::string>>& rows) {
    ReportTable table;
    if (rows.empty()) return table;
    for (const std::string& label : rows[0]) table.labels.push_back(ToValidUtf8(label));
    for (std::size_t i = 1; i < rows.size(); ++i) {
        std::vector<ReportCell> row;
        for (const std::string& cell : rows[i]) row.push_back({ToValidUtf8(cell)});
        table.rows.push_back(std::move(row));
    }
    return table;
}

std::string TitleOf(const OrvReportSection& section) {
    return ToValidUtf8(section.title.empty() ? section.filter->GetNameUtf8() : section.title);
}

}  // namespace

ReportBuilder::ReportBuilder(const OrvReport& report, const OrvJob& job) : m_report(report), m_job(job) {
    m_document.title = "Report";
    for (const OrvFilePtr& file : report.files)
        if (file) {
            m_document.title += " on " + ToValidUtf8(PathName(file->GetPath()));
            break;
        }
    m_document.dateLine = DateLine();
    if (!report.logPlace.empty()) m_document.dateLine += " Log: " + report.logPlace + ".";
    std::vector<ReportBlock>& blocks = m_document.blocks;
    if (!report.logo.empty()) blocks.push_back(LogoBlock(report.logo, job));
    Append(blocks, Introduction(PathName(report.project.GetPath())));
    blocks.emplace_back(ReportHeading{2, "Contents"});
    blocks.emplace_back(ReportContents{});
    ReportTable caseTable;
    caseTable.namesRows = true;
    for (const auto& [what, value] : report.caseData)
        if (!value.empty()) caseTable.rows.push_back({{ToValidUtf8(what)}, {ToValidUtf8(value)}});
    if (!caseTable.rows.empty() || report.exhibits.size() > 1) {
        blocks.emplace_back(ReportHeading{2, "Case", "case"});
        if (!caseTable.rows.empty()) blocks.emplace_back(std::move(caseTable));
        if (report.exhibits.size() > 1) {
            blocks.emplace_back(ReportHeading{3, "Exhibits"});
            blocks.emplace_back(TextTable(report.exhibits));
        }
    }
    blocks.emplace_back(ReportHeading{2, "Files", "files"});
    blocks.emplace_back(FilesTable(report));
    Append(blocks, FileThumbnails(report, job));
    for (int slot = 0; slot < kFileSlots; ++slot) AddMarks(report.files[slot], blocks);
    m_verdicts.namesRows = true;
    m_verdicts.isProse = true;
    m_verdicts.labels = {"Filter"};
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (report.files[slot]) m_verdicts.labels.emplace_back(kReportSlotTitles[slot]);
    m_verdicts.labels.emplace_back("Rates of error");
}

void ReportBuilder::AddVerdicts(const OrvReportSection& section, const std::string& anchor) {
    std::vector<ReportCell> row = {{TitleOf(section), ReportTone::Plain, anchor}};
    bool judges = false;
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!m_report.files[slot]) continue;
        ReportCell cell;
        if (!section.result) {
            cell = {"No result: " + ToValidUtf8(section.error), ReportTone::Odd};
        } else if (section.result->slot[slot]) {
            const OrvSlotResult& found = *section.result->slot[slot];
            cell.text = VerdictLine(found);
            cell.tone = found.verdict == OrvVerdict::StrongSign   ? ReportTone::Odd
                        : found.verdict == OrvVerdict::WorthALook ? ReportTone::Note
                                                                  : ReportTone::Plain;
            judges = judges || (found.verdict != OrvVerdict::None && !found.SaysNothing());
        }
        row.push_back(std::move(cell));
    }
    row.push_back({!judges                                         ? ""
                   : AccuracyText(section.filter->GetId()).empty() ? "not measured"
                                                                   : "measured; see there"});
    m_verdicts.rows.push_back(std::move(row));
}

void ReportBuilder::Add(const OrvReportSection& section) {
    const std::string title = TitleOf(section);
    const bool isShown = m_report.contents == OrvReportContents::Everything ||
                         (m_report.contents == OrvReportContents::Bookmarks && section.isBookmark);
    // A title stands twice where a filter was run for a bookmark too: numbers keep the links apart.
    const std::string anchor = isShown ? "r" + ToString(++m_number) + "-" + section.filter->GetId() : "";
    AddVerdicts(section, anchor);
    if (const std::string command = RepeatCommand(section); !command.empty())
        m_commands.emplace_back(title, ToValidUtf8(command));
    if (!isShown) return;
    m_body.emplace_back(ReportHeading{2, section.isBookmark ? "Bookmark: " + title : title, anchor});
    if (section.isBookmark)
        m_body.emplace_back(ReportParagraph{"Filter: " + section.filter->GetNameUtf8() + "."});
    Append(m_body, SectionBlocks(section, {}));
    // A bookmark may show files that are not loaded any more.
    if (section.isBookmark && section.result)
        for (const OrvFilePtr& file : section.result->file) AddMarks(file, m_body);
}

// Of each file once.
void ReportBuilder::AddMarks(const OrvFilePtr& file, std::vector<ReportBlock>& blocks) {
    if (!file || !m_marked.insert(file->GetSha256()).second) return;
    Append(blocks, MarkBlocks(file, m_report.project.GetAnnotations(), m_job));
}

void ReportBuilder::AddProblem(const std::string& name, const std::string& note, const std::string& problem) {
    const std::string anchor = "r" + ToString(++m_number);
    m_verdicts.rows.push_back({{ToValidUtf8(name), ReportTone::Plain, anchor},
                               {"No result: " + ToValidUtf8(problem), ReportTone::Odd}});
    m_body.emplace_back(ReportHeading{2, "Bookmark: " + ToValidUtf8(name), anchor});
    if (!note.empty()) m_body.emplace_back(ReportParagraph{"Note: " + ToValidUtf8(note)});
    m_body.emplace_back(ReportParagraph{"No result: " + ToValidUtf8(problem), ReportTone::Odd});
}

ReportDocument ReportBuilder::Finish() {
    std::vector<ReportBlock>& blocks = m_document.blocks;
    blocks.emplace_back(ReportHeading{2, "Verdicts at a glance", "verdicts"});
    blocks.emplace_back(std::move(m_verdicts));
    Append(blocks, std::move(m_body));
    blocks.emplace_back(ReportHeading{2, "How to repeat the results", "repeat"});
    blocks.emplace_back(ReportParagraph{
        "Each line, given to a shell, prints the same result again from the same files, program and libraries. Compare the "
        "files' SHA-256 first.",
        ReportTone::Quiet});
    for (const auto& [what, line] : m_commands) {
        blocks.emplace_back(ReportParagraph{what});
        blocks.emplace_back(ReportListing{line});
    }
    blocks.emplace_back(ReportHeading{2, "Last self-test", "self-test"});
    blocks.emplace_back(ReportParagraph{SelfTestSummary()});
    blocks.emplace_back(ReportHeading{2, "Versions", "versions"});
    ReportTable versions;
    versions.namesRows = true;
    versions.labels = {"Library", "Version"};
    for (const auto& [name, version] : GetLibraryVersions()) versions.rows.push_back({{name}, {version}});
    blocks.emplace_back(ReportParagraph{ProgramText({})});
    blocks.emplace_back(std::move(versions));
    return std::move(m_document);
}

ReportDocument BuildReport(const OrvReport& report, const OrvJob& job) {
    ReportBuilder builder(report, job);
    for (const OrvReportSection& section : report.sections) builder.Add(section);
    return builder.Finish();
}

std::string BuildHtmlReport(const OrvReport& report) {
    return DocumentToHtml(BuildReport(report, OrvJob()));
}

std::string HtmlReportHead(const std::string& title, const std::string& project) {
    return HtmlPageBegin(title, DateLine()) + BlocksToHtml(Introduction(project), {}) +
           BlocksToHtml({ReportParagraph{"Libraries: " + LibraryVersionsText() + ".", ReportTone::Quiet}},
                        {});
}

std::string HtmlReportFiles(const OrvReport& report) {
    return BlocksToHtml({FilesTable(report)}, {});
}

std::string HtmlReportSection(const OrvReportSection& section, const OrvPictureLink& link) {
    std::vector<ReportBlock> blocks = {ReportHeading{2, TitleOf(section)}};
    Append(blocks, SectionBlocks(section, link));
    return BlocksToHtml(blocks, {});
}

std::string HtmlReportFoot() {
    return HtmlPageEnd();
}
std::string BuildTsv(const OrvReportSection& section) {
    std::string text;
    if (!section.result) return text;
    const auto line = [&text](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i) text += (i > 0 ? "\t" : "") + EscapeTsv(cells[i]);
        text += "\n";
    };
    line({"Name", kReportSlotTitles[OrvEvidence], kReportSlotTitles[OrvReference]});
    std::vector<std::string> verdicts = {"Result"};
    for (const OrvSlotResultPtr& slot : section.result->slot)
        verdicts.push_back(slot ? (slot->SaysNothing() ? "Not applicable: " : "") + slot->verdictText : "");
    if (!verdicts[1].empty() || !verdicts[2].empty()) line(verdicts);
    for (const Parameter& output : section.result->output) {
        if (output.IsHiddenFromGui() || output.Type() == ParameterType::TableString) continue;
        line({output.GetDescription(), output.GetValueAsString(false), output.GetValueAsString(true)});
    }
    for (const Parameter& output : section.result->output) {
        if (output.Type() != ParameterType::TableString || !output.IsSet()) continue;
        text += "\n";
        const TableString& table = output.Get<TableString>();
        for (std::size_t row = 0; row < table.size(); ++row) {
            std::vector<std::string> cells;
            for (const std::string& cell : table[row])
                cells.push_back(row == 0 ? ParseLabel(cell) : ParseCell(cell).text);
            line(cells);
        }
    }
    return text;
}
