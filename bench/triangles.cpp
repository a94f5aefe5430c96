// Cost of the host set-up triangle members, as a ratio to storing the same words from a ready-made
// array into a ring of the same size. Both are timed in turn, in one process.
//
//   bench_triangles              table of ratios
//   bench_triangles --count N    just renders N random triangles, for an instruction counter
#include "driver/core/dma.h"
#include "driver/raster/gl_gour.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
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
        ctx.RenderFlags = RF_GOURAUD | RF_ZENABLE | RF_FOG;
        ctx.StippleIndex = kNoStipplePattern;
        ctx.BytesPerPixel = 2;
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
    v.rhw = 1.0f;
    v.color = random();
    v.specular = random();
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

void Measure(const char* memberName, Renderer member, const char* meshName, Mesh mesh) {
    auto rig = std::make_unique<Rig>();
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
    std::printf("%-20s %-8s %6.1f %9.1f %9.1f %7.2f\n", memberName, meshName,
                static_cast<double>(words.size()) / triangles, Median(drawing) * 1e9 / triangles,
                Median(storing) * 1e9 / triangles, Median(ratios));
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--count") == 0) {
        auto rig = std::make_unique<Rig>();
        const auto count = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10));
        Mesh mesh = RandomTriangles(std::clamp(count, 1u, 20000u));
        Render(&rig->ctx, Glint_Tri_XYZ_RGBF, mesh);
        std::printf("triangles %zu words %zu\n", mesh.triangles.size(),
                    sentWords + rig->ctx.Stream.WordsWritten());
        return 0;
    }
    std::printf("%-20s %-8s %6s %9s %9s %7s\n", "member", "mesh", "words", "draw ns", "store ns",
                "ratio");
    const struct {
        const char* name;
        Renderer member;
    } members[] = {{"Glint_Tri_XYZ_RGBF", Glint_Tri_XYZ_RGBF},
                   {"Glint_Tri_XYZ_RGB", Glint_Tri_XYZ_RGB}};
    for (const auto& [name, member] : members) {
        Measure(name, member, "grid", JitteredGrid());
        Measure(name, member, "random", RandomTriangles(8192));
    }
    return 0;
}
