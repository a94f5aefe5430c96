// Which free stretch serves a request, how it is split, and how a freed stretch goes back.
#include "driver/heap/linalloc.h"

#include "driver/core/driverdata.h"

uint32_t pointer;
uint32_t alignment;
uint32_t basePtr;

namespace {

// The display driver's formula: the depth code is the shift as it stands, so a 24-bit mode counts
// sixteen bytes a pixel.
uint32_t ScanlineBytes(const DriverData* heap) {
    return heap->ScreenWidth << heap->PixelSize;
}

uint32_t AlignedToFrameBuffer(const DriverData* heap, uint32_t address, uint32_t step) {
    return ALIGNED(address, step, reinterpret_cast<uint32_t>(heap->FrameBufferBase));
}

uint32_t RoundUpToWord(uint32_t bytes) {
    return (bytes + 3) & ~3u;
}

struct Fit {
    HeapNode* Chosen;   // null when nothing fits
    uint32_t Remainder; // bytes of the stretch beyond gap and block
    HeapNode* StoodAt;  // where the search ended
};

constexpr uint32_t kLongestGap = 0x40000000;

// Searches the free set, which is not empty, for `bytes`.
Fit FindFit(DriverData* heap, const HeapRequest& request, uint32_t bytes) {
    const bool upward = (request.Flags & AllocateFromBottom) != 0;
    HeapNode* head = HeadOfSet(heap, heap->Heap.FreeSet);
    HeapNode* start = upward ? head : NODE_LastNode(heap, head);
    Fit fit = {nullptr, 0xFFFFFFFF, start};
    NodeWalk walk(&heap->Heap.FirstGroup);
    HeapNode* node = start;
    do {
        // What is too small as it is need not be aligned, unless the gap could be half of memory.
        if (node->End - node->Start + 1 >= bytes || request.Alignment > kLongestGap) {
            const uint32_t aligned = AlignedToFrameBuffer(heap, node->Start, request.Alignment);
            const uint32_t usable = node->End - aligned + 1;
            // A stretch that ends below its aligned start counts as negative.
            if (int64_t{static_cast<int32_t>(usable)} >= int64_t{bytes}) {
                const uint32_t remainder = usable - bytes;
                if (remainder == 0) {
                    return {node, 0, node};
                }
                if (remainder < fit.Remainder) {
                    fit.Chosen = node;
                    fit.Remainder = remainder;
                }
                if ((request.Flags & FirstFit) != 0) {
                    fit.StoodAt = node;
                    return fit;
                }
            }
        }
        node = upward ? walk.Next(node) : walk.Last(node);
    } while (node != start);
    return fit;
}

struct Stretch {
    uint32_t Start;
    uint32_t End; // inclusive
};

// Shortens the chosen stretch to the part that is taken; the result is the rest. The high end is
// cut by the gap of the old start, whatever the gap of the new one.
Stretch Carve(const HeapRequest& request, HeapNode* chosen, uint32_t remainder) {
    if ((request.Flags & AllocateFromBottom) != 0) {
        const uint32_t end = chosen->End;
        chosen->End -= remainder;
        return {chosen->End + 1, end};
    }
    const uint32_t start = chosen->Start;
    chosen->Start += remainder;
    return {start, chosen->Start - 1};
}

// The client's address inside the stretch.
uint32_t ClientAddress(const DriverData* heap, const HeapRequest& request, uint32_t start) {
    if ((request.Flags & ScanlineAligned) != 0) {
        const auto base = reinterpret_cast<uint32_t>(heap->FrameBufferBase);
        const uint32_t line = ScanlineBytes(heap);
        // Always the next boundary, also from a start that lies on one.
        start = ((start - base) / line + 1) * line + base;
    }
    return AlignedToFrameBuffer(heap, start, request.Alignment);
}

void LinkSorted(DriverData* heap, const NodeSetHead& set, HeapNode* node) {
    HeapNode* head = HeadOfSet(heap, set);
    AddNodeToSetAfter(heap, head != nullptr ? FindNodeInsertAfter(heap, head, node) : nullptr,
                      node);
}

HeapNode* TakeSpare(DriverData* heap) {
    HeapNode* node = HeadOfSet(heap, heap->Heap.SpareSet);
    RemoveNodeFromSet(heap, node);
    return node;
}

// Takes an unlinked node back. Its group may be gone afterwards.
void GiveBackSpare(DriverData* heap, HeapNode* node) {
    node->Kind = NodeSpare;
    AddNodeToSetAfter(heap, HeadOfSet(heap, heap->Heap.SpareSet), node);
}

HeapNode* FindAllocated(DriverData* heap, uint32_t address) {
    HeapNode* const first = HeadOfSet(heap, heap->Heap.AllocatedSet);
    if (first == nullptr) {
        return nullptr;
    }
    NodeWalk walk(&heap->Heap.FirstGroup);
    HeapNode* node = first;
    do {
        if (node->Start <= address && node->End >= address) {
            return node;
        }
        node = walk.Next(node);
    } while (node != first);
    return nullptr;
}

// Puts an unlinked stretch into the free set, one with those it touches.
void MergeIntoFreeSet(DriverData* heap, HeapNode* node) {
    HeapNode* head = HeadOfSet(heap, heap->Heap.FreeSet);
    if (head == nullptr) {
        node->Kind = NodeFree;
        AddNodeToSetAfter(heap, nullptr, node);
        return;
    }
    HeapNode* before = FindNodeInsertAfter(heap, head, node);
    HeapNode* after = NODE_NextNode(heap, before);
    if (before->End == node->Start - 1) {
        before->End = node->End;
        if (after->Start == node->End + 1) {
            before->End = after->End;
            RemoveNodeFromSet(heap, after);
            GiveBackSpare(heap, after);
        }
        GiveBackSpare(heap, node);
    } else if (after->Start == node->End + 1) {
        after->Start = node->Start;
        GiveBackSpare(heap, node);
    } else {
        node->Kind = NodeFree;
        AddNodeToSetAfter(heap, before, node);
    }
}

} // namespace

