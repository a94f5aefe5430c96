#include "tests/loader/machine.h"

#include "host/d3d/direct3d.h"
#include "host/display/machine.h"
#include "host/driver_module.h"
#include "host/loader/dll_module.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/surfaces.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace test {

namespace {

constexpr uint32_t kPlayWidth = 160, kPlayHeight = 120;

std::string Text(const BusEvent& event) {
    char text[40];
    std::snprintf(text, sizeof text, "%c %04x %08x", event.kind, event.offset, event.value);
    return text;
}

class Dice {
  public:
    explicit Dice(uint32_t seed) : random_(seed) {}
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }
    // Of all bits that a float has between the two.
    float Between(float low, float high) {
        return low + (high - low) * (static_cast<float>(random_()) / 4294967296.0f);
    }

  private:
    std::mt19937 random_;
};

D3DTLVERTEX Vertex(Dice& dice, float x, float y, float size) {
    D3DTLVERTEX v{};
    v.sx = x + dice.Between(-size, size);
    v.sy = y + dice.Between(-size, size);
    v.sz = dice.Between(0, 1);
    v.rhw = dice.Between(0.1f, 1);
    v.color = dice.Below(0xFFFFFFFF);
    v.specular = dice.Below(0xFFFFFFFF);
    return v;
}

// Values at which a wider exponent, a denormal or a sign would show.
float ExtremeValue(Dice& dice) {
    constexpr float kValues[] = {0.0f,  1e-45f, 1.2e-38f, 3e-30f, 1e-20f,   1e-7f, 0.999f,
                                 65536, 1e10f,  1e20f,    3e38f,  INFINITY, NAN};
    const float value = kValues[dice.Below(std::size(kValues))];
    // Of two NaNs that differ, x87 and SSE pass on different ones; that sign means nothing.
    return std::isnan(value) || dice.Below(2) != 0 ? -value : value;
}

// Few rows high, so that the board has little to walk, and mostly far from the target.
D3DTLVERTEX ExtremeVertex(Dice& dice, float y) {
    D3DTLVERTEX v = Vertex(dice, dice.Between(0, kPlayWidth), y, 2);
    const auto sometimes = [&](float& field) {
        if (dice.Below(3) == 0) {
            field = ExtremeValue(dice);
        } else if (dice.Below(3) == 0) {
            field += dice.Between(-1e-6f, 1e-6f);
        }
    };
    sometimes(v.sx);
    sometimes(v.sz);
    if (dice.Below(3) == 0) {
        v.sy = std::floor(v.sy) + 0.5f + dice.Between(-1e-6f, 1e-6f);
    }
    return v;
}

void RollStates(Dice& dice, host::Device3D& device) {
    const auto set = [&](D3DRENDERSTATETYPE type, uint32_t value) { device.SetState(type, value); };
    set(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE + dice.Below(3));
    set(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT + dice.Below(2));
    set(D3DRENDERSTATE_SPECULARENABLE, dice.Below(2));
    set(D3DRENDERSTATE_ZENABLE, dice.Below(2));
    set(D3DRENDERSTATE_ZWRITEENABLE, dice.Below(2));
    set(D3DRENDERSTATE_ZFUNC, D3DCMP_LESSEQUAL);
    set(D3DRENDERSTATE_FOGENABLE, dice.Below(2));
    set(D3DRENDERSTATE_FOGCOLOR, dice.Below(0x1000000));
    set(D3DRENDERSTATE_BLENDENABLE, dice.Below(2));
    set(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
    set(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
    set(D3DRENDERSTATE_STIPPLEDALPHA, dice.Below(2));
    set(D3DRENDERSTATE_DITHERENABLE, dice.Below(2));
}

void Draw(host::Device3D& device, uint32_t triangles, uint32_t seed, Numbers numbers) {
    constexpr float kSizes[] = {0.4f, 3, 20, 70};
    constexpr uint32_t kRun = 20;
    Dice dice(seed);
    host::Check("scene", device.BeginScene());
    for (uint32_t drawn = 0; drawn < triangles; drawn += kRun) {
        RollStates(dice, device);
        std::vector<D3DTLVERTEX> vertices;
        for (uint32_t i = 0; i < kRun; ++i) {
            const float size = kSizes[dice.Below(4)];
            const float x = dice.Between(size, kPlayWidth - size),
                        y = dice.Between(size, kPlayHeight - size);
            for (int corner = 0; corner < 3; ++corner) {
                if (numbers == Numbers::Extreme) {
                    vertices.push_back(
                        ExtremeVertex(dice, std::clamp(y, 3.0f, kPlayHeight - 4.0f)));
                    continue;
                }
                vertices.push_back(Vertex(dice, x, std::clamp(y, 0.0f, kPlayHeight - 1.0f),
                                          std::min(size, 50.0f)));
            }
        }
        for (D3DTLVERTEX& v : vertices) {
            if (numbers == Numbers::Plain) {
                v.sx = std::clamp(v.sx, 0.0f, kPlayWidth - 1.0f);
            }
            v.sy = std::clamp(v.sy, 0.0f, kPlayHeight - 1.0f);
        }
        host::Check("triangles", device.TriangleList(vertices));
    }
    device.Finish();
}

std::vector<uint8_t> BytesOf(const host::Surface& surface) {
    std::vector<uint8_t> bytes;
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        for (uint32_t x = 0; x < surface.Width(); ++x) {
            const uint32_t pixel = surface.Pixel(x, y);
            bytes.insert(bytes.end(),
                         {static_cast<uint8_t>(pixel), static_cast<uint8_t>(pixel >> 8),
                          static_cast<uint8_t>(pixel >> 16), static_cast<uint8_t>(pixel >> 24)});
        }
    }
    return bytes;
}

} // namespace

