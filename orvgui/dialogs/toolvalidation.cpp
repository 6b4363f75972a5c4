#include "orvgui/dialogs/toolvalidation.h"

#include <unistd.h>
#include <wx/translation.h>

#include <algorithm>
#include <filesystem>

#include "orvcore/tools/batch/batchprocessing.h"
#include "orvcore/tools/web/keyfile.h"
#include "orvcore/tools/web/webaddress.h"
#include "orvcore/tools/web/webparameters.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

using Problem = std::optional<ToolProblem>;

Problem Wrong(const std::string& field, const wxString& message) {
    return ToolProblem{field, message};
}

bool IsSameFile(const std::string& path, const std::string& other) {
    std::error_code error;
    return !other.empty() && (path == other || std::filesystem::equivalent(path, other, error));
}

// The folder that the file or folder lies in or, when that is not there yet, the nearest one above it.
std::string NearestFolder(const std::string& path) {
    std::string folder = PathFolder(path);
    while (!folder.empty() && folder != "/" && !GetFileFacts(folder)) folder = PathFolder(folder);
    return folder.empty() ? "/" : folder;
}

bool IsBelow(const std::string& path, const std::string& folder) {
    std::error_code error;
    const auto real = [&error](const std::string& name) {
        return std::filesystem::weakly_canonical(name, error).string() + "/";
    };
    return !folder.empty() && real(PathFolder(path)).starts_with(real(folder));
}

Problem CheckPlace(const std::string& path) {
    const std::string folder = NearestFolder(path);
    if (!FolderExists(folder))
        return Wrong(kToolParameterOutput,
                     wxString::Format(_("\"%s\" is not a folder. Choose another place."), ToWx(folder)));
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        return Wrong(kToolParameterOutput,
                     wxString::Format(_("You may not write in \"%s\". Choose another place."), ToWx(folder)));
    return {};
}

Problem CheckExisting(const std::string& path, const ToolSurroundings& surroundings) {
    if (!GetFileFacts(path)) return {};
    for (const std::string& source : {surroundings.evidencePath, surroundings.referencePath})
        if (IsSameFile(path, source) || IsBelow(path, PathFolder(source)))
            return Wrong(kToolParameterOutput,
                         _("A file of this name stands beside the evidence or the reference, where "
                           "nothing is ever replaced. Choose another name."));
    return ToolProblem{kToolParameterOutput,
                       _("There is a file of this name already. Confirm again to replace it."), true};
}

Problem CheckReport(const std::string& path, const ToolSurroundings& surroundings) {
    static constexpr const char* kExtensions[] = {"html", "htm", "tsv", "txt"};
    const std::string name = PathName(path);
    if (path.empty() || name.empty() || name == "." || name == ".." || FolderExists(path))
        return Wrong(kToolParameterOutput, _("Give the report a file name."));
    if (path.front() != '/')
        return Wrong(kToolParameterOutput, _("Give the folder as well, from \"/\" on, or browse for it."));
    if (std::find(std::begin(kExtensions), std::end(kExtensions), PathExtension(path)) ==
        std::end(kExtensions))
        return Wrong(kToolParameterOutput, _("The name must end in .html (a page) or .tsv (a table)."));
    if (Problem problem = CheckPlace(path)) return problem;
    return CheckExisting(path, surroundings);
}

Problem ValidateBatch(const VecParameter& parameters, const ToolSurroundings& surroundings) {
    const auto work = static_cast<BatchWork>(parameters[2].Get<int>());
    if (static_cast<BatchFiles>(parameters[0].Get<int>()) == BatchFiles::EvidenceAndReference &&
        surroundings.referencePath.empty())
        return Wrong(parameters[0].Name(), _("No reference is loaded. Load one, or choose other files."));
    if (work != BatchWork::FillCacheAndReport && !surroundings.keepsResults)
        return Wrong(parameters[2].Name(),
                     _("Keeping slow results on disk is switched off in the program options."));
    if (work == BatchWork::FillCache) return {};
    return CheckReport(parameters.Get<std::string>(kToolParameterOutput), surroundings);
}

Problem CheckCamera(const VecParameter& parameters) {
    const std::pair<const char*, wxString> fields[] = {{kWebParameterMake, _("Write the camera's maker.")},
                                                       {kWebParameterModel, _("Write the camera's model.")}};
    for (const auto& [name, missing] : fields) {
        const std::string text = Trim(parameters.Get<std::string>(name));
        if (text.empty()) return Wrong(name, missing);
        if (text == kToolMakeHint || text == kToolModelHint)
            return Wrong(name, missing + " " + _("The evidence does not name it."));
        try {
            ReadWebText(parameters, name);
        } catch (const ZorException& error) {
            return Wrong(name, ToWx(error.GetMessage()));
        }
    }
    return {};
}

Problem ValidateForensics(const VecParameter& parameters) {
    if (!OrvKeyFile::CanBeKey(Trim(parameters.Get<std::string>(kWebParameterKey))))
        return Wrong(kWebParameterKey, _("A key is one word of letters, digits and signs, without blanks."));
    return CheckCamera(parameters);
}

Problem ValidatePdf(const VecParameter& parameters) {
    const int first = parameters.Get<int>(kToolParameterFirstPage);
    const int last = parameters.Get<int>(kToolParameterLastPage);
    if (last == 0 || last >= first) return {};
    return Wrong(
        kToolParameterLastPage,
        wxString::Format(_("Page %d stands before the first page, %d. Write 0 for the last page of the "
                           "document."),
                         last, first));
}

Problem ValidateWebSearch(const VecParameter& parameters) {
    if (!parameters.Get<bool>(kWebParameterTinEye) && !parameters.Get<bool>(kWebParameterGoogle))
        return Wrong(kWebParameterTinEye, _("Tick at least one site to search on."));
    const std::string domain = Trim(parameters.Get<std::string>(kWebParameterDomain));
    if (!domain.empty() && !IsHostName(domain))
        return Wrong(kWebParameterDomain,
                     _("Write the name of a site alone, like example.com, without \"https://\" and \"/\"."));
    if (!parameters.Get<bool>(kWebParameterAllow))
        return Wrong(
            kWebParameterAllow,
            _("A search for the same picture sends the picture itself. Without a tick here nothing is "
              "sent, so nothing can be found."));
    return {};
}

}  // namespace

std::optional<ToolProblem> ValidateTool(ToolKind kind, const VecParameter& parameters,
                                        const ToolSurroundings& surroundings) {
    switch (kind) {
        case ToolKind::BatchProcessing:
            return ValidateBatch(parameters, surroundings);
        case ToolKind::CameraForensics:
            return ValidateForensics(parameters);
        case ToolKind::CameraSearch:
            return CheckCamera(parameters);
        case ToolKind::PdfImages:
            return ValidatePdf(parameters);
        case ToolKind::WebSearch:
            return ValidateWebSearch(parameters);
    }
    return {};
}
