// Node groups and the three rings of nodes.
#include "driver/core/driverdata.h"
#include "driver/heap/linalloc.h"

namespace {

// The set of a kind; null for a kind that has none.
NodeSetHead* SetOfKind(DriverData* heap, uint32_t kind) {
    switch (kind) {
    case NodeSpare:
        return &heap->Heap.SpareSet;
    case NodeAllocated:
        return &heap->Heap.AllocatedSet;
    case NodeFree:
        return &heap->Heap.FreeSet;
    default:
        return nullptr;
    }
}

void LinkNodes(HeapNode* first, HeapNode* second) {
    first->NextGroup = second->Group;
    first->NextIndex = second->Index;
    second->PrevGroup = first->Group;
    second->PrevIndex = first->Index;
}

void MakeOnlyMember(DriverData* heap, HeapNode* node) {
    LinkNodes(node, node);
    if (NodeSetHead* set = SetOfKind(heap, node->Kind)) {
        NODE_SetBase(set, node);
    }
}

// The head moves when `node`, linked where the ring wraps round at `head`, is lower than its old
// neighbour there.
void MoveHeadOfSortedSet(DriverData* heap, HeapNode* head, const HeapNode* neighbour,
                         const HeapNode* node) {
    if (node->Kind != NodeAllocated && node->Kind != NodeFree) {
        return;
    }
    NodeSetHead* set = SetOfKind(heap, node->Kind);
    if (HeadOfSet(heap, *set) == head && node->Start < neighbour->Start) {
        NODE_SetBase(set, node);
    }
}

// Gives a group back as soon as all its nodes are spare again.
void CountSpare(DriverData* heap, const HeapNode* node) {
    NodeGroup* group = GetGroupPointer(&heap->Heap.FirstGroup, node->Group);
    if (group != &heap->Heap.FirstGroup && ++group->SpareCount == kNodesPerGroup) {
        DeleteNodeGroup(heap, group);
    }
}

void RemoveSpareHead(DriverData* heap, HeapNode* node) {
    if (NODE_LastNode(heap, node) == node) {
        // Nothing guards against a refused group: the address of its first node is then no node.
        NODE_SetBase(&heap->Heap.SpareSet, &AddNodeGroup(heap)->Nodes[0]);
    } else {
        NODE_SetBase(&heap->Heap.SpareSet, NODE_NextNode(heap, node));
    }
    NodeGroup* group = GetGroupPointer(&heap->Heap.FirstGroup, node->Group);
    if (group != &heap->Heap.FirstGroup) {
        --group->SpareCount;
    }
}

void RemoveSortedHead(DriverData* heap, NodeSetHead* set, HeapNode* node) {
    const bool onlyMember = NODE_LastNode(heap, node) == node;
    NODE_SetBase(set, onlyMember ? nullptr : NODE_NextNode(heap, node));
}

} // namespace

NodeGroup* GetGroupPointer(NodeGroup* firstGroup, uint32_t groupId) {
    NodeGroup* group = firstGroup;
    while (group->GroupId != groupId) {
        group = group->Next;
        if (group == firstGroup) {
            break;
        }
    }
    return group;
}

NodeGroup* AddNodeGroup(DriverData* heap) {
    uint32_t handle;
    void* linear;
    if (AllocMem(&handle, &linear, sizeof(NodeGroup)) == 0) {
        return nullptr;
    }
    auto* group = static_cast<NodeGroup*>(linear);
    group->Handle = handle;
    group->Linear = group;
    group->GroupId = heap->Heap.NextGroupId++;

    NodeGroup* first = &heap->Heap.FirstGroup;
    NodeGroup* last = first->Prev;
    group->Prev = last;
    group->Next = first;
    group->PrevHandle = last->Handle;
    group->NextHandle = first->Handle;
    last->Next = group;
    last->NextHandle = handle;
    first->Prev = group;
    first->PrevHandle = handle;

    InitialiseNodesInGroup(group);
    return group;
}

void DeleteNodeGroup(DriverData* heap, NodeGroup* group) {
    for (HeapNode& node : group->Nodes) {
        RemoveNodeFromSet(heap, &node);
    }
    group->Prev->Next = group->Next;
    group->Next->Prev = group->Prev;
    group->Prev->NextHandle = group->Next->Handle;
    group->Next->PrevHandle = group->Prev->Handle;
    FreeMem(group->Handle, group->Linear);
}

