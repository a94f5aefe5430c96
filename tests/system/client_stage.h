#pragma once
// One chip and the parties that share it: two Direct3D devices, a client of the exported services,
// and two-dimensional fills, each drawing on a quarter of one target.
#include "host/client/client_drawing.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "tests/system/stage.h"

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace test {

enum Party { FirstDevice, SecondDevice, TheClient, TheScreen, kParties };

// How words reach the chip: of the devices, and of the client.
struct Roads {
    const char* name;
    bool devicesByFifo;
    uint32_t deviceSubBuffers;
    bool clientByFifo;
    uint32_t clientSubBuffers;
    bool dmaThread = false; // the DMA engine works beside the processor
};

inline constexpr Roads kRoads[] = {
    {"QueueAndDirect", false, 8, false, 2}, {"DirectAndQueue", false, 2, false, 4},
    {"QueueAndQueue", false, 3, false, 32}, {"FifoAndQueue", true, 8, false, 3},
    {"QueueAndFifo", false, 8, true, 2},    {"FifoAndFifo", true, 8, true, 2},
};

// For test parameters.
inline void PrintTo(const Roads& roads, std::ostream* out) {
    *out << roads.name;
}

class ClientStage {
  public:
    static constexpr uint32_t kWidth = 128, kHeight = 96;

    ClientStage(const TestBoard& board, const Roads& roads, const board::Timing& timing = {});
    ~ClientStage();

    // One batch of the party: new state and a few figures on its quarter. What it is depends on the
    // party and on how many it has drawn alone. Some leave a Direct3D scene open, so that words
    // wait in a sub-buffer.
    void Draw(Party party);
    // Ends open scenes and waits until everything has been executed.
    void Finish();
    // The target's pixels, row by row.
    std::vector<uint32_t> Pixels();
    // Values of all registers that contexts keep, under a party's hardware context, read by
    // KORV_Service.
    std::vector<uint32_t> Registers(Party party);
    std::string Faults() { return machine_.Faults(); }

    static RECT Quarter(Party party);

    host::Display& Display() { return machine_.display; }
    host::DirectDraw& DirectDraw() { return machine_.directDraw; }
    host::Device3D& Device(Party party) { return *devices_[party]; }
    host::ServiceClient& Client() { return *client_; }
    host::ClientDrawing& Drawing() { return *drawing_; }
    host::Surface& Target() { return *target_; }

  private:
    void DrawByDevice(Party party, std::mt19937& dice);
    void DrawByClient(std::mt19937& dice);
    void FillByBlit(std::mt19937& dice);

    StartedDisplay machine_;
    host::Surface* target_ = nullptr;
    std::unique_ptr<host::Device3D> devices_[2];
    std::unique_ptr<host::ServiceClient> client_;
    std::unique_ptr<host::ClientDrawing> drawing_;
    bool sceneOpen_[2] = {};
    uint32_t drawn_[kParties] = {};
};

} // namespace test
