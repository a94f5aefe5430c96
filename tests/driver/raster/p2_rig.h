#pragma once
// Random states, vertices and records for the members of Permedia 2, and the comparison with the
// plain reference under DMA and in FIFO mode.
#include "tests/driver/raster/p2_reference.h"
#include "tests/driver/raster/vertex_store.h"

#include <functional>
#include <random>
#include <type_traits>

namespace test {

class P2Rig : public RasterRig {
  public:
    explicit P2Rig(bool dma = true) : RasterRig(dma) {
        chip.Family = FamilyPermedia;
        chip.DeviceId = DevicePermedia2;
        ctx.TextureWidthScale = 256.0f / 2048;
        ctx.TextureHeightScale = 128.0f / 2048;
        ctx.TextureRepeatU = 8.0f;
        ctx.TextureRepeatMaskU = 7;
        ctx.TextureRepeatV = 16.0f;
        ctx.TextureRepeatMaskV = 15;
    }
    // The mode with the words that the state code sets for it.
    void SetCull(uint32_t mode) {
        ctx.CullMode = mode;
        ctx.CullSignA = mode == D3DCULL_NONE ? 0 : 0x80000000;
        ctx.CullSignB = mode == D3DCULL_CW ? 0x80000000 : 0;
    }
};

class P2Random {
  public:
    explicit P2Random(uint32_t seed) : random_(seed) {}

