#include "tools/korv/replay/checks/record_checks.h"

#include "driver/services/OpenGL.h"
#include "driver/services/context.h"
#include "driver/services/services.h"
#include "driver/video/video.h"
#include "host/d3d/execute_buffer.h"
#include "host/inspect/contexts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace korv {

namespace {

// What an argument or a field must be.
enum class Need {
    Object,      // a surface, not null
    Room,        // memory of that many bytes
    RoomIfGiven, // the same, or null
    HardwareContext,
    HardwareContextOrNone,
    AtMost, // a number
};

struct Rule {
    std::string_view entry;
    std::string_view field;
    Need need;
    uint32_t amount; // bytes, or the largest number
};

[[noreturn]] void Refuse(std::string_view entry, std::string_view field, const std::string& what) {
    throw NotThereError(fmt::format("{}: {}: {}", entry, field, what));
}

void NeedRoom(Player& player, std::string_view entry, std::string_view field, uint32_t address,
              uint64_t bytes) {
    if (bytes == 0) {
        return;
    }
    if (bytes > ~0u || !player.Holds(address, static_cast<size_t>(bytes))) {
        Refuse(entry, field,
               fmt::format("expected memory of {} bytes, got {}", bytes,
                           player.DescribeAddress(address)));
    }
    if (address % 4 != 0) {
        Refuse(entry, field,
               fmt::format("expected a multiple of 4, got {}", player.DescribeAddress(address)));
    }
}

void NeedContext(const ChipInfo* chip, std::string_view entry, std::string_view field,
                 uint32_t id) {
    if (!host::HasHardwareContext(chip, id)) {
        Refuse(entry, field, fmt::format("there is no hardware context {}", id));
    }
}

void Apply(Player& player, const Rule& rule, DriverData* driver, uint32_t value) {
    switch (rule.need) {
    case Need::Object:
        if (value == 0) {
            Refuse(rule.entry, rule.field, "expected a surface, got null");
        }
        break;
    case Need::RoomIfGiven:
        if (value == 0) {
            break;
        }
        [[fallthrough]];
    case Need::Room:
        NeedRoom(player, rule.entry, rule.field, value, rule.amount);
        break;
    case Need::HardwareContextOrNone:
        if (value == kNoContext) {
            break;
        }
        [[fallthrough]];
    case Need::HardwareContext:
        NeedContext(driver->ChipInfo, rule.entry, rule.field, value);
        break;
    case Need::AtMost:
        if (value > rule.amount) {
            Refuse(rule.entry, rule.field,
                   fmt::format("{} is out of range: expected at most {}", value, rule.amount));
        }
        break;
    }
}

// --- exported functions ---

// The queue wraps before it runs over its entries.
constexpr uint32_t kMostClientSubBuffers = std::extent_v<decltype(ChipInfo::QueueAddress)> + 1;

constexpr Rule kArguments[] = {
    {"KORV_AllocateVideoMemory", "request", Need::Room, sizeof(HeapRequest)},
    {"KORV_CopyBlt", "rect", Need::Room, sizeof(RECT)},
    {"KORV_CreateContext", "subBuffers", Need::AtMost, kMostClientSubBuffers},
    {"KORV_DeleteContext", "id", Need::HardwareContext, 0},
    {"KORV_SwitchContext", "id", Need::HardwareContextOrNone, 0},
    {"KORV_StartDMA", "context", Need::HardwareContext, 0},
    {"KORV_GetDMABuffer", "out", Need::Room, sizeof(ServiceDMABuffer)},
    {"KORV_GetInfo", "info", Need::Room, sizeof(uint32_t)},
    {"KORV_GetDriverLock", "surface", Need::RoomIfGiven, sizeof(DCISURFACEINFO)},
    {"KORV_GetDriverLock", "rect", Need::RoomIfGiven, sizeof(RECT)},
    {"KORV_FreeDriverLock", "surface", Need::RoomIfGiven, sizeof(DCISURFACEINFO)},
    {"KORV_DebugHelp", "request", Need::Room, sizeof(DebugHelpRequest)},
};

// These can do without a display that has started.
constexpr std::string_view kEarlyExports[] = {"DriverInit", "KORV_Initialize", "KORV_DebugHelp",
                                              "KORV_Service", "KORV_AllocateVideoMemory"};

template <class Record>
const Record& At(uint32_t address) {
    return *reinterpret_cast<const Record*>(address);
}

void CheckInfo(Player& player, uint32_t info) {
    // Its first word is the caller's count of bytes; the latest form has them all.
    constexpr uint32_t kLeast = offsetof(ServiceInfo, ClientWord);
    const uint32_t size = At<uint32_t>(info);
    if (size >= kLeast) {
        NeedRoom(player, "KORV_GetInfo", "info", info,
                 std::min<uint32_t>(size, sizeof(ServiceInfo)));
    }
}

// Registers from `first` on in a block of the aperture, as pairs of number and value.
void CheckRegisters(Player& player, std::string_view entry, std::string_view countField,
                    uint32_t block, uint64_t first, uint64_t count, std::string_view outField,
                    uint32_t out) {
    constexpr uint32_t kRegisterBytes = 8;
    const uint64_t most = (reg::ApertureBytes - block) / kRegisterBytes;
    if (first + count > most) {
        Refuse(entry, countField,
               fmt::format("there are no {} registers from {} on: expected at most {}", count,
                           first, first < most ? most - first : 0));
    }
    NeedRoom(player, entry, outField, out, count * sizeof(NumberedWord));
}

void CheckDebugHelp(Player& player, DriverData* driver, uint32_t at) {
    constexpr std::string_view kEntry = "KORV_DebugHelp";
    constexpr uint32_t kUpperHalf = 0x400000; // bytes
    const auto& request = At<DebugHelpRequest>(at);
    const auto out = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(request.Out));
    if (request.Kind == DebugHelpRegisters) {
        if (request.ContextOrRegion != kNoContext) {
            NeedContext(driver->ChipInfo, kEntry, "ContextOrRegion", request.ContextOrRegion);
        }
        CheckRegisters(player, kEntry, "Count", reg::MappedRegisters, 0, request.Count, "Out", out);
        return;
    }
    if (request.Kind != DebugHelpMemory) {
        return;
    }
    const uint32_t region = request.ContextOrRegion;
    const bool frame = region < 2, whole = region == 4;
    const uint64_t offset =
        region < 4 ? region % 2 * kUpperHalf : (whole ? 0 : uint64_t{region} * 4);
    const uint64_t bytes = whole ? driver->ChipInfo->LocalBufferSize : uint64_t{request.Count} * 4;
    const uint8_t* base = frame ? driver->FrameBufferBase : driver->LocalBufferBase;
    const uint32_t from = AddressOf(base);
    if (bytes != 0 &&
        (offset + bytes > ~0u || !player.Holds(from, static_cast<size_t>(offset + bytes)))) {
        Refuse(kEntry, "Count",
               fmt::format("the {} buffer does not hold {} words from 0x{:X} on",
                           frame ? "frame" : "local", bytes / 4, offset));
    }
    NeedRoom(player, kEntry, "Out", out, bytes);
}

