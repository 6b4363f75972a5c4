// What the program holds in memory when every filter is opened one after the other on a pair of 24-megapixel photographs, as the window
// opens them, and when a report of the pair is written. Each in a process of its own, so that the peaks do not mix. Without the window:
// it adds its toolkit and a quarter of a byte per pixel and picture. Ends with 1 when a limit is passed. Usage: memory_bench [-v]

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <string>

#include "orvcore/facade/interface.h"
#include "orvcore/model/memorybudget.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/virtualcamera.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

constexpr double kPairLimit = 1400.0;  // MB resident: 1.5 GB with the window
constexpr double kReportLimit = 1000.0;

// A line of the process' own status, MB.
double Status(const char* name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name)) return std::atof(line.c_str() + std::strlen(name) + 1) * 1024.0 / 1e6;
    return 0.0;
}

void WritePhoto(const std::string& path, std::uint64_t seed, int quality) {
    cv::Mat picture;
    cv::resize(TakePhoto(OrdinaryCamera(seed), SceneKind::Textured, {3000, 2000}, seed), picture,
               {6000, 4000}, 0, 0, cv::INTER_CUBIC);
    const std::vector<std::uint8_t> file = SaveJpeg(picture, quality);
    WriteFile(path, file);
}

void LoadPair(OrvInterface& core, const TemporaryFolder& folder) {
    core.SetEventConsumer([](OrvCommandEvent&) {});
    core.SetFile(PathToWx(folder / "a.jpg"), OrvEvidence);
    core.SetFile(PathToWx(folder / "b.jpg"), OrvReference);
    core.WaitIdle();
}

double OpenEveryFilter(const TemporaryFolder& folder, bool isVerbose) {
    OrvInterface core;
    LoadPair(core, folder);
    double most = 0.0;
    for (OrvFilter* filter : core.GetFilters()) {
        core.ActivateFilter(filter, -1);
        core.WaitIdle();
        const double resident = Status("VmRSS");
        most = std::max(most, resident);
        if (isVerbose) {
            std::printf("%-28s %6.0f MB, peak %6.0f; held %5.0f MB\n", filter->GetId().c_str(), resident,
                        Status("VmHWM"), static_cast<double>(OrvMemoryBudget::Get().GetHeld()) / 1e6);
            std::fflush(stdout);
        }
    }
    return most;
}

double Report(const TemporaryFolder& folder, const char* name) {
    OrvInterface core;
    LoadPair(core, folder);
    core.GenerateReport(PathToWx(folder / name));
    core.WaitIdle();
    return Status("VmRSS");
}

// Runs the work in a process of its own; whether it stayed within the limit. work: MB at rest.
bool Measure(const char* what, double limit, const std::function<double()>& work) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const double rest = work();
        const double peak = Status("VmHWM");
        std::printf("%-50s %6.0f MB at rest, peak %6.0f MB (limit %.0f): %s\n", what, rest, peak, limit,
                    peak <= limit ? "ok" : "MISSED");
        std::fflush(stdout);
        _exit(peak <= limit ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const bool isVerbose = argc > 1 && std::strcmp(argv[1], "-v") == 0;
    const TemporaryFolder folder;
    const ScopedVariable documents("ORVANE_DOCUMENTS", (folder.Path() + "/documents").c_str());
    // Also in a process of its own: what making the pictures takes is not the program's.
    Measure("making the photographs", 1e9, [&] {
        WritePhoto(folder / "a.jpg", 1, 92);
        WritePhoto(folder / "b.jpg", 2, 88);
        return 0.0;
    });
    const bool isPairGood = Measure("every filter opened on a pair of 24 megapixels", kPairLimit,
                                    [&] { return OpenEveryFilter(folder, isVerbose); });
    const bool isReportGood =
        Measure("a report of the pair", kReportLimit, [&] { return Report(folder, "report.html"); });
    return isPairGood && isReportGood ? 0 : 1;
}
