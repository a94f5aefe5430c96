#pragma once
// The records of the linear heap of video memory: a pool of fixed-size nodes in three rings (spare,
// free, allocated), linked by group number and index so that every process and the 16-bit side can
// walk them. Addresses are of the kind of DriverData.FrameBufferBase; ends are inclusive.
#include <cstddef>
#include <cstdint>

// HeapNode.Kind.
enum HeapNodeKind : uint32_t {
    NodeSpare = 0,
    NodeAllocated = 1,
    NodeFree = 2,
    NodeUnlinked = 3, // just taken out of a set
};

struct HeapNode {
    uint32_t Kind;
    uint32_t PrevGroup;
    uint32_t PrevIndex;
    uint32_t NextGroup;
    uint32_t NextIndex;
    uint32_t Index; // own place in the group, fixed
    uint32_t Group; // own group number, fixed
    uint32_t Start; // first byte of the stretch
    uint32_t End;   // last byte of the stretch
    uint32_t Flags; // flag word of the request
    uint32_t Aligned;
    int32_t RefCount;
};
static_assert(sizeof(HeapNode) == 48);
static_assert(offsetof(HeapNode, Index) == 20 && offsetof(HeapNode, Start) == 28 &&
              offsetof(HeapNode, RefCount) == 44);

inline constexpr uint32_t kNodesPerGroup = 100;
inline constexpr uint32_t kNoNode = 0xFFFFFFFF;

struct NodeGroup {
    uint32_t NextHandle;
    NodeGroup* Next;
    uint32_t PrevHandle;
    NodeGroup* Prev;
    uint32_t Handle;
    NodeGroup* Linear;
    uint32_t GroupId;
    uint32_t SpareCount; // nodes in the spare set; not kept for the first group
    HeapNode Nodes[kNodesPerGroup];
};
static_assert(sizeof(NodeGroup) == 0x12E0 && offsetof(NodeGroup, Nodes) == 32);

// Head of a set: index kNoNode means empty, and the group word then means nothing.
struct NodeSetHead {
    uint32_t Group;
    uint32_t Index;
};

// The heap's fields inside DriverData, in an order that the 16-bit side knows.
struct VideoHeap {
    uint32_t ClientMemoryLost;
    uint32_t NextGroupId;
    NodeGroup FirstGroup;
    NodeSetHead SpareSet;
    NodeSetHead FreeSet;
    NodeSetHead AllocatedSet;
    uint32_t HeapStart;
    uint32_t HeapEnd; // inclusive
};
static_assert(offsetof(VideoHeap, FirstGroup) == 8 && sizeof(VideoHeap) == 8 + 0x12E0 + 32);
