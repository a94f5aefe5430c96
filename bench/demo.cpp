// The demo as its user runs it: every scene on one chip, and the time that the processors spend.
#include "bench/session.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <sys/resource.h>

namespace bench {

namespace {

double ProcessorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace

void MeasureDemo(Session& session) {
    if (session.Counts()) {
        return;
    }
    for (const char* chip : {"tx-delta", "permedia2"}) {
        const std::string name = std::string("demo/") + chip;
        if (!session.Wants(name)) {
            continue;
        }
        const std::string folder =
            std::filesystem::temp_directory_path() / ("korv-bench-demo-" + std::string(chip));
        const double before = ProcessorSeconds();
        const std::string command = "'" + session.TheOptions().korv + "' demo -o '" + folder +
                                    "' --chip " + chip + " --plain >/dev/null";
        const int status = std::system(command.c_str());
        std::filesystem::remove_all(folder);
        if (status != 0) {
            throw std::runtime_error("the demo failed: " + command);
        }
        const double time = ProcessorSeconds() - before;
        session.Add({name + "/processor time", "s a run", time, time, time});
    }
}

} // namespace bench
