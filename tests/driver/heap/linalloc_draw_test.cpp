// The heap's picture and statistics.
#include "tests/driver/heap/heap_rig.h"

namespace {

using test::HeapRig;

using test::kBottom;

// A heap from address 0x100 to 0x10FF over a picture of its own, so that a stretch's address is an
// offset in it.
struct Picture {
    HeapRig rig;
    std::vector<uint16_t> pixels = std::vector<uint16_t>(0x1100 / 2 + 8, 0xAAAA);

    Picture() {
        rig.driver->FrameBufferBase = nullptr;
        rig.driver->Heap.HeapStart = 0x100;
        rig.driver->Heap.HeapEnd = 0x10FF;
        InitialiseHeapManager(rig.driver);
        HeapStats = {};
    }
    uint32_t Draw() { return WalkAndDrawHeap(rig.driver, pixels.data()); }
    // Pixels of the bytes from `from` up to `to` that differ from `pixel`.
    int Others(uint32_t from, uint32_t to, uint16_t pixel) const {
        int count = 0;
        for (uint32_t i = from / 2; i < to / 2; ++i) {
            count += pixels[i] != pixel;
        }
        return count;
    }
};

TEST(WalkAndDrawHeap, EmptyHeapIsOneBlackStretch) {
    Picture picture;
    EXPECT_EQ(picture.Draw(), 1u);
    // The background is counted from the start of the picture.
    EXPECT_EQ(picture.Others(0, 0x100, 0x7FFF), 0);
    EXPECT_EQ(picture.Others(0x100, 0x1100, 0x0000), 0);
    EXPECT_EQ(picture.pixels[0x1100 / 2], 0xAAAA);
    EXPECT_EQ(HeapStats.FreeBytes, 0x1000u);
    EXPECT_EQ(HeapStats.AllocatedBytes, 0u);
    EXPECT_EQ(HeapStats.FreeNodes, 1u);
    EXPECT_EQ(HeapStats.AllocatedNodes, 0u);
    EXPECT_EQ(HeapStats.SpareNodes, 99u);
    EXPECT_EQ(HeapStats.Groups, 1u);
    EXPECT_EQ(HeapStats.Fragmentation, 0u);
}

TEST(WalkAndDrawHeap, ColoursTellKindAndEnd) {
    Picture picture;
    picture.rig.Allocate(kBottom, 0x100);                       // 0x100
    picture.rig.Allocate(kBottom, 0x100);                       // 0x200
    picture.rig.Allocate(kBottom, 0x80, 0x400);                 // gap from 0x300, block at 0x400
    picture.rig.Allocate(AllocateFromTop | FirstFit, 0x100, 4); // 0x1000
    FreeVideoMemory(picture.rig.driver, 0x100);
    picture.Draw();
    EXPECT_EQ(picture.Others(0x100, 0x200, 0x0000), 0); // first free stretch
    EXPECT_EQ(picture.Others(0x200, 0x300, 0x03E0), 0);
    EXPECT_EQ(picture.Others(0x300, 0x400, 0x7FFF), 0); // padding is not drawn
    EXPECT_EQ(picture.Others(0x400, 0x480, 0x03E0), 0);
    EXPECT_EQ(picture.Others(0x480, 0x1000, 0x1CE7), 0); // second free stretch
    EXPECT_EQ(picture.Others(0x1000, 0x1100, 0x7C00), 0);
    EXPECT_EQ(HeapStats.FreeBytes, 0x100u + 0xB80);
    EXPECT_EQ(HeapStats.AllocatedBytes, 0x100u + 0x180 + 0x100);
    EXPECT_EQ(HeapStats.FreeNodes, 2u);
    EXPECT_EQ(HeapStats.AllocatedNodes, 3u);
    EXPECT_EQ(HeapStats.SpareNodes, 95u);
}

TEST(WalkAndDrawHeap, FragmentationIsTheSumOfInversesAndItsPeakStays) {
    Picture picture;
    // Eight free stretches of 16 bytes among allocated ones, the rest in use.
    std::vector<uint32_t> blocks;
    for (int i = 0; i < 16; ++i) {
        blocks.push_back(picture.rig.Allocate(kBottom, 16).Address);
    }
    picture.rig.Allocate(kBottom, 0xF00);
    for (int i = 0; i < 16; i += 2) {
        FreeVideoMemory(picture.rig.driver, blocks[i]);
    }
    picture.Draw();
    EXPECT_EQ(HeapStats.Fragmentation, 50u); // 8 / 16 * 100
    EXPECT_EQ(HeapStats.PeakFragmentation, 50u);
    FreeAllVideoMemory(picture.rig.driver);
    picture.Draw();
    EXPECT_EQ(HeapStats.Fragmentation, 0u);
    EXPECT_EQ(HeapStats.PeakFragmentation, 50u);
    // Two of four bytes.
    const uint32_t first = picture.rig.Allocate(kBottom, 4).Address;
    picture.rig.Allocate(kBottom, 4);
    const uint32_t third = picture.rig.Allocate(kBottom, 4).Address;
    picture.rig.Allocate(kBottom, 0xFF4);
    FreeVideoMemory(picture.rig.driver, first);
    FreeVideoMemory(picture.rig.driver, third);
    picture.Draw();
    EXPECT_EQ(HeapStats.Fragmentation, 50u); // 2 / 4 * 100
    for (HeapNode* node : picture.rig.Free()) {
        node->End = node->Start + 1;
    }
    picture.Draw();
    EXPECT_EQ(HeapStats.Fragmentation, 100u); // 2 / 2 * 100
    EXPECT_EQ(HeapStats.PeakFragmentation, 100u);
}

TEST(WalkAndDrawHeap, FreeStretchOfOneByteIsOnlyCounted) {
    Picture picture;
    HeapNode* node = picture.rig.Free()[0];
    node->End = node->Start;
    picture.Draw();
    EXPECT_EQ(HeapStats.FreeNodes, 1u);
    EXPECT_EQ(HeapStats.FreeBytes, 0u);
    EXPECT_EQ(HeapStats.Fragmentation, 0u);
    // The background has (0xFFF / 2) pixels.
    EXPECT_EQ(picture.Others(0, 0xFFE, 0x7FFF), 0);
    EXPECT_EQ(picture.pixels[0xFFE / 2], 0xAAAA);
}

TEST(WalkAndDrawHeap, BlockOfOneByteIsOnlyCounted) {
    Picture picture;
    picture.rig.Allocate(kBottom, 0x100);
    HeapNode* node = picture.rig.Allocated()[0];
    node->Aligned = node->End;
    picture.Draw();
    EXPECT_EQ(HeapStats.AllocatedNodes, 1u);
    EXPECT_EQ(HeapStats.AllocatedBytes, 0x100u);
    EXPECT_EQ(picture.Others(0x100, 0x200, 0x7FFF), 0);
}

TEST(WalkAndDrawHeap, CountsTheGroups) {
    Picture picture;
    AddNodeGroup(picture.rig.driver);
    AddNodeGroup(picture.rig.driver);
    picture.Draw();
    EXPECT_EQ(HeapStats.Groups, 3u);
}

} // namespace
