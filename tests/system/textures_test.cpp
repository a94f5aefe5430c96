// Textured pictures that the driver and the board make together, against the reference rasteriser.
#include "host/ddraw/format.h"
#include "tests/system/scenes.h"
#include "tests/system/stage.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace test;

constexpr double kTextureTolerance = 3;

struct TexturingChip {
    TestBoard board;
    ChipTraits traits;
};

// With a setup unit the driver sends the corners as they are. But for Permedia 2, specular light
// goes by the fog unit, which the render word leaves off without fog.
constexpr ChipTraits kHostSetup{
    .brightensGouraud = true, .rowShift = 0.5, .losesTexturedSpecular = true};
constexpr ChipTraits kDelta{
    .brightensGouraud = true, .brightensFlat = true, .losesTexturedSpecular = true};

constexpr TexturingChip kTexturingChips[] = {
    {{"Permedia", DevicePermedia, false}, kHostSetup},
    {{"TXWithDelta", DeviceTX, true}, kDelta},
    {{"MXWithDelta", DeviceMX, true}, kDelta},
    {{"PermediaWithDelta", DevicePermedia, true}, kDelta},
    {{"Permedia2", DevicePermedia2, true}, {}},
};

void PrintTo(const TexturingChip& chip, std::ostream* out) {
    *out << chip.board.name;
}

// Colours without neighbours alike; alpha in steps of 0x11, or opaque.
std::shared_ptr<Texture> Patchwork(const DDPIXELFORMAT& format, uint32_t width = 16,
                                   uint32_t height = 16, bool opaque = true) {
    std::mt19937 engine(7);
    std::vector<uint32_t> colours(16);
    for (uint32_t& colour : colours) {
        colour = engine() & 0xFFFFFF;
    }
    return MakeTexture(width, height, format, [=](uint32_t x, uint32_t y) {
        const uint32_t index = (x * 5 + y * 7 + (x * y >> 2)) % 16;
        return colours[index] | (opaque ? 0xFF : index * 0x11) << 24;
    });
}

class TexturedPicture : public testing::TestWithParam<TexturingChip> {
  protected:
    StageOptions Options() const {
        return {.deviceId = GetParam().board.deviceId,
                .delta = GetParam().board.delta,
                .background = 0x203040};
    }
    void Check(const std::vector<Triangle3>& list, uint32_t least = 1000) {
        Stage stage(Options());
        stage.Draw(list);
        const Image picture = stage.Picture();
        EXPECT_EQ(stage.Faults(), "");
        Reference reference(320, 240, 0x203040, GetParam().traits);
        for (const Triangle3& triangle : list) {
            reference.Draw(triangle);
        }
        const Verdict near = CompareWithinOnePixel(picture, reference, kTextureTolerance);
        EXPECT_EQ(near.bad, 0u) << near.first;
        const Verdict inside = CompareInteriors(picture, reference, kTextureTolerance);
        EXPECT_GT(inside.compared, least);
        EXPECT_EQ(inside.bad, 0u) << inside.first;
    }
    static DrawState Decal() {
        return {.texture = Patchwork(host::Format565()), .textureBlend = D3DTBLEND_DECAL};
    }
};

INSTANTIATE_TEST_SUITE_P(Chips, TexturedPicture, testing::ValuesIn(kTexturingChips),
                         [](const auto& info) { return info.param.board.name; });

TEST_P(TexturedPicture, NearestTexelsLinearOnTheScreen) {
    Check(TexturedTriangles(12, 100, 31, Decal()));
}

TEST_P(TexturedPicture, NearestTexelsInPerspective) {
    DrawState state = Decal();
    state.perspective = true;
    Check(TexturedTriangles(12, 100, 32, state));
}

TEST_P(TexturedPicture, MixedTexels) {
    for (const bool perspective : {false, true}) {
        DrawState state = Decal();
        state.filter = D3DFILTER_LINEAR;
        state.perspective = perspective;
        Check(TexturedTriangles(12, 100, 33, state));
    }
}

