#pragma once
// The DirectDraw runtime of one display: it builds the records that the HAL reads and calls the
// driver through the callback tables that the driver hands out.
#include "host/ddraw/format.h"
#include "host/ddraw/results.h"
#include "host/ddraw/surface.h"
#include "host/ddraw/video_memory.h"
#include "host/display/display.h"

#include <memory>
#include <optional>
#include <vector>

namespace host {

// What an application asks for.
struct SurfaceRequest {
    uint32_t caps = DDSCAPS_OFFSCREENPLAIN; // DDSCAPS bits; memory bits may be left out
    uint32_t width = 0, height = 0;         // pixels; the primary takes the display's
    std::optional<DDPIXELFORMAT> format;    // none: the display's
    uint32_t backBuffers = 0;               // of a flipping primary
    uint32_t levels = 1;                    // of a texture with DDSCAPS_MIPMAP
    bool allowSystemMemory = false;         // fall back when video memory is full
};

// Answer of a HAL callback.
struct HalAnswer {
    bool handled;
    HRESULT result; // as the driver left it
    bool Done() const { return handled && result == DD_OK; }
};

struct BltOptions {
    std::optional<DDCOLORKEY> sourceKey;
    bool mirrorLeftRight = false, mirrorUpDown = false;
    bool async = false;
};

struct PaletteObject;

class DirectDraw {
  public:
    // The display must have been started.
    explicit DirectDraw(Display& display);
    ~DirectDraw(); // destroys all surfaces
    DirectDraw(const DirectDraw&) = delete;
    DirectDraw& operator=(const DirectDraw&) = delete;

    Display& TheDisplay() { return display_; }
    DDRAWI_DIRECTDRAW_GBL* Global() { return &global_; }
    DDRAWI_DIRECTDRAW_LCL* Local() { return &local_; }
    const DDHALINFO& HalInfo() const;

    // Creates a surface and its chain through CanCreateSurface and CreateSurface. On success *out
    // is the first of them, owned by this object. DDSCAPS_SYSTEMMEMORY surfaces never reach the
    // driver's memory.
    HRESULT CreateSurface(const SurfaceRequest& request, Surface** out);

    // The same for the usual kinds. They throw ResultError.
    Surface& CreatePrimary(uint32_t backBuffers = 0);
    Surface& CreateOffscreen(uint32_t width, uint32_t height,
                             std::optional<DDPIXELFORMAT> format = {});
    // A render target that is never shown.
    Surface& CreateTarget(uint32_t width, uint32_t height);
    // 16 bits deep on the Permedia family, 32 on Glint, unless told.
    Surface& CreateZBuffer(uint32_t width, uint32_t height, uint32_t bits = 0);
    Surface& CreateTexture(uint32_t width, uint32_t height, const DDPIXELFORMAT& format,
                           uint32_t levels = 1);
    Surface& CreateSystem(uint32_t width, uint32_t height, std::optional<DDPIXELFORMAT> format = {},
                          uint32_t caps = DDSCAPS_OFFSCREENPLAIN, uint32_t levels = 1);

    // Destroys a surface and its chain.
    void Destroy(Surface& surface);
    // Puts `attached` behind `surface` (a Z buffer on its target, for instance).
    void Attach(Surface& surface, Surface& attached);
    void Detach(Surface& surface, Surface& attached);
    // Gives an indexed surface a palette of 16 or 256 entries.
    void SetPalette(Surface& surface, const std::vector<PALETTEENTRY>& entries);
    // Sets the surface's source colour key.
    void SetSourceKey(Surface& surface, DDCOLORKEY key);

