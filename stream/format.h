#pragma once
// Numbers of the capture file, as docs/capture.md defines them.
#include <cstddef>
#include <cstdint>

namespace stream::format {

inline constexpr uint8_t kMagic[8] = {'K', 'O', 'R', 'V', 'C', 'A', 'P', 0x1A};
inline constexpr uint32_t kVersion = 1;
inline constexpr size_t kFileHeaderBytes = 16;

constexpr uint32_t ChunkType(const char (&name)[5]) {
    return uint32_t{static_cast<uint8_t>(name[0])} | uint32_t{static_cast<uint8_t>(name[1])} << 8 |
           uint32_t{static_cast<uint8_t>(name[2])} << 16 |
           uint32_t{static_cast<uint8_t>(name[3])} << 24;
}
inline constexpr uint32_t kBoard = ChunkType("BORD");
inline constexpr uint32_t kEvents = ChunkType("EVNT");
inline constexpr uint32_t kState = ChunkType("STAT");
inline constexpr uint32_t kIndex = ChunkType("INDX");
inline constexpr uint32_t kEnd = ChunkType("KEND");

inline constexpr size_t kChunkHeaderBytes = 24;
inline constexpr uint16_t kDeflated = 1; // chunk flag
inline constexpr size_t kEndPayloadBytes = 8;

// No chunk is larger, before it is compressed or behind.
inline constexpr uint32_t kMostChunkBytes = 1u << 20;
// A writer ends a chunk of events with the first one behind so many bytes.
inline constexpr size_t kUsualChunkBytes = 256u << 10;

inline constexpr uint32_t kMostMemoryBytes = 64u << 20;
inline constexpr uint32_t kMostStoreBytes = 64u << 10;
inline constexpr uint32_t kMostLinePixels = 1u << 16;
// In an event.
inline constexpr uint32_t kMostTicks = 1u << 20;
inline constexpr uint32_t kMostMicroseconds = 0xFFFFFFFF;

enum class Op : uint8_t {
    Read = 1,
    Write = 2,
    ReadTicked = 3,
    WriteTicked = 4,
    FifoWords = 5,
    FifoWordTicked = 6,
    DmaWords = 7,
    DmaFault = 8,
    Ticks = 9,
    Clock = 10,
    Units = 11,
    Interrupt = 12,
    InterruptEnd = 13,
    Timing = 14,
    VideoSource = 15,
    VideoUnplugged = 16,
    VideoLine = 17,
    Store = 18,
    HostMemory = 19,
    Mark = 32,
};
// From here on the length of what follows stands behind the code.
inline constexpr uint8_t kFirstSkippable = 32;

// Types of a mark's values.
enum class ValueType : uint8_t { Number = 0, Text = 1 };

} // namespace stream::format