TEST_P(TexturedPicture, RepeatedMirroredAndClampedBeyondTheImage) {
    for (const uint32_t filter : {D3DFILTER_NEAREST, D3DFILTER_LINEAR}) {
        for (const uint32_t address : {D3DTADDRESS_WRAP, D3DTADDRESS_MIRROR, D3DTADDRESS_CLAMP}) {
            for (const bool perspective : {false, true}) {
                SCOPED_TRACE(testing::Message() << "filter " << filter << " address " << address
                                                << " perspective " << perspective);
                DrawState state = Decal();
                state.texture = Patchwork(host::Format565(), 4, 8);
                state.filter = filter;
                state.address = address;
                state.perspective = perspective;
                Check(TexturedTriangles(6, 110, 34, state, -1.7f, 4));
            }
        }
    }
}

TEST_P(TexturedPicture, OblongTextures) {
    for (const auto& [width, height] : {std::pair{32u, 4u}, {4u, 32u}, {64u, 64u}}) {
        DrawState state = Decal();
        state.texture = Patchwork(host::Format565(), width, height);
        state.filter = D3DFILTER_LINEAR;
        Check(TexturedTriangles(6, 110, 35, state));
    }
}

TEST_P(TexturedPicture, EveryTexelFormat) {
    const struct {
        const char* name;
        DDPIXELFORMAT format;
    } formats[] = {
        {"RGB555", host::Format555()},
        {"RGB565", host::Format565()},
        {"PAL4", host::PaletteFormat(4)},
        {"RGB332", host::Format332()},
        {"ARGB1555", host::Format1555()},
        {"ARGB4444", host::Format4444()},
        {"ARGB8888", host::Format8888()},
        {"RGB888", host::FormatX888()},
        {"ARGB1232", host::RgbFormat(8, 0x60, 0x1C, 0x03, 0x80)},
    };
    for (const auto& [name, format] : formats) {
        SCOPED_TRACE(name);
        DrawState state = Decal();
        state.texture = Patchwork(format);
        state.perspective = true;
        Check(TexturedTriangles(8, 100, 36, state));
    }
}

TEST_P(TexturedPicture, ModulatedByGouraudColours) {
    for (const bool perspective : {false, true}) {
        for (const bool zEnable : {false, true}) {
            DrawState state{.zEnable = zEnable, .zFunc = D3DCMP_ALWAYS};
            state.texture = Patchwork(host::Format565());
            state.perspective = perspective;
            Check(TexturedTriangles(8, 100, 37, state));
        }
    }
}

TEST_P(TexturedPicture, ModulatedByFlatColours) {
    for (const bool perspective : {false, true}) {
        for (const bool zEnable : {false, true}) {
            DrawState state{.gouraud = false, .zEnable = zEnable, .zFunc = D3DCMP_ALWAYS};
            state.texture = Patchwork(host::Format565());
            state.perspective = perspective;
            Check(TexturedTriangles(8, 100, 38, state));
        }
    }
}

TEST_P(TexturedPicture, DecalAlphaMixesTextureAndColour) {
    for (const bool gouraud : {false, true}) {
        DrawState state{.gouraud = gouraud};
        state.texture = Patchwork(host::Format4444(), 16, 16, false);
        state.textureBlend = D3DTBLEND_DECALALPHA;
        Check(TexturedTriangles(8, 100, 39, state));
    }
}

TEST_P(TexturedPicture, TexturesAlphaBlendsWithTheTarget) {
    for (const uint32_t blend : {D3DTBLEND_MODULATEALPHA, D3DTBLEND_DECAL}) {
        DrawState state{.gouraud = false,
                        .blend = true,
                        .source = D3DBLEND_SRCALPHA,
                        .dest = D3DBLEND_INVSRCALPHA};
        state.texture = Patchwork(host::Format4444(), 16, 16, false);
        state.textureBlend = blend;
        Check(TexturedTriangles(4, 100, 40, state));
    }
}