    uint32_t Pick(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
    float Unit() { return static_cast<float>(random_() >> 8) / 16777216.0f; }

    void State(P2Rig& rig, uint32_t flags) {
        rig.SetCull(1 + Pick(3));
        rig.ctx.RenderFlags = flags;
        rig.ctx.RenderCommand =
            0x10000 | Pick(2) * 0x40000 | Pick(2) * 0x2000 | Pick(2) * 0x4000 | Pick(2) * 4;
        rig.ctx.BlendForcesZeroAlpha = Pick(3);
        rig.ctx.StippleIndex = Pick(17);
        rig.ctx.BytesPerPixel = 1 + Pick(4);
        rig.chip.Family = Pick(4) == 0 ? FamilyGlint : FamilyPermedia;
    }

    // Few enough that triangles share them; some in one row or column, some far out of the texture.
    std::vector<D3DTLVERTEX> Vertices(size_t count) {
        const float spread = Pick(3) == 0 ? 3.0f : 200.0f;
        const float texture = Pick(3) == 0 ? 30.0f : 1.0f;
        std::vector<D3DTLVERTEX> vertices;
        for (size_t i = 0; i < count; ++i) {
            D3DTLVERTEX v =
                Vertex(10 + Unit() * spread, 10 + Unit() * spread, Unit(),
                       static_cast<D3DCOLOR>(random_()), static_cast<D3DCOLOR>(random_()));
            v.rhw = 0.1f + Unit();
            v.tu = (Unit() - 0.5f) * 2 * texture;
            v.tv = (Unit() - 0.5f) * 2 * texture;
            if (!vertices.empty() && Pick(6) == 0) {
                v.sx = vertices.back().sx;
            }
            if (!vertices.empty() && Pick(6) == 0) {
                v.sy = vertices.back().sy;
            }
            vertices.push_back(v);
        }
        return vertices;
    }

    // Runs of strips, fans and lists over the vertices, with any flags.
    std::vector<D3DTRIANGLE> Records(size_t vertices) {
        std::vector<D3DTRIANGLE> records;
        const auto any = [&] { return Pick(static_cast<uint32_t>(vertices)); };
        for (uint32_t runs = 1 + Pick(6); runs != 0; --runs) {
            uint32_t a = any(), b = any(), c = any();
            const uint32_t shape = Pick(4);
            for (uint32_t i = 0, n = 1 + Pick(8); i < n; ++i) {
                const uint32_t codes[] = {0, 1 + Pick(4), 1 + Pick(29), 0x1E, 0x1F, 0x1F};
                const uint32_t code = shape == 3 ? codes[Pick(6)]
                                      : i == 0   ? codes[Pick(3)]
                                                 : D3DTRIFLAG_EVEN;
                records.push_back(TriangleRecord(a, b, c, code | Pick(8) << 8));
                if (shape == 0) { // strip: the newest two stay, in turn
                    (i % 2 == 0 ? a : b) = c;
                } else if (shape == 1) { // fan
                    b = c;
                } else {
                    a = any();
                    b = Pick(2) == 0 ? c : any();
                }
                c = any();
            }
        }
        return records;
    }

    std::vector<D3DLINE> Lines(size_t vertices) {
        std::vector<D3DLINE> records(1 + Pick(6));
        for (D3DLINE& record : records) {
            record.v1 = static_cast<WORD>(Pick(static_cast<uint32_t>(vertices)));
            record.v2 = static_cast<WORD>(Pick(static_cast<uint32_t>(vertices)));
        }
        return records;
    }

  private:
    std::mt19937 random_;
};

// What a recording bus sees of the steps: a look at the FIFO when the credit runs out, and words.
inline std::vector<BusEvent> EventsOf(const std::vector<reference::Step>& steps, uint32_t space) {
    std::vector<BusEvent> events;
    int32_t credit = 0;
    for (const reference::Step& step : steps) {
        if (!step.wait) {
            events.push_back({'f', 0, step.value});
            continue;
        }
        credit -= static_cast<int32_t>(step.value);
        if (credit < 0) {
            events.push_back({'r', reg::InFIFOSpace, space});
            credit = static_cast<int32_t>(space - step.value);
        }
    }
    return events;
}

// One rig a mode for all comparisons: only eight buses can be attached at a time.
inline P2Rig& SharedRig(bool dma) {
    static P2Rig rigs[] = {P2Rig(false), P2Rig(true)};
    return rigs[dma];
}

// Draws the records in both modes and with the reference, from the same state.
template <class Reference = reference::P2Reference, class Record>
void ExpectLikeReference(const P2Rig& state, Renderer member, std::vector<D3DTLVERTEX> vertices,
                         const std::vector<Record>& records, bool fifo,
                         const std::function<void(std::type_identity_t<Reference>&)>& draw) {
    D3DContext context = state.ctx;
    ChipInfo chip = state.chip;
    DriverData driver = state.driver;
    driver.ChipInfo = &chip;
    context.Driver = &driver;
    Reference expected(context);
    draw(expected);

    for (const bool dma : {true, false}) {
        if (!dma && !fifo) {
            continue;
        }
        P2Rig& rig = SharedRig(dma);
        const CommandStream stream = rig.ctx.Stream;
        DriverData* const own = rig.ctx.Driver;
        rig.ctx = state.ctx;
        rig.ctx.Stream = stream;
        rig.ctx.Driver = own;
        rig.chip = state.chip;
        rig.bus.Clear();
        rig.bus.fifoSpace = 17 + context.StippleIndex * 3;
        const std::vector<D3DTLVERTEX> before = vertices;
        DrawRecords(rig, member, vertices, records);
        if (dma) {
            ASSERT_EQ(rig.Take(), expected.Words());
        } else {
            ASSERT_EQ(rig.bus.events, EventsOf(expected.steps, rig.bus.fifoSpace));
        }
        ASSERT_EQ(
            __builtin_memcmp(before.data(), vertices.data(), vertices.size() * sizeof(D3DTLVERTEX)),
            0);
        ASSERT_EQ(rig.ctx.StippleIndex, context.StippleIndex);
        ASSERT_EQ(rig.ctx.Copies.TextureReadMode, context.Copies.TextureReadMode);
        ASSERT_EQ(rig.ctx.Copies.TextureMapFormat, context.Copies.TextureMapFormat);
    }
}

} // namespace test
