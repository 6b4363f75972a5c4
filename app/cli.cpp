// orvane-cli: the same core without a display.

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <map>
#include <string>
#include <system_error>

#include "orvcore/facade/interface.h"
#include "orvcore/filter/libraryversions.h"
#include "orvcore/formats/jpegtables/signaturecollection.h"
#include "orvcore/model/log.h"
#include "orvcore/model/logdocument.h"
#include "orvcore/report/report.h"
#include "orvcore/report/selftest.h"
#include "orvcore/tables/tablemarkup.h"
#include "orvcore/tables/tables.h"
#include "orvcore/tools/batch/camerafingerprints.h"
#include "orvcore/tools/folder/signaturescan.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

volatile std::sig_atomic_t wasInterrupted = 0;

// Collects what the core tells while a command of the program runs.
class Outcome {
  public:
    explicit Outcome(OrvInterface& core) {
        core.SetEventConsumer([this](OrvCommandEvent& event) { Take(event); });
    }

    bool IsGood() const { return m_error.empty(); }
    const std::string& GetError() const { return m_error; }
    const std::string& GetReport() const { return m_report; }
    const VecParameter& GetResults() const { return m_results; }

  private:
    void Take(OrvCommandEvent& event) {
        if (event.GetId() == OrvEventConfigureInterrupted)
            m_error = FromWx(event.GetFilter()->GetErrorMessage());
        else if (event.GetError() != 0)
            m_error = FromWx(event.GetMessage());
        if (event.GetId() == OrvEventCommandExecuted) m_results = event.GetParameters();
        if (event.GetId() == OrvEventGenerateReport) m_report = FromWx(event.GetString());
    }

    std::string m_error;
    std::string m_report;
    VecParameter m_results;
};

// Waits for the core and passes an interrupt from the keyboard on to it.
void Wait(OrvInterface& core) {
    while (!core.WaitIdle(100))
        if (wasInterrupted) core.AbortProcessing();
}

// Exit codes beside 0, 1 (any other failure) and those of 100 and more, by which wrong usage is told.
constexpr int kUndecodable = 3;

int Fail(const std::string& message, int code = 1) {
    std::fprintf(stderr, "orvane-cli: %s\n", message.c_str());
    return code;
}

bool SaysNothing(const OrvReportSection& section) {
    const OrvSlotResult* result = section.result ? section.result->slot[OrvEvidence].get() : nullptr;
    return result == nullptr || result->verdict == OrvVerdict::NotApplicable;
}

// Why the file's pixels cannot be had, "" when they can. One filter calls this an error, another an answer.
std::string DecodingProblem(const OrvFilePtr& file) {
    try {
        if (file) file->GetDecoded(OrvJob());
    } catch (const ZorException& exception) {
        if (exception.GetKind() == ZorException::Kind::Format) return exception.GetMessage();
    }
    return {};
}

// Prints a result. Standard output may be a file on a full disk, or a pipe whose reader is gone.
int Print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return 0;
    return Fail(std::string("Cannot write to standard output: ") + std::generic_category().message(errno) +
                ".");
}

bool Load(OrvInterface& core, const Outcome& outcome, const std::string& evidence,
          const std::string& reference) {
    core.SetFile(PathToWx(evidence), OrvEvidence);
    if (!reference.empty()) core.SetFile(PathToWx(reference), OrvReference);
    Wait(core);
    return outcome.IsGood();
}

int Report(OrvInterface& core, const std::string& evidence, const std::string& reference,
           const std::string& output, OrvReportContents contents) {
    Outcome outcome(core);
    if (PathExtension(evidence) == "zop") {
        if (!reference.empty()) return Fail("A project names its reference itself.");
        core.LoadProject(PathToWx(evidence));
        Wait(core);
        if (!outcome.IsGood()) return Fail(outcome.GetError());
    } else if (!Load(core, outcome, evidence, reference)) {
        return Fail(outcome.GetError());
    }
    core.GenerateReport(PathToWx(output), contents);
    Wait(core);
    if (!outcome.IsGood()) return Fail(outcome.GetError());
    return Print(output + "\n");
}

