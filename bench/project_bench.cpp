// Saving and loading a project of 500 bookmarks with notes, parameters and thumbnails, through the core as the window does it: with
// the file synced to the disk, and the filter run afterwards. Goal: each under 0.5 s. Needs no display.

#include <wx/app.h>

#include <chrono>
#include <cstdio>
#include <random>

#include "orvcore/facade/interface.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorimage/imageio.h"

namespace {

constexpr int kBookmarks = 500;
constexpr std::size_t kThumbnailBytes = 4000;  // what a busy picture of 96 pixels takes

double SecondsOf(OrvInterface& core, const std::function<void()>& request) {
    const auto start = std::chrono::steady_clock::now();
    request();
    core.WaitIdle();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string MakeProject(const std::string& picture) {
    std::mt19937 random(1);
    OrvProject project = OrvProject::FromText(ReadFile(picture + ".zop"));
    for (int i = 0; i < kBookmarks; ++i) {
        OrvBookmark bookmark;
        bookmark.name = "Bookmark " + ToString(i);
        bookmark.note = std::string(400, 'n');
        bookmark.filterId = "error-level";
        bookmark.input = Json{{"quality", 90}, {"scale", 10}};
        bookmark.file[OrvEvidence] = project.GetFile(OrvEvidence);
        std::string thumbnail(kThumbnailBytes, '\0');
        for (char& byte : thumbnail) byte = static_cast<char>(random());
        bookmark.thumbnail = std::make_shared<const std::string>(thumbnail);
        project.EditBookmarks().push_back(bookmark);
    }
    return project.ToText();
}

}  // namespace

int main() {
    wxAppConsole::SetInstance(new wxAppConsole);
    const TemporaryFolder folder;
    const ScopedVariable documents("ORVANE_DOCUMENTS", (folder / "documents").c_str());
    const std::string picture = folder / "a.png";
    WriteFile(picture, EncodeImage(Image(cv::Mat(64, 64, CV_8UC3, cv::Scalar::all(100))), "png"));
    OrvInterface core;
    core.SetEventConsumer([](OrvCommandEvent& event) {
        if (event.GetError() != 0) std::printf("%s\n", FromWx(event.GetMessage()).c_str());
    });
    core.SetFile(PathToWx(picture), OrvEvidence);
    core.SaveProject(PathToWx(picture + ".zop"));
    core.WaitIdle();
    const std::string large = folder / "large.zop";
    WriteFile(large, MakeProject(picture));
    for (int i = 0; i < 5; ++i) {
        core.NewProject();
        core.WaitIdle();
        const double load = SecondsOf(core, [&] { core.LoadProject(PathToWx(large)); });
        const double save = SecondsOf(core, [&] { core.SaveProject(PathToWx(large)); });
        std::printf("load %.3f s, save %.3f s, %zu bookmarks, %llu bytes\n", load, save,
                    core.GetProject().GetBookmarks().size(),
                    static_cast<unsigned long long>(GetFileFacts(large)->size));
    }
    return 0;
}
