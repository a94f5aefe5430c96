#pragma once
// The linear heap of video memory: the operations on its nodes, whose records are in core/records,
// and the policy that serves requests from them. Addresses are of the kind of
// DriverData.FrameBufferBase; ends are inclusive.
#include "driver/core/minivdd.h"            // IWYU pragma: export
#include "driver/core/records/video_heap.h" // IWYU pragma: export

#include <cstdint>

struct DriverData;

// HeapRequest.Flags.
enum HeapRequestFlag : uint32_t {
    AllocateFromBottom = 0x001,
    AllocateFromTop = 0x002, // a marker; nothing tests it
    FirstFit = 0x008,
    SharedAllocation = 0x100,
    ScanlineAligned = 0x200,
    WholeFrameBuffer = 0x400,
    ClientOwned = 0x800,
};

struct HeapRequest {
    uint32_t Size; // 20
    uint32_t Flags;
    uint32_t Alignment; // bytes; written back rounded up
    uint32_t Bytes;
    uint32_t Address; // result, or 0
};
static_assert(sizeof(HeapRequest) == 20);

// Results of AllocateVideoMemory and FreeVideoMemory.
enum HeapResult : uint32_t {
    HeapDone = 0,
    HeapNoMemory = 1, // on a free: address not found
    HeapBadRequest = 2,
    HeapStillShared = 3, // free only
};

struct HeapStatistics {
    uint32_t FreeBytes;
    uint32_t AllocatedBytes;
    uint32_t FreeNodes;
    uint32_t AllocatedNodes;
    uint32_t SpareNodes;
    uint32_t Groups;
    uint32_t Fragmentation;
    uint32_t PeakFragmentation; // never reset
};
static_assert(sizeof(HeapStatistics) == 32);

extern HeapStatistics HeapStats;

// The last arguments of ALIGNED; nothing reads them.
extern uint32_t pointer;
extern uint32_t alignment;
extern uint32_t basePtr;

// A block of `bytes` that all processes share, from the mini VDD. 1 if both outputs were set.
uint32_t AllocMem(uint32_t* handle, void** linear, uint32_t bytes);
// Gives a block of AllocMem back.
void FreeMem(uint32_t handle, void* linear);

// The group with this number, or firstGroup if there is none.
NodeGroup* GetGroupPointer(NodeGroup* firstGroup, uint32_t groupId);
// A new group at the end of the ring, its nodes in a ring of their own; null without memory.
NodeGroup* AddNodeGroup(DriverData* heap);
// Takes all the group's nodes out of their sets and gives the group back.
void DeleteNodeGroup(DriverData* heap, NodeGroup* group);
// Builds the 100 nodes into one spare ring in index order.
void InitialiseNodesInGroup(NodeGroup* group);
// Takes a node out of its ring; its Kind becomes NodeUnlinked. Never leaves the spare set empty.
void RemoveNodeFromSet(DriverData* heap, HeapNode* node);
HeapNode* NODE_NextNode(DriverData* heap, HeapNode* node);
HeapNode* NODE_LastNode(DriverData* heap, HeapNode* node);
// The node of that group and index; null for index kNoNode.
HeapNode* NODE_GetBase(DriverData* heap, uint32_t groupId, uint32_t index);
// Makes `node` the head; null empties the set.
void NODE_SetBase(NodeSetHead* head, const HeapNode* node);
// Links `node` behind `after` in the set of node.Kind; null or `node` itself makes it a ring of one
// and the set's head.
void AddNodeToSetAfter(DriverData* heap, HeapNode* after, HeapNode* node);
// The mirror: links `node` in front of `before`.
// Kept as an outside name: nothing here calls it.
void AddNodeToSetBefore(DriverData* heap, HeapNode* before, HeapNode* node);
// The node of the sorted ring from `head` (not null) behind which `node` belongs.
HeapNode* FindNodeInsertAfter(DriverData* heap, HeapNode* head, HeapNode* node);
// The head of a set, or null when the set is empty.
HeapNode* HeadOfSet(DriverData* heap, const NodeSetHead& head);
// The node behind `node` in a walk that began at `first`; null when the walk has come round.
HeapNode* NextInRound(DriverData* heap, HeapNode* first, HeapNode* node);
// The allocated node with exactly this flag word, or null.
HeapNode* FindSharedMemory(DriverData* heap, uint32_t flags);
// One free node over HeapStart..HeapEnd and 99 spares. 1 always.
// Kept as an outside name: nothing here calls it.
uint32_t InitialiseHeapManager(DriverData* heap);
// Frees everything; notes in ClientMemoryLost whether a client's memory was among it.
// Kept as an outside name: nothing here calls it.
void UnInitialiseHeapManager(DriverData* heap);

// `address` rounded up to a multiple of `unit` bytes above `base`.
uint32_t ALIGNED(uint32_t address, uint32_t unit, uint32_t base);
// Serves a request; a HeapResult, and request.Address.
uint32_t AllocateVideoMemory(DriverData* heap, HeapRequest* request);
// Frees the allocated stretch that holds `address`; a HeapResult.
uint32_t FreeVideoMemory(DriverData* heap, uint32_t address);
void FreeAllVideoMemory(DriverData* heap);
// Bytes in the free set.
uint32_t GetFreeMemInHeap(DriverData* heap);
// Draws the heap as 5:5:5 pixels, one for two bytes, addressed by `dest` plus a stretch's own
// address, and fills HeapStats. 1 always.
// Kept as an outside name: nothing here calls it.
uint32_t WalkAndDrawHeap(DriverData* heap, uint16_t* dest);

// A walk along the heap's rings that remembers where the groups are: neighbours mostly lie in other
// groups, and looking a group up is a walk of its own. For as long as no group comes or goes.
class NodeWalk {
  public:
    explicit NodeWalk(NodeGroup* firstGroup) : first_(firstGroup) {
        for (NodeGroup*& group : groups_) {
            group = first_;
        }
    }

    // As NODE_NextNode() and NODE_LastNode().
    HeapNode* Next(const HeapNode* node) { return &Group(node->NextGroup)->Nodes[node->NextIndex]; }
    HeapNode* Last(const HeapNode* node) { return &Group(node->PrevGroup)->Nodes[node->PrevIndex]; }

  private:
    NodeGroup* Group(uint32_t id) {
        NodeGroup*& group = groups_[id % kRemembered];
        if (group->GroupId != id) [[unlikely]] {
            group = GetGroupPointer(first_, id);
        }
        return group;
    }

    static constexpr uint32_t kRemembered = 32;
    NodeGroup* first_;
    NodeGroup* groups_[kRemembered];
};
