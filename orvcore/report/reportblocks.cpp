#include "orvcore/report/reportblocks.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <span>

#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tools/folder/thumbnail.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

const char* const kReportSlotTitles[kFileSlots] = {"Evidence", "Reference"};

namespace {

// Large enough to see what was found, small enough for a page with fifty analyses of two files.
constexpr int kLongestSide = 800;
constexpr int kThumbnailSide = 320;
constexpr int kLogoSide = 240;
constexpr std::uint64_t kMostLogoBytes = std::uint64_t{32} << 20;
// Grain makes large files of PNG pictures. The report is for looking; the command below each result writes what can be measured.
constexpr std::size_t kLargePicture = 150000;
constexpr int kJpegQuality = 90;

std::string CutCell(const std::string& text) {
    if (text.size() <= kReportCellBytes) return text;
    const std::string kept = ShortenText(text, kReportCellBytes);
    return kept + " \u2702 (" + ToString(static_cast<std::int64_t>(text.size() - kept.size())) +
           " more bytes)";
}

// A mark of the core is a colour, not a text. Thumbnails stay in the window.
ReportCell CellOf(const std::string& cell) {
    const ParsedCell parsed = ParseCell(cell);
    return {CutCell(ToValidUtf8(parsed.text)), parsed.mark == CellMark::StandsOut  ? ReportTone::Odd
                                               : parsed.mark == CellMark::Doubtful ? ReportTone::Note
                                                                                   : ReportTone::Plain};
}

ReportTable ResultTable(const TableString& table) {
    ReportTable cut;
    if (table.empty()) return cut;
    for (const std::string& label : table[0]) cut.labels.push_back(ToValidUtf8(ParseLabel(label)));
    const std::size_t rows = table.size() - 1;
    const std::size_t kept = std::min(rows, kReportRows);
    for (std::size_t i = 1; i <= kept; ++i) {
        std::vector<ReportCell> row;
        for (const std::string& cell : table[i]) row.push_back(CellOf(cell));
        cut.rows.push_back(std::move(row));
    }
    cut.leftOut = rows - kept;
    cut.more = "The command line below prints all of them.";
    return cut;
}

void AddOutputs(const OrvFilterResult& result, std::vector<ReportBlock>& blocks) {
    ReportTable values;
    values.namesRows = true;
    values.labels = {""};
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (result.slot[slot]) values.labels.emplace_back(kReportSlotTitles[slot]);
    std::vector<ReportBlock> tables;
    for (const Parameter& output : result.output) {
        if (output.IsHiddenFromGui()) continue;
        if (output.Type() == ParameterType::TableString) {
            if (!output.IsSet()) continue;
            tables.emplace_back(ReportParagraph{ToValidUtf8(output.GetDescription())});
            tables.emplace_back(ResultTable(output.Get<TableString>()));
            continue;
        }
        std::vector<std::string> texts;
        if (result.slot[OrvEvidence]) texts.push_back(output.GetValueAsString(false));
        if (result.slot[OrvReference]) texts.push_back(output.GetValueAsString(true));
        const bool differs = texts.size() == 2 && texts[0] != texts[1];
        std::vector<ReportCell> row = {{ToValidUtf8(output.GetDescription())}};
        for (const std::string& text : texts)
            row.push_back({CutCell(ToValidUtf8(text)), differs ? ReportTone::Odd : ReportTone::Plain});
        values.rows.push_back(std::move(row));
    }
    if (!values.rows.empty()) blocks.emplace_back(std::move(values));
    for (ReportBlock& block : tables) blocks.push_back(std::move(block));
}

void AddPictures(const OrvReportSection& section, const OrvPictureLink& link,
                 std::vector<ReportBlock>& blocks) {
    ForEachPicture(*section.filter, *section.result, link ? 0 : kLongestSide,
                   [&](const OrvResultPicture& picture) {
                       ReportPicture shown;
                       shown.svg = picture.svg;
                       if (shown.svg.empty()) {
                           shown.width = picture.image.GetWidth();
                           shown.height = picture.image.GetHeight();
                           if (!link)
                               EncodeForReport(picture.image, shown);
                           else if ((shown.link = link(picture)).empty())
                               return;
                       }
                       shown.caption = ToValidUtf8(picture.caption);
                       shown.alternative = ToValidUtf8(picture.alternative);
                       blocks.emplace_back(std::move(shown));
                   });
}

// What each file's verdict is, and what was found.
void AddFindings(const OrvReportSection& section, std::vector<ReportBlock>& blocks) {
    bool judges = false;
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!section.result->slot[slot]) continue;
        const OrvSlotResult& found = *section.result->slot[slot];
        const std::string title = std::string(kReportSlotTitles[slot]) + ": ";
        if (found.SaysNothing())
            blocks.emplace_back(ReportParagraph{title + "not applicable: " + ToValidUtf8(found.verdictText),
                                                ReportTone::Quiet});
        else if (!found.verdictText.empty())
            blocks.emplace_back(ReportParagraph{title + ToValidUtf8(found.verdictText)});
        judges = judges || (found.verdict != OrvVerdict::None && !found.SaysNothing());
        for (const std::string& finding : found.findings)
            blocks.emplace_back(ReportParagraph{title + ToValidUtf8(finding), ReportTone::Note});
    }
    if (!judges) return;
    const std::string rates = AccuracyText(section.filter->GetId());
    if (rates.empty())
        blocks.emplace_back(
            ReportParagraph{"How often this verdict is right or wrong: not measured.", ReportTone::Quiet});
    else {
        blocks.emplace_back(
            ReportParagraph{"How often this verdict is right or wrong, as measured:", ReportTone::Quiet});
        blocks.emplace_back(ReportListing{ToValidUtf8(rates)});
    }
}

}  // namespace

