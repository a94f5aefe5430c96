// The board on streams that the driver has made once: small triangles, which cost their set-up, and
// pixels of large ones by what is done to them.
#include "board/board.h"

#include "bench/mesh.h"
#include "bench/session.h"
#include "bench/stage.h"
#include "driver/core/chipinfo.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

namespace {

constexpr Chip kChips[] = {{"TX", DeviceTX},
                           {"TX with Delta", DeviceTX, true},
                           {"Permedia", DevicePermedia},
                           {"Permedia 2", DevicePermedia2}};
constexpr float kWidth = 512, kHeight = 384;

struct Style {
    const char* name;
    std::vector<host::RenderState> states;
    bool textured = false;
};

const std::vector<Style>& Styles() {
    static const std::vector<Style> styles = {
        {"flat", {{D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT}}},
        {"Gouraud", {}},
        {"Gouraud, depth", {{D3DRENDERSTATE_ZENABLE, 1}}},
        {"Gouraud, blend", {{D3DRENDERSTATE_BLENDENABLE, 1}}},
        {"Gouraud, fog", {{D3DRENDERSTATE_FOGENABLE, 1}}},
        {"nearest", {}, true},
        {"bilinear",
         {{D3DRENDERSTATE_TEXTUREMAG, D3DFILTER_LINEAR},
          {D3DRENDERSTATE_TEXTUREMIN, D3DFILTER_LINEAR}},
         true},
        {"mip", {{D3DRENDERSTATE_TEXTUREMIN, D3DFILTER_MIPNEAREST}}, true},
        {"bilinear, perspective",
         {{D3DRENDERSTATE_TEXTUREMAG, D3DFILTER_LINEAR},
          {D3DRENDERSTATE_TEXTUREMIN, D3DFILTER_LINEAR},
          {D3DRENDERSTATE_TEXTUREPERSPECTIVE, 1}},
         true},
    };
    return styles;
}

D3DTLVERTEX Corner(float x, float y, D3DCOLOR colour) {
    D3DTLVERTEX v{};
    v.sx = x * kWidth;
    v.sy = y * kHeight;
    v.sz = 0.25f + x * 0.5f;
    v.rhw = 1.0f - 0.5f * y;
    v.color = colour;
    v.specular = 0x80000000;
    v.tu = x * 2.0f;
    v.tv = y * 2.0f;
    return v;
}

class BoardStage {
  public:
    explicit BoardStage(const Chip& chip) : chip_(chip), stage_(chip, "") {
        if (chip.deviceId != DeviceTX || chip.delta) {
            for (const uint32_t levels : {1u, 8u}) {
                textures_[levels > 1] = stage_.device->CreateTexture(
                    stage_.directDraw->CreateTexture(128, 128, host::Format4444(), levels));
            }
        }
    }

    void Run(Session& session) {
        for (const Style& style : Styles()) {
            const uint32_t texture = textures_[std::string(style.name) == "mip"];
            if (!style.textured || texture != 0) {
                MeasurePixels(session, style, style.textured ? texture : 0);
            }
        }
        MeasureSmall(session);
    }

