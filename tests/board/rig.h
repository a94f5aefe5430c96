#pragma once
// A board set up for drawing, with short ways to send registers and look at pixels.
#include "board/board.h"
#include "chip/registers.h"
#include "chip/words.h"

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <utility>
#include <vector>

namespace rig {

// Partial product code 1: 32 pixels; 2: 64 pixels; 3: 128 pixels.
inline constexpr uint32_t kPitch32 = 1;
inline constexpr uint32_t kPitch64 = 2;
inline constexpr uint32_t kPitch128 = 3;

inline constexpr uint32_t kTrapezoid = 0x40;
inline constexpr uint32_t kFastFill = 0x08;
inline constexpr uint32_t kSubPixel = 0x10000;
inline constexpr uint32_t kFog = 0x4000;
inline constexpr uint32_t kAreaStipple = 1;

// FBReadMode bits.
inline constexpr uint32_t kReadSource = 0x200, kReadDest = 0x400, kPacked = 0x80000;

// 16.16, rounded down.
inline uint32_t Fixed(double value) {
    return static_cast<uint32_t>(static_cast<int64_t>(std::floor(value * 65536.0)));
}

// FBReadPixel codes.
inline constexpr uint32_t k8Bits = 0, k16Bits = 1, k32Bits = 2, k24Bits = 4;

inline board::Config SmallConfig(board::Chip chip = board::Chip::Permedia) {
    board::Config config;
    config.chip = chip;
    config.frameBufferBytes = 1u << 20;
    config.localBufferBytes = 1u << 18;
    return config;
}

template <class Kind>
class RigOf {
  public:
    // A rig writes without ever asking for room. A board that executes as words arrive may hold
    // the bus for it: that is no fault then, and without effect otherwise.
    explicit RigOf(const board::Config& config) : board(config) {
        if (config.timing.PipelineAtOnce()) {
            board.Write(reg::DisconnectControl, 1);
        }
    }

    // A Permedia with a 64 pixels wide 32-bit target at the start of memory, raw colour words, all
    // units off but the frame buffer's writes.
    RigOf() : RigOf(SmallConfig()) {
        Send({{tag::FBReadPixel, k32Bits}, {tag::FBReadMode, kPitch64}, {tag::FBWriteMode, 1}});
    }

    void Send(uint32_t tagNumber, uint32_t data) {
        const uint32_t words[] = {tagNumber, data};
        board.WriteFifo(words, 2);
    }
    void Send(std::initializer_list<std::pair<uint32_t, uint32_t>> pairs) {
        for (const auto& [tagNumber, data] : pairs) {
            Send(tagNumber, data);
        }
    }
    void Words(std::vector<uint32_t> words) { board.WriteFifo(words.data(), words.size()); }

    uint32_t Register(uint32_t tagNumber) { return board.Read(MappedOffset(tagNumber)); }

    // Trapezoid with upright edges: columns left to right - 1, rows top to bottom - 1.
    void Rectangle(int left, int top, int right, int bottom, uint32_t renderBits = 0) {
        Send({{tag::StartXDom, static_cast<uint32_t>(left) << 16},
              {tag::dXDom, 0},
              {tag::StartXSub, static_cast<uint32_t>(right) << 16},
              {tag::dXSub, 0},
              {tag::StartY, static_cast<uint32_t>(top) << 16},
              {tag::dY, 0x10000},
              {tag::Count, static_cast<uint32_t>(bottom - top)},
              {tag::Render, kTrapezoid | renderBits}});
    }

    // Element `index` of the frame buffer, counted in elements of T.
    template <typename T>
    T Element(size_t index) {
        T value{};
        std::memcpy(&value, board.FrameBuffer().data() + index * sizeof(T), sizeof(T));
        return value;
    }
    template <typename T>
    void SetElement(size_t index, T value) {
        std::memcpy(board.FrameBuffer().data() + index * sizeof(T), &value, sizeof(T));
    }
    // Pixel of the 64 pixels wide 32-bit target.
    uint32_t Pixel(int x, int y) { return Element<uint32_t>(static_cast<size_t>(y * 64 + x)); }
    void SetPixel(int x, int y, uint32_t value) {
        SetElement<uint32_t>(static_cast<size_t>(y * 64 + x), value);
    }

    Kind board;
};

class Rig : public RigOf<board::Board> {
  public:
    using RigOf::RigOf;
};

} // namespace rig
