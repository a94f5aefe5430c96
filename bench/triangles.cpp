// The renderers alone: the linked driver's and the DLL's, in one process, into one ring of
// sub-buffers in ordinary memory.
#include "bench/mesh.h"
#include "bench/session.h"
#include "driver/core/dma.h"
#include "driver/core/records/texture_record.h"
#include "driver/raster/del_gour.h"
#include "driver/raster/del_mip.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/gl_point.h"
#include "driver/raster/gl_tex.h"
#include "driver/raster/gl_wire.h"
#include "driver/raster/p2_fast.h"
#include "driver/raster/p2_gour.h"
#include "driver/raster/p2_mip.h"
#include "driver/raster/p2_tex.h"
#include "host/driver_module.h"
#include "host/loader/image.h"
#include "host/loader/renderer_pairs.h"

#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

constexpr uint32_t kRingWords = 64 * 1024 / 4;
constexpr uint32_t kSubBuffers = 8;
constexpr uint32_t kSubBufferWords = kRingWords / kSubBuffers;

std::vector<uint32_t>* keptWords; // what is sent goes here too, while set

// A DLL's stack is aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) int32_t TakeWords(DriverData*, uint32_t, uint32_t count,
                                                           uint32_t, uint32_t* linear, uint32_t) {
    if (keptWords != nullptr) {
        keptWords->insert(keptWords->end(), linear, linear + count);
    }
    return 0;
}

