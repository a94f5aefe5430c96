#pragma once
// Direct3D contexts: how one comes to be and ends. Their record is in core/records.
#include "driver/core/driverdata.h"
#include "driver/core/records/d3d_context.h" // IWYU pragma: export
#include "driver/platform/d3dhal.h"

#include <cstdint>

// One live handle, listed when Direct3DHAL.AdvancedDebug is set.
struct D3DContextNode {
    uint32_t Handle;
    D3DContextNode* Next;
};
extern D3DContextNode* lpD3DContextList;

// Direct3D callbacks. Each returns 1; the result is in ddrval.
DWORD KORV_STDCALL CreateDirect3DContext(D3DHAL_CONTEXTCREATEDATA* data);
DWORD KORV_STDCALL DeleteDirect3DContext(D3DHAL_CONTEXTDESTROYDATA* data);
DWORD KORV_STDCALL DeleteBadProcess(D3DHAL_CONTEXTDESTROYALLDATA* data);
DWORD KORV_STDCALL AddDirect3DContext(D3DHAL_CONTEXTCREATEDATA* data);
DWORD KORV_STDCALL RemoveDirect3DContext(D3DHAL_CONTEXTDESTROYDATA* data);

// Gives back everything a context holds but its own record and slot.
void CleanDirect3DContext(D3DContext* ctx);

// The sub-buffers that Direct3DHAL.SubBuffers asks for on this board: 2 to 32.
uint32_t SubBufferCountFor(const ChipInfo* chip);