std::string Difference(const std::vector<BusEvent>& library, const std::vector<BusEvent>& dll) {
    const auto [left, right] =
        std::mismatch(library.begin(), library.end(), dll.begin(), dll.end());
    if (left == library.end() && right == dll.end()) {
        return "";
    }
    const auto at = static_cast<size_t>(left - library.begin());
    std::string text = "event " + std::to_string(at) + " of " + std::to_string(library.size()) +
                       " (library) and " + std::to_string(dll.size()) + " (DLL)\n";
    for (size_t i = at > 6 ? at - 6 : 0; i < at + 6; ++i) {
        text += i < library.size() ? Text(library[i]) : std::string("end            ");
        text += "   ";
        text += i < dll.size() ? Text(dll[i]) : std::string("end");
        text += i == at ? "  <--\n" : "\n";
    }
    size_t differing = 0;
    for (size_t i = 0; i < std::min(library.size(), dll.size()); ++i) {
        differing += !(library[i] == dll[i]);
    }
    return text + std::to_string(differing) + " of them differ\n";
}

void Choose(Driver driver) {
    if (driver == Driver::Dll) {
        host::loader::UseDriverDll(DllPath());
    } else {
        host::UseLinkedDriver();
    }
}

void PowerOn(Driver driver) {
    Choose(driver);
    host::PowerCycle();
}

Outcome RecordedDisplay::Finish() {
    board::Board& board = Display().Board();
    board.Drain();
    board.SetRecorder(nullptr);
    Outcome outcome;
    outcome.events = std::move(recording_.events);
    outcome.faults = started_.Faults();
    return outcome;
}

host::DisplayConfig SmallScreen(uint32_t deviceId) {
    host::DisplayConfig config = ConfigFor(deviceId);
    config.width = 320;
    config.height = 240;
    return config;
}

Outcome Play(Driver driver, const host::DisplayConfig& config, uint32_t triangles, uint32_t seed,
             Numbers numbers) {
    RecordedDisplay machine(driver, config);
    std::vector<uint8_t> picture, depth;
    if (triangles != 0) {
        host::DirectDraw& directDraw = machine.DirectDraw();
        host::Surface& target = directDraw.CreateTarget(kPlayWidth, kPlayHeight);
        host::Surface& zBuffer = directDraw.CreateZBuffer(kPlayWidth, kPlayHeight);
        Fill(target, 0);
        Fill(zBuffer, 0xFFFFFFFF);
        {
            host::Device3D device(directDraw, target, &zBuffer);
            Draw(device, triangles, seed, numbers);
        }
        machine.Display().Board().Drain();
        picture = BytesOf(target);
        depth = BytesOf(zBuffer);
    }
    Outcome outcome = machine.Finish();
    outcome.picture = std::move(picture);
    outcome.depth = std::move(depth);
    return outcome;
}

} // namespace test
