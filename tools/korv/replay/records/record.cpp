#include "tools/korv/replay/records/record.h"

#include "driver/core/driverdata.h"
#include "host/driver_module.h"
#include "tools/korv/replay/records/fields.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>

namespace korv {

namespace {

constexpr const RecordType& (*kRecords[])() = {
    RecordOf<DriverData>,
    RecordOf<ChipInfo>,
    RecordOf<D3DHAL_GLOBALDRIVERDATA>,
    RecordOf<D3DHAL_CALLBACKS>,
    RecordOf<DDRAWI_DDRAWSURFACE_LCL>,
    RecordOf<DDRAWI_DDRAWSURFACE_GBL>,
    RecordOf<DDRAWI_DDRAWSURFACE_GBL_MORE>,
    RecordOf<PrivateSurfaceData>,
    RecordOf<D3DContext>,
    // In memory of the script's own, for exports.
    RecordOf<HeapRequest>,
    RecordOf<ServiceInfo>,
    RecordOf<ServiceDMABuffer>,
    RecordOf<ServiceRequest>,
    RecordOf<DebugHelpRequest>,
    RecordOf<DCISURFACEINFO>,
    RecordOf<RECT>,
    // For the video port.
    RecordOf<DDVIDEOPORTDESC>,
    RecordOf<DDVIDEOPORTCONNECT>,
    RecordOf<DDVIDEOPORTINFO>,
    RecordOf<DDRAWI_DDVIDEOPORT_LCL>,
    RecordOf<DDPIXELFORMAT>,
};

// A table that the driver hands out on request; empty if it doesn't.
template <class Table>
Table Extension(DriverData* driver, const GUID& guid) {
    Table table{};
    if (driver->HALInfo.GetDriverInfo == nullptr) {
        return table;
    }
    DDHAL_GETDRIVERINFODATA data{};
    data.dwSize = sizeof(data);
    data.guidInfo = guid;
    data.dwExpectedSize = sizeof(table);
    data.lpvData = &table;
    data.dwContext = reinterpret_cast<uintptr_t>(driver);
    const host::DriverCall call;
    driver->HALInfo.GetDriverInfo(&data);
    return table;
}

// An entry of the video port set, which no table of the driver holds.
template <auto member>
void* VideoEntry(DriverData*) {
    const VideoPortEntries* const entries = host::TheDriverModule().videoPort;
    return entries != nullptr ? reinterpret_cast<void*>(entries->*member) : nullptr;
}

#define ENTRY(table, member, record)                                                               \
    {                                                                                              \
#member, RecordOf < record>,                                                               \
            [](DriverData * driver) { return reinterpret_cast<void*>(driver->table.member); }      \
    }
#define ENTRY_3D(member, record)                                                                   \
    {                                                                                              \
#member, RecordOf<record>, [](DriverData* driver) {                                        \
            return driver->D3DCallbacks != nullptr                                                 \
                       ? reinterpret_cast<void*>(driver->D3DCallbacks->member)                     \
                       : nullptr;                                                                  \
        }       \
    }

#define ENTRY_VIDEO(member, record)                                                                \
    { #member, RecordOf < record>, VideoEntry < &VideoPortEntries::member> }

constexpr CallbackType kCallbacks[] = {
    ENTRY(DDCallbacks, CreateSurface, DDHAL_CREATESURFACEDATA),
    ENTRY(DDCallbacks, CanCreateSurface, DDHAL_CANCREATESURFACEDATA),
    ENTRY(DDCallbacks, WaitForVerticalBlank, DDHAL_WAITFORVERTICALBLANKDATA),
    ENTRY(DDCallbacks, GetScanLine, DDHAL_GETSCANLINEDATA),
    ENTRY(SurfaceCallbacks, DestroySurface, DDHAL_DESTROYSURFACEDATA),
    ENTRY(SurfaceCallbacks, Flip, DDHAL_FLIPDATA),
    ENTRY(SurfaceCallbacks, Lock, DDHAL_LOCKDATA),
    ENTRY(SurfaceCallbacks, Unlock, DDHAL_UNLOCKDATA),
    ENTRY(SurfaceCallbacks, Blt, DDHAL_BLTDATA),
    ENTRY(SurfaceCallbacks, SetColorKey, DDHAL_SETCOLORKEYDATA),
    ENTRY(SurfaceCallbacks, GetBltStatus, DDHAL_GETBLTSTATUSDATA),
    ENTRY(SurfaceCallbacks, GetFlipStatus, DDHAL_GETFLIPSTATUSDATA),
    ENTRY_3D(ContextCreate, D3DHAL_CONTEXTCREATEDATA),
    ENTRY_3D(ContextDestroy, D3DHAL_CONTEXTDESTROYDATA),
    ENTRY_3D(ContextDestroyAll, D3DHAL_CONTEXTDESTROYALLDATA),
    ENTRY_3D(SceneCapture, D3DHAL_SCENECAPTUREDATA),
    ENTRY_3D(RenderState, D3DHAL_RENDERSTATEDATA),
    ENTRY_3D(RenderPrimitive, D3DHAL_RENDERPRIMITIVEDATA),
    ENTRY_3D(TextureCreate, D3DHAL_TEXTURECREATEDATA),
    ENTRY_3D(TextureDestroy, D3DHAL_TEXTUREDESTROYDATA),
    ENTRY_3D(TextureSwap, D3DHAL_TEXTURESWAPDATA),
    ENTRY_3D(TextureGetSurf, D3DHAL_TEXTUREGETSURFDATA),
    ENTRY_VIDEO(CanCreateVideoPort, DDHAL_CANCREATEVPORTDATA),
    ENTRY_VIDEO(CreateVideoPort, DDHAL_CREATEVPORTDATA),
    ENTRY_VIDEO(DestroyVideoPort, DDHAL_DESTROYVPORTDATA),
    ENTRY_VIDEO(FlipVideoPort, DDHAL_FLIPVPORTDATA),
    ENTRY_VIDEO(GetVideoPortBandwidth, DDHAL_GETVPORTBANDWIDTHDATA),
    ENTRY_VIDEO(GetVideoPortInputFormats, DDHAL_GETVPORTINPUTFORMATDATA),
    ENTRY_VIDEO(GetVideoPortOutputFormats, DDHAL_GETVPORTOUTPUTFORMATDATA),
    ENTRY_VIDEO(GetVideoPortField, DDHAL_GETVPORTFIELDDATA),
    ENTRY_VIDEO(GetVideoPortLine, DDHAL_GETVPORTLINEDATA),
    ENTRY_VIDEO(GetVideoPortConnectInfo, DDHAL_GETVPORTCONNECTDATA),
    ENTRY_VIDEO(GetVideoPortFlipStatus, DDHAL_GETVPORTFLIPSTATUSDATA),
    ENTRY_VIDEO(UpdateVideoPort, DDHAL_UPDATEVPORTDATA),
    ENTRY_VIDEO(WaitForVideoPortSync, DDHAL_WAITFORVPORTSYNCDATA),
    ENTRY_VIDEO(GetVideoSignalStatus, DDHAL_GETVPORTSIGNALDATA),
    ENTRY_VIDEO(UpdateOverlay, DDHAL_UPDATEOVERLAYDATA),
    {"GetHeapAlignment", RecordOf<DDHAL_GETHEAPALIGNMENTDATA>,
     [](DriverData* driver) {
         return reinterpret_cast<void*>(
             Extension<DDHAL_DDMISCELLANEOUSCALLBACKS>(driver, GUID_MiscellaneousCallbacks)
                 .GetHeapAlignment);
     }},
    {"GetAvailDriverMemory", RecordOf<DDHAL_GETAVAILDRIVERMEMORYDATA>,
     [](DriverData* driver) {
         return reinterpret_cast<void*>(
             Extension<DDHAL_DDMISCELLANEOUSCALLBACKS>(driver, GUID_MiscellaneousCallbacks)
                 .GetAvailDriverMemory);
     }},
    {"UpdateNonLocalHeap", RecordOf<DDHAL_UPDATENONLOCALHEAPDATA>,
     [](DriverData* driver) {
         return reinterpret_cast<void*>(
             Extension<DDHAL_DDMISCELLANEOUSCALLBACKS>(driver, GUID_MiscellaneousCallbacks)
                 .UpdateNonLocalHeap);
     }},
    {"SyncSurfaceData", RecordOf<DDHAL_SYNCSURFACEDATA>,
     [](DriverData* driver) {
         return reinterpret_cast<void*>(
             Extension<DDHAL_DDKERNELCALLBACKS>(driver, GUID_KernelCallbacks).SyncSurfaceData);
     }},
    {"SyncVideoPortData", RecordOf<DDHAL_SYNCVIDEOPORTDATA>,
     [](DriverData* driver) {
         return reinterpret_cast<void*>(
             Extension<DDHAL_DDKERNELCALLBACKS>(driver, GUID_KernelCallbacks).SyncVideoPortData);
     }},
};

#undef ENTRY
#undef ENTRY_3D
#undef ENTRY_VIDEO

// Takes "name" or "name[index]" off the front of a path.
struct Step {
    std::string_view name;
    std::optional<uint32_t> index;
};
std::optional<Step> TakeStep(std::string_view& path) {
    const size_t dot = path.find('.');
    std::string_view part = path.substr(0, dot);
    path.remove_prefix(dot == std::string_view::npos ? path.size() : dot + 1);
    const size_t bracket = part.find('[');
    Step step{part.substr(0, bracket), {}};
    if (bracket != std::string_view::npos) {
        if (part.back() != ']') {
            return {};
        }
        uint32_t index = 0;
        const char *first = part.data() + bracket + 1, *last = part.data() + part.size() - 1;
        const auto parsed = std::from_chars(first, last, index);
        if (parsed.ec != std::errc() || parsed.ptr != last) {
            return {};
        }
        step.index = index;
    }
    return step;
}

} // namespace

const RecordType* FindRecord(std::string_view name) {
    for (const auto record : kRecords) {
        if (record().name == name) {
            return &record();
        }
    }
    return nullptr;
}

std::optional<FieldPlace> FindField(const RecordType& type, std::string_view path) {
    const RecordType* record = &type;
    uint32_t offset = 0;
    while (record != nullptr && !path.empty()) {
        const auto step = TakeStep(path);
        if (!step) {
            return {};
        }
        const auto field = std::ranges::find_if(
            record->fields, [&](const RecordField& one) { return one.name == step->name; });
        if (field == record->fields.end() || step->index.has_value() != (field->count != 0) ||
            step->index.value_or(0) >= std::max(field->count, 1u)) {
            return {};
        }
        offset += field->offset + step->index.value_or(0) * field->stride;
        if (field->record == nullptr) {
            return path.empty() ? std::optional(FieldPlace{offset, field->kind}) : std::nullopt;
        }
        record = &field->record();
    }
    return {};
}

namespace {

uint32_t BytesOf(FieldKind kind) {
    return kind == FieldKind::Word8 ? 1 : kind == FieldKind::Word16 ? 2 : 4;
}

} // namespace

uint32_t ReadField(const void* record, const FieldPlace& place) {
    uint32_t bits = 0;
    std::memcpy(&bits, static_cast<const uint8_t*>(record) + place.offset, BytesOf(place.kind));
    return bits;
}

void WriteField(void* record, const FieldPlace& place, uint32_t bits) {
    std::memcpy(static_cast<uint8_t*>(record) + place.offset, &bits, BytesOf(place.kind));
}

const CallbackType* FindCallback(std::string_view name) {
    const auto found = std::ranges::find(kCallbacks, name, &CallbackType::name);
    return found == std::end(kCallbacks) ? nullptr : found;
}

} // namespace korv