struct Member {
    std::string_view name;
    Renderer linked;
    bool line = false;
};
#define KORV_MEMBER(name)                                                                          \
    { #name, name }
constexpr Member kMembers[] = {
    KORV_MEMBER(Glint_Tri_XYZ_RGBF),
    KORV_MEMBER(Glint_Tri_XYZ_STQ_RGBF),
    KORV_MEMBER(Delta_Tri_XYZ_RGBF),
    KORV_MEMBER(Delta_Tri_XYZ_STQ_RGBF),
    KORV_MEMBER(P2_Tri_XYZ_RGBFS),
    KORV_MEMBER(P2_GouraudTextureZ),
    KORV_MEMBER(P2_Tri_XYZ_STQ_RGBFS),
    KORV_MEMBER(Glint_Tri_XY_FLAT),
    KORV_MEMBER(Glint_Tri_XY_FLAT_F),
    KORV_MEMBER(Glint_Tri_XYZ_FLAT),
    KORV_MEMBER(Glint_Tri_XYZ_FLAT_F),
    KORV_MEMBER(Glint_Tri_XY_RGB),
    KORV_MEMBER(Glint_Tri_XY_RGBF),
    KORV_MEMBER(Glint_Tri_XYZ_RGB),
    KORV_MEMBER(Glint_Tri_XY_STQ_FLAT),
    KORV_MEMBER(Glint_Tri_XY_STQ_FLAT_F),
    KORV_MEMBER(Glint_Tri_XYZ_STQ_FLAT),
    KORV_MEMBER(Glint_Tri_XYZ_STQ_FLAT_F),
    KORV_MEMBER(Glint_Tri_XY_STQ_RGB),
    KORV_MEMBER(Glint_Tri_XY_STQ_RGBF),
    KORV_MEMBER(Glint_Tri_XYZ_STQ_RGB),
    KORV_MEMBER(Glint_Tri_XY_ST_FLAT),
    KORV_MEMBER(Glint_Tri_XY_ST_FLAT_F),
    KORV_MEMBER(Glint_Tri_XYZ_ST_FLAT),
    KORV_MEMBER(Glint_Tri_XYZ_ST_FLAT_F),
    KORV_MEMBER(Glint_Tri_XY_ST_RGB),
    KORV_MEMBER(Glint_Tri_XY_ST_RGBF),
    KORV_MEMBER(Glint_Tri_XYZ_ST_RGB),
    KORV_MEMBER(Glint_Tri_XYZ_ST_RGBF),
    KORV_MEMBER(Glint_TriWire_XYZ_STQ_RGBF),
    KORV_MEMBER(Glint_TriPoint_XYZ_STQ_RGBF),
    {"Glint_Line_XYZ_STQ_RGBF", Glint_Line_XYZ_STQ_RGBF, true},
    KORV_MEMBER(Delta_Tri_XY_FLAT),
    KORV_MEMBER(Delta_TriPoint_XYZ_RGBF),
    KORV_MEMBER(Delta_TriWire_XYZ_RGBF),
    KORV_MEMBER(Delta_TriWire_XYZ_STQ_RGBF),
    KORV_MEMBER(Delta_TriWire_XYZ_STQ_RGB_FogSpecular),
    KORV_MEMBER(Delta_Tri_XYZ_STQ_RGB_FogSpecular),
    KORV_MEMBER(Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular),
    KORV_MEMBER(Delta_MipPMTri_XYZ_STQ_RGBF),
    {"Delta_Line_XYZ_STQ_RGBF", Delta_Line_XYZ_STQ_RGBF, true},
    KORV_MEMBER(P2_Tri_XY_FLATS),
    KORV_MEMBER(P2_TriPoint_XYZ_RGBFS),
    KORV_MEMBER(P2_TriWire_XYZ_RGBFS),
    KORV_MEMBER(P2_TriWire_XYZ_STQ_RGBFS),
    KORV_MEMBER(P2_MipTri_XYZ_STQ_RGBFS),
    KORV_MEMBER(P2_GouraudTextureKSZ),
    KORV_MEMBER(P2_GouraudTextureFogZ),
    KORV_MEMBER(P2_GouraudTextureZMM),
    {"P2_Line_XYZ_STQ_RGBFS", P2_Line_XYZ_STQ_RGBFS, true},
};
#undef KORV_MEMBER

bool Says(std::string_view name, std::string_view part) {
    return name.find(part) != std::string_view::npos;
}

// The states under which a member draws, by its name. Fog goes along where a setup unit takes it as
// a word of its own and the name ends with it.
uint32_t FlagsOf(std::string_view name) {
    uint32_t flags = RF_ZENABLE;
    flags |= Says(name, "FLAT") ? 0u : +RF_GOURAUD;
    flags |= Says(name, "ST") || Says(name, "Texture") ? +RF_TEXTURE : 0u;
    flags |= Says(name, "STQ") || Says(name, "Texture") ? +RF_PERSPECTIVE : 0u;
    flags |= name.ends_with("RGBF") || name.ends_with("_F") || Says(name, "FogZ") ? +RF_FOG : 0u;
    flags |= name.ends_with("FogSpecular") || Says(name, "KSZ") ? +RF_SPECULAR : 0u;
    return flags;
}

struct Rig {
    ChipInfo chip{};
    DriverData driver{};
    D3DContext ctx{};
    TextureRecord texture{};
    alignas(64) uint32_t ring[kRingWords]{};

    explicit Rig(std::string_view member) {
        const bool permedia = member.starts_with("P2");
        chip.Family = permedia ? FamilyPermedia : FamilyGlint;
        chip.DeviceId = permedia ? DevicePermedia2 : DeviceTX;
        driver.ChipInfo = &chip;
        ctx.Magic = kContextMagic;
        ctx.Driver = &driver;
        ctx.RenderFlags = FlagsOf(member);
        // On, and keeps what the mesh is made of.
        ctx.CullMode = D3DCULL_CW;
        ctx.CullSignA = ctx.CullSignB = 0x80000000;
        ctx.RenderCommand = 0x10000;
        ctx.StippleIndex = kNoStipplePattern;
        ctx.BytesPerPixel = 2;
        ctx.UseDelta = member.starts_with("Delta");
        ctx.TextureWidth = ctx.TextureHeight = 256.0f;
        ctx.TextureWidthScale = ctx.TextureHeightScale = 256.0f / 2048.0f;
        ctx.TextureRepeatU = ctx.TextureRepeatV = 8.0f;
        ctx.TextureRepeatMaskU = ctx.TextureRepeatMaskV = 7;
        ctx.CurrentTexture = &texture;
        texture.LevelCount = 9;
        texture.TexelCount = 65536.0f;
        for (uint32_t i = 0; i < 9; ++i) {
            const float scale = ctx.TextureWidthScale / static_cast<float>(1u << i);
            texture.Levels[i] = {8 - i, 8 - i, scale, scale, 1, 2, 3, 0x1000 + i};
        }
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

struct Drawing {
    Mesh mesh;
    std::vector<D3DLINE> lines; // in place of the triangles, where there are any
};

void Render(Rig& rig, Renderer renderer, Drawing& drawing) {
    const bool line = !drawing.lines.empty();
    const auto count = line ? drawing.lines.size() : drawing.mesh.triangles.size();
    D3DINSTRUCTION ins{static_cast<BYTE>(line ? D3DOP_LINE : D3DOP_TRIANGLE),
                       static_cast<BYTE>(line ? sizeof(D3DLINE) : sizeof(D3DTRIANGLE)),
                       static_cast<WORD>(count)};
    renderer(&rig.ctx, &ins, drawing.mesh.vertices.data(),
             line ? static_cast<void*>(drawing.lines.data())
                  : static_cast<void*>(drawing.mesh.triangles.data()));
}

void MeasureMember(Session& session, const Member& member, Renderer renderer, const char* side,
                   const char* meshName, const Mesh& mesh) {
    Work work;
    work.name = "triangles/" + std::string(member.name) + "/" + meshName + "/" + side;
    if (!session.Wants(work.name)) {
        return;
    }
    Drawing drawing{mesh, {}};
    if (member.line) {
        for (const D3DTRIANGLE& triangle : mesh.triangles) {
            drawing.lines.push_back({triangle.v1, triangle.v2});
        }
    }
    auto rig = std::make_unique<Rig>(member.name);
    if (mesh.facing == Facing::Any) {
        rig->ctx.CullMode = D3DCULL_NONE;
        rig->ctx.CullSignA = rig->ctx.CullSignB = 0;
    }
    std::vector<uint32_t> words;
    const auto render = [&] {
        const host::DriverCall call;
        Render(*rig, renderer, drawing);
    };
    render(); // snaps
    CommandStream& stream = rig->ctx.Stream;
    stream.WritePointer = stream.Current().Linear;
    keptWords = &words;
    render();
    keptWords = nullptr;
    words.insert(words.end(), stream.Current().Linear, stream.WritePointer);
    work.unit = member.line ? "line" : "triangle";
    work.units = static_cast<double>(mesh.triangles.size());
    work.words = words.size();
    work.run = render;
    work.plain = [&] { StorePlain(words, rig->ring, kRingWords); };
    work.plainName = "plain stores";
    session.Measure(work);
}

// The DLL's renderers by name.
class DllRenderers {
  public:
    explicit DllRenderers(const Options& options) {
        if (!options.count) {
            for (const auto& pair : host::loader::PairRenderers(options.dll)) {
                for (const Member& member : kMembers) {
                    if (member.linked == pair.linked) {
                        byName_[std::string(member.name)] = pair.dll;
                    }
                }
            }
            return;
        }
        image_.emplace(options.dll);
        image_->Load();
        std::ifstream in(options.dllRenderers);
        std::string name;
        size_t place;
        while (in >> name >> place) {
            byName_[name] = reinterpret_cast<Renderer>(image_->Base() + place);
        }
    }
    Renderer Of(std::string_view name) const {
        const auto found = byName_.find(std::string(name));
        if (found == byName_.end()) {
            throw std::runtime_error("the DLL has no " + std::string(name));
        }
        return found->second;
    }
    void Write(const std::string& file) const {
        const auto base = reinterpret_cast<uint32_t>(host::TheDriverModule().instance);
        std::ofstream out(file);
        for (const auto& [name, renderer] : byName_) {
            out << name << ' ' << reinterpret_cast<uint32_t>(renderer) - base << '\n';
        }
    }

  private:
    std::map<std::string, Renderer> byName_;
    std::optional<host::loader::Image> image_;
};

// The first ones are drawn as random triangles too.
constexpr size_t kInFull = 7;

} // namespace

void WriteDllRenderers(const Options& options, const std::string& file) {
    DllRenderers(options).Write(file);
}

void MeasureTriangles(Session& session) {
    if (!session.Wants("triangles")) {
        return;
    }
    const DllRenderers dllRenderers(session.TheOptions());
    const Mesh list = StripMesh(false), strip = StripMesh(true), random = RandomTriangles(8192);
    for (size_t i = 0; i < std::size(kMembers); ++i) {
        const Member& member = kMembers[i];
        const Renderer dll = dllRenderers.Of(member.name);
        const bool takesStrips = !member.line && !member.name.starts_with("Glint");
        const auto both = [&](const char* name, const Mesh& mesh) {
            MeasureMember(session, member, member.linked, "hosted", name, mesh);
            MeasureMember(session, member, dll, "dll", name, mesh);
        };
        both("mesh", list);
        if (takesStrips) {
            both("strip", strip);
        }
        if (i < kInFull) {
            both("random", random);
        }
    }
}

} // namespace bench
