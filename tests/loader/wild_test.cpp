// Vertices that no screen has: KORV32.dll makes the same words of them as the linked driver. The
// words are read where they wait in the sub-buffer and never reach the board.
#include "driver/core/dma.h"
#include "driver/services/context.h"
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "tests/loader/machine.h"
#include "tests/support_host/surfaces.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace test {
namespace {

using Words = std::vector<uint32_t>;

class WildDice {
  public:
    explicit WildDice(uint32_t seed) : random_(seed) {}
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }
    uint32_t Word() { return static_cast<uint32_t>(random_()); }
    float Number(bool comparable) {
        const float unit = static_cast<float>(random_() >> 8) / 16777216.0f;
        const uint32_t sign = Word() & 0x80000000;
        switch (Below(comparable ? 3 : 6)) {
        case 0:
            return (unit - 0.5f) * 2e9f;
        case 3:
            return std::bit_cast<float>(Word() & 0x807FFFFF); // denormal or zero
        case 4:
            return std::bit_cast<float>(0x7F800000 | sign);
        case 5:
            return std::bit_cast<float>(0x7F800001 | sign | (Word() & 0x7FFFFF));
        default:
            return unit * 300.0f;
        }
    }

  private:
    std::mt19937 random_;
};

// The driver's record of the only context. The table of hardware contexts leads to it, also where
// the driver is a DLL: the record has one layout.
D3DContext* ContextOn(host::Display& display) {
    const ContextBlock* block = display.Chip()->ContextBlocks;
    for (uint32_t slot = kContextsPerBlock; slot-- != 0;) {
        if (block->Owner[slot] != 0) {
            return reinterpret_cast<D3DContext*>(block->Owner[slot]);
        }
    }
    return nullptr;
}