void CheckService(Player& player, DriverData* driver, std::span<const uint32_t> words) {
    constexpr std::string_view kEntry = "KORV_Service";
    const uint32_t code = words[0], at = words[1], buffer = words[2];
    const bool registers = code == ServiceCoreRegisters || code == ServiceVMIRegisters;
    if (registers || code == ServiceContexts || code == ServiceD3DContexts ||
        code == ServiceD3DContextState) {
        NeedRoom(player, kEntry, "request", at, sizeof(ServiceRequest));
    }
    switch (code) {
    case ServiceCoreRegisters:
    case ServiceVMIRegisters: {
        const auto& request = At<ServiceRequest>(at);
        if (request.Context != kNoContext) {
            NeedContext(driver->ChipInfo, kEntry, "Context", request.Context);
        }
        CheckRegisters(player, kEntry, "RegisterCount",
                       code == ServiceCoreRegisters ? reg::MappedRegisters : reg::VideoRegisters,
                       request.FirstRegister, request.RegisterCount, "buffer", buffer);
        break;
    }
    case ServiceContextNum:
    case ServiceD3DContextNum:
        NeedRoom(player, kEntry, "buffer", buffer, sizeof(uint32_t));
        break;
    // A count that is not the present one is refused, and nothing written.
    case ServiceContexts: {
        const uint32_t count = At<ServiceRequest>(at).CountOrHandle;
        NeedRoom(player, kEntry, "buffer", buffer,
                 count <= kContextsPerBlock ? count * sizeof(ContextEntry) : 0);
        break;
    }
    case ServiceD3DContexts: {
        const uint32_t count = At<ServiceRequest>(at).CountOrHandle;
        NeedRoom(player, kEntry, "buffer", buffer,
                 count < kContextSlots ? count * sizeof(D3DContextEntry) : 0);
        break;
    }
    case ServiceD3DContextState: {
        constexpr uint32_t kHalfBytes = 128 * 4;
        if (host::ContextRecord(driver->ChipInfo, At<ServiceRequest>(at).CountOrHandle)) {
            NeedRoom(player, kEntry, "buffer", buffer, kHalfBytes);
        }
        break;
    }
    default:
        break;
    }
}