TEST_P(TexturedPicture, KeyedTexelsLetTheTargetThrough) {
    if (GetParam().board.deviceId == DeviceTX) {
        GTEST_SKIP() << "this chip has no colour key";
    }
    for (const DDPIXELFORMAT& format :
         {host::Format565(), host::Format555(), host::Format1555(), host::Format4444(),
          host::PaletteFormat(4), host::FormatX888()}) {
        SCOPED_TRACE(format.dwGBitMask);
        DrawState state = Decal();
        const auto texture = MakeTexture(16, 16, format, [](uint32_t x, uint32_t y) {
            const bool hole = (x / 2 + y / 2) % 2 != 0;
            return hole ? 0xFFFF00FF : 0xFF202020 | (x / 4 * 48) << 8;
        });
        texture->sourceKey = texture->raw[2];
        state.texture = texture;
        Check(TexturedTriangles(8, 100, 41, state));
    }
}

TEST_P(TexturedPicture, FogLiesOverTheTexture) {
    for (const bool gouraud : {false, true}) {
        DrawState state = Decal();
        state.gouraud = gouraud;
        state.fog = true;
        state.fogColor = 0x4080C0;
        Check(TexturedTriangles(8, 100, 42, state));
    }
}

std::vector<Triangle3> Glossy(std::vector<Triangle3> list) {
    std::mt19937 engine(8);
    for (Triangle3& t : list) {
        for (Vertex* v : {&t.a, &t.b, &t.c}) {
            v->specular |= (engine() % 120) * 0x010101;
        }
    }
    return list;
}

TEST_P(TexturedPicture, SpecularLightLiesOverTheTextureUnlessItIsLost) {
    for (const bool gouraud : {false, true}) {
        DrawState state = Decal();
        state.gouraud = gouraud;
        state.specular = true;
        Check(Glossy(TexturedTriangles(8, 100, 43, state)));
    }
}

TEST_P(TexturedPicture, FogTakesThePlaceOfSpecularLight) {
    DrawState state = Decal();
    state.specular = true;
    state.fog = true;
    state.fogColor = 0xC08040;
    Check(Glossy(TexturedTriangles(8, 100, 44, state)));
}

TEST_P(TexturedPicture, TexturesAndPlainTrianglesByTurns) {
    std::vector<Triangle3> list;
    for (uint32_t i = 0; i < 4; ++i) {
        DrawState state = Decal();
        state.texture = Patchwork(i % 2 ? host::Format4444() : host::PaletteFormat(4));
        for (const auto& more :
             {TexturedTriangles(1, 90, 50 + i, state), GentleTriangles(1, 60, 60 + i, {})}) {
            list.insert(list.end(), more.begin(), more.end());
        }
    }
    Check(list);
}

// A texture of 64 by 64 texels whose levels each have a colour of their own.
uint32_t LevelsOfOneColourEach(Stage& stage, const std::vector<uint32_t>& colours) {
    const DDPIXELFORMAT format = host::Format565();
    const auto count = static_cast<uint32_t>(colours.size());
    host::Surface& texture = stage.DirectDraw().CreateTexture(64, 64, format, count);
    host::Surface& source = stage.DirectDraw().CreateSystem(64, 64, format, DDSCAPS_TEXTURE, count);
    for (uint32_t level = 0; level < count; ++level) {
        host::Surface& surface = level == 0 ? source : *source.Chain()[level - 1];
        for (uint32_t y = 0; y < surface.Height(); ++y) {
            for (uint32_t x = 0; x < surface.Width(); ++x) {
                surface.SetPixel(x, y, RawTexel(colours[level], format));
            }
        }
    }
    stage.DirectDraw().LoadTexture(texture, source);
    return stage.Device().CreateTexture(texture);
}

