#include "bench/counter.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace bench {

namespace {

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

// One dump: what it was made for, and how many instructions it counted.
void ReadDump(const std::filesystem::path& file, std::vector<Figure>& figures) {
    std::ifstream in(file);
    std::string line, work;
    double instructions = 0;
    while (std::getline(in, line)) {
        const size_t request = line.find("Client Request: ");
        if (request != std::string::npos) {
            work = line.substr(request + 16);
        } else if (line.starts_with("totals: ") || line.starts_with("summary: ")) {
            instructions = std::strtod(line.c_str() + line.find(' '), nullptr);
        }
    }
    std::istringstream parts(work);
    std::string name, unit, units, words;
    if (!std::getline(parts, name, '|') || !std::getline(parts, unit, '|') ||
        !std::getline(parts, units, '|') || !std::getline(parts, words)) {
        return; // the dump at the program's end
    }
    const auto add = [&](const char* what, const std::string& each, double count) {
        const double value = instructions / count;
        figures.push_back({name + what, "instructions a " + each, value, value, value});
    };
    add("/instructions", unit, std::strtod(units.c_str(), nullptr));
    if (const double count = std::strtod(words.c_str(), nullptr); count != 0) {
        add("/instructions a word", "word", count);
    }
}

} // namespace

std::vector<Figure> CountInstructions(const Options& options) {
    char folder[] = "/tmp/korv-bench-XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        throw std::runtime_error("no folder under /tmp for the counter");
    }
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    const std::string at = folder;
    WriteDllRenderers(options, at + "/renderers");
    const std::string command =
        "valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file=" + at + "/dump " +
        Quoted(self) + " --count-here --only " + Quoted(options.only) + " --dll " +
        Quoted(options.dll) + " --dll-renderers " + at + "/renderers >" + at + "/log 2>&1";
    const int status = std::system(command.c_str());
    if (status != 0) {
        std::ifstream log(at + "/log");
        std::string line, last;
        while (std::getline(log, line)) {
            last = line;
        }
        std::filesystem::remove_all(folder);
        throw std::runtime_error("callgrind failed: " + last);
    }
    // In the order in which they were made.
    std::map<int, std::filesystem::path> dumps;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string number = entry.path().extension();
        if (number.size() > 1) {
            dumps[std::atoi(number.c_str() + 1)] = entry.path();
        }
    }
    std::vector<Figure> figures;
    for (const auto& [number, path] : dumps) {
        ReadDump(path, figures);
    }
    std::filesystem::remove_all(folder);
    return figures;
}

} // namespace bench
