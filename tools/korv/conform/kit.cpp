#include "tools/korv/conform/kit.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/text.h"
#include "tools/korv/conform/generator.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <sstream>
#include <string_view>

namespace korv::conform {

namespace {

constexpr std::string_view kGoldenFile = "golden.txt";

// With * for any letters.
bool Matches(std::string_view text, std::string_view pattern) {
    if (pattern.empty()) {
        return text.empty();
    }
    if (pattern.front() == '*') {
        return Matches(text, pattern.substr(1)) ||
               (!text.empty() && Matches(text.substr(1), pattern));
    }
    return !text.empty() && text.front() == pattern.front() &&
           Matches(text.substr(1), pattern.substr(1));
}

uint32_t Hex(const std::string& text) {
    uint32_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, 16);
    return value;
}

bool IsOneOf(const std::string& name, const std::vector<std::string>& names) {
    return names.empty() || std::ranges::count(names, name) != 0;
}

void CheckNames(const char* what, const std::vector<std::string>& given,
                const std::vector<std::string>& known) {
    for (const std::string& name : given) {
        if (std::ranges::count(known, name) == 0) {
            throw UsageError(fmt::format("unknown {} '{}': the nearest is '{}'", what, name,
                                         Nearest(name, known)));
        }
    }
}

} // namespace

std::vector<Description> AllDescriptions() {
    std::vector<Description> all;
    for (const KitFile& file : KitFiles()) {
        if (file.name != kGoldenFile) {
            all.push_back(ParseDescription(std::string("conformance/") + file.name, file.text));
        }
    }
    return all;
}

std::vector<Case> AllCases() {
    return MakeCases(AllDescriptions());
}

std::string GoldenLine(const std::string& id, const Golden& golden) {
    std::string line = fmt::format("{} frame={:08X}", id, golden.frameBuffer);
    if (golden.localBuffer != 0) {
        line += fmt::format(" local={:08X}", golden.localBuffer);
    }
    line += fmt::format(" capture={:08X}", golden.capture);
    if (golden.interrupts != 0) {
        line += fmt::format(" interrupts={}", golden.interrupts);
    }
    if (!golden.reads.empty()) {
        line += fmt::format(" reads={:08X}", fmt::join(golden.reads, ","));
    }
    return line;
}

std::map<std::string, Golden> GoldenList() {
    const auto file = std::ranges::find(KitFiles(), kGoldenFile, &KitFile::name);
    std::map<std::string, Golden> list;
    std::istringstream lines(file == KitFiles().end() ? "" : file->text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == ';') {
            continue;
        }
        const std::vector<std::string> words = WordsOf(line);
        Golden& golden = list[words.front()];
        for (const std::string& word : std::span(words).subspan(1)) {
            const size_t equal = std::min(word.find('='), word.size() - 1);
            const std::string name = word.substr(0, equal), value = word.substr(equal + 1);
            if (name == "frame") {
                golden.frameBuffer = Hex(value);
            } else if (name == "local") {
                golden.localBuffer = Hex(value);
            } else if (name == "interrupts") {
                golden.interrupts = static_cast<uint32_t>(std::stoul(value));
            } else if (name == "capture") {
                golden.capture = Hex(value);
            } else if (name == "reads") {
                std::istringstream reads(value);
                for (std::string one; std::getline(reads, one, ',');) {
                    golden.reads.push_back(Hex(one));
                }
            }
        }
    }
    return list;
}

std::vector<Case> Chosen(const Filter& filter) {
    std::vector<Description> descriptions = AllDescriptions();
    std::vector<std::string> units, chips;
    for (const Description& one : descriptions) {
        units.push_back(one.unit);
    }
    for (const char* group : {"all", "deltas"}) {
        std::ranges::copy(ChipsNamed(group), std::back_inserter(chips));
    }
    CheckNames("unit", filter.units, units);
    CheckNames("chip", filter.chips, chips);
    std::erase_if(descriptions, [&](const Description& one) {
        return !one.unit.empty() && !IsOneOf(one.unit, filter.units);
    });
    std::vector<Case> cases = MakeCases(descriptions);
    std::erase_if(cases, [&](const Case& one) {
        return !IsOneOf(one.chip, filter.chips) ||
               (!filter.cases.empty() &&
                std::ranges::none_of(filter.cases, [&](const std::string& pattern) {
                    return Matches(one.id, pattern);
                }));
    });
    if (cases.empty()) {
        throw UsageError("no case is left: 'korv conform list' tells all");
    }
    return cases;
}

} // namespace korv::conform
