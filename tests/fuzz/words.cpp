// Any words on any board. An input: chip, timing and carrier in two bytes, then words,
// little-endian. Each stream is drawn row by row and again pixel by pixel: both must come to the
// same.
#include "board/board.h"
#include "chip/registers.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/work_limit.h"

#include <string>
#include <vector>

namespace fuzz {

namespace {

constexpr uint32_t kMemoryBytes = 64u << 10;
constexpr size_t kMostWords = 4096;
constexpr uint32_t kBatchAddress = 0x100000, kTexelAddress = 0x10000;

struct Stream {
    board::Config config;
    bool dma = false;
    std::vector<uint32_t> words;
};

Stream ReadStream(Bytes bytes) {
    Input input(bytes);
    const uint8_t chip = input.Byte(), how = input.Byte();
    Stream stream;
    board::Config& config = stream.config;
    config.chip = static_cast<board::Chip>(chip % std::size(kDevices));
    config.setupUnit = (chip & 0x80) != 0 || DeviceOf(config.chip).setupUnit;
    config.frameBufferBytes = kMemoryBytes;
    config.localBufferBytes = DeviceOf(config.chip).HasLocalBuffer() ? kMemoryBytes : 0;
    stream.dma = (how & 1) != 0;
    if ((how & 2) != 0) {
        config.timing.fifoDepth = 16;
        config.timing.fifoTicksPerEntry = 3;
        config.timing.pixelsPerTick = 64;
        config.timing.dmaWordsPerTick = 5;
        config.timing.strayOutputWords = 1;
        config.timing.interruptLatency = 7;
    }
    const Bytes rest = input.Rest();
    stream.words.resize(std::min(rest.size() / sizeof(uint32_t), kMostWords));
    if (!stream.words.empty()) {
        std::memcpy(stream.words.data(), rest.data(), stream.words.size() * sizeof(uint32_t));
    }
    return stream;
}

struct Outcome {
    std::vector<uint8_t> frameBuffer, localBuffer;
    std::vector<uint32_t> registers;
    std::string faults;
    bool operator==(const Outcome&) const = default;
};

Outcome Play(const Stream& stream, bool pixelByPixel) {
    std::vector<uint32_t> texels(1024);
    for (uint32_t i = 0; i < texels.size(); ++i) {
        texels[i] = i * 0x9E3779B1;
    }
    board::Board board(stream.config);
    DrawingLimit limit(1u << 18, pixelByPixel);
    TickLimit ticks;
    board.SetProbe(&limit);
    board.SetMonitor(&ticks);
    board.SetInterruptHandler([&] { board.Write(reg::IntFlags, board.Read(reg::IntFlags)); });
    board.Write(reg::IntEnable, ~0u);
    board.MapMemory(kTexelAddress, texels.data(), texels.size() * sizeof(uint32_t));
    if (stream.dma) {
        board.MapMemory(kBatchAddress, stream.words.data(), stream.words.size() * sizeof(uint32_t));
        board.Write(reg::DMAAddress, kBatchAddress);
        board.Write(reg::DMACount, static_cast<uint32_t>(stream.words.size()));
    } else {
        board.WriteFifo(stream.words.data(), stream.words.size());
    }
    board.Drain();
    const auto bytes = [](std::span<const uint8_t> memory) {
        return std::vector<uint8_t>(memory.begin(), memory.end());
    };
    // Rows that write nothing are not walked where nobody looks on, and texels outside the memories
    // not met.
    board::Faults faults = board.FaultReport();
    faults.badMemoryAccesses = 0;
    Outcome outcome{bytes(board.FrameBuffer()), bytes(board.LocalBuffer()), {}, faults.Describe()};
    for (uint32_t offset = reg::MappedRegisters; offset < reg::ApertureBytes; offset += 8) {
        outcome.registers.push_back(board.RegisterAt(offset));
    }
    return outcome;
}

} // namespace

void RunWords(Bytes bytes) {
    const Stream stream = ReadStream(bytes);
    Outcome rows, pixels;
    try {
        rows = Play(stream, false);
        pixels = Play(stream, true);
    } catch (const OutOfWork&) {
        return; // a board that takes too long over it
    }
    Expect(rows.frameBuffer == pixels.frameBuffer, "rows and pixels: the frame buffer differs");
    Expect(rows.localBuffer == pixels.localBuffer, "rows and pixels: the local buffer differs");
    Expect(rows.registers == pixels.registers, "rows and pixels: registers differ");
    if (rows.faults != pixels.faults) {
        Fail("rows and pixels: faults differ\n" + rows.faults + "\n" + pixels.faults);
    }
}

} // namespace fuzz
