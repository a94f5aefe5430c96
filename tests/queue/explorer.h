#pragma once
// Every order in which driver, interrupt handler and chip can get at the words that they share.
//
// All states that can be reached from a scenario's start are visited once. A state is the shared
// words, the chip, and where in their code both processors stand; what follows from equal states is
// equal, so that no order is left out. A scenario is sound if no state is wrong, and its end can be
// reached from each.
#include "tests/queue/processor.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace queue {

// Where the handler runs.
enum class Handler {
    OnSameProcessor,  // as on Windows 95: while it runs, the driver stands still
    OnOtherProcessor, // as on the host: accesses of both mix, and stores wait in store buffers
};

// What calls the handler.
enum class Line {
    Level, // a flag that stands and is enabled
    Edge,  // each event that is enabled when it happens, once
};

struct Transfer {
    uint32_t words;
    uint32_t physical;
    bool operator==(const Transfer&) const = default;
};

struct Options {
    Handler handler;
    Line line;
};

struct Report {
    std::string wrong;              // the first thing found wrong, or empty
    std::vector<std::string> steps; // that lead to it
    uint64_t states = 0;
    uint64_t moves = 0;
};

// What the driver's code tells of its progress. HandingOver() precedes the call that hands a
// transfer over, in the order in which they have to start; HandedOver() follows it.
void HandingOver(Transfer transfer);
void HandedOver();
// All that was handed over is done, or this order is wrong.
void ExpectAllDone(const char* where);

// Memory that the driver's code changes besides its stack and ChipInfo.
struct PrivateMemory {
    void* bytes;
    size_t count; // a multiple of 4
};

struct Scenario {
    std::vector<PrivateMemory> memory;
    std::function<void(ChipInfo&)> start; // ChipInfo as found, all zeros before
    std::function<void()> driver;
    std::function<void()> handler; // one call by the interrupt
};

Report Explore(const Scenario& scenario, const Options& options);

} // namespace queue
