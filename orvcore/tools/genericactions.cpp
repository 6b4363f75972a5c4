#include "orvcore/tools/genericactions.h"

#include "orvcore/formats/metadata.h"
#include "orvcore/tools/foldertable.h"
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

// The first parameter is the folder.
VecParameter ExamineFolder(OrvActionId action, const VecParameter& parameters, const OrvFilePtr& evidence,
                           OrvContext& context, const OrvOptions& options, const OrvJob& job) {
    if (parameters.empty()) ZOR_THROW(Argument, "No folder was given.");
    const std::string& folder = parameters[0].Get<std::string>();
    FolderScanOptions scan;
    scan.includesSubfolders = options.BatchIncludesSubfolders();
    scan.maximumBytes = options.GetMaximumFileBytes();
    FolderTable result;
    if (action == OrvActionBatchComparison) {
        if (!evidence) ZOR_THROW(Argument, "You need to load an evidence image first.");
        result = CompareFolder(folder, *evidence, scan, job);
    } else {
        result = ScanFolder(folder, scan, job);
    }
    context.SetThumbnails(std::move(result.thumbnails));
    Parameter table = Parameter::Output(ParameterType::TableString, "files", "Files");
    table.SetValue(result.table);
    return {table};
}

}  // namespace

VecParameter RunGenericAction(OrvActionId action, const std::string& name, const VecParameter& parameters,
                              const OrvFilePtr (&files)[kFileSlots], OrvContext& context,
                              const OrvOptions& options, const OrvJob& job) {
    switch (action) {
        case OrvActionShowLocation:
            return ShowLocation(files[OrvEvidence]);
        case OrvActionBatchAnalysis:
        case OrvActionBatchComparison:
            return ExamineFolder(action, parameters, files[OrvEvidence], context, options, job);
        default:
            break;
    }
    ZOR_THROW(Argument, "\"" + name + "\" is not available in this version of the program.");
}
