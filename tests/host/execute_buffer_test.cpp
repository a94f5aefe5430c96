#include "host/d3d/execute_buffer.h"

#include <gtest/gtest.h>

#include <bit>
#include <stdexcept>

namespace {

TEST(ExecuteBuffer, InstructionsStandBackToBack) {
    host::ExecuteBuffer buffer;
    const host::RenderState states[] = {{D3DRENDERSTATE_ZENABLE, 1},
                                        host::FloatState(D3DRENDERSTATE_FOGTABLESTART, 1.0f)};
    D3DTRIANGLE triangle{};
    triangle.v1 = 1;
    triangle.v2 = 2;
    triangle.v3 = 0x304;
    triangle.wFlags = 0x700;
    buffer.States(states).Triangles({&triangle, 1}).Exit();
    const std::vector<uint8_t> expected = {
        8,  8, 2, 0,                   // two states of eight bytes
        7,  0, 0, 0, 1, 0, 0,    0,    //
        36, 0, 0, 0, 0, 0, 0x80, 0x3F, //
        3,  8, 1, 0,                   // a triangle of eight bytes
        1,  0, 2, 0, 4, 3, 0,    7,    //
        11, 0, 0, 0,                   // the end
    };
    EXPECT_EQ(std::vector<uint8_t>(buffer.Bytes().begin(), buffer.Bytes().end()), expected);
}

TEST(ExecuteBuffer, LinesAndPointsHaveFourByteRecords) {
    host::ExecuteBuffer buffer;
    D3DLINE line{};
    line.v2 = 1;
    const D3DPOINT point = {3, 4};
    buffer.Lines({&line, 1}).Points({&point, 1});
    const std::vector<uint8_t> expected = {2, 4, 1, 0, 0, 0, 1, 0, 1, 4, 1, 0, 3, 0, 4, 0};
    EXPECT_EQ(std::vector<uint8_t>(buffer.Bytes().begin(), buffer.Bytes().end()), expected);
    buffer.Clear();
    EXPECT_TRUE(buffer.Bytes().empty());
}

TEST(ExecuteBuffer, TooManyRecordsAreRefused) {
    const std::vector<D3DLINE> lines(0x10000);
    host::ExecuteBuffer buffer;
    EXPECT_THROW(buffer.Lines(lines), std::invalid_argument);
}

} // namespace
