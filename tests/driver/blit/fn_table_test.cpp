// The table of primitives: what each mode and family puts into it.
#include "driver/blit/pmblit32.h"
#include "driver/blit/pmblitfx.h"
#include "driver/blit/pmdirecx.h"
#include "driver/blit/txblit32.h"
#include "driver/blit/txblitfx.h"
#include "driver/core/glintutl.h"
#include "driver/texture/pmdownld.h"
#include "driver/texture/txdownld.h"
#include "driver/video/video.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

namespace {

using test::Rig;
using test::RigOptions;

struct FnTable : testing::Test {
    void SetUp() override { CHIPRender = {}; }
    void TearDown() override { CHIPRender = {}; }
};

// The whole table as words, in the order of the slots.
std::vector<uint32_t> TableWords(const CHIPRenderTable& table) {
    const auto* words = reinterpret_cast<const uint32_t*>(&table);
    return {words, words + 20};
}

template <class Function>
uint32_t Word(Function* function) {
    return reinterpret_cast<uint32_t>(function);
}

TEST_F(FnTable, EachSlotHasItsPrimitiveInTheOrderOfTheTable) {
    Rig rig({.deviceId = DevicePermedia, .bits = 16});
    rig.driver->ModeKey = 0x1234;
    SetupFnTable(rig.driver);
    const std::vector<uint32_t> expected = {
        0x1234,
        Word(PackedPermediaCopyBlt),
        Word(PatchedPermediaCopyBlt),
        Word(PermediaStretchCopyBlt),
        Word(FastPermediaClear),
        Word(FastLBPermediaClear),
        Word(PermediaSourceChromaBlt),
        Word(YUVtoRGB),
        Word(PermediaPacked16BitDownload),
        Word(PermediaPackedDownload),
        Word(PermediaPatchedTextureDownload),
        Word(PermediaBypass4BitPatchedTextureDownload),
        Word(vPermediaCopyBlt),
        Word(vGlintLBCopyBltNative),
        Word(FastGlintClear),
        Word(FastLBGlintClear),
        Word(TXPatchedTextureDownload),
        Word(TXPackedDownload),
        Word(MXSourceChromaBlt),
        Word(MXStretchCopyBlt),
    };
    EXPECT_EQ(TableWords(CHIPRender), expected);
}

TEST_F(FnTable, A24BitModeHasItsOwnPackedCopy) {
    Rig rig({.deviceId = DevicePermedia2, .bits = 24});
    SetupFnTable(rig.driver);
    EXPECT_EQ(CHIPRender.PackedCopyBlt, Packed24BitPermediaCopyBlt);
    for (const uint32_t bits : {8u, 16u, 32u}) {
        Rig other({.deviceId = DevicePermedia2, .bits = bits});
        SetupFnTable(other.driver);
        EXPECT_EQ(CHIPRender.PackedCopyBlt, PackedPermediaCopyBlt) << bits;
    }
}

TEST_F(FnTable, TheDisplayDownloadFollows8And16BitModesAndIsOtherwiseLeftAsItWas) {
    Rig eight({.deviceId = DevicePermedia, .bits = 8});
    Rig sixteen({.deviceId = DevicePermedia, .bits = 16});
    Rig wide({.deviceId = DevicePermedia, .bits = 32});
    SetupFnTable(wide.driver);
    EXPECT_EQ(CHIPRender.PackedDisplayDownload, nullptr);
    SetupFnTable(eight.driver);
    EXPECT_EQ(CHIPRender.PackedDisplayDownload, PermediaPacked8BitDownload);
    SetupFnTable(wide.driver);
    EXPECT_EQ(CHIPRender.PackedDisplayDownload, PermediaPacked8BitDownload);
    SetupFnTable(sixteen.driver);
    EXPECT_EQ(CHIPRender.PackedDisplayDownload, PermediaPacked16BitDownload);
}

TEST_F(FnTable, TheScreenCopyIsTheFamilysOwn) {
    for (const uint32_t device : {DevicePermedia, DevicePermediaSecond, DevicePermedia2,
                                  DevicePermedia2Second, DeviceSX, DeviceTX, DeviceMX}) {
        Rig rig({.deviceId = device});
        SetupFnTable(rig.driver);
        const bool permedia = device != DeviceSX && device != DeviceTX && device != DeviceMX;
        EXPECT_EQ(CHIPRender.ScreenCopyBlt, permedia ? vPermediaCopyBlt : PackedTXCopyBlt)
            << device;
    }
}

TEST_F(FnTable, WithoutADriverOrItsChipNothingIsFilled) {
    SetupFnTable(nullptr);
    Rig rig;
    rig.driver->ModeKey = 7;
    ChipInfo* chip = rig.driver->ChipInfo;
    rig.driver->ChipInfo = nullptr;
    SetupFnTable(rig.driver);
    rig.driver->ChipInfo = chip;
    EXPECT_EQ(TableWords(CHIPRender), std::vector<uint32_t>(20));
}

TEST(LogicOps, AreTheFourBitsReversed) {
    for (uint32_t i = 0; i < 16; ++i) {
        const uint32_t reversed = (i & 1) * 8 + (i & 2) * 2 + (i & 4) / 2 + (i & 8) / 8;
        EXPECT_EQ(WindowsR2toGlintLogicop[i], reversed) << i;
    }
    EXPECT_EQ(WindowsR2toGlintLogicop[0xCC & 0xF], 3u);
}

} // namespace
