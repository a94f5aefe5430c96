// Partial products and the pitches that are chosen by them.
#include "tests/driver/heap/surface_rig.h"

#include <set>

namespace {

using namespace test;
using Codes = std::array<uint32_t, 4>;

Codes Determine(uint32_t device, uint32_t width) {
    SurfaceRig rig(device);
    Codes codes = {9, 9, 9, 9};
    DeterminePPCode(rig.driver, width, &codes[0], &codes[1], &codes[2], &codes[3]);
    return codes;
}

TEST(DeterminePPCode, WidthsOnTheFirstPermedia) {
    for (uint32_t device : {DevicePermedia, DevicePermediaSecond}) {
        EXPECT_EQ(Determine(device, 640), (Codes{5, 3, 0, 0}));
        EXPECT_EQ(Determine(device, 1024), (Codes{5, 5, 0, 0}));
        EXPECT_EQ(Determine(device, 1536), (Codes{5, 5, 5, 0}));
        EXPECT_EQ(Determine(device, 672), (Codes{5, 1, 3, 0}));
        EXPECT_EQ(Determine(device, 0), (Codes{0, 0, 0, 0}));
    }
}

TEST(DeterminePPCode, LargestProductDependsOnTheChip) {
    EXPECT_EQ(Determine(DevicePermedia2, 1024), (Codes{6, 0, 0, 0}));
    EXPECT_EQ(Determine(DevicePermedia2Second, 1280), (Codes{6, 4, 0, 0}));
    EXPECT_EQ(Determine(DeviceTX, 2048), (Codes{7, 0, 0, 0}));
    EXPECT_EQ(Determine(DeviceMX, 1024), (Codes{6, 0, 0, 0}));
}

TEST(DeterminePPCode, BitsBelow32AreIgnored) {
    EXPECT_EQ(Determine(DevicePermedia, 671), (Codes{5, 3, 0, 0}));
    EXPECT_EQ(Determine(DevicePermedia, 31), (Codes{0, 0, 0, 0}));
}

TEST(DeterminePPCode, OnlyGlintHasAFourthProduct) {
    // 3840 = 2048 + 1024 + 512 + 256.
    EXPECT_EQ(Determine(DeviceTX, 3840), (Codes{7, 4, 5, 6}));
    // 1920 = 1024 + 512 + 256 + 128: the 512 is lost.
    EXPECT_EQ(Determine(DevicePermedia2, 1920), (Codes{6, 3, 4, 0}));
}

TEST(DeterminePPCode, TooManyWholeUnitsGiveNothing) {
    EXPECT_EQ(Determine(DevicePermedia, 2048), (Codes{0, 0, 0, 0}));
    EXPECT_EQ(Determine(DevicePermedia, 2048 + 32), (Codes{0, 0, 0, 0}));
    EXPECT_EQ(Determine(DeviceTX, 4 * 2048), (Codes{7, 7, 7, 7}));
    EXPECT_EQ(Determine(DeviceTX, 5 * 2048), (Codes{0, 0, 0, 0}));
}

struct Search {
    DWORD answer;
    uint32_t pitch;
    Codes products;
};

Search Texture16(uint32_t device, uint32_t width) {
    SurfaceRig rig(device);
    RawSurface& surface = rig.Make(width, 64, DDSCAPS_TEXTURE, kRGB555);
    rig.Create(surface);
    return {rig.result, static_cast<uint32_t>(surface.global.lPitch), surface.Products()};
}

TEST(PitchSearch, Width640IsTwoProducts) {
    const Search found = Texture16(DevicePermedia, 640);
    EXPECT_EQ(found.pitch, 1280u);
    EXPECT_EQ(found.products, (Codes{5, 3, 0, 3 * 8 + 5}));
}

TEST(PitchSearch, Width1000RoundsTo1024) {
    const Search found = Texture16(DevicePermedia, 1000);
    EXPECT_EQ(found.pitch, 2048u);
    EXPECT_EQ(found.products, (Codes{5, 5, 0, 5 * 8 + 5}));
}

TEST(PitchSearch, Width672TakesThreeProducts) {
    const Search found = Texture16(DevicePermedia, 672);
    EXPECT_EQ(found.pitch, 672u * 2);
    EXPECT_EQ(found.products, (Codes{5, 1, 3, (3 * 8 + 1) * 8 + 5}));
}

TEST(PitchSearch, Width992ClimbsTo1024) {
    EXPECT_EQ(Texture16(DevicePermedia, 992).pitch, 2048u);
    EXPECT_EQ(Texture16(DevicePermedia2, 992).pitch, 2048u);
    EXPECT_EQ(Texture16(DevicePermedia2, 992).products, (Codes{6, 0, 0, 6}));
}

// Pitches that are sums of at most three powers of two from 32 up to `largest`.
std::set<uint32_t> SumsOfThree(uint32_t largest) {
    std::vector<uint32_t> powers = {0};
    for (uint32_t power = 32; power <= largest; power *= 2) {
        powers.push_back(power);
    }
    std::set<uint32_t> sums;
    for (uint32_t a : powers) {
        for (uint32_t b : powers) {
            for (uint32_t c : powers) {
                sums.insert(a + b + c);
            }
        }
    }
    return sums;
}

void ExpectNarrowestSum(uint32_t device, uint32_t largest, uint32_t bytesPerElement,
                        const DDPIXELFORMAT& format) {
    SurfaceRig rig(device);
    const std::set<uint32_t> sums = SumsOfThree(largest);
    for (uint32_t width = 1; width <= 3 * largest; width += 7) {
        RawSurface& surface = rig.Make(width, 1, DDSCAPS_ZBUFFER, format);
        ASSERT_EQ(rig.Create(surface), 1u);
        ASSERT_EQ(rig.result, DD_OK);
        const uint32_t best = *sums.lower_bound(width);
        ASSERT_EQ(surface.global.lPitch, static_cast<LONG>(best * bytesPerElement)) << width;
        uint32_t sum = 0;
        for (int i = 0; i < 3; ++i) {
            const uint32_t code = surface.Products()[i];
            sum += code == 0 ? 0 : 16u << code;
        }
        ASSERT_EQ(sum, best);
    }
}

TEST(PitchSearch, FindsTheNarrowestSumOfThreePowers) {
    ExpectNarrowestSum(DevicePermedia, 512, 2, FlagFormat(DDPF_ZBUFFER, 16));
    ExpectNarrowestSum(DevicePermedia2, 1024, 2, FlagFormat(DDPF_ZBUFFER, 16));
    ExpectNarrowestSum(DeviceTX, 2048, 4, FlagFormat(DDPF_ZBUFFER, 32));
}

TEST(PitchSearch, WidthBeyondEveryPitchIsOutOfVideoMemory) {
    EXPECT_EQ(Texture16(DevicePermedia, 1536).answer, DD_OK);
    EXPECT_EQ(Texture16(DevicePermedia, 1537).answer, DDERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(Texture16(DevicePermedia2, 3072).answer, DD_OK);
    EXPECT_EQ(Texture16(DevicePermedia2, 3073).answer, DDERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(Texture16(DevicePermedia, 65535).answer, DDERR_OUTOFVIDEOMEMORY);
}

TEST(PackedProducts, AreLessByOneFor16AndByTwoFor8BitsAndStayFor32) {
    SurfaceRig rig;
    RawSurface& words = rig.Make(672, 64, DDSCAPS_TEXTURE, kRGB555); // 5, 1, 3
    rig.Create(words);
    EXPECT_EQ(words.Packed(), (Codes{4, 0, 2, 2 * 64 + 0 * 8 + 4}));
    RawSurface& bytes = rig.Make(832, 64, DDSCAPS_TEXTURE, kIndexed8); // 512 + 64 + 256
    rig.Create(bytes);
    EXPECT_EQ(bytes.Products(), (Codes{5, 2, 4, (4 * 8 + 2) * 8 + 5}));
    EXPECT_EQ(bytes.Packed(), (Codes{3, 0, 2, 2 * 64 + 0 * 8 + 3}));
    RawSurface& narrow = rig.Make(96, 64, DDSCAPS_TEXTURE, kIndexed8); // 32 + 64
    rig.Create(narrow);
    EXPECT_EQ(narrow.Packed(), (Codes{0, 0, 0, 0}));
    RawSurface& full = rig.Make(672, 64, DDSCAPS_TEXTURE, RGBFormat(32, 0xFF0000));
    rig.Create(full);
    EXPECT_EQ(full.Packed(), (Codes{0, 0, 0, 0}));
}

} // namespace
