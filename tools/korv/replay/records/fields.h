#pragma once
// Making of field tables.
#include "driver/services/OpenGL.h"
#include "driver/services/services.h"
#include "driver/video/video.h"
#include "tools/korv/replay/records/record.h"

#include <type_traits>

namespace korv {

template <>
const RecordType& RecordOf<RECT>();
template <>
const RecordType& RecordOf<DDSCAPS>();
template <>
const RecordType& RecordOf<DDSCAPSEX>();
template <>
const RecordType& RecordOf<DDCOLORKEY>();
template <>
const RecordType& RecordOf<DDPIXELFORMAT>();
template <>
const RecordType& RecordOf<DDSURFACEDESC>();
template <>
const RecordType& RecordOf<DDBLTFX>();
template <>
const RecordType& RecordOf<DDOVERLAYFX>();
template <>
const RecordType& RecordOf<VIDMEMINFO>();
template <>
const RecordType& RecordOf<DDCORECAPS>();
template <>
const RecordType& RecordOf<DDHAL_DDCALLBACKS>();
template <>
const RecordType& RecordOf<DDHAL_DDSURFACECALLBACKS>();
template <>
const RecordType& RecordOf<DDHAL_DDMISCELLANEOUSCALLBACKS>();
template <>
const RecordType& RecordOf<DDHAL_DDKERNELCALLBACKS>();
template <>
const RecordType& RecordOf<DDHALINFO>();
template <>
const RecordType& RecordOf<DBLNODE>();
template <>
const RecordType& RecordOf<DDRAWI_DDRAWSURFACE_LCL>();
template <>
const RecordType& RecordOf<DDRAWI_DDRAWSURFACE_GBL>();
template <>
const RecordType& RecordOf<DDRAWI_DDRAWSURFACE_GBL_MORE>();
template <>
const RecordType& RecordOf<DDHAL_CREATESURFACEDATA>();
template <>
const RecordType& RecordOf<DDHAL_CANCREATESURFACEDATA>();
template <>
const RecordType& RecordOf<DDHAL_WAITFORVERTICALBLANKDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETSCANLINEDATA>();
template <>
const RecordType& RecordOf<DDHAL_DESTROYSURFACEDATA>();
template <>
const RecordType& RecordOf<DDHAL_FLIPDATA>();
template <>
const RecordType& RecordOf<DDHAL_LOCKDATA>();
template <>
const RecordType& RecordOf<DDHAL_UNLOCKDATA>();
template <>
const RecordType& RecordOf<DDHAL_BLTDATA>();
template <>
const RecordType& RecordOf<DDHAL_SETCOLORKEYDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETBLTSTATUSDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETFLIPSTATUSDATA>();
template <>
const RecordType& RecordOf<DDHAL_UPDATEOVERLAYDATA>();
template <>
const RecordType& RecordOf<SURFACEALIGNMENT::LINEAR>();
template <>
const RecordType& RecordOf<SURFACEALIGNMENT>();
template <>
const RecordType& RecordOf<HEAPALIGNMENT>();
template <>
const RecordType& RecordOf<DDHAL_GETHEAPALIGNMENTDATA>();
template <>
const RecordType& RecordOf<DDHAL_UPDATENONLOCALHEAPDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETAVAILDRIVERMEMORYDATA>();
template <>
const RecordType& RecordOf<DDHAL_SYNCSURFACEDATA>();
template <>
const RecordType& RecordOf<DDHAL_SYNCVIDEOPORTDATA>();
template <>
const RecordType& RecordOf<D3DINSTRUCTION>();
template <>
const RecordType& RecordOf<D3DTRANSFORMCAPS>();
template <>
const RecordType& RecordOf<D3DLIGHTINGCAPS>();
template <>
const RecordType& RecordOf<D3DPRIMCAPS>();
template <>
const RecordType& RecordOf<D3DDEVICEDESC>();
template <>
const RecordType& RecordOf<D3DHAL_GLOBALDRIVERDATA>();
template <>
const RecordType& RecordOf<D3DHAL_CONTEXTCREATEDATA>();
template <>
const RecordType& RecordOf<D3DHAL_CONTEXTDESTROYDATA>();
template <>
const RecordType& RecordOf<D3DHAL_CONTEXTDESTROYALLDATA>();
template <>
const RecordType& RecordOf<D3DHAL_SCENECAPTUREDATA>();
template <>
const RecordType& RecordOf<D3DHAL_RENDERSTATEDATA>();
template <>
const RecordType& RecordOf<D3DHAL_RENDERPRIMITIVEDATA>();
template <>
const RecordType& RecordOf<D3DHAL_TEXTURECREATEDATA>();
template <>
const RecordType& RecordOf<D3DHAL_TEXTUREDESTROYDATA>();
template <>
const RecordType& RecordOf<D3DHAL_TEXTURESWAPDATA>();
template <>
const RecordType& RecordOf<D3DHAL_TEXTUREGETSURFDATA>();
template <>
const RecordType& RecordOf<D3DHAL_CALLBACKS>();
template <>
const RecordType& RecordOf<D3DHAL_CALLBACKS2>();
template <>
const RecordType& RecordOf<GUID>();
template <>
const RecordType& RecordOf<DDVIDEOPORTCONNECT>();
template <>
const RecordType& RecordOf<DDVIDEOPORTDESC>();
template <>
const RecordType& RecordOf<DDVIDEOPORTINFO>();
template <>
const RecordType& RecordOf<DDRAWI_DDVIDEOPORT_LCL>();
template <>
const RecordType& RecordOf<DDHAL_CANCREATEVPORTDATA>();
template <>
const RecordType& RecordOf<DDHAL_CREATEVPORTDATA>();
template <>
const RecordType& RecordOf<DDHAL_DESTROYVPORTDATA>();
template <>
const RecordType& RecordOf<DDHAL_FLIPVPORTDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTBANDWIDTHDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTINPUTFORMATDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTOUTPUTFORMATDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTFIELDDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTLINEDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTCONNECTDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTFLIPSTATUSDATA>();
template <>
const RecordType& RecordOf<DDHAL_UPDATEVPORTDATA>();
template <>
const RecordType& RecordOf<DDHAL_WAITFORVPORTSYNCDATA>();
template <>
const RecordType& RecordOf<DDHAL_GETVPORTSIGNALDATA>();
template <>
const RecordType& RecordOf<SubBuffer>();
template <>
const RecordType& RecordOf<CommandStream>();
template <>
const RecordType& RecordOf<DepthRow>();
template <>
const RecordType& RecordOf<NodeSetHead>();
template <>
const RecordType& RecordOf<VideoHeap>();
template <>
const RecordType& RecordOf<ChipInfo>();
template <>
const RecordType& RecordOf<DriverData>();
template <>
const RecordType& RecordOf<PrivateSurfaceData>();
template <>
const RecordType& RecordOf<D3DContext::RegisterCopies>();
template <>
const RecordType& RecordOf<D3DContext>();
template <>
const RecordType& RecordOf<HeapRequest>();
template <>
const RecordType& RecordOf<ServiceInfo>();
template <>
const RecordType& RecordOf<ServiceDMABuffer>();
template <>
const RecordType& RecordOf<ServiceRequest>();
template <>
const RecordType& RecordOf<DebugHelpRequest>();
template <>
const RecordType& RecordOf<DCISURFACEINFO>();

// What a member holds, by its name where the type alone doesn't tell.
template <class T>
constexpr FieldKind KindOf(std::string_view name) {
    if (name == "ddRVal" || name == "ddrval") {
        return FieldKind::Result;
    }
    if (name == "dwhContext") {
        return FieldKind::Context;
    }
    if (name == "dwHandle" || name == "dwHandle1" || name == "dwHandle2") {
        return FieldKind::Texture;
    }
    if (name == "dwInstance") {
        return FieldKind::Driver;
    }
    if (name == "fpVidMem" || name == "fpGARTLin" || name == "fpLockPtr") {
        return FieldKind::Address;
    }
    if constexpr (std::is_same_v<T, DDRAWI_DIRECTDRAW_GBL*>) {
        return FieldKind::Global;
    } else if constexpr (std::is_same_v<T, DDRAWI_DIRECTDRAW_LCL*>) {
        return FieldKind::Local;
    } else if constexpr (std::is_same_v<T, DDRAWI_DDRAWSURFACE_LCL*>) {
        return FieldKind::SurfaceLocal;
    } else if constexpr (std::is_same_v<T, DDRAWI_DDRAWSURFACE_INT*>) {
        return FieldKind::SurfaceInterface;
    } else if constexpr (std::is_same_v<T, DDRAWI_DDRAWSURFACE_LCL**>) {
        return FieldKind::SurfaceList;
    } else if constexpr (std::is_same_v<T, DDRAWI_DDRAWSURFACE_INT**>) {
        return FieldKind::InterfaceList;
    } else if constexpr (std::is_same_v<T, DDSURFACEDESC*>) {
        return FieldKind::Description;
    } else if constexpr (std::is_same_v<T, void*> || std::is_same_v<T, uint32_t*> ||
                         std::is_same_v<T, uint8_t*> || std::is_same_v<T, RECT*>) {
        return FieldKind::Address;
    } else if constexpr (std::is_pointer_v<T>) {
        return FieldKind::Present;
    } else if constexpr (std::is_same_v<T, float>) {
        return FieldKind::Float;
    } else if constexpr (std::is_same_v<T, int32_t>) {
        return FieldKind::Signed;
    } else {
        return sizeof(T) == 1   ? FieldKind::Word8
               : sizeof(T) == 2 ? FieldKind::Word16
                                : FieldKind::Word;
    }
}

template <class Member>
constexpr RecordField MakeField(const char* name, uint32_t offset) {
    using Element = std::remove_cv_t<std::remove_all_extents_t<Member>>;
    constexpr uint32_t count = std::extent_v<Member>;
    RecordField field{name, offset, FieldKind::Word, nullptr, count, sizeof(Element)};
    if constexpr (std::is_class_v<Element>) {
        field.record = &RecordOf<Element>;
    } else {
        field.kind = KindOf<Element>(name);
    }
    return field;
}

} // namespace korv

#define KORV_FIELD(member) MakeField<decltype(R::member)>(#member, offsetof(R, member))
// A member whose type doesn't tell that it is an address.
#define KORV_ADDRESS(member)                                                                       \
    RecordField {                                                                                  \
#member, offsetof(R, member), FieldKind::Address, nullptr, 0, sizeof(R::member)            \
    }
#define KORV_RECORD(T, ...)                                                                        \
    template <>                                                                                    \
    const RecordType& RecordOf<T>() {                                                              \
        using R = T;                                                                               \
        static constexpr RecordField fields[] = {__VA_ARGS__};                                     \
        static constexpr RecordType type{#T, sizeof(R), fields};                                   \
        return type;                                                                               \
    }
