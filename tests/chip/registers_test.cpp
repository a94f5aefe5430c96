// The table of registers keeps its own rules.
#include "chip/register_table.h"

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
    std::set<std::string> names;
    for (const FieldRow& field : kFields) {
        const Register* owner = FindRegister(field.offset);
        ASSERT_NE(owner, nullptr) << field.name;
        const std::string name = std::string(owner->name) + " " + field.name;
        EXPECT_EQ(owner->kind, &kind::Fields) << name;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_GE(field.width, 1) << name;
        EXPECT_LE(field.low + field.width, 32) << name;
        EXPECT_GT(field.Mask(), taken[field.offset]) << name;
        EXPECT_EQ(field.Mask() & taken[field.offset], 0u) << name;
        const bool named = field.kind != &kind::Unknown;
        EXPECT_EQ(std::string(field.name).starts_with("Unknown"), !named) << name;
        EXPECT_EQ(field.kind == &kind::Flag, named && field.width == 1) << name;
        taken[field.offset] |= field.Mask();
    }
    for (const Register& entry : kRegisters) {
        EXPECT_EQ(entry.kind == &kind::Fields, taken.contains(entry.offset)) << entry.name;
    }
}

TEST(RegisterTable, KindsSuitWhatHasThem) {
    for (const Register& entry : kRegisters) {
        const Form form = entry.kind->form;
        const bool group = form == Form::VertexFixed || form == Form::VertexSingle;
        EXPECT_EQ(group, entry.use == Use::Vertex) << entry.name;
        EXPECT_NE(form, Form::Log2) << entry.name;
        EXPECT_NE(form, Form::Product) << entry.name;
        EXPECT_NE(form, Form::Flag) << entry.name;
    }
    // Formats of whole words are no fields'.
    for (const FieldRow& field : kFields) {
        switch (field.kind->form) {
        case Form::Bits:
        case Form::Flag:
        case Form::Code:
        case Form::Number:
        case Form::Signed:
        case Form::Log2:
        case Form::Product:
            break;
        default:
            ADD_FAILURE() << field.name;
        }
        for (const Code& code : field.kind->codes) {
            EXPECT_LT(code.value, 1u << field.width) << field.name << " " << code.name;
        }
    }
}

TEST(KindTable, CodesHaveANameAndANumberEachAndNoBlanks) {
    for (const ValueKind* one : kKinds) {
        std::set<uint32_t> values;
        std::set<std::string> names;
        for (const Code& code : one->codes) {
            const std::string name = code.name;
            EXPECT_TRUE(values.insert(code.value).second) << one->name << " " << name;
            EXPECT_TRUE(names.insert(name).second) << one->name << " " << name;
            // Neither a number nor bits in hex, nor more than one word.
            EXPECT_NE(name.find_first_not_of("0123456789"), std::string::npos) << name;
            EXPECT_FALSE(name.starts_with("0x")) << name;
            EXPECT_EQ(name.find_first_of(" \t={},;"), std::string::npos) << name;
        }
        EXPECT_EQ(one->form == Form::Code, !one->codes.empty() || one == &kind::Code) << one->name;
        EXPECT_EQ(std::string(one->unit).find_first_of(" ={},;"), std::string::npos) << one->name;
    }
}

TEST(RegisterTable, NamesAreToldFromWordsInHex) {
    for (const Register& entry : kRegisters) {
        const std::string name = entry.name;
        EXPECT_NE(name.find_first_not_of("0123456789ABCDEFabcdef"), std::string::npos) << name;
        EXPECT_NE(name, "tag");
        EXPECT_NE(name, "offset");
        EXPECT_GT(name.size(), 1u) << name; // one letter is a carrier
    }
}

TEST(RegisterTable, LooksUpWhatItHas) {
    EXPECT_EQ(FindRegister(0x30)->name, std::string("DMACount"));
    EXPECT_EQ(FindRegister(0x8038)->name, std::string("Render"));
    EXPECT_EQ(FindRegister(0x34), nullptr);
    EXPECT_EQ(FindRegister(0x9FF8), nullptr);
    EXPECT_EQ(FindRegister(0xA000), nullptr);
    EXPECT_EQ(FieldsOf(*FindRegister(0x9320)).size(), FieldsOf(*FindRegister(0x8038)).size());
    EXPECT_EQ(FieldsOf(*FindRegister(0x8000)).size(), 0u);
    EXPECT_EQ(FindVertexRow(0x24A)->name, std::string("X"));
    EXPECT_EQ(FindVertexRow(0x20D), nullptr);
    EXPECT_EQ(FindVertexRow(0x18A), nullptr);
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
