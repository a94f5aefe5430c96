/* DriverData: one for each display, where all processes see it at one address, until the machine
   goes down. Fields that are said to be "filled" are the neighbours', who write them before
   DriverInit and at each mode set; all others start as zeros and are KORV32's. */
#ifndef KORVDATA_H
#define KORVDATA_H

#include "korvheap.h"
#include "korvtype.h"

typedef struct KorvDriverData {
    KORV_U32 RegisterBase;       /* filled: linear address of the aperture, mapped uncached */
    KORV_U32 FrameBufferBase;    /* filled: linear address of video memory */
    KORV_U32 LocalBufferBase;    /* filled: of the local buffer; without one, of video memory */
    KORV_U32 ScreenWidth;        /* filled: pixels */
    KORV_U32 ScreenHeight;       /* filled: lines */
    KORV_U32 ScissorWidth;       /* filled: pixels, for the screen-size word */
    KORV_U32 ScissorHeight;      /* filled: lines, for the same */
    KORV_U32 PixelSize;          /* filled: KORV_PIXELS_... */
    KORV_U32 PixelsPerWordShift; /* filled: 2 at 8 bits, 1 at 16, else 0 */
    KORV_U32 PixelsPerWordMask;  /* filled: 3 at 8 bits, 1 at 16, else 0 */
    KORV_U32 ModeKey;
    KORV_U32 ModeChanged; /* set to 1 after a mode set, the last of all; KORV32 clears it */
    KORV_U32 RectAlloc;
    KORV_U32 FlipLimitOn;
    KORV_U32 SubBuffersReady;
    KORV_U32 FlipSurfaceCount;
    KORV_U32 PartialProducts;
    KORV_U32 FBWriteMode;
    KORV_U32 FBDepth;
    KORV_U32 TargetLost;
    KORV_U32 ModeChangeCount;
    KORV_U32 DepthTable[6];
    KORV_U32 DepthRow24[2];
    KORV_U32 RenderSolid;
    KORV_U32 RenderCopy;
    KORV_U32 RenderClear;
    KORV_U32 RenderSpare;
    KORV_U32 LocalBufferShift;
    KORV_U32 PixelDepthBits; /* filled: bits per pixel */
    KORV_U32 ChipInfo;       /* filled: linear address of this display's KorvChipInfo */
    KORV_U32 Registers;
    KORV_U32 BoardFlags; /* filled: KORV_BOARD_... */
    KORV_U32 Stream[106];
    KORV_U32 Instance;
    KORV_U32 DDCallbacks[12];      /* DDHAL_DDCALLBACKS, for DirectDraw */
    KORV_U32 SurfaceCallbacks[16]; /* DDHAL_DDSURFACECALLBACKS, for DirectDraw */
    KORV_U32 D3DCallbacks;         /* linear address of D3DHAL_CALLBACKS, or 0: no Direct3D */
    KORV_U32 D3DGlobalData;        /* of D3DHAL_GLOBALDRIVERDATA, or 0 */
    KORV_U32 D3DTextureFormats;
    KORV_U32 D3DGlobalDataHandle;
    KORV_U32 D3DCallbacksHandle;
    KORV_U32 TextureFormats[405];
    KORV_U32 HeapActive; /* filled: not 0 if the heap has the memory behind the screen */
    KORV_U32 Win16Lock;
    KORV_U32 DriverLockKind;
    KorvVideoHeap Heap; /* filled: built anew around each mode set, as korvheap.h says */
    KORV_U32 NonLocalHeapLinear;
    KORV_U32 NonLocalHeapPhysical;
    KORV_U32 VideoSurfaceCount;
    KORV_U32 VideoBase[3];
    KORV_U32 VideoFlags;
    KORV_U32 VideoStartLine;
    KORV_U32 VideoHeight;
    KORV_U32 VideoWidth;
    KORV_U32 VideoCurrentBuffer;
    KORV_U32 VideoPortActive;
    KORV_U32 VideoNeedSample;
    KORV_U32 VideoLastLine;
    KORV_U32 VideoLastBuffer;
    KORV_U32 VideoLastTime;
    KORV_U32 VideoFailures;
    KORV_U32 VideoPortCreated;
    KORV_U32 VideoPortDesc[18];
    KORV_U32 HALInfo[115]; /* DDHALINFO: capabilities, for DirectDraw */
} KorvDriverData;

/* PixelSize */
#define KORV_PIXELS_8 0UL
#define KORV_PIXELS_16 1UL
#define KORV_PIXELS_32 2UL
#define KORV_PIXELS_24 4UL

/* BoardFlags */
#define KORV_BOARD_AGP 0x200UL

#endif
