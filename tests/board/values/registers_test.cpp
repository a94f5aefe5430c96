#include "board/values/registers.h"

#include <gtest/gtest.h>

namespace {

TEST(RegisterFile, EveryWordOfTheApertureIsItsOwn) {
    board::RegisterFile registers;
    const auto wordOf = [](uint32_t offset) { return 0x01000193 * (offset + 1); };
    uint32_t count = 0;
    for (uint32_t offset = 0; offset < reg::MappedRegisters; offset += 4) {
        if (board::RegisterFile::HasAperture(offset)) {
            registers.SetAperture(offset, wordOf(offset));
            ++count;
        }
    }
    EXPECT_GT(count, 0u);
    for (uint32_t offset = 0; offset < reg::MappedRegisters; offset += 4) {
        if (board::RegisterFile::HasAperture(offset)) {
            EXPECT_EQ(registers.Aperture(offset), wordOf(offset)) << offset;
        }
    }
}

} // namespace
