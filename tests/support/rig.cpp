#include "tests/support/rig.h"

#include "driver/core/globals.h"
#include "driver/core/registers.h"
#include "driver/core/registry.h"
#include "driver/core/tags.h"
#include "driver/heap/linalloc.h"
#include "driver/platform/minivdd.h"
#include "host/display/context_table.h"
#include "host/win32/registry.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace test {

namespace {

constexpr uint32_t kContextBlockBytes = 0x2000;
constexpr uint32_t kDMABase = 0x01000000; // bus address of DMA buffer 0; the others follow

uint16_t Mapped(uint32_t tagNumber) {
    return static_cast<uint16_t>(MappedOffset(tagNumber));
}

} // namespace

const std::vector<uint16_t> kRigList2D = {Mapped(tag::FBReadMode), Mapped(tag::FBWriteMode),
                                          Mapped(tag::LBReadMode)};
const std::vector<uint16_t> kRigListClient = {Mapped(tag::FBReadMode), Mapped(tag::FogMode)};
const std::vector<uint16_t> kRigListDirect3D = {Mapped(tag::FBReadMode), Mapped(tag::FBWriteMode),
                                                Mapped(tag::LBReadMode), Mapped(tag::LBWriteMode),
                                                Mapped(tag::DepthMode)};

Rig::Rig(const RigOptions& options) {
    // An open trace still has its objects.
    ResetDriverGlobals();
    host::ResetWin32();
    host::RegisterDevice(kMiniVDDName, this);
    DXGlobals.Heap = HeapCreate(0x04000000, 2500, 0);

    shared_ = std::make_unique<Shared>();
    std::memset(static_cast<void*>(shared_.get()), 0, sizeof(Shared));
    driver = &shared_->data;
    chip = &shared_->chip;
    aperture_ = std::make_unique<ChipRegisters>();
    bus = std::make_unique<RecordingBus>(aperture_.get());

    const bool permedia =
        options.deviceId == DevicePermedia || options.deviceId == DevicePermediaSecond ||
        options.deviceId == DevicePermedia2 || options.deviceId == DevicePermedia2Second;
    frameBuffer_ = board::ZeroedBytes(8u << 20);
    localBuffer_ = board::ZeroedBytes(permedia ? 0 : 8u << 20);

    chip->Flags = options.chipFlags;
    chip->FrameBufferSize = static_cast<uint32_t>(frameBuffer_.size());
    chip->LocalBufferSize = static_cast<uint32_t>(localBuffer_.size());
    chip->RefreshRate = 60;
    chip->PrimaryDisplay = options.primary ? 1 : 0;
    chip->DeviceId = options.deviceId;
    chip->Revision = options.revision;
    chip->Family = permedia ? FamilyPermedia : FamilyGlint;
    chip->DMABufferSize = options.dmaBufferBytes;
    chip->DMABufferCount = static_cast<uint16_t>(options.dmaBufferCount);
    for (uint32_t i = 0; i < options.dmaBufferCount; ++i) {
        dmaBuffers_.emplace_back(options.dmaBufferBytes / 4);
        chip->DMABufferPhysical[i] = kDMABase + i * options.dmaBufferBytes;
        chip->DMABufferLinear[i] = reinterpret_cast<uint32_t>(dmaBuffers_[i].data());
        bus->MapMemory(chip->DMABufferPhysical[i], dmaBuffers_[i].data(), options.dmaBufferBytes);
    }
    std::strcpy(chip->RegistryName, "Rig");

    // Slots 1, 2 and 3 hold the register lists, slot 0 an empty one; 5 is the two-dimensional
    // context of type 1.
    ContextBlock* block = NewContextBlock();
    chip->ContextBlocks = block;
    host::AddRegisterList(block, {});
    host::AddRegisterList(block, kRigList2D);
    host::AddRegisterList(block, kRigListClient);
    host::AddRegisterList(block, kRigListDirect3D);
    // A test may make these slots current, as contexts of no register.
    std::fill_n(block->Type, block->SlotCount, uint16_t{host::ListDriver});
    const auto zero = [](uint16_t) { return 0u; };
    host::AddContext(block, host::ListScreen, kRigList2D, zero);
    host::AddContext(block, host::ListScreen, kRigList2D, zero);
    chip->CurrentContext = kNoContext;
    chip->DMAState = DMAIdle;

    driver->RegisterBase = aperture_.get();
    driver->FrameBufferBase = frameBuffer_.data();
    driver->LocalBufferBase = localBuffer_.empty() ? frameBuffer_.data() : localBuffer_.data();
    driver->ScreenWidth = options.width;
    driver->ScreenHeight = options.height;
    driver->ScissorWidth = options.width;
    driver->ScissorHeight = options.height;
    driver->PixelDepthBits = options.bits;
    switch (options.bits) {
    case 8:
        driver->PixelSize = PixelSize8;
        driver->PixelsPerWordShift = 2;
        driver->PixelsPerWordMask = 3;
        break;
    case 16:
        driver->PixelSize = PixelSize16;
        driver->PixelsPerWordShift = 1;
        driver->PixelsPerWordMask = 1;
        break;
    case 24:
        driver->PixelSize = PixelSize24;
        break;
    case 32:
        driver->PixelSize = PixelSize32;
        break;
    default:
        throw std::invalid_argument("rig: depth");
    }
    driver->ChipInfo = chip;
    driver->BoardFlags = options.boardFlags;
    driver->Heap.HeapStart =
        reinterpret_cast<uint32_t>(frameBuffer_.data()) + options.width * options.height * 4;
    driver->Heap.HeapEnd = reinterpret_cast<uint32_t>(frameBuffer_.data()) +
                           static_cast<uint32_t>(frameBuffer_.size()) - 1;
    InitialiseHeapManager(driver);

    directDraw.dwReserved1 = reinterpret_cast<uint32_t>(driver);
    directDraw.dwReserved3 = reinterpret_cast<uint32_t>(driver);
    DDPIXELFORMAT& format = directDraw.vmiData.ddpfDisplay;
    format.dwSize = sizeof(format);
    format.dwFlags = DDPF_RGB;
    format.dwRGBBitCount = options.bits;
    if (options.bits == 16) {
        format.dwRBitMask = 0x7C00;
        format.dwGBitMask = 0x3E0;
        format.dwBBitMask = 0x1F;
    } else if (options.bits > 16) {
        format.dwRBitMask = 0xFF0000;
        format.dwGBitMask = 0xFF00;
        format.dwBBitMask = 0xFF;
    } else {
        format.dwFlags |= DDPF_PALETTEINDEXED8;
    }
}

