#pragma once
// A display whose linear heap is up, and a check of everything that must hold of the node sets. The
// check walks groups and rings by itself.
#include "driver/core/driverdata.h"
#include "driver/heap/linalloc.h"
#include "driver/platform/minivdd.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <vector>

namespace test {

inline constexpr uint32_t kBottom = AllocateFromBottom | FirstFit;
inline constexpr uint32_t kHeapOffset = 0x10000; // of HeapStart from FrameBufferBase
inline constexpr uint32_t kFirstGroupHandle = 0xF1A70000;

class HeapRig : public Rig {
  public:
    explicit HeapRig(uint32_t heapBytes = 0x40000, const RigOptions& options = {}) : Rig(options) {
        VideoHeap& heap = driver->Heap;
        heap.HeapStart = Base() + kHeapOffset;
        heap.HeapEnd = heap.HeapStart + heapBytes - 1;
        heap.FirstGroup.Handle = kFirstGroupHandle;
        heap.FirstGroup.NextHandle = kFirstGroupHandle;
        heap.FirstGroup.PrevHandle = kFirstGroupHandle;
        InitialiseHeapManager(driver);
    }

    uint32_t Base() const { return reinterpret_cast<uint32_t>(driver->FrameBufferBase); }
    uint32_t Start() const { return driver->Heap.HeapStart; }
    NodeGroup* First() { return &driver->Heap.FirstGroup; }

    // Requests to the memory service, as the driver sent them.
    std::vector<MemoryServiceRequest> requests;

    bool Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                 uint32_t* returned) override {
        const bool memory = code == 3 && inBytes == sizeof(MemoryServiceRequest);
        if (memory) {
            requests.push_back(*static_cast<const MemoryServiceRequest*>(in));
        }
        const bool done = Rig::Control(code, in, inBytes, out, outBytes, returned);
        const auto* answer = static_cast<const MemoryServiceRequest*>(out);
        if (memory && done && requests.back().Command == 1 && answer->Linear != 0) {
            // Memory of the service has no particular contents.
            std::memset(reinterpret_cast<void*>(answer->Linear), 0xEE, requests.back().Bytes);
        }
        return done;
    }

    // One allocation; its result code in `result`, its request in the return value.
    HeapRequest Allocate(uint32_t flags, uint32_t bytes, uint32_t alignment = 4) {
        HeapRequest request = {sizeof(HeapRequest), flags, alignment, bytes, 0xDEADBEEF};
        result = AllocateVideoMemory(driver, &request);
        return request;
    }
    uint32_t result = 0xFFFFFFFF;

    // Takes spares, as the allocation does, until `left` remain.
    std::vector<HeapNode*> TakeSparesUntil(size_t left);

    // Members of a set from its head, in the order of the Next links.
    std::vector<HeapNode*> Members(const NodeSetHead& head) const;
    std::vector<HeapNode*> Spares() const { return Members(driver->Heap.SpareSet); }
    std::vector<HeapNode*> Free() const { return Members(driver->Heap.FreeSet); }
    std::vector<HeapNode*> Allocated() const { return Members(driver->Heap.AllocatedSet); }

    std::vector<NodeGroup*> Groups() const {
        std::vector<NodeGroup*> groups;
        NodeGroup* first = &driver->Heap.FirstGroup;
        NodeGroup* group = first;
        do {
            groups.push_back(group);
            group = group->Next;
        } while (group != first && groups.size() < 1000);
        return groups;
    }

    // Rings, order, partition, counts. Only for states between whole operations.
    void CheckSets() const;

  private:
    HeapNode* Node(uint32_t group, uint32_t index) const {
        for (NodeGroup* candidate : Groups()) {
            if (candidate->GroupId == group) {
                return &candidate->Nodes[index];
            }
        }
        ADD_FAILURE() << "no group " << group;
        return nullptr;
    }
};

inline std::vector<HeapNode*> HeapRig::TakeSparesUntil(size_t left) {
    std::vector<HeapNode*> taken;
    for (size_t count = Spares().size(); count > left; --count) {
        HeapNode* node = Spares().front();
        RemoveNodeFromSet(driver, node);
        taken.push_back(node);
    }
    return taken;
}

inline std::vector<HeapNode*> HeapRig::Members(const NodeSetHead& head) const {
    std::vector<HeapNode*> members;
    if (head.Index == kNoNode) {
        return members;
    }
    std::map<uint32_t, NodeGroup*> groups;
    for (NodeGroup* group : Groups()) {
        groups[group->GroupId] = group;
    }
    HeapNode* first = Node(head.Group, head.Index);
    HeapNode* node = first;
    do {
        members.push_back(node);
        NodeGroup* group = groups[node->NextGroup];
        if (group == nullptr || members.size() > 100000) {
            ADD_FAILURE() << "broken ring";
            break;
        }
        HeapNode* next = &group->Nodes[node->NextIndex];
        EXPECT_EQ(next->PrevGroup, node->Group);
        EXPECT_EQ(next->PrevIndex, node->Index);
        node = next;
    } while (node != first);
    return members;
}

inline void HeapRig::CheckSets() const {
    const std::vector<NodeGroup*> groups = Groups();
    for (NodeGroup* group : groups) {
        ASSERT_EQ(group->Next->Prev, group);
        ASSERT_EQ(group->NextHandle, group->Next->Handle);
        ASSERT_EQ(group->PrevHandle, group->Prev->Handle);
        ASSERT_EQ(group->Linear, group);
        for (uint32_t i = 0; i < 100; ++i) {
            ASSERT_EQ(group->Nodes[i].Index, i);
            ASSERT_EQ(group->Nodes[i].Group, group->GroupId);
        }
    }

    std::set<const HeapNode*> seen;
    std::map<uint32_t, uint32_t> sparesOfGroup;
    for (const HeapNode* node : Spares()) {
        ASSERT_EQ(node->Kind, 0u);
        ASSERT_TRUE(seen.insert(node).second);
        ++sparesOfGroup[node->Group];
    }
    std::map<uint32_t, std::pair<uint32_t, uint32_t>> stretches; // start: end, kind
    auto takeStretches = [&](const std::vector<HeapNode*>& nodes, uint32_t kind) {
        uint32_t last = 0;
        for (const HeapNode* node : nodes) {
            ASSERT_EQ(node->Kind, kind);
            ASSERT_TRUE(seen.insert(node).second);
            ASSERT_GT(node->Start, last);
            last = node->Start;
            stretches[node->Start] = {node->End, kind};
        }
    };
    takeStretches(Allocated(), 1);
    takeStretches(Free(), 2);
    ASSERT_EQ(seen.size(), groups.size() * 100);

    for (size_t i = 0; i < groups.size(); ++i) {
        ASSERT_EQ(groups[i]->SpareCount, i == 0 ? 100u : sparesOfGroup[groups[i]->GroupId]);
    }

    uint32_t expected = driver->Heap.HeapStart;
    uint32_t lastKind = 0;
    for (const auto& [start, rest] : stretches) {
        ASSERT_EQ(start, expected);
        ASSERT_GE(rest.first, start);
        ASSERT_FALSE(rest.second == 2 && lastKind == 2) << "neighbours both free";
        expected = rest.first + 1;
        lastKind = rest.second;
    }
    ASSERT_EQ(expected, driver->Heap.HeapEnd + 1);
}

} // namespace test
