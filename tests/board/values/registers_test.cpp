#include "board/values/registers.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(RegisterFile, APrimitiveFindsTheApertureAsItWasWhenItBegan) {
    std::vector<uint32_t> offsets;
    for (uint32_t offset = 0; offset < reg::MappedRegisters; offset += 4) {
        if (board::RegisterFile::HasAperture(offset)) {
            offsets.push_back(offset);
        }
    }
    ASSERT_GT(offsets.size(), 1u);
    board::RegisterFile registers;
    const auto set = [&](uint32_t of) {
        for (const uint32_t offset : offsets) {
            registers.SetAperture(offset, of + offset);
        }
    };
    const auto expect = [&](uint32_t of) {
        for (const uint32_t offset : offsets) {
            EXPECT_EQ(registers.Aperture(offset), of + offset) << offset;
        }
    };
    set(0x10000);
    registers.BeginPrimitive();
    set(0x20000);
    set(0x30000);
    registers.ExchangePrimitive();
    expect(0x10000);
    registers.ExchangePrimitive();
    expect(0x30000);
}

} // namespace
