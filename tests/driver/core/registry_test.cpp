#include "driver/core/registry.h"
#include "host/win32/registry.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using test::Rig;

uint32_t Query(const char* name, uint32_t* found = nullptr) {
    uint32_t value = 0xDEADBEEF;
    const uint32_t result = bGlintQueryRegistryValueUlong(name, &value);
    if (found != nullptr) {
        *found = result;
    }
    return value;
}

class RegistryTest : public testing::Test {
  protected:
    Rig rig;
    void Set(const std::string& name, const std::string& text) { rig.SetRegistry(name, text); }
    void SetRaw(const std::string& name, const std::vector<uint8_t>& bytes, uint32_t type) {
        host::TheRegistry().Set(test::kRigKey, name, {type, bytes});
        vGlintInitializeRegistryKey(rig.driver);
    }
    void Fill() {
        vGlintInitializeRegistryKey(rig.driver);
        SetupGlobalData(rig.driver);
    }
};

TEST_F(RegistryTest, ABlankLedNumberEndsAtTheFirstLetter) {
    Set("v", "  12x9");
    uint32_t found;
    EXPECT_EQ(Query("v", &found), 12u);
    EXPECT_EQ(found, 1u);
}

TEST_F(RegistryTest, ControlBlanksNineToThirteenAreSkipped) {
    Set("v", "\t\n\v\f\r7");
    EXPECT_EQ(Query("v"), 7u);
}

TEST_F(RegistryTest, TheirNeighboursAreNoBlanks) {
    for (const char c : {8, 14, 31, 33}) {
        Set("v", std::string{c} + "7");
        EXPECT_EQ(Query("v"), 0u) << int{c};
    }
}

TEST_F(RegistryTest, AMinusSignGivesTheTwosComplement) {
    Set("v", "-3");
    EXPECT_EQ(Query("v"), 0xFFFFFFFDu);
}

TEST_F(RegistryTest, APlusSignIsTakenAndASecondSignEndsTheNumber) {
    Set("v", "+5");
    EXPECT_EQ(Query("v"), 5u);
    Set("v", "+-5");
    EXPECT_EQ(Query("v"), 0u);
}

TEST_F(RegistryTest, AnEmptyValueReadsAsZeroAndIsFound) {
    Set("v", "");
    uint32_t found = 0;
    EXPECT_EQ(Query("v", &found), 0u);
    EXPECT_EQ(found, 1u);
}

TEST_F(RegistryTest, AnAbsentValueReadsAsZeroAndIsNotFound) {
    Set("other", "1");
    uint32_t found = 1;
    EXPECT_EQ(Query("v", &found), 0u);
    EXPECT_EQ(found, 0u);
}

TEST_F(RegistryTest, AValueOfTenCharactersIsAbsentAndOfNineIsNot) {
    uint32_t found;
    Set("v", "1234567890");
    EXPECT_EQ(Query("v", &found), 0u);
    EXPECT_EQ(found, 0u);
    Set("v", "123456789");
    EXPECT_EQ(Query("v", &found), 123456789u);
    EXPECT_EQ(found, 1u);
}

TEST_F(RegistryTest, ABinaryValueIsReadByTheSameSteps) {
    constexpr uint32_t kBinary = 3;
    uint32_t found;
    SetRaw("v", {1, 0, 0, 0}, kBinary);
    EXPECT_EQ(Query("v", &found), 0u);
    EXPECT_EQ(found, 1u);
    SetRaw("v", {'4', '2', 'q'}, kBinary);
    EXPECT_EQ(Query("v"), 42u);
}

TEST_F(RegistryTest, AStringQueryThatFailsEmptiesTheBuffer) {
    Set("other", "1");
    char buffer[8] = "full";
    EXPECT_EQ(bGlintQueryRegistryValueString("v", buffer, sizeof(buffer)), 0u);
    EXPECT_EQ(buffer[0], 0);
    Set("v", "text");
    EXPECT_EQ(bGlintQueryRegistryValueString("v", buffer, sizeof(buffer)), 1u);
    EXPECT_STREQ(buffer, "text");
}

TEST_F(RegistryTest, StoringOneWritesTheDigitItsTerminatorAndTwoMoreBytes) {
    Set("other", "1");
    EXPECT_EQ(bGlintSetRegistryValueString("v", 1), 1);
    const host::RegistryValue* value = host::TheRegistry().Find(test::kRigKey, "v");
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->type, REG_SZ);
    ASSERT_EQ(value->bytes.size(), 4u);
    EXPECT_EQ(value->bytes[0], '1');
    EXPECT_EQ(value->bytes[1], 0);
}