uint32_t ALIGNED(uint32_t address, uint32_t unit, uint32_t base) {
    pointer = address;
    alignment = unit;
    basePtr = base;
    const uint32_t over = (address - base) % unit;
    return over == 0 ? address : address + unit - over;
}

uint32_t InitialiseHeapManager(DriverData* heap) {
    VideoHeap& sets = heap->Heap;
    NODE_SetBase(&sets.SpareSet, nullptr);
    NODE_SetBase(&sets.FreeSet, nullptr);
    NODE_SetBase(&sets.AllocatedSet, nullptr);
    sets.FirstGroup.Next = &sets.FirstGroup;
    sets.FirstGroup.Prev = &sets.FirstGroup;
    sets.FirstGroup.Linear = &sets.FirstGroup;
    sets.FirstGroup.GroupId = 0;
    sets.NextGroupId = 1;
    InitialiseNodesInGroup(&sets.FirstGroup);
    NODE_SetBase(&sets.SpareSet, &sets.FirstGroup.Nodes[0]);

    HeapNode* range = TakeSpare(heap);
    range->Start = sets.HeapStart;
    range->End = sets.HeapEnd;
    range->Kind = NodeFree;
    AddNodeToSetAfter(heap, range, range);
    return 1;
}

void UnInitialiseHeapManager(DriverData* heap) {
    HeapNode* first = HeadOfSet(heap, heap->Heap.AllocatedSet);
    for (HeapNode* node = first; node != nullptr; node = NextInRound(heap, first, node)) {
        if ((node->Flags & ClientOwned) != 0) {
            heap->Heap.ClientMemoryLost = 1;
        }
    }
    FreeAllVideoMemory(heap);
    if (HeapNode* range = HeadOfSet(heap, heap->Heap.FreeSet)) {
        RemoveNodeFromSet(heap, range);
        GiveBackSpare(heap, range);
    }
}

uint32_t AllocateVideoMemory(DriverData* heap, HeapRequest* request) {
    if (request == nullptr || request->Size != sizeof *request) {
        return HeapBadRequest;
    }
    if ((request->Flags & SharedAllocation) != 0) {
        if (HeapNode* shared = FindSharedMemory(heap, request->Flags)) {
            request->Address = shared->Aligned;
            ++shared->RefCount;
            return HeapDone;
        }
    }
    if (HeadOfSet(heap, heap->Heap.FreeSet) == nullptr) {
        request->Address = 0;
        return HeapNoMemory;
    }
    uint32_t bytes = RoundUpToWord(request->Bytes);
    const uint32_t step = request->Alignment < 4 ? 4 : RoundUpToWord(request->Alignment);
    if (bytes == 0 || step == 0) {
        return HeapBadRequest;
    }
    request->Alignment = step;
    if ((request->Flags & ScanlineAligned) != 0) {
        bytes = RoundUpToWord(ScanlineBytes(heap) + bytes);
    }

    const Fit fit = FindFit(heap, *request, bytes);
    if (fit.Chosen == nullptr) {
        request->Address = 0;
        return HeapNoMemory;
    }
    Stretch rest = {};
    if (fit.Remainder != 0) {
        rest = Carve(*request, fit.Chosen, fit.Remainder);
    }
    RemoveNodeFromSet(heap, fit.Chosen);
    fit.Chosen->Kind = NodeAllocated;
    LinkSorted(heap, heap->Heap.AllocatedSet, fit.Chosen);
    request->Address = ClientAddress(heap, *request, fit.Chosen->Start);
    if (fit.Remainder != 0) {
        HeapNode* node = TakeSpare(heap);
        node->Kind = NodeFree;
        node->Start = rest.Start;
        node->End = rest.End;
        LinkSorted(heap, heap->Heap.FreeSet, node);
    }
    fit.Chosen->Aligned = request->Address;
    fit.Chosen->Flags = request->Flags;
    // After a best-fit search that came full circle this is the node at which it began, and the
    // chosen one keeps an old count; a free ends at a count of zero or below.
    fit.StoodAt->RefCount = 1;
    return HeapDone;
}

uint32_t FreeVideoMemory(DriverData* heap, uint32_t address) {
    HeapNode* node = FindAllocated(heap, address);
    if (node == nullptr) {
        return HeapNoMemory;
    }
    if (--node->RefCount > 0) {
        return HeapStillShared;
    }
    RemoveNodeFromSet(heap, node);
    MergeIntoFreeSet(heap, node);
    return HeapDone;
}

void FreeAllVideoMemory(DriverData* heap) {
    while (HeapNode* node = HeadOfSet(heap, heap->Heap.AllocatedSet)) {
        FreeVideoMemory(heap, node->Start);
    }
}

uint32_t GetFreeMemInHeap(DriverData* heap) {
    uint32_t bytes = 0;
    HeapNode* first = HeadOfSet(heap, heap->Heap.FreeSet);
    for (HeapNode* node = first; node != nullptr; node = NextInRound(heap, first, node)) {
        bytes += node->End - node->Start + 1;
    }
    return bytes;
}
