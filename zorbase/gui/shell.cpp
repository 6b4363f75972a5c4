#include "zorbase/gui/shell.h"

#include <unistd.h>
#include <wx/utils.h>

#include <cstdlib>
#include <filesystem>

#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

// A failed start shows only in the child process, where nobody looks: so the program is looked for
// beforehand.
std::string FindProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    for (const std::string& folder :
         StringToVecString(path != nullptr ? path : "", ":", SplitMode::SkipEmpty)) {
        const std::string file = PathJoin(folder, name);
        if (FileExists(file) && access(file.c_str(), X_OK) == 0) return file;
    }
    return {};
}

bool LaunchWithDesktop(const wxString& address) {
    const std::string program = FindProgram("xdg-open");
    if (program.empty()) return false;
    const wxString programText = PathToWx(program);
    const wchar_t* const arguments[] = {programText.wc_str(), address.wc_str(), nullptr};
    return wxExecute(arguments, wxEXEC_ASYNC | wxEXEC_MAKE_GROUP_LEADER) > 0;
}

std::function<bool(const wxString&)>& Launcher() {
    static std::function<bool(const wxString&)> launcher = LaunchWithDesktop;
    return launcher;
}

// Written as an address every byte of a name survives, and no name can look like an option.
wxString FileAddress(const std::string& path) {
    std::error_code error;
    const std::string absolute = std::filesystem::absolute(path, error).string();
    if (error) return {};
    return wxString::FromAscii(("file://" + PercentEncode(absolute, "/")).c_str());
}

bool LaunchFile(const std::string& path) {
    const wxString address = FileAddress(path);
    return !address.empty() && Launcher()(address);
}

}  // namespace

bool OpenFileExplorer(const wxString& fileOrFolder) {
    const std::string path = PathFromWx(fileOrFolder);
    if (FolderExists(path)) return LaunchFile(path);
    if (!FileExists(path)) return false;
    const std::string folder = PathFolder(path);
    return LaunchFile(folder.empty() ? "." : folder);
}

bool LaunchDefaultBrowserLocalFile(const wxString& file) {
    const std::string path = PathFromWx(file);
    return FileExists(path) && LaunchFile(path);
}

bool LaunchWebAddress(const wxString& address) {
    if (!address.StartsWith("https://") && !address.StartsWith("http://")) return false;
    for (const wxUniChar c : address) {
        if (c.GetValue() <= ' ' || c.GetValue() >= 0x7F) return false;
    }
    return Launcher()(address);
}

void SetShellLauncher(std::function<bool(const wxString&)> launcher) {
    Launcher() = launcher ? std::move(launcher) : LaunchWithDesktop;
}
