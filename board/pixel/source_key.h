#pragma once
// The colour key of copies on MX: source pixels inside the bounds are not copied.
#include "board/texture/chroma_key.h"
#include "board/values/fault_counts.h"
#include "board/values/format.h"
#include "board/values/registers.h"

#include <cstdint>

namespace board {

struct SourceKey {
    bool enabled;
    bool indices; // pixels are indices, compared in the bounds' red
    PixelFormat format;
    ChromaKey bounds;

    bool Rejects(uint32_t pixel) const {
        return enabled && bounds.Hits(indices ? Colour{static_cast<int32_t>(pixel), 0, 0, 0}
                                              : RawFields(format, pixel));
    }

  private:
    // The fields as they are, not widened: so are the bounds.
    static constexpr Colour RawFields(const PixelFormat& format, uint32_t pixel) {
        const auto field = [pixel](ChannelBits bits) {
            return static_cast<int32_t>(pixel >> bits.shift & ((1u << bits.width) - 1));
        };
        return {field(format.red), field(format.green), field(format.blue), field(format.alpha)};
    }
};

// The key in ChromaTestMode for pixels of `bytes` bytes. Nothing names their format, so it is the
// display's: 8:8:8:8, 1:5:5:5, or an index. Bytes compared with bounds that have an alpha, which
// indices have not, are 3:3:2.
SourceKey DecodeSourceKey(const RegisterFile& registers, uint32_t bytes, FaultCounts& faults);

} // namespace board
