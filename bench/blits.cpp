// Cost of the DirectDraw calls that reach the chip: blits from DDHAL_BLTDATA to words, flips,
// locks. The display is brought up on the board; then a bus takes its place that takes each word in
// no time and is never busy. `store` is the same words stored from a ready-made array, handed over
// in the same runs; register reads and writes of a call are counted beside.
#include "bench/measure.h"
#include "driver/core/dma.h"
#include "driver/core/korv32_flip.h"
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "host/display/machine.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kCalls = 2000;
constexpr int kRounds = 201;
constexpr uint32_t kRetraceFlag = 16;

using Words = std::vector<uint32_t>;

// A chip that is idle whenever it is asked, with the retrace of the last flip behind it.
struct IdleChip {
    uint32_t reads = 0, writes = 0;
    std::vector<Words>* kept = nullptr; // what is handed over goes here, while set

    ChipBus Bus() {
        ChipBus bus{};
        bus.self = this;
        bus.Read = [](void* self, uint32_t offset) -> uint32_t {
            ++static_cast<IdleChip*>(self)->reads;
            switch (offset) {
            case reg::InFIFOSpace:
                return 1000;
            case reg::OutFIFOWords:
                return 1;
            case reg::OutFIFOWord:
                return tag::Sync;
            case reg::IntFlags:
                return kRetraceFlag;
            default:
                return 0; // DMACount, LineCounter
            }
        };
        bus.Write = [](void* self, uint32_t, uint32_t) { ++static_cast<IdleChip*>(self)->writes; };
        bus.Idle = [](void*, uint32_t) {};
        bus.Words = [](void* self, const uint32_t* words, uint32_t count) {
            if (auto* kept = static_cast<IdleChip*>(self)->kept) {
                kept->emplace_back(words, words + count);
            }
        };
        return bus;
    }
};

__attribute__((noinline)) void StoreReadyMade(const std::vector<Words>& runs,
                                              ChipRegisters* registers) {
    uint32_t* const window = FIFOWindowOf(registers);
    for (const Words& run : runs) {
        uint32_t* at = window;
        for (const uint32_t word : run) {
            PutWord(at++, word);
        }
        HandOverWords(window, at);
    }
}

class Stage {
  public:
    Stage(const char* chip, uint32_t deviceId) : chip_(chip), display_(Config(deviceId)) {
        if (!display_.Start()) {
            std::fprintf(stderr, "bench: the driver refused the display\n");
            std::exit(1);
        }
        directDraw_ = std::make_unique<host::DirectDraw>(display_);
        front_ = &directDraw_->CreatePrimary(1);
        source_ = &directDraw_->CreateOffscreen(640, 480);
        AttachChipBus(display_.Aperture(), idle_.Bus());
    }
    ~Stage() {
        directDraw_.reset();
        DetachChipBus(display_.Aperture());
    }

    void Run() {
        host::Surface& back = *front_->Chain().front();
        DDHAL_BLTDATA blt = Blit(back);
        blt.lpDDSrcSurface = source_->Local();
        blt.dwFlags = DDBLT_ROP;
        blt.bltFX.dwROP = SRCCOPY;
        const auto blit = [&] {
            blt.ddRVal = 0xEEEEEEEE;
            return blt.Blt(&blt) == DDHAL_DRIVER_HANDLED && blt.ddRVal == DD_OK;
        };
        blt.rSrc = {3, 5, 11, 13};
        blt.rDest = {100, 50, 108, 58};
        Measure("copy 8 x 8", blit);
        blt.rSrc = blt.rDest = {0, 0, 640, 480};
        Measure("copy 640 x 480", blit);
        blt = Blit(back);
        blt.dwFlags = DDBLT_COLORFILL;
        blt.bltFX.dwFillColor = 0x1234;
        blt.rDest = {0, 0, 640, 480};
        Measure("fill 640 x 480", blit);

        DDHAL_FLIPDATA flip{};
        flip.lpDD = directDraw_->Global();
        flip.lpSurfCurr = front_->Local();
        flip.lpSurfTarg = back.Local();
        Measure("Flip32", [&] {
            flipRecord.InProgress = 0; // the frame that the Glint family waits for is over
            flip.ddRVal = 0xEEEEEEEE;
            return Flip32(&flip) == DDHAL_DRIVER_HANDLED && flip.ddRVal == DD_OK;
        });
        DDHAL_LOCKDATA lock{};
        lock.lpDD = directDraw_->Global();
        lock.lpDDSurface = back.Local();
        Measure("Lock32", [&] {
            flipRecord.InProgress = 0;
            lock.ddRVal = 0xEEEEEEEE;
            return Lock32(&lock) == DDHAL_DRIVER_HANDLED && lock.ddRVal == DD_OK;
        });
    }

  private:
    static host::DisplayConfig Config(uint32_t deviceId) {
        host::PowerCycle();
        host::DisplayConfig config;
        config.deviceId = deviceId;
        return config;
    }

    DDHAL_BLTDATA Blit(host::Surface& dest) {
        DDHAL_BLTDATA data{};
        data.lpDD = directDraw_->Global();
        data.lpDDDestSurface = dest.Local();
        data.Blt = display_.Driver()->SurfaceCallbacks.Blt;
        return data;
    }

    // A call that is refused, in any round, ends the program: it would be measured as a fast one.
    template <class Call>
    void Measure(const char* name, Call call) {
        const auto must = [&] {
            if (!call()) {
                std::fprintf(stderr, "bench: %s, %s: the call was refused\n", chip_, name);
                std::exit(1);
            }
        };
        must(); // settles the context and the pixel size
        std::vector<Words> runs;
        idle_.kept = &runs;
        idle_.reads = idle_.writes = 0;
        must();
        const uint32_t reads = idle_.reads, writes = idle_.writes;
        idle_.kept = nullptr;
        size_t words = 0;
        for (const Words& run : runs) {
            words += run.size();
        }
        std::vector<double> calling, storing, ratios;
        for (int round = 0; round < kRounds; ++round) {
            calling.push_back(bench::Seconds([&] {
                for (uint32_t i = 0; i < kCalls; ++i) {
                    must();
                }
            }));
            storing.push_back(bench::Seconds([&] {
                for (uint32_t i = 0; i < kCalls; ++i) {
                    StoreReadyMade(runs, display_.Aperture());
                }
            }));
            ratios.push_back(calling.back() / storing.back());
        }
        const double scale = 1e9 / kCalls;
        std::printf("%-10s %-15s %6zu %6u %7u %9.1f %9.1f ", chip_, name, words, reads, writes,
                    bench::Median(calling) * scale, bench::Median(storing) * scale);
        if (words != 0) {
            std::printf("%7.2f\n", bench::Median(ratios));
        } else {
            std::printf("%7s\n", "-");
        }
    }

    const char* chip_;
    IdleChip idle_;
    host::Display display_;
    std::unique_ptr<host::DirectDraw> directDraw_;
    host::Surface* front_ = nullptr;
    host::Surface* source_ = nullptr;
};

} // namespace

int main() {
    std::printf("%-10s %-15s %6s %6s %7s %9s %9s %7s\n", "chip", "call", "words", "reads", "writes",
                "ns a call", "store ns", "ratio");
    Stage("SX", DeviceSX).Run();
    Stage("TX", DeviceTX).Run();
    Stage("MX", DeviceMX).Run();
    Stage("Permedia", DevicePermedia).Run();
    Stage("Permedia2", DevicePermedia2).Run();
    return 0;
}
