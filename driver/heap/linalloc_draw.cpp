// A picture of the heap and its statistics, for debugging.
#include "driver/core/driverdata.h"
#include "driver/heap/linalloc.h"

HeapStatistics HeapStats;

namespace {

// 5:5:5 pixels.
constexpr uint16_t kBackground = 0x7FFF;
constexpr uint16_t kFreeOdd = 0x0000; // free stretches alternate
constexpr uint16_t kFreeEven = 0x1CE7;
constexpr uint16_t kAllocatedBottom = 0x03E0;
constexpr uint16_t kAllocatedTop = 0x7C00;

void Fill(uint16_t* dest, uint32_t address, int32_t bytes, uint16_t pixel) {
    auto* at = reinterpret_cast<uint16_t*>(reinterpret_cast<uint32_t>(dest) + address);
    // A block that was aligned past its stretch's end has nothing to draw.
    for (int32_t i = 0; i < bytes / 2; ++i) {
        at[i] = pixel;
    }
}

uint32_t CountNodes(DriverData* heap, const NodeSetHead& set) {
    uint32_t count = 0;
    HeapNode* first = HeadOfSet(heap, set);
    for (HeapNode* node = first; node != nullptr; node = NextInRound(heap, first, node)) {
        ++count;
    }
    return count;
}

uint32_t CountGroups(const NodeGroup* firstGroup) {
    uint32_t count = 0;
    const NodeGroup* group = firstGroup;
    do {
        ++count;
        group = group->Next;
    } while (group != firstGroup);
    return count;
}

// Draws the free set and adds it to `stats`; the sum of 1 / size over its stretches.
float DrawFreeSet(DriverData* heap, uint16_t* dest, HeapStatistics* stats) {
    float inverseSizes = 0.0f;
    bool odd = false;
    HeapNode* first = HeadOfSet(heap, heap->Heap.FreeSet);
    for (HeapNode* node = first; node != nullptr; node = NextInRound(heap, first, node)) {
        ++stats->FreeNodes;
        if (node->End == node->Start) {
            continue;
        }
        const uint32_t size = node->End - node->Start + 1;
        stats->FreeBytes += size;
        inverseSizes += 1.0f / static_cast<float>(size);
        odd = !odd;
        Fill(dest, node->Start, static_cast<int32_t>(size), odd ? kFreeOdd : kFreeEven);
    }
    return inverseSizes;
}

void DrawAllocatedSet(DriverData* heap, uint16_t* dest, HeapStatistics* stats) {
    HeapNode* first = HeadOfSet(heap, heap->Heap.AllocatedSet);
    for (HeapNode* node = first; node != nullptr; node = NextInRound(heap, first, node)) {
        ++stats->AllocatedNodes;
        stats->AllocatedBytes += node->End - node->Start + 1;
        if (node->End != node->Aligned) {
            Fill(dest, node->Aligned, static_cast<int32_t>(node->End - node->Aligned + 1),
                 (node->Flags & AllocateFromBottom) != 0 ? kAllocatedBottom : kAllocatedTop);
        }
    }
}

} // namespace

uint32_t WalkAndDrawHeap(DriverData* heap, uint16_t* dest) {
    HeapStatistics stats = {};
    // The background starts at `dest` itself, stretches at their own addresses from there.
    Fill(dest, 0, static_cast<int32_t>(heap->Heap.HeapEnd - heap->Heap.HeapStart), kBackground);
    stats.SpareNodes = CountNodes(heap, heap->Heap.SpareSet);
    const float inverseSizes = DrawFreeSet(heap, dest, &stats);
    DrawAllocatedSet(heap, dest, &stats);
    stats.Groups = CountGroups(&heap->Heap.FirstGroup);
    stats.Fragmentation = static_cast<uint32_t>(static_cast<int32_t>(inverseSizes * 100.0f));
    stats.PeakFragmentation = stats.Fragmentation > HeapStats.PeakFragmentation
                                  ? stats.Fragmentation
                                  : HeapStats.PeakFragmentation;
    HeapStats = stats;
    return 1;
}
