// The table of registers keeps its own rules.
#include "chip/registers.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

TEST(RegisterTable, AscendsByOffsetAndNamesNothingTwice) {
    std::set<std::string> names;
    uint32_t last = 0;
    for (const Register& entry : kRegisters) {
        EXPECT_GT(entry.offset, last) << entry.name;
        EXPECT_EQ(entry.offset % 8, 0u) << entry.name;
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
        EXPECT_NE(entry.devices, 0) << entry.name;
        EXPECT_EQ(entry.HasTag(), entry.use != Use::Port) << entry.name;
        last = entry.offset;
    }
}

TEST(RegisterTable, FieldsStandLowestFirstAndShareNoBit) {
    std::map<uint32_t, uint32_t> taken;
    for (const Field& field : kFields) {
        const Register* owner = FindRegister(field.offset);
        ASSERT_NE(owner, nullptr) << field.name;
        EXPECT_EQ(owner->form, Form::Fields) << owner->name;
        EXPECT_GE(field.width, 1) << owner->name << " " << field.name;
        EXPECT_LE(field.low + field.width, 32) << owner->name << " " << field.name;
        EXPECT_GT(field.Mask(), taken[field.offset]) << owner->name << " " << field.name;
        EXPECT_EQ(field.Mask() & taken[field.offset], 0u) << owner->name << " " << field.name;
        const bool named = field.form != Form::Unknown;
        EXPECT_EQ(std::string(field.name).starts_with("Unknown"), !named) << field.name;
        EXPECT_EQ(field.form == Form::Flag, named && field.width == 1)
            << owner->name << " " << field.name;
        taken[field.offset] |= field.Mask();
    }
    for (const Register& entry : kRegisters) {
        EXPECT_EQ(entry.form == Form::Fields, taken.contains(entry.offset)) << entry.name;
    }
}

TEST(RegisterTable, AFieldIsTakenOutOfAWordAndPutBack) {
    EXPECT_EQ(field::VSStreamControl_ScaleY.Get(0x60), 3u);
    EXPECT_EQ(field::VSStreamControl_ScaleY.Put(0xFFFFFFFF, 1), 0xFFFFFFBFu);
    EXPECT_EQ(field::DepthMode_Compare.Tag(), 0x134u);
    EXPECT_EQ(MappedOffset(0x188), 0x8C40u);
}

TEST(DeviceTable, KnowsEachIdOnce) {
    const std::map<uint32_t, ChipModel> expected = {{1, ChipModel::SX},
                                                    {2, ChipModel::TX},
                                                    {6, ChipModel::MX},
                                                    {4, ChipModel::Permedia},
                                                    {0x3D04, ChipModel::Permedia},
                                                    {7, ChipModel::Permedia2},
                                                    {0x3D07, ChipModel::Permedia2}};
    for (uint32_t id = 0; id <= 0xFFFF; ++id) {
        const DeviceRow* row = FindDevice(id);
        const auto wanted = expected.find(id);
        ASSERT_EQ(row != nullptr, wanted != expected.end()) << id;
        if (row != nullptr) {
            EXPECT_EQ(row->model, wanted->second) << id;
            EXPECT_EQ(&DeviceOf(row->model), row) << id;
        }
    }
}

} // namespace