// --- callbacks ---

constexpr uint32_t kConnections = 8; // what GetVideoPortConnectInfo tells

constexpr Rule kFields[] = {
    {"CanCreateSurface", "lpDDSurfaceDesc", Need::Room, sizeof(DDSURFACEDESC)},
    {"CreateSurface", "lpDDSurfaceDesc", Need::Room, sizeof(DDSURFACEDESC)},
    {"CreateSurface", "lplpSList", Need::Room, sizeof(uint32_t)},
    {"DestroySurface", "lpDDSurface", Need::Object, 0},
    {"Flip", "lpSurfCurr", Need::Object, 0},
    {"Flip", "lpSurfTarg", Need::Object, 0},
    {"Lock", "lpDDSurface", Need::Object, 0},
    {"Unlock", "lpDDSurface", Need::Object, 0},
    {"Blt", "lpDDDestSurface", Need::Object, 0},
    {"SetColorKey", "lpDDSurface", Need::Object, 0},
    {"GetBltStatus", "lpDDSurface", Need::Object, 0},
    {"GetFlipStatus", "lpDDSurface", Need::Object, 0},
    {"CanCreateVideoPort", "lpDDVideoPortDesc", Need::Room, sizeof(DDVIDEOPORTDESC)},
    {"CreateVideoPort", "lpDDVideoPortDesc", Need::Room, sizeof(DDVIDEOPORTDESC)},
    {"GetVideoPortInputFormats", "lpddpfFormat", Need::RoomIfGiven, sizeof(DDPIXELFORMAT)},
    {"GetVideoPortOutputFormats", "lpddpfInputFormat", Need::Room, sizeof(DDPIXELFORMAT)},
    {"GetVideoPortOutputFormats", "lpddpfOutputFormats", Need::RoomIfGiven, sizeof(DDPIXELFORMAT)},
    {"GetVideoPortConnectInfo", "lpConnect", Need::RoomIfGiven,
     kConnections * sizeof(DDVIDEOPORTCONNECT)},
};

void NeedRect(std::string_view field, const RECTL& rect, const host::Surface& surface) {
    const auto width = static_cast<LONG>(surface.Width()),
               height = static_cast<LONG>(surface.Height());
    if (rect.left < 0 || rect.top < 0 || rect.left > rect.right || rect.top > rect.bottom ||
        rect.right > width || rect.bottom > height) {
        Refuse("Blt", field,
               fmt::format("[{}, {}, {}, {}] leads out of a surface of {} by {}", rect.left,
                           rect.top, rect.right, rect.bottom, width, height));
    }
}

void CheckBlt(Player& player, const DDHAL_BLTDATA& data) {
    const host::Surface* dest = player.SurfaceAt(AddressOf(data.lpDDDestSurface));
    const host::Surface* source = player.SurfaceAt(AddressOf(data.lpDDSrcSurface));
    for (const auto& [surface, field] :
         {std::pair{dest, "lpDDDestSurface"}, std::pair{source, "lpDDSrcSurface"}}) {
        if (surface != nullptr && surface->Lost()) {
            Refuse("Blt", field, "the surface has lost its memory");
        }
    }
    if (dest != nullptr && source != nullptr && (data.dwFlags & DDBLT_ROP) != 0) {
        CheckCopy(player, *dest, data.rDest, *source, data.rSrc);
    }
}

// A port says whose it is, and the driver goes by that.
void CheckVideoPort(Player& player, std::string_view entry, uint32_t port) {
    if (port == 0) {
        return;
    }
    NeedRoom(player, entry, "lpVideoPort", port, sizeof(DDRAWI_DDVIDEOPORT_LCL));
    const uint32_t owner = AddressOf(At<DDRAWI_DDVIDEOPORT_LCL>(port).lpDD);
    if (owner != 0 && !player.IsLocalObject(owner)) {
        Refuse(entry, "lpVideoPort.lpDD",
               "expected a display, got " + player.DescribeObject(owner));
    }
}

