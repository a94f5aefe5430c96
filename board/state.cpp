// The board's state as a whole: saved, restored, and what follows from it worked out anew.
#include "board/parts.h"
#include "board/snapshot.h"

#include <fmt/format.h>

#include <algorithm>

namespace board {

namespace {

// A hundred days: products of the clock and a rate of lines stay in range.
constexpr uint64_t kLatestClock = uint64_t{1} << 43;
// What the largest primitive at the slowest pace keeps the pipeline busy for.
constexpr uint64_t kLongestPrimitive = uint64_t{1} << 33;

constexpr const char* kFrameBuffer = "memory.frameBuffer";
constexpr const char* kLocalBuffer = "memory.localBuffer";

// The bytes of a memory in a snapshot. Empty, without an error, where it holds none.
std::span<const uint8_t> MemoryIn(const Snapshot& snapshot, const char* name,
                                  std::span<const uint8_t> own, std::string& error) {
    const SnapshotEntry* entry = snapshot.Find(name);
    if (entry == nullptr) {
        return {};
    }
    if (entry->bytesPerValue != 1 || entry->bytes.size() != own.size()) {
        error = fmt::format("{} has {} bytes in the snapshot, {} on this board", name,
                            entry->bytes.size(), own.size());
        return {};
    }
    return entry->bytes;
}

} // namespace

void Timing::Visit(StateVisitor& visit) {
    auto& [depth, drain, ticksPerEntry, pixels, lag, cap, dmaWords, latency, strayWords, tick] =
        *this;
    visit.Value("fifoDepth", depth);
    visit.Value("fifoDrainPerTick", drain);
    visit.Value("fifoTicksPerEntry", ticksPerEntry);
    visit.Value("pixelsPerTick", pixels);
    visit.Value("fifoReportLag", lag);
    visit.Value("fifoReportCap", cap);
    visit.Value("dmaWordsPerTick", dmaWords);
    visit.Value("interruptLatency", latency);
    visit.Value("strayOutputWords", strayWords);
    visit.Value("microsecondsPerTick", tick);
}

// What a board is made of stays as it is: a snapshot of another board is refused.
void Config::Visit(StateVisitor& visit) {
    auto& [model, setup, frameBytes, localBytes, refresh, lines, blank, time] = *this;
    visit.Value("chip", model, model, model);
    visit.Value("setupUnit", setup, setup, setup);
    visit.Value("frameBufferBytes", frameBytes, frameBytes, frameBytes);
    visit.Value("localBufferBytes", localBytes, localBytes, localBytes);
    visit.Value("refreshRate", refresh, refresh, refresh);
    visit.Value("linesTotal", lines, lines, lines);
    visit.Value("linesBlank", blank, blank, blank);
    visit.Within("timing", time);
}

void Board::Parts::Visit(StateVisitor& visit) {
    auto& [board, moves, wrong, listener, watcher, prober, made, follower, file, memory, hostMemory,
           fifo, granted, byTag, outFifo, counts, unit, stream, engine, line, port, told, errors,
           windowWords, mapped, busy, now, remainder, frameStart, shown, event, direct, handle,
           handling] = *this;
    visit.Within("config", made);
    visit.Within("registers", file);
    visit.Within("inputFifo", fifo);
    visit.Within("credit", granted);
    visit.Values("entered", byTag);
    visit.Within("outputFifo", outFifo);
    visit.Within("faults", counts);
    visit.Within("commands", unit);
    visit.Within("decoder", stream);
    visit.Within("dma", engine);
    visit.Within("interrupts", line);
    visit.Within("video", port);
    visit.Value("errorFlags", errors);
    visit.Value("fifoWords", windowWords);
    visit.Value("mappedWrites", mapped);
    visit.Value("busyTicks", busy, uint64_t{0}, kLongestPrimitive);
    visit.Value("clock", now, uint64_t{0}, kLatestClock);
    visit.Value("clockRemainder", remainder);
    visit.Value("shownBase", shown);
}

void Board::Parts::Rebuild() {
    nextFrameStart = beam.FrameStart(beam.Frame(clock) + 1);
    commands.Rebuild();
    video.Resume(clock);
    LookAhead();
    ChooseWay();
}

std::vector<uint8_t> Board::Save(Contents contents) {
    StateSaver saver;
    parts_->Visit(saver);
    if (contents == Contents::WithMemories) {
        saver.Bytes(kFrameBuffer, parts_->memories.frameBuffer);
        saver.Bytes(kLocalBuffer, parts_->memories.localBuffer);
    }
    return saver.Take();
}

std::optional<std::string> Board::Restore(std::span<const uint8_t> bytes) {
    std::string error;
    const std::optional<Snapshot> snapshot = Snapshot::Parse(bytes, error);
    if (!snapshot) {
        return error;
    }
    StateLoader look(*snapshot, StateLoader::Pass::Look);
    parts_->Visit(look);
    if (!look.Error().empty()) {
        return look.Error();
    }
    Memories& memories = parts_->memories;
    const auto frame = MemoryIn(*snapshot, kFrameBuffer, memories.frameBuffer, error);
    const auto local = MemoryIn(*snapshot, kLocalBuffer, memories.localBuffer, error);
    if (!error.empty()) {
        return error;
    }
    std::copy(frame.begin(), frame.end(), memories.frameBuffer.begin());
    std::copy(local.begin(), local.end(), memories.localBuffer.begin());
    StateLoader keep(*snapshot, StateLoader::Pass::Keep);
    parts_->Visit(keep);
    parts_->Rebuild();
    return std::nullopt;
}

} // namespace board
