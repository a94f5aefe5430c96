#include "bench/stage.h"

#include "driver/services/context.h"
#include "host/display/machine.h"
#include "host/driver_module.h"
#include "host/loader/dll_module.h"

#include <cstring>
#include <stdexcept>

namespace bench {

namespace {

std::vector<uint32_t>* keptWords;

// A DLL's stack is aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) int32_t TakeWords(DriverData*, uint32_t, uint32_t count,
                                                           uint32_t, uint32_t* linear, uint32_t) {
    if (keptWords != nullptr) {
        keptWords->insert(keptWords->end(), linear, linear + count);
    }
    return 0;
}

// The driver's record of the only context; the table of hardware contexts leads to it.
D3DContext* ContextOn(host::Display& display) {
    const ContextBlock* block = display.Chip()->ContextBlocks;
    for (uint32_t slot = kContextsPerBlock; slot-- != 0;) {
        if (block->Owner[slot] != 0) {
            return reinterpret_cast<D3DContext*>(block->Owner[slot]);
        }
    }
    throw std::runtime_error("the driver has no context");
}

} // namespace

Stage::Stage(const Chip& chip, const std::string& dll) {
    if (dll.empty()) {
        host::UseLinkedDriver();
    } else {
        host::loader::UseDriverDll(dll);
    }
    host::PowerCycle();
    host::DisplayConfig config;
    config.deviceId = chip.deviceId;
    config.delta = chip.delta;
    display_ = std::make_unique<host::Display>(config);
    if (!display_->Start()) {
        throw std::runtime_error("the driver refused the display");
    }
    directDraw = std::make_unique<host::DirectDraw>(*display_);
    host::Surface& target = directDraw->CreateTarget(640, 480);
    host::Surface& depth = directDraw->CreateZBuffer(640, 480);
    device = std::make_unique<host::Device3D>(*directDraw, target, &depth);
    device->SetState(D3DRENDERSTATE_ZENABLE, 1u);
    device->SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
    host::Check("scene", device->BeginScene());
    const D3DTLVERTEX point{};
    host::Check("triangle", device->Triangle(point, point, point)); // settles all state
    ctx_ = ContextOn(*display_);
}

host::Surface& Stage::Buffer(const void* bytes, size_t count) {
    constexpr uint32_t kLine = 4096;
    host::Surface& buffer =
        directDraw->CreateSystem(kLine, static_cast<uint32_t>((count + kLine - 1) / kLine),
                                 host::PaletteFormat(8), DDSCAPS_EXECUTEBUFFER);
    std::memcpy(buffer.Bytes(), bytes, count);
    return buffer;
}

void Stage::DropWords() {
    CommandStream& stream = ctx_->Stream;
    stream.StartDMA = TakeWords;
    // The fill limit of a busy scene.
    stream.SubBufferFlushWords = stream.SubBufferWords;
    stream.WritePointer = stream.Current().Linear;
}

std::vector<uint32_t> Stage::WordsOf(const std::function<void()>& work) {
    CommandStream& stream = ctx_->Stream;
    stream.WritePointer = stream.Current().Linear;
    std::vector<uint32_t> words;
    keptWords = &words;
    work();
    keptWords = nullptr;
    words.insert(words.end(), stream.Current().Linear, stream.WritePointer);
    return words;
}

} // namespace bench
