// Cost of the triangle members, as a ratio to storing the same words from a ready-made
// array into a ring of the same size. Both are timed in turn, in one process.
//
//   bench_triangles              table of ratios
//   bench_triangles --count N [MEMBER [MESH]]
//                                just renders about N triangles, for an instruction counter
#include "driver/core/dma.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/gl_tex.h"
#include "driver/raster/p2_fast.h"
#include "driver/raster/p2_tex.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

namespace {

constexpr uint32_t kRingWords = 64 * 1024 / 4;
constexpr uint32_t kSubBuffers = 8;
constexpr uint32_t kSubBufferWords = kRingWords / kSubBuffers;
constexpr float kScreen = 640.0f;
constexpr int kRounds = 401;

std::vector<uint32_t>* keptWords; // what is sent goes here too, while set
size_t sentWords;

int32_t TakeWords(DriverData*, uint32_t, uint32_t count, uint32_t, uint32_t* linear, uint32_t) {
    sentWords += count;
    if (keptWords != nullptr) {
        keptWords->insert(keptWords->end(), linear, linear + count);
    }
    return 0;
}

struct Rig {
    ChipInfo chip{};
    DriverData driver{};
    D3DContext ctx{};
    alignas(64) uint32_t ring[kRingWords]{};

    Rig() {
        chip.Family = FamilyGlint;
        chip.DeviceId = DeviceTX;
        driver.ChipInfo = &chip;
        ctx.Magic = kContextMagic;
        ctx.Driver = &driver;
        ctx.CullMode = D3DCULL_NONE;
        ctx.RenderCommand = 0x10000;
        ctx.StippleIndex = kNoStipplePattern;
        ctx.BytesPerPixel = 2;
        ctx.TextureWidth = ctx.TextureHeight = 256.0f;
        ctx.TextureWidthScale = ctx.TextureHeightScale = 256.0f / 2048.0f;
        ctx.TextureRepeatU = ctx.TextureRepeatV = 8.0f;
        ctx.TextureRepeatMaskU = ctx.TextureRepeatMaskV = 7;
        CommandStream& stream = ctx.Stream;
        stream.CommandMode = kCommandModeDMA;
        stream.SubBufferCount = kSubBuffers;
        stream.StartDMA = TakeWords;
        stream.SubBufferWords = kSubBufferWords;
        stream.SubBufferFlushWords = kSubBufferWords;
        for (uint32_t i = 0; i < kSubBuffers; ++i) {
            uint32_t* first = ring + i * kSubBufferWords;
            stream.SubBuffers[i] = {0, first, first + kSubBufferWords - 1};
        }
        stream.WritePointer = ring;
    }
};

struct Mesh {
    std::vector<D3DTLVERTEX> vertices;
    std::vector<D3DTRIANGLE> triangles;
};

D3DTLVERTEX RandomVertex(std::mt19937& random, float x, float y) {
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    D3DTLVERTEX v{};
    v.sx = x;
    v.sy = y;
    v.sz = unit(random);
    v.rhw = 0.1f + unit(random);
    v.color = random();
    v.specular = random();
    v.tu = unit(random);
    v.tv = unit(random);
    return v;
}

D3DTRIANGLE Triangle(uint32_t a, uint32_t b, uint32_t c) {
    D3DTRIANGLE triangle{};
    triangle.v1 = static_cast<WORD>(a);
    triangle.v2 = static_cast<WORD>(b);
    triangle.v3 = static_cast<WORD>(c);
    return triangle;
}

// 64 by 64 cells over the screen, every vertex moved by up to a third of a cell.
Mesh JitteredGrid() {
    constexpr uint32_t kCells = 64;
    constexpr float kCell = kScreen / (kCells + 1);
    std::mt19937 random(1);
    std::uniform_real_distribution<float> jitter(-kCell / 3, kCell / 3);
    Mesh mesh;
    for (uint32_t y = 0; y <= kCells; ++y) {
        for (uint32_t x = 0; x <= kCells; ++x) {
            mesh.vertices.push_back(
                RandomVertex(random, (static_cast<float>(x) + 0.5f) * kCell + jitter(random),
                             (static_cast<float>(y) + 0.5f) * kCell + jitter(random)));
        }
    }
    for (uint32_t y = 0; y < kCells; ++y) {
        for (uint32_t x = 0; x < kCells; ++x) {
            const uint32_t corner = y * (kCells + 1) + x;
            const uint32_t below = corner + kCells + 1;
            mesh.triangles.push_back(Triangle(corner, corner + 1, below));
            mesh.triangles.push_back(Triangle(corner + 1, below + 1, below));
        }
    }
    return mesh;
}

Mesh RandomTriangles(uint32_t count) {
    std::mt19937 random(2);
    std::uniform_real_distribution<float> place(0.0f, kScreen);
    Mesh mesh;
    for (uint32_t i = 0; i < count * 3; ++i) {
        mesh.vertices.push_back(RandomVertex(random, place(random), place(random)));
    }
    for (uint32_t i = 0; i < count; ++i) {
        mesh.triangles.push_back(Triangle(3 * i, 3 * i + 1, 3 * i + 2));
    }
    return mesh;
}

// One strip in which each triangle after the first has one new vertex, its last.
Mesh Strip(uint32_t count) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> place(0.0f, kScreen);
    Mesh mesh;
    for (uint32_t i = 0; i < count + 2; ++i) {
        mesh.vertices.push_back(RandomVertex(random, place(random), place(random)));
    }
    for (uint32_t i = 0; i < count; ++i) {
        mesh.triangles.push_back(i % 2 == 0 ? Triangle(i, i + 1, i + 2)
                                            : Triangle(i + 1, i, i + 2));
        mesh.triangles.back().wFlags = i == 0 ? D3DTRIFLAG_START : D3DTRIFLAG_EVEN;
    }
    return mesh;
}

