#include "bench/session.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <valgrind/callgrind.h>

namespace bench {

namespace {

double Seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Figure Spread(std::string name, std::string unit, std::vector<double>& values) {
    std::sort(values.begin(), values.end());
    return {std::move(name), std::move(unit), values[values.size() / 2], values[values.size() / 4],
            values[values.size() * 3 / 4]};
}

} // namespace

bool Session::Wants(const std::string& name) const {
    return name.find(options_.only) != std::string::npos ||
           options_.only.compare(0, name.size(), name) == 0;
}

void Session::Measure(const Work& work) {
    if (!Wants(work.name)) {
        return;
    }
    work.run(); // caches, page faults, settled state
    if (options_.count) {
        char text[160];
        // The reader of the dumps needs what the counts stand for.
        std::snprintf(text, sizeof text, "%s|%s|%.0f|%zu", work.name.c_str(), work.unit.c_str(),
                      work.units, work.words);
        CALLGRIND_ZERO_STATS;
        CALLGRIND_TOGGLE_COLLECT;
        work.run();
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS_AT(text);
        return;
    }
    std::vector<double> times, ratios;
    int rounds = work.rounds;
    if (options_.rounds != 0) {
        rounds = std::min(rounds, static_cast<int>(options_.rounds));
    }
    for (int round = 0; round < rounds; ++round) {
        const double time = Seconds(work.run);
        times.push_back(time * 1e9 / work.units);
        if (work.plain != nullptr) {
            ratios.push_back(time / Seconds(work.plain));
        }
    }
    Add(Spread(work.name + "/time", "ns a " + work.unit, times));
    if (work.plain != nullptr) {
        Add(Spread(work.name + "/ratio", "x " + work.plainName, ratios));
    }
    if (work.words != 0) {
        const double words = static_cast<double>(work.words) / work.units;
        Add({work.name + "/words", "words a " + work.unit, words, words, words});
    }
}

__attribute__((noinline, optimize("no-tree-vectorize", "no-tree-loop-distribute-patterns"))) void
StorePlain(const std::vector<uint32_t>& words, uint32_t* ring, size_t ringWords) {
    const uint32_t* from = words.data();
    const uint32_t* const end = from + words.size();
    while (from != end) {
        const size_t run = std::min<size_t>(ringWords, static_cast<size_t>(end - from));
#pragma GCC unroll 8
        for (size_t i = 0; i < run; ++i) {
            ring[i] = from[i];
        }
        from += run;
        asm volatile("" : : "r"(ring) : "memory");
    }
}

} // namespace bench