void CheckVideoUpdate(Player& player, const DDHAL_UPDATEVPORTDATA& data) {
    constexpr std::string_view kEntry = "UpdateVideoPort";
    if (data.dwFlags != DDRAWI_VPORTSTART && data.dwFlags != DDRAWI_VPORTUPDATE) {
        return;
    }
    NeedRoom(player, kEntry, "lpVideoInfo", AddressOf(data.lpVideoInfo), sizeof(DDVIDEOPORTINFO));
    const bool listed = (data.lpVideoInfo->dwVPFlags & DDVP_AUTOFLIP) != 0;
    const uint32_t count =
        listed ? std::clamp<uint32_t>(data.dwNumAutoflip, 1, kMaxVideoBuffers) : 1;
    NeedRoom(player, kEntry, "lplpDDSurface", AddressOf(data.lplpDDSurface), count * 4);
    for (uint32_t i = 0; i < count; ++i) {
        if (data.lplpDDSurface[i] == nullptr) {
            Refuse(kEntry, fmt::format("lplpDDSurface[{}]", i), "expected a surface, got null");
        }
    }
}

// Where a surface's memory begins; null for none.
uint32_t MemoryOf(std::string_view entry, std::string_view field,
                  const DDRAWI_DDRAWSURFACE_INT* surface) {
    if (surface == nullptr) {
        Refuse(entry, field, "expected a surface, got null");
    }
    return surface->lpLcl->lpGbl->fpVidMem;
}

// `bytes` of an execute buffer from byte `offset` on.
const uint8_t* NeedBuffer(Player& player, std::string_view entry, std::string_view field,
                          const DDRAWI_DDRAWSURFACE_INT* buffer, uint32_t offset, uint64_t bytes) {
    const uint32_t start = MemoryOf(entry, field, buffer);
    if (offset + bytes > ~0u || !player.Holds(start, static_cast<size_t>(offset + bytes))) {
        Refuse(entry, field,
               fmt::format("the buffer does not hold {} bytes from {} on", bytes, offset));
    }
    if ((start + offset) % 4 != 0) {
        Refuse(entry, field,
               fmt::format("expected an offset that is a multiple of 4, got {}", offset));
    }
    return reinterpret_cast<const uint8_t*>(start) + offset;
}

bool IsLive(const DriverData* driver, uint32_t context) {
    return host::ContextRecord(driver->ChipInfo, context) != nullptr;
}

void CheckRenderState(Player& player, const DriverData* driver,
                      const D3DHAL_RENDERSTATEDATA& data) {
    constexpr uint32_t kStateBytes = 8;
    if (IsLive(driver, data.dwhContext) && data.dwCount != 0) {
        NeedBuffer(player, "RenderState", "lpExeBuf", data.lpExeBuf, data.dwOffset,
                   uint64_t{data.dwCount} * kStateBytes);
    }
}

void CheckRenderPrimitive(Player& player, const DriverData* driver,
                          const D3DHAL_RENDERPRIMITIVEDATA& data) {
    constexpr std::string_view kEntry = "RenderPrimitive";
    const uint32_t count = data.diInstruction.wCount;
    if (count == 0 || !IsLive(driver, data.dwhContext)) {
        return;
    }
    const uint32_t opcode = data.diInstruction.bOpcode;
    const uint32_t bytes = opcode == D3DOP_TRIANGLE ? sizeof(D3DTRIANGLE)
                           : opcode == D3DOP_LINE   ? sizeof(D3DLINE)
                           : opcode == D3DOP_POINT  ? sizeof(D3DPOINT)
                                                    : 0;
    if (bytes == 0) {
        return;
    }
    const uint32_t recordBytes = data.diInstruction.bSize;
    if (recordBytes < bytes || recordBytes % 2 != 0) {
        Refuse(kEntry, "diInstruction.bSize",
               fmt::format("expected an even number from {} on, got {}", bytes, recordBytes));
    }
    const uint32_t all = recordBytes * (count - 1) + bytes;
    const uint8_t* records =
        NeedBuffer(player, kEntry, "lpExeBuf", data.lpExeBuf, data.dwOffset, all);
    const uint32_t vertices = host::VerticesReached(data.diInstruction, {records, all}).value_or(0);
    NeedBuffer(player, kEntry, "lpTLBuf", data.lpTLBuf, data.dwTLOffset,
               uint64_t{vertices} * sizeof(D3DTLVERTEX));
}

} // namespace

