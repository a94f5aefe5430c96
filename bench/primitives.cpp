// RenderPrimitive with few and many triangles an instruction, and whole execute buffers as a
// runtime plays them: states, then triangles.
#include "bench/mesh.h"
#include "bench/session.h"
#include "bench/stage.h"
#include "driver/core/chipinfo.h"
#include "host/driver_module.h"

#include <algorithm>

namespace bench {

namespace {

constexpr Chip kChips[] = {
    {"TX", DeviceTX}, {"TX with Delta", DeviceTX, true}, {"Permedia 2", DevicePermedia2}};
constexpr uint32_t kTrianglesARound = 4000;

void MeasureCounts(Session& session, const Chip& chip, const std::string& dll) {
    Stage stage(chip, dll);
    stage.DropWords();
    const Mesh mesh = StripMesh(false);
    host::Surface& vertices =
        stage.Buffer(mesh.vertices.data(), mesh.vertices.size() * sizeof(D3DTLVERTEX));
    host::Surface& records =
        stage.Buffer(mesh.triangles.data(), mesh.triangles.size() * sizeof(D3DTRIANGLE));
    const auto renderPrimitive = stage.Callbacks().RenderPrimitive;
    for (const uint32_t count : {1u, 10u, 100u, 1000u}) {
        D3DHAL_RENDERPRIMITIVEDATA data{};
        data.dwhContext = stage.device->Handle();
        data.lpExeBuf = records.Interface();
        data.lpTLBuf = vertices.Interface();
        data.diInstruction = {D3DOP_TRIANGLE, sizeof(D3DTRIANGLE), static_cast<WORD>(count)};
        Work work;
        work.name = std::string("primitives/") + chip.name + "/" + std::to_string(count) +
                    " an instruction/" + Stage::SideOf(dll);
        work.unit = "triangle";
        work.units = kTrianglesARound;
        work.run = [&] {
            const host::DriverCall call;
            for (uint32_t drawn = 0; drawn < kTrianglesARound; drawn += count) {
                data.dwOffset = drawn * static_cast<uint32_t>(sizeof(D3DTRIANGLE));
                renderPrimitive(&data);
            }
        };
        session.Measure(work);
    }
}

} // namespace

void MeasurePrimitives(Session& session) {
    for (const Chip& chip : kChips) {
        if (session.Wants(std::string("primitives/") + chip.name)) {
            MeasureCounts(session, chip, "");
            if (!session.Counts()) { // it traps more than the counter bears
                MeasureCounts(session, chip, session.TheOptions().dll);
            }
        }
    }
}

namespace {

// Forty objects of fifty triangles, each with eight states in front.
void MeasureBuffer(Session& session, const Chip& chip, const std::string& dll) {
    constexpr size_t kObjects = 40, kTrianglesAnObject = 50;
    Stage stage(chip, dll);
    stage.DropWords();
    const Mesh mesh = StripMesh(false);
    host::ExecuteBuffer buffer;
    for (size_t object = 0; object < kObjects; ++object) {
        const uint32_t odd = object % 2;
        const host::RenderState states[] = {
            {D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT + odd},
            {D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA},
            {D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA},
            {D3DRENDERSTATE_BLENDENABLE, odd},
            {D3DRENDERSTATE_ZFUNC, D3DCMP_LESSEQUAL},
            {D3DRENDERSTATE_ZWRITEENABLE, 1 - odd},
            {D3DRENDERSTATE_SPECULARENABLE, 0},
            {D3DRENDERSTATE_FOGCOLOR, static_cast<uint32_t>(0x010203 * object)}};
        buffer.States(states);
        buffer.Triangles({mesh.triangles.data() + object * kTrianglesAnObject, kTrianglesAnObject});
    }
    buffer.Exit();
    Work work;
    work.name = std::string("buffers/") + chip.name + "/" + Stage::SideOf(dll);
    work.unit = "triangle";
    work.units = kObjects * kTrianglesAnObject;
    work.run = [&] { host::Check("buffer", stage.device->Execute(buffer, mesh.vertices)); };
    session.Measure(work);
}

} // namespace

void MeasureBuffers(Session& session) {
    for (const Chip& chip : kChips) {
        if (session.Wants(std::string("buffers/") + chip.name)) {
            MeasureBuffer(session, chip, "");
            if (!session.Counts()) { // it traps more than the counter bears
                MeasureBuffer(session, chip, session.TheOptions().dll);
            }
        }
    }
}

} // namespace bench
