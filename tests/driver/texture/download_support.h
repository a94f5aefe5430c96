#pragma once
// A download at work: a source in memory of its own, a destination in the rig's video memory, and
// the words that came out.
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace test {

using Bytes = std::vector<uint8_t>;
using Download = void (*)(DriverData*, PrivateSurfaceData*, DDRAWI_DDRAWSURFACE_LCL*, RECTL*,
                          DDRAWI_DDRAWSURFACE_LCL*, RECTL*);

// Data in hold bursts of at most 64 words.
inline Words Runs(uint32_t tagNumber, const Words& data) {
    Words words;
    for (size_t i = 0; i != data.size(); ++i) {
        if (i % 64 == 0) {
            const size_t left = data.size() - i;
            words.push_back(left >= 64 ? 0x003F0000u | tagNumber
                                       : static_cast<uint32_t>(left - 1) << 16 | tagNumber);
        }
        words.push_back(data[i]);
    }
    return words;
}

// Bytes that tell where they come from: a fixed function of the index, no two near ones alike.
inline Bytes Pattern(size_t count) {
    Bytes bytes(count);
    for (size_t i = 0; i != count; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 37 + (i >> 8) * 11 + 5);
    }
    return bytes;
}

// The 32-bit word at a byte offset.
inline uint32_t WordAt(const Bytes& bytes, size_t offset) {
    return bytes.at(offset) | bytes.at(offset + 1) << 8 | bytes.at(offset + 2) << 16 |
           static_cast<uint32_t>(bytes.at(offset + 3)) << 24;
}

// `count` words from a byte offset on.
inline Words WordsAt(const Bytes& bytes, size_t offset, size_t count) {
    Words words;
    for (size_t i = 0; i != count; ++i) {
        words.push_back(WordAt(bytes, offset + 4 * i));
    }
    return words;
}

// A source of 16 lines.
inline constexpr int32_t kPitch = 1024; // bytes
inline const Bytes& SourceBytes() {
    static const Bytes bytes = Pattern(16 * kPitch);
    return bytes;
}

// Lines of `words` words for a register, from a byte offset of the source on.
inline Words Lines(uint32_t tagNumber, size_t offset, size_t words, size_t lines) {
    Words all;
    for (size_t line = 0; line != lines; ++line) {
        all = all + Runs(tagNumber, WordsAt(SourceBytes(), offset + line * kPitch, words));
    }
    return all;
}

struct Loading {
    explicit Loading(uint32_t deviceId, uint32_t bits = 16)
        : rig({.deviceId = deviceId, .bits = bits}) {
        rig.Ready();
        rig.driver->FBDepth = rig.driver->PixelSize;
        source.record.extension = &source.extension;
        source.local.lpGbl = &source.Global();
        source.local.ddsCaps.dwCaps = DDSCAPS_SYSTEMMEMORY;
        source.Global().lpDD = &rig.directDraw;
    }

    void SetSource(Bytes bytes, int32_t pitch) {
        bytes_ = std::move(bytes);
        source.Global().fpVidMem = reinterpret_cast<uint32_t>(bytes_.data());
        source.Global().lPitch = pitch;
    }

    // A destination at byte `offset` of the frame buffer.
    PrivateSurfaceData& SetDest(uint32_t pixelSize, int32_t pitch, uint32_t offset) {
        dest = &rig.MakeSurface(64, 64, DDSCAPS_TEXTURE, pixelSize, offset);
        dest->Global().lPitch = pitch;
        dest->priv.PPCode = 0x123;
        return dest->priv;
    }

    void Run(Download download, RECTL sourceRect, RECTL destRect) {
        const RECTL sourceBefore = sourceRect;
        const RECTL destBefore = destRect;
        download(rig.driver, &dest->priv, &source.local, &sourceRect, &dest->local, &destRect);
        EXPECT_TRUE(Same(sourceRect, sourceBefore));
        EXPECT_TRUE(Same(destRect, destBefore));
    }
    // The same rectangle on both sides.
    void Run(Download download, RECTL rect) { Run(download, rect, rect); }

    Words Sent() const { return rig.bus->FifoWords(); }

    static bool Same(const RECTL& a, const RECTL& b) {
        return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
    }

    // One space check, 1 to `control`, words without a register access between them, 0 to
    // `control`.
    void ExpectBracket(uint32_t control) const {
        const auto& events = rig.bus->events;
        ASSERT_GE(events.size(), 4u);
        EXPECT_EQ(events[0].kind, 'r');
        EXPECT_EQ(events[0].offset, 0x18u);
        EXPECT_EQ(events[1], (BusEvent{'w', control, 1}));
        for (size_t i = 2; i + 1 < events.size(); ++i) {
            ASSERT_EQ(events[i].kind, 'f') << i;
        }
        EXPECT_EQ(events.back(), (BusEvent{'w', control, 0}));
    }

    Rig rig;
    RigSurface source;
    RigSurface* dest = nullptr;

  private:
    Bytes bytes_;
};

} // namespace test