int Analyse(OrvInterface& core, const std::string& evidence, const std::string& reference,
            const std::string& filterId, const std::vector<std::string>& settings,
            const std::string& imageFolder) {
    Outcome outcome(core);
    OrvFilter* filter = core.GetContext().FindFilter(filterId);
    if (filter == nullptr)
        return Fail("There is no filter \"" + filterId + "\"; \"orvane-cli filters\" lists them.");
    VecParameter input = filter->GetInputPrototype();
    VecParameter post = filter->GetPostProcessingPrototype();
    for (const std::string& setting : settings) {
        const std::size_t equals = setting.find('=');
        const std::string name = setting.substr(0, equals);
        Parameter* parameter = input.Find(name);
        if (parameter == nullptr) parameter = post.Find(name);
        if (parameter == nullptr || equals == std::string::npos ||
            !parameter->SetValueFromString(setting.substr(equals + 1)))
            return Fail("The setting \"" + setting + "\" does not fit the filter \"" + filterId + "\".");
    }
    if (!Load(core, outcome, evidence, reference)) return Fail(outcome.GetError());
    core.Configure(filter, -1, input, post, false);
    Wait(core);
    OrvReportSection section;
    section.filter = filter;
    section.result = filter->GetResult();
    if (!outcome.IsGood() || SaysNothing(section)) {
        const std::string problem = filter->GetPageKind() == OrvPageKind::Text
                                        ? std::string()
                                        : DecodingProblem(core.GetFile(OrvEvidence));
        if (!problem.empty()) return Fail(problem, kUndecodable);
    }
    if (!outcome.IsGood()) return Fail(outcome.GetError());
    if (!imageFolder.empty()) WritePictures(*filter, *section.result, imageFolder, PathStem(evidence));
    return Print(BuildTsv(section));
}

// Every filter's known answers; the outcome is kept for reports.
int SelfTest(const std::string& folder) {
    const SelfTestRun run = RunSelfTest(folder, OrvJob(), {});
    const int code = Print(SelfTestText(run));
    if (folder.empty()) KeepSelfTest(run);
    return run.IsGood() ? code : 1;
}

// Builds and hands on a collection of signatures: adds a folder of pictures, takes in or prints a TSV.
int Signatures(const std::string& collectionFile, const std::string& folder, bool subfolders,
               const std::string& importFile, bool exports) {
    SignatureScan scan;
    if (!folder.empty()) scan = ScanSignatures(folder, subfolders, OrvJob());
    SignatureCollection collection(collectionFile);
    for (const std::string& problem : scan.problems) std::fprintf(stderr, "%s\n", problem.c_str());
    collection.Add(scan.records);
    std::string told;
    if (!folder.empty())
        told = ToString(scan.pictures) + " pictures of " + ToString(static_cast<int>(scan.records.size())) +
               " kinds of writers added; left out: " + ToString(scan.unnamed) + " that name no camera, " +
               ToString(scan.others) + " that are no JPEG\n";
    if (!importFile.empty()) {
        std::int64_t refused = 0;
        const std::int64_t taken = collection.Import(ReadFile(importFile), &refused);
        told += ToString(taken) + " lines taken in, " + ToString(refused) + " are no records\n";
    }
    if (!exports) return Print(told);
    std::string tsv;
    collection.Export([&tsv](const std::string& line) { tsv += line + "\n"; });
    return Print(tsv);
}

// One table of all files of a folder, alone or against the evidence.
int Batch(OrvInterface& core, const std::string& folder, const std::string& evidence, bool subfolders,
          bool hashes, const std::string& output) {
    Outcome outcome(core);
    if (!evidence.empty() && !Load(core, outcome, evidence, {})) return Fail(outcome.GetError());
    VecParameter parameters = {Parameter::Path(ParameterType::Folder, "folder", "Folder", folder),
                               Parameter::Bool("subfolders", "Subfolders", subfolders),
                               Parameter::Bool("hashes", "Hashes", hashes),
                               Parameter::Bool("thumbnails", "Thumbnails", false)};
    core.CallGenericAction(evidence.empty() ? OrvActionBatchAnalysis : OrvActionBatchComparison, "Batch",
                           parameters);
    Wait(core);
    if (!outcome.IsGood()) return Fail(outcome.GetError());
    if (outcome.GetResults().empty()) return Fail("There is no result.");
    TableString table = outcome.GetResults()[0].Get<TableString>();
    if (!output.empty()) RefuseListedFile(output, table, static_cast<int>(table[0].size()) - 1);
    // Pictures are for windows: their column stays out.
    for (std::size_t i = table[0].size(); i-- > 0;)
        if (table[0][i] == "Thumbnail")
            for (std::vector<std::string>& row : table)
                row.erase(row.begin() + static_cast<std::ptrdiff_t>(i));
    const std::string extension = PathExtension(output);
    if (output.empty()) return Print(TableToTsv(table));
    if (extension == "html" || extension == "htm") {
        SaveImageInfoTableAsHtml(output, table, true);
    } else {
        SaveImageInfoTableAsTsv(output, table);
    }
    return 0;
}

