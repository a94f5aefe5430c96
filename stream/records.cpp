#include "stream/records.h"

#include "stream/format.h"

#include <array>

namespace stream {

namespace {

constexpr size_t kMostNumbers = 64; // in a list

template <size_t Count>
void WriteNumbers(ByteWriter& out, const std::array<uint64_t, Count>& numbers) {
    out.Number(Count);
    for (const uint64_t number : numbers) {
        out.Number(number);
    }
}

// Numbers that the writer did not know yet are zero.
template <size_t Count>
std::array<uint64_t, Count> ReadNumbers(ByteReader& in) {
    std::array<uint64_t, Count> numbers{};
    const uint32_t count = in.Number(kMostNumbers);
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t number = in.Number();
        if (i < Count) {
            numbers[i] = number;
        }
    }
    return numbers;
}

uint32_t Within(uint64_t number, uint32_t low, uint32_t high, const char* what) {
    if (number < low || number > high) {
        throw StreamError(std::string("no board has ") + what + " of " + std::to_string(number) +
                          ": expected " + std::to_string(low) + " to " + std::to_string(high));
    }
    return static_cast<uint32_t>(number);
}

} // namespace

void WriteConfig(ByteWriter& out, const board::Config& config) {
    WriteNumbers<7>(out, {static_cast<uint64_t>(config.chip), config.setupUnit ? 1u : 0u,
                          config.frameBufferBytes, config.localBufferBytes, config.refreshRate,
                          config.linesTotal, config.linesBlank});
    WriteTiming(out, config.timing);
}

board::Config ReadConfig(ByteReader& in) {
    const auto numbers = ReadNumbers<7>(in);
    board::Config config;
    config.chip =
        static_cast<board::Chip>(Within(numbers[0], 0, std::size(kDevices) - 1, "a chip number"));
    config.setupUnit = numbers[1] != 0;
    config.frameBufferBytes = Within(numbers[2], 0, format::kMostMemoryBytes, "a frame buffer");
    config.localBufferBytes = Within(numbers[3], 0, format::kMostMemoryBytes, "a local buffer");
    config.refreshRate = Within(numbers[4], 1, 10000, "a refresh rate");
    config.linesTotal = Within(numbers[5], 1, 65535, "a number of lines");
    config.linesBlank = Within(numbers[6], 0, 65535, "a number of blank lines");
    config.timing = ReadTiming(in);
    return config;
}

void WriteTiming(ByteWriter& out, const board::Timing& timing) {
    WriteNumbers<10>(out, {timing.fifoDepth, timing.fifoDrainPerTick, timing.fifoTicksPerEntry,
                           timing.pixelsPerTick, timing.fifoReportLag, timing.fifoReportCap,
                           timing.dmaWordsPerTick, timing.interruptLatency, timing.strayOutputWords,
                           timing.microsecondsPerTick});
}

board::Timing ReadTiming(ByteReader& in) {
    const auto numbers = ReadNumbers<10>(in);
    constexpr uint32_t kAny = 0xFFFFFFFF;
    board::Timing timing;
    timing.fifoDepth = Within(numbers[0], 1, 1u << 16, "a FIFO depth");
    timing.fifoDrainPerTick = Within(numbers[1], 0, kAny, "a drain rate");
    timing.fifoTicksPerEntry = Within(numbers[2], 0, kAny, "a time per entry");
    timing.pixelsPerTick = Within(numbers[3], 0, kAny, "a pixel rate");
    timing.fifoReportLag = Within(numbers[4], 0, 1000000, "a lag of FIFO reports");
    timing.fifoReportCap = Within(numbers[5], 0, kAny, "a cap of FIFO reports");
    timing.dmaWordsPerTick = Within(numbers[6], 0, kAny, "a DMA rate");
    timing.interruptLatency = Within(numbers[7], 0, kAny, "an interrupt latency");
    timing.strayOutputWords = Within(numbers[8], 0, 1024, "a number of stray words");
    timing.microsecondsPerTick = Within(numbers[9], 0, 1000000, "a length of ticks");
    return timing;
}

void WriteSignal(ByteWriter& out, const board::VideoSignal& signal) {
    WriteNumbers<5>(out, {signal.fieldsPerSecond, signal.linesPerField, signal.portWidth,
                          signal.lineReferenceHigh ? 1u : 0u, signal.fieldReferenceHigh ? 1u : 0u});
}

board::VideoSignal ReadSignal(ByteReader& in) {
    const auto numbers = ReadNumbers<5>(in);
    board::VideoSignal signal;
    signal.fieldsPerSecond = Within(numbers[0], 1, 1000, "fields a second");
    signal.linesPerField = Within(numbers[1], 1, 65535, "lines a field");
    signal.portWidth = Within(numbers[2], 8, 16, "a video port");
    signal.lineReferenceHigh = numbers[3] != 0;
    signal.fieldReferenceHigh = numbers[4] != 0;
    return signal;
}

void WritePosition(ByteWriter& out, const Position& position) {
    WriteNumbers<6>(out, {position.event, position.word, position.call, position.batch,
                          position.frame, position.step});
}

Position ReadPosition(ByteReader& in) {
    const auto numbers = ReadNumbers<6>(in);
    return {numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]};
}

} // namespace stream
