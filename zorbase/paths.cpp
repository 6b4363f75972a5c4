// Parts of paths, and the folders that belong to the program and its user.

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : std::string();
}

std::string WithoutTrailingSeparator(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string HomePath() {
    std::string home = Environment("HOME");
    if (home.empty()) {
        if (const passwd* user = getpwuid(getuid()); user != nullptr && user->pw_dir != nullptr)
            home = user->pw_dir;
    }
    return home.empty() ? "/" : WithoutTrailingSeparator(home);
}

// The value of a line such as XDG_DOCUMENTS_DIR="$HOME/Documents"; "" when it is not in that form. A value is
// either absolute or starts with $HOME; a backslash takes the next character as it stands.
std::string ParseUserFolder(const std::string& line, const std::string& key) {
    const std::string text = Trim(line);
    if (!text.starts_with(key + "=\"") || text.size() < key.size() + 3 || text.back() != '"') return {};
    const std::string quoted = text.substr(key.size() + 2, text.size() - key.size() - 3);
    std::string value;
    for (std::size_t i = 0; i < quoted.size(); ++i) {
        if (quoted[i] == '\\' && i + 1 < quoted.size()) ++i;
        value += quoted[i];
    }
    if (value == "$HOME" || value.starts_with("$HOME/")) return HomePath() + value.substr(5);
    return value.starts_with('/') ? value : std::string();
}

// A folder of the desktop's user folders, "" when it is not set or not there.
std::string UserFolder(const std::string& key) {
    std::string config = Environment("XDG_CONFIG_HOME");
    if (config.empty()) config = PathJoin(HomePath(), ".config");
    const std::string file = PathJoin(config, "user-dirs.dirs");
    if (!FileExists(file)) return {};
    try {
        for (const std::string& line : StringToVecString(ReadFile(file), "\n")) {
            const std::string folder = WithoutTrailingSeparator(ParseUserFolder(line, key));
            if (FolderExists(folder)) return folder;
        }
    } catch (const ZorException&) {
        // A setting that cannot be read is no setting.
    }
    return {};
}

std::string ExecutableFolder() {
    std::string path(4096, '\0');
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0) return {};
    path.resize(static_cast<std::size_t>(length));
    return PathFolder(path);
}

}  // namespace

std::string PathFolder(const std::string& path) {
    const std::size_t end = path.rfind('/');
    return end == std::string::npos ? std::string()
                                    : WithoutTrailingSeparator(path.substr(0, end == 0 ? 1 : end));
}

std::string PathName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string PathStem(const std::string& path) {
    const std::string name = PathName(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

std::string PathExtension(const std::string& path) {
    const std::string name = PathName(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : ToLower(name.substr(dot + 1));
}

std::string PathJoin(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    // A name never leads out of the folder by starting at the root.
    const std::size_t start = name.find_first_not_of('/');
    const std::string rest = start == std::string::npos ? std::string() : name.substr(start);
    return folder.back() == '/' ? folder + rest : folder + "/" + rest;
}

std::string GetAppDocumentsPath() {
    if (const std::string path = Environment("ORVANE_DOCUMENTS"); !path.empty())
        return WithoutTrailingSeparator(path);
    const std::string documents = UserFolder("XDG_DOCUMENTS_DIR");
    return PathJoin(documents.empty() ? HomePath() : documents, "Orvane");
}

std::string GetAppDataPath() {
    if (const std::string path = Environment("ORVANE_DATA"); !path.empty())
        return WithoutTrailingSeparator(path);
    const std::string prefix = PathFolder(ExecutableFolder());
    const std::string installed = PathJoin(prefix, "share/orvane");
    if (FolderExists(PathJoin(installed, "img"))) return installed;
    const std::string built = PathJoin(prefix, "data");
    return FolderExists(PathJoin(built, "img")) ? built : installed;
}

std::string GetUserDesktopPath() {
    if (const std::string desktop = UserFolder("XDG_DESKTOP_DIR"); !desktop.empty()) return desktop;
    const std::string usual = PathJoin(HomePath(), "Desktop");
    return FolderExists(usual) ? usual : HomePath();
}