TEST_P(TexturedPicture, SmallerLevelsServeSmallerPictures) {
    const std::vector<uint32_t> colours{0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFFFF};
    for (const bool perspective : {false, true}) {
        Stage stage(Options());
        host::Device3D& device = stage.Device();
        device.SetState(D3DRENDERSTATE_TEXTUREHANDLE, LevelsOfOneColourEach(stage, colours));
        device.SetState(D3DRENDERSTATE_TEXTUREMAPBLEND, uint32_t{D3DTBLEND_DECAL});
        device.SetState(D3DRENDERSTATE_TEXTUREMIN, uint32_t{D3DFILTER_MIPNEAREST});
        device.SetState(D3DRENDERSTATE_TEXTUREMAG, uint32_t{D3DFILTER_NEAREST});
        device.SetState(D3DRENDERSTATE_TEXTUREPERSPECTIVE, uint32_t{perspective});
        device.SetState(D3DRENDERSTATE_CULLMODE, uint32_t{D3DCULL_NONE});
        device.BeginScene();
        // The whole image in squares of 128, 64, 32, 16, 8 and 4 pixels.
        std::vector<D3DTLVERTEX> vertices;
        for (uint32_t i = 0; i < 6; ++i) {
            const float left = i == 0 ? 0 : 130 + 30.0f * i, side = static_cast<float>(128 >> i);
            const float top = i == 0 ? 100 : 20.0f * i * (i % 2);
            for (const auto& [u, v] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}) {
                vertices.push_back({left + u * side, top + v * side, 0.5f, 1, 0xFFFFFFFF,
                                    0xFF000000, static_cast<float>(u), static_cast<float>(v)});
            }
        }
        // Later squares lie over earlier ones, so that each shows its upper left part.
        ASSERT_EQ(device.TriangleList(vertices), DD_OK);
        device.EndScene();
        const Image picture = stage.Picture();
        EXPECT_EQ(stage.Faults(), "");
        // Levels are the driver's or the chip's on these; the others show the largest one.
        const TestBoard& board = GetParam().board;
        const bool mips = board.delta && board.deviceId != DeviceTX;
        for (uint32_t i = 0; i < 6; ++i) {
            const uint32_t level = mips ? std::clamp<int>(static_cast<int>(i) - 1, 0, 3) : 0;
            const auto left = static_cast<uint32_t>(i == 0 ? 0 : 130 + 30 * i);
            const auto top = static_cast<uint32_t>(i == 0 ? 100 : 20 * i * (i % 2));
            const uint8_t* seen = picture.At(left + 2, top + 2);
            for (int channel = 0; channel < 3; ++channel) {
                EXPECT_EQ(seen[channel], colours[level] >> (16 - 8 * channel) & 0xFF)
                    << "square " << i << " channel " << channel;
            }
        }
    }
}

TEST_P(TexturedPicture, IsTheSameFromPatchedAndLinearMemoryAndByEveryRoad) {
    std::vector<Triangle3> list;
    for (const DDPIXELFORMAT& format :
         {host::PaletteFormat(4), host::Format332(), host::Format565(), host::Format8888()}) {
        DrawState state = Decal();
        state.texture = Patchwork(format, 128, 64);
        state.filter = D3DFILTER_LINEAR;
        const auto more = TexturedTriangles(2, 100, 45, state, 0, 1.3f);
        list.insert(list.end(), more.begin(), more.end());
    }
    std::vector<std::vector<uint8_t>> pictures;
    for (const char* patchMode : {"1", "2"}) {
        for (const Carrier& carrier : {Carrier{false, 8}, Carrier{false, 2}, Carrier{true, 8}}) {
            StageOptions options = Options();
            options.carrier = carrier;
            options.registry["Direct3DHAL.PatchMode"] = patchMode;
            Stage stage(options);
            stage.Draw(list);
            pictures.push_back(stage.Picture().rgba);
            EXPECT_EQ(stage.Faults(), "") << patchMode;
            EXPECT_EQ(pictures.back(), pictures.front()) << patchMode << " " << carrier.fifo;
        }
    }
}

} // namespace