void InitialiseNodesInGroup(NodeGroup* group) {
    group->SpareCount = kNodesPerGroup;
    for (uint32_t i = 0; i < kNodesPerGroup; ++i) {
        HeapNode& node = group->Nodes[i];
        node.Kind = NodeSpare;
        node.Group = group->GroupId;
        node.Index = i;
        node.PrevGroup = group->GroupId;
        node.PrevIndex = i == 0 ? kNodesPerGroup - 1 : i - 1;
        node.NextGroup = group->GroupId;
        node.NextIndex = i == kNodesPerGroup - 1 ? 0 : i + 1;
        node.Start = 0;
        node.End = 0;
    }
}

void RemoveNodeFromSet(DriverData* heap, HeapNode* node) {
    LinkNodes(NODE_LastNode(heap, node), NODE_NextNode(heap, node));
    // Heads are told by identity; Kind has no say.
    VideoHeap& sets = heap->Heap;
    if (node == HeadOfSet(heap, sets.SpareSet)) {
        RemoveSpareHead(heap, node);
    } else if (node == HeadOfSet(heap, sets.AllocatedSet)) {
        RemoveSortedHead(heap, &sets.AllocatedSet, node);
    } else if (node == HeadOfSet(heap, sets.FreeSet)) {
        RemoveSortedHead(heap, &sets.FreeSet, node);
    }
    node->Kind = NodeUnlinked;
}

HeapNode* NODE_NextNode(DriverData* heap, HeapNode* node) {
    if (node->NextGroup == node->Group) {
        return node + static_cast<int32_t>(node->NextIndex - node->Index);
    }
    return &GetGroupPointer(&heap->Heap.FirstGroup, node->NextGroup)->Nodes[node->NextIndex];
}

HeapNode* NODE_LastNode(DriverData* heap, HeapNode* node) {
    if (node->PrevGroup == node->Group) {
        return node + static_cast<int32_t>(node->PrevIndex - node->Index);
    }
    return &GetGroupPointer(&heap->Heap.FirstGroup, node->PrevGroup)->Nodes[node->PrevIndex];
}

HeapNode* NODE_GetBase(DriverData* heap, uint32_t groupId, uint32_t index) {
    if (index == kNoNode) {
        return nullptr;
    }
    return &GetGroupPointer(&heap->Heap.FirstGroup, groupId)->Nodes[index];
}

void NODE_SetBase(NodeSetHead* head, const HeapNode* node) {
    if (node == nullptr) {
        head->Index = kNoNode;
        return;
    }
    head->Index = node->Index;
    head->Group = node->Group;
}

void AddNodeToSetAfter(DriverData* heap, HeapNode* after, HeapNode* node) {
    if (after == nullptr || after == node) {
        MakeOnlyMember(heap, node);
        return;
    }
    HeapNode* next = NODE_NextNode(heap, after);
    LinkNodes(after, node);
    LinkNodes(node, next);
    if (node->Kind == NodeSpare) {
        CountSpare(heap, node);
    } else {
        MoveHeadOfSortedSet(heap, next, after, node);
    }
}

void AddNodeToSetBefore(DriverData* heap, HeapNode* before, HeapNode* node) {
    if (before == nullptr || before == node) {
        MakeOnlyMember(heap, node);
        return;
    }
    HeapNode* previous = NODE_LastNode(heap, before);
    LinkNodes(previous, node);
    LinkNodes(node, before);
    // Spare nodes added here are not counted.
    MoveHeadOfSortedSet(heap, before, before, node);
}

HeapNode* FindNodeInsertAfter(DriverData* heap, HeapNode* head, HeapNode* node) {
    if (node->Start < head->Start) {
        return NODE_LastNode(heap, head);
    }
    NodeWalk walk(&heap->Heap.FirstGroup);
    HeapNode* current = head;
    do {
        HeapNode* next = walk.Next(current);
        if (node->Start > current->Start && (next == head || node->Start < next->Start)) {
            return current;
        }
        current = next;
    } while (current != head);
    return head;
}

HeapNode* HeadOfSet(DriverData* heap, const NodeSetHead& head) {
    return NODE_GetBase(heap, head.Group, head.Index);
}

HeapNode* NextInRound(DriverData* heap, HeapNode* first, HeapNode* node) {
    HeapNode* next = NODE_NextNode(heap, node);
    return next == first ? nullptr : next;
}

HeapNode* FindSharedMemory(DriverData* heap, uint32_t flags) {
    HeapNode* first = HeadOfSet(heap, heap->Heap.AllocatedSet);
    for (HeapNode* node = first; node != nullptr; node = NextInRound(heap, first, node)) {
        if (node->Flags == flags) {
            return node;
        }
    }
    return nullptr;
}