void CheckCopy(Player& player, const host::Surface& dest, const RECTL& destRect,
               const host::Surface& source, const RECTL& sourceRect) {
    const bool fromSystem = (source.Caps() & DDSCAPS_SYSTEMMEMORY) != 0;
    const uint32_t bits = dest.Bits();
    if (!fromSystem && bits != 4) {
        return;
    }
    NeedRect("rSrc", sourceRect, source);
    NeedRect("rDest", destRect, dest);
    // The driver reads pixels of the size that they will have.
    const uint32_t readAs = std::max(bits, source.Bits());
    if (!player.HoldsPixels(source, sourceRect, readAs)) {
        Refuse(
            "Blt", "rSrc",
            fmt::format("the source ends before its last pixel, read as one of {} bits", readAs));
    }
    if (!fromSystem && !player.HoldsPixels(dest, destRect, bits)) {
        Refuse("Blt", "rDest", "not all pixels lie in memory");
    }
    const LONG width = sourceRect.right - sourceRect.left,
               height = sourceRect.bottom - sourceRect.top;
    if (fromSystem &&
        (destRect.right - destRect.left != width || destRect.bottom - destRect.top != height)) {
        Refuse("Blt", "rDest",
               fmt::format("what comes from system memory is not stretched: expected {} by {}, "
                           "got {} by {}",
                           width, height, destRect.right - destRect.left,
                           destRect.bottom - destRect.top));
    }
}

void CheckExport(Player& player, std::string_view entry, DriverData* driver,
                 std::span<const char* const> names, std::span<const uint32_t> words) {
    // The driver that the call reaches; none has started yet: null.
    DriverData* const reached = player.StartedDriver(driver);
    const bool early = std::ranges::find(kEarlyExports, entry) != std::end(kEarlyExports);
    if (reached == nullptr) {
        if (!early) {
            throw NotThereError(fmt::format("{}: no display has been started", entry));
        }
        return;
    }
    for (const Rule& rule : kArguments) {
        for (size_t i = 0; rule.entry == entry && i < names.size(); ++i) {
            if (rule.field == names[i]) {
                Apply(player, rule, reached, words[i]);
            }
        }
    }
    if (entry == "KORV_GetInfo") {
        CheckInfo(player, words[0]);
    } else if (entry == "KORV_DebugHelp") {
        CheckDebugHelp(player, reached, words[0]);
    } else if (entry == "KORV_Service") {
        CheckService(player, reached, words);
    }
}

void CheckCall(Player& player, const CallbackType& callback, DriverData* driver,
               const void* record) {
    const RecordType& type = callback.record();
    for (const RecordField& field : type.fields) {
        const bool system = field.kind == FieldKind::Global || field.kind == FieldKind::Local ||
                            field.kind == FieldKind::Driver;
        if (field.record == nullptr && system &&
            ReadField(record, {field.offset, field.kind}) == 0) {
            Refuse(callback.name, field.name, "expected a display, got null");
        }
        if (field.kind == FieldKind::SurfaceLocal || field.kind == FieldKind::SurfaceInterface) {
            const uint32_t surface = ReadField(record, {field.offset, field.kind});
            const DriverData* const home = player.DriverOfSurfaceAt(surface);
            if (home != nullptr && home != driver) {
                Refuse(callback.name, field.name,
                       fmt::format("{} is not of this display", player.DescribeObject(surface)));
            }
        }
    }
    for (const Rule& rule : kFields) {
        if (rule.entry == callback.name) {
            Apply(player, rule, driver, ReadField(record, *FindField(type, rule.field)));
        }
    }
    if (const auto port = FindField(type, "lpVideoPort")) {
        CheckVideoPort(player, callback.name, ReadField(record, *port));
    }
    if (callback.name == "Blt") {
        CheckBlt(player, *static_cast<const DDHAL_BLTDATA*>(record));
    } else if (callback.name == "UpdateVideoPort") {
        CheckVideoUpdate(player, *static_cast<const DDHAL_UPDATEVPORTDATA*>(record));
    } else if (callback.name == "RenderState") {
        CheckRenderState(player, driver, *static_cast<const D3DHAL_RENDERSTATEDATA*>(record));
    } else if (callback.name == "RenderPrimitive") {
        CheckRenderPrimitive(player, driver,
                             *static_cast<const D3DHAL_RENDERPRIMITIVEDATA*>(record));
    } else if (callback.name == "TextureCreate") {
        const auto& data = *static_cast<const D3DHAL_TEXTURECREATEDATA*>(record);
        if (IsLive(driver, data.dwhContext)) {
            MemoryOf("TextureCreate", "lpDDS", data.lpDDS);
        }
    }
}

} // namespace korv
