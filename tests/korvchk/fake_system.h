#pragma once
// The system that korvchk runs on in a test: its console, its folders, and DirectDraw on the host.
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "tools/korvchk/platform.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

struct FakeSystem {
    std::string printed;
    std::map<std::string, std::vector<uint8_t>> files; // by whole path
    std::string systemFolder = "C:\\WINDOWS\\SYSTEM", ownFolder = "A:\\KORV32";
    bool hasDirectX = true;
    uint32_t createResult = DD_OK;     // what DirectDrawCreate answers
    IDirectDraw* directDraw = nullptr; // what it gives then
    std::optional<int32_t> driver;     // loaded, and what KORV_Initialize answers
    bool windows = true;               // can be opened
    int openWindows = 0;
    uint32_t paused = 0; // milliseconds
};
FakeSystem& TheSystem();

// DirectDraw and Direct3D as an application sees them, on the host's runtimes.
class FakeDirectX {
  public:
    explicit FakeDirectX(host::Display& display);
    ~FakeDirectX();

    IDirectDraw* Interface();
    host::DirectDraw& Runtime();
    // Objects that have not been released, the first one apart.
    int LiveObjects() const;

    // Things to go wrong.
    bool noHardware = false;              // DirectDraw emulates everything
    bool noDirect3D = false;              // no such interface
    std::function<void()> beforeReadBack; // called with each lock
    uint32_t modeResult = DD_OK;          // of a change of mode
    uint32_t executeResult = DD_OK;

    struct Parts;

  private:
    std::unique_ptr<Parts> parts_;
};

} // namespace test
