// Textures and palettes on their way to the chip, from surfaces in system memory to words in
// ordinary memory, in proportion to a memcpy of the same bytes.
#include "bench/session.h"
#include "bench/stage.h"
#include "driver/core/chipinfo.h"
#include "driver/core/dma.h"
#include "driver/texture/lut_download.h"
#include "driver/texture/pmdownld.h"
#include "driver/texture/txdownld.h"

#include <cstring>
#include <memory>
#include <random>

namespace bench {

namespace {

constexpr int32_t kSize = 256;
constexpr uint32_t kRingWords = 3 * kSize * kSize; // more than a texture takes

struct Machine {
    ChipInfo chip{};
    DriverData driver{};
    PrivateSurfaceData record{};
    DDRAWI_DDRAWSURFACE_GBL sourceGlobal{};
    DDRAWI_DDRAWSURFACE_GBL destGlobal{};
    DDRAWI_DDRAWSURFACE_LCL source{};
    DDRAWI_DDRAWSURFACE_LCL dest{};
    std::vector<uint32_t> pixels, ring = std::vector<uint32_t>(kRingWords);
    ChipRegisters registers;

    Machine(uint32_t deviceId, uint32_t pixelSize, int32_t pitch) : pixels(kSize * kSize) {
        chip.DeviceId = deviceId;
        chip.Family = deviceId == DeviceTX ? FamilyGlint : FamilyPermedia;
        driver.ChipInfo = &chip;
        driver.Registers = &registers;
        driver.PixelSize = driver.FBDepth = PixelSize16;
        // Neither carrier: words are stored, and nobody takes them or is waited for.
        driver.Stream.CommandMode = 0;
        driver.Stream.DisconnectMode = 1;
        driver.Stream.SubBufferCount = 1;
        driver.Stream.SubBuffers[0] = {0, ring.data(), ring.data() + kRingWords - 1};
        record.PixelSize = pixelSize;
        record.RedMask = 0x7C00;
        record.Format = 1;
        record.Flags = SURFACE_PATCHED;
        std::mt19937 random(1);
        for (uint32_t& word : pixels) {
            word = random();
        }
        sourceGlobal.fpVidMem = reinterpret_cast<uint32_t>(pixels.data());
        sourceGlobal.lPitch = pitch;
        destGlobal.lPitch = pitch;
        source.lpGbl = &sourceGlobal;
        dest.lpGbl = &destGlobal;
        ChipBus bus{};
        bus.Read = [](void*, uint32_t) { return 1000u; };
        bus.Write = [](void*, uint32_t, uint32_t) {};
        bus.Idle = [](void*, uint32_t) {};
        bus.Words = [](void*, const uint32_t*, uint32_t) {};
        AttachChipBus(&registers, bus);
    }
    ~Machine() { DetachChipBus(&registers); }
};

using Download = void (*)(DriverData*, PrivateSurfaceData*, DDRAWI_DDRAWSURFACE_LCL*, RECTL*,
                          DDRAWI_DDRAWSURFACE_LCL*, RECTL*);

void Measure(Session& session, const char* name, Download download, uint32_t deviceId,
             uint32_t pixelSize, int32_t pitch) {
    Work work;
    work.name = std::string("downloads/") + name;
    if (!session.Wants(work.name)) {
        return;
    }
    auto machine = std::make_unique<Machine>(deviceId, pixelSize, pitch);
    RECTL rect = {0, 0, kSize, kSize};
    CommandStream& stream = machine->driver.Stream;
    work.unit = "texel";
    work.units = kSize * kSize;
    work.run = [&] {
        stream.WritePointer = machine->ring.data();
        download(&machine->driver, &machine->record, &machine->source, &rect, &machine->dest,
                 &rect);
    };
    work.run();
    work.words = static_cast<size_t>(stream.WritePointer - machine->ring.data());
    work.plain = [&] {
        std::memcpy(machine->ring.data(), machine->pixels.data(),
                    static_cast<size_t>(pitch) * kSize);
        asm volatile("" : : : "memory");
    };
    work.plainName = "memcpy";
    session.Measure(work);
}

// 256 entries, 100 times.
void MeasurePalette(Session& session) {
    constexpr uint32_t kLoads = 100;
    Stage stage({"Permedia 2", DevicePermedia2}, "");
    host::Surface& texture = stage.directDraw->CreateTexture(64, 64, host::PaletteFormat(8));
    std::vector<PALETTEENTRY> palette(256);
    std::mt19937 random(1);
    for (PALETTEENTRY& entry : palette) {
        entry = {static_cast<BYTE>(random()), static_cast<BYTE>(random()),
                 static_cast<BYTE>(random()), 0};
    }
    stage.directDraw->SetPalette(texture, palette);
    D3DContext& ctx = stage.Context();
    stage.DropWords();
    const auto load = [&] {
        for (uint32_t i = 0; i < kLoads; ++i) {
            P2LUTDownload(ctx.Driver, PrivateOf(texture.Local()), &ctx, texture.Local());
        }
    };
    std::vector<PALETTEENTRY> copy(palette.size());
    Work work;
    work.name = "downloads/palette of 256";
    work.unit = "entry";
    work.units = kLoads * 256;
    work.words = stage.WordsOf(load).size();
    work.run = load;
    work.plain = [&] {
        for (uint32_t i = 0; i < kLoads; ++i) {
            std::memcpy(copy.data(), palette.data(), palette.size() * sizeof(PALETTEENTRY));
            asm volatile("" : : "r"(copy.data()) : "memory");
        }
    };
    work.plainName = "memcpy";
    session.Measure(work);
}

} // namespace

void MeasureDownloads(Session& session) {
    if (!session.Wants("downloads")) {
        return;
    }
    Measure(session, "16-bit, patched", PermediaPatchedTextureDownload, DevicePermedia2,
            PixelSize16, 2 * kSize);
    Measure(session, "8-bit, patched", PermediaPatchedTextureDownload, DevicePermedia2, PixelSize8,
            kSize);
    Measure(session, "32-bit, patched", PermediaPatchedTextureDownload, DevicePermedia2,
            PixelSize32, 4 * kSize);
    Measure(session, "16-bit, packed", PermediaPackedDownload, DevicePermedia2, PixelSize16,
            2 * kSize);
    Measure(session, "16-bit, TX local buffer", TXPatchedTextureDownload, DeviceTX, PixelSize16,
            2 * kSize);
    if (session.Wants("downloads/palette of 256")) {
        MeasurePalette(session);
    }
}

} // namespace bench
