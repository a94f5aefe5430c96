#pragma once
// The graphics board: register aperture, FIFOs, DMA engine, pixel pipeline, memories, beam and
// interrupt line behind one object. It knows the hardware's formats and nothing of the driver.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>

namespace board {

class VideoSource;

enum class Chip { SX, TX, MX, Permedia, Permedia2 };

// How the board keeps time. A tick is one register access by the processor, or one unit of Idle().
// Zero rates mean "at once". The defaults are a board that is always ready; tests set others.
struct Timing {
    uint32_t fifoDepth = 256;         // entries (decoded register writes) of the input FIFO
    uint32_t fifoDrainPerTick = 0;    // entries executed per tick
    uint32_t fifoReportLag = 0;       // InFIFOSpace reports the space of this many reads ago
    uint32_t fifoReportCap = 0;       // InFIFOSpace never reports more than this (0 = no cap)
    uint32_t dmaWordsPerTick = 0;     // words moved from memory per tick
    uint32_t interruptLatency = 0;    // ticks from the raising of the line to the handler
    uint32_t strayOutputWords = 0;    // words of other tags put before each answer
    uint32_t microsecondsPerTick = 1; // how far the board's clock moves per tick
    bool dmaThread = false;           // DMA engine and interrupt handler on a thread of their own
};

struct Config {
    Chip chip = Chip::Permedia;
    bool setupUnit = false; // a setup unit sits in front of the rasteriser
    uint32_t frameBufferBytes = 8u << 20;
    uint32_t localBufferBytes = 8u
                                << 20; // 0 on the Permedia family: depth lives in the frame buffer
    uint32_t refreshRate = 60;         // frames per second
    uint32_t linesTotal = 525;         // scan lines per frame, blank included
    uint32_t linesBlank = 45;          // of them in vertical blank, counted from line 0
    Timing timing;
};

// Receives every bus event in order. Default actions are nothing.
class BusRecorder {
  public:
    virtual ~BusRecorder() = default;
    virtual void OnRead(uint32_t offset, uint32_t value) { (void)offset, (void)value; }
    virtual void OnWrite(uint32_t offset, uint32_t value) { (void)offset, (void)value; }
    virtual void OnFifoWord(uint32_t word) { (void)word; }
    virtual void OnDmaWord(uint32_t word) { (void)word; }
};

// What went wrong on the board. All zero on a healthy run.
struct Faults {
    uint64_t fifoOverflows = 0;     // register writes lost because the input FIFO was full
    uint64_t badDmaAddresses = 0;   // transfers from bus addresses that nobody mapped
    uint64_t dmaRestarts = 0;       // transfers started while another one was running
    uint64_t badMemoryAccesses = 0; // pixel or depth accesses outside the memories
    uint64_t malformedWords = 0;    // stream words that are no tag word
    std::map<uint32_t, uint64_t>
        unknownRegisters; // tag or aperture offset (>= 0x8000 is mapped) -> writes
    std::map<std::string, uint64_t>
        unmodelled; // unit that was asked for and does not exist here -> times

    bool Any() const;
    std::string Describe() const; // one line per fault, empty when healthy
};

class Board {
  public:
    explicit Board(const Config& config);
    ~Board();
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    // Register aperture: 32-bit accesses at a byte offset. Every access is a tick.
    uint32_t Read(uint32_t offset);
    void Write(uint32_t offset, uint32_t value);
    // `count` words written in order into the FIFO window.
    void WriteFifo(const uint32_t* words, size_t count);
    // Lets `ticks` units of time pass without a bus access.
    void Idle(uint32_t ticks);

    // Makes `bytes` at `memory` readable by the DMA engine at bus address `busAddress`.
    void MapMemory(uint32_t busAddress, const void* memory, size_t bytes);
    // Called, outside any lock of the board, when the interrupt line is raised.
    void SetInterruptHandler(std::function<void()> handler);
    // Records all bus events until replaced; null for none. The recorder must outlive its use.
    void SetRecorder(BusRecorder* recorder);
    // Plugs a source into the video port, which the Permedia family has; null unplugs it. The
    // source must outlive its use.
    void SetVideoSource(VideoSource* source);

    std::span<uint8_t> FrameBuffer();
    std::span<uint8_t> LocalBuffer();
    // Byte offset in the frame buffer of the image that the monitor shows: the screen base as it
    // stood when the present frame began.
    uint32_t ShownBase() const;

    // Board clock in microseconds since power on.
    uint64_t Microseconds() const;
    // Moves the clock on; beam, DMA and FIFO follow.
    void Advance(uint64_t microseconds);

    // Waits until FIFO and DMA are empty (with dmaThread: until the thread is idle).
    void Drain();
    void SetTiming(const Timing& timing);
    const Config& Configuration() const;
    Faults FaultReport() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace board
