#include "tests/system/client_stage.h"

#include "driver/core/registers.h"
#include "driver/core/tags.h"
#include "driver/d3d/dcontext.h"
#include "host/display/context_lists.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/surfaces.h"

#include <stdexcept>

namespace test {

namespace {

constexpr uint32_t kBuffers = 4;

host::DisplayConfig ConfigOf(const TestBoard& board, const Roads& roads,
                             const board::Timing& timing) {
    host::DisplayConfig config = ConfigFor(board.deviceId);
    config.delta = board.delta;
    config.width = ClientStage::kWidth;
    config.height = ClientStage::kHeight;
    config.frameBufferBytes = config.localBufferBytes = 2 << 20;
    config.dmaBufferCount = kBuffers;
    config.dmaBufferBytes = 8192;
    config.timing = timing;
    config.dmaThread = roads.dmaThread;
    config.registry = {
        {"Direct3DHAL.NoDMA", std::to_string(roads.devicesByFifo)},
        {"Direct3DHAL.SubBuffers", std::to_string(roads.deviceSubBuffers)},
        {"OpenGL.NumberOfSubBuffers", std::to_string(roads.clientSubBuffers)},
    };
    return config;
}

uint32_t Below(std::mt19937& dice, uint32_t end) {
    return static_cast<uint32_t>(dice()) % end;
}

float Between(std::mt19937& dice, LONG low, LONG high) {
    return static_cast<float>(low) +
           static_cast<float>(Below(dice, 0x10000)) * static_cast<float>(high - low) / 0x10000;
}

} // namespace

RECT ClientStage::Quarter(Party party) {
    constexpr LONG kHalfWidth = kWidth / 2, kHalfHeight = kHeight / 2;
    const LONG left = party % 2 * kHalfWidth, top = party / 2 * kHalfHeight;
    return {left, top, left + kHalfWidth, top + kHalfHeight};
}

ClientStage::ClientStage(const TestBoard& board, const Roads& roads, const board::Timing& timing)
    : machine_(ConfigOf(board, roads, timing)) {
    target_ = &machine_.directDraw.CreateTarget(kWidth, kHeight);
    host::Surface& depth = machine_.directDraw.CreateZBuffer(kWidth, kHeight);
    Fill(*target_, 0);
    Fill(depth, 0xFFFFFFFF);
    for (auto& device : devices_) {
        device = std::make_unique<host::Device3D>(machine_.directDraw, *target_, &depth);
    }
    client_ = std::make_unique<host::ServiceClient>(
        machine_.display.Driver(), host::ClientOptions{.fifo = roads.clientByFifo});
    drawing_ = std::make_unique<host::ClientDrawing>(*client_, host::TargetOf(*client_, *target_));
    drawing_->State();
}

ClientStage::~ClientStage() = default;

void ClientStage::Draw(Party party) {
    std::mt19937 dice(party * 1000 + drawn_[party]++);
    if (party == TheClient) {
        DrawByClient(dice);
    } else if (party == TheScreen) {
        FillByBlit(dice);
    } else {
        DrawByDevice(party, dice);
    }
}

void ClientStage::DrawByDevice(Party party, std::mt19937& dice) {
    host::Device3D& device = *devices_[party];
    if (!sceneOpen_[party]) {
        host::Check("BeginScene", device.BeginScene());
        sceneOpen_[party] = true;
    }
    const auto set = [&](D3DRENDERSTATETYPE type, uint32_t value) { device.SetState(type, value); };
    set(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
    set(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT + Below(dice, 2));
    set(D3DRENDERSTATE_ZENABLE, Below(dice, 2));
    set(D3DRENDERSTATE_FOGENABLE, Below(dice, 2));
    set(D3DRENDERSTATE_FOGCOLOR, Below(dice, 0x1000000));
    set(D3DRENDERSTATE_BLENDENABLE, Below(dice, 2));
    set(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
    set(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
    set(D3DRENDERSTATE_STIPPLEDALPHA, Below(dice, 2));
    set(D3DRENDERSTATE_DITHERENABLE, Below(dice, 2));
    const RECT area = Quarter(party);
    std::vector<D3DTLVERTEX> vertices;
    const uint32_t triangles = 1 + Below(dice, 8);
    for (uint32_t i = 0; i < 3 * triangles; ++i) {
        D3DTLVERTEX v{};
        v.sx = Between(dice, area.left, area.right);
        v.sy = Between(dice, area.top, area.bottom - 1);
        v.sz = Between(dice, 0, 1);
        v.rhw = 1;
        v.color = static_cast<uint32_t>(dice()) | 0x404040;
        v.specular = static_cast<uint32_t>(dice());
        vertices.push_back(v);
    }
    host::Check("triangles", device.TriangleList(vertices));
    if (Below(dice, 2) != 0) {
        host::Check("EndScene", device.EndScene());
        sceneOpen_[party] = false;
    }
}

void ClientStage::DrawByClient(std::mt19937& dice) {
    const RECT area = Quarter(TheClient);
    const auto colour = [&] { return static_cast<uint32_t>(dice()) & 0xFFFFFF; };
    if (Below(dice, 3) == 0) {
        const auto x = static_cast<LONG>(Between(dice, area.left, area.right - 8)),
                   y = static_cast<LONG>(Between(dice, area.top, area.bottom - 8));
        drawing_->Rectangle({x, y, x + 8, y + 8}, colour());
    }
    const uint32_t triangles = 1 + Below(dice, 30);
    for (uint32_t i = 0; i < triangles; ++i) {
        host::ClientVertex v[3];
        for (host::ClientVertex& corner : v) {
            corner = {Between(dice, area.left, area.right), Between(dice, area.top, area.bottom),
                      colour() | 0x404040};
        }
        drawing_->Triangles(v);
    }
    // Registers that the devices use too and whose units the client leaves off.
    uint32_t* at = client_->Reserve(6);
    const uint32_t words[] = {tag::FogColor,         colour(), tag::AreaStipplePattern0, colour(),
                              tag::ChromaUpperBound, colour()};
    std::copy(std::begin(words), std::end(words), at);
    client_->Commit(6);
    client_->Send();
}

void ClientStage::FillByBlit(std::mt19937& dice) {
    const RECT area = Quarter(TheScreen);
    const auto x = static_cast<LONG>(Between(dice, area.left, area.right - 16)),
               y = static_cast<LONG>(Between(dice, area.top, area.bottom - 16));
    const uint32_t pixel = Below(dice, 0x8000);
    machine_.directDraw.Patiently([&] {
        return machine_.directDraw.ColorFill(*target_, {x, y, x + 16, y + 16}, pixel);
    });
}

void ClientStage::Finish() {
    for (const Party party : {FirstDevice, SecondDevice}) {
        devices_[party]->Finish();
        sceneOpen_[party] = false;
    }
    client_->Finish();
    machine_.directDraw.Finish(*target_);
}

std::vector<uint32_t> ClientStage::Pixels() {
    std::vector<uint32_t> pixels;
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < kWidth; ++x) {
            pixels.push_back(target_->Pixel(x, y));
        }
    }
    return pixels;
}

std::vector<uint32_t> ClientStage::Registers(Party party) {
    const uint32_t id = party == TheScreen   ? kContext2D
                        : party == TheClient ? client_->Context()
                                             : devices_[party]->Context()->Stream.HardwareContext;
    const host::Exports exports = host::ExportsInForce();
    // A change of context writes registers through the input FIFO, and reading them does not wait
    // for it.
    exports.KORV_SwitchContext(nullptr, id);
    machine_.display.Board().Drain();
    constexpr uint32_t kTags = 0x300;
    uint32_t request[5] = {0, kTags, 0, id, 0};
    std::vector<uint32_t> answer(2 * kTags);
    if (exports.KORV_Service(ServiceCoreRegisters, request, answer.data()) != 0) {
        throw std::runtime_error("client stage: no registers");
    }
    std::vector<uint32_t> values;
    const host::DisplayConfig& config = machine_.display.Config();
    for (const uint16_t offset : host::StateRegisters(config.deviceId, config.delta)) {
        values.push_back(answer[(offset - reg::MappedRegisters) / 8 * 2 + 1]);
    }
    return values;
}

} // namespace test
