#pragma once
// The per-display record, the global switches, and the rules by which an entry finds its display.
// The record itself comes from the mini VDD and is never freed here.
#include "driver/core/chipinfo.h"
#include "driver/core/records/video_heap.h"
#include "driver/core/stream.h"
#include "driver/platform/d3dhal.h"
#include "driver/platform/ddhal.h"
#include "driver/platform/videoport.h"

#include <cstdint>

// Capacity of DriverData.TextureFormats.
inline constexpr uint32_t kMaxTextureFormats = 15;
// Buffers that the video port fills in turn.
inline constexpr uint32_t kMaxVideoBuffers = 3;

// A row of DepthTable: the screen stride and depth select at one depth code.
struct DepthRow {
    uint32_t word;   // partial products, for FBReadMode and LBReadMode
    uint32_t select; // FBModeSel
};

// Fields marked "theirs" are filled by the 16-bit display driver or the mini VDD and read here.
struct DriverData {
    ChipRegisters* RegisterBase; // theirs
    uint8_t* FrameBufferBase;    // theirs
    uint8_t* LocalBufferBase;    // theirs
    uint32_t ScreenWidth;        // theirs, pixels
    uint32_t ScreenHeight;       // theirs, lines
    uint32_t ScissorWidth;       // theirs
    uint32_t ScissorHeight;      // theirs
    uint32_t PixelSize;          // theirs, PixelSizeCode of the display
    uint32_t PixelsPerWordShift; // theirs
    uint32_t PixelsPerWordMask;  // theirs
    uint32_t ModeKey;
    uint32_t ModeChanged; // theirs to set, ours to clear
    uint32_t RectAlloc;   // 1: video memory is allocated in rectangles
    uint32_t FlipLimitOn; // at most two flipping surfaces
    uint32_t SubBuffersReady;
    uint32_t FlipSurfaceCount;
    uint32_t PartialProducts; // of the screen stride at the present depth
    uint32_t FBWriteMode;
    uint32_t FBDepth;         // depth code the chip is set to
    uint32_t TargetLost;      // the next primitive must aim its target again
    uint32_t ModeChangeCount; // +1 at each mode change
    DepthRow DepthTable[3];   // by depth code 0, 1, 2
    DepthRow DepthRow24;      // of depth code 4; its select is never filled
    uint32_t RenderSolid;     // Render words
    uint32_t RenderCopy;
    uint32_t RenderClear;
    uint32_t RenderSpare;
    uint32_t LocalBufferShift; // (address - LocalBufferBase) >> this is the local buffer offset
    uint32_t PixelDepthBits;   // theirs, bits per pixel of the display
    struct ChipInfo* ChipInfo; // theirs
    ChipRegisters* Registers;
    uint32_t BoardFlags; // theirs, BoardFlag bits
    CommandStream Stream;
    HINSTANCE Instance;
    DDHAL_DDCALLBACKS DDCallbacks;
    DDHAL_DDSURFACECALLBACKS SurfaceCallbacks;
    D3DHAL_CALLBACKS* D3DCallbacks;
    D3DHAL_GLOBALDRIVERDATA* D3DGlobalData;
    DDHAL_DDEXEBUFCALLBACKS* D3DTextureFormats; // third result of D3DHALCreateDriver, always null
    uint32_t D3DGlobalDataHandle;               // memory handles of the two blocks above
    uint32_t D3DCallbacksHandle;
    DDSURFACEDESC TextureFormats[kMaxTextureFormats];
    uint32_t HeapActive; // theirs
    uint32_t Win16Lock;
    uint32_t DriverLockKind;
    VideoHeap Heap;
    uint32_t NonLocalHeapLinear;
    uint32_t NonLocalHeapPhysical;
    uint32_t VideoSurfaceCount;           // of the video port: buffers in use, 1 to 3
    uint32_t VideoBase[kMaxVideoBuffers]; // their linear addresses
    uint32_t VideoFlags;                  // VideoFlag bits
    uint32_t VideoStartLine;
    uint32_t VideoHeight;        // lines of a field
    uint32_t VideoWidth;         // pixels
    uint32_t VideoCurrentBuffer; // number of the buffer handed out as current
    uint32_t VideoPortActive;
    uint32_t VideoNeedSample; // the watchdog takes a new sample at its next call
    uint32_t VideoLastLine;   // the sample
    uint32_t VideoLastBuffer;
    uint32_t VideoLastTime;
    uint32_t VideoFailures;        // samples in a row without progress
    uint32_t VideoPortCreated;     // 1 between create and destroy
    DDVIDEOPORTDESC VideoPortDesc; // as it was created
    DDHALINFO HALInfo;
};

// DriverData.BoardFlags.
enum BoardFlag : uint32_t {
    BoardOnAGP = 0x200,
};

// The switches of all displays.
struct DXGlobalsRecord {
    uint32_t PatchMode;
    uint32_t ZPatch;
    uint32_t NoVBlankWait;
    uint32_t FilterStretch;
    uint32_t AlwaysDither;
    uint32_t NoFlip;
    uint32_t MMXPresent;
    uint32_t AdvancedDebug;
    uint32_t FilterVideo;
    uint32_t AppStats;
    uint32_t ForceAGPTextures;
    HINSTANCE Instance;
    HANDLE Heap; // shared heap; null until the first display is up
};
static_assert(sizeof(DXGlobalsRecord) == 13 * 4);

// The depth row of a depth code, 24-bit's own included.
inline const DepthRow& DepthRowOf(const DriverData* driver, uint32_t depth) {
    return depth < 3 ? driver->DepthTable[depth] : driver->DepthRow24;
}

extern DXGlobalsRecord DXGlobals;
// The primary display, or null.
extern DriverData* pDriverData;
extern uint32_t D3DInitialised;
extern uint32_t bHALInitialisedOnce;

// Bytes per pixel (1, 2, 4) to shift.
inline constexpr uint32_t ShiftLookup[5] = {0, 0, 1, 0, 2};

// The display of a DirectDraw or Direct3D entry.
inline DriverData* DriverOf(const DDRAWI_DIRECTDRAW_GBL* global) {
    auto* driver = reinterpret_cast<DriverData*>(global->dwReserved1);
    return driver != nullptr ? driver : pDriverData;
}

// The display of a surface or blit entry, which looks at the third reserved word first.
inline DriverData* SurfaceDriverOf(const DDRAWI_DIRECTDRAW_GBL* global) {
    auto* driver = reinterpret_cast<DriverData*>(global->dwReserved3);
    return driver != nullptr ? driver : DriverOf(global);
}

// The display of an exported service: null stands for the primary.
inline DriverData* ServiceDriver(DriverData* driver) {
    return driver != nullptr ? driver : pDriverData;
}
