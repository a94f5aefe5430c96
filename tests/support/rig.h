#pragma once
// A display for tests of the driver: the shared records, a context table with small register lists,
// DMA buffers, and a recording bus in place of a board. Nothing runs until a test calls it.
#include "board/values/zeroed_memory.h"
#include "driver/core/dma.h"
#include "driver/heap/surface.h"
#include "driver/services/context.h"
#include "host/win32/device.h"
#include "host/win32/win32.h"
#include "tests/support/recording_bus.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace test {

inline constexpr char kRigKey[] = "SOFTWARE\\Rig\\DirectX"; // the display's registry key

struct RigOptions {
    uint32_t deviceId = DevicePermedia;
    uint32_t width = 640;
    uint32_t height = 480;
    uint32_t bits = 16; // 8, 16, 24 or 32
    bool primary = true;
    uint32_t revision = 2;
    uint32_t chipFlags = 0;
    uint32_t boardFlags = 0;
    uint32_t dmaBufferBytes = 0x8000;
    uint32_t dmaBufferCount = 4;
};

inline RigOptions OptionsOf(uint32_t deviceId, uint32_t bits = 16) {
    RigOptions options;
    options.deviceId = deviceId;
    options.bits = bits;
    return options;
}

// A DirectDraw surface as the HAL sees it, over memory of its own or an address in the frame
// buffer.
struct RigSurface {
    DDRAWI_DDRAWSURFACE_LCL local{};
    DDRAWI_DDRAWSURFACE_MORE more{};
    // The runtime keeps the extension's address in the word in front of the global object.
    struct {
        DDRAWI_DDRAWSURFACE_GBL_MORE* extension;
        DDRAWI_DDRAWSURFACE_GBL global;
    } record{};
    DDRAWI_DDRAWSURFACE_GBL_MORE extension{};
    DDRAWI_DDRAWSURFACE_INT interface {};
    PrivateSurfaceData priv{};
    std::vector<uint32_t> bytes; // of MakeBuffer

    DDRAWI_DDRAWSURFACE_GBL& Global() { return record.global; }
};

class Rig : public host::Device {
  public:
    explicit Rig(const RigOptions& options = {});
    ~Rig() override;

    DriverData* driver;
    ChipInfo* chip;
    std::unique_ptr<RecordingBus> bus;
    DDRAWI_DIRECTDRAW_GBL directDraw{};

    // The state that bring-up leaves: registers known, stream set up, context 5 current.
    void Ready();

    // Sets a registry value of this display's key, as text, and opens the key.
    void SetRegistry(const std::string& name, const std::string& text);

    // A surface at byte `offset` of the frame buffer (of the local buffer for a Z buffer on Glint),
    // with private data as creation would leave it. `pixelSize` is a PixelSizeCode.
    RigSurface& MakeSurface(uint32_t width, uint32_t height, uint32_t caps, uint32_t pixelSize,
                            uint32_t offset);
    // A system-memory buffer of `words` 32-bit words behind a surface interface (execute and vertex
    // buffers).
    RigSurface& MakeBuffer(uint32_t words);

    // The words that reached the chip through FIFO window and DMA transfers, in order of sending,
    // and, for a context under DMA, what still waits in its sub-buffer.
    std::vector<uint32_t> Sent() const;
    static std::vector<uint32_t> Pending(D3DContext* ctx);

    // Bytes handed out by the memory service and not given back.
    size_t LiveServiceBlocks() const { return blocks_.size(); }
    bool refuseMemory = false;      // the memory service refuses
    uint32_t contextBlockCalls = 0; // times a context block was asked for

    // A context of the plainest kind, zeroed but for its stream, driver and magic. Under DMA it has
    // `subBuffers` pieces of DMA buffer 0 and its StartDMA is the driver's.
    D3DContext* PlainContext(bool dma, uint32_t subBuffers = 2);

    // The mini VDD.
    bool Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                 uint32_t* returned) override;

    uint8_t* FrameBuffer() { return frameBuffer_.data(); }

  private:
    struct Shared {
        DriverData data;
        ChipInfo chip;
    };
    ContextBlock* NewContextBlock();

    std::unique_ptr<Shared> shared_;
    std::unique_ptr<ChipRegisters> aperture_;
    // Of these a test touches little, and many tests make a display.
    board::ZeroedBytes frameBuffer_;
    board::ZeroedBytes localBuffer_;
    std::vector<std::vector<uint32_t>> dmaBuffers_;
    std::vector<std::unique_ptr<RigSurface>> surfaces_;
    std::vector<std::unique_ptr<uint8_t[]>> contextBlocks_;
    std::vector<std::unique_ptr<uint8_t[]>> blocks_;
    std::vector<std::unique_ptr<D3DContext>> contexts_;
};

// Offsets that the rig's register lists hold: a few mode registers for types 2, 3 and the
// two-dimensional type, of different lengths.
extern const std::vector<uint16_t> kRigList2D;
extern const std::vector<uint16_t> kRigListClient;
extern const std::vector<uint16_t> kRigListDirect3D;

} // namespace test