Rig::~Rig() {
    for (D3DContext*& slot : ContextSlots) {
        slot = nullptr;
    }
    host::ResetWin32();
}

void Rig::Ready() {
    driver->Registers = driver->RegisterBase;
    SetupFIFOStream(driver->Stream, driver->Registers);
    driver->SubBuffersReady = 1;
    driver->FBWriteMode = 1;
    chip->CurrentContext = kContext2D;
    if (chip->PrimaryDisplay == 1) {
        pDriverData = driver;
    }
    driver->RectAlloc = chip->Family == FamilyGlint ? 1 : 0;
    vGlintInitializeRegistryKey(driver);
}

void Rig::SetRegistry(const std::string& name, const std::string& text) {
    host::TheRegistry().SetText(kRigKey, name, text);
    vGlintInitializeRegistryKey(driver);
}

RigSurface& Rig::MakeSurface(uint32_t width, uint32_t height, uint32_t caps, uint32_t pixelSize,
                             uint32_t offset) {
    surfaces_.push_back(std::make_unique<RigSurface>());
    RigSurface& surface = *surfaces_.back();
    const bool local = (caps & DDSCAPS_ZBUFFER) != 0 && chip->Family == FamilyGlint;
    uint8_t* base = local ? localBuffer_.data() : frameBuffer_.data();
    constexpr uint32_t kShift[] = {0, 1, 2};
    surface.record.extension = &surface.extension;
    DDRAWI_DDRAWSURFACE_GBL& global = surface.Global();
    global.lpDD = &directDraw;
    global.fpVidMem = reinterpret_cast<uint32_t>(base + offset);
    global.wWidth = static_cast<uint16_t>(width);
    global.wHeight = static_cast<uint16_t>(height);
    global.lPitch = static_cast<int32_t>(
        pixelSize == PixelSize24 ? width * 3 : width << (pixelSize < 3 ? kShift[pixelSize] : 0));
    global.dwReserved1 = reinterpret_cast<uint32_t>(&surface.priv);
    surface.local.lpGbl = &global;
    surface.local.lpSurfMore = &surface.more;
    surface.local.ddsCaps.dwCaps = caps | DDSCAPS_VIDEOMEMORY;
    surface.interface.lpLcl = &surface.local;
    surface.priv.MagicNo = kSurfaceMagic;
    surface.priv.Flags = SURFACE_READY | SURFACE_FORMAT_VALID;
    surface.priv.PixelSize = pixelSize;
    surface.priv.Surface = &surface.local;
    DeterminePPCode(driver, width, &surface.priv.PartialProduct0, &surface.priv.PartialProduct1,
                    &surface.priv.PartialProduct2, &surface.priv.PartialProduct3);
    surface.priv.PPCode = PartialProductCode(
        surface.priv.PartialProduct0, surface.priv.PartialProduct1, surface.priv.PartialProduct2);
    return surface;
}

