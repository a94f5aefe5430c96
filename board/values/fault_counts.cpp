#include "board/values/fault_counts.h"

#include <sstream>

namespace board {

void FaultCounts::Visit(StateVisitor& visit) {
    auto& [overflows, addresses, restarts, accesses, malformed, unknown, without, lacking] = *this;
    visit.Value("fifoOverflows", overflows);
    visit.Value("badDmaAddresses", addresses);
    visit.Value("dmaRestarts", restarts);
    visit.Value("badMemoryAccesses", accesses);
    visit.Value("malformedWords", malformed);

    std::vector<uint64_t> words;
    for (const auto& [number, times] : unknown) {
        words.insert(words.end(), {number, times});
    }
    visit.List("unknownRegisters", words, 2, StateVisitor::Word32);
    unknown.clear();
    for (size_t i = 0; i < words.size(); i += 2) {
        unknown[static_cast<uint32_t>(words[i])] = words[i + 1];
    }

    words.clear();
    for (const auto& [number, of] : without) {
        words.insert(words.end(), {number, of.entries, of.firstPlace});
    }
    visit.List("unwaited", words, 3, StateVisitor::Word32);
    without.clear();
    for (size_t i = 0; i < words.size(); i += 3) {
        without[static_cast<uint32_t>(words[i])] = {words[i + 1], words[i + 2]};
    }

    // A unit's name a line, and how often each was asked for.
    std::string names;
    words.clear();
    for (const auto& [unit, times] : lacking) {
        names += unit + "\n";
        words.push_back(times);
    }
    visit.Text("unmodelled", names);
    visit.List("unmodelledTimes", words, 1, StateVisitor::Any);
    lacking.clear();
    std::istringstream lines(names);
    std::string unit;
    for (size_t i = 0; i < words.size() && std::getline(lines, unit); ++i) {
        lacking[unit] = words[i];
    }
}

} // namespace board
