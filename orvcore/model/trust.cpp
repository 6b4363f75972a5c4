#include "orvcore/model/trust.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <mutex>

#include "zorbase/files.h"
#include "zorbase/folders.h"
#include "zorbase/text.h"

namespace {

constexpr std::time_t kDay = 24 * 60 * 60;

struct Chosen {
    std::mutex mutex;
    std::string folder;
    std::string usages;
    std::string state;                   // for which `trust` was read
    std::shared_ptr<const Trust> trust;  // null: not read yet
};

Chosen& TheChosen() {
    static Chosen chosen;
    return chosen;
}

// What tells a folder's files from others: names, sizes, places and times.
std::string ListOf(const std::string& folder) {
    if (folder.empty()) return {};
    if (!FolderExists(folder)) return "not readable";
    std::vector<std::string> files;
    for (const std::string& path : ListFiles(folder)) {
        struct stat facts {};
        if (stat(path.c_str(), &facts) != 0) continue;
        // A file may be replaced by one of its size within a second.
        files.push_back(Join({PathName(path), std::to_string(facts.st_size), std::to_string(facts.st_ino),
                              std::to_string(facts.st_ctim.tv_sec), std::to_string(facts.st_ctim.tv_nsec)},
                             " "));
    }
    return Join(files, "\n");
}

std::string StateOf(const Chosen& chosen) {
    return chosen.folder + "\n" + chosen.usages + "\n" + std::to_string(std::time(nullptr) / kDay) + "\n" +
           ListOf(chosen.folder);
}

}  // namespace

void SetTrust(const std::string& folder, const std::string& usages) {
    Chosen& chosen = TheChosen();
    const std::lock_guard lock(chosen.mutex);
    chosen.folder = folder;
    chosen.usages = usages;
}

std::shared_ptr<const Trust> GetTrust() {
    Chosen& chosen = TheChosen();
    const std::lock_guard lock(chosen.mutex);
    const std::string state = StateOf(chosen);
    if (!chosen.trust || chosen.state != state) {
        auto trust = std::make_shared<Trust>();
        trust->folder = chosen.folder;
        trust->settings.anchors = ReadTrustFolder(chosen.folder, trust->warnings);
        std::string list = chosen.usages;
        std::replace(list.begin(), list.end(), ',', ' ');
        trust->settings.usages = StringToVecString(list, " ", SplitMode::SkipEmpty, true);
        trust->settings.now = std::time(nullptr) / kDay * kDay;
        chosen.trust = std::move(trust);
        chosen.state = state;
    }
    return chosen.trust;
}

std::string GetTrustState() {
    Chosen& chosen = TheChosen();
    const std::lock_guard lock(chosen.mutex);
    return StateOf(chosen);
}
