#include "orvcore/facade/foldertools.h"

#include <wx/translation.h>

#include <algorithm>

#include "orvcore/model/collections.h"
#include "orvcore/tools/batch/camerafingerprints.h"
#include "orvcore/tools/folder/signaturescan.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

VecParameter AnswerOf(TableString table, const std::string& remark) {
    Parameter files = Parameter::Output(ParameterType::TableString, "files", "Files");
    files.SetValue(std::move(table));
    Parameter told = Parameter::Output(ParameterType::OutputText, kFolderToolRemark, "Remark");
    told.SetValue(remark);
    return {files, told};
}

// A fingerprint lies beside the one that the page tests against, or among the examiner's own.
std::string FolderOf(const std::string& fingerprint) {
    return fingerprint.empty() || FolderExists(fingerprint) ? fingerprint : PathFolder(fingerprint);
}

VecParameter MakeFingerprint(const std::string& folder, const std::string& collection, bool subfolders,
                             const OrvJob& job) {
    const FingerprintOutcome outcome =
        MakeCameraFingerprint({folder, "", FolderOf(collection), subfolders}, job);
    std::string remark = "A fingerprint of " + ToString(outcome.pictures) + " pictures was written to:\n" +
                         ToValidUtf8(outcome.path);
    if (!outcome.warning.empty()) remark += "\n\n" + outcome.warning;
    return AnswerOf(outcome.table, remark);
}

VecParameter CollectSignatures(const std::string& folder, const std::string& collectionFile, bool subfolders,
                               const OrvJob& job) {
    const std::string path = collectionFile.empty() ? SignatureCollectionFile() : collectionFile;
    const SignatureScan scan = ScanSignatures(folder, subfolders, job);
    if (scan.records.empty())
        ZOR_THROW(Argument, "No JPEG in the folder names its camera: nothing was added to the collection.");
    job.CheckAbort();
    SignatureCollection collection(path);
    collection.Add(scan.records);
    TableString table = {{"Make", "Model", "Software", "Pictures", "Signature"}};
    for (const SignatureRecord& record : scan.records)
        table.push_back(
            {record.make, record.model, record.software, ToString(record.count), record.signature});
    std::string remark = ToString(scan.pictures) + " pictures were added to:\n" + ToValidUtf8(path) +
                         "\n\nLeft out: " + ToString(scan.unnamed) + " JPEGs that name no camera, " +
                         ToString(scan.others) + " files that are no JPEG.";
    if (!scan.problems.empty())
        remark += "\nCould not be read: " + ToString(static_cast<std::int64_t>(scan.problems.size())) +
                  ", the first: " + scan.problems.front();
    return AnswerOf(table, remark);
}

}  // namespace

const std::vector<OrvFolderTool>& GetFolderTools() {
    static const std::vector<OrvFolderTool> tools = {
        {OrvActionMakeFingerprint, "camera-identification", wxTRANSLATE("New Fingerprint From A Folder..."),
         wxTRANSLATE("Makes a fingerprint from pictures that are known to come from one camera"),
         wxTRANSLATE("Select the folder of pictures from one camera"), "fingerprint"},
        {OrvActionIdentifyCameras, "camera-identification", wxTRANSLATE("Test The Pictures Of A Folder..."),
         wxTRANSLATE("Tests every picture of a folder against the fingerprints"),
         wxTRANSLATE("Select the folder of pictures to test"), "fingerprint"},
        {OrvActionCollectSignatures, "compression-signature",
         wxTRANSLATE("Add A Folder To The Collection..."),
         wxTRANSLATE("Collects the signatures of pictures whose cameras are known"),
         wxTRANSLATE("Select the folder of pictures whose cameras are known"), "collection"}};
    return tools;
}

const OrvFolderTool* FindFolderTool(OrvActionId action) {
    const auto& tools = GetFolderTools();
    const auto found = std::find_if(tools.begin(), tools.end(),
                                    [action](const OrvFolderTool& tool) { return tool.action == action; });
    return found != tools.end() ? &*found : nullptr;
}

VecParameter RunFolderTool(OrvActionId action, const VecParameter& parameters, bool includesSubfolders,
                           const OrvJob& job) {
    if (parameters.size() < 2) ZOR_THROW(Argument, "No folder was given.");
    const std::string& folder = parameters[0].Get<std::string>();
    const std::string& collection = parameters[1].Get<std::string>();
    switch (action) {
        case OrvActionMakeFingerprint:
            return MakeFingerprint(folder, collection, includesSubfolders, job);
        case OrvActionIdentifyCameras:
            return AnswerOf(IdentifyCameras(folder, FolderOf(collection), includesSubfolders, job), "");
        case OrvActionCollectSignatures:
            return CollectSignatures(folder, collection, includesSubfolders, job);
        default:
            ZOR_THROW(Argument, "This is no tool for folders.");
    }
}
