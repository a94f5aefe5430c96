#pragma once
// What the downloads of both chip families share: where a rectangle goes, and how its lines are
// sent.
#include "driver/core/records/private_surface.h"
#include "driver/core/rectangle.h"
#include "driver/core/source_clip.h"
#include "driver/texture/chunked_burst.h"

// Reserved for the state in front of the data, in bytes.
inline constexpr uint32_t kPatchedSetupBytes = 120;
inline constexpr uint32_t kPackedSetupBytes = 200;

// Bytes of the surface's start from the frame buffer's.
inline uint32_t FrameBufferOffset(const DriverData* driver, const DDRAWI_DDRAWSURFACE_LCL* dest) {
    return dest->lpGbl->fpVidMem - reinterpret_cast<uint32_t>(driver->FrameBufferBase);
}

// Start of `line` in the surface's memory.
inline const uint8_t* LineOf(const DDRAWI_DDRAWSURFACE_LCL* surface, int32_t line) {
    return reinterpret_cast<const uint8_t*>(surface->lpGbl->fpVidMem +
                                            static_cast<uint32_t>(line * surface->lpGbl->lPitch));
}

// Sends `words` words for each of `height` lines, `pitch` bytes apart; Source is made anew from
// each line's address.
template <class Source>
inline void SendLines(DriverData* driver, uint32_t tagNumber, const uint8_t* from, int32_t pitch,
                      int32_t height, int32_t words) {
    for (; height > 0; --height) {
        SendRuns(driver, tagNumber, words, Source(from));
        from += pitch;
    }
}

// Goes on behind the data. No space is reserved for the pairs there, three at most.
inline void ContinueUnreserved(DriverData* driver, StreamWriter<DriverData>& out) {
    constexpr uint32_t kTailWords = 3 * 2;
    driver->Stream.Guard.Allow(driver->Stream.WritePointer + kTailWords);
    out.Reload();
}
