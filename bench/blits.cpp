// The DirectDraw calls that reach the chip: blits from DDHAL_BLTDATA to words, flips, locks. The
// display is brought up on the board; then a bus takes its place that is never busy, and the
// display's stream goes to ordinary memory, so that no word is handed over.
#include "bench/session.h"
#include "driver/core/dma.h"
#include "driver/core/korv32_flip.h"
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "host/display/machine.h"
#include "host/driver_module.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

namespace {

constexpr uint32_t kCalls = 1000;
constexpr uint32_t kRingWords = 64 * 1024 / 4;
constexpr uint32_t kRetraceFlag = 16;

// A chip that is idle whenever it is asked, with the retrace of the last flip behind it.
struct IdleChip {
    ChipBus Bus() {
        ChipBus bus{};
        bus.Read = [](void*, uint32_t offset) -> uint32_t {
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
        bus.Write = [](void*, uint32_t, uint32_t) {};
        bus.Idle = [](void*, uint32_t) {};
        bus.Words = [](void*, const uint32_t*, uint32_t) {};
        return bus;
    }
};

class BlitStage {
  public:
    BlitStage(Session& session, const char* chip, uint32_t deviceId)
        : session_(session), chip_(chip), ring_(kRingWords), display_(Config(deviceId)) {
        if (!display_.Start()) {
            throw std::runtime_error("the driver refused the display");
        }
        directDraw_ = std::make_unique<host::DirectDraw>(display_);
        front_ = &directDraw_->CreatePrimary(1);
        source_ = &directDraw_->CreateOffscreen(640, 480);
        AttachChipBus(display_.Aperture(), IdleChip().Bus());
    }
    ~BlitStage() {
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
        const std::string full = std::string("blits/") + chip_ + "/" + name;
        if (!session_.Wants(full)) {
            return;
        }
        const auto must = [&] {
            if (!call()) {
                throw std::runtime_error(full + ": the call was refused");
            }
        };
        must(); // settles the context and the pixel size
        CommandStream& stream = display_.Driver()->Stream;
        const CommandStream before = stream;
        // Neither carrier: words are stored, and nobody takes them or is waited for.
        stream.CommandMode = 0;
        stream.DisconnectMode = 1;
        stream.SubBuffers[0] = {0, ring_.data(), ring_.data() + kRingWords - 1};
        stream.WritePointer = ring_.data();
        must();
        Work work;
        work.name = full;
        work.unit = "call";
        work.units = kCalls;
        const std::vector<uint32_t> once(ring_.data(), stream.WritePointer);
        std::vector<uint32_t> words;
        for (uint32_t i = 0; i < kCalls; ++i) {
            words.insert(words.end(), once.begin(), once.end());
        }
        work.words = words.size();
        work.run = [&] {
            for (uint32_t i = 0; i < kCalls; ++i) {
                must();
            }
        };
        if (!words.empty()) {
            work.plain = [&] { StorePlain(words, ring_.data(), kRingWords); };
            work.plainName = "plain stores";
        }
        session_.Measure(work);
        stream = before;
    }

    Session& session_;
    const char* chip_;
    std::vector<uint32_t> ring_;
    host::Display display_;
    std::unique_ptr<host::DirectDraw> directDraw_;
    host::Surface* front_ = nullptr;
    host::Surface* source_ = nullptr;
};

} // namespace

void MeasureBlits(Session& session) {
    if (!session.Wants("blits")) {
        return;
    }
    host::UseLinkedDriver();
    BlitStage(session, "SX", DeviceSX).Run();
    BlitStage(session, "TX", DeviceTX).Run();
    BlitStage(session, "MX", DeviceMX).Run();
    BlitStage(session, "Permedia", DevicePermedia).Run();
    BlitStage(session, "Permedia 2", DevicePermedia2).Run();
}

} // namespace bench
