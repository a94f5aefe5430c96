#pragma once
// What lies where in the memories, as the marks of a capture tell.
#include "stream/event.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace stream {

struct SurfaceLayout {
    std::string name;
    Memory memory = Memory::FrameBuffer;
    uint32_t offset = 0; // bytes; in Memory::Host a bus address
    int32_t pitch = 0;   // bytes a line
    uint32_t width = 0, height = 0;
    uint32_t bits = 0;                                // per pixel
    std::string format;                               // "rgb", "indexed", "depth" or "fourcc"
    uint32_t red = 0, green = 0, blue = 0, alpha = 0; // masks, of "rgb"
};

// Follows the marks of a stream.
class Surfaces {
  public:
    void Follow(const Mark& mark);

    // The surface of that name, or null: the first that was made, of several.
    const SurfaceLayout* Find(const std::string& name) const;
    // All that there are, in the order in which they were made.
    std::vector<const SurfaceLayout*> All() const;
    // What the monitor shows when the image at this offset of the frame buffer is on show; none
    // before there is a mode.
    std::optional<SurfaceLayout> Screen(uint32_t shownBase) const;
    // Names of what the latest picture was taken of, of the target of the context made last, and of
    // its Z buffer; empty: there is none.
    const std::string& Pictured() const { return pictured_; }
    const std::string& Target() const { return target_; }
    const std::string& ZBuffer() const { return zBuffer_; }
    // Of the latest picture, red, green and blue of an entry each; empty if it had none.
    const std::vector<uint8_t>& Palette() const { return palette_; }

  private:
    std::map<int64_t, SurfaceLayout> surfaces_; // by id
    std::optional<SurfaceLayout> screen_;
    std::string pictured_, target_, zBuffer_;
    std::vector<uint8_t> palette_;
};

// The pixels' format of a screen of so many bits.
SurfaceLayout ScreenLayout(uint32_t width, uint32_t height, uint32_t bits, uint32_t pitch);

} // namespace stream
