#include "host/observe/call_fields.h"

#include <string_view>

namespace host {

namespace {

constexpr struct {
    std::string_view record; // without what stands around all of them
    const char* callback;
} kCallNames[] = {
    {"BLT", "Blt"},
    {"CANCREATESURFACE", "CanCreateSurface"},
    {"CANCREATEVPORT", "CanCreateVideoPort"},
    {"CLEAR", "Clear"},
    {"CONTEXTCREATE", "ContextCreate"},
    {"CONTEXTDESTROYALL", "ContextDestroyAll"},
    {"CONTEXTDESTROY", "ContextDestroy"},
    {"CREATEPALETTE", "CreatePalette"},
    {"CREATESURFACE", "CreateSurface"},
    {"CREATEVPORT", "CreateVideoPort"},
    {"DESTROYDRIVER", "DestroyDriver"},
    {"DESTROYSURFACE", "DestroySurface"},
    {"DESTROYVPORT", "DestroyVideoPort"},
    {"DRVSETCOLORKEY", "SetColorKey"},
    {"FLIP", "Flip"},
    {"FLIPTOGDISURFACE", "FlipToGDISurface"},
    {"FLIPVPORT", "FlipVideoPort"},
    {"GETAVAILDRIVERMEMORY", "GetAvailDriverMemory"},
    {"GETBLTSTATUS", "GetBltStatus"},
    {"GETDRIVERINFO", "GetDriverInfo"},
    {"GETFLIPSTATUS", "GetFlipStatus"},
    {"GETHEAPALIGNMENT", "GetHeapAlignment"},
    {"GETSCANLINE", "GetScanLine"},
    {"GETVPORTFIELD", "GetVideoField"},
    {"GETVPORTLINE", "GetVideoLine"},
    {"LOCK", "Lock"},
    {"RENDERPRIMITIVE", "RenderPrimitive"},
    {"RENDERSTATE", "RenderState"},
    {"SCENECAPTURE", "SceneCapture"},
    {"SETEXCLUSIVEMODE", "SetExclusiveMode"},
    {"TEXTURECREATE", "TextureCreate"},
    {"TEXTUREDESTROY", "TextureDestroy"},
    {"TEXTUREGETSURF", "TextureGetSurf"},
    {"TEXTURESWAP", "TextureSwap"},
    {"UNLOCK", "Unlock"},
    {"UPDATENONLOCALHEAP", "UpdateNonLocalHeap"},
    {"UPDATEVPORT", "UpdateVideoPort"},
    {"WAITFORVERTICALBLANK", "WaitForVerticalBlank"},
};

void AddRectangle(CallFields& fields, const char* const (&names)[4], const RECT& rectangle) {
    const LONG sides[] = {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
    for (int i = 0; i < 4; ++i) {
        fields.push_back({names[i], int64_t{sides[i]}});
    }
}

const DDRAWI_DDRAWSURFACE_LCL* SurfaceOf(const DDRAWI_DDRAWSURFACE_INT* interface) {
    return interface != nullptr ? interface->lpLcl : nullptr;
}

} // namespace

const char* CallName(const char* record) {
    std::string_view name = record;
    const size_t start = name.find("HAL_");
    constexpr std::string_view kEnd = "DATA";
    if (start != std::string_view::npos && name.ends_with(kEnd)) {
        name.remove_suffix(kEnd.size());
        name.remove_prefix(start + 4);
        for (const auto& row : kCallNames) {
            if (row.record == name) {
                return row.callback;
            }
        }
    }
    return record;
}

CallFields FieldsOf(const DDHAL_BLTDATA& data) {
    CallFields fields{{"flags", int64_t{data.dwFlags}}};
    if ((data.dwFlags & DDBLT_ROP) != 0) {
        fields.push_back({"rop", int64_t{data.bltFX.dwROP}});
    }
    if ((data.dwFlags & (DDBLT_COLORFILL | DDBLT_DEPTHFILL)) != 0) {
        fields.push_back({"value", int64_t{data.bltFX.dwFillColor}});
    }
    fields.push_back({"dest", data.lpDDDestSurface});
    AddRectangle(fields, {"left", "top", "right", "bottom"}, data.rDest);
    if (data.lpDDSrcSurface != nullptr) {
        fields.push_back({"source", data.lpDDSrcSurface});
        AddRectangle(fields, {"sourceLeft", "sourceTop", "sourceRight", "sourceBottom"}, data.rSrc);
    }
    return fields;
}

CallFields FieldsOf(const DDHAL_FLIPDATA& data) {
    return {{"current", data.lpSurfCurr}, {"target", data.lpSurfTarg}};
}

CallFields FieldsOf(const DDHAL_LOCKDATA& data) {
    return {{"surface", data.lpDDSurface}, {"flags", int64_t{data.dwFlags}}};
}

CallFields FieldsOf(const DDHAL_CREATESURFACEDATA& data) {
    CallFields fields{{"surfaces", int64_t{data.dwSCnt}}};
    if (data.lpDDSurfaceDesc != nullptr) {
        fields.push_back({"width", int64_t{data.lpDDSurfaceDesc->dwWidth}});
        fields.push_back({"height", int64_t{data.lpDDSurfaceDesc->dwHeight}});
        fields.push_back({"caps", int64_t{data.lpDDSurfaceDesc->ddsCaps.dwCaps}});
    }
    return fields;
}

CallFields FieldsOf(const DDHAL_DESTROYSURFACEDATA& data) {
    return {{"surface", data.lpDDSurface}};
}

CallFields FieldsOf(const D3DHAL_CONTEXTCREATEDATA& data) {
    return {{"target", SurfaceOf(data.lpDDS)},
            {"zBuffer", SurfaceOf(data.lpDDSZ)},
            {"process", int64_t{data.dwPID}}};
}

CallFields FieldsOf(const D3DHAL_CONTEXTDESTROYDATA& data) {
    return {{"context", int64_t{data.dwhContext}}};
}

CallFields FieldsOf(const D3DHAL_RENDERSTATEDATA& data) {
    return {{"context", int64_t{data.dwhContext}}, {"states", int64_t{data.dwCount}}};
}

CallFields FieldsOf(const D3DHAL_RENDERPRIMITIVEDATA& data) {
    return {{"context", int64_t{data.dwhContext}},
            {"opcode", int64_t{data.diInstruction.bOpcode}},
            {"records", int64_t{data.diInstruction.wCount}}};
}

CallFields FieldsOf(const D3DHAL_SCENECAPTUREDATA& data) {
    return {{"context", int64_t{data.dwhContext}}, {"flag", int64_t{data.dwFlag}}};
}

CallFields FieldsOf(const D3DHAL_TEXTURECREATEDATA& data) {
    return {{"context", int64_t{data.dwhContext}}, {"surface", SurfaceOf(data.lpDDS)}};
}

CallFields FieldsOf(const D3DHAL_TEXTUREDESTROYDATA& data) {
    return {{"context", int64_t{data.dwhContext}}, {"texture", int64_t{data.dwHandle}}};
}

} // namespace host
