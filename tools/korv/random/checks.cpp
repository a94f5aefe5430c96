#include "tools/korv/random/checks.h"

#include "chip/devices.h"
#include "chip/registers.h"
#include "driver/core/driverdata.h"
#include "host/client/exports.h"
#include "host/ddraw/results.h"
#include "host/driver_module.h"
#include "host/inspect/contexts.h"
#include "host/inspect/unwaited.h"
#include "host/vdd/minivdd.h"
#include "host/win32/heap.h"
#include "tools/korv/random/heap_walk.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv::random {

namespace {

// Steps behind which other surfaces are there.
bool MovesSurfaces(std::string_view kind) {
    return kind == "surface" || kind == "destroySurface" || kind == "mode" || kind == "start" ||
           kind == "display" || kind == "flip" || kind == "context" || kind == "destroyContext" ||
           kind == "destroyProcess" || kind == "call" || kind == "poke";
}

// Steps at which it matters what contexts have pending, which is as the road has it. With some go
// contexts or their targets: the rules want them finished. A new context begins with what is in the
// chip's registers then (driver/services/context.cpp, CreateContext), and its lines are moved by
// slopes that they do not write themselves: see TakeChip.
bool NeedsFinished(std::string_view kind) {
    return kind == "destroyContext" || kind == "destroyProcess" || kind == "mode" ||
           kind == "destroySurface" || kind == "context";
}

bool IsBusyAnswer(uint32_t result, std::string_view kind) {
    return result == uint32_t{DDERR_WASSTILLDRAWING} &&
           (kind == "blt" || kind.ends_with("Fill") || kind == "flip" || kind == "lock" ||
            kind.ends_with("Status"));
}

// As the runtime does at its end: the memory of the screen is the primary's again, which no heap
// gets back.
void ShowScreen(PlayedDisplay& display) {
    for (const auto& surface : display.directDraw->Surfaces()) {
        if ((surface->Caps() & DDSCAPS_PRIMARYSURFACE) == 0 || surface->Lost()) {
            continue;
        }
        for (host::Surface* back : surface->Chain()) {
            if (back->Bytes() == display.display->FrameBuffer()) {
                display.directDraw->Patiently(
                    [&] { return display.directDraw->Flip(*surface, *back); });
            }
        }
    }
}

} // namespace

// Who holds the chip when a word comes has written it: a change of context waits for the words
// before it.
class Checks::ContextTap final : public board::BusRecorder {
  public:
    ContextTap(std::string display, const ChipInfo* chip, StepTap& tap, Trace& trace)
        : display_(std::move(display)), chip_(chip), tap_(tap), trace_(trace) {}

    void OnRead(uint32_t offset, uint32_t value) override { tap_.OnRead(offset, value); }
    void OnWrite(uint32_t offset, uint32_t value) override { tap_.OnWrite(offset, value); }
    void OnFifoWord(uint32_t word) override {
        tap_.OnFifoWord(word);
        Count(word);
    }
    void OnDmaWord(uint32_t word) override {
        tap_.OnDmaWord(word);
        Count(word);
    }

  private:
    void Count(uint32_t word) {
        if (holder_ != chip_->CurrentContext || words_ == nullptr) {
            holder_ = chip_->CurrentContext;
            words_ = &trace_.contextWords[fmt::format("{}/{}", display_, holder_)];
        }
        *words_ = Hash(&word, sizeof word, *words_ + 1);
    }

    const std::string display_;
    const ChipInfo* const chip_;
    StepTap& tap_;
    Trace& trace_;
    uint32_t holder_ = 0;
    uint64_t* words_ = nullptr; // the holder's
};

Checks::Checks(const Steps& steps, bool illegal, bool thorough)
    : steps_(steps), illegal_(illegal), thorough_(thorough) {
    if (thorough) {
        watched_.emplace();
    }
    trace_.results.resize(steps.size());
    trace_.passedOver.resize(steps.size());
    trace_.words.resize(steps.size());
    trace_.broken.resize(steps.size());
}

Checks::~Checks() = default;

std::string Checks::Field(const char* name) const {
    return steps_[at_].value(name, "");
}

void Checks::TapWords(PlayedDisplay& display) {
    const auto device = display.display->Config().deviceId;
    if (device == DevicePermedia || illegal_) {
        return;
    }
    auto& tap = taps_[display.name];
    tap = std::make_unique<ContextTap>(display.name, display.display->Chip(), *display.tap, trace_);
    display.display->Board().SetRecorder(tap.get());
}

void Checks::FinishContexts(Player& player) {
    for (auto& [name, one] : player.contexts) {
        if (one.live) {
            // What a context has pending outside a scene goes by no lock of a surface that another
            // one has drawn to since.
            one.device->EndScene();
            one.device->Finish();
        }
    }
}

