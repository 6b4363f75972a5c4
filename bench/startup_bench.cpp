// From exec to first paint: the workstation against a bare docking frame with as many widgets, in turn, in one run.
// Run under a display: tests/support/with-display build/release/bin/startup_bench

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/startclock.h"

namespace {

// Milliseconds until the program has told its first paint; less than 0 when it did not.
double Measure(const std::string& program) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return -1;
    const std::int64_t start = SharedNanoseconds();
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipeEnds[1], STDOUT_FILENO);
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        execl(program.c_str(), program.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(pipeEnds[1]);
    std::string text;
    char buffer[256];
    for (ssize_t count; (count = read(pipeEnds[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    close(pipeEnds[0]);
    waitpid(child, nullptr, 0);
    const long long painted = std::atoll(text.c_str());
    return painted > 0 ? static_cast<double>(painted - start) / 1e6 : -1;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int, char** argv) {
    const std::string self = argv[0];
    const std::string folder = self.substr(0, self.find_last_of('/') + 1);
    setenv("ORVANE_TELL_FIRST_PAINT", "1", 1);
    std::vector<double> bare;
    std::vector<double> workstation;
    for (int i = 0; i < 12; ++i) {
        const double a = Measure(folder + "bareframe");
        const double b = Measure(folder + "orvane");
        if (a < 0 || b < 0) {
            std::fprintf(stderr, "startup_bench: a program did not tell its first paint\n");
            return 1;
        }
        if (i < 2) continue;  // what the first starts read from disk is not the question
        bare.push_back(a);
        workstation.push_back(b);
    }
    std::printf(
        "exec to first paint, median of %zu: bare frame %.1f ms, workstation %.1f ms, ratio %.2f (goal: at most 1.50)\n",
        bare.size(), Median(bare), Median(workstation), Median(workstation) / Median(bare));
    return 0;
}
