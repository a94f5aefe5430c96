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
#include "tools/korv/random/copy_exceptions.h"
#include "tools/korv/random/heap_walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace korv::random {

namespace {

uint64_t Hash(const void* data, size_t bytes, uint64_t hash = 0xCBF29CE484222325u) {
    const auto* at = static_cast<const uint8_t*>(data);
    for (; bytes >= 4; bytes -= 4, at += 4) {
        uint32_t word = 0;
        std::memcpy(&word, at, 4);
        hash = (hash ^ word) * 0x100000001B3u;
        hash ^= hash >> 29;
    }
    for (; bytes != 0; --bytes, ++at) {
        hash = (hash ^ *at) * 0x100000001B3u;
    }
    return hash;
}

// Of a memory, most of which is zero.
uint64_t HashMemory(std::span<const uint8_t> memory) {
    static constexpr std::array<uint8_t, 4096> kZeroes{};
    uint64_t hash = 0;
    for (size_t at = 0; at < memory.size(); at += kZeroes.size()) {
        const auto block = memory.subspan(at, std::min(kZeroes.size(), memory.size() - at));
        if (std::memcmp(block.data(), kZeroes.data(), block.size()) != 0) {
            hash = Hash(block.data(), block.size(), hash ^ at);
        }
    }
    return hash;
}

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

Rectangle RectOf(const Step& step, const char* field, const host::Surface& surface) {
    const auto found = step.find(field);
    if (found == step.end()) {
        return {0, 0, surface.Width(), surface.Height()};
    }
    return {(*found)[0], (*found)[1], (*found)[2], (*found)[3]};
}

// A texture with a palette of 256 entries has that behind its pixels.
size_t BytesOf(const host::Surface& surface) {
    constexpr size_t kPaletteBytes = 256 * sizeof(uint32_t);
    const bool palette = (surface.Caps() & DDSCAPS_TEXTURE) != 0 &&
                         (surface.Format().dwFlags & DDPF_PALETTEINDEXED8) != 0;
    return size_t{surface.Height()} * static_cast<size_t>(surface.Pitch()) +
           (palette ? kPaletteBytes : 0);
}

template <class Unit>
void AppendRow(std::vector<uint32_t>& pixels, const uint8_t* row, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x, row += sizeof(Unit)) {
        Unit pixel;
        std::memcpy(&pixel, row, sizeof pixel);
        pixels.push_back(pixel);
    }
}

std::vector<uint32_t> PixelsOf(const host::Surface& surface) {
    std::vector<uint32_t> pixels;
    const uint32_t width = surface.Width(), bits = surface.Bits();
    pixels.reserve(size_t{width} * surface.Height());
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        if (bits == 8) {
            AppendRow<uint8_t>(pixels, surface.Row(y), width);
        } else if (bits == 16) {
            AppendRow<uint16_t>(pixels, surface.Row(y), width);
        } else if (bits == 32) {
            AppendRow<uint32_t>(pixels, surface.Row(y), width);
        } else {
            for (uint32_t x = 0; x < width; ++x) {
                pixels.push_back(surface.Pixel(x, y));
            }
        }
    }
    return pixels;
}

bool SameFormat(const DDPIXELFORMAT& a, const DDPIXELFORMAT& b) {
    return a.dwFlags == b.dwFlags && a.dwFourCC == b.dwFourCC &&
           a.dwRGBBitCount == b.dwRGBBitCount && a.dwRBitMask == b.dwRBitMask &&
           a.dwGBitMask == b.dwGBitMask && a.dwBBitMask == b.dwBBitMask;
}

