#pragma once
// One display of the machine: the board, the records that the 16-bit display driver shares with the
// driver, and that driver's part in bring-up and mode changes.
#include "board/board.h"
#include "driver/core/chipbus.h"
#include "driver/core/driverdata.h"
#include "host/remote/board_program.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace host {

class ApertureWatch;
class ProgramBoard;
class WatchedMemory;

struct DisplayConfig {
    uint32_t deviceId = DevicePermedia2; // a ChipDevice number
    bool delta = false;                  // a setup chip sits in front of the rasteriser
    uint32_t width = 640, height = 480;  // pixels
    uint32_t bits = 16;                  // per pixel: 8 (palette), 16 (5:5:5), 24 or 32
    uint32_t number = 0;                 // what DriverInit is called with
    bool primary = true;
    bool agp = false;
    uint32_t revision = 0;
    uint32_t dmaBufferBytes = 64 * 1024;
    uint32_t dmaBufferCount = 2; // 0 to 10
    uint32_t chipFlags = 0;      // further ChipFlag bits, for instance VBlankByInterrupt
    bool noDCI = false;
    uint32_t refreshRate = 60; // frames per second
    std::string registryName = "Display\\Settings";
    std::map<std::string, std::string> registry; // values of the key, as text
    board::Timing timing;
    bool dmaThread = false; // DMA engine and interrupt handler on a thread of their own
    uint32_t frameBufferBytes = 8u << 20;
    uint32_t localBufferBytes = 8u << 20; // of the Glint family; the others have none
    BoardProgram program;                 // the board is another program's
};

class Display {
  public:
    // Powers the board on and fills all shared records. Throws std::invalid_argument for
    // what no machine has (CheckConfig), and for a timing under which a driver DLL would wait for
    // ever; std::runtime_error for a board program that cannot be this board.
    explicit Display(DisplayConfig config);
    ~Display();
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    // Calls the driver's init entry. False if the driver refused the display.
    bool Start();

    // A mode set as the 16-bit driver does it: new sizes in the records, the heap built anew, and
    // ModeChanged raised. The driver follows at its next blit or surface request. Throws as the
    // constructor does.
    void ChangeMode(uint32_t width, uint32_t height, uint32_t bits);

    DriverData* Driver() { return &driver_->data; }
    ChipInfo* Chip() { return &driver_->chip; }
    board::Board& Board() { return *board_; }
    ChipRegisters* Aperture() { return &aperture_->registers; }
    const DisplayConfig& Config() const { return config_; }
    bool IsGlint() const;
    // True when the driver's linear heap holds all memory behind the screen; else the runtime has
    // it, for rectangles.
    bool HasLinearHeap() const;
    // Bytes behind the screen that are the runtime's.
    uint32_t OffscreenBytes() const;
    // The screen's pitch in bytes.
    uint32_t Pitch() const { return pitch_; }
    // Bytes of the primary screen.
    uint32_t ScreenBytes() const { return pitch_ * config_.height; }
    // The memories as the processor sees them.
    uint8_t* FrameBuffer() { return driver_->data.FrameBufferBase; }
    uint8_t* LocalBuffer() { return driver_->data.LocalBufferBase; }
    // Byte offset in the frame buffer of the image that is on show. A flip shows with the next
    // frame.
    uint32_t VisibleOffset() const { return board_->ShownBase(); }

    // DMA buffer `index`: where it lies on the bus and in memory.
    static uint32_t DmaBusAddress(uint32_t index);
    uint8_t* DmaBuffer(uint32_t index) { return dmaBuffers_[index]; }
    // `bytes` of zeroes that the board can read once they are mapped. They live as long as the
    // display.
    uint8_t* NewBusMemory(size_t bytes);
    // The same for those who observe.
    WatchedMemory& NewWatchedMemory(size_t bytes);

  private:
    // What the driver sees, in one block with fixed addresses.
    struct Shared {
        DriverData data;
        struct ChipInfo chip;
    };

    struct alignas(64 * 1024) AlignedAperture {
        ChipRegisters registers;
    };

    board::LentMemories WatchMemories();
    void FillChipInfo();
    void FillMode();

    DisplayConfig config_;
    std::unique_ptr<Shared> driver_;
    std::unique_ptr<WatchedMemory> watchedFrame_, watchedLocal_; // for those who observe
    std::unique_ptr<board::Board> board_;
    ProgramBoard* remote_ = nullptr; // the same one, if it is another program's
    std::shared_ptr<void> bus_;      // between the aperture and the board
    std::unique_ptr<AlignedAperture> aperture_;
    std::unique_ptr<ApertureWatch> watch_; // the driver module's
    uint32_t pitch_ = 0;
    std::vector<std::unique_ptr<uint8_t[]>> busMemory_;
    std::vector<std::unique_ptr<WatchedMemory>> watchedBusMemory_;
    std::vector<uint8_t*> dmaBuffers_;
};

// Pitch in pixels that partial products can give for a screen `width` pixels wide on this chip; 0
// if they give none. This is the 16-bit driver's own reckoning. The driver encodes a width as
// products by itself (driver/heap/surface_pitch), and the board decodes them (PitchFromProducts): a
// picture is straight where all three agree. Throws std::invalid_argument for an id that no board
// has.
uint32_t ScreenPitchPixels(uint32_t deviceId, uint32_t width);

} // namespace host
