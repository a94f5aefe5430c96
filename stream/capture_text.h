#pragma once
// All that a capture holds as text, a line an event; docs/events.md defines it. stream/
// capture_assembler.h makes the same capture of it again.
#include "stream/event.h"
#include "stream/explain.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace stream {

// What a line of a capture's text begins with, where it is not one of event text's letters.
namespace line_word {
inline constexpr std::string_view kBoard = "board", kDma = "dma", kDmaFault = "dmafault",
                                  kTicks = "ticks", kClock = "clock", kUnits = "units",
                                  kInterrupt = "interrupt", kInterruptEnd = "interruptend",
                                  kTiming = "timing", kVideoSource = "videosource",
                                  kVideoLine = "videoline", kHostMemory = "hostmemory",
                                  kStore = "store", kState = "state", kMark = "mark";
// A line of bytes of the event before it, and one that repeats the line before it.
inline constexpr char kBytes = '.', kRepeat = '*';
} // namespace line_word

// Bytes in a line of kBytes, but for the last.
inline constexpr size_t kTextLineBytes = 32;

// Numbers of the records that a line holds as NAME=NUMBER.
struct TimingNumber {
    const char* name;
    uint32_t board::Timing::*number;
};
inline constexpr TimingNumber kTimingNumbers[] = {
    {"fifoDepth", &board::Timing::fifoDepth},
    {"fifoDrainPerTick", &board::Timing::fifoDrainPerTick},
    {"fifoTicksPerEntry", &board::Timing::fifoTicksPerEntry},
    {"pixelsPerTick", &board::Timing::pixelsPerTick},
    {"fifoReportLag", &board::Timing::fifoReportLag},
    {"fifoReportCap", &board::Timing::fifoReportCap},
    {"dmaWordsPerTick", &board::Timing::dmaWordsPerTick},
    {"interruptLatency", &board::Timing::interruptLatency},
    {"strayOutputWords", &board::Timing::strayOutputWords},
    {"microsecondsPerTick", &board::Timing::microsecondsPerTick},
};
struct ConfigNumber {
    const char* name;
    uint32_t board::Config::*number;
};
inline constexpr ConfigNumber kConfigNumbers[] = {
    {"frameBufferBytes", &board::Config::frameBufferBytes},
    {"localBufferBytes", &board::Config::localBufferBytes},
    {"refreshRate", &board::Config::refreshRate},
    {"linesTotal", &board::Config::linesTotal},
    {"linesBlank", &board::Config::linesBlank},
};
struct SignalNumber {
    const char* name;
    uint32_t board::VideoSignal::*number;
};
inline constexpr SignalNumber kSignalNumbers[] = {
    {"fieldsPerSecond", &board::VideoSignal::fieldsPerSecond},
    {"linesPerField", &board::VideoSignal::linesPerField},
    {"portWidth", &board::VideoSignal::portWidth},
};
// By ChipModel, and by Memory.
inline constexpr const char* kChipWords[] = {"SX", "TX", "MX", "Permedia", "Permedia2"};
inline constexpr const char* kMemoryWords[] = {"frame", "local", "host"};

// Where words by DMA come from unless somebody says otherwise: behind the one before, or where
// DMAAddress was set to.
class BusAddress {
  public:
    // What `event`, if it is a word by DMA, is expected to come from.
    uint32_t Next() const { return next_; }
    void Set(uint32_t address) { next_ = address; }
    void Pass(const Event& event);

  private:
    uint32_t next_ = 0;
};

// `text` with quotation marks around it, and \", \\ and \xHH in it for what is not printable ASCII.
void AppendQuoted(std::string& text, std::string_view quoted);

// A mark as its line has it: "call \"Blt32\" target=\"back\" colour=255".
void AppendMark(std::string& text, const Mark& mark);
// "surface-name" for MarkKind::SurfaceName; the number of one that is not known.
std::string WordOf(MarkKind kind);

class CaptureText {
  public:
    // `excerpt`: lines may be left out, so nothing is told of where words by DMA go on.
    explicit CaptureText(std::optional<ChipModel> chip = {}, bool excerpt = false)
        : explainer_(chip), excerpt_(excerpt) {}

    // The first line of a capture's text.
    static void AppendBoard(std::string& text, const board::Config& board,
                            const std::string& maker);
    // Adds the lines of the next event, each with its line feed.
    void Append(std::string& text, const Event& event);
    // Goes on behind the next event, of which nothing is told.
    void Skip(const Event& event);

  private:
    void AppendAccess(std::string& text, const Event& event);
    void AppendWord(std::string& text, const Event& event);

    Explainer explainer_;
    const bool excerpt_;
    BusAddress address_;
    bool skipped_ = false; // some words by DMA before
};

} // namespace stream