void Checks::TakeChip(Player& player) {
    const auto found = player.Displays().find(Field("display"));
    if (found == player.Displays().end() || !found->second.directDraw) {
        return; // passed over
    }
    DriverData* const driver = found->second.display->Driver();
    const host::DriverCall call("KORV_SwitchContext");
    host::ExportsInForce().KORV_SwitchContext(driver, kContext2D);
}

void Checks::Before(size_t step, Player& player) {
    at_ = step;
    const std::string kind = Field("do");
    if (!illegal_ && NeedsFinished(kind)) {
        FinishContexts(player);
    }
    if (!illegal_ && kind == "context") {
        TakeChip(player);
    }
    if (MovesSurfaces(kind)) {
        CheckUntouched();
    }
    if (kind == "start") {
        heapBlocks_ = host::heap::LiveBlocks();
        vddBlocks_ = host::TheMiniVdd().LiveBlocks();
    }
    blit_.reset();
    triangles_.reset();
    if (!illegal_) {
        port_.Before(steps_[at_], player);
        // Its states were set.
        if (at_ != 0 && !trace_.passedOver[at_ - 1]) {
            triangles_ = TriangleCheck::Of(steps_, at_, player, textures_, thorough_);
        }
        if (!lossExplained_) {
            blit_ = BlitCheck::Of(steps_[at_], player);
        }
    }
}

void Checks::After(size_t, Player& player, const Outcome& outcome) {
    const std::string kind = Field("do");
    if (kind == "display") {
        TapWords(player.Display(Field("name")));
    }
    trace_.results[at_] = outcome.Find("result");
    if (kind == "texture") {
        textures_[Field("name")] = Field("surface");
    }
    if (kind == "swapTextures") {
        std::swap(textures_[Field("texture")], textures_[Field("with")]);
    }
    if (kind == "start") {
        heapAtStart_ += host::heap::LiveBlocks() - heapBlocks_;
        vddAtStart_ += host::TheMiniVdd().LiveBlocks() - vddBlocks_;
    }
    if (kind == "mode") {
        clientBlocks_[Field("display")] = 0; // the heap begins anew
    }
    if (kind == "export" && outcome.Find("result") == 0u) {
        clientBlocks_[Field("display")] += Field("name") == "KORV_AllocateVideoMemory" ? 1
                                           : Field("name") == "KORV_FreeVideoMemory"   ? -1
                                                                                       : 0;
    }
    HashWords(player);
    CheckFaults(player);
    CheckResult(outcome);
    CheckHeaps(player);
    if (blit_ && outcome.Find("handled") == 1u && outcome.Find("result") == uint32_t{DD_OK}) {
        if (const auto problem = blit_->Problem(player)) {
            throw Violation("blit", at_, *problem);
        }
    }
    if (kind == "loadTexture" && !illegal_ && !lossExplained_) {
        if (const auto problem = LoadProblem(steps_[at_], player)) {
            throw Violation("load", at_, *problem);
        }
    }
    if (!illegal_) {
        if (const auto problem = port_.Problem(steps_[at_], player, outcome)) {
            throw Violation("video", at_, *problem);
        }
    }
    if (triangles_) {
        const auto problem = triangles_->Problem(player);
        CheckFaults(player);
        if (problem && !lossExplained_) {
            throw Violation("triangles", at_,
                            fmt::format("context '{}': {}", Field("context"), *problem));
        }
    }
    WatchUntouched(player);
}

void Checks::PassedOver(size_t, Player& player, const std::string&) {
    trace_.passedOver[at_] = true;
    WatchUntouched(player);
}

void Checks::HashWords(Player& player) {
    uint64_t hash = 0;
    for (const auto& [name, one] : player.Displays()) {
        if (illegal_) {
            std::vector<uint32_t>& words = trace_.broken[at_];
            words.insert(words.end(), one.tap->words.begin(), one.tap->words.end());
        } else {
            hash = Hash(one.tap->words.data(), one.tap->words.size() * 4, hash);
        }
        hash = Hash(one.tap->writes.data(), one.tap->writes.size() * sizeof(RegisterWrite), hash);
    }
    trace_.words[at_] = hash;
}

void Checks::CheckResult(const Outcome& outcome) {
    const std::string kind = Field("do");
    const auto result = outcome.Find("result");
    if (illegal_ || !result || *result == uint32_t{DD_OK} || kind == "call" || kind == "export" ||
        IsBusyAnswer(*result, kind)) {
        return;
    }
    if (kind == "surface" && (*result == uint32_t{DDERR_INVALIDPIXELFORMAT} ||
                              *result == uint32_t{DDERR_OUTOFVIDEOMEMORY})) {
        return;
    }
    if ((kind == "scanLine" && *result == uint32_t{DDERR_VERTICALBLANKINPROGRESS}) ||
        (kind == "ropFill" && *result == uint32_t{DDERR_NORASTEROPHW})) {
        return;
    }
    throw Violation("result", at_, fmt::format("the result is {}", host::ResultName(*result)));
}

