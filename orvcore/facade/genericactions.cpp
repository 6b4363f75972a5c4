#include "orvcore/facade/genericactions.h"

#include "orvcore/facade/foldertools.h"
#include "orvcore/formats/metadata.h"
#include "orvcore/report/selftest.h"
#include "orvcore/report/selftestrecord.h"
#include "orvcore/tools/batch/batchprocessing.h"
#include "orvcore/tools/folder/foldertable.h"
#include "orvcore/tools/web/cameraforensics.h"
#include "orvcore/tools/web/camerasearch.h"
#include "orvcore/tools/web/download.h"
#include "orvcore/tools/web/webparameters.h"
#include "orvcore/tools/web/websearch.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

VecParameter ShowLocation(const OrvFilePtr& evidence) {
    if (!evidence) ZOR_THROW(Argument, "You need to load an evidence image first.");
    const auto position = ReadGps(evidence->GetBytes());
    if (!position)
        ZOR_THROW(Format, "\"" + ToValidUtf8(PathName(evidence->GetPath())) +
                              "\" holds no position in its metadata.");
    return {Parameter::Output("position", "Position", GpsToText(*position))};
}

VecParameter Show(FolderTable result, OrvContext& context) {
    context.SetThumbnails(std::move(result.thumbnails));
    Parameter table = Parameter::Output(ParameterType::TableString, "files", "Files");
    table.SetValue(result.table);
    return {table};
}

VecParameter ShowPictures(const TableString& pictures, const std::string& incomplete = {}) {
    Parameter table = Parameter::Output(ParameterType::TableString, "pictures", "Pictures");
    table.SetValue(pictures);
    if (incomplete.empty()) return {table};
    return {table, Parameter::Output(kWebResultIncomplete, "Incomplete", incomplete)};
}

// The first parameter is the folder; a second one may say whether subfolders are looked into, a third one whether
// every hash is computed, a fourth one whether thumbnails are made.
VecParameter ExamineFolder(OrvActionId action, const VecParameter& parameters, const OrvFilePtr& evidence,
                           OrvContext& context, const OrvOptions& options, const OrvJob& job) {
    if (parameters.empty()) ZOR_THROW(Argument, "No folder was given.");
    const std::string& folder = parameters[0].Get<std::string>();
    FolderScanOptions scan;
    scan.includesSubfolders =
        parameters.size() > 1 ? parameters[1].Get<bool>() : options.BatchIncludesSubfolders();
    scan.allHashes = parameters.size() > 2 ? parameters[2].Get<bool>() : options.BatchComputesAllHashes();
    if (parameters.size() > 3) scan.makesThumbnails = parameters[3].Get<bool>();
    scan.maximumBytes = options.GetMaximumFileBytes();
    FolderTable result;
    if (action == OrvActionBatchComparison) {
        if (!evidence) ZOR_THROW(Argument, "You need to load an evidence image first.");
        result = CompareFolder(folder, *evidence, scan, job);
    } else {
        result = ScanFolder(folder, scan, job);
    }
    return Show(std::move(result), context);
}

// Beside what is loaded: with filters of its own, on the shipped pictures.
VecParameter TestItself(const OrvJob& job) {
    const SelfTestRun run = RunSelfTest({}, job, {});
    KeepSelfTest(run);
    return {Parameter::Output("summary", "Summary", SelfTestSummary()),
            Parameter::Output("answers", "Answers", SelfTestText(run))};
}

}  // namespace

VecParameter RunGenericAction(OrvActionId action, const std::string& name, const VecParameter& parameters,
                              const OrvFilePtr (&files)[kFileSlots], OrvContext& context,
                              const OrvOptions& options, const OrvResultCache& cache, const OrvJob& job) {
    switch (action) {
        case OrvActionShowLocation:
            return ShowLocation(files[OrvEvidence]);
        case OrvActionBatchProcessing:
            return Show(RunBatchProcessing(parameters, files, context.GetFilters(), context.GetActiveFilter(),
                                           options, cache, job),
                        context);
        case OrvActionBatchAnalysis:
        case OrvActionBatchComparison:
            return ExamineFolder(action, parameters, files[OrvEvidence], context, options, job);
        case OrvActionSearchFlickr:
        case OrvActionSearchGoogle: {
            std::string incomplete;
            const TableString pictures =
                SearchCamera(action, parameters, options.GetWebServices(), job, incomplete);
            return ShowPictures(pictures, incomplete);
        }
        case OrvActionCameraForensics:
            return ShowPictures(SearchCameraForensics(parameters, options.GetWebServices(), job));
        case OrvActionWebSearch:
            return SearchWeb(parameters, files[OrvEvidence], options.GetWebServices(), job);
        case OrvActionDownload:
            DownloadFiles(parameters, options.GetWebServices(), options.GetMaximumFileBytes(), job);
            return {};
        case OrvActionMakeFingerprint:
        case OrvActionIdentifyCameras:
        case OrvActionCollectSignatures:
            return RunFolderTool(action, parameters, options.BatchIncludesSubfolders(), job);
        case OrvActionSelfTest:
            return TestItself(job);
        case OrvActionRunAll:
            break;  // the facade's own: it needs all that a filter is asked for
    }
    ZOR_THROW(Argument, "\"" + name + "\" is not available in this version of the program.");
}
