#pragma once
// A walk along the heap's rings that remembers where the groups are. Neighbours mostly lie in other
// groups, and looking a group up is a walk of its own.
#include "driver/core/driverdata.h"
#include "driver/heap/linalloc.h"

#include <cstdint>

// For as long as no group comes or goes.
class NodeWalk {
  public:
    explicit NodeWalk(DriverData* heap) : first_(&heap->Heap.FirstGroup) {
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
