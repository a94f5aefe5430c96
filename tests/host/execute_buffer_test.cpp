#include "host/d3d/execute_buffer.h"

#include <gtest/gtest.h>

#include <bit>
#include <optional>
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

// Reached by 16-bit words that stand back to back.
std::optional<uint32_t> Reached(uint8_t opcode, uint8_t bytes, uint16_t count,
                                const std::vector<uint16_t>& words) {
    return host::VerticesReached(
        {opcode, bytes, count},
        {reinterpret_cast<const uint8_t*>(words.data()), words.size() * sizeof(uint16_t)});
}

TEST(VerticesReached, AreThoseThatRecordsName) {
    EXPECT_EQ(Reached(D3DOP_TRIANGLE, 8, 2, {0, 1, 2, 0x700, 7, 3, 4, 0xFFFF}), 8u);
    EXPECT_EQ(Reached(D3DOP_LINE, 4, 2, {0, 5, 4, 1}), 6u);
    EXPECT_EQ(Reached(D3DOP_POINT, 4, 2, {3, 4, 1, 9}), 10u) << "count and first";
    EXPECT_EQ(Reached(D3DOP_LINE, 4, 1, {0xFFFF, 0}), 0x10000u);
    EXPECT_EQ(Reached(D3DOP_TRIANGLE, 8, 0, {}), 0u);
    EXPECT_EQ(Reached(D3DOP_STATERENDER, 8, 1, {9, 9, 9, 9}), 0u);
}

TEST(VerticesReached, FollowsTheLengthThatTheInstructionTells) {
    EXPECT_EQ(Reached(D3DOP_LINE, 6, 2, {0, 1, 99, 2, 3}), 4u) << "the last one ends early";
    EXPECT_EQ(Reached(D3DOP_LINE, 6, 2, {0, 1, 99, 2}), std::nullopt);
    EXPECT_EQ(Reached(D3DOP_TRIANGLE, 8, 2, {0, 1, 2, 0, 0, 1, 2}), std::nullopt);
    EXPECT_EQ(Reached(D3DOP_TRIANGLE, 6, 1, {0, 1, 2, 0}), std::nullopt) << "shorter than a record";
    EXPECT_EQ(Reached(D3DOP_TRIANGLE, 0, 9, {0, 1, 2, 0}), std::nullopt);
    EXPECT_EQ(Reached(D3DOP_LINE, 5, 1, {0, 1, 2}), std::nullopt);
}

} // namespace
