#pragma once
// The video port of the Permedia boards: takes the fields of a source into the frame buffer, line
// by line, by the board's clock.
#include "board/bus/beam.h"
#include "board/bus/interrupts.h"
#include "board/values/fault_counts.h"
#include "board/values/memory.h"
#include "board/values/probe.h"
#include "board/values/registers.h"
#include "board/values/state_visitor.h"
#include "board/video/video_source.h"

#include <cstdint>
#include <vector>

namespace board {

class VideoPort {
  public:
    static constexpr uint64_t kNever = ~uint64_t{0};

    VideoPort(const DeviceRow& chip, RegisterFile& registers, Memories& memories,
              InterruptLine& interrupts, FaultCounts& faults)
        : present_(chip.videoPort), registers_(registers), memories_(memories),
          interrupts_(interrupts), faults_(faults) {}

    // Plugs a source in at `now` (microseconds), or with null unplugs it. Its field and line at a
    // time are counted from power on, plugged in or not.
    void Plug(VideoSource* source, uint64_t now) {
        taking_ = false;
        Follow(source, now);
    }
    // What is plugged in sends as it does at `now`: behind a restore.
    void Resume(uint64_t now);
    // Who is told of every pixel; null: nobody.
    void SetProbe(PixelProbe* probe) { probe_ = probe; }
    // How the source sends; null without one.
    const VideoSignal* Signal() const { return source_ != nullptr ? &signal_ : nullptr; }
    // When the source's next line begins, in microseconds. kNever without a source.
    uint64_t NextLine() const { return nextLine_; }
    // Takes all lines that have begun by `now`.
    void Run(uint64_t now);
    // VSStreamControl was written.
    void OnStreamControl();
    // Resume follows a restore. Which line comes next follows from the clock, and the source is not
    // the board's.
    void Visit(StateVisitor& visit) {
        auto& [present, registers, memories, interrupts, faults, probe, source, signal, nextLine,
               line, taking, pixels, row] = *this;
        visit.Value("taking", taking);
    }

  private:
    void Follow(VideoSource* source, uint64_t now);
    uint64_t LinesPerSecond() const;
    uint64_t LineAt(uint64_t now) const;   // the last that begins at `now`, or before
    uint64_t StartOf(uint64_t line) const; // microseconds
    void PassOver(uint64_t last);
    uint32_t Register(uint32_t offset) const { return registers_.Aperture(offset); }
    bool On(const Field& field) const { return registers_.Get(field) != 0; }
    bool Receives() const;
    bool Interleaves() const;
    uint32_t ParityOf(uint64_t field) const;
    void Begin(uint64_t line);
    void BeginField(uint64_t field);
    void End(uint64_t line);
    void Store(uint64_t field, uint32_t line);
    void Pack();
    // Tells the probe of the row that is about to lie at a byte of the frame buffer.
    void TellRow(int64_t address);
    int64_t AddressOf(uint32_t row, uint64_t field) const;

    const bool present_;
    RegisterFile& registers_;
    Memories& memories_;
    InterruptLine& interrupts_;
    FaultCounts& faults_;
    PixelProbe* probe_ = nullptr;
    VideoSource* source_ = nullptr;
    VideoSignal signal_;
    uint64_t nextLine_ = kNever; // microseconds
    uint64_t line_ = 0;          // that begins then, counted from power on
    bool taking_ = false;        // the present field goes into a buffer
    std::vector<uint16_t> pixels_, row_;
};

} // namespace board