TEST_F(RegistryTest, ALongNumberIsCutToItsFirstFourDigits) {
    Set("other", "1");
    EXPECT_EQ(bGlintSetRegistryValueString("v", 4294967295u), 1);
    const host::RegistryValue* value = host::TheRegistry().Find(test::kRigKey, "v");
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->bytes, (std::vector<uint8_t>{'4', '2', '9', '4'}));
    EXPECT_EQ(Query("v"), 4294u);
}

TEST_F(RegistryTest, AKeyThatCannotBeOpenedLeavesAllDefaults) {
    std::strcpy(rig.chip->RegistryName, "Absent");
    Fill();
    uint32_t found = 1;
    EXPECT_EQ(Query("Direct3DHAL.NoDMA", &found), 0u);
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(bGlintSetRegistryValueString("v", 1), 0);
}

TEST_F(RegistryTest, ASecondKeyThatCannotBeOpenedLeavesTheFirstServing) {
    Set("v", "8");
    std::strcpy(rig.chip->RegistryName, "Absent");
    vGlintInitializeRegistryKey(rig.driver);
    EXPECT_EQ(Query("v"), 8u);
}

TEST_F(RegistryTest, ANameOfThirtyFourCharactersFillsThePathAndIsFound) {
    const std::string name(34, 'N');
    std::strcpy(rig.chip->RegistryName, name.c_str());
    host::TheRegistry().SetText("SOFTWARE\\" + name + "\\DirectX", "v", "21");
    vGlintInitializeRegistryKey(rig.driver);
    EXPECT_EQ(Query("v"), 21u);
    EXPECT_EQ(host::TheRegistry().LastAccess(), 0x2001Bu);
}

TEST_F(RegistryTest, PatchModeOfThreeOrMoreGivesZero) {
    for (const auto& [text, expected] :
         {std::pair{"0", 0u}, {"1", 1u}, {"2", 2u}, {"3", 0u}, {"-1", 0u}, {"77", 0u}}) {
        Set("Direct3DHAL.PatchMode", text);
        Fill();
        EXPECT_EQ(DXGlobals.PatchMode, expected) << text;
    }
}

TEST_F(RegistryTest, ZPatchOfTwoGivesOffAndAppStatsOfTwoGivesOn) {
    Set("Direct3DHAL.ZPatch", "2");
    Set("Direct3DHAL.AppStats", "2");
    Fill();
    EXPECT_EQ(DXGlobals.ZPatch, 0u);
    EXPECT_EQ(DXGlobals.AppStats, 1u);
}

TEST_F(RegistryTest, EverySwitchOfOneReachesItsField) {
    struct Row {
        const char* name;
        uint32_t DXGlobalsRecord::*field;
    };
    const Row rows[] = {
        {"Direct3DHAL.AppStats", &DXGlobalsRecord::AppStats},
        {"Direct3DHAL.ForceAGPTextures", &DXGlobalsRecord::ForceAGPTextures},
        {"Direct3DHAL.PatchMode", &DXGlobalsRecord::PatchMode},
        {"Direct3DHAL.ZPatch", &DXGlobalsRecord::ZPatch},
        {"Direct3DHAL.AdvancedDebug", &DXGlobalsRecord::AdvancedDebug},
        {"Direct3DHAL.NoVBlankWait", &DXGlobalsRecord::NoVBlankWait},
        {"Direct3DHAL.FilterStretch", &DXGlobalsRecord::FilterStretch},
        {"Direct3DHAL.FilterVideo", &DXGlobalsRecord::FilterVideo},
        {"Direct3DHAL.NoFlip", &DXGlobalsRecord::NoFlip},
        {"Direct3DHAL.AlwaysDither", &DXGlobalsRecord::AlwaysDither},
    };
    for (const Row& on : rows) {
        Rig fresh;
        fresh.SetRegistry(on.name, "1");
        SetupGlobalData(fresh.driver);
        for (const Row& row : rows) {
            EXPECT_EQ(DXGlobals.*row.field, row.field == on.field ? 1u : 0u)
                << on.name << " seen at " << row.name;
        }
    }
}

TEST_F(RegistryTest, RectAllocFollowsItsValueOnThePermediaFamilyOnly) {
    Set("Direct3DHAL.RectAlloc", "1");
    Fill();
    EXPECT_EQ(rig.driver->RectAlloc, 1u);
    Set("Direct3DHAL.RectAlloc", "2");
    Fill();
    EXPECT_EQ(rig.driver->RectAlloc, 0u);

    Rig glint({.deviceId = DeviceTX});
    glint.SetRegistry("Direct3DHAL.RectAlloc", "0");
    SetupGlobalData(glint.driver);
    EXPECT_EQ(glint.driver->RectAlloc, 1u);
}

} // namespace