// Nothing is on its way to the chip.
bool AtRest(PlayedDisplay& display) {
    return display.display->Config().timing.PipelineAtOnce() &&
           display.display->Config().timing.dmaWordsPerTick == 0 &&
           display.display->Config().timing.interruptLatency == 0 &&
           host::UnsentWords(display.display->Chip()).empty();
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

Checks::Checks(const Steps& steps, bool illegal, bool untouched)
    : steps_(steps), illegal_(illegal), untouched_(untouched) {
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
    if (untouched_ && MovesSurfaces(Field("do"))) {
        CheckUntouched();
    }
    if (kind == "start") {
        heapBlocks_ = host::heap::LiveBlocks();
        vddBlocks_ = host::TheMiniVdd().LiveBlocks();
    }
    blitted_.reset();
    triangles_.reset();
    if (!illegal_) {
        port_.Before(steps_[at_], player);
        // Its states were set.
        if (at_ != 0 && !trace_.passedOver[at_ - 1]) {
            triangles_ = TriangleCheck::Of(steps_, at_, player, textures_, untouched_);
        }
        if (!lossExplained_) {
            ExpectBlit(player);
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
    CheckBlit(player, outcome);
    CheckLoad(player);
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
    if (untouched_ && MovesSurfaces(kind)) {
        TakeShadows(player);
    }
}

void Checks::PassedOver(size_t, Player& player, const std::string&) {
    trace_.passedOver[at_] = true;
    if (untouched_ && MovesSurfaces(Field("do"))) {
        TakeShadows(player);
    }
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

void Checks::TakeShadows(Player& player) {
    for (auto& [start, shadow] : shadows_) {
        shadow.outside.clear();
    }
    for (auto& [name, one] : player.Displays()) {
        if (!one.directDraw) {
            continue;
        }
        board::Board& board = one.display->Board();
        const std::pair<const uint8_t*, size_t> memories[] = {
            {one.display->FrameBuffer(), board.FrameBuffer().size()},
            {one.display->LocalBuffer(), board.LocalBuffer().size()}};
        for (const auto& [start, bytes] : memories) {
            if (start == nullptr || bytes == 0) {
                continue;
            }
            std::vector<Stretch> inside;
            if (start == one.display->FrameBuffer()) {
                inside.push_back({0, one.display->ScreenBytes()});
            }
            for (const auto& surface : one.directDraw->Surfaces()) {
                const uint8_t* bytesOf = surface->Bytes();
                if (surface->HasVideoMemory() && bytesOf >= start && bytesOf < start + bytes) {
                    const auto offset = static_cast<size_t>(bytesOf - start);
                    inside.push_back({offset, offset + BytesOf(*surface)});
                }
            }
            std::ranges::sort(inside, {}, &Stretch::start);
            Shadow& shadow = shadows_[start];
            shadow.bytes.assign(start, start + bytes);
            size_t from = 0;
            for (const Stretch& one : inside) {
                if (one.start > from) {
                    shadow.outside.push_back({from, one.start});
                }
                from = std::max(from, one.end);
            }
            if (from < bytes) {
                shadow.outside.push_back({from, bytes});
            }
        }
    }
}

void Checks::CheckUntouched() {
    if (illegal_ || lossExplained_) {
        return;
    }
    for (const auto& [start, shadow] : shadows_) {
        for (const Stretch& one : shadow.outside) {
            if (std::memcmp(start + one.start, shadow.bytes.data() + one.start,
                            one.end - one.start) == 0) {
                continue;
            }
            size_t at = one.start;
            while (start[at] == shadow.bytes[at]) {
                ++at;
            }
            throw Violation(
                "untouched", at_,
                fmt::format("since the surfaces last changed, byte {} of a memory has "
                            "been written, which is of no surface (they leave {} to {})",
                            at, one.start, one.end));
        }
    }
}

void Checks::ExpectBlit(Player& player) {
    const Step& step = steps_[at_];
    const std::string kind = Field("do");
    const bool fill = kind == "colorFill" || kind == "depthFill" || kind == "ropFill";
    if (!fill && kind != "blt") {
        return;
    }
    try {
        host::Surface& to = player.SurfaceWithMemory(Field("surface"));
        if (!AtRest(player.DisplayOf(Field("surface"))) || (to.Caps() & DDSCAPS_TEXTURE) != 0) {
            return;
        }
        const Rectangle rect = RectOf(step, "rect", to);
        const uint32_t width = to.Width(), mask = to.Bits() == 32 ? ~0u : (1u << to.Bits()) - 1;
        if (kind == "depthFill" && to.Bits() == 16 &&
            !player.DisplayOf(Field("surface")).display->Board().LocalBuffer().empty()) {
            return; // a depth of 16 bits takes words of 32 on Glint (docs/hal-scripts.md)
        }
        if (fill) {
            Pixels pixels = PixelsOf(to);
            const uint32_t value = kind != "ropFill" ? step["value"].get<uint32_t>()
                                                     : (step["value"] == "0x00000042" ? 0u : ~0u);
            for (uint32_t y = rect.top; y < rect.bottom; ++y) {
                for (uint32_t x = rect.left; x < rect.right; ++x) {
                    pixels[y * width + x] = value & mask;
                }
            }
            blitted_ = std::move(pixels);
            return;
        }
        if (!step.contains("from") || step.contains("flags") || step.contains("destKey") ||
            (step.contains("sourceKey") && !step["sourceKey"].is_array())) {
            return;
        }
        host::Surface& from = player.SurfaceWithMemory(Field("from"));
        const Rectangle source = RectOf(step, "fromRect", from);
        const host::Display& display = *player.DisplayOf(Field("surface")).display;
        const bool flipX = step.value("mirrorLeftRight", false),
                   flipY = step.value("mirrorUpDown", false);
        for (const CopyException& exception : CopyExceptions()) {
            if (exception.holds({display.Config(), to, from, rect, source, flipX || flipY})) {
                return;
            }
        }
        if (!SameFormat(to.Format(), from.Format()) ||
            source.right - source.left != rect.right - rect.left ||
            source.bottom - source.top != rect.bottom - rect.top ||
            (from.HasVideoMemory() && (from.Caps() & DDSCAPS_TEXTURE) != 0)) {
            return;
        }
        const bool keyed = step.contains("sourceKey");
        const DDPIXELFORMAT& format = from.Format();
        const uint32_t colours = (format.dwFlags & DDPF_PALETTEINDEXED8) != 0
                                     ? ~0u
                                     : format.dwRBitMask | format.dwGBitMask | format.dwBBitMask;
        const uint32_t key = keyed ? step["sourceKey"][0].get<uint32_t>() : 0;
        const Pixels pixels = PixelsOf(from);
        Pixels result = PixelsOf(to);
        const bool overlaps = &from == &to && (flipX || flipY || keyed);
        if (overlaps) {
            return; // what is read behind a write of the same blit is nobody's promise
        }
        for (uint32_t y = rect.top; y < rect.bottom; ++y) {
            for (uint32_t x = rect.left; x < rect.right; ++x) {
                const uint32_t sx =
                    flipX ? source.right - 1 - (x - rect.left) : source.left + (x - rect.left);
                const uint32_t sy =
                    flipY ? source.bottom - 1 - (y - rect.top) : source.top + (y - rect.top);
                const uint32_t pixel = pixels[sy * from.Width() + sx];
                if (!keyed || ((pixel ^ key) & colours) != 0) {
                    result[y * width + x] = pixel;
                }
            }
        }
        blitted_ = std::move(result);
    } catch (const NotThereError&) {
        blitted_.reset();
    }
}

void Checks::CheckBlit(Player& player, const Outcome& outcome) {
    if (!blitted_ || outcome.Find("handled") != 1u || outcome.Find("result") != uint32_t{DD_OK}) {
        return;
    }
    const host::Surface& to = player.Surface(Field("surface"));
    const Pixels got = PixelsOf(to);
    for (size_t i = 0; i < got.size(); ++i) {
        if (got[i] != (*blitted_)[i]) {
            throw Violation("blit", at_,
                            fmt::format("pixel {},{}: the processor makes 0x{:X}, the chip 0x{:X}",
                                        i % to.Width(), i / to.Width(), (*blitted_)[i], got[i]));
        }
    }
}

void Checks::CheckLoad(Player& player) {
    if (Field("do") != "loadTexture" || illegal_ || lossExplained_ ||
        !AtRest(player.DisplayOf(Field("surface")))) {
        return;
    }
    const host::Surface *to = &player.SurfaceWithMemory(Field("surface")),
                        *from = &player.SurfaceWithMemory(Field("from"));
    const bool words = !player.DisplayOf(Field("surface")).display->Board().LocalBuffer().empty();
    for (size_t level = 0;; ++level) {
        if (words && to->Width() * to->Bits() < 32) {
            return; // Glint loads whole words (driver/texture/txdownld.cpp, WordsPerLine)
        }
        const Pixels loaded = PixelsOf(*to), source = PixelsOf(*from);
        for (size_t i = 0; i < source.size(); ++i) {
            if (loaded[i] != source[i]) {
                throw Violation("load", at_,
                                fmt::format("level {}, texel {},{}: 0x{:X} was loaded as 0x{:X}",
                                            level, i % to->Width(), i / to->Width(), source[i],
                                            loaded[i]));
            }
        }
        const auto &levels = player.Surface(Field("surface")).Chain(),
                   &sources = player.Surface(Field("from")).Chain();
        if (level == std::min(levels.size(), sources.size())) {
            return;
        }
        to = levels[level];
        from = sources[level];
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
    if (untouched_) {
        CheckUntouched();
    }
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
    if (host::heap::LiveBlocks() > heapAtStart_) {
        throw Violation("left-over", at_,
                        fmt::format("{} blocks of the shared heap are left",
                                    host::heap::LiveBlocks() - heapAtStart_));
    }
}

} // namespace korv::random
