// Allocation policy: which stretch, how it is cut, how it goes back.
#include "tests/driver/heap/heap_rig.h"

namespace {

using test::HeapRig;

using test::kBottom;
constexpr uint32_t kTop = AllocateFromTop | FirstFit;

TEST(Aligned, RoundsUpFromTheBase) {
    EXPECT_EQ(ALIGNED(0x1000, 16, 0x1000), 0x1000u);
    EXPECT_EQ(ALIGNED(0x1001, 16, 0x1000), 0x1010u);
    EXPECT_EQ(ALIGNED(0x1004, 12, 0x1001), 0x100Du);
    EXPECT_EQ(ALIGNED(0x100D, 12, 0x1001), 0x100Du);
    // Below the base the distance wraps: 2^32 - 3 is 1 modulo 12, so 11 are added.
    EXPECT_EQ(ALIGNED(0x0FFD, 12, 0x1000), 0x1008u);
    EXPECT_EQ(pointer, 0x0FFDu);
    EXPECT_EQ(alignment, 12u);
    EXPECT_EQ(basePtr, 0x1000u);
}

TEST(AllocateVideoMemory, TakesTheBottomOrTheTop) {
    HeapRig rig(0x10000);
    const uint32_t low = rig.Allocate(kBottom, 0x100).Address;
    EXPECT_EQ(rig.result, 0u);
    EXPECT_EQ(low, rig.Start());
    const uint32_t high = rig.Allocate(kTop, 0x100).Address;
    EXPECT_EQ(high, rig.driver->Heap.HeapEnd + 1 - 0x100);
    EXPECT_EQ(rig.Allocate(kBottom, 0x100).Address, rig.Start() + 0x100);
    EXPECT_EQ(rig.Allocate(kTop, 0x100).Address, rig.driver->Heap.HeapEnd + 1 - 0x200);
    rig.CheckSets();
}

TEST(AllocateVideoMemory, StoresWhatTheClientGotInTheNode) {
    HeapRig rig;
    const HeapRequest request = rig.Allocate(kBottom | ClientOwned, 10, 64);
    ASSERT_EQ(rig.Allocated().size(), 1u);
    EXPECT_EQ(rig.Allocated()[0]->Aligned, request.Address);
    EXPECT_EQ(rig.Allocated()[0]->Flags, kBottom | ClientOwned);
    EXPECT_EQ(rig.Allocated()[0]->RefCount, 1);
}

TEST(AllocateVideoMemory, ExactFitUsesNoSpareAndAnyOtherOne) {
    HeapRig rig(0x1000);
    rig.Allocate(kBottom, 0x400);
    EXPECT_EQ(rig.Spares().size(), 98u);
    rig.Allocate(kTop, 0x400);
    EXPECT_EQ(rig.Spares().size(), 97u);
    rig.Allocate(kBottom, 0x800);
    EXPECT_EQ(rig.result, 0u);
    EXPECT_EQ(rig.Spares().size(), 97u);
    EXPECT_TRUE(rig.Free().empty());
    rig.CheckSets();
}

TEST(AllocateVideoMemory, AlignmentGapStaysInTheAllocatedStretch) {
    HeapRig rig(0x1000);
    rig.Allocate(kBottom, 4);
    const HeapRequest request = rig.Allocate(kBottom, 0x100, 0x200);
    EXPECT_EQ(request.Address, rig.Start() + 0x200);
    const HeapNode* node = rig.Allocated()[1];
    EXPECT_EQ(node->Start, rig.Start() + 4);
    EXPECT_EQ(node->End, rig.Start() + 0x2FF);
    ASSERT_EQ(rig.Free().size(), 1u);
    EXPECT_EQ(rig.Free()[0]->Start, rig.Start() + 0x300);
    rig.CheckSets();
}

TEST(AllocateVideoMemory, ExactUsableSizeBehindAGapTakesTheWholeNode) {
    HeapRig rig(0x300);
    rig.Allocate(kBottom, 4);
    const size_t spares = rig.Spares().size();
    const HeapRequest request = rig.Allocate(kBottom, 0x200, 0x100);
    EXPECT_EQ(rig.result, 0u);
    EXPECT_EQ(request.Address, rig.Start() + 0x100);
    EXPECT_EQ(rig.Allocated()[1]->Start, rig.Start() + 4);
    EXPECT_EQ(rig.Allocated()[1]->End, rig.driver->Heap.HeapEnd);
    EXPECT_EQ(rig.Spares().size(), spares);
    EXPECT_TRUE(rig.Free().empty());
}

TEST(AllocateVideoMemory, AlignsRelativeToTheFrameBuffer) {
    HeapRig rig;
    const HeapRequest request = rig.Allocate(kBottom, 24, 12);
    EXPECT_EQ((request.Address - rig.Base()) % 12, 0u);
    EXPECT_GE(request.Address, rig.Start());
}

TEST(AllocateVideoMemory, RoundsAlignmentAndSizeUp) {
    HeapRig rig;
    EXPECT_EQ(rig.Allocate(kBottom, 1, 6).Alignment, 8u);
    EXPECT_EQ(rig.Allocated()[0]->End - rig.Allocated()[0]->Start + 1, 4u);
    EXPECT_EQ(rig.Allocate(kBottom, 1, 0).Alignment, 4u);
    EXPECT_EQ(rig.Allocate(kBottom, 1, 3).Alignment, 4u);
    EXPECT_EQ(rig.Allocate(kBottom, 5, 4).Alignment, 4u);
    EXPECT_EQ(rig.Allocated()[3]->End - rig.Allocated()[3]->Start + 1, 8u);
    EXPECT_EQ(rig.Allocate(kBottom, 4, 13).Alignment, 16u);
}

TEST(AllocateVideoMemory, RefusesBadRequestsWithoutAnyChange) {
    HeapRig rig;
    EXPECT_EQ(AllocateVideoMemory(rig.driver, nullptr), 2u);
    HeapRequest request = {24, kBottom, 6, 64, 0x1234};
    EXPECT_EQ(AllocateVideoMemory(rig.driver, &request), 2u);
    request.Size = 20;
    request.Bytes = 0;
    EXPECT_EQ(AllocateVideoMemory(rig.driver, &request), 2u);
    request.Bytes = 0xFFFFFFFE; // rounds up to nothing
    EXPECT_EQ(AllocateVideoMemory(rig.driver, &request), 2u);
    request.Bytes = 64;
    request.Alignment = 0xFFFFFFFF; // rounds up to nothing
    EXPECT_EQ(AllocateVideoMemory(rig.driver, &request), 2u);
    EXPECT_EQ(request.Alignment, 0xFFFFFFFFu);
    EXPECT_EQ(request.Address, 0x1234u);
    EXPECT_EQ(rig.Free().size(), 1u);
    rig.CheckSets();
}

TEST(AllocateVideoMemory, FullHeapAnswersNoMemoryEvenForAZeroSize) {
    HeapRig rig(0x100);
    rig.Allocate(kBottom, 0x100);
    EXPECT_EQ(rig.Allocate(kBottom, 0).Address, 0u);
    EXPECT_EQ(rig.result, 1u);
    EXPECT_EQ(rig.Allocate(kBottom, 4).Address, 0u);
    EXPECT_EQ(rig.result, 1u);
}

TEST(AllocateVideoMemory, TooLargeARequestChangesNothingButItsAlignment) {
    HeapRig rig(0x100);
    for (uint32_t bytes : {0x104u, 0x40000000u, 0x80000000u, 0xFFFFFFF0u}) {
        const HeapRequest request = rig.Allocate(kBottom, bytes, 5);
        EXPECT_EQ(rig.result, 1u);
        EXPECT_EQ(request.Address, 0u);
        EXPECT_EQ(request.Alignment, 8u);
        EXPECT_EQ(rig.Free().size(), 1u);
        rig.CheckSets();
    }
}

TEST(AllocateVideoMemory, AGapOfMoreThanHalfOfMemoryWrapsAndFits) {
    HeapRig rig(0x100);
    // The step leads to 0xC0000000 beyond the frame buffer: 0x3FFFFFFF bytes below a stretch's end.
    const HeapRequest request = rig.Allocate(kBottom, 0x1000, 0xC0000000);
    EXPECT_EQ(rig.result, 0u);
    EXPECT_EQ(request.Address, rig.Base() + 0xC0000000);
}

TEST(AllocateVideoMemory, StretchThatEndsBelowItsAlignedStartDoesNotFit) {
    HeapRig rig(0x100);
    rig.Allocate(kBottom, 4);
    EXPECT_EQ(rig.Allocate(kBottom, 4, 0x1000).Address, 0u);
    EXPECT_EQ(rig.result, 1u);
}

// A heap with free stretches of 0x300, 0x100, 0x200 and 0x100 bytes, low to high.
struct Holes {
    HeapRig rig{0xB00};
    uint32_t at[4];

