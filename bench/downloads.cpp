// Cost of texture downloads in FIFO mode with disconnect, as a ratio to storing the same words from
// a ready-made array into the same window, run by run. Both are timed in turn, in one process, and
// both hand each run over to a bus that takes it in no time.
#include "bench/measure.h"
#include "driver/core/dma.h"
#include "driver/texture/pmdownld.h"
#include "driver/texture/txdownld.h"

#include <cstdio>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int32_t kSize = 256;
constexpr int kRounds = 301;

using Words = std::vector<uint32_t>;

std::vector<Words>* keptRuns; // what is handed over goes here, while set

struct Machine {
    ChipInfo chip{};
    DriverData driver{};
    PrivateSurfaceData record{};
    DDRAWI_DDRAWSURFACE_GBL sourceGlobal{};
    DDRAWI_DDRAWSURFACE_GBL destGlobal{};
    DDRAWI_DDRAWSURFACE_LCL source{};
    DDRAWI_DDRAWSURFACE_LCL dest{};
    Words pixels;
    ChipRegisters registers;

    Machine(uint32_t deviceId, uint32_t pixelSize, int32_t pitch) : pixels(kSize * kSize) {
        chip.DeviceId = deviceId;
        chip.Family = deviceId == DeviceTX ? FamilyGlint : FamilyPermedia;
        driver.ChipInfo = &chip;
        driver.Registers = &registers;
        driver.PixelSize = driver.FBDepth = PixelSize16;
        SetupFIFOStream(driver.Stream, &registers);
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
        bus.Words = [](void*, const uint32_t* words, uint32_t count) {
            if (keptRuns != nullptr) {
                keptRuns->emplace_back(words, words + count);
            }
        };
        AttachChipBus(&registers, bus);
    }
    ~Machine() { DetachChipBus(&registers); }
};

using Download = void (*)(DriverData*, PrivateSurfaceData*, DDRAWI_DDRAWSURFACE_LCL*, RECTL*,
                          DDRAWI_DDRAWSURFACE_LCL*, RECTL*);

// One 32-bit store a word, as the downloads do.
__attribute__((noinline)) void StoreReadyMade(const std::vector<Words>& runs, Machine& machine) {
    uint32_t* const window = FIFOWindowOf(&machine.registers);
    uint32_t* const end = window + reg::FIFOWindowBytes / 4;
    uint32_t* at = window;
    for (const Words& run : runs) {
        if (at + run.size() >= end) {
            at = window;
        }
        uint32_t* const first = at;
        for (const uint32_t word : run) {
            PutWord(at++, word);
        }
        HandOverWords(first, at);
    }
}

void Measure(const char* name, Download download, uint32_t deviceId, uint32_t pixelSize,
             int32_t pitch) {
    auto machine = std::make_unique<Machine>(deviceId, pixelSize, pitch);
    RECTL rect = {0, 0, kSize, kSize};
    const auto load = [&] {
        download(&machine->driver, &machine->record, &machine->source, &rect, &machine->dest,
                 &rect);
    };
    std::vector<Words> runs;
    keptRuns = &runs;
    load();
    keptRuns = nullptr;
    size_t words = 0;
    for (const Words& run : runs) {
        words += run.size();
    }
    std::vector<double> loading, storing, ratios;
    for (int round = 0; round < kRounds; ++round) {
        loading.push_back(bench::Seconds(load));
        storing.push_back(bench::Seconds([&] { StoreReadyMade(runs, *machine); }));
        ratios.push_back(loading.back() / storing.back());
    }
    std::printf("%-30s %7zu %9.1f %9.1f %7.2f\n", name, words, bench::Median(loading) * 1e6,
                bench::Median(storing) * 1e6, bench::Median(ratios));
}

} // namespace

int main() {
    std::printf("%-30s %7s %9s %9s %7s\n", "256 x 256", "words", "load us", "store us", "ratio");
    Measure("16-bit, patched", PermediaPatchedTextureDownload, DevicePermedia2, PixelSize16,
            2 * kSize);
    Measure("8-bit, patched", PermediaPatchedTextureDownload, DevicePermedia2, PixelSize8, kSize);
    Measure("32-bit, patched", PermediaPatchedTextureDownload, DevicePermedia2, PixelSize32,
            4 * kSize);
    Measure("16-bit, packed", PermediaPackedDownload, DevicePermedia2, PixelSize16, 2 * kSize);
    Measure("16-bit, TX local buffer", TXPatchedTextureDownload, DeviceTX, PixelSize16, 2 * kSize);
    return 0;
}
