#pragma once
// The graphics board: register aperture, FIFOs, DMA engine, pixel pipeline, memories, beam and
// interrupt line behind one object. It knows the hardware's formats and nothing of the driver.
#include "board/breaks.h"
#include "board/config.h"
#include "board/faults.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace board {

class BusMonitor;
class BusRecorder;
class PixelProbe;
class VideoSource;

// For one caller at a time; a ThreadedBoard takes several. Functions are virtual for its sake
// alone: code that knows which of the two it has can name the class in a call, which is a plain one
// then.
class Board {
  public:
    explicit Board(const Config& config, const LentMemories& memories = {});
    virtual ~Board();
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    // Register aperture: 32-bit accesses at a byte offset. Every access is a tick.
    virtual uint32_t Read(uint32_t offset);
    virtual void Write(uint32_t offset, uint32_t value);
    // What Read would return, without an access: no time passes, no FIFO moves, nobody is told.
    virtual uint32_t Peek(uint32_t offset) const;
    // The level of the interrupt line: a flag stands that is enabled. The handler is called at
    // edges (SetInterruptHandler).
    virtual bool InterruptLevel() const;
    // `count` words written in order into the FIFO window.
    virtual void WriteFifo(const uint32_t* words, size_t count);
    // Lets `ticks` units of time pass without a bus access.
    virtual void Idle(uint32_t ticks);

    // Makes `bytes` at `memory` readable by the board at bus address `busAddress`, until another
    // range is mapped there; no bytes are nothing mapped.
    virtual void MapMemory(uint32_t busAddress, const void* memory, size_t bytes);
    // Asks `reader` for the words of DMA transfers where nothing is mapped: it copies `bytes` from
    // the address, or returns false if nobody is there. Null for none. It must not touch the board.
    using MemoryReader = std::function<bool(uint32_t busAddress, void* to, size_t bytes)>;
    virtual void SetMemoryReader(MemoryReader reader);
    // Called when the interrupt line is raised, once what the units were doing is done: it may
    // access the board. It is not called anew while it runs, and at most 256 times in a row: if
    // its own accesses bring one interrupt after the other, the rest comes with the next access.
    virtual void SetInterruptHandler(std::function<void()> handler);
    // Records all bus events until replaced; null for none. The recorder must outlive its use.
    virtual void SetRecorder(BusRecorder* recorder);
    // The same for a monitor, which stands beside the recorder. Not on a board with threads.
    void SetMonitor(BusMonitor* monitor);
    // Tells a probe (values/probe.h) of every pixel until replaced; null for none. The board draws
    // the same with one, pixel by pixel. The probe must outlive its use, and not touch the board.
    // Not on a board with threads.
    void SetProbe(PixelProbe* probe);
    // Makes the board wrong in one way (breaks.h), before anything has been done to it. Not on a
    // board with threads.
    void SetBreak(Break what);
    // Plugs a source into the video port, which the Permedia family has; null unplugs it. The
    // source must outlive its use.
    virtual void SetVideoSource(VideoSource* source);

    std::span<uint8_t> FrameBuffer();
    std::span<uint8_t> LocalBuffer();
    // Byte offset in the frame buffer of the image that the monitor shows: the screen base as it
    // stood when the present frame began.
    virtual uint32_t ShownBase() const;

    // Board clock in microseconds since power on.
    virtual uint64_t Microseconds() const;
    // Moves the clock on; beam, DMA and FIFO follow.
    virtual void Advance(uint64_t microseconds);

    // Returns when FIFO and DMA are empty and no interrupt is left to handle.
    virtual void Drain();
    // Nothing is left that ticks alone would change: FIFO and DMA are empty, no interrupt is due.
    virtual bool AtRest() const;
    virtual void SetTiming(const Timing& timing);
    const Config& Configuration() const;
    virtual Faults FaultReport() const;
    virtual EntryCounts Entered() const;
    // What the register at a byte offset of the aperture holds, a multiple of 4 below the mapped
    // registers and of 8 among them. No access: nothing moves. Not on a board with threads.
    uint32_t RegisterAt(uint32_t offset) const;

    // The whole state as bytes, in the form that snapshot.h tells, with the memories or without
    // them for those who keep these themselves. Not part of it is what is plugged in from outside:
    // mapped memory, handler, recorder, video source. Not to be called by recorder or video source.
    enum class Contents { StateAlone, WithMemories };
    virtual std::vector<uint8_t> Save(Contents contents);
    // Becomes as a board of the same configuration was when it was saved; with a snapshot without
    // memories these stay. What is plugged in from outside stays, and what the saved board had has
    // to be there before: a primitive that goes on may read mapped memory, a video source is taken
    // to be the same one. None: done. Otherwise what is wrong with the snapshot, and nothing has
    // changed.
    [[nodiscard]] virtual std::optional<std::string> Restore(std::span<const uint8_t> snapshot);

  protected:
    // What moves entries through the FIFO, words through the DMA engine, and interrupts to their
    // handler: the ticks of the accesses, rounds that somebody else makes meanwhile, or somebody
    // who knows when each of them moved. Without Rounds, entries may execute as they arrive.
    enum class Pace { Ticks, Rounds, Played };
    Board(const Config& config, Pace pace, const LentMemories& memories = {});

    // A round would find something to do.
    bool HasWork() const;
    // Moves and executes a bounded part of what waits, at the rates of the timing, and calls the
    // handler if it is due.
    void Round();
    virtual void CallHandler(const std::function<void()>& handler) { handler(); }

    struct Parts;
    Parts& Units() { return *parts_; }
    const Parts& Units() const { return *parts_; }

  private:
    std::unique_ptr<Parts> parts_;
};

} // namespace board
