#pragma once
// A whole machine for one picture: display, DirectDraw, a render target with a Z buffer, a Direct3D
// device. Triangles go in by the HAL, the picture comes out of the board's memory.
#include "host/d3d/direct3d.h"
#include "tests/support_host/started_display.h"
#include "tools/korv/reference/reference.h"

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace test {

using namespace korv::reference;

// How the words of a context reach the chip.
struct Carrier {
    bool fifo = false;
    uint32_t subBuffers = 8;
    bool dmaThread = false; // the DMA engine works beside the processor
};

// A board that makes it hard for the driver.
struct Trouble {
    const char* name;
    board::Timing timing;
    bool dmaThread = false; // the DMA engine works beside the processor
};

struct StageOptions {
    uint32_t deviceId = DevicePermedia;
    bool delta = false; // a setup unit in front
    uint32_t bits = 32;
    uint32_t width = 320;
    uint32_t height = 240;
    uint32_t background = 0; // D3DCOLOR, for 32-bit targets; other depths start black
    Carrier carrier;
    board::Timing timing;
    std::map<std::string, std::string> registry;
};

class Stage {
  public:
    explicit Stage(const StageOptions& options);

    // One scene: states are set where they change, each triangle is an instruction of its own run.
    void Draw(const std::vector<Triangle3>& triangles);
    // Waits for the board and reads the target.
    Image Picture();
    // What the board complains of; empty when healthy.
    std::string Faults() { return machine_.Faults(); }

    host::Display& Display() { return machine_.display; }
    host::DirectDraw& DirectDraw() { return machine_.directDraw; }
    host::Device3D& Device() { return *device_; }
    host::Surface& Target() { return target_; }

  private:
    void Apply(const DrawState& state);
    void ApplyTexture(const DrawState& state);
    // The handle of a texture, loaded when it is first met.
    uint32_t HandleOf(const std::shared_ptr<const Texture>& texture);

    StartedDisplay machine_;
    host::Surface &target_, &depth_;
    std::unique_ptr<host::Device3D> device_;
    std::map<std::shared_ptr<const Texture>, uint32_t> textures_;
};

// A board to test on.
struct TestBoard {
    const char* name;
    uint32_t deviceId;
    bool delta;
    bool HasSetupUnit() const { return delta; }
    bool IsPermedia() const { return deviceId == DevicePermedia || deviceId == DevicePermedia2; }
};

inline constexpr TestBoard kTestBoards[] = {
    {"SX", DeviceSX, false},
    {"TX", DeviceTX, false},
    {"MX", DeviceMX, false},
    {"Permedia", DevicePermedia, false},
    {"SXWithDelta", DeviceSX, true},
    {"TXWithDelta", DeviceTX, true},
    {"MXWithDelta", DeviceMX, true},
    {"PermediaWithDelta", DevicePermedia, true},
    {"Permedia2", DevicePermedia2, true},
};

// The board with a small memory, and its registry set for the carrier.
host::DisplayConfig ConfigOf(const TestBoard& board, const Carrier& carrier,
                             const board::Timing& timing = {});

// For test parameters.
inline void PrintTo(const TestBoard& board, std::ostream* out) {
    *out << board.name;
}

} // namespace test
