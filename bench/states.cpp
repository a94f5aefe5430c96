// Batches of render states, changed with every call and unchanged, and the flush that a change
// leads to.
#include "bench/session.h"
#include "bench/stage.h"
#include "driver/core/chipinfo.h"
#include "driver/texture/textures_bind.h"
#include "host/driver_module.h"

namespace bench {

namespace {

constexpr Chip kChips[] = {{"TX", DeviceTX}, {"Permedia 2", DevicePermedia2}};
constexpr uint32_t kCalls = 1000;

// States that change between the objects of a scene, with two values each.
struct Choice {
    D3DRENDERSTATETYPE type;
    uint32_t values[2];
};
constexpr Choice kBatch[] = {
    {D3DRENDERSTATE_SHADEMODE, {D3DSHADE_GOURAUD, D3DSHADE_FLAT}},
    {D3DRENDERSTATE_TEXTUREMAPBLEND, {D3DTBLEND_MODULATE, D3DTBLEND_DECAL}},
    {D3DRENDERSTATE_TEXTUREMAG, {D3DFILTER_LINEAR, D3DFILTER_NEAREST}},
    {D3DRENDERSTATE_SRCBLEND, {D3DBLEND_SRCALPHA, D3DBLEND_ONE}},
    {D3DRENDERSTATE_DESTBLEND, {D3DBLEND_INVSRCALPHA, D3DBLEND_ZERO}},
    {D3DRENDERSTATE_BLENDENABLE, {1, 0}},
    {D3DRENDERSTATE_ZFUNC, {D3DCMP_LESSEQUAL, D3DCMP_ALWAYS}},
    {D3DRENDERSTATE_FOGCOLOR, {0x808080, 0x102030}},
};

void MeasureBatches(Session& session, const Chip& chip, const std::string& dll) {
    Stage stage(chip, dll);
    stage.DropWords();
    D3DSTATE states[2][std::size(kBatch)] = {};
    for (size_t side = 0; side < 2; ++side) {
        for (size_t i = 0; i < std::size(kBatch); ++i) {
            states[side][i].drstRenderStateType = kBatch[i].type;
            states[side][i].dwArg[0] = kBatch[i].values[side];
        }
    }
    host::Surface& buffer = stage.Buffer(states, sizeof(states));
    const auto renderState = stage.Callbacks().RenderState;
    for (const uint32_t count : {1u, 8u}) {
        for (const bool changed : {false, true}) {
            D3DHAL_RENDERSTATEDATA data{};
            data.dwhContext = stage.device->Handle();
            data.dwCount = count;
            data.lpExeBuf = buffer.Interface();
            Work work;
            work.name = std::string("states/") + chip.name + "/" + std::to_string(count) +
                        (changed ? " changed/" : " unchanged/") + Stage::SideOf(dll);
            work.unit = "state";
            work.units = kCalls * count;
            const auto calls = [&](uint32_t howMany) {
                const host::DriverCall call;
                for (uint32_t i = 0; i < howMany; ++i) {
                    data.dwOffset = changed && i % 2 != 0 ? sizeof(states[0]) : 0;
                    renderState(&data);
                }
            };
            work.words = stage.WordsOf([&] { calls(kCalls); }).size();
            work.run = [&] { calls(kCalls); };
            session.Measure(work);
        }
    }
}

// A texture's binding, which a change of texture costs at the next primitive.
void MeasureBinding(Session& session) {
    Stage stage({"Permedia 2", DevicePermedia2}, "");
    D3DContext& ctx = stage.Context();
    ctx.TextureHandle =
        stage.device->CreateTexture(stage.directDraw->CreateTexture(256, 256, host::Format4444()));
    stage.DropWords();
    const auto bind = [&] {
        for (uint32_t i = 0; i < kCalls; ++i) {
            ChangeTexturePermedia(&ctx);
        }
    };
    const std::vector<uint32_t> words = stage.WordsOf(bind);
    const CommandStream& stream = ctx.Stream;
    Work work;
    work.name = "states/Permedia 2/texture bound/hosted";
    work.unit = "binding";
    work.units = kCalls;
    work.words = words.size();
    work.run = bind;
    work.plain = [&] { StorePlain(words, stream.SubBuffers[0].Linear, stream.SubBufferWords); };
    work.plainName = "plain stores";
    session.Measure(work);
}

} // namespace

void MeasureStates(Session& session) {
    for (const Chip& chip : kChips) {
        if (session.Wants(std::string("states/") + chip.name)) {
            MeasureBatches(session, chip, "");
            if (!session.Counts()) { // it traps more than the counter bears
                MeasureBatches(session, chip, session.TheOptions().dll);
            }
        }
    }
    if (session.Wants("states/Permedia 2/texture bound")) {
        MeasureBinding(session);
    }
}

} // namespace bench
