// What every filter takes of one picture, with its default parameters and as the program runs it: time, memory beside the decoded
// picture, the longest time without news of progress, and how long it works on after it was told to stop; the last two in seconds of
// processor time, which others on the machine do not lengthen and which on two idle processors last half to all of that.
// Usage: filterlimits_bench PICTURE [FILTER...]

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "bench/startclock.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/progress.h"
#include "zorbase/zorexception.h"

namespace {

constexpr double kMostSilence = 0.5;    // seconds
constexpr double kMostAfterStop = 0.1;  // seconds; 0.5 inside one call of a library
constexpr double kMostMemory = 12.0;    // bytes per pixel

double Seconds(std::int64_t since) {
    return static_cast<double>(SharedNanoseconds() - since) / 1e9;
}

// The processor time of all threads: on a machine with other work, what a quiet one would take at most.
std::int64_t WorkedNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

double Worked(std::int64_t since) {
    return static_cast<double>(WorkedNanoseconds() - since) / 1e9;
}

// Of this process, in bytes; VmRSS now, VmHWM the most since ForgetPeak.
double MemoryOf(const char* name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(name, 0) == 0)
            return 1024.0 * std::strtod(line.c_str() + std::strlen(name) + 1, nullptr);
    return 0.0;
}

void ForgetPeak() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
}

OrvFilePtr LoadDecoded(const std::string& path) {
    OrvFilePtr file = LoadForTest(path);
    try {
        file->GetDecoded(OrvJob());
    } catch (const ZorException&) {
        // The filters that need pixels tell it.
    }
    return file;
}

struct Course {
    double seconds = 0.0;
    double silence = 0.0;    // longest, in seconds of the processor
    double afterStop = 0.0;  // likewise
    bool wasStopped = false;
    std::string text;
};

// Runs the filter on a thread of its own; stops it after so many seconds (never: a negative number).
Course Run(const OrvFilter& filter, const OrvFilePtr& file, double stopAfter) {
    Course course;
    acvResetProgress();
    OrvFilterResult request;
    request.input = filter.GetInputPrototype();
    request.postProcessing = filter.GetPostProcessingPrototype();
    request.file[OrvEvidence] = file;
    std::atomic<bool> isDone = false;
    const std::int64_t start = SharedNanoseconds();
    std::atomic<std::int64_t> stopped = 0;
    std::stop_source stop;
    std::thread worker([&] {
        try {
            const OrvFilterResultPtr result = filter.Run(request, {}, OrvJob(stop.get_token()), nullptr);
            course.text = result->slot[OrvEvidence]->verdictText;
        } catch (const ZorException& exception) {
            course.wasStopped = exception.GetKind() == ZorException::Kind::Aborted;
            course.text = exception.GetMessage();
        }
        course.seconds = Seconds(start);
        if (stopped > 0) course.afterStop = Worked(stopped);
        isDone = true;
    });
    std::int64_t news = WorkedNanoseconds();
    double value = -1.0;
    std::string text;
    while (!isDone) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const double progress = acvGetProgress() + 1000.0 * acvGetProgress2();
        std::string told = acvGetProgressString() + acvGetProgressString2();
        if (progress != value || told != text) {
            course.silence = std::max(course.silence, Worked(news));
            news = WorkedNanoseconds();
            value = progress;
            text = std::move(told);
        }
        if (stopAfter >= 0 && stopped == 0 && Seconds(start) >= stopAfter) {
            stopped = WorkedNanoseconds();
            stop.request_stop();
        }
    }
    course.silence = std::max(course.silence, Worked(news));
    worker.join();
    return course;
}

const char* Mark(double value, double most) {
    return value > most ? "!" : " ";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "filterlimits_bench PICTURE [FILTER...]\n");
        return 2;
    }
    const TemporaryFolder documents;
    const ScopedVariable folder("ORVANE_DOCUMENTS", documents.Path().c_str());
    const std::set<std::string> wanted(argv + 2, argv + argc);
    std::printf("%-22s %8s %12s %10s %11s  %s\n", "Filter", "s", "bytes/pixel", "silence s", "after stop s",
                "Answer");
    for (const auto& filter : CreateAllFilters()) {
        if (!wanted.empty() && !wanted.contains(filter->GetId())) continue;
        OrvFilePtr file = LoadDecoded(argv[1]);
        const double pixels =
            std::max(1.0, static_cast<double>(file->GetInfo().width) * file->GetInfo().height);
        ForgetPeak();
        const double before = MemoryOf("VmRSS");
        const Course whole = Run(*filter, file, -1.0);
        const double memory = std::max(0.0, MemoryOf("VmHWM") - before) / pixels;
        double afterStop = 0.0;
        for (const double part : {0.1, 0.4, 0.7, 0.9}) {
            file.reset();
            file = LoadDecoded(argv[1]);
            const Course cut = Run(*filter, file, part * whole.seconds);
            if (cut.wasStopped) afterStop = std::max(afterStop, cut.afterStop);
        }
        std::printf("%-22s %8.2f %10.1f %s %8.2f %s %9.2f %s  %.90s\n", filter->GetId().c_str(),
                    whole.seconds, memory, Mark(memory, kMostMemory), whole.silence,
                    Mark(whole.silence, kMostSilence), afterStop, Mark(afterStop, kMostAfterStop),
                    whole.text.c_str());
        std::fflush(stdout);
    }
    return 0;
}
