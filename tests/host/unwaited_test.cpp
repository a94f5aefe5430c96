// The list of routines that ask for less FIFO space than they use explains that and nothing else.
#include "chip/registers.h"
#include "chip/words.h"
#include "host/inspect/unwaited.h"

#include <gtest/gtest.h>

#include <string>

namespace {

void Send(board::Board& board, uint32_t tagNumber, int times) {
    for (int i = 0; i < times; ++i) {
        const uint32_t words[] = {tagNumber, 0};
        board.WriteFifo(words, 2);
    }
}

// Registers that are told of after two triangles with `unwaited` entries too many.
std::string AfterTwoTriangles(board::Chip chip, bool setupUnit, int unwaited) {
    board::Board board({.chip = chip, .setupUnit = setupUnit});
    board.Read(reg::InFIFOSpace);
    Send(board, tag::DrawTriangle, 2);
    Send(board, tag::FogMode, 254); // the rest of the credit
    Send(board, tag::V1Fixed + 6, unwaited);
    board::Faults faults = host::UnexpectedFaults(board);
    faults.unmodelled.clear();
    return faults.Describe();
}

TEST(UnwaitedByDesign, ADeltaTriangleExplainsSixEntries) {
    EXPECT_EQ(AfterTwoTriangles(board::Chip::TX, true, 12), "");
    EXPECT_EQ(
        AfterTwoTriangles(board::Chip::TX, true, 13),
        "13 writes to V1Fixed+6 without waiting for FIFO space, the first as FIFO word 513\n");
    EXPECT_NE(AfterTwoTriangles(board::Chip::TX, false, 1), "");
    EXPECT_NE(AfterTwoTriangles(board::Chip::Permedia2, true, 1), "");
}

TEST(UnwaitedByDesign, TheEndOfTexturingExplainsThreeEntries) {
    const auto faults = [](board::Chip chip, int unwaited) {
        board::Board board({.chip = chip, .setupUnit = true});
        board.Read(reg::InFIFOSpace);
        Send(board, tag::TexelLUTTransfer, 1);
        Send(board, tag::FogMode, 255); // the rest of the credit
        Send(board, tag::ColorDDAMode, unwaited);
        return host::UnexpectedFaults(board).unwaited.size();
    };
    EXPECT_EQ(faults(board::Chip::Permedia2, 3), 0u);
    EXPECT_EQ(faults(board::Chip::Permedia, 3), 0u);
    EXPECT_EQ(faults(board::Chip::Permedia2, 4), 1u);
    EXPECT_EQ(faults(board::Chip::TX, 1), 1u);
}

TEST(UnwaitedByDesign, OtherRegistersAndMappedWritesAreNeverExplained) {
    for (const bool delta : {false, true}) {
        board::Board board({.chip = board::Chip::MX, .setupUnit = delta});
        board.Read(reg::InFIFOSpace);
        Send(board, tag::DrawTriangle, 1);
        Send(board, tag::dTdyDom, 255);
        Send(board, tag::FogMode, 1);
        board.Write(MappedOffset(tag::Render), 0);
        EXPECT_EQ(host::UnexpectedFaults(board).unwaited.size(), 2u);
    }
}

TEST(UnwaitedByDesign, EveryEntryHasItsReason) {
    for (const host::UnwaitedByDesign& one : host::AllUnwaitedByDesign()) {
        EXPECT_NE(std::string(one.routine), "");
        EXPECT_NE(std::string(one.reason), "");
        EXPECT_FALSE(one.registers.empty()) << one.routine;
        EXPECT_NE(one.missing, 0u) << one.routine;
    }
}

} // namespace