void RollStates(WildDice& dice, host::Device3D& device, uint32_t texture) {
    const auto set = [&](D3DRENDERSTATETYPE type, uint32_t value) { device.SetState(type, value); };
    set(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE + dice.Below(3));
    set(D3DRENDERSTATE_FILLMODE, D3DFILL_POINT + dice.Below(3));
    set(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT + dice.Below(2));
    set(D3DRENDERSTATE_SPECULARENABLE, dice.Below(2));
    set(D3DRENDERSTATE_ZENABLE, dice.Below(2));
    set(D3DRENDERSTATE_FOGENABLE, dice.Below(2));
    set(D3DRENDERSTATE_BLENDENABLE, dice.Below(2));
    set(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
    set(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
    set(D3DRENDERSTATE_STIPPLEDALPHA, dice.Below(2));
    set(D3DRENDERSTATE_LASTPIXEL, dice.Below(2));
    set(D3DRENDERSTATE_TEXTUREPERSPECTIVE, dice.Below(2));
    set(D3DRENDERSTATE_WRAPU, dice.Below(2));
    set(D3DRENDERSTATE_WRAPV, dice.Below(2));
    set(D3DRENDERSTATE_TEXTUREHANDLE, dice.Below(2) * texture);
}

constexpr size_t kSamples = 600;
constexpr bool IsComparable(size_t sample) {
    return sample < 450;
}

std::vector<Words> PlayWild(Driver driver, uint32_t deviceId, uint32_t flags, uint32_t seed) {
    host::DisplayConfig config = SmallScreen(deviceId);
    config.chipFlags = flags;
    config.registry = {{"Direct3DHAL.SubBuffers", "2"}, {"Direct3DHAL.PermediaMip", "1"}};
    Choose(driver);
    StartedDisplay machine(config);
    host::DirectDraw& directDraw = machine.directDraw;
    host::Surface& target = directDraw.CreateTarget(160, 120);
    host::Surface& depth = directDraw.CreateZBuffer(160, 120);
    host::Device3D device(directDraw, target, &depth);
    uint32_t texture = 0;
    if (deviceId != DeviceSX) {
        DDPIXELFORMAT format{};
        format.dwSize = sizeof(format);
        format.dwFlags = DDPF_RGB;
        format.dwRGBBitCount = 16;
        format.dwRBitMask = 0x7C00;
        format.dwGBitMask = 0x3E0;
        format.dwBBitMask = 0x1F;
        texture = device.CreateTexture(directDraw.CreateTexture(64, 32, format, 4));
    }
    // What came before goes out, and no more from then on: the limit is the whole sub-buffer.
    host::Check("scene", device.BeginScene());
    host::Check("scene", device.EndScene());
    host::Check("scene", device.BeginScene());
    CommandStream& stream = ContextOn(machine.display)->Stream;
    stream.SubBufferFlushWords = stream.SubBufferWords;
    uint32_t* const start = stream.WritePointer;
    const uint32_t* const buffer = stream.Current().Linear;

    WildDice dice(seed);
    std::vector<Words> samples;
    for (size_t sample = 0; sample < kSamples; ++sample) {
        RollStates(dice, device, texture);
        const bool comparable = IsComparable(sample);
        D3DTLVERTEX v[3] = {};
        for (D3DTLVERTEX& vertex : v) {
            for (float* field :
                 {&vertex.sx, &vertex.sy, &vertex.sz, &vertex.rhw, &vertex.tu, &vertex.tv}) {
                *field = dice.Number(comparable);
            }
            vertex.color = dice.Word();
            vertex.specular = dice.Word();
        }
        if (dice.Below(4) == 0) {
            const D3DLINE lines[] = {{0, 1}, {1, 2}};
            device.Lines(v, lines);
        } else {
            device.Triangle(v[0], v[1], v[2]);
        }
        EXPECT_EQ(stream.Current().Linear, buffer) << "sent to the board";
        samples.emplace_back(start, stream.WritePointer);
        stream.WritePointer = start;
    }
    return samples;
}

// Where the words differ, or nothing.
std::string Different(const Words& library, const Words& dll) {
    if (library.size() != dll.size()) {
        return "lengths " + std::to_string(library.size()) + " and " + std::to_string(dll.size());
    }
    std::string text;
    for (size_t i = 0; i < library.size(); ++i) {
        if (library[i] != dll[i]) {
            char line[64];
            std::snprintf(line, sizeof(line), "word %u: %08X and %08X\n", static_cast<unsigned>(i),
                          library[i], dll[i]);
            text += line;
        }
    }
    return text;
}

struct WildChip {
    const char* name;
    uint32_t deviceId;
    uint32_t flags;
};

class WildTest : public testing::TestWithParam<WildChip> {};

TEST_P(WildTest, TheDllAndTheLibraryMakeTheSameWords) {
    for (const uint32_t seed : {31u, 32u}) {
        const auto library = PlayWild(Driver::Library, GetParam().deviceId, GetParam().flags, seed);
        const auto dll = PlayWild(Driver::Dll, GetParam().deviceId, GetParam().flags, seed);
        size_t words = 0;
        ASSERT_EQ(library.size(), dll.size());
        for (size_t i = 0; i < library.size(); ++i) {
            // Where two NaNs meet, x87 and SSE pass on different ones, and the sign of a NaN
            // decides which way it saturates and what is culled. A denormal product is rounded
            // once by SSE and twice by x87. Such samples only have to come to an end.
            if (IsComparable(i)) {
                ASSERT_EQ(Different(library[i], dll[i]), "") << "sample " << i;
                words += library[i].size();
            }
        }
        EXPECT_GT(words, 5000u);
    }
}

INSTANTIATE_TEST_SUITE_P(Chips, WildTest,
                         testing::Values(WildChip{"SX", DeviceSX, 0}, WildChip{"TX", DeviceTX, 0},
                                         WildChip{"TXDelta", DeviceTX, DeltaPresent},
                                         WildChip{"MXDelta", DeviceMX, DeltaPresent},
                                         WildChip{"Permedia", DevicePermedia, 0},
                                         WildChip{"PermediaDelta", DevicePermedia, DeltaPresent},
                                         WildChip{"Permedia2", DevicePermedia2, 0}),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
} // namespace test