RigSurface& Rig::MakeBuffer(uint32_t words) {
    surfaces_.push_back(std::make_unique<RigSurface>());
    RigSurface& surface = *surfaces_.back();
    surface.bytes.resize(words);
    surface.record.extension = &surface.extension;
    surface.Global().fpVidMem = reinterpret_cast<uint32_t>(surface.bytes.data());
    surface.local.lpGbl = &surface.Global();
    surface.local.lpSurfMore = &surface.more;
    surface.local.ddsCaps.dwCaps = DDSCAPS_SYSTEMMEMORY;
    surface.interface.lpLcl = &surface.local;
    return surface;
}

std::vector<uint32_t> Rig::Sent() const {
    std::vector<uint32_t> words;
    size_t transfer = 0;
    for (const BusEvent& event : bus->events) {
        if (event.kind == 'f') {
            words.push_back(event.value);
        } else if (event.kind == 'w' && event.offset == reg::DMACount) {
            const auto& sent = bus->transfers.at(transfer++).words;
            words.insert(words.end(), sent.begin(), sent.end());
        }
    }
    return words;
}

std::vector<uint32_t> Rig::Pending(D3DContext* ctx) {
    return {ctx->Stream.Current().Linear, ctx->Stream.WritePointer};
}

D3DContext* Rig::PlainContext(bool dma, uint32_t subBuffers) {
    contexts_.push_back(std::make_unique<D3DContext>());
    D3DContext* ctx = contexts_.back().get();
    std::memset(static_cast<void*>(ctx), 0, sizeof(*ctx));
    ctx->Magic = kContextMagic;
    ctx->Driver = driver;
    ctx->CullMode = D3DCULL_NONE;
    ctx->StippleIndex = kNoStipplePattern;
    ctx->RenderCommand = 0x10000;
    ctx->BytesPerPixel = driver->PixelDepthBits >> 3;
    CommandStream& stream = ctx->Stream;
    if (!dma) {
        SetupFIFOStream(stream, driver->RegisterBase);
        return ctx;
    }
    stream.CommandMode = kCommandModeDMA;
    stream.SubBufferCount = subBuffers;
    stream.SubBufferWords = chip->DMABufferSize / subBuffers / 4;
    stream.SubBufferFlushWords = std::min(256u, stream.SubBufferWords);
    auto* linear = reinterpret_cast<uint32_t*>(chip->DMABufferLinear[0]);
    for (uint32_t i = 0; i < subBuffers; ++i) {
        uint32_t* first = linear + i * stream.SubBufferWords;
        stream.SubBuffers[i] = {chip->DMABufferPhysical[0] + i * stream.SubBufferWords * 4, first,
                                first + stream.SubBufferWords - 1};
    }
    stream.WritePointer = linear;
    stream.StartDMA = StartDMA;
    return ctx;
}

ContextBlock* Rig::NewContextBlock() {
    contextBlocks_.push_back(std::make_unique<uint8_t[]>(kContextBlockBytes));
    auto* block = reinterpret_cast<ContextBlock*>(contextBlocks_.back().get());
    block->NextFree = static_cast<uint16_t>((sizeof(ContextBlock) + 3) & ~3u);
    block->FreeBytes = static_cast<uint16_t>(kContextBlockBytes - block->NextFree);
    return block;
}

bool Rig::Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                  uint32_t* returned) {
    switch (code) {
    case MiniVDDGetDriverData:
        std::memcpy(out, &driver, 4);
        *returned = 4;
        return true;
    case MiniVDDAddContextBlock: {
        ++contextBlockCalls;
        ContextBlock* last = chip->ContextBlocks;
        while (last->NextBlock != nullptr) {
            last = last->NextBlock;
        }
        last->NextBlock = NewContextBlock();
        return true;
    }
    case MiniVDDMemoryService: {
        MemoryServiceRequest request;
        if (inBytes != sizeof(request) || outBytes != sizeof(request)) {
            return false;
        }
        std::memcpy(&request, in, sizeof(request));
        if (request.Command == MemoryServiceAllocate) {
            request.Linear = 0;
            if (!refuseMemory) {
                blocks_.push_back(std::make_unique<uint8_t[]>(request.Bytes));
                request.Linear = reinterpret_cast<uint32_t>(blocks_.back().get());
                request.Handle = request.Linear ^ 0x5A5A5A5A;
            }
            std::memcpy(out, &request, sizeof(request));
        } else {
            std::erase_if(blocks_, [&](const auto& block) {
                return reinterpret_cast<uint32_t>(block.get()) == request.Linear;
            });
        }
        *returned = sizeof(request);
        return true;
    }
    default:
        return false;
    }
}

} // namespace test