struct MeshKind {
    const char* name;
    Mesh (*make)(uint32_t count);
};
constexpr MeshKind kGrid{"grid", [](uint32_t) { return JitteredGrid(); }};
constexpr MeshKind kRandom{"random", RandomTriangles};
constexpr MeshKind kStrip{"strip", Strip};

struct MemberKind {
    const char* name;
    Renderer member;
    uint32_t flags; // RenderFlags
    MeshKind meshes[2];
};
constexpr uint32_t kPlainFlags = RF_GOURAUD | RF_ZENABLE | RF_FOG;
constexpr uint32_t kTextureFlags = RF_GOURAUD | RF_ZENABLE | RF_TEXTURE | RF_PERSPECTIVE;
constexpr MemberKind kMembers[] = {
    {"Glint_Tri_XYZ_RGBF", Glint_Tri_XYZ_RGBF, kPlainFlags, {kGrid, kRandom}},
    {"Glint_Tri_XYZ_RGB", Glint_Tri_XYZ_RGB, kPlainFlags, {kGrid, kRandom}},
    {"Glint_Tri_XYZ_STQ_RGBF", Glint_Tri_XYZ_STQ_RGBF, kPlainFlags, {kGrid, kRandom}},
    {"Delta_Tri_XYZ_STQ_RGBF", Delta_Tri_XYZ_STQ_RGBF, kTextureFlags | RF_FOG, {kRandom, kStrip}},
    {"P2_GouraudTextureZ", P2_GouraudTextureZ, kTextureFlags, {kRandom, kStrip}},
    {"P2_Tri_XYZ_STQ_RGBFS", P2_Tri_XYZ_STQ_RGBFS, kTextureFlags, {kRandom, kStrip}},
};

void Render(D3DContext* ctx, Renderer member, Mesh& mesh) {
    D3DINSTRUCTION ins{D3DOP_TRIANGLE, sizeof(D3DTRIANGLE),
                       static_cast<WORD>(mesh.triangles.size())};
    member(ctx, &ins, mesh.vertices.data(), mesh.triangles.data());
}

// One 32-bit store a word, as the renderers do, into the ring's sub-buffers in turn.
__attribute__((noinline, optimize("no-tree-vectorize", "no-tree-loop-distribute-patterns"))) void
StoreReadyMade(const std::vector<uint32_t>& words, uint32_t* ring) {
    const uint32_t* from = words.data();
    const uint32_t* const end = from + words.size();
    while (from != end) {
        const uint32_t run = std::min<uint32_t>(kRingWords, static_cast<uint32_t>(end - from));
        for (uint32_t i = 0; i < run; ++i) {
            ring[i] = from[i];
        }
        from += run;
        asm volatile("" : : "r"(ring) : "memory");
    }
}

double Seconds(auto&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double>& values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

void Measure(const MemberKind& kind, const MeshKind& meshKind) {
    const Renderer member = kind.member;
    Mesh mesh = meshKind.make(8192);
    auto rig = std::make_unique<Rig>();
    rig->ctx.RenderFlags = kind.flags;
    std::vector<uint32_t> words;
    keptWords = &words;
    Render(&rig->ctx, member, mesh);
    CommandStream& stream = rig->ctx.Stream;
    words.insert(words.end(), stream.Current().Linear, stream.WritePointer);
    keptWords = nullptr;

    std::vector<double> drawing, storing, ratios;
    for (int round = 0; round < kRounds; ++round) {
        drawing.push_back(Seconds([&] { Render(&rig->ctx, member, mesh); }));
        storing.push_back(Seconds([&] { StoreReadyMade(words, rig->ring); }));
        ratios.push_back(drawing.back() / storing.back());
    }
    const double triangles = static_cast<double>(mesh.triangles.size());
    std::printf("%-22s %-8s %6.1f %9.1f %9.1f %7.2f\n", kind.name, meshKind.name,
                static_cast<double>(words.size()) / triangles, Median(drawing) * 1e9 / triangles,
                Median(storing) * 1e9 / triangles, Median(ratios));
}

} // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::strcmp(argv[1], "--count") == 0) {
        const std::string_view memberName = argc > 3 ? argv[3] : kMembers[0].name;
        const std::string_view meshName = argc > 4 ? argv[4] : "random";
        const auto count = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10));
        auto rig = std::make_unique<Rig>();
        for (const MemberKind& kind : kMembers) {
            for (const MeshKind& meshKind : kind.meshes) {
                if (kind.name == memberName && meshKind.name == meshName) {
                    Mesh mesh = meshKind.make(std::clamp(count, 1u, 20000u));
                    rig->ctx.RenderFlags = kind.flags;
                    Render(&rig->ctx, kind.member, mesh);
                    std::printf("triangles %zu words %zu\n", mesh.triangles.size(),
                                sentWords + rig->ctx.Stream.WordsWritten());
                    return 0;
                }
            }
        }
        return 1;
    }
    std::printf("%-22s %-8s %6s %9s %9s %7s\n", "member", "mesh", "words", "draw ns", "store ns",
                "ratio");
    for (const MemberKind& kind : kMembers) {
        for (const MeshKind& meshKind : kind.meshes) {
            Measure(kind, meshKind);
        }
    }
    return 0;
}