int MakeFingerprint(const std::string& folder, const std::string& name, const std::string& collection,
                    bool subfolders) {
    const FingerprintOutcome outcome =
        MakeCameraFingerprint({folder, name, collection, subfolders}, OrvJob());
    std::string text = TableToTsv(outcome.table) + outcome.path + "\n";
    if (!outcome.warning.empty()) text += outcome.warning + "\n";
    return Print(text);
}

// Checks the logs of the documents folder, or of another one, and whether they hold what a project or a report states.
int VerifyLog(const std::string& document, const std::string& folder) {
    const OrvLogCheck check =
        VerifyLogs(folder.empty() ? LogFolder() : folder,
                   document.empty() ? std::vector<OrvLogPlace>() : ReadLogPlaces(document));
    const int printed = Print(Join(check.lines, "\n") + "\n");
    if (printed != 0 || check.isGood) return printed;
    return Fail("The logs do not hold.");
}

int ListFilters(const OrvInterface& core) {
    std::string text;
    for (const OrvFilter* filter : core.GetFilters()) {
        text += filter->GetId() + "\t" + filter->GetAnalysisTypeUtf8() + "\t" + filter->GetNameUtf8() +
                "\tversion " + ToString(filter->GetVersion()) + "\n";
        for (const VecParameter& group : {filter->GetInputPrototype(), filter->GetPostProcessingPrototype()})
            for (const Parameter& parameter : group)
                text += "\t" + parameter.Name() + "=" + parameter.GetValueAsString() + "\t" +
                        parameter.GetDescription() + "\n";
    }
    return Print(text);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Forensic image analysis without a display.");
    app.set_version_flag("--version", [] { return VersionText(); });
    app.require_subcommand(1);

    std::string evidence;
    std::string reference;
    std::string output;
    std::string filterId;
    std::vector<std::string> settings;

    app.footer("Exit codes: 0 done, 1 failed, 3 the picture could not be decoded, 100 and more wrong usage.");
    const CLI::Validator isNamed(
        [](std::string& text) { return text.empty() ? std::string("the name is empty") : std::string(); },
        "");
    CLI::App* report =
        app.add_subcommand("report", "Write what the filters find in the files as one HTML page or PDF");
    report->add_option("evidence", evidence, "The questioned photograph, or a project (.zop)")
        ->required()
        ->check(isNamed);
    report->add_option("reference", reference, "A picture to compare with")->check(isNamed);
    report->add_option("-o,--output", output, "The .html or .pdf file to write")->required()->check(isNamed);
    OrvReportContents contents = OrvReportContents::Everything;
    report
        ->add_option(
            "-c,--contents", contents,
            "everything, bookmarks (of a project, without the other filters) or verdicts (one table)")
        ->transform(CLI::Transformer(
            std::map<std::string, OrvReportContents>{{"everything", OrvReportContents::Everything},
                                                     {"bookmarks", OrvReportContents::Bookmarks},
                                                     {"verdicts", OrvReportContents::Verdicts}}))
        ->option_text("TEXT");

    CLI::App* analyse =
        app.add_subcommand("analyse", "Run one filter and print its text results, tab separated");
    analyse->add_option("evidence", evidence, "The questioned photograph")->required()->check(isNamed);
    analyse->add_option("reference", reference, "A picture to compare with")->check(isNamed);
    analyse->add_option("-f,--filter", filterId, "Which filter (see \"filters\")")
        ->default_val("file-format");
    analyse->add_option("-s,--set", settings, "A parameter as name=value; may be given several times")
        ->expected(1, 100);
    std::string imageFolder;
    analyse->add_option(
        "-i,--images", imageFolder,
        "A folder to write the result's pictures, maps and plots to; nothing in it is replaced");

    std::string folder;
    bool subfolders = false;
    CLI::App* batch = app.add_subcommand("batch", "Judge every file of a folder in one table");
    batch->add_option("folder", folder, "The folder")->required()->check(isNamed);
    batch->add_option("-c,--compare", evidence, "A photograph to compare every file with")->check(isNamed);
    batch->add_flag("-r,--subfolders", subfolders, "Look into subfolders too");
    bool hashes = false;
    batch->add_flag("--hashes", hashes, "Compute MD5 and SHA-1 besides SHA-256");
    batch->add_option("-o,--output", output, "The .tsv or .html file to write; without it, TSV is printed")
        ->check(isNamed);

    std::string collection;
    std::string importFile;
    bool exports = false;
    CLI::App* signatures = app.add_subcommand("signatures", "Build a collection of compression signatures");
    signatures->add_option("collection", collection, "The file of the collection; made when there is none")
        ->required();
    signatures->add_option("-a,--add", folder, "A folder of pictures whose cameras are known");
    signatures->add_flag("-r,--subfolders", subfolders, "Look into subfolders too");
    signatures->add_option("-i,--import", importFile, "A TSV that another collection printed");
    signatures->add_flag("-e,--export", exports, "Print the collection as TSV");
    std::string name;
    CLI::App* fingerprint = app.add_subcommand(
        "fingerprint", "Make a camera fingerprint from a folder of pictures of one camera");
    fingerprint->add_option("folder", folder, "The folder")->required();
    fingerprint->add_option("-n,--name", name, "Its name; without it make, model and serial number");
    fingerprint->add_option("--collection", collection,
                            "The folder of fingerprints; without it the documents folder's");
    fingerprint->add_flag("-r,--subfolders", subfolders, "Look into subfolders too");
    CLI::App* cameras =
        app.add_subcommand("cameras", "Test every picture of a folder against camera fingerprints");
    cameras->add_option("folder", folder, "The folder")->required();
    cameras->add_option("--collection", collection,
                        "The folder of fingerprints; without it the documents folder's");
    cameras->add_flag("-r,--subfolders", subfolders, "Look into subfolders too");

    CLI::App* selfTest = app.add_subcommand(
        "selftest", "Run every filter on pictures whose answers are known, and keep the outcome for reports");
    std::string pictures;
    selfTest->add_option("--pictures", pictures,
                         "Another folder of pictures with their answers; its outcome is not kept");
    std::string document;
    CLI::App* verifyLog = app.add_subcommand(
        "verify-log",
        "Check that the program's logs were not changed, and hold what a project or report states");
    verifyLog->add_option("document", document, "A project (.zop) or a report (.html, .pdf)")->check(isNamed);
    verifyLog->add_option("--folder", folder, "The folder of the logs; without it the documents folder's");

    CLI::App* filters = app.add_subcommand("filters", "List the filters with their parameters and defaults");

    CLI11_PARSE(app, argc, argv);
    try {
        if (signatures->parsed()) return Signatures(collection, folder, subfolders, importFile, exports);
        if (fingerprint->parsed()) return MakeFingerprint(folder, name, collection, subfolders);
        if (cameras->parsed())
            return Print(TableToTsv(IdentifyCameras(folder, collection, subfolders, OrvJob())));
        if (selfTest->parsed()) return SelfTest(pictures);
        if (verifyLog->parsed()) return VerifyLog(document, folder);
        OrvInterface core;
        std::signal(SIGINT, [](int) { wasInterrupted = 1; });
        if (report->parsed()) return Report(core, evidence, reference, output, contents);
        if (analyse->parsed()) return Analyse(core, evidence, reference, filterId, settings, imageFolder);
        if (batch->parsed()) return Batch(core, folder, evidence, subfolders, hashes, output);
        if (filters->parsed()) return ListFilters(core);
    } catch (const std::exception& exception) {
        return Fail(exception.what());
    }
    return 1;
}