    Holes() {
        const uint32_t sizes[] = {0x300, 0x100, 0x100, 0x100, 0x200, 0x100, 0x100, 0x100};
        uint32_t addresses[8];
        for (int i = 0; i < 8; ++i) {
            addresses[i] = rig.Allocate(kBottom, sizes[i]).Address;
        }
        for (int i = 0; i < 4; ++i) {
            at[i] = addresses[2 * i];
            FreeVideoMemory(rig.driver, at[i]);
        }
        rig.CheckSets();
    }
};

TEST(AllocateVideoMemory, FirstFitStopsAtTheFirstStretchOfTheWalk) {
    Holes up;
    EXPECT_EQ(up.rig.Allocate(kBottom, 0x80).Address, up.at[0]);
    Holes down;
    EXPECT_EQ(down.rig.Allocate(kTop, 0x80).Address, down.at[3] + 0x80);
    EXPECT_EQ(down.rig.Allocate(kTop, 0x180).Address, down.at[2] + 0x80);
}

TEST(AllocateVideoMemory, BestFitTakesTheSmallestRemainderFirstMetAmongEquals) {
    Holes up;
    EXPECT_EQ(up.rig.Allocate(AllocateFromBottom, 0x80).Address, up.at[1]);
    Holes down;
    EXPECT_EQ(down.rig.Allocate(0, 0x80).Address, down.at[3] + 0x80);
    Holes middle;
    EXPECT_EQ(middle.rig.Allocate(AllocateFromBottom, 0x180).Address, middle.at[2]);
    Holes exact;
    EXPECT_EQ(exact.rig.Allocate(AllocateFromBottom, 0x100).Address, exact.at[1]);
    exact.rig.CheckSets();
}

TEST(AllocateVideoMemory, BestFitRoundTheRingCountsAtTheStartOfTheWalk) {
    Holes holes;
    HeapNode* start = holes.rig.Free()[0];
    HeapNode* chosen = holes.rig.Free()[2];
    start->RefCount = 50;
    chosen->RefCount = -7;
    const uint32_t address = holes.rig.Allocate(AllocateFromBottom, 0x180).Address;
    EXPECT_EQ(chosen->Aligned, address);
    EXPECT_EQ(chosen->RefCount, -7);
    EXPECT_EQ(start->RefCount, 1);
    EXPECT_EQ(FreeVideoMemory(holes.rig.driver, address), 0u);
    holes.rig.CheckSets();
}

TEST(AllocateVideoMemory, FirstFitAndExactFitCountAtTheChosenNode) {
    Holes holes;
    HeapNode* third = holes.rig.Free()[2];
    third->RefCount = -7;
    holes.rig.Allocate(kBottom, 0x80);
    HeapNode* first = holes.rig.Free()[0];
    first->RefCount = 50;
    holes.rig.Allocate(AllocateFromBottom, 0x200); // only the third fits exactly
    EXPECT_EQ(third->Kind, 1u);
    EXPECT_EQ(third->RefCount, 1);
    EXPECT_EQ(first->RefCount, 50);
}

TEST(AllocateVideoMemory, HighEndIsCutByTheGapOfTheOldStart) {
    HeapRig rig(0x1000);
    rig.Allocate(kBottom, 4); // free from +4, gap 0xC to the next multiple of 16
    const HeapRequest request = rig.Allocate(FirstFit, 0x20, 16);
    const HeapNode* node = rig.Allocated()[1];
    EXPECT_EQ(node->End, rig.driver->Heap.HeapEnd);
    EXPECT_EQ(node->End - node->Start + 1, 0x2Cu);
    EXPECT_EQ(node->Start, rig.Start() + 0xFD4);
    EXPECT_EQ(request.Address, rig.Start() + 0xFE0);
    rig.CheckSets();
}

TEST(AllocateVideoMemory, ScanlineAlignedStartsOnTheNextLine) {
    HeapRig rig(0x40000); // 640 pixels of 16 bits: 1280 bytes a line
    const HeapRequest request = rig.Allocate(kBottom | ScanlineAligned, 100);
    const HeapNode* node = rig.Allocated()[0];
    EXPECT_EQ(node->End - node->Start + 1, 1380u);
    // 0x10000 is line 51 and 256 bytes; the next line starts at 52 * 1280.
    EXPECT_EQ(request.Address, rig.Base() + 52 * 1280);
}

TEST(AllocateVideoMemory, ScanlineAlignedLeavesABoundaryItStandsOn) {
    HeapRig rig(0x40000);
    rig.Allocate(kBottom, 52 * 1280 - 0x10000); // up to line 52
    const HeapRequest request = rig.Allocate(kBottom | ScanlineAligned, 100);
    EXPECT_EQ(rig.Allocated()[1]->Start, rig.Base() + 52 * 1280);
    EXPECT_EQ(request.Address, rig.Base() + 53 * 1280);
}

TEST(AllocateVideoMemory, ScanlineOfA24BitModeShiftsByItsCode) {
    HeapRig rig(0x40000);
    rig.driver->PixelSize = PixelSize24;
    rig.Allocate(kBottom | ScanlineAligned, 100);
    const HeapNode* node = rig.Allocated()[0];
    EXPECT_EQ(node->End - node->Start + 1, 640u * 16 + 100);
}

TEST(AllocateVideoMemory, SharedRequestsWithTheSameFlagsShareOneBlock) {
    HeapRig rig;
    const uint32_t flags = kBottom | SharedAllocation | 0x30000;
    const uint32_t address = rig.Allocate(flags, 0x100).Address;
    const HeapRequest second = rig.Allocate(flags, 0x5000, 6);
    EXPECT_EQ(rig.result, 0u);
    EXPECT_EQ(second.Address, address);
    EXPECT_EQ(second.Alignment, 6u);
    EXPECT_EQ(rig.Allocated().size(), 1u);
    EXPECT_NE(rig.Allocate(kBottom | SharedAllocation, 0x100).Address, address);
    EXPECT_EQ(FreeVideoMemory(rig.driver, address), 3u);
    EXPECT_EQ(FreeVideoMemory(rig.driver, address), 0u);
    EXPECT_EQ(FreeVideoMemory(rig.driver, address), 1u);
    rig.CheckSets();
}

TEST(AllocateVideoMemory, SharedHitIsFoundOnAFullHeap) {
    HeapRig rig(0x100);
    const uint32_t address = rig.Allocate(kBottom | SharedAllocation, 0x100).Address;
    EXPECT_EQ(rig.Allocate(kBottom | SharedAllocation, 0).Address, address);
    EXPECT_EQ(rig.result, 0u);
}

TEST(FreeVideoMemory, AnyInnerAddressReleasesTheWholeStretch) {
    for (uint32_t offset : {0u, 1u, 0x80u, 0xFFu}) {
        HeapRig rig;
        const uint32_t address = rig.Allocate(kBottom, 0x100).Address;
        EXPECT_EQ(FreeVideoMemory(rig.driver, address + offset), 0u);
        EXPECT_TRUE(rig.Allocated().empty());
        ASSERT_EQ(rig.Free().size(), 1u);
        rig.CheckSets();
    }
}

TEST(FreeVideoMemory, UnknownAddressAnswers1) {
    HeapRig rig;
    EXPECT_EQ(FreeVideoMemory(rig.driver, rig.Start()), 1u); // nothing allocated
    rig.Allocate(kBottom, 0x100);
    EXPECT_EQ(FreeVideoMemory(rig.driver, rig.Start() + 0x100), 1u);
    EXPECT_EQ(FreeVideoMemory(rig.driver, rig.Start() - 1), 1u);
    EXPECT_EQ(rig.Allocated().size(), 1u);
}

TEST(FreeVideoMemory, TouchingFreeOnBothSidesLeavesOneNodeAndGivesTwoBack) {
    HeapRig rig;
    uint32_t blocks[3];
    for (uint32_t& block : blocks) {
        block = rig.Allocate(kBottom, 0x100).Address;
    }
    FreeVideoMemory(rig.driver, blocks[0]);
    ASSERT_EQ(rig.Free().size(), 2u);
    FreeVideoMemory(rig.driver, blocks[2]); // joins the rest of the heap
    ASSERT_EQ(rig.Free().size(), 2u);
    const size_t spares = rig.Spares().size();
    EXPECT_EQ(FreeVideoMemory(rig.driver, blocks[1]), 0u);
    EXPECT_EQ(rig.Free().size(), 1u);
    EXPECT_EQ(rig.Spares().size(), spares + 2);
    rig.CheckSets();
}

TEST(FreeVideoMemory, JoinsTheStretchBelow) {
    HeapRig rig(0x300);
    for (int i = 0; i < 3; ++i) {
        rig.Allocate(kBottom, 0x100);
    }
    // The heap is full: the first free makes the free set, the second joins it from above.
    FreeVideoMemory(rig.driver, rig.Start());
    FreeVideoMemory(rig.driver, rig.Start() + 0x100);
    ASSERT_EQ(rig.Free().size(), 1u);
    EXPECT_EQ(rig.Free()[0]->End, rig.Start() + 0x1FF);
    rig.CheckSets();
}

TEST(FreeVideoMemory, LowestStretchGoesBehindTheHighestAndBecomesTheHead) {
    HeapRig rig;
    rig.Allocate(kBottom, 0x100);
    rig.Allocate(kBottom, 0x100);
    FreeVideoMemory(rig.driver, rig.Start());
    ASSERT_EQ(rig.Free().size(), 2u);
    EXPECT_EQ(rig.Free()[0]->Start, rig.Start());
    EXPECT_EQ(rig.Free()[0]->End, rig.Start() + 0xFF);
    rig.CheckSets();
}

TEST(FreeVideoMemory, MergeAtTheBottomKeepsTheHead) {
    HeapRig rig;
    rig.Allocate(kBottom, 0x100);
    rig.Allocate(kTop, 0x100); // so that the highest free stretch does not end the heap
    HeapNode* head = rig.Free()[0];
    FreeVideoMemory(rig.driver, rig.Start());
    ASSERT_EQ(rig.Free().size(), 1u);
    EXPECT_EQ(rig.Free()[0], head);
    EXPECT_EQ(head->Start, rig.Start());
    rig.CheckSets();
}

TEST(FreeVideoMemory, FlagsHaveNoSayInHowABlockGoesBack) {
    for (uint32_t flags : {kBottom, uint32_t{AllocateFromBottom}}) {
        HeapRig rig;
        uint32_t blocks[3];
        for (uint32_t& block : blocks) {
            block = rig.Allocate(flags, 0x100).Address;
        }
        FreeVideoMemory(rig.driver, blocks[1]);
        ASSERT_EQ(rig.Free().size(), 2u);
        EXPECT_EQ(rig.Free()[0]->Start, blocks[1]);
        FreeVideoMemory(rig.driver, blocks[0]);
        EXPECT_EQ(rig.Free().size(), 2u);
        FreeVideoMemory(rig.driver, blocks[2]);
        EXPECT_EQ(rig.Free().size(), 1u);
        rig.CheckSets();
    }
}

TEST(FreeVideoMemory, WithNothingFreeTheStretchBecomesTheFreeSet) {
    HeapRig rig(0x200);
    rig.Allocate(kBottom, 0x100);
    const uint32_t second = rig.Allocate(kBottom, 0x100).Address;
    ASSERT_TRUE(rig.Free().empty());
    EXPECT_EQ(FreeVideoMemory(rig.driver, second), 0u);
    ASSERT_EQ(rig.Free().size(), 1u);
    EXPECT_EQ(rig.Free()[0]->Start, second);
    rig.CheckSets();
}

TEST(FreeAllVideoMemory, OverridesSharing) {
    HeapRig rig;
    for (int i = 0; i < 3; ++i) {
        rig.Allocate(kBottom | SharedAllocation, 0x100);
        rig.Allocate(kTop, 0x100);
    }
    FreeAllVideoMemory(rig.driver);
    EXPECT_TRUE(rig.Allocated().empty());
    EXPECT_EQ(rig.Free().size(), 1u);
    rig.CheckSets();
}

TEST(GetFreeMemInHeap, SumsTheFreeSet) {
    HeapRig rig(0x1000);
    EXPECT_EQ(GetFreeMemInHeap(rig.driver), 0x1000u);
    rig.Allocate(kBottom, 0x100);
    rig.Allocate(kBottom, 0x200);
    FreeVideoMemory(rig.driver, rig.Start());
    EXPECT_EQ(GetFreeMemInHeap(rig.driver), 0xE00u);
    rig.Allocate(kTop, 0xD00);
    rig.Allocate(kBottom, 0x100);
    EXPECT_EQ(GetFreeMemInHeap(rig.driver), 0u);
}

} // namespace
