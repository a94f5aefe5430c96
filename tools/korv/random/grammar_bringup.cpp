// Boards, modes, time.
#include "tools/korv/chips/chips.h"
#include "tools/korv/random/grammar.h"

#include <algorithm>

namespace korv::random {

namespace {

struct Mode {
    uint32_t width, height;
};
constexpr Mode kModes[] = {{320, 200}, {320, 240}, {256, 192}, {512, 384}};
constexpr uint32_t kBits[] = {8, 16, 16, 16, 32};

} // namespace

void Grammar::PickMode(MadeDisplay& display) {
    const auto taken = [&](const MadeDisplay& other) {
        return &other != &display && other.width == display.width &&
               other.height == display.height && other.bits == display.bits;
    };
    do {
        const Mode mode = dice_.Of(kModes);
        display.width = mode.width;
        display.height = mode.height;
        display.bits = dice_.Of(kBits);
    } while (std::ranges::any_of(displays_, taken));
}

void Grammar::AddDisplay(uint32_t ofDisplays) {
    const ChipChoice& chip = Chips()[dice_.From(0, static_cast<uint32_t>(Chips().size()) - 1)];
    MadeDisplay display{displays_.empty() ? "main" : "second",
                        std::string(chip.name),
                        chip.name.starts_with("sx") || chip.name.starts_with("tx") ||
                            chip.name.starts_with("mx"),
                        chip.setupUnit,
                        chip.drawsTextures,
                        KeysTextures(chip),
                        chip.stretches};
    PickMode(display);
    Step step{{"do", "display"},
              {"name", display.name},
              {"chip", display.chip},
              {"width", display.width},
              {"height", display.height},
              {"bits", display.bits},
              {"frameBufferBytes", 0x200000},
              {"dmaBuffers", 3}};
    // Direct3D has one for each context.
    display.clientDma = ofDisplays == 1 && dice_.Chance(50);
    if (display.clientDma) {
        step["dmaBuffers"] = 6;
    }
    display.agp = display.chip == "permedia2" && dice_.Chance(40);
    if (display.agp) {
        step["agp"] = true;
    }
    if (display.glint) {
        step["localBufferBytes"] = 0x200000;
    }
    if (!displays_.empty()) {
        step["number"] = 1;
        step["primary"] = false;
        step["registryName"] = "Display\\Second";
    }
    if (dice_.Chance(30)) {
        step["dmaBufferBytes"] = 0x8000; // least for 32 sub-buffers
    }
    if (dice_.Chance(15)) {
        step["chipFlags"] = dice_.Chance(50) ? "VBlankByInterrupt" : "TwoSubBuffers";
    }
    Step registry;
    // A display that is not the primary drops what goes by DMA without the queue (StartDMA), and
    // the registry of one counts for both.
    if (ofDisplays > 1 || dice_.Chance(20)) {
        registry["Direct3DHAL.NoDMA"] = "1";
    }
    if (dice_.Chance(30)) {
        registry["Direct3DHAL.SubBuffers"] = std::to_string(dice_.From(2, 32));
    }
    if (!registry.is_null()) {
        step["registry"] = registry;
    }
    // A head goes over words under way, which a slow DMA engine of a first Permedia reads
    // (SendSubBufferDirect); a Delta's triangles, stipple on Glint and the stretches ask for less
    // FIFO space than they take (host/inspect/unwaited.h), which a slow FIFO loses.
    const bool slowDma = !display.chip.starts_with("permedia") || display.chip == "permedia2";
    const bool slowFifo =
        display.chip.find("delta") == std::string::npos &&
        (slowDma || (!registry.is_null() && registry.contains("Direct3DHAL.NoDMA")));
    display.video = HasVideoPort(chip) && ofDisplays == 1 && dice_.Chance(15);
    if (display.video || dice_.Chance(35)) {
        Step timing;
        if (display.video) {
            timing["microsecondsPerTick"] = 0;
        }
        if (slowDma && dice_.Chance(60)) {
            timing["dmaWordsPerTick"] = dice_.From(1, 40);
        }
        if (dice_.Chance(50)) {
            timing["interruptLatency"] = dice_.From(1, 60);
        }
        if (slowFifo && dice_.Chance(60)) {
            timing["fifoDepth"] = dice_.From(16, 64);
            timing["fifoTicksPerEntry"] = dice_.From(1, 6);
            if (!illegal_) { // triangles to infinity would take too long
                timing["pixelsPerTick"] = dice_.From(20, 400);
            }
            display.slowFifo = true;
        }
        if (dice_.Chance(30)) {
            timing["fifoReportLag"] = dice_.From(1, 4);
        }
        if (dice_.Chance(30)) {
            timing["strayOutputWords"] = dice_.From(1, 3);
        }
        if (!timing.is_null()) {
            step["timing"] = timing;
        }
    }
    Add(step);
    Add({{"do", "start"}, {"display", display.name}});
    if (display.agp) {
        Add({{"do", "agp"}, {"display", display.name}, {"bytes", 0x40000}});
    }
    displays_.push_back(display);
    const size_t place = displays_.size() - 1;
    SettleFlips(place);
    MakePrimary(place);
}

void Grammar::SettleFlips(size_t display) {
    Add({{"do", "advance"}, {"display", displays_[display].name}, {"microseconds", 40000}});
}

void Grammar::EndScenes(size_t display) {
    if (dice_.Chance(60)) {
        Quiet(display);
        return;
    }
    for (MadeContext& one : contexts_) {
        if (one.display == display && one.inScene) {
            Add({{"do", "endScene"}, {"context", one.name}});
            one.inScene = false;
        }
    }
}

void Grammar::Quiet(size_t display) {
    for (MadeContext& one : contexts_) {
        if (one.display == display && one.inScene) {
            Add({{"do", "endScene"}, {"context", one.name}});
            Add({{"do", "finish"}, {"surface", one.target}});
            one.inScene = false;
        }
    }
    if (!displays_[display].busy) {
        return;
    }
    displays_[display].busy = false;
    for (const MadeSurface& one : surfaces_) {
        if (one.display == display && one.kind == Kind::Primary) {
            Add({{"do", "finish"}, {"surface", one.name}});
        }
    }
}

bool Grammar::ChangeMode() {
    const size_t display = dice_.From(0, static_cast<uint32_t>(displays_.size()) - 1);
    Quiet(display);
    EndPort();
    for (size_t i = contexts_.size(); i-- > 0;) {
        if (contexts_[i].display == display) {
            DropContext(i);
        }
    }
    MadeDisplay& one = displays_[display];
    PickMode(one);
    Add({{"do", "mode"},
         {"display", one.name},
         {"width", one.width},
         {"height", one.height},
         {"bits", one.bits}});
    std::erase_if(blocks_, [&](const auto& block) { return block.first == display; });
    // Surfaces are lost, and restored by being made again.
    for (size_t i = surfaces_.size(); i-- > 0;) {
        const MadeSurface& surface = surfaces_[i];
        if (surface.display == display && (!surface.system || surface.shape.format.empty())) {
            Add({{"do", "destroySurface"}, {"surface", surface.name}});
            surfaces_.erase(surfaces_.begin() + static_cast<ptrdiff_t>(i));
        }
    }
    SettleFlips(display);
    MakePrimary(display);
    return true;
}

bool Grammar::PassTime() {
    Add({{"do", "advance"},
         {"display", dice_.Of(displays_).name},
         {"microseconds", dice_.From(1, 20000)}});
    return true;
}

bool Grammar::AskBeam() {
    static constexpr const char* kFlags[] = {"DDWAITVB_BLOCKBEGIN", "DDWAITVB_BLOCKEND",
                                             "DDWAITVB_I_TESTVB", "DDWAITVB_BLOCKBEGINEVENT"};
    const MadeDisplay& on = dice_.Of(displays_);
    if (dice_.Chance(40)) {
        Add({{"do", "scanLine"}, {"display", on.name}});
    } else {
        // With a clock that stands still a wait would have no end.
        Add({{"do", "verticalBlank"},
             {"display", on.name},
             {"flags", on.video ? "DDWAITVB_I_TESTVB" : dice_.Of(kFlags)}});
    }
    return true;
}

bool Grammar::AskDriver() {
    static constexpr const char* kGuids[] = {"GUID_MiscellaneousCallbacks", "GUID_D3DCallbacks2",
                                             "GUID_KernelCallbacks", "GUID_VideoPortCallbacks"};
    Add({{"do", "driverInfo"}, {"display", dice_.Of(displays_).name}, {"guid", dice_.Of(kGuids)}});
    return true;
}

} // namespace korv::random
