#pragma once
// A DirectDraw surface: the runtime's records of it and access to its bytes.
#include "driver/platform/ddhal.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace host {

class DirectDraw;

class Surface {
  public:
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    DDRAWI_DDRAWSURFACE_INT* Interface() { return &interface_; }
    DDRAWI_DDRAWSURFACE_LCL* Local() { return &local_; }
    DDRAWI_DDRAWSURFACE_GBL* Global() { return &block_.global; }
    const DDRAWI_DDRAWSURFACE_LCL* Local() const { return &local_; }
    const DDRAWI_DDRAWSURFACE_GBL* Global() const { return &block_.global; }
    DDRAWI_DDRAWSURFACE_GBL_MORE* GlobalMore() { return &globalMore_; }

    uint32_t Width() const { return block_.global.wWidth; }   // pixels
    uint32_t Height() const { return block_.global.wHeight; } // lines
    int32_t Pitch() const { return block_.global.lPitch; }    // bytes
    uint32_t Caps() const { return local_.ddsCaps.dwCaps; }
    RECT Whole() const { return {0, 0, static_cast<LONG>(Width()), static_cast<LONG>(Height())}; }
    // Own format, or the display's.
    const DDPIXELFORMAT& Format() const;
    uint32_t Bits() const; // per pixel

    // Memory of the surface as the processor sees it, patched or not. Nothing waits for the chip:
    // lock the surface, or finish the device, before reading.
    uint8_t* Bytes() { return reinterpret_cast<uint8_t*>(block_.global.fpVidMem); }
    const uint8_t* Bytes() const {
        return reinterpret_cast<const uint8_t*>(block_.global.fpVidMem);
    }
    uint8_t* Row(uint32_t y) { return Bytes() + static_cast<int32_t>(y) * Pitch(); }
    const uint8_t* Row(uint32_t y) const { return Bytes() + static_cast<int32_t>(y) * Pitch(); }

    // The pixel as its raw value, by the format's bit count (4, 8, 16, 24, 32).
    uint32_t Pixel(uint32_t x, uint32_t y) const;
    void SetPixel(uint32_t x, uint32_t y, uint32_t value);

    // A mode change took the memory away. Such a surface can only be destroyed.
    bool Lost() const { return (local_.dwFlags & DDRAWISURF_INVALID) != 0; }
    bool HasVideoMemory() const {
        return memory_ != Memory::System && memory_ != Memory::Agp && !Lost();
    }
    // The bytes of a surface in memory of the host; empty for others.
    std::span<const uint8_t> SystemMemory() const;
    // The surfaces of the chain behind this one: back buffers, or mip levels from 1 up.
    const std::vector<Surface*>& Chain() const { return chain_; }
    // The runtime flips between the two, which then swap their memory: they are of one chain, and
    // alike.
    bool FlipsWith(const Surface& other) const;
    // 16 or 256 entries, or null.
    const PALETTEENTRY* Palette() const;

  private:
    friend class DirectDraw;
    Surface();

    // A driver reads whole words, and so a little past the last line's end.
    static constexpr size_t kSlack = 16; // bytes

    // Who gave the memory.
    enum class Memory { Driver, FrameBuffer, LocalBuffer, Agp, System, Primary };

    // Strings the attachments together for the driver to walk.
    void LinkAttachments();

    // The runtime keeps the address of the extension in the word before the global record.
    struct GlobalBlock {
        DDRAWI_DDRAWSURFACE_GBL_MORE* more;
        DDRAWI_DDRAWSURFACE_GBL global;
    };

    DDRAWI_DDRAWSURFACE_INT interface_{};
    DDRAWI_DDRAWSURFACE_LCL local_{};
    DDRAWI_DDRAWSURFACE_MORE more_{};
    GlobalBlock block_{};
    DDRAWI_DDRAWSURFACE_GBL_MORE globalMore_{};
    std::vector<std::unique_ptr<ATTACHLIST>> attached_, attachedFrom_;
    std::vector<Surface*> chain_;
    std::vector<uint8_t> systemMemory_; // and the slack
    Memory memory_ = Memory::Driver;
    Surface* chainRoot_ = nullptr; // of a surface that is not the first of its chain
};

} // namespace host
