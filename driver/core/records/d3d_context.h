#pragma once
// The record of a Direct3D context: the driver's whole picture of one application's rendering
// device.
#include "driver/core/stream.h"
#include "driver/platform/d3dhal.h"

#include <cstdint>

struct D3DContext;
struct DriverData;
struct TextureRecord;

// A renderer: one drawing instruction in, words in the current sub-buffer out.
//
// `records` is the instruction's first record (D3DTRIANGLE, D3DLINE or D3DPOINT); it advances by
// ins->bSize bytes for ins->wCount (at least 1) rounds. Indices into `vertices` are not checked.
// The vertices' sy may be rewritten to whole rows. Nothing is flushed.
using Renderer = void (*)(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);

// D3DContext.Magic.
inline constexpr uint32_t kContextMagic = 0xD3D00100;
// Repaired to kContextMagic on the delete paths.
inline constexpr uint32_t kContextMagicStale = 0xD3D00000;

inline constexpr uint32_t kContextSlots = 200; // slot 0 is never used
inline constexpr uint32_t kTextureBuckets = 256;
// A sub-buffer's fill limit at the start of a scene, words.
inline constexpr uint32_t kSceneFlushWords = 0x100;
// D3DContext.StippleIndex when no flat pattern is loaded.
inline constexpr uint32_t kNoStipplePattern = 16;

// D3DContext.RenderFlags.
enum RenderFlag : uint32_t {
    RF_GOURAUD = 0x0001,
    RF_ZENABLE = 0x0002,
    RF_SPECULAR = 0x0004,
    RF_FOG = 0x0008,
    RF_PERSPECTIVE = 0x0010,
    RF_TEXTURE = 0x0020,
    RF_BLEND = 0x0040,
    RF_MONO = 0x0080,
    RF_WRAPU = 0x0100,
    RF_WRAPV = 0x0200,
    RF_STIPPLEDALPHA = 0x0400,
    RF_ZWRITE = 0x0800,
    RF_LASTPIXEL = 0x1000,
    RF_COLORKEY = 0x2000,
    RF_MIPMAP = 0x4000,
};

// D3DContext.DirtyFlags: what must reach the chip before the next primitive.
enum DirtyFlag : uint32_t {
    DIRTY_RENDERERS = 0x01,
    DIRTY_BLEND = 0x02,
    DIRTY_Z = 0x04,
    DIRTY_TEXTURE = 0x08,
    DIRTY_TARGET = 0x10,
};

struct D3DContext {
    uint32_t Magic;
    uint32_t MemHandle;
    D3DContext* MemAddress;
    int32_t DMABufferHandle;
    CommandStream Stream;
    uint32_t AlphaBlendModeOut; // the word last sent to AlphaBlendMode
    uint32_t RenderFlags;
    uint32_t FillMode; // D3DFILL_*
    uint32_t FogColor; // chip order, red in the low byte

    // Copies of the chip's mode registers; never read back from the chip.
    struct RegisterCopies {
        uint32_t LBReadMode;
        uint32_t LBReadFormat; // also LBWriteFormat
        uint32_t LBWriteMode;
        uint32_t FBReadMode;
        uint32_t FBWriteMode;
        uint32_t DitherMode;
        uint32_t ColorDDAMode;
        uint32_t DepthMode;
        uint32_t StencilMode;
        uint32_t WindowMode;
        uint32_t AlphaTestMode;
        uint32_t AlphaBlendMode;
        uint32_t AlphaBlendModeKeyed; // in force while a colour key is active on MX
        uint32_t AlphaTestModeKeyed;
        uint32_t FogMode;
        uint32_t DeltaMode;
        uint32_t TextureColorMode;
        uint32_t GlintTextureAddressMode;
        uint32_t GlintTextureReadMode;
        uint32_t GlintTextureFormat;
        uint32_t GlintTextureFilterMode;
        uint32_t MXModeWord;
        uint32_t YUVMode;
        uint32_t TextureAddressMode;
        uint32_t TextureReadMode;
        uint32_t TextureDataFormat;
        uint32_t TextureMapFormat;
    } Copies;

    uint32_t ContextHandle; // own slot number
    DDRAWI_DDRAWSURFACE_LCL* RenderTargetSurface;
    DDRAWI_DDRAWSURFACE_LCL* ZBufferSurface; // or null
    Renderer TriangleRenderer;
    Renderer LineRenderer;
    Renderer PointRenderer;
    uint32_t PartialProduct0; // of the display pitch
    uint32_t PartialProduct1;
    uint32_t PartialProduct2;
    uint32_t PartialProductExtra;
    uint32_t BytesPerPixel; // of the display mode at set-up
    uint32_t ZVisibleMode;
    uint32_t UseDelta; // 1: vertices go through a setup unit
    uint32_t TraceEnabled;
    uint32_t SharedBuffers; // 1: the DMA buffer is not ours to free
    void (*HandleDirtyState)(DriverData* driver, D3DContext* ctx);
    uint32_t (*ProcessStates)(D3DContext* ctx, uint32_t count, const uint32_t* pairs);
    DriverData* Driver;
    uint32_t StippleEnabled;
    uint32_t SpecularEnabled;
    uint32_t DitherEnabled;
    uint32_t ColorKeyActive;
    uint32_t ForceCopyMode;
    uint32_t TextureValid;
    uint32_t RenderCommand;     // base word of Render
    uint32_t RenderStates[256]; // Permedia only
    uint32_t DirtyFlags;
    uint8_t StipplePattern[8];
    uint32_t TextureMagLinear;
    uint32_t TextureMinLinear;
    uint32_t CullMode; // D3DCULL_*
    uint32_t CullSignA;
    uint32_t CullSignB;
    uint32_t BlendForcesZeroAlpha;
    uint32_t OverrideMask[8]; // bit n - 1: state n is locked
    float TextureWidth;       // texels
    float TextureHeight;
    float TextureHeightScale; // size / 2048
    float TextureWidthScale;
    uint32_t TextureRepeatMaskU; // 2048 / size, less 1
    float TextureRepeatU;        // 2048 / size
    uint32_t TextureRepeatMaskV;
    float TextureRepeatV;
    uint32_t TextureHandle;
    TextureRecord* CurrentTexture;
    uint32_t WindowBaseColour; // last sent to FBPixelOffset
    uint32_t WindowBaseDepth;  // last sent to LBWindowBase
    uint32_t ProcessId;
    uint32_t StippleIndex;
    uint32_t ModeStamp; // DriverData.ModeChangeCount at last sight
    TextureRecord* TextureBuckets[kTextureBuckets];
    uint32_t NextTextureHandle;
};
static_assert(sizeof(D3DContext::RegisterCopies) == 27 * 4);

// The context's slot table, shared by all displays.
extern D3DContext* ContextSlots[kContextSlots];

// The record behind a handle, whatever its magic; null for an empty slot and for a handle outside 1
// to 199.
inline D3DContext* ContextOf(uint32_t handle) {
    return handle != 0 && handle < kContextSlots ? ContextSlots[handle] : nullptr;
}

// True for a context that has not ended; an address that has outlived its record is only compared.
inline bool IsListed(const D3DContext* ctx) {
    if (ctx != nullptr) {
        for (const D3DContext* listed : ContextSlots) {
            if (listed == ctx) {
                return true;
            }
        }
    }
    return false;
}

// The live context behind a handle, or null also for a wrong magic.
inline D3DContext* LiveContext(uint32_t handle) {
    D3DContext* ctx = ContextOf(handle);
    return ctx != nullptr && ctx->Magic == kContextMagic ? ctx : nullptr;
}