    // One call of the callback each. Rectangles are in pixels.
    HalAnswer Blt(Surface& dest, const RECT& destRect, Surface& source, const RECT& sourceRect,
                  const BltOptions& options = {});
    HalAnswer ColorFill(Surface& dest, const RECT& rect, uint32_t color);
    HalAnswer DepthFill(Surface& dest, const RECT& rect, uint32_t depth);
    HalAnswer RopFill(Surface& dest, const RECT& rect, uint32_t rop); // BLACKNESS, WHITENESS
    HalAnswer Flip(Surface& current, Surface& target); // on success the two swap memory
    HalAnswer Lock(Surface& surface, void** bytes, const RECT* rect = nullptr,
                   uint32_t flags = DDLOCK_WAIT);
    HalAnswer GetBltStatus(Surface& surface, uint32_t flags);
    HalAnswer GetFlipStatus(Surface& surface, uint32_t flags);
    HalAnswer WaitForVerticalBlank(uint32_t flags, bool* inBlank);
    HalAnswer GetScanLine(uint32_t* line);
    HalAnswer GetDriverInfo(const GUID& guid, void* data, uint32_t bytes, uint32_t* actual);

    // Repeats a call above while the driver is busy with a flip, and lets the board's clock run in
    // between. The last answer.
    template <class Call>
    HalAnswer Patiently(Call call) {
        HalAnswer answer = call();
        for (int i = 0; i < kPatience && answer.handled && answer.result == DDERR_WASSTILLDRAWING;
             ++i) {
            display_.Board().Advance(1000);
            answer = call();
        }
        return answer;
    }

    // Copies a system-memory surface into a texture level by level, through Blt, with patience.
    // Throws ResultError.
    void LoadTexture(Surface& texture, Surface& source);

    // Locks the surface with waiting, again and again while the driver is busy with a flip, and
    // lets the board's clock run in between. Afterwards all words sent have been executed.
    void Finish(Surface& surface);

    // Gives the machine `bytes` of AGP memory for textures, and tells the driver. False if the
    // driver takes none. Once.
    bool EnableAgp(uint32_t bytes);
    // That memory; empty while there is none.
    std::span<const uint8_t> AgpMemory() const;

    // Changes the display's mode. Surfaces in video memory are given up and lost, and with another
    // number of bits a pixel those of the display's format in memory of the host, too; the primary
    // stays, with the new size. Throws as Display::ChangeMode does.
    void ChangeMode(uint32_t width, uint32_t height, uint32_t bits);

    const std::vector<std::unique_ptr<Surface>>& Surfaces() const { return surfaces_; }

  private:
    // A surface that is never free within this many milliseconds is a fault of somebody's.
    static constexpr int kPatience = 10000;

    std::unique_ptr<Surface> NewSurface(const SurfaceRequest& request, uint32_t level);
    std::vector<std::unique_ptr<Surface>> NewList(const SurfaceRequest& request);
    HRESULT CreateInDriver(const SurfaceRequest& request,
                           std::vector<std::unique_ptr<Surface>>& list);
    HRESULT GiveMemory(Surface& surface, bool handled);
    void GiveSystemMemory(std::vector<std::unique_ptr<Surface>>& list);
    void FreeMemory(Surface& surface);
    void DestroyInDriver(Surface& surface);
    HalAnswer Fill(Surface& dest, const RECT& rect, uint32_t flags, const DDBLTFX& fx);
    HalAnswer CallBlt(DDHAL_BLTDATA& data);
    bool IsDisplayFormat(const DDPIXELFORMAT& format) const;
    uint32_t FlipAlignment() const;
    void FillMode();

    Display& display_;
    DDRAWI_DIRECTDRAW_GBL global_{};
    DDRAWI_DIRECTDRAW_LCL local_{};
    DDRAWI_DIRECTDRAW_INT interface_{};
    std::vector<VIDMEM> heaps_;
    RectangleMemory frameBuffer_;
    LinearMemory localBuffer_;
    LinearMemory agp_;
    std::vector<std::unique_ptr<Surface>> surfaces_;
    std::vector<std::unique_ptr<PaletteObject>> palettes_;
};

} // namespace host
