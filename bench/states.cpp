// Cost of a texture bind and of a batch of eight render states, as ratios to storing the same words
// from a ready-made array into the same sub-buffers. Timed in turn, in one process, in DMA mode.
#include "driver/d3d/states.h"

#include "bench/measure.h"
#include "driver/texture/textures_bind.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"

#include <cstdio>
#include <iterator>
#include <vector>

namespace {

constexpr uint32_t kCalls = 4000;
constexpr int kRounds = 201;

// The chip takes words in no time here: only the driver's side is of interest.
int32_t TakeWords(DriverData*, uint32_t, uint32_t, uint32_t, uint32_t*, uint32_t) {
    return 0;
}

// One 32-bit store a word, from the start of a sub-buffer to its end and again.
__attribute__((noinline)) void StoreReadyMade(const std::vector<uint32_t>& words,
                                              const SubBuffer& buffer) {
    uint32_t* at = buffer.Linear;
    for (uint32_t call = 0; call < kCalls; ++call) {
        if (at + words.size() > buffer.Last) {
            at = buffer.Linear;
        }
        for (const uint32_t word : words) {
            PutWord(at++, word);
        }
    }
}

template <class Call>
void Measure(const char* name, D3DContext* ctx, Call&& call) {
    CommandStream& stream = ctx->Stream;
    stream.WritePointer = stream.Current().Linear;
    call();
    const std::vector<uint32_t> words(stream.Current().Linear, stream.WritePointer);
    std::vector<double> calling, storing, ratios;
    for (int round = 0; round < kRounds; ++round) {
        calling.push_back(bench::Seconds([&] {
            for (uint32_t i = 0; i < kCalls; ++i) {
                call();
            }
        }));
        storing.push_back(bench::Seconds([&] { StoreReadyMade(words, stream.Current()); }));
        ratios.push_back(calling.back() / storing.back());
    }
    std::printf("%-32s %6zu %9.1f %9.1f %7.2f\n", name, words.size(),
                bench::Median(calling) * 1e9 / kCalls, bench::Median(storing) * 1e9 / kCalls,
                bench::Median(ratios));
}

// The states that change between the objects of a scene.
constexpr D3DRENDERSTATETYPE kBatch[] = {
    D3DRENDERSTATE_TEXTUREHANDLE,    D3DRENDERSTATE_TEXTUREMAPBLEND, D3DRENDERSTATE_TEXTUREMAG,
    D3DRENDERSTATE_SHADEMODE,        D3DRENDERSTATE_SRCBLEND,        D3DRENDERSTATE_DESTBLEND,
    D3DRENDERSTATE_ALPHABLENDENABLE, D3DRENDERSTATE_FOGCOLOR};

} // namespace

int main() {
    host::DisplayConfig config;
    config.deviceId = DevicePermedia2;
    host::Display display(config);
    if (!display.Start()) {
        std::fprintf(stderr, "bench: the driver refused the display\n");
        return 1;
    }
    host::DirectDraw directDraw(display);
    host::Surface& target = directDraw.CreateTarget(640, 480);
    host::Device3D device(directDraw, target);
    const uint32_t handle =
        device.CreateTexture(directDraw.CreateTexture(256, 256, host::Format4444()));
    D3DContext* ctx = device.Context();
    const CommandStream before = ctx->Stream;
    ctx->Stream.StartDMA = TakeWords;
    // The fill limit of a busy scene.
    ctx->Stream.SubBufferFlushWords = ctx->Stream.SubBufferWords;
    ctx->TextureHandle = handle;

    host::Surface& buffer = directDraw.CreateSystem(64, 1);
    auto* states = reinterpret_cast<uint32_t*>(buffer.Bytes());
    const uint32_t values[std::size(kBatch)] = {handle,
                                                D3DTBLEND_MODULATE,
                                                D3DFILTER_LINEAR,
                                                D3DSHADE_GOURAUD,
                                                D3DBLEND_SRCALPHA,
                                                D3DBLEND_INVSRCALPHA,
                                                1,
                                                0x808080};
    for (size_t i = 0; i != std::size(kBatch); ++i) {
        states[2 * i] = kBatch[i];
        states[2 * i + 1] = values[i];
    }
    D3DHAL_RENDERSTATEDATA data{};
    data.dwhContext = device.Handle();
    data.dwCount = std::size(kBatch);
    data.lpExeBuf = buffer.Interface();

    std::printf("%-32s %6s %9s %9s %7s\n", "Permedia 2", "words", "call ns", "store ns", "ratio");
    Measure("ChangeTexturePermedia", ctx, [&] { ChangeTexturePermedia(ctx); });
    Measure("RenderState32, 8 states", ctx, [&] { RenderState32(&data); });
    ctx->Stream = before;
    return 0;
}
