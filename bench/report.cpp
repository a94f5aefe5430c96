#include "bench/report.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>

namespace bench {

namespace {

constexpr int kVersion = 1;

} // namespace

std::string MachineName() {
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line)) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown";
}

void PrintTable(const Run& run) {
    size_t width = 0;
    for (const Figure& figure : run.figures) {
        width = std::max(width, figure.name.size());
    }
    std::string area;
    for (const Figure& figure : run.figures) {
        const std::string of = figure.name.substr(0, figure.name.find('/'));
        if (of != area) {
            fmt::print("\n{:{}} {:>10} {:>21}\n", of, width, "median", "quartiles");
            area = of;
        }
        fmt::print("{:{}} {:10.2f} {:10.2f} {:10.2f}  {}\n", figure.name, width, figure.median,
                   figure.low, figure.high, figure.unit);
    }
}

void WriteJson(const Run& run, const std::string& file) {
    nlohmann::ordered_json json = {
        {"format", "korv-bench"}, {"version", kVersion}, {"machine", run.machine}};
    for (const Figure& figure : run.figures) {
        json["figures"].push_back({{"name", figure.name},
                                   {"unit", figure.unit},
                                   {"median", figure.median},
                                   {"low", figure.low},
                                   {"high", figure.high}});
    }
    std::ofstream out(file);
    out << json.dump(1) << '\n';
    if (!out.flush()) {
        throw std::runtime_error(file + ": cannot be written");
    }
}

Run ReadJson(const std::string& file) {
    std::ifstream in(file);
    if (!in) {
        throw std::runtime_error(file + ": cannot be read");
    }
    try {
        const auto json = nlohmann::json::parse(in);
        if (json.at("format") != "korv-bench" || json.at("version") != kVersion) {
            throw std::runtime_error(file + ": not a run of korv-bench, version 1");
        }
        Run run{json.at("machine"), {}};
        for (const auto& figure : json.at("figures")) {
            run.figures.push_back({figure.at("name"), figure.at("unit"), figure.at("median"),
                                   figure.at("low"), figure.at("high")});
        }
        return run;
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error(file + ": not a run of korv-bench, version 1");
    }
}

int PrintSlower(const Run& before, const Run& now) {
    if (before.machine != now.machine) {
        fmt::print("\nthe run before was made on another machine: {}\n", before.machine);
    }
    std::map<std::string, Figure> earlier;
    for (const Figure& figure : before.figures) {
        earlier[figure.name] = figure;
    }
    int slower = 0, faster = 0, alike = 0;
    for (const Figure& figure : now.figures) {
        const auto found = earlier.find(figure.name);
        if (found == earlier.end() || figure.name.ends_with("/words")) {
            continue;
        }
        const Figure& then = found->second;
        if (figure.median > then.median * 1.05 && figure.low > then.high) {
            if (slower++ == 0) {
                fmt::print("\nslower by more than 5 % and the noise:\n");
            }
            fmt::print("  {}: {:.2f} before, {:.2f} now ({:+.0f} %)\n", figure.name, then.median,
                       figure.median, (figure.median / then.median - 1) * 100);
        } else if (figure.median * 1.05 < then.median && figure.high < then.low) {
            ++faster;
        } else {
            ++alike;
        }
    }
    fmt::print("\n{} slower, {} faster, {} alike, {} compared\n", slower, faster, alike,
               slower + faster + alike);
    return slower;
}

} // namespace bench