  private:
    void Set(const Style& style, uint32_t texture) {
        const auto set = [&](D3DRENDERSTATETYPE type, uint32_t value) {
            stage_.device->SetState(type, value);
        };
        set(D3DRENDERSTATE_SHADEMODE, D3DSHADE_GOURAUD);
        set(D3DRENDERSTATE_ZENABLE, 0);
        set(D3DRENDERSTATE_ZFUNC, D3DCMP_LESSEQUAL);
        set(D3DRENDERSTATE_ZWRITEENABLE, 1);
        set(D3DRENDERSTATE_BLENDENABLE, 0);
        set(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
        set(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
        set(D3DRENDERSTATE_FOGENABLE, 0);
        set(D3DRENDERSTATE_TEXTUREMAPBLEND, D3DTBLEND_MODULATE);
        set(D3DRENDERSTATE_TEXTUREMAG, D3DFILTER_NEAREST);
        set(D3DRENDERSTATE_TEXTUREMIN, D3DFILTER_NEAREST);
        set(D3DRENDERSTATE_TEXTUREPERSPECTIVE, 0);
        set(D3DRENDERSTATE_TEXTUREHANDLE, texture);
        for (const host::RenderState& state : style.states) {
            set(state.type, state.value);
        }
    }

    // `work` is filled up with the words of `draw` and measured; what comes before goes to the
    // board as usual.
    template <class Draw>
    void Play(Session& session, Work& work, Draw draw) {
        if (!session.Wants(work.name)) {
            return;
        }
        CommandStream& stream = stage_.Context().Stream;
        host::Check("scene", stage_.device->EndScene());
        host::Check("scene", stage_.device->BeginScene());
        draw(); // sends the states
        host::Check("scene", stage_.device->EndScene());
        host::Check("scene", stage_.device->BeginScene());
        const StartDMAFunction start = stream.StartDMA;
        stage_.DropWords();
        const std::vector<uint32_t> words = stage_.WordsOf(draw);
        stream.StartDMA = start;
        stream.WritePointer = stream.Current().Linear;
        board::Board& board = stage_.Board();
        board.Drain();
        work.run = [&] {
            board.WriteFifo(words.data(), words.size());
            board.Drain();
        };
        work.rounds = 15;
        session.Measure(work);
    }

    void MeasurePixels(Session& session, const Style& style, uint32_t texture) {
        Work work;
        work.name = std::string("board/") + chip_.name + "/" + style.name;
        work.unit = "pixel";
        work.units = static_cast<double>(kWidth) * kHeight;
        Set(style, texture);
        const D3DTLVERTEX corners[] = {Corner(0, 0, 0xC0FF4020), Corner(1, 0, 0x8020FF40),
                                       Corner(1, 1, 0x404020FF), Corner(0, 1, 0xFFE0E0E0)};
        const D3DTLVERTEX vertices[] = {corners[0], corners[1], corners[2],
                                        corners[0], corners[2], corners[3]};
        Play(session, work,
             [&] { host::Check("triangles", stage_.device->TriangleList(vertices)); });
    }

    // Triangles of about two pixels each.
    void MeasureSmall(Session& session) {
        Work work;
        work.name = std::string("board/") + chip_.name + "/small triangles";
        work.unit = "triangle";
        Set(Styles()[1], 0);
        Mesh mesh = StripMesh(false);
        for (D3DTLVERTEX& v : mesh.vertices) {
            v.sx *= 0.2f;
            v.sy *= 0.2f;
        }
        work.units = static_cast<double>(mesh.triangles.size());
        Play(session, work, [&] {
            host::Check("triangles", stage_.device->Triangles(mesh.vertices, mesh.triangles));
        });
    }

    Chip chip_;
    Stage stage_;
    uint32_t textures_[2] = {};
};

void MustBeDone(const char* what, const host::HalAnswer& answer) {
    if (!answer.handled) {
        throw std::runtime_error(std::string(what) + ": not handled");
    }
    host::Check(what, answer.result);
}

// Copies and fills of 640 x 480, by the blits of the driver.
void MeasureCopies(Session& session, const Chip& chip) {
    Stage stage(chip, "");
    host::Surface& to = stage.directDraw->CreateOffscreen(640, 400);
    host::Surface& from = stage.directDraw->CreateOffscreen(640, 400);
    const RECT all = {0, 0, 640, 400};
    host::Check("scene", stage.device->EndScene());
    stage.Board().Drain();
    stage.Board().Advance(50'000); // no blit before the first vertical blank
    Work work;
    work.unit = "pixel";
    work.units = 640.0 * 400;
    work.rounds = 15;
    work.name = std::string("board/") + chip.name + "/fill";
    work.run = [&] {
        MustBeDone("fill", stage.directDraw->ColorFill(to, all, 0x1234));
        stage.Board().Drain();
    };
    session.Measure(work);
    work.name = std::string("board/") + chip.name + "/copy";
    work.run = [&] {
        MustBeDone("copy", stage.directDraw->Blt(to, all, from, all));
        stage.Board().Drain();
    };
    session.Measure(work);
}

} // namespace

void MeasureBoard(Session& session) {
    if (session.Counts()) {
        return; // seconds of it say nothing about instructions of the driver
    }
    for (const Chip& chip : kChips) {
        if (session.Wants(std::string("board/") + chip.name)) {
            BoardStage(chip).Run(session);
            MeasureCopies(session, chip);
        }
    }
}

} // namespace bench