void EncodeForReport(const Image& image, ReportPicture& picture) {
    picture.bytes = EncodeImage(image, "png");
    if (picture.bytes.size() <= kLargePicture) return;
    std::vector<std::uint8_t> smaller = EncodeImage(image, "jpg", kJpegQuality);
    if (smaller.size() * 2 > picture.bytes.size()) return;
    picture.bytes = std::move(smaller);
    picture.isJpeg = true;
}

ReportTable FilesTable(const OrvReport& report) {
    const OrvJob job;
    ReportTable table;
    table.namesRows = true;
    table.labels = {""};
    std::vector<const OrvLoadedFile*> files;
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (report.files[slot]) {
            table.labels.emplace_back(kReportSlotTitles[slot]);
            files.push_back(report.files[slot].get());
        }
    const auto row = [&](const std::string& name, auto value) {
        std::vector<ReportCell> cells = {{name}};
        for (const OrvLoadedFile* file : files) cells.push_back({value(*file)});
        table.rows.push_back(std::move(cells));
    };
    row("File", [](const OrvLoadedFile& file) { return ToValidUtf8(file.GetPath()); });
    row("Size", [](const OrvLoadedFile& file) { return FormatFileSize(file.GetBytes().size()); });
    row("Modified", [](const OrvLoadedFile& file) { return FormatTime(file.GetFacts().modified); });
    row("MD5", [&job](const OrvLoadedFile& file) { return file.GetHashes(job).md5; });
    row("SHA-1", [&job](const OrvLoadedFile& file) { return file.GetHashes(job).sha1; });
    row("SHA-256", [](const OrvLoadedFile& file) { return file.GetSha256(); });
    return table;
}

ReportBlock LogoBlock(const std::string& path, const OrvJob& job) {
    std::string problem = "it is no picture that can be decoded";
    try {
        Bytes bytes;
        bytes.resize(ReadFileInto(path, bytes, kMostLogoBytes, [](std::span<const std::uint8_t>) {}));
        const Image small = MakeThumbnail(bytes, kLogoSide, job);
        if (small.IsValid()) {
            ReportPicture picture;
            EncodeForReport(small, picture);
            picture.width = picture.shownWidth = small.GetWidth();
            picture.height = small.GetHeight();
            picture.alternative = "Logo";
            return picture;
        }
    } catch (const ZorException& exception) {
        if (exception.GetKind() == ZorException::Kind::Aborted) throw;
        problem = exception.GetMessage();
    }
    return ReportParagraph{"The logo is missing: " + problem, ReportTone::Note};
}

std::vector<ReportBlock> FileThumbnails(const OrvReport& report, const OrvJob& job) {
    std::vector<ReportBlock> blocks;
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!report.files[slot]) continue;
        const Image small = MakeThumbnail(report.files[slot]->GetBytes(), kThumbnailSide, job);
        const std::string name = ToValidUtf8(PathName(report.files[slot]->GetPath()));
        if (!small.IsValid()) {
            blocks.emplace_back(ReportParagraph{
                std::string(kReportSlotTitles[slot]) + ": no picture could be decoded.", ReportTone::Quiet});
            continue;
        }
        ReportPicture picture;
        EncodeForReport(small, picture);
        picture.width = picture.shownWidth = small.GetWidth();
        picture.height = small.GetHeight();
        picture.alternative = std::string(kReportSlotTitles[slot]) + ": " + name;
        picture.caption = picture.alternative + ", as stored in the file, not turned.";
        blocks.emplace_back(std::move(picture));
    }
    return blocks;
}