void Checks::CheckFaults(Player& player) {
    for (auto& [name, one] : player.Displays()) {
        const board::Board& board = one.display->Board();
        board::Faults faults = host::UnexpectedFaults(board);
        if (!faults.Any()) {
            continue;
        }
        if (faults.fifoOverflows != 0 && faults.unwaited.empty() &&
            !board.FaultReport().unwaited.empty()) {
            lossExplained_ = true; // words that the known routines lose on a slow chip
            faults.fifoOverflows = 0;
        }
        // Behind a copy of textures on Glint (driver/blit/txblit32.cpp, vGlintLBCopyBltNative):
        // LBReadMode keeps its bit for the source.
        faults.unmodelled.erase("local buffer copy that the window does not force");
        if (illegal_) {
            faults.badMemoryAccesses = 0; // coordinates that are none
            faults.unmodelled.clear();
        }
        if (faults.Any()) {
            throw Violation("fault", at_, fmt::format("display '{}': {}", name, faults.Describe()));
        }
    }
}

void Checks::CheckHeaps(Player& player) {
    for (auto& [name, one] : player.Displays()) {
        if (!one.directDraw) {
            continue;
        }
        if (const auto wrong = HeapProblem(*one.display->Driver())) {
            throw Violation("heap", at_, fmt::format("display '{}': {}", name, *wrong));
        }
    }
}

void Checks::WatchUntouched(Player& player) {
    if (watched_ && MovesSurfaces(Field("do"))) {
        watched_->Begin(player);
    }
}

void Checks::CheckUntouched() {
    if (!watched_ || illegal_ || lossExplained_) {
        return;
    }
    if (const auto problem = watched_->Problem()) {
        throw Violation("untouched", at_, *problem);
    }
}

void Checks::HashSurface(Player& player, const std::string& name) {
    try {
        const host::Surface& surface = player.Surface(name);
        // One in memory of the host has the size of the mode that it was made in.
        if (!surface.Lost() && surface.Width() * surface.Bits() / 8 <= uint32_t(surface.Pitch())) {
            const Pixels pixels = PixelsOf(surface);
            trace_.contents[fmt::format("surface '{}'", name)] =
                Hash(pixels.data(), pixels.size() * 4);
        }
    } catch (const NotThereError&) {
        return; // destroyed
    }
}

void Checks::End(Player& player) {
    at_ = steps_.empty() ? 0 : steps_.size() - 1;
    CheckUntouched();
    FinishContexts(player);
    for (const Step& step : steps_) {
        if (step.value("do", "") == "surface") {
            HashSurface(player, step.value("name", ""));
        }
    }
    for (auto& [name, one] : player.Displays()) {
        if (!one.directDraw) {
            continue;
        }
        ShowScreen(one);
        board::Board& board = one.display->Board();
        trace_.contents[fmt::format("the frame buffer of '{}'", name)] =
            HashMemory({one.display->FrameBuffer(), board.FrameBuffer().size()});
        if (!board.LocalBuffer().empty()) {
            trace_.contents[fmt::format("the local buffer of '{}'", name)] =
                HashMemory({one.display->LocalBuffer(), board.LocalBuffer().size()});
        }
    }
    player.contexts.clear();
    for (auto& [name, one] : player.Displays()) {
        if (!one.directDraw) {
            continue;
        }
        one.directDraw.reset();
        if (const auto wrong = HeapProblem(*one.display->Driver())) {
            throw Violation("heap", at_, fmt::format("at the end, display '{}': {}", name, *wrong));
        }
        const size_t left = AllocatedNodes(*one.display->Driver());
        if (one.display->HasLinearHeap() &&
            left != static_cast<size_t>(std::max(clientBlocks_[name], 0))) {
            throw Violation(
                "left-over", at_,
                fmt::format("display '{}': {} stretches of video memory are left", name, left));
        }
    }
    CheckLeft("the shared heap", host::heap::LiveBlocks(), heapAtStart_);
    CheckLeft("the mini-VDD's memory", host::TheMiniVdd().LiveBlocks(), vddAtStart_);
}

void Checks::CheckLeft(const char* where, size_t blocks, size_t atStart) const {
    if (blocks > atStart) {
        throw Violation("left-over", at_,
                        fmt::format("{} blocks of {} are left", blocks - atStart, where));
    }
}

} // namespace korv::random
