#pragma once
// Memories as a probe is told that they are: nothing but what it is told is in them.
#include "board/values/probe.h"

#include <cstring>
#include <string>

namespace board {

class ShadowProbe final : public PixelProbe {
  public:
    explicit ShadowProbe(const Memories& start) : memories(start) {}

    void OnPixel(const PixelReport& pixel) override {
        ++pixels;
        Follow(pixel.colour);
        Follow(pixel.depth);
    }
    void OnCut(const CutPixels& run) override { cut += run.right - run.left; }

    Memories memories;
    int64_t pixels = 0, cut = 0;
    std::string wrong; // a report that does not go with what was told before

  private:
    void Follow(const PixelElement& element) {
        if (element.bytes == 0) {
            return;
        }
        MemoryBlock& memory = element.local ? memories.localBuffer : memories.frameBuffer;
        uint32_t here = 0;
        std::memcpy(&here, memory.data() + element.place, element.bytes);
        if (here != element.before || (!element.written && element.after != element.before)) {
            wrong = "a pixel was not what it is said to have been";
        }
        std::memcpy(memory.data() + element.place, &element.after, element.bytes);
    }
};

} // namespace board
