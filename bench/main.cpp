// Every benchmark behind one command.
#include "bench/counter.h"
#include "bench/report.h"
#include "bench/session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace {

using bench::Session;

constexpr std::pair<const char*, void (*)(Session&)> kAreas[] = {
    {"triangles", bench::MeasureTriangles},
    {"primitives", bench::MeasurePrimitives},
    {"states", bench::MeasureStates},
    {"buffers", bench::MeasureBuffers},
    {"downloads", bench::MeasureDownloads},
    {"blits", bench::MeasureBlits},
    {"heap", bench::MeasureHeap},
    {"board", bench::MeasureBoard},
    {"demo", bench::MeasureDemo}};

// Bad input: one line and exit code 2.
struct UsageError : std::runtime_error {
    using runtime_error::runtime_error;
};

bench::Run ReadBefore(const std::string& file) {
    try {
        return bench::ReadJson(file);
    } catch (const std::runtime_error& error) {
        throw UsageError(error.what());
    }
}

// An area that fails is told of and leaves the others alone. Result: whether none did.
bool RunAreas(Session& session) {
    bool whole = true;
    for (const auto& [name, area] : kAreas) {
        const size_t before = session.Figures().size();
        try {
            area(session);
        } catch (const std::exception& error) {
            fmt::print(stderr, "korv_bench: {}: {}\n", name, error.what());
            whole = false;
        }
        if (session.Figures().size() != before) { // minutes pass in all
            std::fprintf(stderr, "%s: done\n", name);
        }
    }
    return whole;
}

int Bench(const bench::Options& options, const std::string& json, const std::string& against,
          bool counts) {
    bench::Run before;
    if (!against.empty()) {
        before = ReadBefore(against); // before minutes are spent
    }
    Session session(options);
    const bool whole = RunAreas(session);
    if (options.count) {
        return whole ? 0 : 1;
    }
    bench::Run now{bench::MachineName(), session.Figures()};
    if (counts) {
        for (bench::Figure& figure : bench::CountInstructions(options)) {
            now.figures.push_back(std::move(figure));
        }
    }
    if (now.figures.empty() && whole) {
        throw UsageError("nothing to measure has '" + options.only + "' in its name");
    }
    std::stable_sort(now.figures.begin(), now.figures.end(),
                     [](const bench::Figure& a, const bench::Figure& b) {
                         const auto areaOf = [](const bench::Figure& figure) {
                             const std::string area = figure.name.substr(0, figure.name.find('/'));
                             size_t place = 0;
                             while (area != kAreas[place].first) {
                                 ++place;
                             }
                             return place;
                         };
                         return areaOf(a) < areaOf(b);
                     });
    bench::PrintTable(now);
    if (!json.empty()) {
        bench::WriteJson(now, json);
    }
    const bool slower = !against.empty() && bench::PrintSlower(before, now) != 0;
    return slower || !whole ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"What the driver and the board cost. Exit code 1: slower than the run before.",
                 "korv_bench"};
    bench::Options options;
    options.dll = KORV_DLL_PATH;
    options.korv = KORV_TOOL;
    std::string json, against;
    bool noCounts = false;
    app.add_option("--only", options.only,
                   "Only what holds TEXT in its name: an area (triangles, primitives, states, "
                   "buffers, downloads, blits, heap, board, demo) or AREA/WORK")
        ->type_name("TEXT");
    app.add_option("--json", json, "Write all figures to FILE")->type_name("FILE");
    app.add_option("--against", against,
                   "Tell what is slower than in FILE, a run of the same machine by --json")
        ->type_name("FILE");
    app.add_option("--rounds", options.rounds, "At most N rounds of each work")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_flag("--no-counts", noCounts, "Leave callgrind's counts of instructions out");
    app.add_option("--dll", options.dll, "The KORV32.dll to measure")
        ->type_name("FILE")
        ->capture_default_str();
    app.add_flag("--count-here", options.count)->group("");
    app.add_option("--dll-renderers", options.dllRenderers)->group("");
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        fmt::print(stderr, "korv_bench: {}\n", error.what());
        return 2;
    }
    try {
        return Bench(options, json, against, !noCounts);
    } catch (const UsageError& error) {
        fmt::print(stderr, "korv_bench: {}\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        fmt::print(stderr, "korv_bench: {}\n", error.what());
        return 1;
    }
}
