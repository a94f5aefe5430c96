// Cost of one RenderPrimitive call with one triangle in the steady state: no dirty state, DMA mode.
#include "bench/measure.h"
#include "driver/d3d/execute.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"

#include <cstdio>
#include <vector>

namespace {

constexpr uint32_t kCalls = 4000;
constexpr int kRounds = 201;

// The chip takes words in no time here: only the driver's side is of interest.
int32_t TakeWords(DriverData*, uint32_t, uint32_t, uint32_t, uint32_t*, uint32_t) {
    return 0;
}

D3DTLVERTEX Vertex(float x, float y, uint32_t color) {
    D3DTLVERTEX v{};
    v.sx = x;
    v.sy = y;
    v.sz = 0.5f;
    v.rhw = 1;
    v.color = color;
    v.specular = 0xFF000000;
    return v;
}

void Measure(uint32_t deviceId, const char* name) {
    host::DisplayConfig config;
    config.deviceId = deviceId;
    host::Display display(config);
    if (!display.Start()) {
        std::fprintf(stderr, "bench: the driver refused the display\n");
        return;
    }
    host::DirectDraw directDraw(display);
    host::Surface& target = directDraw.CreateTarget(640, 480);
    host::Surface& depth = directDraw.CreateZBuffer(640, 480);
    host::Device3D device(directDraw, target, &depth);
    device.SetState(D3DRENDERSTATE_ZENABLE, 1u);
    device.SetState(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
    const D3DTLVERTEX a = Vertex(10, 10, 0xFFFF0000), b = Vertex(60, 15, 0xFF00FF00),
                      c = Vertex(20, 70, 0xFF0000FF);
    device.Triangle(a, b, c); // settles all state
    device.Finish();

    host::Surface& records = directDraw.CreateSystem(64, 1);
    host::Surface& vertices = directDraw.CreateSystem(64, 1);
    auto* record = reinterpret_cast<D3DTRIANGLE*>(records.Bytes());
    *record = {};
    record->v1 = 0;
    record->v2 = 1;
    record->v3 = 2;
    auto* vertex = reinterpret_cast<D3DTLVERTEX*>(vertices.Bytes());
    vertex[0] = a;
    vertex[1] = b;
    vertex[2] = c;
    D3DHAL_RENDERPRIMITIVEDATA data{};
    data.dwhContext = device.Handle();
    data.lpExeBuf = records.Interface();
    data.lpTLBuf = vertices.Interface();
    data.diInstruction = {D3DOP_TRIANGLE, sizeof(D3DTRIANGLE), 1};
    D3DContext* ctx = device.Context();
    const Renderer member = ctx->TriangleRenderer;
    const StartDMAFunction start = ctx->Stream.StartDMA;
    ctx->Stream.StartDMA = TakeWords;

    std::vector<double> whole, alone;
    for (int round = 0; round < kRounds; ++round) {
        whole.push_back(bench::Seconds([&] {
            for (uint32_t i = 0; i < kCalls; ++i) {
                RenderPrimitive(&data);
            }
        }));
        alone.push_back(bench::Seconds([&] {
            for (uint32_t i = 0; i < kCalls; ++i) {
                member(ctx, &data.diInstruction, vertex, record);
            }
        }));
    }
    ctx->Stream.StartDMA = start;
    ctx->Stream.WritePointer = ctx->Stream.Current().Linear;
    const double call = bench::Median(whole) * 1e9 / kCalls;
    const double renderer = bench::Median(alone) * 1e9 / kCalls;
    std::printf("%-10s %10.1f %14.1f %14.1f\n", name, call, renderer, call - renderer);
}

} // namespace

int main() {
    std::printf("%-10s %10s %14s %14s\n", "chip", "ns a call", "renderer alone", "of the call");
    Measure(DeviceTX, "TX");
    Measure(DevicePermedia, "Permedia");
    return 0;
}