std::string VerdictLine(const OrvSlotResult& result) {
    const std::string text = ToValidUtf8(result.verdictText);
    switch (result.verdict) {
        case OrvVerdict::None:
            return text;
        case OrvVerdict::NotApplicable:
            return "Not applicable: " + text;
        case OrvVerdict::NothingFound:
            return text;
        case OrvVerdict::WorthALook:
            return "Worth a look: " + text;
        case OrvVerdict::StrongSign:
            return "Strong sign: " + text;
    }
    return text;
}

std::vector<ReportBlock> SectionBlocks(const OrvReportSection& section, const OrvPictureLink& link) {
    const OrvFilter& filter = *section.filter;
    std::vector<ReportBlock> blocks;
    if (!section.note.empty()) blocks.emplace_back(ReportParagraph{"Note: " + ToValidUtf8(section.note)});
    blocks.emplace_back(ReportParagraph{ToValidUtf8(filter.GetDescriptionUtf8()), ReportTone::Quiet});
    if (const std::string source = MethodSource(filter.GetId()); !source.empty())
        blocks.emplace_back(ReportParagraph{"Method: " + ToValidUtf8(source), ReportTone::Quiet});
    if (!section.result) {
        blocks.emplace_back(ReportParagraph{"No result: " + ToValidUtf8(section.error), ReportTone::Odd});
        return blocks;
    }
    std::string parameters = GetParametersString(section.result->input, false);
    if (const std::string post = GetParametersString(section.result->postProcessing, false); !post.empty())
        parameters += (parameters.empty() ? "" : ", ") + post;
    blocks.emplace_back(ReportParagraph{"Filter version " + ToString(filter.GetVersion()) + ". Parameters: " +
                                            (parameters.empty() ? "none" : ToValidUtf8(parameters)) + ".",
                                        ReportTone::Quiet});
    AddFindings(section, blocks);
    AddPictures(section, link, blocks);
    AddOutputs(*section.result, blocks);
    return blocks;
}

std::string MethodSource(const std::string& filterId) {
    static const std::map<std::string, std::string> sources = [] {
        std::map<std::string, std::string> read;
        const std::string path = PathJoin(GetAppDataPath(), "methods.tsv");
        if (!FileExists(path)) return read;
        for (const std::string& line : StringToVecString(ReadFile(path), "\n", SplitMode::SkipEmpty)) {
            const std::size_t tab = line.find('\t');
            if (tab != std::string::npos) read[line.substr(0, tab)] = Trim(line.substr(tab + 1));
        }
        return read;
    }();
    const auto found = sources.find(filterId);
    return found == sources.end() ? std::string() : found->second;
}

std::string AccuracyText(const std::string& filterId) {
    // One file per question that was measured: "ID.txt", "ID-part.txt".
    std::string text;
    const std::string folder = PathJoin(GetAppDataPath(), "accuracy");
    for (const char* const ending : {"", "-part"}) {
        const std::string path = PathJoin(folder, filterId + ending + ".txt");
        if (FileExists(path)) text += (text.empty() ? "" : "\n\n") + Trim(ReadFile(path));
    }
    return text;
}

std::string ShellWord(const std::string& bytes) {
    const bool isPlain = !bytes.empty() && std::all_of(bytes.begin(), bytes.end(), [](unsigned char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
               c == '-' || c == '.' || c == '/' || c == '=' || c == ',' || c == ':';
    });
    if (isPlain) return bytes;
    const bool isText = ToValidUtf8(bytes) == bytes && bytes.find('\n') == std::string::npos &&
                        bytes.find('\t') == std::string::npos;
    std::string word = isText ? "'" : "$'";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (isText) {
            word += c == '\'' ? "'\\''" : std::string(1, c);
        } else if (c == '\'' || c == '\\') {
            word += {'\\', c};
        } else if (byte < 32 || byte > 126) {
            constexpr const char* kDigits = "0123456789abcdef";
            word += {'\\', 'x', kDigits[byte / 16], kDigits[byte % 16]};
        } else {
            word += c;
        }
    }
    return word + "'";
}

std::string RepeatCommand(const OrvReportSection& section) {
    if (!section.result) return {};
    const OrvFilePtr(&files)[kFileSlots] = section.result->file;
    const OrvFilePtr& first = files[OrvEvidence] ? files[OrvEvidence] : files[OrvReference];
    if (!first) return {};
    const auto word = [](const std::string& path) {
        return ShellWord(path.starts_with("-") ? "./" + path : path);
    };
    std::string line = "orvane-cli analyse " + word(first->GetPath());
    if (files[OrvEvidence] && files[OrvReference]) line += " " + word(files[OrvReference]->GetPath());
    line += " --filter " + section.filter->GetId();
    for (const VecParameter* group : {&section.result->input, &section.result->postProcessing})
        for (const Parameter& parameter : *group)
            line += " --set " + ShellWord(parameter.Name() + "=" + parameter.GetValueAsString());
    return line;
}
