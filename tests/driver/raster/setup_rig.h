#pragma once
// Rig, states, vertices and records for the members of a setup unit, and the comparison with the
// plain reference under DMA and in FIFO mode.
#include "tests/driver/raster/setup_reference.h"
#include "tests/driver/raster/vertex_store.h"

#include <cstddef>
#include <functional>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

namespace test {

class SetupRig : public RasterRig {
  public:
    explicit SetupRig(bool dma = true) : RasterRig(dma) {
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

class SetupRandom {
  public:
    explicit SetupRandom(uint32_t seed) : random_(seed) {}

    uint32_t Pick(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
    float Unit() { return static_cast<float>(random_() >> 8) / 16777216.0f; }

    void State(SetupRig& rig, uint32_t flags) {
        rig.SetCull(1 + Pick(3));
        rig.ctx.RenderFlags = flags;
        rig.ctx.RenderCommand = static_cast<uint32_t>(random_());
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

// One rig a mode for all comparisons: only eight buses can be attached at a time.
inline SetupRig& SharedRig(bool dma) {
    static SetupRig rigs[] = {SetupRig(false), SetupRig(true)};
    return rigs[dma];
}

// Draws the records in both modes and with the reference, from the same state.
template <class Reference, class Record>
void ExpectLikeReference(const SetupRig& state, Renderer member, std::vector<D3DTLVERTEX> vertices,
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
        SetupRig& rig = SharedRig(dma);
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
            ASSERT_EQ(rig.bus.events, expected.Events(rig.bus.fifoSpace));
        }
        ASSERT_EQ(
            __builtin_memcmp(before.data(), vertices.data(), vertices.size() * sizeof(D3DTLVERTEX)),
            0);
        ASSERT_EQ(rig.ctx.StippleIndex, context.StippleIndex);
        ASSERT_EQ(rig.ctx.Copies.TextureReadMode, context.Copies.TextureReadMode);
        ASSERT_EQ(rig.ctx.Copies.TextureMapFormat, context.Copies.TextureMapFormat);
    }
}

inline constexpr uint32_t kEven = D3DTRIFLAG_EVEN;

// A fan around vertex 0: 0, 1, 2 and 0, 2, 3 and 0, 3, 4 have areas of one sign, det 300 for the
// first.
inline std::vector<D3DTLVERTEX> FanVertices() {
    return {
        Vertex(20, 10, 0.5f, 0x40102030, 0x10000000), Vertex(30, 20, 0.25f, 0x80405060, 0x20000000),
        Vertex(10, 30, 1.0f, 0xC0708090, 0x30000000), Vertex(0, 20, 0.0f, 0xF0A0B0C0, 0xFF000000),
        Vertex(2, 5, 0.125f, 0x00D0E0F0, 0x01020304)};
}

// A vertex that also has coordinates.
inline D3DTLVERTEX TexturedVertex(float sx, float sy, float tu, float tv, float rhw, D3DCOLOR color,
                                  D3DCOLOR specular) {
    D3DTLVERTEX v = Vertex(sx, sy, 0.5f, color, specular);
    v.tu = tu;
    v.tv = tv;
    v.rhw = rhw;
    return v;
}

// Places alone, as they go to the slot at tag distance `slot`.
inline Words XY(uint32_t slot, const D3DTLVERTEX& v) {
    return {0x0C008230 + slot, Bits(v.sx), Bits(v.sy)};
}
inline Words XYZ(uint32_t slot, const D3DTLVERTEX& v) {
    return {0x1C008230 + slot, Bits(v.sx), Bits(v.sy), Bits(v.sz)};
}
inline Words FullXYZ(const std::vector<D3DTLVERTEX>& v, int a, int b, int c) {
    return XYZ(0, v[a]) + XYZ(0x10, v[b]) + XYZ(0x20, v[c]);
}

// The words of one instruction.
template <class Record>
Words Draw(RasterRig& rig, Renderer member, std::vector<D3DTLVERTEX> vertices,
           const std::vector<Record>& records) {
    DrawRecords(rig, member, vertices, records);
    return rig.Take();
}
inline Words Draw(RasterRig& rig, Renderer member, std::vector<D3DTLVERTEX> vertices,
                  const std::vector<D3DTRIANGLE>& records = {TriangleRecord(0, 1, 2)}) {
    return Draw<D3DTRIANGLE>(rig, member, std::move(vertices), records);
}

// The counts of the transfers that two equal triangles cause in a sub-buffer of `words`.
inline Words TransfersOfTwo(SetupRig& rig, Renderer member,
                            const std::vector<D3DTLVERTEX>& vertices, uint32_t words,
                            const D3DTRIANGLE& second = TriangleRecord(0, 1, 2)) {
    static Words counts;
    counts.clear();
    CommandStream& stream = rig.ctx.Stream;
    stream.StartDMA = [](DriverData*, uint32_t, uint32_t count, uint32_t, uint32_t*, uint32_t) {
        counts.push_back(count);
        return 0;
    };
    stream.SubBufferWords = stream.SubBufferFlushWords = words;
    Draw(rig, member, vertices, {TriangleRecord(0, 1, 2), second});
    return counts;
}

// A record that is drawn, and whether the vertex store then holds its vertices: behind a culled
// continuation, whose vertex was not sent, it does not.
struct DrawnRecord {
    size_t record;
    bool complete;
};

// Worked out with no strip logic, by the meaning of the flags: EVEN goes on from a kept triangle,
// and a START of n answers for the n records behind it.
template <class Reference>
std::vector<DrawnRecord> RecordsDrawn(uint32_t cullMode, const std::vector<D3DTLVERTEX>& vertices,
                                      const std::vector<D3DTRIANGLE>& records) {
    std::vector<DrawnRecord> drawn;
    bool goesOn = false, complete = false;
    size_t answered = 0; // continuations below this place are not tested
    for (size_t i = 0; i < records.size(); ++i) {
        const D3DTRIANGLE& record = records[i];
        const float det =
            Reference::Det(vertices[record.v1], vertices[record.v2], vertices[record.v3]);
        const bool away = cullMode != D3DCULL_NONE && Reference::FacesAway(cullMode, det);
        const uint32_t code = record.wFlags & 0x1F;
        if (goesOn && code == D3DTRIFLAG_EVEN) {
            if (away && i >= answered) {
                complete = false;
            } else {
                drawn.push_back({i, complete});
            }
            continue;
        }
        const size_t run = goesOn && code <= 29 ? code : 0;
        if (away) {
            i += run;
            goesOn = false;
            continue;
        }
        drawn.push_back({i, true});
        complete = true;
        goesOn = cullMode != D3DCULL_NONE;
        answered = i + 1 + run;
    }
    return drawn;
}

// Fans whose records share what their flags say, cut by culled triangles and runs of every length.
inline std::vector<D3DTRIANGLE> RandomFans(SetupRandom& random, uint32_t vertices, size_t count) {
    std::vector<D3DTRIANGLE> records;
    while (records.size() < count) {
        const uint32_t centre = random.Pick(vertices);
        uint32_t other = random.Pick(vertices), newest = random.Pick(vertices);
        const uint32_t starts[] = {D3DTRIFLAG_START, random.Pick(30), D3DTRIFLAG_ODD};
        records.push_back(TriangleRecord(centre, other, newest, starts[random.Pick(3)]));
        for (uint32_t length = random.Pick(8); length != 0; --length) {
            other = newest;
            newest = random.Pick(vertices);
            records.push_back(TriangleRecord(centre, other, newest, kEven));
        }
    }
    return records;
}

} // namespace test
