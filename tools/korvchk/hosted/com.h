#pragma once
// The part of DirectDraw's and Direct3D's interfaces that korvchk calls, for builds without
// Windows' headers. Only the names and the arguments are the published ones; a table's order is the
// compiler's.
#include "driver/platform/d3dhal.h"

using ULONG = uint32_t;
using HWND = struct HWND__*;
using DDCAPS = DDCORECAPS;

struct D3DPROCESSVERTICES {
    DWORD dwFlags;
    WORD wStart, wDest;
    DWORD dwCount, dwReserved;
};
struct D3DEXECUTEBUFFERDESC {
    DWORD dwSize, dwFlags, dwCaps, dwBufferSize;
    void* lpData;
};
struct D3DSTATUS {
    DWORD dwFlags, dwStatus;
    D3DRECT drExtent;
};
struct D3DEXECUTEDATA {
    DWORD dwSize, dwVertexOffset, dwVertexCount, dwInstructionOffset, dwInstructionLength,
        dwHVertexOffset;
    D3DSTATUS dsStatus;
};
struct D3DVIEWPORT {
    DWORD dwSize, dwX, dwY, dwWidth, dwHeight;
    D3DVALUE dvScaleX, dvScaleY, dvMaxX, dvMaxY, dvMinZ, dvMaxZ;
};

inline constexpr DWORD DDSCL_FULLSCREEN = 0x1, DDSCL_NORMAL = 0x8, DDSCL_EXCLUSIVE = 0x10;
inline constexpr DWORD D3DDEB_BUFSIZE = 0x1, D3DDEB_CAPS = 0x2;
inline constexpr DWORD D3DDEBCAPS_SYSTEMMEMORY = 0x1;
inline constexpr DWORD D3DPROCESSVERTICES_COPY = 2;
inline constexpr DWORD D3DEXECUTE_UNCLIPPED = 2;
inline constexpr HRESULT D3DENUMRET_OK = 1;
inline constexpr GUID IID_IDirect3D = {
    0x3BBA0080, 0x2421, 0x11CF, {0xA3, 0x1A, 0x00, 0xAA, 0x00, 0xB9, 0x33, 0x56}};

struct IUnknown {
    virtual HRESULT KORV_STDCALL QueryInterface(const GUID& id, void** out) = 0;
    virtual ULONG KORV_STDCALL Release() = 0;
};
struct IDirectDrawSurface : IUnknown {
    virtual HRESULT KORV_STDCALL Blt(RECT* to, IDirectDrawSurface* source, RECT* from, DWORD flags,
                                     DDBLTFX* fx) = 0;
    virtual HRESULT KORV_STDCALL Flip(IDirectDrawSurface* to, DWORD flags) = 0;
    virtual HRESULT KORV_STDCALL GetAttachedSurface(DDSCAPS* caps, IDirectDrawSurface** out) = 0;
    virtual HRESULT KORV_STDCALL Lock(RECT* rect, DDSURFACEDESC* desc, DWORD flags,
                                      HANDLE event) = 0;
    virtual HRESULT KORV_STDCALL Unlock(void* memory) = 0;
};
struct IDirectDraw : IUnknown {
    virtual HRESULT KORV_STDCALL CreateSurface(DDSURFACEDESC* desc, IDirectDrawSurface** out,
                                               IUnknown* outer) = 0;
    virtual HRESULT KORV_STDCALL GetCaps(DDCAPS* hardware, DDCAPS* emulation) = 0;
    virtual HRESULT KORV_STDCALL GetDisplayMode(DDSURFACEDESC* desc) = 0;
    virtual HRESULT KORV_STDCALL RestoreDisplayMode() = 0;
    virtual HRESULT KORV_STDCALL SetCooperativeLevel(HWND window, DWORD flags) = 0;
    virtual HRESULT KORV_STDCALL SetDisplayMode(DWORD width, DWORD height, DWORD bits) = 0;
};
struct IDirect3DViewport : IUnknown {
    virtual HRESULT KORV_STDCALL SetViewport(D3DVIEWPORT* viewport) = 0;
};
struct IDirect3DExecuteBuffer : IUnknown {
    virtual HRESULT KORV_STDCALL Lock(D3DEXECUTEBUFFERDESC* desc) = 0;
    virtual HRESULT KORV_STDCALL Unlock() = 0;
    virtual HRESULT KORV_STDCALL SetExecuteData(D3DEXECUTEDATA* data) = 0;
};
struct IDirect3DDevice : IUnknown {
    virtual HRESULT KORV_STDCALL CreateExecuteBuffer(D3DEXECUTEBUFFERDESC* desc,
                                                     IDirect3DExecuteBuffer** out,
                                                     IUnknown* outer) = 0;
    virtual HRESULT KORV_STDCALL Execute(IDirect3DExecuteBuffer* buffer,
                                         IDirect3DViewport* viewport, DWORD flags) = 0;
    virtual HRESULT KORV_STDCALL AddViewport(IDirect3DViewport* viewport) = 0;
    virtual HRESULT KORV_STDCALL BeginScene() = 0;
    virtual HRESULT KORV_STDCALL EndScene() = 0;
};
using LPD3DENUMDEVICESCALLBACK = HRESULT(KORV_STDCALL*)(GUID* id, char* description, char* name,
                                                        D3DDEVICEDESC* hardware,
                                                        D3DDEVICEDESC* emulation, void* context);
struct IDirect3D : IUnknown {
    virtual HRESULT KORV_STDCALL EnumDevices(LPD3DENUMDEVICESCALLBACK callback, void* context) = 0;
    virtual HRESULT KORV_STDCALL CreateViewport(IDirect3DViewport** out, IUnknown* outer) = 0;
};
#define CALLBACK KORV_STDCALL
